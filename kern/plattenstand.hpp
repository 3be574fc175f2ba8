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
        // Read from lsblk (a Mac's volumes share their container's free space): where it is
        // mounted (the first mount point; empty: not mounted), what is free for the user, what
        // the file system keeps back (ext4: for root), the partition beyond the file system (its
        // fixed bookkeeping), and the file system's type. An unknown size is absent.
        std::string einhaengepunkt = {};
        int64_t frei = 0;
        std::optional<int64_t> reserviert = std::nullopt;
        int64_t verwaltung = 0;
        std::string typ = {};
        Katalogprofil profil = Katalogprofil::macos;  // whose words the titles are in

        const std::string& id() const { return geraet; }
        std::string titel() const;
        std::string erklaerung() const;
        bool operator==(const Volume&) const = default;
    };

    int64_t gesamt = 0;
    int64_t frei = 0;
    std::vector<Volume> volumes;  // largest first; equal sizes keep the tool's order
    // The disk as its user knows it: the drive's model on Linux ("Samsung SSD 980 1TB", else
    // "Festplatte"), the system volume's name on a Mac ("Macintosh HD"); empty when unknown.
    std::string name = {};

    int64_t belegt() const;
    const Volume* volume(std::string_view rolle) const;
    bool operator==(const Platte&) const = default;

    // Runs the system's tool (macOS: diskutil; Linux: lsblk). Blocking; nothing on any failure.
    // The profile says how the disk is laid out: diskutil's APFS container, or lsblk's view of
    // a Linux system. A reader that is not there (diskutil on Linux) gives none.
    static std::optional<Platte> lesen(Katalogprofil profil = standardProfil);
    // diskutil "info -plist /" and "apfs list -plist" outputs (XML or binary property lists).
    static std::optional<Platte> ausDiskutil(std::string_view info, std::string_view apfsListe);
    // `lsblk --json --bytes -o NAME,TYPE,SIZE,FSTYPE,FSSIZE,FSUSED,FSAVAIL,LABEL,MODEL,MOUNTPOINTS`
    // for the disk holding "/"; the file system holding `home` is the user's data.
    static std::optional<Platte> ausLsblk(std::string_view json, const std::filesystem::path& home);
};

// One part of the disk as the overview shows it.
struct Plattenteil {
    enum class Art { volume, reserviert, verwaltung, rest, frei, freiAnderswo };
    Art art = Art::volume;
    std::string titel;
    int64_t bytes = 0;
    std::string erklaerung;
    bool operator==(const Plattenteil&) const = default;
};

// The disk and its free space as one picture whose figures agree: the parts add up to `gesamt`,
// and the free part of the volume holding home is `stand.echtFrei`, the watcher's figure (a
// fresher reading than the disk's, taken from the same file system).
struct Plattenbild {
    std::string name;                 // the disk as its user knows it; empty without a disk reading
    int64_t gesamt = 0;               // the whole disk; without a disk reading the home volume
    int64_t echtFrei = 0;             // really free where home is
    int64_t mitLoeschbarem = 0;       // what the file manager shows as available
    std::vector<Plattenteil> teile;   // volumes largest first, what the file systems keep, the rest, the free space
    double anteilFrei() const;        // echtFrei of gesamt
    bool operator==(const Plattenbild&) const = default;
};
Plattenbild plattenbild(const Plattenstand& stand, const std::optional<Platte>& platte);

}  // namespace hainbrem
