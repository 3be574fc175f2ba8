// hainbrem urteil PFAD [--art loeschen|papierkorb]: what the guard says about one location.
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "kern/safetyguard.hpp"

namespace hainbrem::cli {
namespace {

std::string urteilPfad;
std::string urteilArt = "papierkorb";

int urteil(const Kontext& k) {
    const std::optional<Entsorgung> art = entsorgungAus(urteilArt);
    if (!art) {
        fehler(fmt::format("Unbekannte Art „{}“ – möglich sind loeschen und papierkorb.", urteilArt));
        return 2;
    }
    std::filesystem::path pfad(urteilPfad);
    std::error_code e;
    // relative to where the user stands; "." and ".." stay as typed so the guard judges them
    if (!urteilPfad.empty() && pfad.is_relative()) pfad = std::filesystem::absolute(pfad, e);
    if (e) pfad = urteilPfad;

    const SafetyGuard waechter = waechterFuer(k);
    const Urteil u = waechter.pruefe(pfad, *art);
    if (k.json) {
        druckeJson(json{{"pfad", pfad.native()},
                        {"art", std::string(rohwert(*art))},
                        {"erlaubt", u.istErlaubt()},
                        {"grund", u.istErlaubt() ? json(nullptr) : json(u.grund())}});
    } else {
        std::printf("%s\n", u.istErlaubt() ? "erlaubt" : u.grund().c_str());
    }
    return u.istErlaubt() ? 0 : 1;
}

const bool urteilRegistriert = registriere({
    .name = "urteil",
    .beschreibung = "Sagen, ob der Wächter einen Pfad löschen oder in den Papierkorb legen ließe "
                    "(Status 0: erlaubt, 1: abgelehnt)",
    .reihenfolge = 40,
    .optionen =
        [](CLI::App& a) {
            a.add_option("pfad", urteilPfad, "Datei oder Ordner")->required();
            a.add_option("--art", urteilArt, "loeschen (endgültig) oder papierkorb (Standard)");
        },
    .ausfuehren = urteil,
});

}  // namespace
}  // namespace hainbrem::cli
