#pragma once
// How the windows write paths, dates and sums; plain functions, so every page says it alike.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "kern/datensaetze.hpp"

namespace hainbrem::anzeige {

// `pfad` with the home folder written as "~" ("~/Library/Caches"); other paths unchanged.
std::string kurzpfad(const std::string& pfad, const std::filesystem::path& home);

// "gerade eben", "vor 5 Minuten", "vor 3 Stunden", "gestern", "vor 4 Tagen", "vor 2 Wochen",
// "vor 5 Monaten", "vor 2 Jahren"; a time after `jetzt` counts as now; absent gives "–".
std::string vorWann(std::optional<Zeitpunkt> t, Zeitpunkt jetzt);

// Sum of the findings' bytes (overflow ends the process, as everywhere).
int64_t summe(const std::vector<Fund>& funde);

// A size never breaks between its number and its unit: "1,14 GB" keeps a no-break space there,
// in any text ("… zurzeit 1,14 GB. Du …").
std::string ohneUmbruch(std::string_view text);

// A command to type shown in one piece: no-break spaces, and a word joiner after every hyphen
// (line breaking would otherwise split "--vacuum-size"). For display only, never to copy.
std::string befehlAmStueck(std::string_view befehl);

// The findings whose path is in `auswahl`, in their order.
std::vector<Fund> gewaehlte(const std::vector<Fund>& funde, const std::set<std::string>& auswahl);

}  // namespace hainbrem::anzeige
