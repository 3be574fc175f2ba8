#pragma once
// The walk engine behind Groesse::durchlaufe and the measuring and scanning finders.
// Directory handles instead of paths: openat/fstatat relative to the open parent, so depth
// and path length are unlimited and the working directory is never touched. Each folder's
// entries are read in one go into a buffer the frame keeps, so no allocation happens per entry
// once the buffers have grown, and at most `maxOffen` descriptors are held however deep the
// tree goes (a closed ancestor is reopened through ".." of its child and checked by inode).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "plattform/plattform.hpp"

namespace hainbrem::Groesse {

enum class EintragArt {
    datei,         // anything that is not a directory: file, symbolic link (also dangling), other
    ordnerAnfang,  // a directory, before its contents
    ordnerEnde,    // the same directory, after its contents
    unlesbar,      // could not be read: no status, or a directory that cannot be listed
};

struct Eintrag {
    EintragArt art;
    const char* pfad;          // full path; valid only during the call
    int ebene;                 // depth below the root (root = 0)
    const struct stat* statt;  // lstat record; null for `unlesbar` without status
    // For callers that want to open or stat relative to the containing folder without
    // building paths: the containing folder's descriptor (-1 for the root) and the name in it.
    int ordnerFd;
    const char* name;
};

enum class Weiter { ja, ueberspringen, abbrechen };

using Besuch = std::function<Weiter(const Eintrag&)>;

}  // namespace hainbrem::Groesse

namespace hainbrem::intern {

using Groesse::Eintrag;
using Groesse::EintragArt;
using Groesse::Weiter;

inline constexpr int ordnerFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY;

// Reads all entries of `fd` (taking ownership) into `namen`. Returns the still open
// descriptor, or -1 (descriptor closed) when the folder cannot be listed.
inline int leseEintraege(int fd, std::vector<char>& namen) {
    if (plattform::leseEintraege(fd, namen)) return fd;
    ::close(fd);
    return -1;
}

class Wanderer {
public:
    // Walks the contents of the open folder `fd` (owned), whose ordnerAnfang the caller has
    // already reported, then reports its ordnerEnde. `abgabe(parentFd, name, statt, pfad, ebene)`
    // may take over a subfolder after its ordnerAnfang (returns true); the walker then leaves
    // it alone entirely. Returns false when the visitor said `abbrechen`.
    template <typename B, typename A>
    bool wandere(int fd, const struct stat& statt, const std::string& pfad, int ebene, dev_t geraet,
                 const char* name, B&& besuch, A&& abgabe) {
        pfad_ = pfad;
        geraet_ = geraet;
        abgebrochen_ = false;
        tiefe_ = 0;
        offen_ = 0;
        niedrigsterOffen_ = 0;
        if (!betrete(fd, statt, ebene, name, besuch)) return !abgebrochen_;
        while (tiefe_ > 0) {
            Rahmen& r = stapel_[tiefe_ - 1];
            if (r.pos >= r.namen.size()) {
                if (!verlasse(besuch)) return false;
                continue;
            }
            const char* n = r.namen.data() + r.pos + 1;
            const size_t nl = std::strlen(n);
            r.pos += nl + 2;
            const int pfd = r.dir;
            const size_t basis = pfad_.size();
            if (basis == 0 || pfad_.back() != '/') pfad_.push_back('/');
            pfad_.append(n, nl);
            struct stat st;
            const int ebeneKind = r.ebene + 1;
            if (::fstatat(pfd, n, &st, AT_SYMLINK_NOFOLLOW) != 0) {
                if (besuch(Eintrag{EintragArt::unlesbar, pfad_.c_str(), ebeneKind, nullptr, pfd, n}) ==
                    Weiter::abbrechen)
                    return abbruch();
            } else if (st.st_dev != geraet_) {
                // another file system mounted here: left out, as du -x does
            } else if (!S_ISDIR(st.st_mode)) {
                if (besuch(Eintrag{EintragArt::datei, pfad_.c_str(), ebeneKind, &st, pfd, n}) ==
                    Weiter::abbrechen)
                    return abbruch();
            } else {
                const Weiter w =
                    besuch(Eintrag{EintragArt::ordnerAnfang, pfad_.c_str(), ebeneKind, &st, pfd, n});
                if (w == Weiter::abbrechen) return abbruch();
                if (w == Weiter::ueberspringen) {
                    if (besuch(Eintrag{EintragArt::ordnerEnde, pfad_.c_str(), ebeneKind, &st, pfd, n}) ==
                        Weiter::abbrechen)
                        return abbruch();
                } else if (!abgabe(pfd, n, st, pfad_, ebeneKind)) {
                    const int kfd = ::openat(pfd, n, ordnerFlags);
                    if (kfd < 0) {
                        if (besuch(Eintrag{EintragArt::unlesbar, pfad_.c_str(), ebeneKind, &st, pfd, n}) ==
                            Weiter::abbrechen)
                            return abbruch();
                    } else {
                        if (betrete(kfd, st, ebeneKind, n, besuch)) continue;  // the frame keeps its path
                        if (abgebrochen_) return abbruch();
                    }
                }
            }
            pfad_.resize(basis);
        }
        return true;
    }

private:
    struct Rahmen {
        int dir = -1;
        struct stat statt {};
        size_t pfadLaenge = 0;  // path length including this folder's name
        int ebene = 0;
        std::vector<char> namen;
        size_t pos = 0;
        const char* name = nullptr;  // in the parent's buffer, which outlives this frame
    };
    static constexpr size_t maxOffen = 48;

    template <typename B>
    bool betrete(int fd, const struct stat& st, int ebene, const char* name, B& besuch) {
        if (stapel_.size() <= tiefe_) stapel_.emplace_back();
        Rahmen& r = stapel_[tiefe_];
        r.dir = leseEintraege(fd, r.namen);
        if (r.dir < 0) {
            const int pfd = tiefe_ == 0 ? -1 : stapel_[tiefe_ - 1].dir;
            if (besuch(Eintrag{EintragArt::unlesbar, pfad_.c_str(), ebene, &st, pfd, name}) == Weiter::abbrechen)
                abgebrochen_ = true;
            if (tiefe_ > 0) pfad_.resize(stapel_[tiefe_ - 1].pfadLaenge);
            return false;
        }
        r.statt = st;
        r.pfadLaenge = pfad_.size();
        r.ebene = ebene;
        r.pos = 0;
        r.name = name;
        ++tiefe_;
        ++offen_;
        while (offen_ > maxOffen && niedrigsterOffen_ + 1 < tiefe_) {
            Rahmen& alt = stapel_[niedrigsterOffen_++];
            if (alt.dir >= 0) {
                ::close(alt.dir);
                alt.dir = -1;
                --offen_;
            }
        }
        return true;
    }

    template <typename B>
    bool verlasse(B& besuch) {
        Rahmen& r = stapel_[tiefe_ - 1];
        int pfd = -1;
        if (tiefe_ > 1) {
            Rahmen& eltern = stapel_[tiefe_ - 2];
            if (eltern.dir < 0 && r.dir >= 0) oeffneWieder(r, eltern);
            if (eltern.dir >= 0) pfd = eltern.dir;
        }
        pfad_.resize(r.pfadLaenge);
        const Weiter w = besuch(Eintrag{EintragArt::ordnerEnde, pfad_.c_str(), r.ebene, &r.statt, pfd, r.name});
        if (r.dir >= 0) {
            ::close(r.dir);
            r.dir = -1;
            --offen_;
        }
        --tiefe_;
        if (niedrigsterOffen_ > tiefe_) niedrigsterOffen_ = tiefe_;
        if (tiefe_ > 0) {
            Rahmen& eltern = stapel_[tiefe_ - 1];
            // could not get back in: the rest of that folder stays unread
            if (eltern.dir < 0) eltern.pos = eltern.namen.size();
            pfad_.resize(eltern.pfadLaenge);
        }
        if (w == Weiter::abbrechen) return abbruch();
        return true;
    }

    void oeffneWieder(const Rahmen& kind, Rahmen& eltern) {
        const int fd = ::openat(kind.dir, "..", ordnerFlags);
        if (fd < 0) return;
        struct stat st;
        if (::fstat(fd, &st) != 0 || st.st_dev != eltern.statt.st_dev || st.st_ino != eltern.statt.st_ino) {
            ::close(fd);
            return;
        }
        eltern.dir = fd;
        ++offen_;
        if (niedrigsterOffen_ > tiefe_ - 2) niedrigsterOffen_ = tiefe_ - 2;
    }

    bool abbruch() {
        abgebrochen_ = true;
        for (size_t i = 0; i < tiefe_; ++i)
            if (stapel_[i].dir >= 0) {
                ::close(stapel_[i].dir);
                stapel_[i].dir = -1;
            }
        tiefe_ = 0;
        offen_ = 0;
        return false;
    }

public:
    ~Wanderer() {
        for (auto& r : stapel_)
            if (r.dir >= 0) ::close(r.dir);
    }
    bool abgebrochen() const { return abgebrochen_; }

private:
    std::vector<Rahmen> stapel_;
    size_t tiefe_ = 0;
    size_t offen_ = 0;
    size_t niedrigsterOffen_ = 0;
    std::string pfad_;
    dev_t geraet_ = 0;
    bool abgebrochen_ = false;
};

}  // namespace hainbrem::intern
