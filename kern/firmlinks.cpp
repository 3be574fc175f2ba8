// The firmlinks file of macOS, parsed apart from the walking so the disk layout can be tried on
// made-up systems.
#include "kern/zeilen.hpp"
#include "kern/tiefenscan.hpp"

namespace hainbrem::Tiefenscan {

std::vector<std::pair<std::string, std::string>> firmlinksAus(std::string_view text) {
    std::vector<std::pair<std::string, std::string>> liste;
    for (const std::string_view zeile : zeilen(text)) {
        const size_t tab = zeile.find('\t');
        if (tab == std::string_view::npos || tab == 0 || tab + 1 >= zeile.size() || zeile[0] != '/') continue;
        liste.emplace_back(std::string(zeile.substr(0, tab)), std::string(zeile.substr(tab + 1)));
    }
    return liste;
}

}  // namespace hainbrem::Tiefenscan
