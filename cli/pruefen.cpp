// hainbrem pruefen and hainbrem regeln
#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "kern/format.hpp"
#include "kern/katalog.hpp"
#include "kern/laufend.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/verlauf.hpp"

namespace hainbrem::cli {
namespace {

std::vector<std::string> nurRegeln;

json alsJson(const Regel& r) {
    return json{{"id", r.id},
                {"nurAufDemMac", r.nurAufDemMac},
                {"titel", r.titel},
                {"symbol", r.symbol},
                {"gruppe", std::string(titel(r.gruppe))},
                {"risiko", rohwert(r.risiko)},
                {"risikoName", std::string(name(r.risiko))},
                {"was", r.was},
                {"warumSicher", r.warumSicher},
                {"danach", r.danach}};
}

std::string artText(Entsorgung art) { return art == Entsorgung::loeschen ? "löschen" : "Papierkorb"; }

// What to run after a check: the preselected findings (of the rules checked), and how to take
// what is not preselected.
std::vector<std::string> naechsteSchritte(const std::vector<RegelErgebnis>& ergebnisse,
                                          const std::vector<std::string>& regeln, Katalogprofil profil) {
    bool vorgewaehlt = false, nichtVorgewaehlt = false;
    for (const auto& e : ergebnisse)
        for (const auto& f : e.funde) (f.vorgewaehlt ? vorgewaehlt : nichtVorgewaehlt) = true;
    const std::string befehl = "hainbrem " + profilVorsatz(profil) + "aufraeumen";
    std::string nur;
    for (const auto& id : regeln) nur += " --regel " + id;
    std::vector<std::string> zeilen;
    if (vorgewaehlt) zeilen.push_back("Aufräumen: " + befehl + nur);
    if (nichtVorgewaehlt) {
        // one rule named: its whole list; else the way to name one
        if (regeln.size() == 1)
            zeilen.push_back("Auch das nicht Vorgewählte dieser Regel: " + befehl + nur + " --alle");
        else
            zeilen.push_back("Auch das nicht Vorgewählte einer Regel: " + befehl + " --regel ID --alle");
    }
    return zeilen;
}

int pruefen(const Kontext& k) {
    std::vector<Regel> auswahl;
    for (const auto& id : nurRegeln) {
        const Regel* r = Katalog::regel(id, k.profil);
        if (!r) return fehler(fmt::format("Eine Regel „{}“ gibt es nicht. Alle Regeln zeigt „hainbrem regeln“.", id));
        auswahl.push_back(*r);
    }
    if (auswahl.empty()) auswahl = Katalog::regeln(k.profil);

    if (k.tempHinweis) warnung(*k.tempHinweis);
    Umgebung umgebung;
    umgebung.home = k.home;
    umgebung.temp = k.temp;
    umgebung.vollzugriff = Zugriff::vollzugriff(k.home);
    umgebung.laeuft = laufTest();
    umgebung.profil = k.profil;
    // what earlier rounds put into the Trash stays unticked, so it can still be put back
    const Verlauf verlauf(Verlauf::standardDatei(k.home));
    if (verlauf.warUnlesbar())
        warnung(
            "Der Verlauf „" + verlauf.datei().native() +
            "“ ist nicht lesbar. Was Hainbrem in den Papierkorb gelegt hat, ist darum nicht als solches erkennbar.");
    umgebung.hainbremImPapierkorb = verlauf.imPapierkorb();

    std::vector<RegelErgebnis> ergebnisse;
    {
        Fortschritt anzeige;
        anzeige.zeige("Prüfe die Regeln …");
        Steuerung steuerung;
        ergebnisse = imHintergrund([&] { return Katalog::pruefe(umgebung, auswahl, &steuerung); },
                                   [&] {
                                       if (steuerung.gesamt.load(std::memory_order_relaxed) > 0)
                                           anzeige.zeige(fmt::format("Messe die Funde … {:.0f} %",
                                                                     steuerung.anteil() * 100.0));
                                   });
    }

    if (k.json) {
        json liste = json::array();
        for (const auto& e : ergebnisse) {
            json funde = json::array(), uebersprungen = json::array();
            for (const auto& f : e.funde) funde.push_back(cli::alsJson(f));
            for (const auto& f : e.uebersprungen) uebersprungen.push_back(cli::alsJson(f));
            liste.push_back(json{{"id", e.id()},
                                 {"titel", e.regel.titel},
                                 {"gruppe", std::string(titel(e.regel.gruppe))},
                                 {"risiko", rohwert(e.regel.risiko)},
                                 {"bytes", e.bytes()},
                                 {"funde", funde},
                                 {"uebersprungen", uebersprungen}});
        }
        druckeJson(liste);
        return 0;
    }

    if (!umgebung.vollzugriff && k.profil == Katalogprofil::macos)
        warnung("Ohne Festplattenvollzugriff bleiben App-Container, Mail-Anhänge und Geräte-Backups ungeprüft.");
    if (ergebnisse.empty()) {
        const bool nurMac = !auswahl.empty() && std::all_of(auswahl.begin(), auswahl.end(), [](const Regel& r) {
            return r.nurAufDemMac;
        });
        std::printf("Nichts gefunden, was weg kann.%s\n",
                    nurMac ? (nurRegeln.size() == 1 ? " Diese Regel gilt Programmen, die es unter Linux nicht gibt."
                                                    : " Diese Regeln gelten Programmen, die es unter Linux nicht gibt.")
                           : "");
        return 0;
    }
    // one path can be found by two rules (~/.cache/uv); the totals count it once
    int64_t gesamt = 0, vorgewaehlt = 0;
    std::set<std::string> gezaehlt, vorgewaehltGezaehlt;
    for (const auto& e : ergebnisse) {
        for (const auto& f : e.funde) {
            if (gezaehlt.insert(f.url.native()).second) gesamt = addiere(gesamt, f.bytes);
            if (f.vorgewaehlt && vorgewaehltGezaehlt.insert(f.url.native()).second)
                vorgewaehlt = addiere(vorgewaehlt, f.bytes);
        }
        std::printf("%s  ·  %s  ·  %s  ·  %s\n", e.regel.titel.c_str(), std::string(name(e.regel.risiko)).c_str(),
                    alsBytes(e.bytes()).c_str(), anzahl(static_cast<int64_t>(e.funde.size()), "Fund", "Funde").c_str());
        for (const auto& f : e.funde) {
            std::string zeile = fmt::format("  {:>10}  {}  {}", alsBytes(f.bytes), f.vorgewaehlt ? "[x]" : "[ ]",
                                            kurzerPfad(f.url, k.home));
            if (f.titel) zeile += fmt::format(" „{}“", zeige(*f.titel));
            if (f.besitzer) zeile += fmt::format("  ({})", zeige(*f.besitzer));
            zeile += "  → " + artText(f.art);
            std::printf("%s\n", zeile.c_str());
        }
        for (const auto& f : e.uebersprungen)
            std::printf("  %10s  übersprungen, %s läuft: %s\n", alsBytes(f.bytes).c_str(),
                        f.besitzer ? zeige(*f.besitzer).c_str() : "", kurzerPfad(f.url, k.home).c_str());
        std::printf("\n");
    }
    std::printf("Zusammen %s, davon vorgewählt %s.\n", alsBytes(gesamt).c_str(), alsBytes(vorgewaehlt).c_str());
    for (const auto& zeile : naechsteSchritte(ergebnisse, nurRegeln, k.profil)) std::printf("%s\n", zeile.c_str());
    return 0;
}

const bool pruefenRegistriert = registriere({
    .name = "pruefen",
    .beschreibung = "Alle Aufräum-Regeln prüfen und zeigen, was weg kann",
    .reihenfolge = 20,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("--regel", nurRegeln, "Nur diese Regel prüfen (Kennung aus hainbrem regeln, mehrfach möglich)")
                ->type_name("ID");
        },
    .ausfuehren = pruefen,
});

int regeln(const Kontext& k) {
    if (k.json) {
        json liste = json::array();
        for (const auto& r : Katalog::regeln(k.profil)) liste.push_back(alsJson(r));
        druckeJson(liste);
        return 0;
    }
    // as the check shows them: a rule for Mac programs finds nothing under Linux and is left out
    int nummer = 0;
    std::vector<std::string> nurMac;
    for (const auto& r : Katalog::regeln(k.profil)) {
        if (r.nurAufDemMac) {
            nurMac.push_back(r.id);
            continue;
        }
        std::printf("%2d. %s (%s)\n    %s · %s\n", ++nummer, r.titel.c_str(), r.id.c_str(),
                    std::string(titel(r.gruppe)).c_str(), std::string(name(r.risiko)).c_str());
        std::printf("    Was:          %s\n    Warum sicher: %s\n    Danach:       %s\n\n", r.was.c_str(),
                    r.warumSicher.c_str(), r.danach.c_str());
    }
    if (!nurMac.empty()) {
        std::string ids;
        for (const auto& id : nurMac) (ids += ids.empty() ? "" : ", ") += id;
        std::printf("Nicht gezeigt: %s für Programme, die es unter Linux nicht gibt (%s). Sie finden hier nichts; "
                    "ihre Texte zeigt „hainbrem --profil macos regeln“.\n",
                    anzahl(static_cast<int64_t>(nurMac.size()), "Regel", "Regeln").c_str(), ids.c_str());
    }
    return 0;
}

const bool regelnRegistriert = registriere({
    .name = "regeln",
    .beschreibung = "Die Aufräum-Regeln mit ihren Erklärungen zeigen",
    .reihenfolge = 21,
    .optionen = nullptr,
    .ausfuehren = regeln,
});

}  // namespace
}  // namespace hainbrem::cli
