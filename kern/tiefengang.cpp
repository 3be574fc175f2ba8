// The deep scan's walk: walkers on one pool share a tree. A walker that meets a subfolder while
// a thread is idle hands it over; a thread waiting for such parts works on others meanwhile, so
// each folder's node is finished once everything below it has come back.
#include "kern/tiefengang.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <functional>

#include "basis/pfade.hpp"
#include "kern/eingriff.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/wanderer.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::Tiefenscan {

void Sammler::dazu(std::vector<DateiInfo>&& g, std::vector<DateiInfo>&& k, int64_t u) {
    std::lock_guard lock(sperre);
    if (grosse.empty())
        grosse = std::move(g);
    else
        grosse.insert(grosse.end(), std::make_move_iterator(g.begin()), std::make_move_iterator(g.end()));
    if (kandidaten.empty())
        kandidaten = std::move(k);
    else
        kandidaten.insert(kandidaten.end(), std::make_move_iterator(k.begin()), std::make_move_iterator(k.end()));
    unlesbar = addiere(unlesbar, u);
}

bool Sammler::erstesMal(dev_t geraet, ino_t inode) {
    std::lock_guard lock(linkSperre_);
    return gesehen_.emplace(geraet, inode).second;
}

std::string nameAus(std::string_view pfad) {
    if (pfad == "/") return "/";
    const size_t s = pfad.rfind('/');
    return std::string(s == std::string_view::npos ? pfad : pfad.substr(s + 1));
}

bool wirdKind(const Knoten& k) {
    return k.istOrdner ? k.bytes > knotenUeberOrdner : k.bytes >= knotenAbDatei;
}

namespace {

using intern::Eintrag;
using intern::EintragArt;
using intern::Weiter;

int64_t bloecke(const struct stat& st) { return multipliziere(alsInt64(st.st_blocks), 512); }

Zeitpunkt zeitAus(const timespec& t) { return Zeitpunkt(std::chrono::seconds(t.tv_sec)); }

std::string kindPfad(const std::string& eltern, std::string_view name) {
    std::string p = eltern;
    if (p.empty() || p.back() != '/') p.push_back('/');
    p.append(name);
    return p;
}

// Where a folder stands towards the candidate folder.
enum class Lage : uint8_t { ausserhalb, oberhalb, innen, bibliothek };

Lage lageVon(std::string_view pfad, const Kontext& k) {
    const std::string& w = k.lauf.kandidatenWurzel;
    if (w.empty()) return Lage::ausserhalb;
    if (liegtInOderIst(pfad, k.bibliothek)) return Lage::bibliothek;
    if (liegtInOderIst(pfad, w)) return Lage::innen;
    if (liegtInOderIst(w, pfad)) return Lage::oberhalb;
    return Lage::ausserhalb;
}

Lage lageDesKinds(Lage eltern, std::string_view pfad, const Kontext& k) {
    switch (eltern) {
        case Lage::ausserhalb:
        case Lage::bibliothek: return eltern;
        case Lage::oberhalb: return lageVon(pfad, k);
        case Lage::innen:
            return pfad.size() == k.bibliothek.size() && pfad == k.bibliothek ? Lage::bibliothek : Lage::innen;
    }
    return Lage::ausserhalb;
}

// Runs `arbeit(i)` for every i below n, at most maxGleichzeitig at once, and returns when all ran.
template <typename F>
void nebeneinander(Kontext& k, size_t n, F&& arbeit) {
    if (n == 0) return;
    std::mutex sperre;
    size_t naechster = 0;
    size_t fertig = 0;
    std::function<void(size_t)> starte = [&](size_t i) {
        k.arbeiter.gib([&, i] {
            arbeit(i);
            size_t weiter = n;
            {
                std::lock_guard lock(sperre);
                if (naechster < n) weiter = naechster++;
            }
            if (weiter < n) starte(weiter);
            k.arbeiter.melde([&] { ++fertig; });
        });
    };
    {
        std::lock_guard lock(sperre);
        naechster = std::min(n, maxGleichzeitig);
    }
    for (size_t i = 0; i < std::min(n, maxGleichzeitig); ++i) starte(i);
    k.arbeiter.warte([&] { return fertig == n; });
}

struct Abgabe {
    Knoten::Zeiger knoten;
    bool fertig = false;  // under the workshop's lock
};

// One open folder of a walk. Frames are reused, so their vectors keep their capacity.
struct Rahmen {
    int64_t bytes = 0;
    int64_t dateien = 0;
    bool unvollstaendig = false;
    bool istPaket = false;
    bool uebersprungen = false;
    Lage lage = Lage::ausserhalb;
    struct stat statt {};
    size_t pfadLaenge = 0;
    std::vector<Knoten::Zeiger> kinder;
    std::vector<std::shared_ptr<Abgabe>> abgaben;  // subfolders another thread walks
    std::vector<size_t> unfertigeKinder;           // indices into Gang::unfertig_
};

// A folder whose walk ended while subfolders handed away were still running: finished after
// they all return.
struct Unfertig {
    Knoten::Zeiger knoten;
    std::vector<std::shared_ptr<Abgabe>> abgaben;
    std::vector<size_t> kinder;
};

// Per thread: a walk's traversal never waits, so its frames and walker are free again
// whenever this thread picks up other work.
struct Werkbank {
    std::optional<intern::Wanderer> wanderer;
    std::vector<Rahmen> rahmen;
    std::string aktuell;  // path of the folder entered last; every open frame is a prefix
};
thread_local Werkbank werkbank;

class Gang {
public:
    explicit Gang(Kontext& k) : k_(k), bank_(werkbank) {}

    // Walks the folder (fd open, or -1 when it could not be opened) or file at `pfad`.
    Knoten::Zeiger geh(int fd, const struct stat& st, const std::string& pfad, Lage lage) {
        if (!S_ISDIR(st.st_mode)) {
            datei(pfad.c_str(), st, lage);
            abschluss();
            return wurzel_;
        }
        if (!bank_.wanderer || bank_.wanderer->abgebrochen()) bank_.wanderer.emplace();
        tiefe_ = 0;
        const std::string name = nameAus(pfad);
        bank_.aktuell.assign(pfad);
        oeffne(st, pfad.size(), lage, name);
        if (fd < 0) {
            zaehleUnlesbar();
            schliesse(pfad);
        } else if (rahmen(0).uebersprungen) {
            ::close(fd);
            schliesse(pfad);
        } else {
            bank_.wanderer->wandere(
                fd, st, pfad, 0, st.st_dev, name.c_str(), [this](const Eintrag& e) { return besuche(e); },
                [this](int pfd, const char* n, const struct stat& s, const std::string& p, int) {
                    return gibAb(pfd, n, s, p);
                });
        }
        // cancelled: close what is still open, so every node holds what was counted below it
        while (tiefe_ > 0) schliesse(std::string_view(bank_.aktuell).substr(0, rahmen(tiefe_ - 1).pfadLaenge));
        abschluss();
        return wurzel_;
    }

private:
    Rahmen& rahmen(size_t i) { return bank_.rahmen[i]; }
    Rahmen& oben() { return bank_.rahmen[tiefe_ - 1]; }

    void zaehle(int64_t dateien, int64_t bytes) {
        lokaleDateien_ += dateien;
        lokaleBytes_ = addiere(lokaleBytes_, bytes);
        if (lokaleDateien_ >= 2000) gibFortschritt();
    }
    void gibFortschritt() {
        if (lokaleDateien_ == 0 && lokaleBytes_ == 0) return;
        k_.steuerung.dazu(lokaleDateien_, lokaleBytes_);
        k_.zuwachs.pruefe();
        lokaleDateien_ = 0;
        lokaleBytes_ = 0;
    }
    void zaehleUnlesbar() {
        ++unlesbar_;
        if (tiefe_ > 0) oben().unvollstaendig = true;
    }

    DateiInfo info(const char* pfad, const struct stat& st, int64_t groesse, int64_t belegt, bool paket) {
        return DateiInfo{pfad,
                         groesse,
                         belegt,
                         zeitAus(st.st_mtim),
                         zeitAus(st.st_atim),
                         static_cast<uint64_t>(st.st_ino),
                         paket};
    }

    void datei(const char* pfad, const struct stat& st, Lage lage) {
        int64_t belegt = bloecke(st);
        if (st.st_nlink > 1 && !k_.sammler.erstesMal(st.st_dev, st.st_ino)) belegt = 0;
        zaehle(1, belegt);
        const bool regulaer = S_ISREG(st.st_mode);
        if (tiefe_ == 0) {  // the walk was started on a file
            wurzel_ = std::make_shared<Knoten>(nameAus(pfad), pfad, false);
            wurzel_->bytes = belegt;
            wurzel_->dateien = 1;
        } else {
            Rahmen& r = oben();
            r.bytes = addiere(r.bytes, belegt);
            ++r.dateien;
            lage = r.lage;
        }
        // files inside a package are part of that one piece
        if (!regulaer || paketTiefe_ >= 0) return;
        if (belegt >= knotenAbDatei && tiefe_ > 0) {
            auto knoten = std::make_shared<Knoten>(nameAus(pfad), pfad, false);
            knoten->bytes = belegt;
            knoten->dateien = 1;
            oben().kinder.push_back(std::move(knoten));
        }
        if (belegt >= grossAb) grosse_.push_back(info(pfad, st, st.st_size, belegt, false));
        if (lage == Lage::innen && st.st_size >= kandidatAb && belegt >= 1 && !plattform::istDatenlos(st))
            kandidaten_.push_back(info(pfad, st, st.st_size, belegt, false));
    }

    void oeffne(const struct stat& st, size_t pfadLaenge, Lage lage, std::string_view name) {
        if (bank_.rahmen.size() <= tiefe_) bank_.rahmen.emplace_back();
        Rahmen& r = bank_.rahmen[tiefe_++];
        r.bytes = 0;
        r.dateien = 0;
        r.unvollstaendig = false;
        r.istPaket = false;
        r.lage = lage;
        r.statt = st;
        r.pfadLaenge = pfadLaenge;
        r.kinder.clear();
        r.abgaben.clear();
        r.unfertigeKinder.clear();
        const std::string_view pfad = std::string_view(bank_.aktuell).substr(0, pfadLaenge);
        // cloud-only content would be downloaded by listing; excluded paths are not looked at
        r.uebersprungen = plattform::istDatenlos(st) || (!k_.lauf.aus.empty() && k_.lauf.aus.contains(pfad));
        if (!r.uebersprungen && paketTiefe_ < 0 && istPaketName(name)) {
            r.istPaket = true;
            paketTiefe_ = static_cast<int>(tiefe_ - 1);
        }
    }

    void schliesse(std::string_view pfad) {
        const size_t ich = tiefe_ - 1;
        Rahmen& r = rahmen(ich);
        if (r.uebersprungen) {
            --tiefe_;
            return;
        }
        const int64_t eigene = bloecke(r.statt);
        r.bytes = addiere(r.bytes, eigene);
        zaehle(0, eigene);
        if (paketTiefe_ == static_cast<int>(ich)) {
            r.kinder.clear();  // a package is one piece
            if (r.bytes >= grossAb) {
                const std::string p(pfad);
                grosse_.push_back(info(p.c_str(), r.statt, r.bytes, r.bytes, true));
            }
            paketTiefe_ = -1;
        }
        const bool wurzel = ich == 0;
        const bool unfertig = !r.abgaben.empty() || !r.unfertigeKinder.empty();
        Knoten::Zeiger knoten;
        if (unfertig || wurzel || (r.bytes > knotenUeberOrdner && paketTiefe_ < 0)) {
            knoten = std::make_shared<Knoten>(nameAus(pfad), std::string(pfad), true);
            knoten->bytes = r.bytes;
            knoten->dateien = r.dateien;
            knoten->istPaket = r.istPaket;
            knoten->unvollstaendig = r.unvollstaendig;
            knoten->kinder = std::move(r.kinder);
            if (!unfertig) knoten->kappe();
        }
        --tiefe_;
        if (unfertig) {
            unfertig_.push_back(Unfertig{knoten, std::move(r.abgaben), std::move(r.unfertigeKinder)});
            if (wurzel)
                wurzel_ = knoten;
            else
                oben().unfertigeKinder.push_back(unfertig_.size() - 1);
            return;
        }
        if (wurzel) {
            wurzel_ = std::move(knoten);
            return;
        }
        Rahmen& eltern = oben();
        eltern.bytes = addiere(eltern.bytes, r.bytes);
        eltern.dateien = addiere(eltern.dateien, r.dateien);
        if (r.unvollstaendig) eltern.unvollstaendig = true;
        if (knoten) eltern.kinder.push_back(std::move(knoten));
    }

    Weiter besuche(const Eintrag& e) {
        if (k_.steuerung.angehalten()) return Weiter::abbrechen;
        switch (e.art) {
            case EintragArt::datei: datei(e.pfad, *e.statt, Lage::ausserhalb); break;
            case EintragArt::ordnerAnfang: {
                const size_t laenge = std::strlen(e.pfad);
                bank_.aktuell.assign(e.pfad, laenge);
                oeffne(*e.statt, laenge, lageDesKinds(oben().lage, bank_.aktuell, k_), e.name);
                if (oben().uebersprungen) return Weiter::ueberspringen;
                break;
            }
            case EintragArt::ordnerEnde: schliesse(e.pfad); break;
            case EintragArt::unlesbar:
                zaehleUnlesbar();
                // a folder that was announced but cannot be listed ends here
                if (e.statt && S_ISDIR(e.statt->st_mode) && tiefe_ > 0) schliesse(e.pfad);
                break;
        }
        return Weiter::ja;
    }

    // After the walker announced a subfolder (its frame is on top): let an idle thread walk it.
    bool gibAb(int pfd, const char* name, const struct stat& st, const std::string& pfad) {
        // a folder without subfolders (link count 2) is quicker done here than handed over
        if (paketTiefe_ >= 0 || st.st_nlink == 2 || !k_.arbeiter.hungrig()) return false;
        const int kfd = ::openat(pfd, name, intern::ordnerFlags);
        if (kfd < 0) return false;  // the walker reports it
        const Lage lage = oben().lage;
        --tiefe_;
        auto platz = std::make_shared<Abgabe>();
        oben().abgaben.push_back(platz);
        alleAbgaben_.push_back(platz);
        Kontext& k = k_;
        k_.arbeiter.gib([&k, platz, kfd, st, p = pfad, lage] {
            Gang gang(k);
            auto knoten = gang.geh(kfd, st, p, lage);
            k.arbeiter.melde([&] {
                platz->knoten = std::move(knoten);
                platz->fertig = true;
            });
        });
        return true;
    }

    void nimmAuf(Knoten& eltern, const Knoten::Zeiger& kind) {
        eltern.bytes = addiere(eltern.bytes, kind->bytes);
        eltern.dateien = addiere(eltern.dateien, kind->dateien);
        if (kind->unvollstaendig) eltern.unvollstaendig = true;
        if (kind->bytes > knotenUeberOrdner) eltern.kinder.push_back(kind);
    }

    void abschluss() {
        gibFortschritt();
        k_.sammler.dazu(std::move(grosse_), std::move(kandidaten_), unlesbar_);
        if (alleAbgaben_.empty()) return;
        k_.arbeiter.warte([this] {
            return std::all_of(alleAbgaben_.begin(), alleAbgaben_.end(), [](const auto& a) { return a->fertig; });
        });
        // left in post-order, so every unfinished child is complete before its parent
        for (auto& u : unfertig_) {
            Knoten& knoten = *u.knoten;
            for (const auto& a : u.abgaben)
                if (a->knoten) nimmAuf(knoten, a->knoten);
            for (const size_t i : u.kinder) nimmAuf(knoten, unfertig_[i].knoten);
            knoten.kappe();
        }
    }

    Kontext& k_;
    Werkbank& bank_;
    size_t tiefe_ = 0;
    int paketTiefe_ = -1;
    int64_t lokaleDateien_ = 0;
    int64_t lokaleBytes_ = 0;
    int64_t unlesbar_ = 0;
    std::vector<DateiInfo> grosse_;
    std::vector<DateiInfo> kandidaten_;
    std::vector<Unfertig> unfertig_;
    std::vector<std::shared_ptr<Abgabe>> alleAbgaben_;
    Knoten::Zeiger wurzel_;
};

Knoten::Zeiger gehPfad(Kontext& k, const std::string& pfad) {
    struct stat st;
    if (::lstat(pfad.c_str(), &st) != 0) {
        k.sammler.dazu({}, {}, 1);
        return nullptr;
    }
    if (k.lauf.geraet && st.st_dev != *k.lauf.geraet) return nullptr;
    const int fd = S_ISDIR(st.st_mode) ? ::open(pfad.c_str(), intern::ordnerFlags) : -1;
    Gang gang(k);
    return gang.geh(fd, st, pfad, lageVon(pfad, k));
}

Knoten::Zeiger teile(Kontext& k, const std::string& pfad) {
    if (k.steuerung.angehalten()) return nullptr;
    if (!k.aufteilen.contains(pfad)) return gehPfad(k, pfad);
    struct stat st;
    if (::lstat(pfad.c_str(), &st) != 0) {
        k.sammler.dazu({}, {}, 1);
        return nullptr;
    }
    if (!S_ISDIR(st.st_mode)) return gehPfad(k, pfad);
    if (k.lauf.geraet && st.st_dev != *k.lauf.geraet) return nullptr;
    if (plattform::istDatenlos(st)) return nullptr;
    auto knoten = std::make_shared<Knoten>(nameAus(pfad), pfad, true);
    knoten->bytes = bloecke(st);
    k.steuerung.dazu(0, knoten->bytes);
    const int fd = ::open(pfad.c_str(), intern::ordnerFlags);
    DIR* d = fd < 0 ? nullptr : ::fdopendir(fd);
    if (!d) {
        if (fd >= 0) ::close(fd);
        knoten->unvollstaendig = true;
        k.sammler.dazu({}, {}, 1);
        return knoten;
    }
    std::vector<std::string> eintraege;
    int64_t unlesbar = 0;
    while (const dirent* e = ::readdir(d)) {
        const char* n = e->d_name;
        if (n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0'))) continue;
        std::string kp = kindPfad(pfad, n);
        if (k.lauf.aus.contains(kp)) continue;
        struct stat kst;
        if (::fstatat(::dirfd(d), n, &kst, AT_SYMLINK_NOFOLLOW) != 0) {
            ++unlesbar;
            continue;
        }
        if (kst.st_dev != st.st_dev) continue;  // another file system mounted here
        eintraege.push_back(std::move(kp));
    }
    ::closedir(d);
    if (unlesbar > 0) {
        knoten->unvollstaendig = true;
        k.sammler.dazu({}, {}, unlesbar);
    }
    std::vector<Knoten::Zeiger> ergebnisse(eintraege.size());
    nebeneinander(k, eintraege.size(), [&](size_t i) { ergebnisse[i] = teile(k, eintraege[i]); });
    for (auto& kind : ergebnisse) {
        if (!kind) continue;
        knoten->bytes = addiere(knoten->bytes, kind->bytes);
        knoten->dateien = addiere(knoten->dateien, kind->dateien);
        if (kind->unvollstaendig) knoten->unvollstaendig = true;
        if (wirdKind(*kind)) knoten->kinder.push_back(std::move(kind));
    }
    knoten->sortiere();
    return knoten;
}

void sortiereGrosse(std::vector<DateiInfo>& g) {
    std::stable_sort(g.begin(), g.end(), [](const DateiInfo& a, const DateiInfo& b) { return a.belegt > b.belegt; });
}

}  // namespace

namespace {

// a function's own static, so it is there even for a use during static initialisation
Eingriff<Zuwachs::Messung>& messEingriff() {
    static Eingriff<Zuwachs::Messung> e;
    return e;
}

}  // namespace

Zuwachs::Messung Zuwachs::setzeMessung(Messung messung) {
    return messEingriff().setze(std::move(messung));
}

Zuwachs::Zuwachs(Arbeiter& arbeiter)
    : arbeiter_(arbeiter),
      messung_(messEingriff().lies()),
      kerne_(Arbeiter::kerne(1, 256)),
      obergrenze_(std::clamp(8 * kerne_, 32u, 64u)),
      wand_(std::chrono::steady_clock::now()),
      zeit_(cpu()) {
    naechste_.store((wand_ + messung_.takt).time_since_epoch().count(), std::memory_order_relaxed);
}

std::chrono::nanoseconds Zuwachs::cpu() const {
    if (messung_.prozessorZeit) return messung_.prozessorZeit();
    // processor time of all threads of the process; std::clock counts in CLOCKS_PER_SEC
    return std::chrono::nanoseconds(static_cast<int64_t>(std::clock()) * (1'000'000'000 / CLOCKS_PER_SEC));
}

void Zuwachs::pruefe() {
    const auto jetzt = std::chrono::steady_clock::now();
    if (jetzt.time_since_epoch().count() < naechste_.load(std::memory_order_relaxed)) return;
    std::unique_lock lock(sperre_, std::try_to_lock);
    if (!lock || jetzt.time_since_epoch().count() < naechste_.load(std::memory_order_relaxed)) return;
    const std::chrono::nanoseconds zeit = cpu();
    const double beschaeftigt = std::chrono::duration<double>(zeit - zeit_).count() /
                                std::max(std::chrono::duration<double>(jetzt - wand_).count(), 1e-9);
    wand_ = jetzt;
    zeit_ = zeit;
    naechste_.store((jetzt + messung_.takt).time_since_epoch().count(), std::memory_order_relaxed);
    const unsigned f = arbeiter_.faeden();
    if (f >= obergrenze_ || arbeiter_.hungrig()) return;
    // every thread working, yet the processors are mostly idle: the threads wait on the disk
    if (beschaeftigt < 0.75 * std::min(f, kerne_)) arbeiter_.wachse(std::min(obergrenze_, 2 * f));
}

unsigned Scan::faeden() { return Arbeiter::kerne(2, 8); }

Scan::Scan(const Lauf& lauf, const std::set<std::string, std::less<>>& aufteilen, Steuerung* steuerung)
    : s_(steuerung ? *steuerung : ersatz_),
      arbeiter_(faeden(), Arbeiter::Reihenfolge::aeltesteZuerst, Arbeiter::Helfer::nachrangig),
      zuwachs_(arbeiter_),
      kontext_{lauf, aufteilen, sammler_, s_, arbeiter_, zuwachs_, lauf.kandidatenWurzel + "/Library"} {}

std::vector<Knoten::Zeiger> Scan::lauf(const std::vector<std::string>& wurzeln) {
    std::vector<Knoten::Zeiger> ergebnisse(wurzeln.size());
    nebeneinander(kontext_, wurzeln.size(), [&](size_t i) { ergebnisse[i] = teile(kontext_, wurzeln[i]); });
    return ergebnisse;
}

TiefenscanErgebnis Scan::ergebnis(Knoten::Zeiger wurzel, std::chrono::steady_clock::time_point start,
                                  std::vector<std::string> ausgelassen, bool ganzePlatte) {
    TiefenscanErgebnis e;
    e.wurzel = std::move(wurzel);
    {
        std::lock_guard lock(sammler_.sperre);
        e.grosse = std::move(sammler_.grosse);
        e.kandidaten = std::move(sammler_.kandidaten);
        e.unlesbar = sammler_.unlesbar;
    }
    sortiereGrosse(e.grosse);
    e.ausgelassen = std::move(ausgelassen);
    e.dauer = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    e.datum = std::chrono::system_clock::now();
    e.ganzePlatte = ganzePlatte;
    return e;
}

Knoten::Zeiger scanne(const std::string& pfad, const std::set<std::string, std::less<>>& aufteilen,
                      const Lauf& lauf, Sammler& sammler, Steuerung& steuerung) {
    Arbeiter arbeiter(Scan::faeden(), Arbeiter::Reihenfolge::aeltesteZuerst, Arbeiter::Helfer::nachrangig);
    Zuwachs zuwachs(arbeiter);
    Kontext k{lauf, aufteilen, sammler, steuerung, arbeiter, zuwachs, lauf.kandidatenWurzel + "/Library"};
    return teile(k, pfad);
}

Knoten::Zeiger walk(const std::string& pfad, const Lauf& lauf, Sammler& sammler, Steuerung& steuerung) {
    return scanne(pfad, {}, lauf, sammler, steuerung);
}

}  // namespace hainbrem::Tiefenscan
