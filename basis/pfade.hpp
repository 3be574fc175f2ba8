#pragma once
// Paths as text. In a program that deletes, "does this lie inside that folder?" is a safety
// check, so it has exactly one answer, given here: the platform layer and the core both ask it.
// Paths are compared as given, byte by byte (no resolving of links, "." or ".."; any bytes, UTF-8
// or not); only slashes at the end do not count. Lower-casing is ASCII only, as every name table
// of the program is ASCII.
#include <string>
#include <string_view>

namespace hainbrem {

// `pfad` without slashes at its end; the root stays "/".
std::string_view ohneSchraegstrichAmEnde(std::string_view pfad);

// `pfad` lies below `ordner` (not the folder itself). "/" holds every other absolute path;
// "/a/bc" is not in "/a/b"; an empty path lies nowhere and holds nothing.
bool liegtIn(std::string_view pfad, std::string_view ordner);
// `pfad` is `ordner` or lies below it.
bool liegtInOderIst(std::string_view pfad, std::string_view ordner);
// The part of `pfad` below `ordner`, without the separating "/"; empty when it does not lie in it.
std::string_view relativ(std::string_view pfad, std::string_view ordner);

// Some part of `pfad` is "." or "..": the kernel resolves those after following links, text
// operations before them, so such a path is not one to act on.
bool hatPunktTeil(std::string_view pfad);
// The last part of a path as text ("b" of "/a/b"), and what lies above it ("/a"; "/" above "/a",
// "." above a bare name).
std::string nameVon(std::string_view pfad);
std::string elternVon(std::string_view pfad);

constexpr char klein(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
std::string klein(std::string_view text);
bool gleichOhneFall(std::string_view a, std::string_view b);

}  // namespace hainbrem
