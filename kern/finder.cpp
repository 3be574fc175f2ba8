#include "kern/finder.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <system_error>

#include "kern/groesse.hpp"
#include "kern/namen.hpp"
#include "kern/pakete.hpp"
#include "kern/regel_namen.hpp"

namespace hainbrem::Katalog {

namespace {

// Whole seconds: st_mtime is the one spelling every POSIX system shares (macOS has no st_mtim),
// and no rule compares finer than days.
Zeitpunkt alsZeitpunkt(time_t sekunden) { return Zeitpunkt(std::chrono::seconds(sekunden)); }

std::string klein(std::string_view s) {
    std::string k(s);
    for (char& c : k) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return k;
}

}  // namespace

std::vector<fs::path> kinder(const fs::path& ordner) {
    std::vector<fs::path> liste;
    std::error_code fehler;
    fs::directory_iterator it(ordner, fehler);
    for (; !fehler && it != fs::directory_iterator(); it.increment(fehler)) {
        const std::string name = it->path().filename().native();
        if (name == ".DS_Store" || name == ".localized") continue;
        liste.push_back(it->path());
    }
    std::sort(liste.begin(), liste.end());
    return liste;
}

std::optional<Zeitpunkt> datum(const fs::path& eintrag) {
    struct stat st;
    if (::lstat(eintrag.c_str(), &st) != 0) return std::nullopt;
    return alsZeitpunkt(st.st_mtime);
}

std::optional<Zeitpunkt> juengsteAenderung(const fs::path& ordner, size_t hoechstens) {
    int64_t neueste = 0;
    size_t gesehen = 0;
    Groesse::durchlaufe(ordner, [&](const Groesse::Eintrag& e) {
        // a folder counts once, after its contents
        if (e.ebene == 0 || e.art == Groesse::EintragArt::ordnerAnfang) return Groesse::Weiter::ja;
        if (e.art == Groesse::EintragArt::unlesbar || !e.statt) return Groesse::Weiter::ja;
        neueste = std::max<int64_t>(neueste, static_cast<int64_t>(e.statt->st_mtime));
        return ++gesehen >= hoechstens ? Groesse::Weiter::abbrechen : Groesse::Weiter::ja;
    });
    if (neueste > 0) return Zeitpunkt(std::chrono::seconds(neueste));
    return datum(ordner);
}

bool istMacInstaller(const fs::path& eintrag) {
    const std::string endung = klein(eintrag.extension().native());
    if (endung.size() < 2) return false;
    const std::string_view ohnePunkt = std::string_view(endung).substr(1);
    if (!Namen::enthaelt(RegelNamen::installerEndungen, ohnePunkt)) return false;
    if (ohnePunkt == "dmg" || ohnePunkt == "xip") return true;
    struct stat st;
    if (::lstat(eintrag.c_str(), &st) != 0) return false;
    if (S_ISDIR(st.st_mode)) return true;  // a bundle-style installer
    if (!S_ISREG(st.st_mode)) return false;
    const int fd = ::open(eintrag.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return false;
    char kopf[4];
    const ssize_t gelesen = ::pread(fd, kopf, sizeof kopf, 0);
    ::close(fd);
    return gelesen == 4 && std::string_view(kopf, 4) == "xar!";
}

bool istPaket(const fs::path& eintrag) {
    if (!istPaketName(eintrag.filename().native())) return false;
    struct stat st;
    return ::lstat(eintrag.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool istAelterAls(const std::optional<Zeitpunkt>& zeit, std::chrono::seconds alter, Zeitpunkt jetzt) {
    return zeit && jetzt - *zeit > alter;
}

std::optional<std::string> modellTitel(std::string_view ordnerName) {
    std::vector<std::string_view> teile;
    for (size_t anfang = 0;;) {
        const size_t trenner = ordnerName.find("--", anfang);
        teile.push_back(ordnerName.substr(anfang, trenner == std::string_view::npos ? trenner : trenner - anfang));
        if (trenner == std::string_view::npos) break;
        anfang = trenner + 2;
    }
    if (teile.size() < 3) return std::nullopt;
    std::string titel;
    for (size_t i = 2; i < teile.size(); ++i) {
        if (i > 2) titel += "--";
        titel += teile[i];
    }
    return titel + " (" + std::string(teile[1]) + ")";
}

}  // namespace hainbrem::Katalog
