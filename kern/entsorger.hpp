#pragma once
// Carries out a confirmed cleanup: every item is asked about once more (gone? owner running?
// guard?), then moved to the Trash or deleted for good, and the whole round is recorded in the
// history before, during and after the work, so undo always knows what lies in the Trash.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/offene_dateien.hpp"
#include "kern/safetyguard.hpp"
#include "kern/steuerung.hpp"
#include "kern/verlauf.hpp"

namespace hainbrem {

class Entsorger {
public:
    using Lauftest = std::function<bool(const std::string&)>;
    // After each item: index, count, the item just done. For a front end that names each item;
    // counts are in the round's control.
    using Fortschritt = std::function<void(size_t, size_t, const Posten&)>;

    // `laeuft` empty: the running programs are asked at every call (programmLaeuft).
    Entsorger(SafetyGuard waechter, Verlauf& verlauf, bool probelauf = false, Lauftest laeuft = {});

    SafetyGuard waechter;
    Verlauf& verlauf;
    bool probelauf = false;
    Lauftest laeuft;
    Fortschritt fortschritt;
    // Asked right before the guard: an item some program holds something open in stays.
    OffeneDateien offeneDateien;

    // One whole round; `ort` is where the free space is measured (the home folder). Never throws.
    // The control counts items (`gesamt` = all of them) and the bytes they freed. Its `halt` is
    // asked only between items: a stopped round holds the items done, is measured and saved
    // like any other.
    Runde entsorge(const std::vector<Fund>& funde, const std::string& titel, const std::filesystem::path& ort,
                   Steuerung* steuerung = nullptr);
    // One item, outside any round (nothing is recorded).
    Posten entsorge(const Fund& fund);

    struct Rueckgabe {
        int zurueck = 0;
        std::vector<std::string> fehler;
    };
    // Puts the round's Trash items back where they were found.
    Rueckgabe rueckgaengig(const std::string& id);

    // Deletes for good; the German reason on failure.
    static std::optional<std::string> loesche(const std::filesystem::path& url);
    static bool istSymlink(const std::filesystem::path& url);

private:
    // `vormerken` (may be empty) receives a Trash item's record before the item moves.
    Posten entsorgeEins(const Fund& fund, const std::function<void(const Posten&)>& vormerken);
};

}  // namespace hainbrem
