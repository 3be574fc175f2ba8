// hainbrem groesse PFAD… and hainbrem platte
#include <sys/stat.h>

#include <cerrno>

#include "basis/systemfehler.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "kern/format.hpp"
#include "kern/groesse.hpp"
#include "kern/plattenstand.hpp"

namespace hainbrem::cli {
namespace {

std::vector<std::string> groessePfade;

int groesse(const Kontext& k) {
    json liste = json::array();
    int status = 0;
    for (const auto& p : groessePfade) {
        struct stat st;
        if (::lstat(p.c_str(), &st) != 0) {
            status = fehler(pfadFehler(p, errno));
            continue;
        }
        const auto [bytes, unlesbar, angehalten] = Groesse::miss(p);
        if (unlesbar > 0)
            warnung(fmt::format("In „{}“ {} {} nicht lesbar; die Größe ist eine Untergrenze.", p,
                                unlesbar == 1 ? "war" : "waren", anzahl(unlesbar, "Eintrag", "Einträge")));
        if (unlesbar > 0) status = 1;
        if (k.json) {
            liste.push_back(json{{"pfad", p}, {"bytes", bytes}});
        } else {
            std::printf("%12s  %s\n", alsBytes(bytes).c_str(), kurzerPfad(p, k.home).c_str());
        }
    }
    if (k.json) druckeJson(liste);
    return status;
}

const bool groesseRegistriert = registriere({
    .name = "groesse",
    .beschreibung = "Belegten Platz von Dateien und Ordnern messen",
    .reihenfolge = 10,
    .optionen = [](CLI::App& a, Katalogprofil) {
        a.add_option("PFAD", groessePfade, "Datei oder Ordner")->type_name("")->required();
    },
    .ausfuehren = groesse,
});

const char* artName(Plattenteil::Art art) {
    switch (art) {
        case Plattenteil::Art::volume: return "volume";
        case Plattenteil::Art::reserviert: return "reserviert";
        case Plattenteil::Art::verwaltung: return "verwaltung";
        case Plattenteil::Art::rest: return "rest";
        case Plattenteil::Art::frei: return "frei";
        case Plattenteil::Art::freiAnderswo: return "freiAnderswo";
    }
    return "?";
}

int platte(const Kontext& k) {
    const Plattenstand s = Plattenstand::jetzt(k.home);
    const auto lage = s.lage(10'000'000'000);
    const std::optional<Platte> p = Platte::lesen(k.profil);
    // the same picture as the overview's: its parts add up to the disk
    const Plattenbild bild = plattenbild(s, p);
    if (k.json) {
        json j;
        j["plattenstand"] = {{"gesamt", s.gesamt},           {"echtFrei", s.echtFrei},
                             {"mitLoeschbarem", s.mitLoeschbarem}, {"belegt", s.belegt()},
                             {"loeschbar", s.loeschbar()},   {"anteilFrei", s.anteilFrei()},
                             {"lage", std::string(name(lage))}};
        if (p) {
            json vols = json::array();
            for (const auto& v : p->volumes)
                vols.push_back({{"name", v.name}, {"rolle", v.rolle}, {"bytes", v.bytes}, {"geraet", v.geraet},
                                {"titel", v.titel()}, {"erklaerung", v.erklaerung()}});
            j["platte"] = {{"gesamt", p->gesamt}, {"frei", p->frei}, {"belegt", p->belegt()}, {"volumes", vols}};
        } else {
            j["platte"] = nullptr;
        }
        json teile = json::array();
        for (const auto& t : bild.teile)
            teile.push_back({{"art", artName(t.art)}, {"titel", t.titel}, {"bytes", t.bytes}, {"erklaerung", t.erklaerung}});
        j["plattenbild"] = {{"name", bild.name}, {"gesamt", bild.gesamt}, {"echtFrei", bild.echtFrei}, {"teile", teile}};
        druckeJson(j);
        return 0;
    }
    // Linux has no purgeable space and no volumes in a container: its disk holds file systems
    const bool mac = k.profil == Katalogprofil::macos;
    std::printf("Platte von %s\n", kurzerPfad(k.home, k.home).c_str());
    std::printf("  Gesamt:            %s\n", alsBytes(s.gesamt).c_str());
    std::printf("  Wirklich frei:     %s (%.0f %%)\n", alsBytes(s.echtFrei).c_str(), s.anteilFrei() * 100.0);
    if (mac) {
        std::printf("  Frei mit Löschbarem: %s\n", alsBytes(s.mitLoeschbarem).c_str());
        std::printf("  Löschbar:          %s\n", alsBytes(s.loeschbar()).c_str());
    }
    std::printf("  Lage:              %s\n", std::string(name(lage)).c_str());
    if (!p) {
        std::printf("\nDie Aufteilung der Platte ließ sich nicht lesen.\n");
        return 0;
    }
    if (mac)
        std::printf("\nVolumes (belegt %s von %s, frei %s):\n", alsBytes(p->belegt()).c_str(),
                    alsBytes(p->gesamt).c_str(), alsBytes(p->frei).c_str());
    else
        std::printf("\nDateisysteme auf der Platte mit / (%s groß, frei %s):\n", alsBytes(p->gesamt).c_str(),
                    alsBytes(p->frei).c_str());
    for (const auto& v : p->volumes)
        std::printf("  %-22s %12s  %s\n    %s\n", v.titel().c_str(), alsBytes(v.bytes).c_str(), v.geraet.c_str(),
                    std::string(v.erklaerung()).c_str());
    // what is neither a file system's files nor free: the reserve, the bookkeeping, the rest
    bool kopf = false;
    for (const auto& t : bild.teile) {
        if (t.art == Plattenteil::Art::volume || t.art == Plattenteil::Art::frei) continue;
        if (!kopf) std::printf("\nWeder Dateien noch frei:\n");
        kopf = true;
        std::printf("  %-30s %12s\n", t.titel.c_str(), alsBytes(t.bytes).c_str());
        if (!t.erklaerung.empty()) std::printf("    %s\n", t.erklaerung.c_str());
    }
    return 0;
}

const bool platteRegistriert = registriere({
    .name = "platte",
    .beschreibung = "Freien Platz und Aufteilung der Platte zeigen",
    .reihenfolge = 11,
    .optionen = nullptr,
    .ausfuehren = platte,
});

}  // namespace
}  // namespace hainbrem::cli
