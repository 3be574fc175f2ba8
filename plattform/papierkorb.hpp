#pragma once
// Moving items to the Trash and back. Linux: the freedesktop.org Trash (home trash, or the
// trash at the top of the item's own file system; never a copy across devices). macOS: the
// file manager's Trash call.
#include "basis/ergebnis.hpp"
#include <filesystem>
#include <string>

namespace hainbrem::plattform {

namespace fs = std::filesystem;

// A place in the Trash reserved for one item. On Linux `datei` is known before the move (the
// .trashinfo is written first and holds the name), so the caller can record it before anything
// moves; on macOS it stays empty until the move has happened.
struct Papierkorbplatz {
    fs::path datei;  // where the item will lie (…/Trash/files/<name>)
    fs::path info;   // its .trashinfo; empty where the system keeps none
};

// Chooses the Trash for `pfad` and reserves a unique name there. German error text on failure.
Ergebnis<Papierkorbplatz> reservierePapierkorb(const fs::path& pfad, const fs::path& home);

// Moves the item into the reserved place and returns where it lies now. On failure the
// reservation is given up again and the item stays where it was.
Ergebnis<fs::path> verschiebeInPapierkorb(const fs::path& pfad, const Papierkorbplatz& platz);

// Reserve and move in one step.
Ergebnis<fs::path> inDenPapierkorb(const fs::path& pfad, const fs::path& home);

// Moves an item from the Trash back to `ziel` (whose parent must exist) and drops its
// .trashinfo. Never overwrites: an occupied `ziel` is an error.
Ergebnis<void> ausDemPapierkorb(const fs::path& imPapierkorb, const fs::path& ziel);

// The .trashinfo belonging to an entry of a Trash's files folder; empty when `eintrag` does not
// lie directly in a Trash's files folder.
fs::path trashinfoZu(const fs::path& eintrag);

// After a Trash entry was deleted for good (or found missing): drops its .trashinfo, if any.
void papierkorbEintragVergessen(const fs::path& eintrag);

// Text used when an item is already out of the Trash; also when `ziel` is occupied.
inline constexpr const char* zielBelegtText = "Am alten Ort liegt schon etwas mit diesem Namen";
inline constexpr const char* nichtImPapierkorbText = "Liegt nicht mehr im Papierkorb";

}  // namespace hainbrem::plattform
