#pragma once
// Allocated size of file trees and the one tree walk every finder uses (its visitor types are
// the walker's, kern/wanderer.hpp).
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "kern/steuerung.hpp"
#include "kern/wanderer.hpp"

namespace hainbrem::Groesse {

namespace fs = std::filesystem;

// Walks the tree at `wurzel` in physical, same-device mode: links are never followed, no
// other file system is entered (such entries are left out entirely), the working directory
// never changes and any depth is reached. `ueberspringen` on ordnerAnfang skips the folder's
// contents (its ordnerEnde still follows); `abbrechen` stops at once.
void durchlaufe(const fs::path& wurzel, const Besuch& besuch);

struct Messung {
    int64_t bytes = 0;
    int64_t unlesbar = 0;     // entries that could not be read: the figure is a lower bound
    bool angehalten = false;  // stopped through the control: a lower bound as well
};
// Allocated bytes (st_blocks × 512) of the item and everything below it; hard links once.
// A folder that cannot be listed still counts its own blocks. Uses up to `faeden` threads.
// The control counts entries in `erledigt` and their bytes in `bytes`.
Messung miss(const fs::path& wurzel, unsigned faeden = 2, Steuerung* steuerung = nullptr);
// The same, and the newest modification time of the item or anything below it in `neueste`
// (seconds since the epoch; 0 when nothing could be read).
Messung miss(const fs::path& wurzel, int64_t& neueste, unsigned faeden = 2, Steuerung* steuerung = nullptr);
int64_t belegt(const fs::path& wurzel, unsigned faeden = 2, Steuerung* steuerung = nullptr);

// Bytes not shared with clones; absent where the file system cannot tell.
std::optional<int64_t> privat(const fs::path& pfad);

}  // namespace hainbrem::Groesse

namespace hainbrem::CloudSchutz {
void aktivieren();
bool nurInCloud(const std::filesystem::path& pfad);
}  // namespace hainbrem::CloudSchutz
