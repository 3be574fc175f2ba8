#include "kern/finder.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <system_error>

#include "basis/pfade.hpp"
#include "kern/erkennen.hpp"
#include "kern/groesse.hpp"
#include "kern/namen.hpp"
#include "kern/pakete.hpp"
#include "kern/regel_namen.hpp"
#include "plattform/dateisystem.hpp"

namespace hainbrem::Katalog {

namespace {

// Whole seconds: st_mtime is the one spelling every POSIX system shares (macOS has no st_mtim),
// and no rule compares finer than days.
Zeitpunkt alsZeitpunkt(time_t sekunden) { return Zeitpunkt(std::chrono::seconds(sekunden)); }

// The first bytes of a regular file (links not followed); empty when it cannot be read.
std::string kopfVon(const fs::path& eintrag, size_t laenge) {
    struct stat st;
    if (::lstat(eintrag.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return {};
    const int fd = plattform::oeffneZumAnsehen(eintrag.c_str());
    if (fd < 0) return {};
    std::string kopf(laenge, '\0');
    const ssize_t gelesen = ::pread(fd, kopf.data(), laenge, 0);
    ::close(fd);
    kopf.resize(gelesen > 0 ? static_cast<size_t>(gelesen) : 0);
    return kopf;
}

// The magic an archive of this ending begins with; empty for no archive ending.
std::string_view archivKopf(std::string_view endung) {
    using namespace std::string_view_literals;
    if (endung == ".tar.gz" || endung == ".tgz") return "\x1F\x8B"sv;
    if (endung == ".tar.xz" || endung == ".txz") return "\xFD" "7zXZ\0"sv;
    if (endung == ".tar.bz2" || endung == ".tbz2") return "BZh"sv;
    if (endung == ".tar.zst") return "\x28\xB5\x2F\xFD"sv;
    if (endung == ".zip") return "PK\x03\x04"sv;
    if (endung == ".7z") return "7z\xBC\xAF\x27\x1C"sv;
    return {};
}

// "firefox-121.0.tar.bz2", "ideaIC-2023.3.tar.gz": a known program's name, then a separator.
bool nenntBekanntesProgramm(std::string_view kleinName) {
    for (std::string_view programm : RegelNamen::programmArchive) {
        if (!kleinName.starts_with(programm)) continue;
        const char danach = kleinName.size() > programm.size() ? kleinName[programm.size()] : '\0';
        if (danach == '-' || danach == '_' || danach == '.' || (danach >= '0' && danach <= '9')) return true;
    }
    return false;
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
    const int fd = plattform::oeffneZumAnsehen(eintrag.c_str());
    if (fd < 0) return false;
    char kopf[4];
    const ssize_t gelesen = ::pread(fd, kopf, sizeof kopf, 0);
    ::close(fd);
    return gelesen == 4 && std::string_view(kopf, 4) == "xar!";
}

bool istLinuxInstaller(const fs::path& eintrag) {
    const std::string n = klein(eintrag.filename().native());
    for (std::string_view endung : RegelNamen::archivEndungen)
        if (n.ends_with(endung) && n.size() > endung.size())
            return nenntBekanntesProgramm(n) && kopfVon(eintrag, 8).starts_with(archivKopf(endung));
    const size_t punkt = n.rfind('.');
    if (punkt == std::string::npos || punkt == 0) return false;
    const std::string_view endung = std::string_view(n).substr(punkt + 1);
    if (!Namen::enthaelt(RegelNamen::installerEndungenLinux, endung)) return false;
    const std::string kopf = kopfVon(eintrag, 24);
    const std::string_view k = kopf;
    if (endung == "deb") return k.starts_with("!<arch>\n") && k.substr(8).starts_with("debian-binary");
    if (endung == "rpm") return k.starts_with("\xED\xAB\xEE\xDB");
    // an ELF program that carries the AppImage mark "AI" and its type (1 or 2) at byte 8
    if (endung == "appimage")
        return k.starts_with("\x7F" "ELF") && k.size() >= 11 && k.substr(8, 2) == "AI" && (k[10] == 1 || k[10] == 2);
    if (endung == "iso") return Erkennen::istDiscAbbild(eintrag);
    if (endung == "flatpakref") return (k.starts_with("\xEF\xBB\xBF") ? k.substr(3) : k).starts_with("[Flatpak Ref]");
    return k.starts_with("#!") || k.starts_with("\x7F" "ELF");  // .run: a shell script or program
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
