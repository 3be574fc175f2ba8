#include "kern/katalog.hpp"

#include <algorithm>
#include <optional>
#include <unordered_map>

#include "kern/arbeiter.hpp"
#include "kern/groesse.hpp"
#include "kern/ueberlauf.hpp"

namespace hainbrem {

int64_t RegelErgebnis::bytes() const {
    int64_t summe = 0;
    for (const auto& f : funde) summe = addiere(summe, f.bytes);
    return summe;
}

namespace Katalog {

std::vector<Regel> baueRegeln();       // kern/regeln.cpp
std::vector<Regel> baueLinuxRegeln();  // kern/regeln_linux.cpp

const std::vector<Regel>& regeln(Katalogprofil profil) {
    static const std::vector<Regel> mac = baueRegeln();
    static const std::vector<Regel> linux = baueLinuxRegeln();
    return profil == Katalogprofil::macos ? mac : linux;
}

const Regel* regel(std::string_view id, Katalogprofil profil) {
    for (const auto& r : regeln(profil))
        if (r.id == id) return &r;
    return nullptr;
}

namespace {

struct Messung {
    std::string pfad;
    size_t funde = 0;  // findings that share this path
};

// Measures every path on at most `gleichzeitigeMessungen` threads; a measurement cut short by
// the control counts as not made.
struct Gemessen {
    int64_t bytes = 0;
    int64_t neueste = 0;  // newest change of anything inside, seconds
};
std::unordered_map<std::string, Gemessen> messe(const std::vector<Messung>& messungen, Steuerung& s) {
    std::unordered_map<std::string, Gemessen> tabelle;
    if (messungen.empty() || s.angehalten()) return tabelle;
    std::vector<std::optional<Gemessen>> bytes(messungen.size());
    Arbeiter arbeiter(static_cast<unsigned>(std::min<size_t>(gleichzeitigeMessungen, messungen.size())));
    arbeiter.fuerAlle(messungen.size(), [&](size_t i) {
        if (s.angehalten()) return;
        // one thread per measurement: the pool is the only parallelism; the entries it counts
        // are no findings, so it gets a control of its own that only shares the stop
        Steuerung innen(s.halt);
        int64_t neueste = 0;
        const Groesse::Messung m = Groesse::miss(messungen[i].pfad, neueste, 1, &innen);
        if (m.angehalten) return;
        bytes[i] = Gemessen{m.bytes, neueste};
        s.dazu(static_cast<int64_t>(messungen[i].funde), m.bytes);
    });
    for (size_t i = 0; i < messungen.size(); ++i)
        if (bytes[i]) tabelle[messungen[i].pfad] = *bytes[i];
    return tabelle;
}

}  // namespace

std::vector<RegelErgebnis> pruefe(const Umgebung& umgebung, const std::vector<Regel>& liste, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    // 1. find, one rule after the other
    std::vector<std::pair<const Regel*, std::vector<Fund>>> gefunden;
    gefunden.reserve(liste.size());
    for (const auto& r : liste) {
        if (s.angehalten()) break;
        std::vector<Fund> funde;
        try {
            if (r.finde) funde = r.finde(umgebung);
        } catch (const std::exception&) {
            // a finder that fails finds nothing; the other rules still run
            funde.clear();
        }
        gefunden.emplace_back(&r, std::move(funde));
    }

    // 2. one measurement per distinct path (~/.cache/uv is found by two rules), in list order
    std::vector<Messung> messungen;
    std::unordered_map<std::string, size_t> stelle;
    size_t gesamt = 0;
    for (const auto& [_, funde] : gefunden)
        for (const auto& f : funde) {
            ++gesamt;
            const auto [it, neu] = stelle.try_emplace(f.url.native(), messungen.size());
            if (neu) messungen.push_back({f.url.native(), 0});
            ++messungen[it->second].funde;
        }

    // 3. measure
    s.gesamt.store(static_cast<int64_t>(gesamt), std::memory_order_relaxed);
    const auto tabelle = messe(messungen, s);

    // 4. per rule: sizes, drop empties, sort, hold back running owners, risk rule
    std::vector<RegelErgebnis> ergebnisse;
    for (auto& [r, funde] : gefunden) {
        std::vector<Fund> gemessen;
        for (auto& f : funde) {
            const auto it = tabelle.find(f.url.native());
            f.bytes = it == tabelle.end() ? 0 : it->second.bytes;
            // the newest change inside dates a finding its rule left undated
            if (!f.datum && it != tabelle.end() && it->second.neueste > 0)
                f.datum = Zeitpunkt(std::chrono::seconds(it->second.neueste));
            if (f.bytes >= 1) gemessen.push_back(std::move(f));
        }
        std::stable_sort(gemessen.begin(), gemessen.end(),
                         [](const Fund& a, const Fund& b) { return a.bytes > b.bytes; });
        RegelErgebnis ergebnis{*r, {}, {}};
        for (auto& f : gemessen) {
            const bool gehalten = f.besitzer && umgebung.laeuft && umgebung.laeuft(*f.besitzer);
            (gehalten ? ergebnis.uebersprungen : ergebnis.funde).push_back(std::move(f));
        }
        if (r->risiko == Risiko::vorsicht)
            for (auto& f : ergebnis.funde) f.vorgewaehlt = false;
        if (ergebnis.funde.empty() && ergebnis.uebersprungen.empty()) continue;
        ergebnisse.push_back(std::move(ergebnis));
    }
    return ergebnisse;
}

std::vector<RegelErgebnis> pruefe(const Umgebung& umgebung, Steuerung* steuerung) {
    return pruefe(umgebung, regeln(umgebung.profil), steuerung);
}

}  // namespace Katalog
}  // namespace hainbrem
