// Linux: the freedesktop.org Trash. The .trashinfo is written first (O_EXCL reserves the name),
// then the item is renamed in; a rename never crosses devices, so an item on another file
// system goes to that file system's own trash at its top directory.
#include "plattform/papierkorb.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <cstring>
#include <ctime>

#include "basis/pfade.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::plattform {

namespace {

std::string text(int nummer) {
    switch (nummer) {
        case EACCES:
        case EPERM: return "Keine Berechtigung";
        case ENOENT: return "Schon weg";
        case EXDEV: return "Liegt auf einem anderen Datenträger";
        case EROFS: return "Der Datenträger ist schreibgeschützt";
        case ENOSPC: return "Kein Platz mehr auf dem Datenträger";
        case EBUSY: return "Wird gerade benutzt";
        default: return std::string("Systemfehler: ") + std::strerror(nummer);
    }
}

std::string prozentKodiert(const std::string& roh) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string aus;
    for (const char z : roh) {
        const auto c = static_cast<unsigned char>(z);
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
            c == '.' || c == '~' || c == '/') {
            aus.push_back(static_cast<char>(c));
        } else {
            aus.push_back('%');
            aus.push_back(hex[c >> 4]);
            aus.push_back(hex[c & 15]);
        }
    }
    return aus;
}

std::string lokaleZeit() {
    const std::time_t t = std::time(nullptr);
    std::tm tm{};
    localtime_r(&t, &tm);
    char puffer[32];
    std::strftime(puffer, sizeof puffer, "%Y-%m-%dT%H:%M:%S", &tm);
    return puffer;
}

// Creates `ordner` with 0700 if missing; true when it is then a real folder (no link) of ours.
bool eigenerOrdner(const fs::path& ordner) {
    if (::mkdir(ordner.c_str(), 0700) != 0 && errno != EEXIST) return false;
    struct stat st;
    return ::lstat(ordner.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::geteuid();
}

bool geraetVon(const fs::path& p, dev_t& geraet) {
    struct stat st;
    if (::stat(p.c_str(), &st) != 0) return false;
    geraet = st.st_dev;
    return true;
}

// The top directory (mount point) of the file system holding `ordner`.
fs::path oberesVerzeichnis(const fs::path& ordner, dev_t geraet) {
    fs::path p = ordner;
    while (p.has_relative_path()) {
        dev_t d;
        const fs::path oben = p.parent_path();
        if (!geraetVon(oben, d) || d != geraet) break;
        p = oben;
    }
    return p;
}

struct Ziel {
    fs::path trash;          // the trash directory (holds files/ and info/)
    std::string pfadEintrag; // value of Path= before encoding
    fs::path echt;           // the item with its parent resolved
};

Ergebnis<Ziel> waehleTrash(const fs::path& pfad, const fs::path& home) {
    struct stat st;
    if (::lstat(pfad.c_str(), &st) != 0) return Fehlschlag{text(errno)};
    // The parent as the kernel resolves it when moving ("lnk/.." after following lnk); text
    // operations would collapse "lnk/.." first and record a different place.
    const std::string& roh = pfad.native();
    const size_t schnitt = roh.rfind('/');
    const std::string name = schnitt == std::string::npos ? roh : roh.substr(schnitt + 1);
    if (name.empty() || name == "." || name == "..") return Fehlschlag{"Kein gültiger Pfad"};
    const std::string elternRoh = schnitt == std::string::npos ? "." : schnitt == 0 ? "/" : roh.substr(0, schnitt);
    std::unique_ptr<char, decltype(&std::free)> elternReal(::realpath(elternRoh.c_str(), nullptr), &std::free);
    if (!elternReal) return Fehlschlag{"Ordner existiert nicht"};
    const fs::path eltern = elternReal.get();
    const fs::path echt = eltern / name;
    std::error_code e;

    const fs::path heimTrash = profil(home).papierkorb.parent_path();
    // the device of the home trash, or of its nearest existing ancestor
    fs::path vorhanden = heimTrash;
    dev_t heimGeraet = 0;
    while (!geraetVon(vorhanden, heimGeraet) && vorhanden.has_relative_path()) vorhanden = vorhanden.parent_path();
    if (heimGeraet == st.st_dev) {
        fs::create_directories(heimTrash.parent_path(), e);
        if (!eigenerOrdner(heimTrash) || !eigenerOrdner(heimTrash / "files") || !eigenerOrdner(heimTrash / "info"))
            return Fehlschlag{"Der Papierkorb lässt sich nicht anlegen"};
        return Ziel{heimTrash, echt.native(), echt};
    }

    const fs::path oben = oberesVerzeichnis(eltern, st.st_dev);
    const uid_t uid = ::geteuid();
    fs::path trash;
    struct stat gemeinsam;
    const fs::path punktTrash = oben / ".Trash";
    if (::lstat(punktTrash.c_str(), &gemeinsam) == 0 && S_ISDIR(gemeinsam.st_mode) && (gemeinsam.st_mode & S_ISVTX)) {
        trash = punktTrash / std::to_string(uid);
        if (!eigenerOrdner(trash)) trash.clear();
    }
    if (trash.empty()) {
        trash = oben / (".Trash-" + std::to_string(uid));
        if (!eigenerOrdner(trash)) return Fehlschlag{"Auf diesem Datenträger gibt es keinen Papierkorb"};
    }
    dev_t trashGeraet;
    if (!eigenerOrdner(trash / "files") || !eigenerOrdner(trash / "info") || !geraetVon(trash / "files", trashGeraet) ||
        trashGeraet != st.st_dev)
        return Fehlschlag{"Auf diesem Datenträger gibt es keinen Papierkorb"};
    return Ziel{trash, echt.lexically_relative(oben).native(), echt};
}

}  // namespace

Ergebnis<Papierkorbplatz> reservierePapierkorb(const fs::path& pfad, const fs::path& home) {
    auto ziel = waehleTrash(pfad, home);
    if (!ziel) return Fehlschlag{ziel.error()};
    std::error_code e;
    if (liegtInOderIst(ziel->echt.native(), fs::weakly_canonical(ziel->trash, e).native()))
        return Fehlschlag{"Liegt schon im Papierkorb"};

    const std::string inhalt = "[Trash Info]\nPath=" + prozentKodiert(ziel->pfadEintrag) +
                               "\nDeletionDate=" + lokaleZeit() + "\n";
    const std::string basis = ziel->echt.filename().native();
    for (int n = 1; n < 100000; ++n) {
        const std::string name = n == 1 ? basis : basis + "." + std::to_string(n);
        const fs::path datei = ziel->trash / "files" / name;
        const fs::path info = ziel->trash / "info" / (name + ".trashinfo");
        struct stat st;
        if (::lstat(datei.c_str(), &st) == 0) continue;
        const int fd = ::open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            if (errno == ENAMETOOLONG) return Fehlschlag{"Name zu lang für den Papierkorb"};
            return Fehlschlag{"Der Papierkorb ist nicht beschreibbar: " + text(errno)};
        }
        const bool geschrieben = ::write(fd, inhalt.data(), inhalt.size()) == static_cast<ssize_t>(inhalt.size());
        ::close(fd);
        if (!geschrieben) {
            ::unlink(info.c_str());
            return Fehlschlag{"Der Papierkorb ist nicht beschreibbar"};
        }
        return Papierkorbplatz{datei, info};
    }
    return Fehlschlag{"Kein freier Name im Papierkorb"};
}

namespace {
// rename without replacing what is there; falls back to a checked rename where the file system
// does not know RENAME_NOREPLACE
int verschiebeOhneErsetzen(const fs::path& von, const fs::path& nach) {
    if (::renameat2(AT_FDCWD, von.c_str(), AT_FDCWD, nach.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    struct stat st;
    if (::lstat(nach.c_str(), &st) == 0) return EEXIST;
    return ::rename(von.c_str(), nach.c_str()) == 0 ? 0 : errno;
}
}  // namespace

Ergebnis<fs::path> verschiebeInPapierkorb(const fs::path& pfad, const Papierkorbplatz& platz) {
    const int nummer = verschiebeOhneErsetzen(pfad, platz.datei);
    if (nummer == 0) return platz.datei;
    ::unlink(platz.info.c_str());
    if (nummer == EEXIST) return Fehlschlag{"Der Name im Papierkorb wurde gerade vergeben"};
    return Fehlschlag{text(nummer)};
}

Ergebnis<fs::path> inDenPapierkorb(const fs::path& pfad, const fs::path& home) {
    auto platz = reservierePapierkorb(pfad, home);
    if (!platz) return Fehlschlag{platz.error()};
    return verschiebeInPapierkorb(pfad, *platz);
}

Ergebnis<void> ausDemPapierkorb(const fs::path& imPapierkorb, const fs::path& ziel) {
    struct stat st;
    if (::lstat(ziel.c_str(), &st) == 0) return Fehlschlag{zielBelegtText};
    if (::lstat(imPapierkorb.c_str(), &st) != 0) {
        if (errno == ENOENT) return Fehlschlag{nichtImPapierkorbText};
        return Fehlschlag{text(errno)};
    }
    const int nummer = verschiebeOhneErsetzen(imPapierkorb, ziel);
    if (nummer == EEXIST) return Fehlschlag{zielBelegtText};
    if (nummer != 0) return Fehlschlag{text(nummer)};
    if (const fs::path info = trashinfoZu(imPapierkorb); !info.empty()) ::unlink(info.c_str());
    return {};
}

fs::path trashinfoZu(const fs::path& eintrag) {
    const fs::path files = eintrag.parent_path();
    if (files.filename() != "files" || !eintrag.has_filename()) return {};
    const fs::path trash = files.parent_path();
    const std::string t = trash.filename().native();
    const bool istTrash = t == "Trash" || t.starts_with(".Trash-") || trash.parent_path().filename() == ".Trash";
    if (!istTrash) return {};
    return trash / "info" / (eintrag.filename().native() + ".trashinfo");
}

void papierkorbEintragVergessen(const fs::path& eintrag) {
    struct stat st;
    if (::lstat(eintrag.c_str(), &st) == 0) return;  // still there: its record stays
    if (const fs::path info = trashinfoZu(eintrag); !info.empty()) ::unlink(info.c_str());
}

}  // namespace hainbrem::plattform
