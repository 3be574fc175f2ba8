#pragma once
// Disk state: the cheap frequent reading (Plattenstand) and the structural one (Platte).
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kern/profil.hpp"

namespace hainbrem {

inline constexpr int64_t kritischeGrenze = 2'000'000'000;

struct Plattenstand {
    int64_t gesamt = 0;
    int64_t echtFrei = 0;
    int64_t mitLoeschbarem = 0;

    enum class Lage { gut, knapp, kritisch };

    // Never fails: readings the system does not give become 0.
    static Plattenstand jetzt(const std::filesystem::path& ort);

    int64_t belegt() const;
    int64_t loeschbar() const;
    double anteilFrei() const;
    // Only really free space counts; below 2 GB is critical whatever the user's threshold.
    Lage lage(int64_t warnGrenze) const;

    bool operator==(const Plattenstand&) const = default;
};

std::string_view name(Plattenstand::Lage lage);

struct Platte {
    struct Volume {
        std::string name = "?";
        std::string rolle;
        int64_t bytes = 0;
        std::string geraet;
        // Where it was read: a Mac's APFS container or a Linux disk (lsblk). The texts follow it.
        Katalogprofil aufbau = Katalogprofil::macos;

        const std::string& id() const { return geraet; }
        std::string titel() const;
        std::string_view erklaerung() const;
        bool operator==(const Volume&) const = default;
    };

    int64_t gesamt = 0;
    int64_t frei = 0;
    std::vector<Volume> volumes;  // largest first; equal sizes keep the tool's order

    int64_t belegt() const;
    const Volume* volume(std::string_view rolle) const;
    bool operator==(const Platte&) const = default;

    // Runs the system's tool (macOS: diskutil; Linux: lsblk). Blocking; nothing on any failure.
    // The profile says how the disk is laid out: diskutil's APFS container, or lsblk's view of
    // a Linux system. A reader that is not there (diskutil on Linux) gives none.
    static std::optional<Platte> lesen(Katalogprofil profil = standardProfil);
    // diskutil "info -plist /" and "apfs list -plist" outputs (XML or binary property lists).
    static std::optional<Platte> ausDiskutil(std::string_view info, std::string_view apfsListe);
    // `lsblk --json --bytes -o NAME,TYPE,SIZE,FSTYPE,FSUSED,FSAVAIL,LABEL,MOUNTPOINTS` for the
    // disk holding "/"; the file system holding `home` is the user's data.
    static std::optional<Platte> ausLsblk(std::string_view json, const std::filesystem::path& home);
};

}  // namespace hainbrem
