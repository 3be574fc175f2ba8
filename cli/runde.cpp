#include "cli/runde.hpp"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <stop_token>
#include <system_error>
#include <thread>

#include "kern/format.hpp"
#include "kern/heim.hpp"
#include "kern/laufend.hpp"
#include "kern/runde.hpp"
#include "kern/safetyguard.hpp"

namespace hainbrem::cli {

json alsJson(const Posten& p) {
    json j;
    j["pfad"] = p.pfad;
    j["bytes"] = p.bytes;
    j["art"] = std::string(rohwert(p.art));
    j["imPapierkorb"] = p.imPapierkorb ? json(*p.imPapierkorb) : json(nullptr);
    j["fehler"] = p.fehler ? json(*p.fehler) : json(nullptr);
    j["zurueckgelegt"] = p.zurueckgelegt;
    j["ergebnis"] = std::string(rohwert(p.ergebnis));
    return j;
}

json alsJson(const Runde& r) {
    json j;
    j["id"] = r.id;
    j["titel"] = r.titel;
    j["datum"] = isoZeit(r.datum);
    j["freiVorher"] = r.freiVorher;
    j["freiNachher"] = r.freiNachher;
    json posten = json::array();
    for (const auto& p : r.posten) posten.push_back(alsJson(p));
    j["posten"] = std::move(posten);
    j["probelauf"] = r.probelauf;
    j["gewonnen"] = r.gewonnen();
    j["erwartet"] = r.erwartet();
    j["imPapierkorbBytes"] = r.imPapierkorbBytes();
    j["kannRueckgaengig"] = r.kannRueckgaengig();
    return j;
}

json alsJson(const Bestaetigung& b) {
    json zeilen = json::array();
    for (const auto& z : b.zeilen)
        zeilen.push_back({{"art", std::string(rohwert(z.art))}, {"symbol", z.symbol}, {"farbe", z.farbe},
                          {"anzahl", z.anzahl}, {"titel", z.titel}, {"bytes", z.bytes}, {"text", z.text}});
    return json{{"zeilen", zeilen},         {"anzahl", b.anzahl},
                {"bytes", b.bytes},         {"teile", b.teile},
                {"hinweis", b.hinweis},     {"laufendeBesitzer", b.laufendeBesitzer},
                {"warnungen", b.warnungen}, {"hinweise", b.hinweise}};
}

void warneUnlesbar(const Verlauf& v) {
    if (v.warUnlesbar())
        warnung("Der Verlauf „" + v.datei().native() +
                "“ ist nicht lesbar. Er wird beim nächsten Speichern beiseitegelegt, nicht überschrieben.");
}

namespace {

// The confirmation as the sheet words it; on stderr when stdout carries JSON.
void zeigeBestaetigung(const Bestaetigung& b, const std::vector<Fund>& funde, const Kontext& k) {
    FILE* aus = k.json ? stderr : stdout;
    for (const auto& z : b.zeilen) {
        std::fprintf(aus, "%s  %s\n  %s\n", z.titel.c_str(), alsBytes(z.bytes).c_str(), z.text.c_str());
        for (const auto& f : funde)
            if (f.art == z.art)
                std::fprintf(aus, "    %10s  %s\n", alsBytes(f.bytes).c_str(), kurzerPfad(f.url, k.home).c_str());
    }
    std::fprintf(aus, "Zusammen %s %s\n%s\n", alsBytes(b.bytes).c_str(), b.teile.c_str(), b.hinweis.c_str());
    for (const auto& w : b.warnungen) std::fprintf(aus, "! %s\n", zeige(w).c_str());
    for (const auto& h : b.hinweise) std::fprintf(aus, "! %s\n", zeige(h).c_str());
    std::fflush(aus);
}

// true: go on. Asks unless confirmed; without a terminal there is nobody to ask.
bool bestaetigt(const RundenWahl& wahl) {
    if (wahl.ja || wahl.probelauf) return true;
    if (::isatty(0) != 1) {
        fehler("Keine Rückfrage möglich (kein Terminal). Mit --ja bestätigen – nichts wurde angefasst.");
        return false;
    }
    if (!frage(wahl.frage)) {
        fehler("Abgebrochen – nichts wurde angefasst.");
        return false;
    }
    return true;
}

}  // namespace

namespace {

// While a round runs, Ctrl-C, SIGTERM and SIGHUP stop it at the next safe point (between items,
// or between the entries of a folder being deleted) instead of killing it halfway: the signals
// are blocked in this thread and in every thread it starts, and one thread waits for them.
class Anhalter {
public:
    explicit Anhalter(std::stop_source quelle) : quelle_(std::move(quelle)) {
        sigemptyset(&signale_);
        for (const int s : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signale_, s);
        ::pthread_sigmask(SIG_BLOCK, &signale_, &vorher_);
        try {
            signalFaden_ = std::thread([this] { warte(); });
        } catch (const std::system_error&) {
            ::pthread_sigmask(SIG_SETMASK, &vorher_, nullptr);  // no thread: the signals act as usual
        }
    }
    ~Anhalter() {
        ende_.store(true);
        if (signalFaden_.joinable()) {
            signalFaden_.join();
            ::pthread_sigmask(SIG_SETMASK, &vorher_, nullptr);
        }
    }
    Anhalter(const Anhalter&) = delete;
    Anhalter& operator=(const Anhalter&) = delete;

    // The signal that stopped the round; 0 when none came.
    int signal() const { return signal_.load(); }

private:
    void warte() {
        const timespec takt{0, 100'000'000};
        while (!ende_.load()) {
            siginfo_t info;
            const int s = ::sigtimedwait(&signale_, &info, &takt);
            if (s <= 0 || signal_.load() != 0) continue;
            signal_.store(s);
            quelle_.request_stop();
            static constexpr char text[] = "\nhainbrem: Halte an – der laufende Teil wird sicher beendet …\n";
            [[maybe_unused]] const ssize_t n = ::write(2, text, sizeof text - 1);
        }
    }

    std::stop_source quelle_;
    sigset_t signale_{}, vorher_{};
    std::atomic<bool> ende_{false};
    std::atomic<int> signal_{0};
    std::thread signalFaden_;
};

}  // namespace

int fuehreRundeAus(const std::vector<Fund>& funde, const std::string& titel, const RundenWahl& wahl, const Kontext& k,
                   Verlauf& verlauf) {
    Entsorger entsorger(waechterFuer(k), verlauf, wahl.probelauf, laufTest());
    const Rundengang gang(entsorger, funde, titel);
    if (const auto h = heimHinweis(k.home)) warnung(*h);
    zeigeBestaetigung(gang.bestaetigung(), funde, k);
    if (!bestaetigt(wahl)) return 1;

    std::stop_source quelle;
    Anhalter anhalter(quelle);
    Steuerung steuerung(quelle.get_token());
    Fortschritt fortschritt;
    entsorger.fortschritt = [&](size_t i, size_t n, const Posten& p) {
        fortschritt.zeige(fmt::format("{} von {}: {}", i + 1, n, kurzerPfad(p.pfad, k.home)));
    };
    const RundenErgebnis e = gang.fuehreAus(k.home, &steuerung);
    fortschritt.fertig();
    if (e.hinweis) warnung(*e.hinweis);

    const Runde& r = e.runde;
    const bool begonnen = !(r.speicherFehler.grund && r.posten.empty());
    int status = e.allesErledigt() && !r.speicherFehler.grund && !e.angehalten ? 0 : 1;
    if (anhalter.signal() != 0) status = 128 + anhalter.signal();
    if (!begonnen) {
        fehler(*r.speicherFehler.grund + " – nichts wurde angefasst.");
        if (k.json) druckeJson(json{{"posten", json::array()}, {"erklaerung", *r.speicherFehler.grund}});
        return status;
    }
    if (r.speicherFehler.grund) {
        // the round happened but its record is incomplete: say where the items are
        fehler(*r.speicherFehler.grund + ". Die Runde ist darum nicht vollständig im Verlauf.");
        for (const auto& p : r.posten)
            if (p.imPapierkorb && !p.fehler)
                std::fprintf(stderr, "  im Papierkorb: %s  (von %s)\n", kurzerPfad(*p.imPapierkorb, k.home).c_str(),
                             kurzerPfad(p.pfad, k.home).c_str());
    }
    if (k.json) {
        json j = alsJson(r);
        j["erklaerung"] = e.erklaerung;
        j["angehalten"] = e.angehalten;
        j["bestaetigung"] = alsJson(gang.bestaetigung());
        druckeJson(j);
        return status;
    }
    if (r.probelauf) std::printf("\nProbelauf – nichts wurde angefasst.\n");
    if (e.angehalten)
        std::printf("\nAngehalten nach %zu von %zu Teilen; der Rest bleibt liegen.\n", r.posten.size(), funde.size());
    for (const auto& p : r.posten)
        if (p.fehler) std::printf("  ✗ %s: %s\n", kurzerPfad(p.pfad, k.home).c_str(), zeige(*p.fehler).c_str());
    std::printf("\nFreier Platz: %s\n", alsBytes(r.freiNachher).c_str());
    std::printf("Gewonnen: %s %s\n", alsBytes(r.gewonnen()).c_str(), r.probelauf ? "erwartet" : "gemessen");
    std::printf("%s\n", zeige(e.erklaerung).c_str());
    if (!r.probelauf && !r.speicherFehler.grund && !r.posten.empty()) {
        std::printf("Runde %s\n", r.id.c_str());
        if (r.kannRueckgaengig()) std::printf("Rückgängig: hainbrem rueckgaengig %s\n", r.id.c_str());
    }
    return status;
}

int fuehreRundeAus(const std::vector<Fund>& funde, const std::string& titel, const RundenWahl& wahl, const Kontext& k) {
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    warneUnlesbar(verlauf);
    return fuehreRundeAus(funde, titel, wahl, k, verlauf);
}

}  // namespace hainbrem::cli
