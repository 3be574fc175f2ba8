// hainbrem projekte, programme and tricks: build folders, programs with their leftovers, and the
// space that no cleanup rule reaches.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <ctime>

#include "basis/pfade.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "cli/runde.hpp"
#include "kern/bestaetigung.hpp"
#include "kern/entsorger.hpp"
#include "kern/format.hpp"
#include "kern/laufend.hpp"
#include "kern/programme.hpp"
#include "kern/projekte.hpp"
#include "kern/rechnen.hpp"
#include "kern/safetyguard.hpp"
#include "kern/speichertricks.hpp"
#include "kern/verlauf.hpp"

namespace hainbrem::cli {
namespace {

namespace fs = std::filesystem;

std::string tag(const std::optional<Zeitpunkt>& t) {
    if (!t) return "–";
    const std::time_t s = std::chrono::system_clock::to_time_t(*t);
    std::tm tm{};
    localtime_r(&s, &tm);
    char puffer[16];
    std::strftime(puffer, sizeof puffer, "%d.%m.%Y", &tm);
    return puffer;
}

// ------------------------------------------------------- removal: confirmation, disposer, history

int entsorge(const std::vector<Fund>& funde, const std::string& titel, bool probelauf, bool ja, const Kontext& k) {
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    warneUnlesbar(verlauf);
    return fuehreRundeAus(funde, titel, {probelauf, ja}, k, verlauf);
}

// ---------------------------------------------------------------- projekte

struct {
    int tiefe = Projekte::standardTiefe;
    bool aufraeumen = false, ja = false, probelauf = false;
} projekteOpt;

int projekte(const Kontext& k) {
    if (projekteOpt.tiefe < 1 || projekteOpt.tiefe > 64)
        return fehler("--tiefe muss zwischen 1 und 64 liegen (Vorgabe 6).");
    if ((projekteOpt.ja || projekteOpt.probelauf) && !projekteOpt.aufraeumen)
        return fehler("--ja und --probelauf gelten nur zusammen mit --aufraeumen.");
    const Umgebung u{k.home, k.temp, false, nullptr, {}};
    Fortschritt fortschritt;
    fortschritt.zeige("Suche Bauordner …");
    const auto funde = Projekte::finde(u, projekteOpt.tiefe);
    fortschritt.fertig();

    if (projekteOpt.aufraeumen) {
        std::vector<Fund> auswahl;
        for (const auto& b : funde)
            if (b.fund.vorgewaehlt) auswahl.push_back(b.fund);
        if (auswahl.empty()) {
            if (k.json) druckeJson(json::object({{"posten", json::array()}}));
            else std::printf("Nichts vorgewählt: kein Projekt ist seit mehr als 30 Tagen unberührt.\n");
            return 0;
        }
        return entsorge(auswahl, "Bauordner", projekteOpt.probelauf, projekteOpt.ja, k);
    }

    if (k.json) {
        json liste = json::array();
        for (const auto& b : funde) {
            json j = alsJson(b.fund);
            j["projekt"] = b.projekt.native();
            j["zuletzt"] = datumOderNull(b.zuletzt);
            liste.push_back(std::move(j));
        }
        druckeJson(liste);
        return 0;
    }
    std::printf("Bauordner in deinen Entwicklerprojekten: node_modules, .build, target, .venv … Ein Befehl baut sie "
                "wieder auf.\n\n");
    if (funde.empty()) {
        std::printf("Keine Bauordner gefunden (gesucht in ~/Projekte, ~/Projects, ~/Developer, ~/GitHub, ~/dev, "
                    "~/Code, ~/src, ~/Documents, ~/Desktop, ~/Sites).\n");
        return 0;
    }
    int64_t summe = 0, vorgewaehlt = 0;
    for (const auto& b : funde) {
        summe = addiere(summe, b.fund.bytes);
        if (b.fund.vorgewaehlt) vorgewaehlt = addiere(vorgewaehlt, b.fund.bytes);
        std::printf("[%s] %10s  %-14s %s  (zuletzt geändert %s)\n", b.fund.vorgewaehlt ? "x" : " ",
                    alsBytes(b.fund.bytes).c_str(), b.fund.url.filename().c_str(), kurzerPfad(b.projekt, k.home).c_str(),
                    tag(b.zuletzt).c_str());
        if (b.fund.titel) std::printf("      %s\n", b.fund.titel->c_str());
    }
    std::printf("\nZusammen %s, vorgewählt %s.\n", alsBytes(summe).c_str(), alsBytes(vorgewaehlt).c_str());
    std::printf("Vorgewählt ist nur, was zu Projekten gehört, die seit 30 Tagen niemand angefasst hat. Gelöscht wird "
                "nur, wenn die passende Projektdatei daneben liegt (package.json, Package.swift, Cargo.toml …), und "
                "nie, wenn ein Hintergrunddienst das Projekt nutzt.\n");
    if (vorgewaehlt > 0) std::printf("Löschen: hainbrem projekte --aufraeumen\n");
    return 0;
}

const bool projekteRegistriert = registriere({
    .name = "projekte",
    .beschreibung = "Bauordner in Entwicklerprojekten finden und die alten löschen",
    .reihenfolge = 50,
    .optionen =
        [](CLI::App& a) {
            a.add_option("--tiefe", projekteOpt.tiefe, "Wie tief unter den Projektordnern gesucht wird (Vorgabe 6)");
            a.add_flag("--aufraeumen", projekteOpt.aufraeumen, "Die vorgewählten Bauordner endgültig löschen");
            a.add_flag("--probelauf", projekteOpt.probelauf, "Nur zeigen, was geschähe; nichts anfassen");
            a.add_flag("--ja", projekteOpt.ja, "Ohne Rückfrage ausführen");
        },
    .ausfuehren = projekte,
});

// ---------------------------------------------------------------- programme

struct {
    std::vector<std::string> ordner;
    std::string deinstallieren;
    bool mitDaten = false, ja = false, probelauf = false;
} programmeOpt;

json programmJson(const Programm& p) {
    json reste = json::array();
    for (const auto& f : p.reste) reste.push_back(alsJson(f));
    return json{{"pfad", p.url.native()},
                {"name", p.name},
                {"bundleID", p.bundleID},
                {"version", p.version},
                {"bytes", p.bytes},
                {"zuletztBenutzt", datumOderNull(p.zuletztBenutzt)},
                {"ausAppStore", p.ausAppStore},
                {"reste", reste},
                {"resteBytes", p.resteBytes()}};
}

json verwaistJson(const Verwaist& v) {
    json funde = json::array();
    for (const auto& f : v.funde) funde.push_back(alsJson(f));
    return json{{"bundleID", v.bundleID},
                {"vermuteterName", v.vermuteterName()},
                {"bytes", v.bytes()},
                {"zuletzt", datumOderNull(v.zuletzt())},
                {"funde", funde}};
}

int deinstalliere(const std::vector<Programm>& liste, const Kontext& k) {
    const std::string gesucht = klein(programmeOpt.deinstallieren);
    std::vector<const Programm*> treffer;
    for (const auto& p : liste)
        if (klein(p.name) == gesucht || klein(p.bundleID) == gesucht || p.url.native() == programmeOpt.deinstallieren)
            treffer.push_back(&p);
    if (treffer.empty())
        return fehler("Kein installiertes Programm heißt „" + programmeOpt.deinstallieren +
                      "“. Die Liste zeigt: hainbrem programme");
    if (treffer.size() > 1) {
        std::string orte;
        for (const auto* p : treffer) orte += "\n  " + p->url.native();
        return fehler("„" + programmeOpt.deinstallieren + "“ gibt es mehrfach – bitte mit dem ganzen Pfad angeben:" +
                      orte);
    }
    const Programm& p = *treffer.front();
    std::vector<Fund> funde;
    Fund bundle;
    bundle.url = p.url;
    bundle.bytes = p.bytes;
    bundle.art = Entsorgung::papierkorb;
    bundle.besitzer = p.bundleID;
    bundle.vorgewaehlt = true;
    funde.push_back(std::move(bundle));
    size_t liegenGelassen = 0;
    for (const auto& f : p.reste) {
        if (f.vorgewaehlt || programmeOpt.mitDaten) funde.push_back(f);
        else ++liegenGelassen;
    }
    if (liegenGelassen > 0)
        warnung(fmt::format("{} Ordner mit persönlichen Daten der App {} liegen (mit --mit-daten {} mit).",
                            liegenGelassen, liegenGelassen == 1 ? "bleibt" : "bleiben",
                            liegenGelassen == 1 ? "kommt er" : "kommen sie"));
    return entsorge(funde, "Deinstallieren: " + p.name, programmeOpt.probelauf, programmeOpt.ja, k);
}

int programme(const Kontext& k) {
    if ((programmeOpt.ja || programmeOpt.probelauf || programmeOpt.mitDaten) && programmeOpt.deinstallieren.empty())
        return fehler("--ja, --probelauf und --mit-daten gelten nur zusammen mit --deinstallieren.");
    const Umgebung u{k.home, k.temp, false, nullptr, {}};
    std::vector<fs::path> ordner;
    for (const auto& o : programmeOpt.ordner) {
        struct stat st;
        if (::stat(o.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
            return fehler("„" + o + "“ ist kein Ordner.");
        ordner.push_back(fs::absolute(o).lexically_normal());
    }
    if (ordner.empty()) ordner = Programme::standardOrdner(u);

    Fortschritt fortschritt;
    fortschritt.zeige("Lese Programme und ihre Reste …");
    const auto liste = Programme::alle(u, ordner);
    if (!programmeOpt.deinstallieren.empty()) {
        fortschritt.fertig();
        return deinstalliere(liste, k);
    }
    fortschritt.zeige("Suche Reste entfernter Programme …");
    const auto waisen = Programme::verwaist(liste, u);
    fortschritt.fertig();

    if (k.json) {
        json programmeJson = json::array(), waisenJson = json::array();
        for (const auto& p : liste) programmeJson.push_back(programmJson(p));
        for (const auto& v : waisen) waisenJson.push_back(verwaistJson(v));
        druckeJson(json{{"programme", programmeJson}, {"verwaist", waisenJson}});
        return 0;
    }
    std::printf("Deinstallieren mit allen Resten – und Reste von Programmen, die längst weg sind.\n\n");
    if (liste.empty()) {
        std::string wo;
        for (const auto& o : ordner) wo += (wo.empty() ? "" : ", ") + kurzerPfad(o, k.home);
        std::printf("Keine Programme gefunden (gesucht in %s).\n", wo.c_str());
    }
    for (const auto& p : liste) {
        std::printf("%10s  %s %s%s\n", alsBytes(p.bytes).c_str(), p.name.c_str(), p.version.c_str(),
                    p.ausAppStore ? "  (App Store)" : "");
        std::printf("            %s · %s · zuletzt benutzt %s\n", p.bundleID.c_str(), kurzerPfad(p.url, k.home).c_str(),
                    tag(p.zuletztBenutzt).c_str());
        if (!p.reste.empty())
            std::printf("            Reste: %zu, %s\n", p.reste.size(), alsBytes(p.resteBytes()).c_str());
        for (const auto& f : p.reste)
            std::printf("              [%s] %10s  %s\n", f.vorgewaehlt ? "x" : " ", alsBytes(f.bytes).c_str(),
                        kurzerPfad(f.url, k.home).c_str());
    }
    if (!liste.empty())
        std::printf("\nPersönliche Daten der App (Profile, Dokumente) bleiben beim Deinstallieren, außer du hakst sie "
                    "hier an (--mit-daten).\nDeinstallieren: hainbrem programme --deinstallieren NAME\n");

    std::printf("\nReste entfernter Programme:\n");
    if (waisen.empty()) std::printf("  keine\n");
    for (const auto& v : waisen) {
        std::printf("%10s  %s (%s), zuletzt %s\n", alsBytes(v.bytes()).c_str(), v.vermuteterName().c_str(),
                    v.bundleID.c_str(), tag(v.zuletzt()).c_str());
        for (const auto& f : v.funde)
            std::printf("              %10s  %s\n", alsBytes(f.bytes).c_str(), kurzerPfad(f.url, k.home).c_str());
    }
    if (!waisen.empty())
        std::printf("Nichts ist vorgewählt. Hainbrem zeigt nur Reste, deren Programm nirgends mehr installiert ist, die "
                    "kein laufender Dienst braucht und deren Hersteller keine andere App auf dem Mac hat. Alles geht in "
                    "den Papierkorb.\n");
    return 0;
}

const bool programmeRegistriert = registriere({
    .name = "programme",
    .beschreibung = "Programme mit ihren Resten zeigen, deinstallieren; Reste entfernter Programme",
    .reihenfolge = 51,
    .optionen =
        [](CLI::App& a) {
            a.add_option("--ordner", programmeOpt.ordner,
                         "Programmordner statt /Applications und ~/Applications (mehrfach möglich)");
            a.add_option("--deinstallieren", programmeOpt.deinstallieren,
                         "Programm (Name, Kennung oder Pfad) samt vorgewählter Reste in den Papierkorb");
            a.add_flag("--mit-daten", programmeOpt.mitDaten, "Auch persönliche Daten der App mitnehmen");
            a.add_flag("--probelauf", programmeOpt.probelauf, "Nur zeigen, was geschähe; nichts anfassen");
            a.add_flag("--ja", programmeOpt.ja, "Ohne Rückfrage ausführen");
        },
    .ausfuehren = programme,
});

// ---------------------------------------------------------------- tricks

int tricks(const Kontext& k) {
    const Umgebung u{k.home, k.temp, false, nullptr, {}, k.profil};
    const TricksTexte texte = tricksTexte(k.profil);
    Fortschritt fortschritt;
    fortschritt.zeige("Messe Systemdaten …");
    const auto zeilen = Systemdaten::messen(u);
    std::vector<Schnappschuss> schnappschuesse;
    if (texte.mitSchnappschuessen) schnappschuesse = Schnappschuesse::alle();
    std::vector<ICloudOrdner> cloud;
    std::optional<bool> optimieren;
    if (texte.mitCloud) {
        fortschritt.zeige("Suche iCloud-Dateien, die auf dem Mac liegen …");
        cloud = ICloud::geladen(u);
        optimieren = ICloud::optimierenAn();
    }
    fortschritt.fertig();

    if (k.json) {
        json z = json::array(), s = json::array(), c = json::array();
        for (const auto& p : zeilen)
            z.push_back({{"titel", p.titel}, {"bytes", p.bytes ? json(*p.bytes) : json(nullptr)},
                         {"erklaerung", p.erklaerung}});
        for (const auto& x : schnappschuesse)
            s.push_back({{"name", x.name}, {"datum", datumOderNull(x.datum)}, {"datumsKennung", x.datumsKennung()}});
        for (const auto& o : cloud) {
            json dateien = json::array();
            for (const auto& d : o.dateien) dateien.push_back(d.native());
            c.push_back({{"name", o.name}, {"bytes", o.bytes}, {"zuletztGeoeffnet", datumOderNull(o.zuletztGeoeffnet)},
                         {"dateien", dateien}});
        }
        druckeJson(json{{"systemdaten", z},
                        {"schnappschuesse", s},
                        {"icloud", c},
                        {"optimierenAn", optimieren ? json(*optimieren) : json(nullptr)}});
        return 0;
    }
    std::printf("Systemdaten\n");
    for (const auto& p : zeilen) {
        std::printf("%12s  %s\n", p.bytes ? alsBytes(*p.bytes).c_str() : "", p.titel.c_str());
        std::printf("              %s\n", p.erklaerung.c_str());
    }
    if (texte.mitSchnappschuessen) {
        std::printf("\nLokale Schnappschüsse\n");
        if (schnappschuesse.empty()) std::printf("  keine\n");
        for (const auto& x : schnappschuesse) std::printf("  %s  %s\n", tag(x.datum).c_str(), x.name.c_str());
    }
    if (texte.mitCloud) {
        std::printf("\niCloud-Ordner, die vollständig auf dem Mac liegen\n");
        if (cloud.empty()) std::printf("  keine\n");
        for (const auto& o : cloud)
            std::printf("%12s  %s (%zu Dateien, zuletzt geöffnet %s)\n", alsBytes(o.bytes).c_str(), o.name.c_str(),
                        o.dateien.size(), tag(o.zuletztGeoeffnet).c_str());
        if (optimieren) std::printf("Mac-Speicher optimieren: %s\n", *optimieren ? "an" : "aus");
    }
    if (!texte.hinweis.empty()) std::printf("\n%s\n", texte.hinweis.c_str());
    return 0;
}

const bool tricksRegistriert = registriere({
    .name = "tricks",
    .beschreibung = standardProfil == Katalogprofil::macos
                        ? "Systemdaten aufschlüsseln, lokale Schnappschüsse und iCloud-Dateien auf dem Mac zeigen"
                        : "Systemdaten aufschlüsseln: Swap, temporäre Dateien, Systemprotokoll",
    .reihenfolge = 52,
    .optionen = nullptr,
    .ausfuehren = tricks,
});

}  // namespace
}  // namespace hainbrem::cli
