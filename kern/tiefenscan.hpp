#pragma once
// One walk over a folder tree or the whole start disk that yields, at the same time, the size
// tree for the storage map, the large files and the candidates for the duplicate finder.
#include <sys/types.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/pakete.hpp"
#include "kern/plattenstand.hpp"
#include "kern/steuerung.hpp"

namespace hainbrem {

struct DateiInfo {
    std::string pfad;
    int64_t groesse = 0;  // length in bytes; for a package its allocated total
    int64_t belegt = 0;   // allocated bytes
    Zeitpunkt geaendert{};
    Zeitpunkt geoeffnet{};
    uint64_t inode = 0;
    bool istPaket = false;

    const std::string& id() const { return pfad; }
    fs::path url() const { return fs::path(pfad); }
    std::string name() const;
    bool operator==(const DateiInfo&) const = default;
};

class Knoten {
public:
    using Zeiger = std::shared_ptr<Knoten>;

    Knoten(std::string n, std::string p, bool ordner) : name(std::move(n)), pfad(std::move(p)), istOrdner(ordner) {}

    const std::string name;
    const std::string pfad;  // a virtual node's path begins with "#"
    int64_t bytes = 0;       // everything below, also what is not kept as a child
    int64_t dateien = 0;
    std::vector<Zeiger> kinder;  // largest first
    const bool istOrdner;
    bool istPaket = false;
    bool unvollstaendig = false;
    std::optional<std::string> erklaerung;
    // The whole disk a whole-disk scan's root stands for; `bytes` is what of it is not free.
    std::optional<int64_t> platz;

    void dazu(Zeiger kind);
    bool istVirtuell() const { return pfad.starts_with('#'); }
    // Sorts the children largest first and keeps the first Tiefenscan::maxKinder.
    void kappe();
    // What is below but not shown as a child.
    int64_t kleinkram() const;
    // The nodes from below this one down to the one with `ziel` (inclusive); empty when this
    // node is it, nothing when it is not in the tree.
    std::optional<std::vector<Zeiger>> weg(std::string_view ziel) const;
    // nullptr when not found; `selbst` is returned when this node has the path.
    static Zeiger finde(const Zeiger& selbst, std::string_view ziel);
    void sortiere();
};

struct TiefenscanErgebnis {
    Knoten::Zeiger wurzel;
    std::vector<DateiInfo> grosse;      // largest `belegt` first
    std::vector<DateiInfo> kandidaten;  // in collection order
    int64_t unlesbar = 0;
    std::vector<std::string> ausgelassen;
    double dauer = 0;
    Zeitpunkt datum{};
    bool ganzePlatte = false;
};

struct Runde;

namespace Tiefenscan {

// What a round did to paths a scan saw: `von` is gone from its place; a Trash item's bytes went
// to `nach` (the Trash, or back to its place when undone).
struct Umzug {
    std::string von;
    std::optional<std::string> nach;
    int64_t bytes = 0;
    bool operator==(const Umzug&) const = default;
};
// The items a round removed (without error), each with where its bytes went.
std::vector<Umzug> umzuege(const Runde& runde);
// The items an undo put back: those `nachher` marks put back and `vorher` did not.
std::vector<Umzug> umzuege(const Runde& vorher, const Runde& nachher);
// A copy of the tree after the moves: a node that went is dropped, its bytes leave every node
// above it and, when they went somewhere, join every node above that place; an item too small to
// be a node leaves the nearest node above it the same way. Branches not touched are shared;
// `wurzel` is returned itself when nothing of it changed.
Knoten::Zeiger nachUmzug(const Knoten::Zeiger& wurzel, const std::vector<Umzug>& umzuege);

inline constexpr int64_t knotenAbDatei = 20'000'000;   // a file from here on becomes a node
inline constexpr int64_t knotenUeberOrdner = 999'999;  // a folder above this becomes a node
inline constexpr int64_t grossAb = 50'000'000;         // large files and packages
inline constexpr int64_t kandidatAb = 1'000'000;       // logical size of a duplicate candidate
inline constexpr size_t maxKinder = 300;
inline constexpr size_t maxGleichzeitig = 4;  // child scans per split folder

// The package table is shared with the finders (kern/pakete.hpp).
using hainbrem::istPaketName;
using hainbrem::paketEndungen;

struct Lauf {
    std::set<std::string, std::less<>> aus;  // absolute paths not looked at
    std::optional<dev_t> geraet;             // walk only this device
    std::string kandidatenWurzel;            // candidates inside it, not inside its Library
};

class Sammler {
public:
    void dazu(std::vector<DateiInfo>&& grosse, std::vector<DateiInfo>&& kandidaten, int64_t unlesbar);
    // Hard links are counted once per scan: true the first time an inode is offered.
    bool erstesMal(dev_t geraet, ino_t inode);

    std::mutex sperre;
    std::vector<DateiInfo> grosse;
    std::vector<DateiInfo> kandidaten;
    int64_t unlesbar = 0;

private:
    std::mutex linkSperre_;
    std::set<std::pair<dev_t, ino_t>> gesehen_;
};

// Every scan reports through its control: files seen in `erledigt`, their bytes in `bytes`
// (`gesamt` stays unknown). Stopped through `halt`, it returns what was counted until then, each
// node holding exactly what was counted below it.

// Home scan: split over home and home/Library; candidates inside home.
TiefenscanErgebnis scanne(const fs::path& home, bool vollzugriff, Steuerung* steuerung = nullptr);

// The whole start disk with virtual nodes for what no walk can see; the profile says how the
// disk is laid out (an APFS container's volumes, or a Linux system's mounts).
TiefenscanErgebnis scanneGanzePlatte(const fs::path& home, bool vollzugriff, Steuerung* steuerung = nullptr,
                                     Katalogprofil profil = standardProfil);

// Any folder, split at its top level; candidates inside `kandidatenWurzel`.
TiefenscanErgebnis scanneOrdner(const fs::path& pfad, const std::string& kandidatenWurzel,
                                Steuerung* steuerung = nullptr);

// Parallel split: folders in `aufteilen` have their entries scanned side by side (at most
// maxGleichzeitig at once), everything else is one walk (which hands subfolders to idle threads).
Knoten::Zeiger scanne(const std::string& pfad, const std::set<std::string, std::less<>>& aufteilen,
                      const Lauf& lauf, Sammler& sammler, Steuerung& steuerung);
// One walk of a subtree; null when the root cannot be read.
Knoten::Zeiger walk(const std::string& pfad, const Lauf& lauf, Sammler& sammler, Steuerung& steuerung);

// ---- the disk layout, separated from the walking so it can be tested with made-up systems ----

// Linux: the tree of the start disk from its walked file systems (each by lsblk's device name,
// "" when unknown) and the disk's reading. One file system is the disk's first ring itself; with
// several, each is a node titled by its role. Beside them what no walk sees: the rest of a file
// system no walk could read, what the file systems keep back, space outside them, and volumes
// not walked (swap). The root is named like the disk and knows its size.
struct GescanntesVolume {
    std::string geraet;
    Knoten::Zeiger knoten;
};
Knoten::Zeiger linuxPlatte(const std::vector<GescanntesVolume>& gescannt, const std::optional<Platte>& platte,
                           const Plattenstand& stand);

// macOS: the firmlinks file ("<path>\t<name in the data volume>" per line).
std::vector<std::pair<std::string, std::string>> firmlinksAus(std::string_view text);

// Where the macOS whole-disk scan looks; `basis` prefixes every system path (empty on a Mac).
struct MacAufbau {
    std::string basis;
    std::string datenVolume = "/System/Volumes/Data";
    std::string firmlinks = "/usr/share/firmlinks";
};
TiefenscanErgebnis scanneMacPlatte(const fs::path& home, bool vollzugriff, Steuerung* steuerung, const MacAufbau& aufbau,
                                   const std::optional<Platte>& platte);

}  // namespace Tiefenscan
}  // namespace hainbrem

template <>
struct std::hash<hainbrem::DateiInfo> {
    size_t operator()(const hainbrem::DateiInfo& d) const noexcept;
};
