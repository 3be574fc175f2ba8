#pragma once
// The rule model and its evaluation: every rule finds, then everything found is measured
// in one bounded pool, held back while its owner runs, and sorted largest first.
#include <functional>
#include <string>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/steuerung.hpp"

namespace hainbrem {

struct Regel {
    std::string id, titel, symbol;
    Gruppe gruppe = Gruppe::programme;
    Risiko risiko = Risiko::sicher;
    std::string was, warumSicher, danach;
    // Under the Linux profile: a rule for Mac programs, which finds nothing there.
    bool nurAufDemMac = false;
    // Lists one or two folder levels, never measures, never throws.
    std::function<std::vector<Fund>(const Umgebung&)> finde;
};

struct RegelErgebnis {
    Regel regel;
    std::vector<Fund> funde;          // measured, largest first
    std::vector<Fund> uebersprungen;  // held back: their owner program runs

    const std::string& id() const { return regel.id; }
    // Sum over `funde` only; held-back findings do not count.
    int64_t bytes() const;
};

namespace Katalog {

// All 21 rules of a profile in catalog order; built once.
const std::vector<Regel>& regeln(Katalogprofil profil = standardProfil);
// The rule with this id, or null.
const Regel* regel(std::string_view id, Katalogprofil profil = standardProfil);

// Runs the rules one after another, then measures every finding (at most 6 at a time). The
// control learns the number of findings (`gesamt`) once all rules have run and counts measured
// findings in `erledigt`, their bytes in `bytes`. `halt` is asked between rules and between
// measurements; once it is set no further work starts and what was measured so far is
// evaluated.
std::vector<RegelErgebnis> pruefe(const Umgebung& umgebung, const std::vector<Regel>& regeln,
                                  Steuerung* steuerung = nullptr);
// All rules of the environment's profile.
std::vector<RegelErgebnis> pruefe(const Umgebung& umgebung, Steuerung* steuerung = nullptr);

// Chrome keeps old framework versions beside the one "Current" points to. The rule looks in
// /Applications; both parts take the folder so they can be tried on a fixture.
fs::path chromeVersionsOrdner(const fs::path& programme = "/Applications");
std::vector<Fund> chromeVersionen(const fs::path& versionsOrdner);

// How many measurements may run at the same time.
inline constexpr unsigned gleichzeitigeMessungen = 6;

}  // namespace Katalog
}  // namespace hainbrem
