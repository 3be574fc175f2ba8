#pragma once
// Folders macOS presents as one item (programs, libraries, document bundles). One table for
// every walk: the storage map marks them, the finders and the project search never enter them.
#include <algorithm>
#include <array>
#include <string_view>

#include "basis/pfade.hpp"

namespace hainbrem {

// Compared lower-cased against a folder's extension.
inline constexpr std::array<std::string_view, 27> paketEndungen{
    "app",     "photoslibrary", "musiclibrary", "tvlibrary",    "fcpbundle", "imovielibrary", "logicx",
    "band",    "xcarchive",     "bundle",       "framework",    "plugin",    "kext",          "pages",
    "numbers", "key",           "rtfd",         "sparsebundle", "lrlibrary", "lrdata",        "aplibrary",
    "theater", "xcodeproj",     "xcworkspace",  "playground",   "vst3",      "component"};

// Whether a name carries a package extension, in any case ("Foto.APP"). A bare extension
// (".app") is a hidden name, not a package. Runs once per folder of a whole-disk walk: no
// allocation.
inline bool istPaketName(std::string_view name) {
    const size_t punkt = name.rfind('.');
    if (punkt == std::string_view::npos || punkt == 0) return false;
    const std::string_view endung = name.substr(punkt + 1);
    return std::any_of(paketEndungen.begin(), paketEndungen.end(),
                       [&](std::string_view e) { return gleichOhneFall(endung, e); });
}

}  // namespace hainbrem
