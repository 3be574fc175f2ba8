// hainbrem scan [PFAD | --platte], hainbrem gross, hainbrem duplikate [PFAD]
#include <fmt/format.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "basis/systemfehler.hpp"
#include "cli/aufruf.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "cli/runde.hpp"
#include "kern/bestaetigung.hpp"
#include "kern/duplikate.hpp"
#include "kern/entsorger.hpp"
#include "kern/laufend.hpp"
#include "kern/verlauf.hpp"
#include "kern/format.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/tiefenscan.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::cli {
namespace {

std::atomic<bool> unterbrochen{false};
extern "C" void beiUnterbrechung(int) { unterbrochen.store(true); }

// Ctrl-C ends the scan early and still shows what was found up to then.
struct Unterbrechung {
    Unterbrechung() {
        struct sigaction sa {};
        sa.sa_handler = beiUnterbrechung;
        sigemptyset(&sa.sa_mask);
        ::sigaction(SIGINT, &sa, &alt);
    }
    ~Unterbrechung() { ::sigaction(SIGINT, &alt, nullptr); }
    struct sigaction alt {};
};

struct ScanWahl {
    std::string pfad;
    bool platte = false;
};

// A Mac has one start disk; on Linux the disk holding "/" with its file systems is scanned.
std::string plattenHilfe(Katalogprofil profil) {
    return profil == Katalogprofil::macos ? "Die ganze Startplatte durchsuchen"
                                          : "Die ganze Systemplatte durchsuchen: jedes Dateisystem auf der Platte mit /";
}

std::optional<std::string> pruefePfad(const std::string& pfad) {
    struct stat st;
    if (::lstat(pfad.c_str(), &st) != 0) return pfadFehler(pfad, errno);
    if (!S_ISDIR(st.st_mode)) return fmt::format("„{}“ ist kein Ordner.", pfad);
    return std::nullopt;
}

// Runs the scan in the background and shows files and bytes so far on a terminal.
TiefenscanErgebnis scanneMitAnzeige(const Kontext& k, const ScanWahl& wahl, bool kandidatenImPfad) {
    std::stop_source stopp;
    Steuerung steuerung(stopp.get_token());
    Unterbrechung unterbrechung;
    Fortschritt anzeige;
    auto e = imHintergrund(
        [&] {
            if (wahl.platte)
                return Tiefenscan::scanneGanzePlatte(k.home, plattform::vollzugriff(k.home), &steuerung, k.profil);
            if (wahl.pfad.empty()) return Tiefenscan::scanne(k.home, plattform::vollzugriff(k.home), &steuerung);
            return Tiefenscan::scanneOrdner(wahl.pfad, kandidatenImPfad ? wahl.pfad : k.home.native(), &steuerung);
        },
        [&] {
            if (unterbrochen.load()) stopp.request_stop();
            anzeige.zeige(fmt::format("Durchsuche … {}, {}{}",
                                      anzahl(steuerung.erledigt.load(std::memory_order_relaxed), "Datei", "Dateien"),
                                      alsBytes(steuerung.bytes.load(std::memory_order_relaxed)),
                                      stopp.stop_requested() ? " (wird abgebrochen)" : ""));
        });
    anzeige.fertig();
    if (stopp.stop_requested()) warnung("Abgebrochen – das Ergebnis ist unvollständig.");
    return e;
}

json alsJson(const DateiInfo& d) {
    return json{{"pfad", d.pfad},
                {"name", d.name()},
                {"groesse", d.groesse},
                {"belegt", d.belegt},
                {"geaendert", isoDatum(d.geaendert)},
                {"geoeffnet", isoDatum(d.geoeffnet)},
                {"inode", d.inode},
                {"istPaket", d.istPaket}};
}

json alsJson(const Knoten& k) {
    json kinder = json::array();
    for (const auto& c : k.kinder) kinder.push_back(alsJson(*c));
    return json{{"name", k.name},
                {"pfad", k.pfad},
                {"bytes", k.bytes},
                {"dateien", k.dateien},
                {"istOrdner", k.istOrdner},
                {"istPaket", k.istPaket},
                {"unvollstaendig", k.unvollstaendig},
                {"erklaerung", k.erklaerung ? json(*k.erklaerung) : json(nullptr)},
                {"kinder", std::move(kinder)}};
}

std::string balken(double anteil, int breite = 20) {
    const int voll = static_cast<int>(std::lround(std::clamp(anteil, 0.0, 1.0) * breite));
    std::string b;
    for (int i = 0; i < breite; ++i) b += i < voll ? "█" : "░";
    return b;
}

std::string anteilText(int64_t teil, int64_t ganz) {
    if (ganz <= 0) return "   –  ";
    std::string t = fmt::format("{:5.1f} %", 100.0 * static_cast<double>(teil) / static_cast<double>(ganz));
    std::replace(t.begin(), t.end(), '.', Zahlformat::ausLocale().dezimalTrenner);
    return t;
}

void druckeBaum(const Knoten& k, const Kontext& kx, int64_t ganz, int ebene, int maxEbene, int maxZeilen) {
    if (ebene >= maxEbene) return;
    int zeilen = 0;
    for (const auto& c : k.kinder) {
        if (zeilen++ >= maxZeilen) {
            std::printf("%*s  … %zu weitere\n", 4 * ebene + 36, "", k.kinder.size() - static_cast<size_t>(maxZeilen));
            break;
        }
        const std::string name = c->istVirtuell() ? c->name : (ebene == 0 ? kurzerPfad(c->pfad, kx.home) : zeige(c->name));
        std::printf("%12s %s %s %*s%s%s%s%s\n", alsBytes(c->bytes).c_str(),
                    anteilText(c->bytes, ganz).c_str(), balken(ganz > 0 ? static_cast<double>(c->bytes) /
                                                                           static_cast<double>(ganz)
                                                                     : 0)
                                                           .c_str(),
                    2 * ebene, "", name.c_str(), c->istOrdner && !c->istVirtuell() ? "/" : "",
                    c->istPaket ? "  (Paket)" : "", c->unvollstaendig ? "  (unvollständig)" : "");
        druckeBaum(*c, kx, ganz, ebene + 1, maxEbene, ebene == 0 ? 10 : 5);
    }
    if (ebene == 0 && k.kleinkram() > 0)
        std::printf("%12s %s %s %s\n", alsBytes(k.kleinkram()).c_str(), anteilText(k.kleinkram(), ganz).c_str(),
                    balken(ganz > 0 ? static_cast<double>(k.kleinkram()) / static_cast<double>(ganz) : 0).c_str(),
                    "Kleinkram (kleinere Dateien und Ordner)");
}

std::string dauerText(double s) {
    std::string t = fmt::format("{:.1f} s", s);
    std::replace(t.begin(), t.end(), '.', Zahlformat::ausLocale().dezimalTrenner);
    return t;
}

std::string alterText(Zeitpunkt t) {
    // Flatpak (ostree) gives its files the time 0: that is no date, not 1970
    if (t <= Zeitpunkt{} + std::chrono::hours(24)) return "ohne Datum";
    const auto tage = std::chrono::duration_cast<std::chrono::hours>(std::chrono::system_clock::now() - t).count() / 24;
    if (tage < 1) return "heute";
    if (tage < 60) return "vor " + anzahl(tage, "Tag", "Tagen");
    if (tage < 730) return "vor " + anzahl(tage / 30, "Monat", "Monaten");
    return "vor " + anzahl(tage / 365, "Jahr", "Jahren");
}

void druckeUnlesbarUndAusgelassen(const TiefenscanErgebnis& e, const Kontext& k) {
    if (e.unlesbar > 0)
        std::printf("Nicht lesbar: %s (die Größen sind Untergrenzen)\n",
                    anzahl(e.unlesbar, "Eintrag", "Einträge").c_str());
    for (const auto& a : e.ausgelassen) std::printf("Ausgelassen: %s\n", kurzerPfad(a, k.home).c_str());
}

// ---- scan ----

ScanWahl scanWahl;
int tiefeAnzeige = 2;

int scan(const Kontext& k) {
    if (!scanWahl.pfad.empty())
        if (auto f = pruefePfad(scanWahl.pfad)) return fehler(*f);
    const auto e = scanneMitAnzeige(k, scanWahl, false);
    if (!e.wurzel) return fehler("Der Ordner ließ sich nicht lesen.");
    if (k.json) {
        json grosse = json::array();
        for (const auto& d : e.grosse) grosse.push_back(alsJson(d));
        json j = alsJson(*e.wurzel);
        druckeJson(json{{"wurzel", j},
                        {"grosse", grosse},
                        {"unlesbar", e.unlesbar},
                        {"ausgelassen", e.ausgelassen},
                        {"dauer", e.dauer},
                        {"datum", isoDatum(e.datum)},
                        {"ganzePlatte", e.ganzePlatte}});
        return 0;
    }
    const Knoten& w = *e.wurzel;
    std::printf("%s: %s in %s\n\n", w.istVirtuell() ? w.name.c_str() : kurzerPfad(w.pfad, k.home).c_str(),
                alsBytes(w.bytes).c_str(), anzahl(w.dateien, "Datei", "Dateien").c_str());
    druckeBaum(w, k, w.bytes, 0, std::max(tiefeAnzeige, 1), 15);
    std::printf("\n");
    for (const auto& c : w.kinder)
        for (const auto* n : {c.get()})
            if (n->istVirtuell() && n->erklaerung) std::printf("%s: %s\n", n->name.c_str(), n->erklaerung->c_str());
    if (!e.grosse.empty())
        std::printf("Große Dateien und Pakete: %zu (hainbrem gross zeigt sie)\n", e.grosse.size());
    druckeUnlesbarUndAusgelassen(e, k);
    std::printf("Dauer: %s\n", dauerText(e.dauer).c_str());
    return 0;
}

const bool scanRegistriert = registriere({
    .name = "scan",
    .beschreibung = "Belegten Platz nach Ordnern aufschlüsseln (Home, ein Ordner oder die ganze Platte)",
    .reihenfolge = 40,
    .optionen =
        [](CLI::App& a, Katalogprofil profil) {
            auto* p = a.add_option("PFAD", scanWahl.pfad, "Ordner (ohne: dein Home-Ordner)")->type_name("");
            a.add_flag("--platte", scanWahl.platte, plattenHilfe(profil))->excludes(p);
            a.add_option("--tiefe", tiefeAnzeige, "Wie viele Ebenen die Textausgabe zeigt, 1 bis 10 (Vorgabe 2)")
                ->type_name("ZAHL")
                ->check(ganzzahl(1, 10));
        },
    .ausfuehren = scan,
});

// ---- gross ----

ScanWahl grossWahl;
std::optional<int> aelterAls;

int gross(const Kontext& k) {
    if (!grossWahl.pfad.empty())
        if (auto f = pruefePfad(grossWahl.pfad)) return fehler(*f);
    const auto e = scanneMitAnzeige(k, grossWahl, false);
    const auto jetzt = std::chrono::system_clock::now();
    std::vector<DateiInfo> liste;
    for (const auto& d : e.grosse)
        if (!aelterAls || jetzt - d.geaendert > std::chrono::seconds(int64_t{*aelterAls} * 86'400)) liste.push_back(d);
    if (k.json) {
        json j = json::array();
        for (const auto& d : liste) j.push_back(alsJson(d));
        druckeJson(json{{"grosse", j}, {"unlesbar", e.unlesbar}, {"ausgelassen", e.ausgelassen}, {"dauer", e.dauer}});
        return 0;
    }
    if (liste.empty()) {
        std::printf("Keine großen Dateien (ab %s)%s gefunden.\n", alsBytes(Tiefenscan::grossAb).c_str(),
                    aelterAls ? (", älter als " + anzahl(*aelterAls, "Tag", "Tage") + ",").c_str() : "");
    } else {
        int64_t summe = 0;
        for (const auto& d : liste) {
            summe = addiere(summe, d.belegt);
            std::printf("%12s  %-16s %s%s\n", alsBytes(d.belegt).c_str(), alterText(d.geaendert).c_str(),
                        kurzerPfad(d.pfad, k.home).c_str(), d.istPaket ? "  (Paket)" : "");
        }
        std::printf("\n%s, zusammen %s\n", anzahl(static_cast<int64_t>(liste.size()), "Eintrag", "Einträge").c_str(),
                    alsBytes(summe).c_str());
    }
    druckeUnlesbarUndAusgelassen(e, k);
    return 0;
}

const bool grossRegistriert = registriere({
    .name = "gross",
    .beschreibung = "Große Dateien und Pakete zeigen, die größten zuerst",
    .reihenfolge = 41,
    .optionen =
        [](CLI::App& a, Katalogprofil profil) {
            auto* p = a.add_option("PFAD", grossWahl.pfad, "Ordner (ohne: dein Home-Ordner)")->type_name("");
            a.add_flag("--platte", grossWahl.platte, plattenHilfe(profil))->excludes(p);
            a.add_option("--aelter-als", aelterAls,
                         "Nur Dateien, die seit mehr als TAGE Tagen unverändert sind (0 bis 36.500)")
                ->type_name("TAGE")
                ->check(ganzzahl(0, 36500));
        },
    .ausfuehren = gross,
});

// ---- duplikate ----

ScanWahl dupWahl;
struct {
    bool aufraeumen = false, ja = false, probelauf = false;
} dupOpt;

// Every copy but the proposed keeper goes to the Trash, through the guard and into the history.
int entsorgeKopien(const std::vector<DuplikatGruppe>& gruppen, const Kontext& k) {
    std::vector<Fund> funde;
    for (const auto& g : gruppen)
        for (size_t i = 1; i < g.dateien.size(); ++i) {
            const DateiInfo& d = g.dateien[i];
            funde.push_back(Fund{d.url(), d.belegt, Entsorgung::papierkorb, std::nullopt, d.geaendert, true,
                                 std::nullopt});
        }
    if (funde.empty()) {
        std::fprintf(stderr, "Nichts aufzuräumen.\n");
        return 0;
    }
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    warneUnlesbar(verlauf);
    return fuehreRundeAus(funde, "Doppelte Dateien",
                          {dupOpt.probelauf, dupOpt.ja, "Alle Kopien außer der vorgeschlagenen in den Papierkorb legen?"},
                          k, verlauf);
}

int duplikate(const Kontext& k) {
    if (!dupWahl.pfad.empty())
        if (auto f = pruefePfad(dupWahl.pfad)) return fehler(*f);
    const auto e = scanneMitAnzeige(k, dupWahl, true);
    std::stop_source stopp;
    Steuerung steuerung(stopp.get_token());
    Unterbrechung unterbrechung;
    std::vector<DuplikatGruppe> gruppen;
    {
        Fortschritt anzeige;
        gruppen = imHintergrund([&] { return Duplikate::finde(e.kandidaten, &steuerung); },
                                [&] {
                                    if (unterbrochen.load()) stopp.request_stop();
                                    anzeige.zeige(fmt::format(
                                        "Vergleiche {} … {:.0f} %",
                                        anzahl(static_cast<int64_t>(e.kandidaten.size()), "Datei", "Dateien"),
                                        steuerung.anteil() * 100));
                                });
    }
    if (stopp.stop_requested()) warnung("Abgebrochen – nicht alle Dateien wurden verglichen.");
    int status = 0;
    const bool aufraeumen = dupOpt.aufraeumen && !stopp.stop_requested();
    if (k.json) {
        if (aufraeumen) status = entsorgeKopien(gruppen, k);
        json j = json::array();
        for (const auto& g : gruppen) {
            json dateien = json::array();
            for (const auto& d : g.dateien) dateien.push_back(alsJson(d));
            j.push_back(json{{"id", g.id},
                             {"behalten", g.behalten},
                             {"wirklichFrei", g.wirklichFrei},
                             {"verschwendet", g.verschwendet()},
                             {"sindKlone", g.sindKlone()},
                             {"dateien", dateien}});
        }
        druckeJson(json{{"gruppen", j}, {"kandidaten", e.kandidaten.size()}, {"unlesbar", e.unlesbar}});
        return status;
    }
    if (gruppen.empty()) {
        std::printf("Keine doppelten Dateien gefunden (%s ab 1 MB verglichen).\n",
                    anzahl(static_cast<int64_t>(e.kandidaten.size()), "Datei", "Dateien").c_str());
        return status;
    }
    int64_t frei = 0;
    for (const auto& g : gruppen) {
        frei = addiere(frei, g.wirklichFrei);
        std::printf("%zu × %s – wirklich frei: %s%s\n", g.dateien.size(), alsBytes(g.dateien.front().groesse).c_str(),
                    alsBytes(g.wirklichFrei).c_str(),
                    g.sindKlone() ? "  (Klone: teilen sich den Speicher, Löschen bringt kaum Platz)" : "");
        for (const auto& d : g.dateien)
            std::printf("  %s %s\n", d.pfad == g.behalten ? "behalten:" : "Kopie:   ", kurzerPfad(d.pfad, k.home).c_str());
    }
    std::printf("\n%s; wirklich frei würden %s.\n", anzahl(static_cast<int64_t>(gruppen.size()), "Gruppe", "Gruppen").c_str(),
                alsBytes(frei).c_str());
    druckeUnlesbarUndAusgelassen(e, k);
    if (aufraeumen) status = entsorgeKopien(gruppen, k);
    return status;
}

const bool duplikateRegistriert = registriere({
    .name = "duplikate",
    .beschreibung = "Doppelte Dateien ab 1 MB finden (Größe, Anfang und Ende, dann der ganze Inhalt)",
    .reihenfolge = 42,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("PFAD", dupWahl.pfad, "Ordner (ohne: dein Home-Ordner)")->type_name("");
            a.add_flag("--aufraeumen", dupOpt.aufraeumen,
                       "Alle Kopien außer der vorgeschlagenen in den Papierkorb legen (mit Rückfrage)");
            auto* ja = a.add_flag("--ja", dupOpt.ja, "Ohne Rückfrage ausführen");
            auto* probe = a.add_flag("--probelauf", dupOpt.probelauf, "Nur zeigen, was geschähe; nichts anfassen");
            ja->needs("--aufraeumen");
            probe->needs("--aufraeumen");
        },
    .ausfuehren = duplikate,
});

}  // namespace
}  // namespace hainbrem::cli
