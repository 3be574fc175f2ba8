#pragma once
// The application's own small records: its pages, a pending confirmation and the assistant's
// messages.
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/duplikate.hpp"
#include "kern/format.hpp"  // anzahl: counts with their noun, shared with the command line
#include "kern/profil.hpp"
#include "kern/runde.hpp"

namespace hainbrem {

// The pages in sidebar order; the raw value is the case name and the id.
enum class Seite { uebersicht, assistent, aufraeumen, karte, grosse, duplikate, programme, projekte, tricks, verlauf };

inline constexpr std::array<Seite, 10> alleSeiten{
    Seite::uebersicht, Seite::assistent, Seite::aufraeumen, Seite::karte,  Seite::grosse,
    Seite::duplikate,  Seite::programme, Seite::projekte,   Seite::tricks, Seite::verlauf};

std::string_view id(Seite s);
std::string_view titel(Seite s);
std::string_view symbol(Seite s);  // SF Symbol name
// As the profile shows them: a Linux desktop has no iCloud, so its tricks page is the system's data.
std::string_view titel(Seite s, Katalogprofil profil);
std::string_view symbol(Seite s, Katalogprofil profil);
std::optional<Seite> seiteAus(std::string_view id);

// A pending request for confirmation; a fresh id each time one is made. `gang` is the core's
// round for it, the one road every front end takes: the sheet shows its confirmation, carrying
// out the order runs it. The model makes it (AppModell::bitte, setzeAuftrag).
struct Auftrag {
    std::string id;
    std::string titel;  // becomes the round's title
    std::vector<Fund> funde;
    std::shared_ptr<const Rundengang> gang = nullptr;

    // The order is its id, title and findings; its round follows from them.
    bool operator==(const Auftrag& a) const { return id == a.id && titel == a.titel && funde == a.funde; }

    std::vector<Fund> endgueltig() const;  // deleted outright, in order
    std::vector<Fund> papierkorb() const;  // moved to the Trash, in order
};

struct Nachricht {
    std::string id;
    bool vonMir = false;  // written by the user
    std::string text;
    bool operator==(const Nachricht&) const = default;
};

// Large files and duplicate copies shown as findings, so every page selects and disposes alike:
// into the Trash, dated by their last change.
Fund alsFund(const DateiInfo& datei, bool vorgewaehlt = false);
// Every copy of a group except the proposed keeper, preselected.
std::vector<Fund> kopienAlsFunde(const DuplikatGruppe& gruppe);

}  // namespace hainbrem
