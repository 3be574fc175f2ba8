#pragma once
// When did an item enter the Trash, as far as the system itself records it beside the item?
// macOS: the entry's "added to directory" date. Linux: absent, because the freedesktop Trash
// keeps the date in a .trashinfo file, which the core reads itself (kern/papierkorb_info.hpp).
#include <chrono>
#include <filesystem>
#include <optional>

namespace hainbrem::plattform {

std::optional<std::chrono::system_clock::time_point> imPapierkorbSeit(const std::filesystem::path& eintrag);

}  // namespace hainbrem::plattform
