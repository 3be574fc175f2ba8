// hainbrem erklaere PFAD: what a path is, whether a rule knows it and what the guard allows –
// the same facts and words the assistant gets.
#include <algorithm>
#include <chrono>

#include "basis/systemfehler.hpp"
#include "basis/zeichen.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "cli/pfadangabe.hpp"
#include "kern/erklaeren.hpp"
#include "kern/laufend.hpp"
#include "kern/verlauf.hpp"

namespace hainbrem::cli {
namespace {

std::string erklaerPfad;

json urteilJson(const Urteil& u) { return {{"erlaubt", u.istErlaubt()}, {"grund", u.istErlaubt() ? json(nullptr) : json(u.grund())}}; }

int erklaere(const Kontext& k) {
    // a relative path means the one where the user stands, as everywhere on the command line
    std::string pfad = erklaerPfad;
    std::error_code e;
    if (!pfad.empty() && pfad.front() != '/' && pfad.front() != '~') {
        const auto absolut = std::filesystem::absolute(pfad, e);
        if (!e) pfad = absolut.native();
    }
    // ".." as the shell means it (after a link), not as text: the facts are about where it leads
    if (const std::filesystem::path p(pfad); std::any_of(p.begin(), p.end(), [](const auto& t) { return t == ".."; })) {
        const std::string ausgeschrieben = pfad.starts_with("~/") ? (k.home / pfad.substr(2)).native() : pfad;
        if (const std::string letztes = std::filesystem::path(ausgeschrieben).lexically_normal().filename();
            letztes.empty() || letztes == "." || letztes == "..") {
            // "x/..": the folder it leads to is what is meant
            const auto ordner = std::filesystem::canonical(ausgeschrieben, e);
            if (e) return fehler(pfadFehler(erklaerPfad, e.value()));
            pfad = ordner.native();
        } else {
            const auto angabe = wieDieShell(ausgeschrieben, erklaerPfad);
            if (!angabe) return fehler(angabe.error());
            pfad = angabe->pfad.native();
        }
    }
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    const Umgebung u{k.home, k.temp, Zugriff::vollzugriff(k.home), laufTest(), verlauf.imPapierkorb(), k.profil};
    Fortschritt fortschritt;
    fortschritt.zeige("Sehe nach …");
    const Erklaeren::Fakten f = Erklaeren::fakten(pfad, u, waechterFuer(k));
    fortschritt.fertig();
    if (k.json) {
        druckeJson(json{{"pfad", f.pfad.native()},
                        {"gibtEs", f.gibtEs},
                        {"bytes", f.bytes},
                        {"geaendert", datumOderNull(f.geaendert)},
                        {"beispiele", f.beispiele},
                        {"regel", f.regel ? json(f.regel->id) : json(nullptr)},
                        {"loeschen", urteilJson(f.loeschen)},
                        {"papierkorb", urteilJson(f.papierkorb)}});
    } else {
        std::printf("%s\n", sichtbar(Erklaeren::text(erklaerPfad, f, k.home, std::chrono::system_clock::now()), true).c_str());
    }
    return f.gibtEs ? 0 : 1;
}

const bool erklaereRegistriert = registriere({
    .name = "erklaere",
    .beschreibung = "Einen Pfad erklären: Größe, Alter, Inhalt, welche Regel ihn kennt und was der Wächter erlaubt",
    .reihenfolge = 41,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("PFAD", erklaerPfad, "Datei oder Ordner (~ erlaubt)")->type_name("")->required();
        },
    .ausfuehren = erklaere,
});

}  // namespace
}  // namespace hainbrem::cli
