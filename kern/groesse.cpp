#include "kern/groesse.hpp"

#include <algorithm>
#include <mutex>
#include <set>
#include <utility>

#include "kern/arbeiter.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/wanderer.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem {

void CloudSchutz::aktivieren() { plattform::cloudSchutzAktivieren(); }

bool CloudSchutz::nurInCloud(const std::filesystem::path& pfad) {
    struct stat st;
    if (::lstat(pfad.c_str(), &st) != 0) return false;
    return plattform::istDatenlos(st);
}

namespace Groesse {

namespace {

std::string ohneSchraegstrichAmEnde(const fs::path& p) {
    std::string s = p.native();
    while (s.size() > 1 && s.back() == '/') s.pop_back();
    return s;
}

int64_t bloecke(const struct stat& st) { return multipliziere(alsInt64(st.st_blocks), 512); }

}  // namespace

void durchlaufe(const fs::path& wurzel, const Besuch& besuch) {
    CloudSchutz::aktivieren();
    const std::string pfad = ohneSchraegstrichAmEnde(wurzel);
    const std::string name = wurzel.filename().native();
    struct stat st;
    if (::lstat(pfad.c_str(), &st) != 0) {
        besuch(Eintrag{EintragArt::unlesbar, pfad.c_str(), 0, nullptr, -1, name.c_str()});
        return;
    }
    if (!S_ISDIR(st.st_mode)) {
        besuch(Eintrag{EintragArt::datei, pfad.c_str(), 0, &st, -1, name.c_str()});
        return;
    }
    const Weiter w = besuch(Eintrag{EintragArt::ordnerAnfang, pfad.c_str(), 0, &st, -1, name.c_str()});
    if (w == Weiter::abbrechen) return;
    if (w == Weiter::ueberspringen) {
        besuch(Eintrag{EintragArt::ordnerEnde, pfad.c_str(), 0, &st, -1, name.c_str()});
        return;
    }
    const int fd = ::open(pfad.c_str(), intern::ordnerFlags);
    if (fd < 0) {
        besuch(Eintrag{EintragArt::unlesbar, pfad.c_str(), 0, &st, -1, name.c_str()});
        return;
    }
    intern::Wanderer w2;
    w2.wandere(fd, st, pfad, 0, st.st_dev, name.c_str(), besuch,
               [](int, const char*, const struct stat&, const std::string&, int) { return false; });
}

namespace {

// Walkers on several threads share one tree: a walker that meets a subfolder while some thread
// of the pool is idle hands it over as an open descriptor.
class GeteilteMessung {
public:
    GeteilteMessung(unsigned faeden, Steuerung& steuerung)
        : arbeiter_(faeden, Arbeiter::Reihenfolge::neuesteZuerst), s_(steuerung) {}

    // Walks the open folder `fd` here and waits for every part handed over.
    Messung messe(int fd, const struct stat& st, const std::string& pfad, int64_t& neueste) {
        geh(fd, st, pfad);
        arbeiter_.warte([this] { return offen_ == 0; });
        neueste = neueste_;
        return Messung{summe_, unlesbar_, s_.angehalten()};
    }

private:
    // One walker per thread, reused for every part that thread takes.
    static intern::Wanderer& wanderer() {
        thread_local std::optional<intern::Wanderer> w;
        if (!w || w->abgebrochen()) w.emplace();
        return *w;
    }

    void geh(int fd, const struct stat& st, const std::string& pfad) {
        int64_t summe = 0;
        int64_t unlesbar = 0;
        int64_t neueste = 0;
        int64_t eintraege = 0;
        int64_t gemeldet = 0;  // bytes of `summe` already in the control
        auto melde = [&] {
            s_.dazu(eintraege, summe - gemeldet);
            eintraege = 0;
            gemeldet = summe;
        };
        auto besuch = [&](const Eintrag& e) {
            if (s_.angehalten()) return Weiter::abbrechen;
            if (e.statt) neueste = std::max<int64_t>(neueste, e.statt->st_mtime);
            switch (e.art) {
                case EintragArt::datei: zaehleDatei(*e.statt, summe); break;
                case EintragArt::ordnerAnfang: summe = addiere(summe, bloecke(*e.statt)); break;
                case EintragArt::unlesbar: ++unlesbar; break;
                case EintragArt::ordnerEnde: return Weiter::ja;
            }
            if (++eintraege == 4096) melde();
            return Weiter::ja;
        };
        auto abgabe = [&](int pfd, const char* name, const struct stat& kst, const std::string& kpfad, int) {
            if (!arbeiter_.hungrig()) return false;
            const int kfd = ::openat(pfd, name, intern::ordnerFlags);
            if (kfd < 0) return false;  // the walker reports it as unreadable
            arbeiter_.melde([this] { ++offen_; });
            arbeiter_.gib([this, kfd, kst, p = kpfad] {
                geh(kfd, kst, p);
                arbeiter_.melde([this] { --offen_; });
            });
            return true;
        };
        wanderer().wandere(fd, st, pfad, 0, st.st_dev, "", besuch, abgabe);
        melde();
        std::lock_guard lock(summeSperre_);
        summe_ = addiere(summe_, summe);
        unlesbar_ += unlesbar;
        neueste_ = std::max(neueste_, neueste);
    }

    void zaehleDatei(const struct stat& st, int64_t& summe) {
        if (st.st_nlink > 1) {
            std::lock_guard lock(linkSperre_);
            if (!gesehen_.emplace(st.st_dev, st.st_ino).second) return;
        }
        summe = addiere(summe, bloecke(st));
    }

    Arbeiter arbeiter_;
    Steuerung& s_;
    size_t offen_ = 0;  // parts handed over and not yet done; under the pool's lock
    std::mutex summeSperre_;
    int64_t summe_ = 0;
    int64_t unlesbar_ = 0;
    int64_t neueste_ = 0;
    std::mutex linkSperre_;
    std::set<std::pair<dev_t, ino_t>> gesehen_;
};

}  // namespace

Messung miss(const fs::path& wurzel, unsigned faeden, Steuerung* steuerung) {
    int64_t neueste = 0;
    return miss(wurzel, neueste, faeden, steuerung);
}

Messung miss(const fs::path& wurzel, int64_t& neueste, unsigned faeden, Steuerung* steuerung) {
    CloudSchutz::aktivieren();
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    const std::string pfad = ohneSchraegstrichAmEnde(wurzel);
    struct stat st;
    Messung m{0, 0, s.angehalten()};
    if (m.angehalten) return m;
    if (::lstat(pfad.c_str(), &st) != 0) {
        m.unlesbar = 1;
    } else if (!S_ISDIR(st.st_mode)) {
        m.bytes = bloecke(st);
        neueste = st.st_mtime;
    } else if (const int fd = ::open(pfad.c_str(), intern::ordnerFlags); fd < 0) {
        m.bytes = bloecke(st);
        m.unlesbar = 1;
        neueste = st.st_mtime;
    } else {
        m = GeteilteMessung(faeden == 0 ? 1 : faeden, s).messe(fd, st, pfad, neueste);
        m.bytes = addiere(bloecke(st), m.bytes);
        neueste = std::max<int64_t>(neueste, st.st_mtime);
        s.dazu(0, bloecke(st));
        return m;
    }
    s.dazu(1, m.bytes);
    return m;
}

int64_t belegt(const fs::path& wurzel, unsigned faeden, Steuerung* steuerung) {
    return miss(wurzel, faeden, steuerung).bytes;
}

std::optional<int64_t> privat(const fs::path& pfad) { return plattform::privateGroesse(pfad.c_str()); }

}  // namespace Groesse
}  // namespace hainbrem
