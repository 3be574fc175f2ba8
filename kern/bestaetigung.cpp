#include "kern/bestaetigung.hpp"

#include <algorithm>
#include <set>

#include "kern/format.hpp"
#include "kern/paketsysteme.hpp"
#include "kern/plattenstand.hpp"
#include "kern/ueberlauf.hpp"

namespace hainbrem {

Bestaetigung bestaetigung(const std::vector<Fund>& funde, const std::function<bool(const std::string&)>& laeuft,
                          const std::filesystem::path& home) {
    Bestaetigung b;
    b.anzahl = funde.size();
    BestaetigungsZeile endgueltig{Entsorgung::loeschen, "leaf.fill", "gruen", 0, {}, 0, endgueltigText};
    BestaetigungsZeile korb{Entsorgung::papierkorb, "trash.fill", "orange", 0, {}, 0, papierkorbText};
    BestaetigungsZeile paket{Entsorgung::deinstallieren, "shippingbox", "rot", 0, {}, 0, deinstallierenText};
    std::set<std::string> systeme;
    for (const auto& f : funde) {
        auto& z = f.art == Entsorgung::loeschen ? endgueltig : f.art == Entsorgung::papierkorb ? korb : paket;
        if (f.art == Entsorgung::deinstallieren) {
            const auto d = Paketsysteme::deinstallation(f.url, home.empty() ? plattform::heimOrdner() : home);
            systeme.insert(d ? d->system : "");
            if (const auto h = d ? Paketsysteme::hindernis(*d) : std::nullopt) b.hinweise.push_back(f.name() + ": " + *h);
        }
        ++z.anzahl;
        z.bytes = addiere(z.bytes, f.bytes);
        b.bytes = addiere(b.bytes, f.bytes);
        if (f.besitzer && laeuft &&
            std::find(b.laufendeBesitzer.begin(), b.laufendeBesitzer.end(), *f.besitzer) == b.laufendeBesitzer.end() &&
            laeuft(*f.besitzer))
            b.laufendeBesitzer.push_back(*f.besitzer);
    }
    endgueltig.titel = std::to_string(endgueltig.anzahl) + " × endgültig löschen";
    korb.titel = std::to_string(korb.anzahl) + " × in den Papierkorb";
    paket.titel = std::to_string(paket.anzahl) + " × " +
                  (systeme.size() == 1 && !systeme.begin()->empty() ? "über " + *systeme.begin() + " deinstallieren"
                                                                     : "über das Paketsystem deinstallieren");
    if (endgueltig.anzahl > 0) b.zeilen.push_back(endgueltig);
    if (korb.anzahl > 0) b.zeilen.push_back(korb);
    if (paket.anzahl > 0) b.zeilen.push_back(paket);
    b.teile = "in " + anzahl(static_cast<int64_t>(b.anzahl), "Teil", "Teilen");
    b.hinweis = laufHinweisText;
    for (const auto& name : b.laufendeBesitzer) b.warnungen.push_back(name + " läuft noch, seine Teile blieben liegen.");
    return b;
}

std::string erklaerung(const Runde& runde, const std::function<int64_t()>& echtFreiJetzt) {
    std::vector<std::string> teile;
    size_t uebersprungen = 0, fehlgeschlagen = 0;
    std::optional<std::string> ersterGrund;
    int64_t inDenKorb = 0;  // a dry run's Trash items, which never reach it
    for (const auto& p : runde.posten) {
        if (!p.fehler) {
            if (p.art == Entsorgung::papierkorb) inDenKorb = addiere(inDenKorb, p.bytes);
            continue;
        }
        if (p.ergebnis == PostenErgebnis::fehlgeschlagen || p.ergebnis == PostenErgebnis::unterbrochen) {
            ++fehlgeschlagen;
            if (!ersterGrund) ersterGrund = *p.fehler;
        } else {
            ++uebersprungen;
        }
    }
    if (runde.probelauf) {
        // nothing was removed or measured: only what would have happened
        if (runde.erwartetFrei() > 0 || inDenKorb == 0) teile.push_back(alsBytes(runde.erwartetFrei()) + " würden frei");
        if (inDenKorb > 0)
            teile.push_back(alsBytes(inDenKorb) + " gingen in den Papierkorb – frei erst nach dem Leeren");
    } else {
        if (const int64_t korb = runde.imPapierkorbBytes(); korb > 0)
            teile.push_back(alsBytes(korb) + " liegen im Papierkorb – frei erst nach dem Leeren");
        if (const int64_t zurueck = runde.zurueckgelegtBytes(); zurueck > 0)
            teile.push_back(alsBytes(zurueck) + " zurückgelegt");
        // measured against what left the disk for good: the Trash frees nothing, put back or not
        const int64_t g = runde.gewonnen();
        const int64_t e = runde.erwartetFrei();
        if (g < multipliziere(e, 8) / 10 && e > 50'000'000)
            teile.push_back(
                "weniger als erwartet: Klone, Hardlinks oder ein Schnappschuss halten Daten fest, oder andere "
                "Programme schreiben gerade");
    }
    if (uebersprungen > 0) teile.push_back(std::to_string(uebersprungen) + " übersprungen (läuft gerade oder geschützt)");
    if (fehlgeschlagen > 0)
        teile.push_back(std::to_string(fehlgeschlagen) + " nicht geschafft: " + *ersterGrund);
    if (runde.speicherFehler.grund) teile.push_back(*runde.speicherFehler.grund);
    if (teile.empty()) return "Alles erledigt. Echter freier Platz jetzt: " + alsBytes(echtFreiJetzt()) + ".";
    std::string s;
    for (size_t i = 0; i < teile.size(); ++i) s += (i ? " · " : "") + teile[i];
    return s;
}

std::string erklaerung(const Runde& runde, const std::filesystem::path& home) {
    return erklaerung(runde, [&] { return Plattenstand::jetzt(home).echtFrei; });
}

}  // namespace hainbrem
