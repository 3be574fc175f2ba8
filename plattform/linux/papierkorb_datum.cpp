// Linux: the date lives in the .trashinfo, not in the file system.
#include "plattform/papierkorb_datum.hpp"

namespace hainbrem::plattform {

std::optional<std::chrono::system_clock::time_point> imPapierkorbSeit(const std::filesystem::path&) {
    return std::nullopt;
}

}  // namespace hainbrem::plattform
