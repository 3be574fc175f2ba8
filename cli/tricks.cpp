// hainbrem tricks: the space no cleanup rule reaches (system data, snapshots, cloud folders).
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "kern/format.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/speichertricks.hpp"

namespace hainbrem::cli {
namespace {

int tricks(const Kontext& k) {
    const Umgebung u{k.home, k.temp, false, nullptr, {}, k.profil};
    const TricksTexte texte = tricksTexte(k.profil);
    Fortschritt fortschritt;
    Steuerung steuerung;
    const Tricks alles = imHintergrund([&] { return alleTricks(u, &steuerung); }, [&] {
        fortschritt.zeige(fmt::format("Messe Systemdaten … {:.0f} %", steuerung.anteil() * 100.0));
    });
    fortschritt.fertig();
    const auto& zeilen = alles.systemdaten;
    const auto& schnappschuesse = alles.schnappschuesse;
    const auto& cloud = alles.icloud;
    const auto& optimieren = alles.optimieren;

    if (k.json) {
        json z = json::array(), s = json::array(), c = json::array();
        for (const auto& p : zeilen)
            z.push_back({{"titel", p.titel},
                         {"bytes", p.bytes ? json(*p.bytes) : json(nullptr)},
                         {"erklaerung", p.erklaerung},
                         {"befehl", p.befehl ? json(*p.befehl) : json(nullptr)}});
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
        if (p.befehl) std::printf("              Befehl: %s\n", p.befehl->c_str());
    }
    if (texte.mitSchnappschuessen) {
        std::printf("\nLokale Schnappschüsse\n");
        if (schnappschuesse.empty()) std::printf("  keine\n");
        for (const auto& x : schnappschuesse) std::printf("  %s  %s\n", tagesDatum(x.datum).c_str(), x.name.c_str());
    }
    if (texte.mitCloud) {
        std::printf("\niCloud-Ordner, die vollständig auf dem Mac liegen\n");
        if (cloud.empty()) std::printf("  keine\n");
        for (const auto& o : cloud)
            std::printf("%12s  %s (%s, zuletzt geöffnet %s)\n", alsBytes(o.bytes).c_str(), o.name.c_str(),
                        anzahl(static_cast<int64_t>(o.dateien.size()), "Datei", "Dateien").c_str(),
                        tagesDatum(o.zuletztGeoeffnet).c_str());
        if (optimieren) std::printf("Mac-Speicher optimieren: %s\n", *optimieren ? "an" : "aus");
    }
    if (!texte.hinweis.empty()) std::printf("\n%s\n", texte.hinweis.c_str());
    return 0;
}

const bool tricksRegistriert = registriere({
    .name = "tricks",
    .beschreibung = "Systemdaten aufschlüsseln: Swap, temporäre Dateien, Systemprotokoll, was Paketsysteme aufbewahren",
    .beschreibungMac = "Systemdaten aufschlüsseln, lokale Schnappschüsse und iCloud-Dateien auf dem Mac zeigen",
    .reihenfolge = 52,
    .optionen = nullptr,
    .ausfuehren = tricks,
});

}  // namespace
}  // namespace hainbrem::cli
