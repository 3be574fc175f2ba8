#pragma once
// System facilities behind the storage tricks: cloud files held locally, Time Machine's local
// snapshots and the swap the kernel keeps. Parsing of tool output happens in the core.
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

// The kernel's swap table as text (Linux: /proc/swaps); absent where there is none.
std::optional<std::string> swapTabelle();

// The user's area of temporary files for a given temp folder: macOS the parent of the
// per-user temp folder (…/var/folders/xx/yyyy), Linux the temp folder itself.
std::filesystem::path tempBereich(const std::filesystem::path& temp);

}  // namespace hainbrem::plattform
