#pragma once
// What the whole-disk scan needs from the system beyond plain file access.
#include <optional>
#include <string>
#include <vector>

namespace hainbrem::plattform {

struct Einhaengung {
    std::string punkt;   // mount point
    std::string typ;     // file system type
    std::string quelle;  // source device, as the table names it
};

// The mount table of this process (Linux: /proc/self/mountinfo); empty where there is none.
std::vector<Einhaengung> einhaengTabelle();
// A table in mountinfo format from any file. Unreadable files and lines that are not mount
// entries give nothing; a file whose first entry is not one is not taken for a mount table.
std::vector<Einhaengung> einhaengTabelleAus(const std::string& datei);

// The disk a block device belongs to ("/dev/vda2" → "vda"); absent for anything that is not a
// block device or when the system does not tell.
std::optional<std::string> plattenName(const std::string& geraetePfad);

// Hints that a file will be read once from start to end, or no longer needed in the cache.
void liestNacheinander(int fd);
void brauchtNichtMehr(int fd);

}  // namespace hainbrem::plattform
