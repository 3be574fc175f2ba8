#pragma once
// Build folders of the user's developer projects: dependency folders, build outputs and
// virtual environments that one command rebuilds.
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/steuerung.hpp"

namespace hainbrem {

struct Bauabfall {
    Fund fund;     // the build folder; art loeschen, no owner, no date
    fs::path projekt;  // the folder that holds it
    std::optional<Zeitpunkt> zuletzt;  // newest change in the project, the build folder left out

    const fs::path& id() const { return fund.url; }
    bool operator==(const Bauabfall&) const = default;
};

namespace Projekte {

// Folders directly under home that are searched, in this order.
inline constexpr std::array<std::string_view, 10> wurzeln{"Projekte", "Projects", "Developer", "GitHub", "dev",
                                                        "Code",     "src",      "Documents", "Desktop", "Sites"};

// The depth the application uses.
inline constexpr int standardTiefe = 6;

// A project untouched for longer than this (strictly) is preselected.
inline constexpr std::chrono::seconds ruhezeit{2'592'000};

inline constexpr std::string_view dienstHinweis = " (ein Hintergrunddienst nutzt dieses Projekt)";

// The walk: pairs (build folder, project folder) that the guard allows, in walk order.
// Returns nothing at all once the control's `halt` is set.
std::vector<std::pair<fs::path, fs::path>> sammle(int tiefe, const Umgebung& umgebung, Steuerung* steuerung = nullptr);

// Paths the user's background services use (launch agents, systemd units, autostart).
std::vector<std::string> dienstPfade(const Umgebung& umgebung);

// Newest modification date among the entries of `projekt`, leaving out the entry `ohne`;
// absent when nothing can be read.
std::optional<Zeitpunkt> juengsteAenderung(const fs::path& projekt, std::string_view ohne);

// The whole search: walk, drop candidates inside other candidates, evaluate each in parallel,
// largest first (equal sizes keep walk order). `jetzt` is the time ages are measured against.
// The control counts candidates (`gesamt` after the walk, `erledigt` when evaluated) and their
// bytes; stopped, it returns the candidates evaluated in full.
std::vector<Bauabfall> finde(const Umgebung& umgebung, int tiefe = standardTiefe, Steuerung* steuerung = nullptr,
                             Zeitpunkt jetzt = std::chrono::system_clock::now());

// Removes every candidate that lies inside another candidate; order kept.
std::vector<std::pair<fs::path, fs::path>> ohneVerschachtelte(std::vector<std::pair<fs::path, fs::path>> kandidaten);

}  // namespace Projekte
}  // namespace hainbrem
