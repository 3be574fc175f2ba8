#pragma once
// What the system knows about installed programs beyond their files.
#include <chrono>
#include <filesystem>
#include <optional>

namespace hainbrem::plattform {

// When the program at `programm` was last opened (macOS: Spotlight's kMDItemLastUsedDate).
// Absent where the system keeps no such record (Linux).
std::optional<std::chrono::system_clock::time_point> zuletztBenutzt(const std::filesystem::path& programm);

// Whether the system manages background services with launchctl, so that running
// "/bin/launchctl list" is meaningful (macOS).
bool hatLaunchctl();

}  // namespace hainbrem::plattform
