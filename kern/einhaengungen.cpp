// Parsers of the mount table and the firmlinks file, kept apart from the walking so the disk
// layouts can be tried on made-up systems.
#include <algorithm>

#include "kern/text.hpp"
#include "kern/tiefenscan.hpp"

namespace hainbrem::Tiefenscan {

std::vector<Einhaengung> einhaengungenAus(std::string_view text) {
    // "<id> <parent> <maj:min> <root> <mount point> <options> [optional…] - <type> <source> <super options>"
    auto istOktal = [](char c) { return c >= '0' && c <= '7'; };
    auto entschluessele = [&](std::string_view s) {
        std::string r;
        for (size_t i = 0; i < s.size(); ++i) {
            if (s[i] == '\\' && i + 3 < s.size() && istOktal(s[i + 1]) && istOktal(s[i + 2]) && istOktal(s[i + 3])) {
                r.push_back(static_cast<char>((s[i + 1] - '0') * 64 + (s[i + 2] - '0') * 8 + (s[i + 3] - '0')));
                i += 3;
            } else {
                r.push_back(s[i]);
            }
        }
        return r;
    };
    std::vector<Einhaengung> liste;
    for (const std::string_view zeile : zeilen(text)) {
        std::vector<std::string_view> felder;
        for (size_t a = 0; a < zeile.size();) {
            const size_t b = zeile.find(' ', a);
            const size_t e = b == std::string_view::npos ? zeile.size() : b;
            if (e > a) felder.push_back(zeile.substr(a, e - a));
            a = e + 1;
        }
        const auto strich = std::find(felder.begin(), felder.end(), "-");
        if (felder.size() < 5 || strich == felder.end() || felder.end() - strich < 3) continue;
        liste.push_back(
            Einhaengung{entschluessele(felder[4]), std::string(*(strich + 1)), entschluessele(*(strich + 2))});
    }
    return liste;
}

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
