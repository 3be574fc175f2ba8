#pragma once
// Installed programs with everything they left in the Library, and leftovers of programs that
// are long gone.
#include <array>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/steuerung.hpp"

namespace hainbrem {

struct Programm {
    fs::path url;
    std::string name;      // bundle file name without ".app"
    std::string bundleID;
    std::string version;   // CFBundleShortVersionString
    int64_t bytes = 0;
    std::optional<Zeitpunkt> zuletztBenutzt;
    bool ausAppStore = false;
    std::vector<Fund> reste;

    int64_t resteBytes() const;
    bool operator==(const Programm&) const = default;
};

struct Verwaist {
    std::string bundleID;
    std::vector<Fund> funde;

    const std::string& id() const { return bundleID; }
    int64_t bytes() const;
    std::optional<Zeitpunkt> zuletzt() const;
    std::string vermuteterName() const;
    bool operator==(const Verwaist&) const = default;
};

namespace Programme {

// Library folders searched for leftovers, in this order.
inline constexpr std::array<std::string_view, 12> libraryOrdner{
    "Application Support", "Caches",  "Preferences",  "Preferences/ByHost", "Logs",       "Saved Application State",
    "HTTPStorages",        "WebKit",  "LaunchAgents", "Application Scripts", "Containers", "Group Containers"};
// Where a leftover may also carry the program's display name.
inline constexpr std::array<std::string_view, 3> namensOrdner{"Application Support", "Caches", "Logs"};
// Where personal data lives: leftovers there are never preselected.
inline constexpr std::array<std::string_view, 3> persoenlicheOrdner{"Application Support", "Containers",
                                                                   "Group Containers"};
// First parts that make a folder name look like a bundle id.
inline constexpr std::array<std::string_view, 19> tlds{"com", "net", "org", "de", "io", "app", "dev",
                                                       "co",  "me",  "jp",  "uk", "fr", "ch", "at",
                                                       "us",  "info", "tv", "cc", "ai"};

// The folders the application looks in for programs.
std::vector<fs::path> standardOrdner(const Umgebung& umgebung);

// Every program in `ordner` (children ending in ".app", and those one folder further down in a
// folder that is no package), Apple's own left out, each with its leftovers; largest first by
// bundle plus leftovers. The control counts programs (`gesamt` once listed, `erledigt` when
// measured with their leftovers) and measured bytes; stopped, it returns the programs done.
std::vector<Programm> alle(const Umgebung& umgebung, const std::vector<fs::path>& ordner,
                           Steuerung* steuerung = nullptr);
std::vector<Programm> alle(const Umgebung& umgebung, Steuerung* steuerung = nullptr);

// One bundle as a Programm without leftovers; absent when it has no readable identifier.
std::optional<Programm> lies(const fs::path& bundle);

// The leftovers of the program with id `von` and display name `name`, given the ids and names
// of all other installed programs. The control counts measured leftovers; stopped, the
// measured ones.
std::vector<Fund> reste(const std::string& von, const std::string& name, const std::set<std::string>& andereIDs,
                        const std::set<std::string>& andereNamen, const Umgebung& umgebung,
                        Steuerung* steuerung = nullptr);

// Leftovers of programs that are nowhere installed, grouped per bundle id. `dienste` are the
// labels of loaded background services. The control counts measured leftovers (`gesamt` once
// they are listed); stopped, the measured ones.
std::vector<Verwaist> verwaist(const std::vector<Programm>& installiert, const Umgebung& umgebung,
                               const std::set<std::string>& dienste, Steuerung* steuerung = nullptr);
// With the services loaded now.
std::vector<Verwaist> verwaist(const std::vector<Programm>& installiert, const Umgebung& umgebung);

// Labels of loaded background services ("/bin/launchctl list"); empty where there is none.
std::set<std::string> geladeneDienste();
// The label column of `launchctl list` output (header line and blank lines skipped).
std::set<std::string> dienstLabels(std::string_view ausgabe);

// Whether the program a launch agent's property list names ("Program", else the first of
// "ProgramArguments") exists.
bool dienstProgrammExistiert(const fs::path& agent);

// Lowercased first two dot-separated parts: com.example.editor → com.example.
std::string vendor(std::string_view id);

std::optional<Zeitpunkt> zuletztBenutzt(const fs::path& programm);

// The bundle id a Library entry stands for: ".plist" and ".savedState" endings dropped, and a
// ByHost file's machine part.
std::string kennungAus(std::string_view eintrag, std::string_view ordner);

// Readable program name guessed from a bundle id: com.example.super-editor → "Super Editor".
std::string vermuteterName(std::string_view bundleID);

}  // namespace Programme
}  // namespace hainbrem
