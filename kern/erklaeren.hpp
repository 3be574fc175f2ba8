#pragma once
// "What is this path?": its size, age and contents, the rule that knows it and the guard's two
// verdicts. One use case for the assistant's tool and `hainbrem erklaere`.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/katalog.hpp"
#include "kern/safetyguard.hpp"

namespace hainbrem::Erklaeren {

namespace fs = std::filesystem;

struct Fakten {
    bool gibtEs = false;
    int fehler = 0;  // why it could not be looked at (errno), when it could not
    fs::path pfad;  // expanded
    int64_t bytes = 0;
    std::optional<Zeitpunkt> geaendert;
    std::vector<std::string> beispiele;  // up to `maxBeispiele` names, sorted
    const Regel* regel = nullptr;        // the rule that knows the path
    Urteil loeschen = Urteil::erlaubt();
    Urteil papierkorb = Urteil::erlaubt();
};
inline constexpr size_t maxBeispiele = 15;

// A path as a person writes it: "~", "~/x", absolute, or relative to the home folder; spaces
// around it dropped, "." and ".." resolved as text.
fs::path erweitere(std::string_view pfad, const fs::path& home);
// "~/…" for paths below home, others as they are.
std::string kurzpfad(const fs::path& pfad, const fs::path& home);
// "gerade eben", "vor 5 Minuten", "gestern", "vor 3 Tagen", "vor 2 Monaten", "vor 1 Jahr";
// "in der Zukunft" for a clock that was set back.
std::string relativ(Zeitpunkt dann, Zeitpunkt jetzt);

// The file work: existence, size, date, sample names, both verdicts, the rule. Blocking; asks
// every rule's finder, so it costs what a check costs.
Fakten fakten(std::string_view pfad, const Umgebung& umgebung, const SafetyGuard& guard);
// The facts in German sentences, as the assistant reads them and the command prints them.
std::string text(const std::string& pfad, const Fakten& fakten, const fs::path& home, Zeitpunkt jetzt);

}  // namespace hainbrem::Erklaeren
