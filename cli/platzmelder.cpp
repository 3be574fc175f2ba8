// hainbrem waechter: the free-space watcher without a window. It lives in its own program
// (hainbrem-waechter, beside this one) because it speaks D-Bus through Qt; so every other
// command keeps running where no Qt is installed.
#include <fmt/format.h>

#include <string>
#include <vector>

#include "cli/aufruf.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"

namespace hainbrem::cli {
namespace {

std::optional<double> grenzeGB;

int platzmelder(const Kontext& k) {
    std::vector<std::string> argumente;
    if (k.json) argumente.emplace_back("--json");
    if (grenzeGB) {
        argumente.emplace_back("--grenze");
        argumente.push_back(fmt::format("{}", *grenzeGB));  // not locale-bound
    }
    return werdeHilfsprogramm("hainbrem-waechter", argumente, "hainbrem waechter");
}

const bool registriert = registriere({
    .name = "waechter",
    .beschreibung = "Freien Platz alle 20 Sekunden lesen, jede Änderung zeigen und knappen Platz melden (bis Strg-C)",
    .reihenfolge = 90,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("--grenze", grenzeGB, "Warnen unter so vielen GB (sonst die Einstellung warnGrenzeGB, 10 GB)")
                ->type_name("GB")
                ->transform(kommazahl(0, 1'000'000));  // a transform: it rewrites "2,5" for the C library
        },
    .ausfuehren = platzmelder,
});

}  // namespace
}  // namespace hainbrem::cli
