#include "kern/papierkorb_info.hpp"

#include "kern/dateiinhalt.hpp"

#include "basis/zeit.hpp"


namespace hainbrem::PapierkorbInfo {

namespace {

std::string_view beschnitten(std::string_view s) {
    while (!s.empty() && (s.back() == '\r' || s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    return s;
}

// "YYYY-MM-DDThh:mm:ss", local time.
std::optional<Zeitpunkt> lokaleZeit(std::string_view s) { return zeitAus(s, "JJJJ-MM-DDThh:mm:ss", Zone::ort); }

// The value of `schluessel` in the "[Trash Info]" group.
std::optional<std::string_view> wert(std::string_view inhalt, std::string_view schluessel) {
    bool inGruppe = false;
    while (!inhalt.empty()) {
        const size_t ende = inhalt.find('\n');
        const std::string_view zeile = beschnitten(inhalt.substr(0, ende));
        inhalt = ende == std::string_view::npos ? std::string_view{} : inhalt.substr(ende + 1);
        if (zeile.empty() || zeile.front() == '#') continue;
        if (zeile.front() == '[') {
            inGruppe = zeile == "[Trash Info]";
            continue;
        }
        if (!inGruppe) continue;
        const size_t gleich = zeile.find('=');
        if (gleich == std::string_view::npos || beschnitten(zeile.substr(0, gleich)) != schluessel) continue;
        return beschnitten(zeile.substr(gleich + 1));
    }
    return std::nullopt;
}

int hexWert(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

}  // namespace

std::optional<Zeitpunkt> loeschDatum(std::string_view inhalt) {
    const auto w = wert(inhalt, "DeletionDate");
    if (!w) return std::nullopt;
    return lokaleZeit(*w);
}

std::optional<std::string> herkunft(std::string_view inhalt) {
    const auto w = wert(inhalt, "Path");
    if (!w || w->empty()) return std::nullopt;
    std::string aus;
    for (size_t i = 0; i < w->size(); ++i) {
        if ((*w)[i] != '%') {
            aus.push_back((*w)[i]);
            continue;
        }
        if (i + 2 >= w->size()) return std::nullopt;
        const int hoch = hexWert((*w)[i + 1]), tief = hexWert((*w)[i + 2]);
        if (hoch < 0 || tief < 0) return std::nullopt;
        aus.push_back(static_cast<char>(hoch * 16 + tief));
        i += 2;
    }
    if (aus.find('\0') != std::string::npos) return std::nullopt;
    return aus;
}

fs::path infoDatei(const fs::path& eintrag) {
    return eintrag.parent_path().parent_path() / "info" / (eintrag.filename().native() + ".trashinfo");
}

std::optional<Zeitpunkt> hinzugefuegt(const fs::path& eintrag) {
    // an info file is a few lines; anything big, or a pipe or link in its place, is not one
    std::string inhalt;
    if (leseRegulaer(infoDatei(eintrag), 64 * 1024, inhalt) != 0) return std::nullopt;
    return loeschDatum(inhalt);
}

}  // namespace hainbrem::PapierkorbInfo
