#pragma once
// Byte counts as the user reads them: decimal units as the Finder shows them.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hainbrem {

struct Zahlformat {
    char dezimalTrenner = ',';
    char tausenderTrenner = '.';
    bool deutsch = true;  // unit word "Byte" rather than "bytes"
    // From the process locale (setlocale(LC_ALL, "") has run); C/POSIX count as German,
    // since the interface is German.
    static Zahlformat ausLocale();
};

// 1 KB = 1,000 bytes; bytes and KB without decimals, MB with one, GB and above with two,
// trailing zeros dropped: "12 KB", "3,4 MB", "1,23 GB".
std::string alsBytes(int64_t bytes, const Zahlformat& format);
std::string alsBytes(int64_t bytes);

// Counts grouped by thousands for reading: "140.229" (German), "140,229" (English).
std::string alsZahl(int64_t zahl, const Zahlformat& format);
std::string alsZahl(int64_t zahl);

// A count with its noun in the right number, grouped like alsZahl: "1 Fund", "3 Funde",
// "1.204 Dateien", "0 Teile". The front ends and the core's texts all count this way.
std::string anzahl(int64_t n, std::string_view eins, std::string_view viele);

// The parts in order with `zwischen` between them: "a, b, c".
std::string verbinde(const std::vector<std::string>& teile, std::string_view zwischen);

}  // namespace hainbrem
