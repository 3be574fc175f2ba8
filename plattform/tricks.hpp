#pragma once
// System facilities behind the storage tricks: cloud files held locally, Time Machine's local
// snapshots and the swap the kernel keeps. Parsing of tool output happens in the core; the
// kernel's swap table is decoded by the platform's own library.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace hainbrem::plattform {

struct CloudDatei {
    std::filesystem::path pfad;
    int64_t bytes = 0;  // allocated
    std::optional<std::chrono::system_clock::time_point> zugriff;
};

// Regular files below `wurzel` that are cloud items and fully downloaded and current
// (macOS: ubiquitous items with status "current"). Linux has no cloud items: nothing.
std::vector<CloudDatei> geladeneCloudDateien(const std::filesystem::path& wurzel);

// Removes the local copy of a cloud item and keeps it in the cloud. Linux: always false.
bool cloudAuslagern(const std::filesystem::path& datei);

// Whether tmutil, osascript, sysctl's "vm.swapusage" and the "defaults" reader exist (macOS).
bool hatMacWerkzeuge();

struct SwapBereich {
    std::string pfad;  // swap file or partition
    std::string typ;   // "file", "partition"
    int64_t kib = 0;   // size and use as the kernel counts them, in KiB
    int64_t belegtKib = 0;
    bool operator==(const SwapBereich&) const = default;
};

// The active swap areas (Linux: /proc/swaps); absent where the system keeps no such table or it
// cannot be read, empty when no swap is on.
std::optional<std::vector<SwapBereich>> swapBereiche();
// The same from any file in that format. Lines that are not swap entries are left out.
std::optional<std::vector<SwapBereich>> swapBereicheAus(const std::string& datei);

// The user's area of temporary files for a given temp folder: macOS the parent of the
// per-user temp folder (…/var/folders/xx/yyyy), Linux the temp folder itself.
std::filesystem::path tempBereich(const std::filesystem::path& temp);

// Whether `ordner` lies on a file system kept in memory (Linux: tmpfs, ramfs), which takes no
// disk space. Absent when it cannot be asked.
std::optional<bool> imArbeitsspeicher(const std::filesystem::path& ordner);

}  // namespace hainbrem::plattform
