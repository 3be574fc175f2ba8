#include "kern/dienste.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>

#include "kern/eigenschaftsliste.hpp"
#include "kern/zeilen.hpp"

namespace hainbrem::Dienste {

namespace {

constexpr size_t hoechstensBytes = 1 << 20;  // a service file larger than this is not one

std::string_view ohneRand(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
    return s;
}

// "~" and "~/…" mean home; everything else stays as written.
std::string mitHome(std::string wort, const fs::path& home) {
    if (wort == "~") return home.native();
    if (wort.starts_with("~/")) return (home / wort.substr(2)).native();
    return wort;
}

void nimmAbsolute(const std::vector<std::string>& woerter, const fs::path& home, std::vector<std::string>& aus) {
    for (auto w : woerter) {
        w = mitHome(std::move(w), home);
        if (w.starts_with("/")) aus.push_back(std::move(w));
    }
}

// key=value lines of one [gruppe]; comments and other groups are ignored.
template <typename Besuch>
void jedeZeile(std::string_view text, std::string_view gruppe, Besuch&& besuch) {
    bool drin = false;
    for (const std::string_view roh : zeilen(text)) {
        const std::string_view zeile = ohneRand(roh);
        if (zeile.empty() || zeile.front() == '#' || zeile.front() == ';') continue;
        if (zeile.front() == '[') {
            drin = zeile == "[" + std::string(gruppe) + "]";
            continue;
        }
        if (!drin) continue;
        const size_t gleich = zeile.find('=');
        if (gleich == std::string_view::npos) continue;
        besuch(ohneRand(zeile.substr(0, gleich)), ohneRand(zeile.substr(gleich + 1)));
    }
}

std::string ersetzeHome(std::string_view wert, const fs::path& home) {
    std::string aus;
    for (size_t i = 0; i < wert.size(); ++i) {
        if (wert[i] == '%' && i + 1 < wert.size()) {
            if (wert[i + 1] == 'h') {
                aus += home.native();
                ++i;
                continue;
            }
            if (wert[i + 1] == '%') {
                aus += '%';
                ++i;
                continue;
            }
        }
        aus += wert[i];
    }
    return aus;
}

std::optional<std::string> leseKlein(const fs::path& pfad) {
    std::ifstream ein(pfad, std::ios::binary);
    if (!ein) return std::nullopt;
    std::string text;
    text.resize(hoechstensBytes + 1);
    ein.read(text.data(), static_cast<std::streamsize>(text.size()));
    const auto n = ein.gcount();
    if (n <= 0 || static_cast<size_t>(n) > hoechstensBytes) return std::nullopt;
    text.resize(static_cast<size_t>(n));
    return text;
}

// Regular files with the ending in `ordner`, sorted so the result does not depend on the
// directory's order.
std::vector<fs::path> dateienMit(const fs::path& ordner, std::string_view endung) {
    std::vector<fs::path> aus;
    std::error_code e;
    for (fs::directory_iterator it(ordner, e), ende; !e && it != ende; it.increment(e)) {
        const std::string name = it->path().filename().native();
        if (!name.ends_with(endung)) continue;
        // units are often links into a package's folder; follow them here, reading is harmless
        std::error_code f;
        if (fs::is_regular_file(it->path(), f)) aus.push_back(it->path());
    }
    std::sort(aus.begin(), aus.end());
    return aus;
}

}  // namespace

std::vector<std::string> zerlegeBefehlszeile(std::string_view zeile) {
    std::vector<std::string> woerter;
    std::string wort;
    bool imWort = false;
    char zitat = 0;
    for (size_t i = 0; i < zeile.size(); ++i) {
        const char c = zeile[i];
        if (c == '\\' && i + 1 < zeile.size() && zitat != '\'') {
            wort += zeile[++i];
            imWort = true;
        } else if (zitat) {
            if (c == zitat) zitat = 0;
            else wort += c;
        } else if (c == '"' || c == '\'') {
            zitat = c;
            imWort = true;
        } else if (c == ' ' || c == '\t') {
            if (imWort) woerter.push_back(std::move(wort));
            wort.clear();
            imWort = false;
        } else {
            wort += c;
            imWort = true;
        }
    }
    if (imWort) woerter.push_back(std::move(wort));
    return woerter;
}

std::vector<std::string> ausLaunchAgent(const PlistKnoten& wurzel) {
    std::vector<std::string> aus;
    if (!wurzel.istDict()) return aus;
    if (auto p = wurzel.feld("Program").text(); p && !p->empty()) aus.push_back(*p);
    const PlistKnoten argumente = wurzel.feld("ProgramArguments");
    for (size_t i = 0; i < argumente.anzahl(); ++i)
        if (auto a = argumente.element(i).text(); a && a->starts_with("/")) aus.push_back(*a);
    if (auto w = wurzel.feld("WorkingDirectory").text(); w && !w->empty()) aus.push_back(*w);
    return aus;
}

std::vector<std::string> ausSystemdEinheit(std::string_view text, const fs::path& home) {
    std::vector<std::string> aus;
    jedeZeile(text, "Service", [&](std::string_view schluessel, std::string_view wert) {
        if (schluessel == "WorkingDirectory") {
            // "-" only says a missing folder is no error
            if (wert.starts_with("-")) wert.remove_prefix(1);
            const std::string w = mitHome(ersetzeHome(wert, home), home);
            if (w.starts_with("/")) aus.push_back(w);
        } else if (schluessel.starts_with("Exec")) {
            auto woerter = zerlegeBefehlszeile(ersetzeHome(wert, home));
            if (!woerter.empty()) {
                std::string& programm = woerter.front();
                const size_t n = programm.find_first_not_of("-@:+!");
                programm.erase(0, n == std::string::npos ? programm.size() : n);
            }
            nimmAbsolute(woerter, home, aus);
        }
    });
    return aus;
}

std::vector<std::string> ausDesktopEintrag(std::string_view text, const fs::path& home) {
    std::vector<std::string> aus;
    jedeZeile(text, "Desktop Entry", [&](std::string_view schluessel, std::string_view wert) {
        if (schluessel == "Path") {
            const std::string w = mitHome(std::string(wert), home);
            if (w.starts_with("/")) aus.push_back(w);
        } else if (schluessel == "Exec") {
            std::vector<std::string> woerter;
            for (auto& w : zerlegeBefehlszeile(wert)) {
                // field codes (%f, %U, …) stand alone and name no path of the service
                if (w.size() == 2 && w[0] == '%') continue;
                woerter.push_back(std::move(w));
            }
            nimmAbsolute(woerter, home, aus);
        }
    });
    return aus;
}

std::vector<std::string> pfade(const fs::path& home) {
    std::vector<std::string> aus;
    auto haenge = [&](std::vector<std::string> neu) {
        aus.insert(aus.end(), std::make_move_iterator(neu.begin()), std::make_move_iterator(neu.end()));
    };
    for (const auto& p : dateienMit(home / "Library/LaunchAgents", ".plist"))
        if (auto text = leseKlein(p))
            if (auto liste = Eigenschaftsliste::ausSpeicher(*text)) haenge(ausLaunchAgent(liste->wurzel()));

    const fs::path einheiten = home / ".config/systemd/user";
    std::vector<fs::path> dateien = dateienMit(einheiten, ".service");
    std::error_code e;
    for (fs::directory_iterator it(einheiten, e), ende; !e && it != ende; it.increment(e)) {
        std::error_code f;
        if (it->path().filename().native().ends_with(".wants") && it->is_directory(f)) {
            auto mehr = dateienMit(it->path(), ".service");
            dateien.insert(dateien.end(), mehr.begin(), mehr.end());
        }
    }
    for (const auto& p : dateien)
        if (auto text = leseKlein(p)) haenge(ausSystemdEinheit(*text, home));

    for (const auto& p : dateienMit(home / ".config/autostart", ".desktop"))
        if (auto text = leseKlein(p)) haenge(ausDesktopEintrag(*text, home));

    std::sort(aus.begin(), aus.end());
    aus.erase(std::unique(aus.begin(), aus.end()), aus.end());
    return aus;
}

}  // namespace hainbrem::Dienste
