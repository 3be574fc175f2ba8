#pragma once
// What the whole-disk scan needs from the system beyond plain file access.
#include <optional>
#include <string>

namespace hainbrem::plattform {

// The raw mount table of this process (Linux: /proc/self/mountinfo); empty where there is none.
// Parsed in the core.
std::string einhaengTabelle();

// The disk a block device belongs to ("/dev/vda2" → "vda"); absent for anything that is not a
// block device or when the system does not tell.
std::optional<std::string> plattenName(const std::string& geraetePfad);

// Hints that a file will be read once from start to end, or no longer needed in the cache.
void liestNacheinander(int fd);
void brauchtNichtMehr(int fd);

}  // namespace hainbrem::plattform
