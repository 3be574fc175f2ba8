// Linux: no cloud placeholders, no Time Machine; swap from /proc/swaps.
#include <fstream>
#include <iterator>

#include "plattform/tricks.hpp"

namespace hainbrem::plattform {

std::vector<CloudDatei> geladeneCloudDateien(const std::filesystem::path&) { return {}; }

bool cloudAuslagern(const std::filesystem::path&) { return false; }

bool hatMacWerkzeuge() { return false; }

std::optional<std::string> swapTabelle() {
    std::ifstream ein("/proc/swaps");
    if (!ein) return std::nullopt;
    std::string text{std::istreambuf_iterator<char>(ein), std::istreambuf_iterator<char>()};
    if (ein.bad()) return std::nullopt;
    return text;
}

std::filesystem::path tempBereich(const std::filesystem::path& temp) { return temp; }

}  // namespace hainbrem::plattform
