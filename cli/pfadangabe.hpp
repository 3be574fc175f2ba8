#pragma once
// A path named on the command line, taken as the shell means it: the folder part resolved by the
// kernel, so "link/.." leads where `cd link/..` would; the last part kept as written, so a link
// is the link and not its target.
#include <filesystem>
#include <string>

#include "basis/ergebnis.hpp"

namespace hainbrem::cli {

struct Pfadangabe {
    std::filesystem::path pfad;  // absolute; no link, "." or ".." in its folder part
    bool woandersHin = false;    // the folder part led elsewhere than its words say (a link, "..")
};

// Fails with a German sentence that says why: no name at its end (".", "..", "/"), a folder on
// the way missing or a file, a name or the whole path too long. Whether the last part exists is
// the caller's question. The sentence names `genannt` (the path as the user wrote it) when given.
Ergebnis<Pfadangabe> wieDieShell(const std::string& gegeben, const std::string& genannt = {});

}  // namespace hainbrem::cli
