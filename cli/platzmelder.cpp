// hainbrem waechter: the free-space watcher without a window. It lives in its own program
// (hainbrem-waechter, beside this one) because it speaks D-Bus through Qt; so every other
// command keeps running where no Qt is installed.
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "cli/aufruf.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::cli {
namespace {

std::optional<double> grenzeGB;

int platzmelder(const Kontext& k) {
    const fs::path selbst = plattform::eigenesProgramm();
    const fs::path programm = (selbst.empty() ? fs::path("hainbrem") : selbst).parent_path() / "hainbrem-waechter";
    std::vector<std::string> argumente{programm.native()};
    if (k.json) argumente.emplace_back("--json");
    if (grenzeGB) {
        argumente.emplace_back("--grenze");
        argumente.push_back(fmt::format("{}", *grenzeGB));  // not locale-bound
    }
    std::vector<char*> argv;
    for (auto& a : argumente) argv.push_back(a.data());
    argv.push_back(nullptr);
    std::fflush(nullptr);
    ::execv(programm.c_str(), argv.data());
    return fehler(hilfsprogrammFehlt("hainbrem waechter", programm, errno));
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
