#pragma once
// Name tables of the cleanup rules. The guard's own tables (cacheNamen, keinCache,
// appleCachesErlaubt …) live in kern/namen.hpp; these are only what the rules add.
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "kern/safetyguard.hpp"

namespace hainbrem::RegelNamen {

using Paar = std::pair<std::string_view, std::string_view>;

// Folder name → program name used as owner. A name not listed is its own owner.
inline constexpr std::array<Paar, 8> besitzerNamen{{
    {"Google", "Google Chrome"},
    {"BraveSoftware", "Brave Browser"},
    {"Firefox", "firefox"},
    {"Mozilla", "firefox"},
    {"Microsoft Edge", "Microsoft Edge"},
    {"Code", "Code"},
    {"discord", "Discord"},
    {"Slack", "Slack"},
}};

// Folders in Library/Caches that belong to a browser (the browser rule takes them).
inline constexpr std::array<Paar, 10> browserCaches{{
    {"Google", "Google Chrome"},
    {"com.google.Chrome", "Google Chrome"},
    {"Firefox", "firefox"},
    {"BraveSoftware", "Brave Browser"},
    {"Microsoft Edge", "Microsoft Edge"},
    {"com.microsoft.edgemac", "Microsoft Edge"},
    {"company.thebrowser.Browser", "Arc"},
    {"com.apple.Safari", "com.apple.Safari"},
    {"com.operasoftware.Opera", "Opera"},
    {"com.vivaldi.Vivaldi", "Vivaldi"},
}};

// Library/Caches entries the general cache rule leaves to other rules or never touches.
inline constexpr std::array<std::string_view, 10> eigeneRegelCaches{
    "Homebrew", "pip", "Yarn", "CocoaPods", "node-gyp", "ms-playwright", "go-build", "pnpm", "typescript",
    SafetyGuard::standardKennung};

inline constexpr std::array<std::string_view, 4> installerEndungen{"dmg", "pkg", "mpkg", "xip"};

// Program-data folders the search for cache folders never enters.
inline constexpr std::array<std::string_view, 4> nieDurchsucht{"MobileSync", "Hainbrem", "AddressBook",
                                                               "CallHistoryDB"};

// Package manager stores: path below home and owner label, in this order.
inline constexpr std::array<Paar, 16> paketSpeicher{{
    {".npm/_cacache", "npm"},
    {"Library/Caches/Homebrew", "Homebrew"},
    {"Library/Caches/pip", "pip"},
    {"Library/Caches/Yarn", "Yarn"},
    {".cache/uv", "uv"},
    {"Library/pnpm/store", "pnpm"},
    {".pnpm-store", "pnpm"},
    {".bun/install/cache", "Bun"},
    {".gradle/caches", "Gradle"},
    {".cargo/registry/cache", "Cargo"},
    {"go/pkg/mod/cache", "Go"},
    {"Library/Caches/go-build", "Go"},
    {"Library/Caches/CocoaPods", "CocoaPods"},
    {"Library/Caches/node-gyp", "node-gyp"},
    {"Library/Caches/typescript", "TypeScript"},
    {".yarn/berry/cache", "Yarn"},
}};

// Platforms with a "<name> DeviceSupport" folder below Library/Developer/Xcode.
inline constexpr std::array<std::string_view, 5> geraetePlattformen{"iOS", "watchOS", "macOS", "tvOS", "xrOS"};

template <size_t N>
constexpr std::optional<std::string_view> nachschlagen(const std::array<Paar, N>& tabelle, std::string_view name) {
    for (const auto& [schluessel, wert] : tabelle)
        if (schluessel == name) return wert;
    return std::nullopt;
}

// The owner name for a folder name: the table's entry, or the name itself.
inline std::string besitzerFuer(std::string_view name) {
    return std::string(nachschlagen(besitzerNamen, name).value_or(name));
}

}  // namespace hainbrem::RegelNamen
