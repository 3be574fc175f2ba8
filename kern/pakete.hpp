#pragma once
// Folders macOS presents as one item (programs, libraries, document bundles). One table for
// every walk: the storage map marks them, the finders and the project search never enter them.
#include <algorithm>
#include <array>
#include <string_view>

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
    if (endung.empty() || endung.size() > 13) return false;
    char klein[13];
    for (size_t i = 0; i < endung.size(); ++i) {
        const char c = endung[i];
        klein[i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    const std::string_view k(klein, endung.size());
    return std::find(paketEndungen.begin(), paketEndungen.end(), k) != paketEndungen.end();
}

}  // namespace hainbrem
