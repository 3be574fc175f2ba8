#include "kern/groesse.hpp"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "kern/rechnen.hpp"
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

// Two or more walkers share one tree: whoever runs dry says so, and a busy walker hands it
// the next subfolder it meets as an open descriptor.
class GeteilteMessung {
public:
    explicit GeteilteMessung(unsigned faeden) : gewuenscht_(faeden) {}

    void starte(int fd, const struct stat& st, std::string pfad) {
        auftraege_.push_back(Auftrag{fd, st, std::move(pfad)});
    }

    Messung messe() {
        std::vector<std::thread> helfer;
        for (unsigned i = 1; i < gewuenscht_; ++i) {
            // counted before the start, so no waiting walker ever sees a finished tree too early
            {
                std::lock_guard lock(sperre_);
                ++faeden_;
            }
            try {
                helfer.emplace_back([this] { arbeite(); });
            } catch (const std::system_error&) {
                // no thread to be had: the walkers already running do the work
                {
                    std::lock_guard lock(sperre_);
                    --faeden_;
                }
                cv_.notify_all();
                break;
            }
        }
        arbeite();
        for (auto& t : helfer) t.join();
        return Messung{summe_, unlesbar_};
    }

    void zaehleDatei(const struct stat& st, int64_t& summe) {
        if (st.st_nlink > 1) {
            std::lock_guard lock(linkSperre_);
            if (!gesehen_.emplace(st.st_dev, st.st_ino).second) return;
        }
        summe = addiere(summe, bloecke(st));
    }

private:
    struct Auftrag {
        int fd;
        struct stat statt;
        std::string pfad;
    };

    bool hole(Auftrag& a) {
        std::unique_lock lock(sperre_);
        ++wartend_;
        hungrig_.fetch_add(1, std::memory_order_relaxed);
        cv_.wait(lock, [this] { return !auftraege_.empty() || wartend_ == faeden_; });
        hungrig_.fetch_sub(1, std::memory_order_relaxed);
        if (auftraege_.empty()) {
            cv_.notify_all();
            return false;
        }
        --wartend_;
        a = std::move(auftraege_.back());
        auftraege_.pop_back();
        return true;
    }

    void arbeite() {
        intern::Wanderer wanderer;
        int64_t summe = 0;
        int64_t unlesbar = 0;
        Auftrag a;
        while (hole(a)) {
            auto besuch = [&](const Eintrag& e) {
                switch (e.art) {
                    case EintragArt::datei: zaehleDatei(*e.statt, summe); break;
                    case EintragArt::ordnerAnfang: summe = addiere(summe, bloecke(*e.statt)); break;
                    case EintragArt::unlesbar: ++unlesbar; break;
                    case EintragArt::ordnerEnde: break;
                }
                return Weiter::ja;
            };
            auto abgabe = [&](int pfd, const char* name, const struct stat& st, const std::string& pfad,
                              int) {
                if (hungrig_.load(std::memory_order_relaxed) == 0) return false;
                const int kfd = ::openat(pfd, name, intern::ordnerFlags);
                if (kfd < 0) return false;  // the walker reports it as unreadable
                {
                    std::lock_guard lock(sperre_);
                    auftraege_.push_back(Auftrag{kfd, st, pfad});
                }
                cv_.notify_one();
                return true;
            };
            wanderer.wandere(a.fd, a.statt, a.pfad, 0, a.statt.st_dev, "", besuch, abgabe);
        }
        std::lock_guard lock(summeSperre_);
        summe_ = addiere(summe_, summe);
        unlesbar_ += unlesbar;
    }

    const unsigned gewuenscht_;
    unsigned faeden_ = 1;  // walkers running: this thread and the helpers started so far
    std::mutex sperre_;
    std::condition_variable cv_;
    std::vector<Auftrag> auftraege_;
    unsigned wartend_ = 0;
    std::atomic<int> hungrig_{0};
    std::mutex summeSperre_;
    int64_t summe_ = 0;
    int64_t unlesbar_ = 0;
    std::mutex linkSperre_;
    std::set<std::pair<dev_t, ino_t>> gesehen_;
};

}  // namespace

Messung miss(const fs::path& wurzel, unsigned faeden) {
    CloudSchutz::aktivieren();
    const std::string pfad = ohneSchraegstrichAmEnde(wurzel);
    struct stat st;
    if (::lstat(pfad.c_str(), &st) != 0) return Messung{0, 1};
    if (!S_ISDIR(st.st_mode)) return Messung{bloecke(st), 0};
    const int fd = ::open(pfad.c_str(), intern::ordnerFlags);
    if (fd < 0) return Messung{bloecke(st), 1};
    GeteilteMessung messung(faeden == 0 ? 1 : faeden);
    messung.starte(fd, st, pfad);
    Messung m = messung.messe();
    m.bytes = addiere(bloecke(st), m.bytes);
    return m;
}

int64_t belegt(const fs::path& wurzel, unsigned faeden) { return miss(wurzel, faeden).bytes; }

std::optional<int64_t> privat(const fs::path& pfad) { return plattform::privateGroesse(pfad.c_str()); }

}  // namespace Groesse
}  // namespace hainbrem
