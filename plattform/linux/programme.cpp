// Linux keeps no last-use date of programs and has no launchctl.
#include "plattform/programme.hpp"

namespace hainbrem::plattform {

std::optional<std::chrono::system_clock::time_point> zuletztBenutzt(const std::filesystem::path&) {
    return std::nullopt;
}

bool hatLaunchctl() { return false; }

}  // namespace hainbrem::plattform
