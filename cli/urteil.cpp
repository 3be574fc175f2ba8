// hainbrem urteil PFAD [--art loeschen|papierkorb]: what the guard says about one location.
#include <sys/stat.h>

#include <cerrno>

#include "basis/systemfehler.hpp"
#include "cli/aufruf.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "cli/pfadangabe.hpp"
#include "kern/safetyguard.hpp"

namespace hainbrem::cli {
namespace {

std::string urteilPfad;
std::string urteilArt = "papierkorb";

int urteil(const Kontext& k) {
    const Entsorgung art = *entsorgungAus(urteilArt);  // the option's check let only these two pass
    // as `entsorgen` takes it: the folder part as the shell means it, the last part as written
    const auto angabe = wieDieShell(urteilPfad);
    std::optional<std::string> grund;
    std::filesystem::path pfad = angabe ? angabe->pfad : std::filesystem::path(urteilPfad);
    struct stat st;
    if (!angabe)
        grund = angabe.error();
    else if (::lstat(pfad.c_str(), &st) != 0 && errno != ENOENT)
        grund = pfadFehler(urteilPfad, errno);  // too long, or behind a file: no verdict to give
    Urteil u = Urteil::erlaubt();
    if (!grund) {
        u = waechterFuer(k).pruefe(pfad, art);
        if (!u.istErlaubt()) grund = u.grund();
    }
    if (k.json) {
        druckeJson(json{{"pfad", pfad.native()},
                        {"art", std::string(rohwert(art))},
                        {"erlaubt", !grund},
                        {"grund", grund ? json(*grund) : json(nullptr)}});
    } else {
        if (angabe && angabe->woandersHin)
            warnung("„" + urteilPfad + "“ führt über einen Link nach „" + pfad.native() + "“.");
        std::printf("%s\n", grund ? zeige(*grund).c_str() : "erlaubt");
    }
    return grund ? 1 : 0;
}

const bool urteilRegistriert = registriere({
    .name = "urteil",
    .beschreibung = "Sagen, ob der Wächter einen Pfad löschen oder in den Papierkorb legen ließe "
                    "(Status 0: erlaubt, 1: abgelehnt)",
    .reihenfolge = 40,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("PFAD", urteilPfad, "Datei oder Ordner")->type_name("")->required();
            a.add_option("--art", urteilArt, "loeschen (endgültig) oder papierkorb (Vorgabe)")
                ->type_name("ART")
                ->check(einesVon({"loeschen", "papierkorb"}));
        },
    .ausfuehren = urteil,
});

}  // namespace
}  // namespace hainbrem::cli
