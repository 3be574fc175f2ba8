#include "kern/erkennen.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kern/groesse.hpp"
#include "plattform/dateisystem.hpp"
#include "kern/namen.hpp"

namespace hainbrem::Erkennen {

namespace {

// Up to `laenge` bytes from `ab` of a regular file, read without following a link; with the
// file's status. None when it is no regular file or cannot be opened.
std::optional<std::string> lies(const fs::path& datei, off_t ab, size_t laenge, struct stat* statt = nullptr) {
    const int fd = plattform::oeffneZumAnsehen(datei.c_str());
    if (fd < 0) return std::nullopt;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return std::nullopt;
    }
    std::string inhalt(laenge, '\0');
    size_t gelesen = 0;
    while (gelesen < laenge) {
        const ssize_t n = ::pread(fd, inhalt.data() + gelesen, laenge - gelesen, ab + static_cast<off_t>(gelesen));
        if (n <= 0) break;
        gelesen += static_cast<size_t>(n);
    }
    ::close(fd);
    inhalt.resize(gelesen);
    if (statt) *statt = st;
    return inhalt;
}

bool istOrdner(const fs::path& p) {
    struct stat st {};
    return ::lstat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool gibtEs(const fs::path& p) {
    struct stat st {};
    return ::lstat(p.c_str(), &st) == 0;
}

std::optional<std::string> echt(const std::string& pfad) {
    std::unique_ptr<char, decltype(&std::free)> r(::realpath(pfad.c_str(), nullptr), &std::free);
    if (!r) return std::nullopt;
    return std::string(r.get());
}

// The value of "NAME:TYPE=value" for `schluessel` ("NAME:TYPE=") in a CMake cache; none when absent.
std::optional<std::string> cacheWert(std::string_view text, std::string_view schluessel) {
    for (size_t anfang = 0; anfang < text.size();) {
        size_t ende = text.find('\n', anfang);
        if (ende == std::string_view::npos) ende = text.size();
        std::string_view zeile = text.substr(anfang, ende - anfang);
        if (!zeile.empty() && zeile.back() == '\r') zeile.remove_suffix(1);
        if (zeile.starts_with(schluessel)) return std::string(zeile.substr(schluessel.size()));
        anfang = ende + 1;
    }
    return std::nullopt;
}

}  // namespace

bool istKernAbbild(const fs::path& datei) {
    struct stat st {};
    const auto kopf = lies(datei, 0, 18, &st);
    if (!kopf || kopf->size() < 18 || st.st_uid != ::geteuid()) return false;
    const std::string_view k = *kopf;
    if (!k.starts_with("\x7F" "ELF") || (k[4] != 1 && k[4] != 2)) return false;
    const auto b0 = static_cast<unsigned char>(k[16]), b1 = static_cast<unsigned char>(k[17]);
    constexpr unsigned etCore = 4;
    if (k[5] == 1) return (b0 | (b1 << 8)) == etCore;  // little endian
    if (k[5] == 2) return ((b0 << 8) | b1) == etCore;  // big endian
    return false;
}

bool istDiscAbbild(const fs::path& datei) {
    const auto kennung = lies(datei, 32769, 5);
    return kennung && (*kennung == "CD001" || *kennung == "BEA01");
}

bool istProtokollBaum(const fs::path& ordner) {
    if (!istOrdner(ordner)) return false;
    constexpr size_t hoechstens = 10'000;
    constexpr int tiefste = 6;
    bool rein = true;
    size_t gesehen = 0;
    Groesse::durchlaufe(ordner, [&](const Groesse::Eintrag& e) {
        if (e.ebene == 0) return Groesse::Weiter::ja;
        const bool ordnerEintrag =
            e.art == Groesse::EintragArt::ordnerAnfang || e.art == Groesse::EintragArt::ordnerEnde;
        rein = ++gesehen <= hoechstens && e.ebene <= tiefste && e.art != Groesse::EintragArt::unlesbar &&
               (ordnerEintrag || (e.statt && S_ISREG(e.statt->st_mode) && Namen::istProtokollDateiName(e.name)));
        return rein ? Groesse::Weiter::ja : Groesse::Weiter::abbrechen;
    });
    return rein;
}

bool istPythonCache(const fs::path& ordner) {
    if (ordner.filename() != Namen::pythonCacheOrdner || !istOrdner(ordner)) return false;
    bool rein = true;
    Groesse::durchlaufe(ordner, [&](const Groesse::Eintrag& e) {
        if (e.ebene == 0) return Groesse::Weiter::ja;
        const std::string_view n = e.name;
        rein = e.ebene == 1 && e.art == Groesse::EintragArt::datei && e.statt && S_ISREG(e.statt->st_mode) &&
               (n.ends_with(".pyc") || n.ends_with(".pyo"));
        return rein ? Groesse::Weiter::ja : Groesse::Weiter::abbrechen;
    });
    return rein;
}

bool istCMakeBauordner(const fs::path& ordner) {
    const fs::path eltern = ordner.parent_path();
    if (!istOrdner(ordner) || !istOrdner(ordner / "CMakeFiles") || gibtEs(ordner / Namen::cmakeProjektDatei) ||
        gibtEs(ordner / ".git"))
        return false;
    struct stat st {};
    if (::stat((eltern / Namen::cmakeProjektDatei).c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    // a cache is some kilobytes; one of many megabytes is not CMake's
    const auto cache = lies(ordner / Namen::cmakeCacheDatei, 0, 8 << 20);
    if (!cache) return false;
    const auto quelle = cacheWert(*cache, "CMAKE_HOME_DIRECTORY:INTERNAL=");
    const auto bau = cacheWert(*cache, "CMAKE_CACHEFILE_DIR:INTERNAL=");
    if (!quelle || !bau) return false;
    const auto echteQuelle = echt(*quelle), echterBau = echt(*bau);
    return echteQuelle && echterBau && echteQuelle == echt(eltern.native()) && echterBau == echt(ordner.native());
}

}  // namespace hainbrem::Erkennen
