#pragma once
// What the confirmation shows before a round and how the result explains itself afterwards.
// Plain functions, so every front end shows the same words.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/verlauf.hpp"

namespace hainbrem {

struct BestaetigungsZeile {
    Entsorgung art;
    std::string symbol;
    std::string farbe;  // "gruen" for deleting (regrows by itself), "orange" for the Trash, "rot" for
                        // programs leaving through their package system (no way back)
    size_t anzahl = 0;
    std::string titel;  // "3 × endgültig löschen"
    int64_t bytes = 0;
    std::string text;
};

struct Bestaetigung {
    std::vector<BestaetigungsZeile> zeilen;  // deleting, the Trash, then package systems; only kinds present
    size_t anzahl = 0;
    int64_t bytes = 0;
    std::string teile;  // "in 5 Teilen"
    std::string hinweis;
    std::vector<std::string> laufendeBesitzer;  // owners running now, in order of first finding
    std::vector<std::string> warnungen;         // one line per running owner
    // What Hainbrem will not do itself (a system installation without root), with the command that
    // does it: "GIMP: Braucht Administratorrechte … Im Terminal: flatpak uninstall --system …".
    std::vector<std::string> hinweise;
};

inline constexpr const char* endgueltigText =
    "Caches und Bauabfall, die sich von selbst neu bilden. Hainbrem prüft jeden Pfad unmittelbar vor dem "
    "Löschen noch einmal.";
inline constexpr const char* papierkorbText =
    "Deine eigenen Dateien und Programme. Sie bleiben im Papierkorb, bis du ihn leerst, und „Rückgängig“ legt "
    "sie zurück. Platz wird erst mit dem Leeren frei.";
inline constexpr const char* deinstallierenText =
    "Flatpak und Snap entfernen diese Programme selbst. Das lässt sich nicht rückgängig machen: „Rückgängig“ holt "
    "sie nicht zurück, bei Bedarf installierst du sie neu. Ihre persönlichen Daten bleiben, außer du hast sie "
    "angehakt.";
inline constexpr const char* laufHinweisText = "Läuft ein Programm, dem etwas davon gehört, bleibt das liegen.";

// `home` tells the user's own package installations from the system's; empty: the user's home.
Bestaetigung bestaetigung(const std::vector<Fund>& funde, const std::function<bool(const std::string&)>& laeuft,
                          const std::filesystem::path& home = {});

// The result bar's explanation line; `echtFreiJetzt` is read only when everything went. After a
// dry run it says what would have been freed.
std::string erklaerung(const Runde& runde, const std::function<int64_t()>& echtFreiJetzt);
std::string erklaerung(const Runde& runde, const std::filesystem::path& home);

}  // namespace hainbrem
