#include "kern/loeschen.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "basis/systemfehler.hpp"
#include "kern/arbeiter.hpp"
#include "kern/groesse.hpp"
#include "plattform/dateisystem.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem {

namespace fs = std::filesystem;

std::string fehlerText(int nummer) {
    switch (nummer) {
        case EACCES:
        case EPERM: return "Keine Berechtigung";
        case ENOENT: return "Schon weg";
        case ENOTEMPTY:
        case EEXIST: return "Ordner nicht leer – während des Löschens kam etwas hinzu";
        case EBUSY: return "Wird gerade benutzt";
        case EROFS: return "Der Datenträger ist schreibgeschützt";
        case EXDEV: return "Liegt auf einem anderen Datenträger";
        case ENOSPC: return "Kein Platz mehr auf dem Datenträger";
        case EIO: return "Lese- oder Schreibfehler des Datenträgers";
        case ENAMETOOLONG: return "Name zu lang";
        case ENOTDIR: return "Ein Teil des Pfads ist kein Ordner";
        case ELOOP: return "Symbolischer Link an unerwarteter Stelle";
        case EMFILE:
        case ENFILE: return "Zu viele offene Dateien";
        default: return systemFehler(nummer);
    }
}

namespace {

constexpr int ordnerFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY;

struct LoeschOrdner {
    int fd = -1;
    std::shared_ptr<LoeschOrdner> eltern;  // null for the pseudo node holding the item's parent
    std::string name;
    std::atomic<long> offen{1};  // own listing + every subfolder not yet finished
    std::atomic<bool> rechteRepariert{false};
};

struct Aufgabe {
    std::shared_ptr<LoeschOrdner> eltern;
    std::string name;
};

// Adds u+rwx to the folder `name` in `eltern` if we own it, never through a link.
bool repariereRechte(int elternFd, const char* name) { return plattform::ergaenzeBesitzerRechte(elternFd, name); }

// The same for a folder we already hold open.
bool repariereRechte(int fd) {
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::geteuid() || plattform::istDatenlos(st))
        return false;
    if ((st.st_mode & S_IRWXU) == S_IRWXU) return false;
    return ::fchmod(fd, (st.st_mode & 07777) | S_IRWXU) == 0;
}

bool istBerechtigung(int e) { return e == EACCES || e == EPERM; }

constexpr const char* einhaengepunktText = "Nicht alles gelöscht – hier ist ein anderer Datenträger eingehängt";

// Every folder is one piece of work for the pool; the newest first keeps the open descriptors
// near depth × threads.
class Loescher {
public:
    Loescher(std::string wurzelName, unsigned faeden, std::stop_token halt)
        : wurzelName_(std::move(wurzelName)),
          halt_(std::move(halt)),
          arbeiter_(faeden, Arbeiter::Reihenfolge::neuesteZuerst) {}

    LoeschErgebnis lauf(int elternFd) {
        wurzel_ = std::make_shared<LoeschOrdner>();
        wurzel_->fd = elternFd;
        wurzel_->offen = 1;
        bearbeite(Aufgabe{wurzel_, wurzelName_});
        arbeiter_.warte([this] { return fertig_; });
        wurzel_.reset();
        return ergebnis_;
    }

private:

    static std::string relPfad(const std::shared_ptr<LoeschOrdner>& k, const std::string& name) {
        std::string r = name;
        for (const LoeschOrdner* p = k.get(); p && p->eltern; p = p->eltern.get()) r = p->name + "/" + r;
        return r;
    }

    void melde(int nummer, const std::shared_ptr<LoeschOrdner>& eltern, const std::string& name) {
        melde(nummer, fehlerText(nummer), eltern, name);
    }
    void melde(int nummer, const std::string& text, const std::shared_ptr<LoeschOrdner>& eltern,
               const std::string& name) {
        std::lock_guard l(fehlerM_);
        if (ergebnis_.fehler) return;
        ergebnis_.fehlerNummer = nummer;
        ergebnis_.fehler = text + ": „" + relPfad(eltern, name) + "“";
    }

    bool angehalten() {
        if (!halt_.stop_requested()) return false;
        std::lock_guard l(fehlerM_);
        if (!ergebnis_.fehler) {
            ergebnis_.fehlerNummer = EINTR;
            ergebnis_.fehler = "Unterbrochen – nur ein Teil ist gelöscht";
        }
        return true;
    }

    void bearbeite(Aufgabe a) {
        if (angehalten()) {
            abschluss(a.eltern);
            return;
        }
        const int elternFd = a.eltern->fd;
        int fd = ::openat(elternFd, a.name.c_str(), ordnerFlags);
        if (fd < 0 && istBerechtigung(errno) && repariereRechte(elternFd, a.name.c_str()))
            fd = ::openat(elternFd, a.name.c_str(), ordnerFlags);
        if (fd < 0) {
            const int e = errno;
            if (e == ELOOP || e == ENOTDIR) {
                // no longer a folder (a link was swapped in): remove the entry itself, never its target
                entferneEintrag(a.eltern, a.name.c_str());
            } else if (e != ENOENT) {
                melde(e, a.eltern, a.name);
            }
            abschluss(a.eltern);
            return;
        }
        if (plattform::istEinhaengepunkt(elternFd, fd)) {
            // another file system or a bind mount (whose device number is the same): what lies
            // there belongs elsewhere, so it is neither entered nor removed
            ::close(fd);
            if (a.eltern == wurzel_) melde(EXDEV, a.eltern, a.name);
            else melde(EXDEV, einhaengepunktText, a.eltern, a.name);
            abschluss(a.eltern);
            return;
        }
        auto k = std::make_shared<LoeschOrdner>();
        k->fd = fd;
        k->eltern = std::move(a.eltern);
        k->name = std::move(a.name);

        std::vector<std::string> unterordner;
        const int lesFd = ::dup(fd);
        DIR* d = lesFd >= 0 ? ::fdopendir(lesFd) : nullptr;
        if (!d) {
            if (lesFd >= 0) ::close(lesFd);
            melde(errno, k->eltern, k->name);
        } else {
            while (const dirent* e = ::readdir(d)) {
                if (angehalten()) break;
                const char* n = e->d_name;
                if (n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0'))) continue;
                bool ordner = e->d_type == DT_DIR;
                if (e->d_type == DT_UNKNOWN) {
                    struct stat es;
                    ordner = ::fstatat(fd, n, &es, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(es.st_mode);
                }
                if (!ordner && !entferneDatei(k, n)) ordner = true;  // became a folder meanwhile
                if (ordner) unterordner.emplace_back(n);
            }
            ::closedir(d);
        }
        if (!unterordner.empty()) {
            k->offen.fetch_add(static_cast<long>(unterordner.size()));
            for (auto& n : unterordner) arbeiter_.gib([this, a = Aufgabe{k, std::move(n)}]() mutable { bearbeite(std::move(a)); });
        }
        abschluss(k);
    }

    // Unlinks a non-folder entry; false when it turned out to be a folder.
    bool entferneDatei(const std::shared_ptr<LoeschOrdner>& k, const char* n) {
        if (::unlinkat(k->fd, n, 0) == 0) return true;
        int e = errno;
        if (e == EISDIR) return false;
        if (istBerechtigung(e) && !k->rechteRepariert.exchange(true) && repariereRechte(k->fd)) {
            if (::unlinkat(k->fd, n, 0) == 0) return true;
            e = errno;
            if (e == EISDIR) return false;
        }
        if (e != ENOENT) melde(e, k, n);
        return true;
    }

    void entferneEintrag(const std::shared_ptr<LoeschOrdner>& eltern, const char* n) {
        struct stat st;
        if (::fstatat(eltern->fd, n, &st, AT_SYMLINK_NOFOLLOW) != 0) return;
        if (S_ISDIR(st.st_mode)) {
            melde(ELOOP, eltern, n);  // flipping back and forth: give up on this one
            return;
        }
        if (::unlinkat(eltern->fd, n, 0) != 0 && errno != ENOENT) melde(errno, eltern, n);
    }

    void abschluss(std::shared_ptr<LoeschOrdner> k) {
        while (k) {
            if (k->offen.fetch_sub(1) != 1) return;
            if (!k->eltern) {  // the item itself is done
                arbeiter_.melde([this] { fertig_ = true; });
                return;
            }
            ::close(k->fd);
            k->fd = -1;
            LoeschOrdner& e = *k->eltern;
            if (::unlinkat(e.fd, k->name.c_str(), AT_REMOVEDIR) != 0) {
                int nr = errno;
                bool wieder = false;
                if (istBerechtigung(nr) && e.eltern && !e.rechteRepariert.exchange(true) && repariereRechte(e.fd))
                    wieder = ::unlinkat(e.fd, k->name.c_str(), AT_REMOVEDIR) == 0;
                if (!wieder) {
                    nr = errno;
                    if (nr != ENOENT) melde(nr, k->eltern, k->name);
                }
            }
            k = k->eltern;
        }
    }

    std::string wurzelName_;
    std::stop_token halt_;
    std::shared_ptr<LoeschOrdner> wurzel_;
    bool fertig_ = false;  // under the pool's lock
    std::mutex fehlerM_;
    LoeschErgebnis ergebnis_;
    Arbeiter arbeiter_;  // last: its helpers end before anything they use
};

LoeschErgebnis fehlschlag(int nummer, const std::string& wo) {
    return LoeschErgebnis{fehlerText(nummer) + ": „" + wo + "“", nummer};
}

}  // namespace

LoeschErgebnis loescheBaum(int elternFd, const std::string& name, unsigned faeden, std::stop_token halt) {
    CloudSchutz::aktivieren();  // listing must never download a cloud-only folder
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos)
        return LoeschErgebnis{"Kein gültiger Pfad: „" + name + "“ ist kein Name", EINVAL};
    struct stat st, elternSt;
    if (::fstatat(elternFd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0 || ::fstat(elternFd, &elternSt) != 0)
        return fehlschlag(errno, name);
    if (st.st_dev != elternSt.st_dev) return fehlschlag(EXDEV, name);  // mounted here: not ours to remove or empty
    if (!S_ISDIR(st.st_mode)) {
        if (::unlinkat(elternFd, name.c_str(), 0) != 0) return fehlschlag(errno, name);
        return {};
    }
    return Loescher(name, std::max(1u, faeden), std::move(halt)).lauf(elternFd);
}

LoeschErgebnis loescheBaum(const fs::path& eingabe, unsigned faeden) {
    // The path is used exactly as given: its parent is opened by the kernel, which resolves
    // "lnk/.." after following the link, just as the guard's realpath did. Text operations
    // would collapse "lnk/.." first and reach a different folder.
    const std::string& roh = eingabe.native();
    const size_t schnitt = roh.rfind('/');
    if (roh.empty() || roh.front() != '/' || schnitt == std::string::npos)
        return LoeschErgebnis{"Kein gültiger Pfad", EINVAL};
    const std::string name = roh.substr(schnitt + 1);
    if (name.empty() || name == "." || name == "..")
        return LoeschErgebnis{"Kein gültiger Pfad: „" + roh + "“ endet nicht mit einem Namen", EINVAL};
    const std::string eltern = schnitt == 0 ? std::string("/") : roh.substr(0, schnitt);
    if (imEchtenHomeWaehrendTest(eingabe)) return LoeschErgebnis{testSperreText, EPERM};

    const int elternFd = ::open(eltern.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (elternFd < 0) return fehlschlag(errno, eltern);
    LoeschErgebnis ergebnis = loescheBaum(elternFd, name, faeden);
    ::close(elternFd);
    return ergebnis;
}

}  // namespace hainbrem
