#pragma once
// Dates as text, written and read in one place: the history's ISO 8601 in UTC, the Trash's local
// "DeletionDate", snapshot names, and the dates the command line shows. Reading is strict: a
// date that does not exist (31 February) is no date.
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace hainbrem {

using Zeit = std::chrono::system_clock::time_point;

enum class Zone { utc, ort };

// `t` in whole seconds through strftime's `format`, in UTC or local time.
[[gnu::format(strftime, 2, 0)]] std::string zeitText(Zeit t, const char* format, Zone zone);

// Reads `text` against `muster`, where J, M, D, h, m and s stand for the digits of year, month,
// day, hour, minute and second and every other character must stand as it is
// ("JJJJ-MM-DDThh:mm:ssZ"). None when it does not match or names no real moment.
std::optional<Zeit> zeitAus(std::string_view text, std::string_view muster, Zone zone);

// "2026-11-15T20:35:00Z" and back.
inline std::string isoZeit(Zeit t) { return zeitText(t, "%Y-%m-%dT%H:%M:%SZ", Zone::utc); }
inline std::optional<Zeit> ausIsoZeit(std::string_view text) { return zeitAus(text, "JJJJ-MM-DDThh:mm:ssZ", Zone::utc); }

}  // namespace hainbrem
