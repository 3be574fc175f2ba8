#pragma once
// Rounds of cleanup and the history file that keeps them. The file is written atomically under
// an advisory lock and merged by round id with what is on disk, so two processes saving at the
// same time both keep their rounds.
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "basis/ergebnis.hpp"
#include "basis/zeit.hpp"
#include "kern/datensaetze.hpp"

namespace hainbrem {

struct Runde {
    std::string id;  // UUID, upper case 8-4-4-4-12
    std::string titel;
    Zeitpunkt datum;  // whole seconds
    int64_t freiVorher = 0;
    int64_t freiNachher = 0;
    std::vector<Posten> posten;
    bool probelauf = false;

    int64_t gewonnen() const;
    int64_t erwartet() const;
    // What the round was to free on the disk: the items that went for good (deleted or
    // uninstalled). What went to the Trash frees nothing until it is emptied, put back or not.
    int64_t erwartetFrei() const;
    int64_t imPapierkorbBytes() const;
    // The Trash items put back since.
    int64_t zurueckgelegtBytes() const;
    // Some Trash item of this round is not put back and still lies in the Trash. Found out when
    // the round was read from the history or finished by the disposer (`pruefeRueckgaengig`), so
    // showing it never touches the disk.
    bool kannRueckgaengig() const { return papierkorbBefund.wert; }
    void pruefeRueckgaengig();
    // Number of items with an error.
    size_t fehlerAnzahl() const;

    // What the Trash held when last looked at: no part of the record, so rounds compare equal
    // whenever they were looked at.
    struct Befund {
        bool wert = false;
        bool operator==(const Befund&) const { return true; }
    };
    Befund papierkorbBefund{};

    // Set by the disposer when the history could not be written during or after this round
    // (the first reason); no part of the record either.
    struct Speicherfehler {
        std::optional<std::string> grund;
        bool operator==(const Speicherfehler&) const { return true; }
    };
    Speicherfehler speicherFehler{};

    bool operator==(const Runde&) const = default;
};

// A fresh random UUID (version 4) in upper case.
std::string neueKennung();
// ISO 8601 in UTC with whole seconds, "2026-11-15T20:35:00Z", and its strict reading: isoZeit
// and ausIsoZeit of basis/zeit.hpp.

class Verlauf {
public:
    // Loads `datei` at once; a missing or unreadable file gives an empty history.
    explicit Verlauf(std::filesystem::path datei);
    Verlauf(const Verlauf&) = delete;
    Verlauf& operator=(const Verlauf&) = delete;

    // The history of the current user (profil(heimOrdner()).verlaufOrdner / "verlauf.json").
    static Verlauf& standard();
    static std::filesystem::path standardDatei(const std::filesystem::path& home);

    const std::filesystem::path& datei() const { return datei_; }
    std::vector<Runde> runden() const;
    std::optional<Runde> runde(std::string_view id) const;

    // New round at the front (newest first).
    void einfuegen(const Runde& runde);
    // Replaces the round with the same id in place; nothing happens when there is none.
    void ersetzen(const Runde& runde);
    // Takes the round out (a round that never touched anything); the next save drops it from
    // the file too.
    void entfernen(std::string_view id);

    // Merges with the file on disk (under the file lock) and writes it atomically. Failures
    // leave memory as it is and say why in German.
    [[nodiscard]] Ergebnis<void> speichern();

    // Trash paths of the items of all rounds that are not put back.
    std::set<std::string> imPapierkorb() const;

    // The file existed but could not be read when it was loaded.
    bool warUnlesbar() const;
    // Set once an unreadable file has been moved aside before saving: a German sentence that
    // tells where it now lies.
    std::optional<std::string> hinweis() const;

    // Called after every successful write with what was written (for observers and tests).
    void beobachte(std::function<void(const std::vector<Runde>&)> beobachter);

    // The file format. `dekodiere` is strict: any missing key, wrong type, unknown "art" or
    // date that is not ISO 8601 makes the whole text unreadable. Only an item's "ergebnis" may
    // be missing (files from before it) or unknown: then it is read from the item's text. Paths
    // that are not valid UTF-8 are written with their bad bytes replaced and, beside them, their
    // exact bytes in Base64 ("pfadBase64", "imPapierkorbBase64"), which win on reading. A Trash
    // item carries what identifies it there ("kennung": "geraet", "inode", "groesse",
    // "geaendertNs", "info"); older files lack it.
    static std::string kodiere(const std::vector<Runde>& runden);
    static std::optional<std::vector<Runde>> dekodiere(std::string_view text);

private:
    std::filesystem::path datei_;
    mutable std::mutex sperre_;
    std::vector<Runde> runden_;
    std::set<std::string> geaendert_;  // ids changed here since the last save: these win the merge
    std::set<std::string> entfernt_;   // ids taken out here: the merge must not bring them back
    bool unlesbar_ = false;
    std::optional<std::string> hinweis_;
    std::function<void(const std::vector<Runde>&)> beobachter_;
};

}  // namespace hainbrem
