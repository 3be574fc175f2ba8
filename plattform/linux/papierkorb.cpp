// Linux: the freedesktop.org Trash. The .trashinfo is written first (O_EXCL reserves the name),
// then the item is renamed in; a rename never crosses devices, so an item on another file
// system goes to that file system's own trash at its top directory. Every step works on open
// folders: the item's parent as the caller opened it, the Trash's folders opened without links.
#include "plattform/papierkorb.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "basis/pfade.hpp"
#include "basis/systemfehler.hpp"
#include "basis/zeit.hpp"
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
        case ENOSPC:
        case EDQUOT: return "Kein Platz mehr auf dem Datenträger";
        case EBUSY: return "Wird gerade benutzt";
        case ELOOP: return "Ein Ordner auf dem Weg ist ein symbolischer Link";
        case ENAMETOOLONG: return "Name zu lang für den Papierkorb";
        default: return systemFehler(nummer);
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

std::string lokaleZeit() { return zeitText(std::chrono::system_clock::now(), "%Y-%m-%dT%H:%M:%S", Zone::ort); }

std::optional<std::string> echterPfad(const std::string& pfad) {
    std::unique_ptr<char, decltype(&std::free)> echt(::realpath(pfad.c_str(), nullptr), &std::free);
    if (!echt) return std::nullopt;
    return std::string(echt.get());
}

std::string verbunden(const std::string& ordner, const std::string& name) {
    return ordner == "/" ? "/" + name : ordner + "/" + name;
}

// The folder `name` in `fd`, created 0700 when missing; only a real folder (no link) of ours.
Griff eigenerOrdner(int fd, const char* name) {
    if (::mkdirat(fd, name, 0700) != 0 && errno != EEXIST) return {};
    Griff k(::openat(fd, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat st;
    if (!k || ::fstat(k.fd(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::geteuid()) return {};
    return k;
}

// An existing folder of ours in `fd`, never created, never through a link.
Griff vorhandenerEigenerOrdner(int fd, const char* name) {
    Griff k(::openat(fd, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat st;
    if (!k || ::fstat(k.fd(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::geteuid()) return {};
    return k;
}

bool geraetVon(const std::string& p, dev_t& geraet) {
    struct stat st;
    if (::stat(p.c_str(), &st) != 0) return false;
    geraet = st.st_dev;
    return true;
}

// The top directory (mount point) of the file system holding `ordner` (a path without links).
std::string oberesVerzeichnis(std::string ordner, dev_t geraet) {
    while (ordner != "/") {
        dev_t d;
        const std::string oben = elternVon(ordner);
        if (!geraetVon(oben, d) || d != geraet) break;
        ordner = oben;
    }
    return ordner;
}

struct Trash {
    Griff dateien, infos;
    std::string pfad;        // the trash directory, without links
    std::string pfadEintrag; // value of Path= before encoding
};

// The home trash, created when missing. Empty `dateien` when it can't be had.
Trash heimTrash(const fs::path& home, std::string& fehler) {
    const fs::path trash = profil(home).papierkorb.parent_path();
    std::error_code e;
    fs::create_directories(trash.parent_path(), e);
    const auto oben = echterPfad(trash.parent_path().native());
    Trash t;
    if (!oben) {
        fehler = "Der Papierkorb lässt sich nicht anlegen";
        return t;
    }
    Griff obenFd(oeffneKanonisch(*oben));
    Griff trashFd = obenFd ? eigenerOrdner(obenFd.fd(), trash.filename().c_str()) : Griff{};
    if (trashFd) {
        t.dateien = eigenerOrdner(trashFd.fd(), "files");
        t.infos = eigenerOrdner(trashFd.fd(), "info");
    }
    if (!t.dateien || !t.infos) {
        t.dateien = Griff{};
        fehler = errno == ENOSPC || errno == EDQUOT ? text(errno) : "Der Papierkorb lässt sich nicht anlegen";
        return t;
    }
    t.pfad = verbunden(*oben, trash.filename().native());
    return t;
}

// The trash at the top of the file system `geraet` that holds the folder `eltern`.
Trash volumenTrash(const std::string& eltern, dev_t geraet, std::string& fehler) {
    Trash t;
    const std::string oben = oberesVerzeichnis(eltern, geraet);
    Griff obenFd(oeffneKanonisch(oben));
    const std::string uid = std::to_string(::geteuid());
    if (obenFd) {
        struct stat gemeinsam;
        if (::fstatat(obenFd.fd(), ".Trash", &gemeinsam, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(gemeinsam.st_mode) &&
            (gemeinsam.st_mode & S_ISVTX)) {
            Griff gemeinsamFd(::openat(obenFd.fd(), ".Trash", O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (Griff eigen = gemeinsamFd ? eigenerOrdner(gemeinsamFd.fd(), uid.c_str()) : Griff{}) {
                t.dateien = eigenerOrdner(eigen.fd(), "files");
                t.infos = eigenerOrdner(eigen.fd(), "info");
                t.pfad = verbunden(oben, ".Trash/" + uid);
            }
        }
        if (!t.dateien || !t.infos) {
            const std::string name = ".Trash-" + uid;
            if (Griff eigen = eigenerOrdner(obenFd.fd(), name.c_str())) {
                t.dateien = eigenerOrdner(eigen.fd(), "files");
                t.infos = eigenerOrdner(eigen.fd(), "info");
                t.pfad = verbunden(oben, name);
            }
        }
    }
    struct stat st;
    if (!t.dateien || !t.infos || ::fstat(t.dateien.fd(), &st) != 0 || st.st_dev != geraet) {
        t.dateien = Griff{};
        fehler = "Auf diesem Datenträger gibt es keinen Papierkorb";
        return t;
    }
    return t;
}

// rename without replacing what is there; falls back to a checked rename where the file system
// does not know RENAME_NOREPLACE
int verschiebeOhneErsetzen(int vonFd, const char* von, int nachFd, const char* nach) {
    if (::renameat2(vonFd, von, nachFd, nach, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    struct stat st;
    if (::fstatat(nachFd, nach, &st, AT_SYMLINK_NOFOLLOW) == 0) return EEXIST;
    return ::renameat(vonFd, von, nachFd, nach) == 0 ? 0 : errno;
}

// The folders of the Trash that `imPapierkorb` names, when it is one known for `home`.
struct BekannterTrash {
    Griff dateien, infos;
    std::string name;
    std::string basis;
};

Ergebnis<BekannterTrash> bekannterTrash(const fs::path& imPapierkorb, const fs::path& home) {
    const std::string& roh = imPapierkorb.native();
    const std::string name = nameVon(roh);
    if (roh.empty() || roh.front() != '/' || name.empty() || name == "." || name == ".." || hatPunktTeil(roh))
        return Fehlschlag{keinPapierkorbText};
    const auto dateienEcht = echterPfad(elternVon(roh));
    if (!dateienEcht) return Fehlschlag{nichtImPapierkorbText};
    BekannterTrash b;
    b.name = name;
    const fs::path heim = profil(home).papierkorb;
    if (const auto heimEcht = echterPfad(heim.native()); heimEcht && *heimEcht == *dateienEcht) {
        b.dateien = Griff(oeffneKanonisch(*heimEcht));
        b.infos = Griff(oeffneKanonisch(verbunden(elternVon(*heimEcht), "info")));
        if (!b.dateien) return Fehlschlag{keinPapierkorbText};
        return b;
    }
    // <top>/.Trash-<uid>/files or <top>/.Trash/<uid>/files, with <top> a mount point
    const std::string uid = std::to_string(::geteuid());
    if (nameVon(*dateienEcht) != "files") return Fehlschlag{keinPapierkorbText};
    const std::string trash = elternVon(*dateienEcht);
    std::string oben;
    if (nameVon(trash) == ".Trash-" + uid) oben = elternVon(trash);
    else if (nameVon(trash) == uid && nameVon(elternVon(trash)) == ".Trash") oben = elternVon(elternVon(trash));
    else return Fehlschlag{keinPapierkorbText};
    Griff obenFd(oeffneKanonisch(oben));
    Griff darueber(oeffneKanonisch(elternVon(oben)));
    if (!obenFd || (oben != "/" && (!darueber || !istEinhaengepunkt(darueber.fd(), obenFd.fd()))))
        return Fehlschlag{keinPapierkorbText};
    const std::string rel(relativ(trash, oben));
    Griff trashFd(oeffneOrdnerOhneLinks(obenFd.fd(), rel));
    if (!trashFd) return Fehlschlag{keinPapierkorbText};
    b.dateien = vorhandenerEigenerOrdner(trashFd.fd(), "files");
    b.infos = vorhandenerEigenerOrdner(trashFd.fd(), "info");
    if (!b.dateien) return Fehlschlag{keinPapierkorbText};
    b.basis = oben;
    return b;
}

}  // namespace

Ergebnis<Papierkorbplatz> reservierePapierkorb(const Ort& ort, const fs::path& home) {
    struct stat st;
    if (!ort.eltern || ::fstatat(ort.eltern.fd(), ort.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return Fehlschlag{text(ort.eltern ? errno : EBADF)};
    const std::string echt = ort.pfad();

    // the home trash when the item shares its device (or that of its nearest existing ancestor)
    std::string fehler;
    fs::path vorhanden = profil(home).papierkorb.parent_path();
    dev_t heimGeraet = 0;
    while (!geraetVon(vorhanden.native(), heimGeraet) && vorhanden.has_relative_path())
        vorhanden = vorhanden.parent_path();
    Trash trash;
    if (heimGeraet == st.st_dev) {
        trash = heimTrash(home, fehler);
        trash.pfadEintrag = echt;
    } else {
        trash = volumenTrash(ort.elternPfad, st.st_dev, fehler);
        const std::string oben = oberesVerzeichnis(ort.elternPfad, st.st_dev);
        trash.pfadEintrag = std::string(relativ(echt, oben));
    }
    if (!trash.dateien) return Fehlschlag{fehler};
    if (liegtInOderIst(echt, trash.pfad)) return Fehlschlag{"Liegt schon im Papierkorb"};

    const std::string inhalt = "[Trash Info]\nPath=" + prozentKodiert(trash.pfadEintrag) +
                               "\nDeletionDate=" + lokaleZeit() + "\n";
    for (int n = 1; n < 100000; ++n) {
        const std::string name = n == 1 ? ort.name : ort.name + "." + std::to_string(n);
        const std::string info = name + ".trashinfo";
        struct stat belegt;
        if (::fstatat(trash.dateien.fd(), name.c_str(), &belegt, AT_SYMLINK_NOFOLLOW) == 0) continue;
        const int fd = ::openat(trash.infos.fd(), info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                                0600);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            if (errno == ENAMETOOLONG || errno == ENOSPC || errno == EDQUOT) return Fehlschlag{text(errno)};
            return Fehlschlag{"Der Papierkorb ist nicht beschreibbar: " + text(errno)};
        }
        int schreibFehler = 0;
        for (size_t geschrieben = 0; geschrieben < inhalt.size();) {
            const ssize_t w = ::write(fd, inhalt.data() + geschrieben, inhalt.size() - geschrieben);
            if (w < 0 && errno == EINTR) continue;
            if (w <= 0) {
                schreibFehler = w < 0 ? errno : ENOSPC;
                break;
            }
            geschrieben += static_cast<size_t>(w);
        }
        if (::close(fd) != 0 && schreibFehler == 0) schreibFehler = errno;
        if (schreibFehler != 0) {
            ::unlinkat(trash.infos.fd(), info.c_str(), 0);
            if (schreibFehler == ENOSPC || schreibFehler == EDQUOT) return Fehlschlag{text(schreibFehler)};
            return Fehlschlag{"Der Papierkorb ist nicht beschreibbar: " + text(schreibFehler)};
        }
        Papierkorbplatz platz;
        platz.datei = fs::path(trash.pfad) / "files" / name;
        platz.info = fs::path(trash.pfad) / "info" / info;
        platz.dateien = std::move(trash.dateien);
        platz.infos = std::move(trash.infos);
        platz.kennung = kennungVon(st);
        platz.kennung.info = info;
        return platz;
    }
    return Fehlschlag{"Kein freier Name im Papierkorb"};
}

Ergebnis<ImPapierkorb> verschiebeInPapierkorb(const Ort& ort, Papierkorbplatz& platz) {
    const std::string name = platz.datei.filename().native();
    const int nummer = verschiebeOhneErsetzen(ort.eltern.fd(), ort.name.c_str(), platz.dateien.fd(), name.c_str());
    if (nummer != 0) {
        ::unlinkat(platz.infos.fd(), platz.kennung.info.c_str(), 0);
        if (nummer == EEXIST) return Fehlschlag{"Der Name im Papierkorb wurde gerade vergeben"};
        return Fehlschlag{text(nummer)};
    }
    ImPapierkorb ergebnis{platz.datei, platz.kennung};
    // what really moved (the item may have been replaced since it was looked at)
    struct stat st;
    if (::fstatat(platz.dateien.fd(), name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
        ergebnis.kennung = kennungVon(st);
        ergebnis.kennung.info = platz.kennung.info;
    }
    return ergebnis;
}

Ergebnis<PapierkorbEintrag> oeffnePapierkorbEintrag(const fs::path& imPapierkorb, const fs::path& home) {
    auto trash = bekannterTrash(imPapierkorb, home);
    if (!trash) return Fehlschlag{trash.error()};
    PapierkorbEintrag e;
    e.name = trash->name;
    e.basis = trash->basis;
    struct stat st;
    if (::fstatat(trash->dateien.fd(), e.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return Fehlschlag{errno == ENOENT ? std::string(nichtImPapierkorbText) : text(errno)};
    e.kennung = kennungVon(st);
    if (trash->infos) {
        const std::string info = e.name + ".trashinfo";
        const int fd = ::openat(trash->infos.fd(), info.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        struct stat ist;
        if (fd >= 0 && ::fstat(fd, &ist) == 0 && S_ISREG(ist.st_mode)) {
            // an info file is a few lines; anything big is not one
            std::string inhalt(64 * 1024, '\0');
            const ssize_t n = ::read(fd, inhalt.data(), inhalt.size());
            if (n >= 0) {
                inhalt.resize(static_cast<size_t>(n));
                e.infoText = std::move(inhalt);
                e.kennung.info = info;
            }
        }
        if (fd >= 0) ::close(fd);
    }
    e.dateien = std::move(trash->dateien);
    e.infos = std::move(trash->infos);
    return e;
}

Ergebnis<void> ausDemPapierkorb(PapierkorbEintrag& eintrag, const Ort& ziel) {
    const int nummer =
        verschiebeOhneErsetzen(eintrag.dateien.fd(), eintrag.name.c_str(), ziel.eltern.fd(), ziel.name.c_str());
    if (nummer == EEXIST) return Fehlschlag{zielBelegtText};
    if (nummer == ENOENT) return Fehlschlag{nichtImPapierkorbText};
    if (nummer != 0) return Fehlschlag{text(nummer)};
    if (eintrag.infos) ::unlinkat(eintrag.infos.fd(), (eintrag.name + ".trashinfo").c_str(), 0);
    return {};
}

void papierkorbEintragVergessen(const fs::path& imPapierkorb, const fs::path& home) {
    auto trash = bekannterTrash(imPapierkorb, home);
    if (!trash || !trash->infos) return;
    struct stat st;
    if (::fstatat(trash->dateien.fd(), trash->name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 || errno != ENOENT)
        return;  // still there: its record stays
    ::unlinkat(trash->infos.fd(), (trash->name + ".trashinfo").c_str(), 0);
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

}  // namespace hainbrem::plattform
