#include "app/modell/arbeiten.hpp"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace hainbrem::arbeiten {

namespace {

// Fractions become counts out of a thousand, so `anteil()` reads them back.
constexpr int64_t tausend = 1000;
void alsAnteil(Steuerung& st, double anteil) {
    st.gesamt.store(tausend, std::memory_order_relaxed);
    st.erledigt.store(std::llround(std::clamp(anteil, 0.0, 1.0) * tausend), std::memory_order_relaxed);
}

}  // namespace

std::vector<RegelErgebnis> pruefen(const Umgebung& umgebung, Steuerung& st) {
    alsAnteil(st, 0);
    return Katalog::pruefe(
        umgebung, Katalog::regeln(umgebung.profil), [&](double a) { alsAnteil(st, a); }, [&] { return st.angehalten(); });
}

TiefenscanErgebnis tiefenscan(const fs::path& home, bool ganzePlatte, bool vollzugriff, Steuerung& st) {
    ScanFortschritt fortschritt;
    auto spiegeln = [&] {
        st.erledigt.store(fortschritt.dateien.load(std::memory_order_relaxed), std::memory_order_relaxed);
        st.bytes.store(fortschritt.bytes.load(std::memory_order_relaxed), std::memory_order_relaxed);
    };
    // the scan keeps its own counters; a small helper copies them over while it runs
    std::mutex m;
    std::condition_variable_any cv;
    std::jthread spiegel([&](std::stop_token ende) {
        std::unique_lock sperre(m);
        while (!ende.stop_requested()) {
            cv.wait_for(sperre, ende, std::chrono::milliseconds(40), [] { return false; });
            spiegeln();
        }
    });
    TiefenscanErgebnis e = ganzePlatte ? Tiefenscan::scanneGanzePlatte(home, vollzugriff, fortschritt, st.halt)
                                       : Tiefenscan::scanne(home, vollzugriff, fortschritt, st.halt);
    spiegel.request_stop();
    spiegel.join();
    spiegeln();
    return e;
}

std::vector<DuplikatGruppe> duplikate(const std::vector<DateiInfo>& kandidaten, Steuerung& st) {
    alsAnteil(st, 0);
    return Duplikate::finde(
        kandidaten, [&](double a) { alsAnteil(st, a); }, st.halt);
}

ProgrammeErgebnis programme(const Umgebung& umgebung, const std::vector<fs::path>& ordner, Steuerung& st) {
    st.gesamt = 2;
    ProgrammeErgebnis r;
    r.programme = Programme::alle(umgebung, ordner.empty() ? Programme::standardOrdner(umgebung) : ordner);
    st.dazu(1);
    if (st.angehalten()) return r;
    r.verwaist = Programme::verwaist(r.programme, umgebung);
    st.dazu(1);
    return r;
}

std::vector<Bauabfall> projekte(const Umgebung& umgebung, Steuerung& st) {
    return Projekte::finde(umgebung, Projekte::standardTiefe, [&] { return st.angehalten(); });
}

TricksErgebnis tricks(const Umgebung& umgebung, Steuerung& st) {
    TricksErgebnis r;
    st.gesamt = 4;
    r.icloud = ICloud::geladen(umgebung);
    st.dazu(1);
    if (st.angehalten()) return r;
    r.optimieren = ICloud::optimierenAn();
    st.dazu(1);
    r.schnappschuesse = Schnappschuesse::alle();
    st.dazu(1);
    if (st.angehalten()) return r;
    r.systemdaten = Systemdaten::messen(umgebung);
    st.dazu(1);
    return r;
}

std::pair<int, int> auslagern(const std::vector<fs::path>& dateien, Steuerung& st) {
    st.gesamt = static_cast<int64_t>(dateien.size());
    const auto r = ICloud::auslagern(dateien);
    st.dazu(st.gesamt);
    return r;
}

std::optional<Platte> platte() { return Platte::lesen(); }

Runde entsorgen(Entsorger& entsorger, const std::vector<Fund>& funde, const std::string& titel, const fs::path& ort,
                Steuerung& st) {
    st.gesamt = static_cast<int64_t>(funde.size());
    entsorger.fortschritt = [&](size_t, size_t, const Posten& p) { st.dazu(1, p.bytes); };
    Runde r = entsorger.entsorge(funde, titel, ort);
    entsorger.fortschritt = nullptr;
    return r;
}

Entsorger::Rueckgabe rueckgaengig(Entsorger& entsorger, const std::string& id, Steuerung& st) {
    Entsorger::Rueckgabe r = entsorger.rueckgaengig(id);
    st.dazu(r.zurueck);
    return r;
}

}  // namespace hainbrem::arbeiten
