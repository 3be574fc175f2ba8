#include "kern/format.hpp"

#include <clocale>
#include <cstring>
#include <string_view>

namespace hainbrem {

namespace {
__extension__ typedef unsigned __int128 u128;
__extension__ typedef __int128 i128;
}  // namespace

Zahlformat Zahlformat::ausLocale() {
    Zahlformat f;
    const char* numerisch = std::setlocale(LC_NUMERIC, nullptr);
    const std::string_view n = numerisch ? numerisch : "C";
    if (n == "C" || n == "POSIX" || n.starts_with("C.")) return f;
    if (const std::lconv* lc = std::localeconv(); lc && lc->decimal_point && std::strlen(lc->decimal_point) == 1) {
        f.dezimalTrenner = lc->decimal_point[0];
        // a locale without grouping still gets the other mark of its decimal separator
        f.tausenderTrenner = lc->thousands_sep && std::strlen(lc->thousands_sep) == 1 ? lc->thousands_sep[0]
                             : f.dezimalTrenner == ','                                 ? '.'
                                                                                       : ',';
    }
    const char* sprache = std::setlocale(LC_MESSAGES, nullptr);
    const std::string_view s = sprache ? sprache : "C";
    f.deutsch = s == "C" || s == "POSIX" || s.starts_with("C.") || s.starts_with("de");
    return f;
}

std::string alsBytes(int64_t bytes, const Zahlformat& format) {
    static constexpr const char* einheiten[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    static constexpr int stellen[] = {0, 1, 2, 2, 2, 2};
    const bool negativ = bytes < 0;
    // as unsigned 128-bit so that INT64_MIN has a magnitude too
    const u128 betrag = negativ ? static_cast<u128>(-static_cast<i128>(bytes)) : static_cast<u128>(bytes);
    std::string text = negativ ? "-" : "";
    if (betrag < 1000) {
        text += std::to_string(static_cast<uint64_t>(betrag));
        if (format.deutsch) text += " Byte";
        else text += betrag == 1 ? " byte" : " bytes";
        return text;
    }
    u128 einheit = 1000;
    size_t stufe = 0;
    while (stufe + 1 < std::size(einheiten) && betrag >= einheit * 1000) {
        einheit *= 1000;
        ++stufe;
    }
    for (;;) {
        u128 faktor = 1;
        for (int i = 0; i < stellen[stufe]; ++i) faktor *= 10;
        const u128 gerundet = (betrag * faktor * 2 + einheit) / (einheit * 2);
        // 999,600 bytes round to "1000 KB": show that as "1 MB"
        if (gerundet >= 1000 * faktor && stufe + 1 < std::size(einheiten)) {
            einheit *= 1000;
            ++stufe;
            continue;
        }
        text += std::to_string(static_cast<uint64_t>(gerundet / faktor));
        std::string bruch;
        if (faktor > 1) {
            bruch = std::to_string(static_cast<uint64_t>(gerundet % faktor));
            bruch.insert(0, static_cast<size_t>(stellen[stufe]) - bruch.size(), '0');
            while (!bruch.empty() && bruch.back() == '0') bruch.pop_back();
        }
        if (!bruch.empty()) {
            text += format.dezimalTrenner;
            text += bruch;
        }
        text += ' ';
        text += einheiten[stufe];
        return text;
    }
}

namespace {
const Zahlformat& prozessFormat() {
    static const Zahlformat format = Zahlformat::ausLocale();
    return format;
}
}  // namespace

std::string alsBytes(int64_t bytes) { return alsBytes(bytes, prozessFormat()); }

std::string alsZahl(int64_t zahl, const Zahlformat& format) {
    const bool negativ = zahl < 0;
    const u128 betrag = negativ ? static_cast<u128>(-static_cast<i128>(zahl)) : static_cast<u128>(zahl);
    const std::string ziffern = std::to_string(static_cast<uint64_t>(betrag));
    std::string text = negativ ? "-" : "";
    for (size_t i = 0; i < ziffern.size(); ++i) {
        if (i > 0 && (ziffern.size() - i) % 3 == 0) text += format.tausenderTrenner;
        text += ziffern[i];
    }
    return text;
}

std::string alsZahl(int64_t zahl) { return alsZahl(zahl, prozessFormat()); }

std::string anzahl(int64_t n, std::string_view eins, std::string_view viele) {
    return alsZahl(n) + " " + std::string(n == 1 ? eins : viele);
}

std::string verbinde(const std::vector<std::string>& teile, std::string_view zwischen) {
    std::string aus;
    for (size_t i = 0; i < teile.size(); ++i) {
        if (i > 0) aus += zwischen;
        aus += teile[i];
    }
    return aus;
}

}  // namespace hainbrem
