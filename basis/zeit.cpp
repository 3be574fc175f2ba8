#include "basis/zeit.hpp"

#include <ctime>

namespace hainbrem {

std::string zeitText(Zeit t, const char* format, Zone zone) {
    const std::time_t s = std::chrono::system_clock::to_time_t(t);
    std::tm tm{};
    if (zone == Zone::utc) gmtime_r(&s, &tm);
    else localtime_r(&s, &tm);
    char puffer[64];
    // the declaration has the format attribute: every caller's format is checked there
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const size_t n = std::strftime(puffer, sizeof puffer, format, &tm);
#pragma GCC diagnostic pop
    return std::string(puffer, n);
}

std::optional<Zeit> zeitAus(std::string_view text, std::string_view muster, Zone zone) {
    if (text.size() != muster.size()) return std::nullopt;
    int jahr = 0, monat = 0, tag = 0, stunde = 0, minute = 0, sekunde = 0;
    for (size_t i = 0; i < muster.size(); ++i) {
        int* feld = nullptr;
        switch (muster[i]) {
            case 'J': feld = &jahr; break;
            case 'M': feld = &monat; break;
            case 'D': feld = &tag; break;
            case 'h': feld = &stunde; break;
            case 'm': feld = &minute; break;
            case 's': feld = &sekunde; break;
            default:
                if (text[i] != muster[i]) return std::nullopt;
                continue;
        }
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
        *feld = *feld * 10 + (text[i] - '0');
    }
    if (monat < 1 || monat > 12 || tag < 1 || tag > 31 || stunde > 23 || minute > 59 || sekunde > 60)
        return std::nullopt;
    std::tm tm{};
    tm.tm_year = jahr - 1900;
    tm.tm_mon = monat - 1;
    tm.tm_mday = tag;
    tm.tm_hour = stunde;
    tm.tm_min = minute;
    tm.tm_sec = sekunde;
    tm.tm_isdst = -1;
    std::tm geprueft = tm;
    const std::time_t s = zone == Zone::utc ? timegm(&geprueft) : std::mktime(&geprueft);
    // both quietly roll 31 February into March; such a date is not a date
    if (s == static_cast<std::time_t>(-1) || geprueft.tm_year != tm.tm_year || geprueft.tm_mon != tm.tm_mon ||
        geprueft.tm_mday != tm.tm_mday)
        return std::nullopt;
    if (zone == Zone::utc && (geprueft.tm_hour != tm.tm_hour || geprueft.tm_min != tm.tm_min ||
                              geprueft.tm_sec != tm.tm_sec))
        return std::nullopt;
    return std::chrono::system_clock::from_time_t(s);
}

}  // namespace hainbrem
