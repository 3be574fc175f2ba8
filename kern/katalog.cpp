#include "kern/katalog.hpp"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "kern/groesse.hpp"
#include "kern/rechnen.hpp"

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

struct Ergebnis {
    size_t index;
    int64_t bytes;
};

// Measures every path on at most `gleichzeitigeMessungen` threads. The calling thread owns the
// table and the count and reports progress as results arrive; workers only measure.
std::unordered_map<std::string, int64_t> messe(const std::vector<Messung>& messungen, size_t gesamtFunde,
                                               const std::function<void(double)>& fortschritt,
                                               const std::function<bool()>& abbrechen) {
    std::unordered_map<std::string, int64_t> tabelle;
    if (messungen.empty() || (abbrechen && abbrechen())) return tabelle;

    std::atomic<size_t> naechste{0};
    std::atomic<bool> halt{false};
    std::mutex sperre;
    std::condition_variable bereit;
    std::deque<Ergebnis> fertige;
    size_t arbeitendeFaeden = 0;

    auto arbeite = [&] {
        for (;;) {
            if (halt.load(std::memory_order_relaxed)) break;
            const size_t i = naechste.fetch_add(1);
            if (i >= messungen.size()) break;
            // one thread per measurement: the pool is the only parallelism
            const int64_t bytes = Groesse::belegt(messungen[i].pfad, 1);
            std::lock_guard lock(sperre);
            fertige.push_back({i, bytes});
            bereit.notify_one();
        }
        std::lock_guard lock(sperre);
        --arbeitendeFaeden;
        bereit.notify_one();
    };

    std::vector<std::jthread> faeden;
    const size_t anzahl = std::min<size_t>(gleichzeitigeMessungen, messungen.size());
    faeden.reserve(anzahl);
    for (size_t i = 0; i < anzahl; ++i) {
        {
            std::lock_guard zaehler(sperre);
            ++arbeitendeFaeden;
        }
        try {
            faeden.emplace_back(arbeite);
        } catch (const std::system_error&) {
            std::lock_guard zaehler(sperre);
            --arbeitendeFaeden;
            break;
        }
    }
    if (faeden.empty()) {
        // no thread to be had: measure here, one after the other
        arbeitendeFaeden = 1;
        arbeite();
    }

    const double teiler = static_cast<double>(gesamtFunde == 0 ? 1 : gesamtFunde);
    size_t erledigt = 0;
    std::unique_lock lock(sperre);
    for (;;) {
        bereit.wait(lock, [&] { return !fertige.empty() || arbeitendeFaeden == 0; });
        if (fertige.empty()) break;
        const Ergebnis e = fertige.front();
        fertige.pop_front();
        lock.unlock();
        tabelle[messungen[e.index].pfad] = e.bytes;
        erledigt += messungen[e.index].funde;
        if (fortschritt) fortschritt(static_cast<double>(erledigt) / teiler);
        if (abbrechen && abbrechen()) halt.store(true);
        lock.lock();
    }
    lock.unlock();
    faeden.clear();
    return tabelle;
}

}  // namespace

std::vector<RegelErgebnis> pruefe(const Umgebung& umgebung, const std::vector<Regel>& liste,
                                  const std::function<void(double)>& fortschritt,
                                  const std::function<bool()>& abbrechen) {
    // 1. find, one rule after the other
    std::vector<std::pair<const Regel*, std::vector<Fund>>> gefunden;
    gefunden.reserve(liste.size());
    for (const auto& r : liste) {
        if (abbrechen && abbrechen()) break;
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
    const auto tabelle = messe(messungen, gesamt, fortschritt, abbrechen);

    // 4. per rule: sizes, drop empties, sort, hold back running owners, risk rule
    std::vector<RegelErgebnis> ergebnisse;
    for (auto& [r, funde] : gefunden) {
        std::vector<Fund> gemessen;
        for (auto& f : funde) {
            const auto it = tabelle.find(f.url.native());
            f.bytes = it == tabelle.end() ? 0 : it->second;
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

std::vector<RegelErgebnis> pruefe(const Umgebung& umgebung, const std::function<void(double)>& fortschritt) {
    return pruefe(umgebung, regeln(umgebung.profil), fortschritt);
}

}  // namespace Katalog
}  // namespace hainbrem
