#include "kern/tiefenscan.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>

#include "basis/pfade.hpp"
#include "kern/arbeiter.hpp"
#include "kern/rechnen.hpp"
#include "kern/text.hpp"
#include "kern/wanderer.hpp"
#include "plattform/plattform.hpp"
#include "plattform/scan.hpp"

namespace hainbrem {

std::string DateiInfo::name() const {
    const size_t s = pfad.rfind('/');
    return s == std::string::npos ? pfad : pfad.substr(s + 1);
}

void Knoten::dazu(Zeiger kind) {
    bytes = addiere(bytes, kind->bytes);
    dateien = addiere(dateien, kind->dateien);
    if (kind->unvollstaendig) unvollstaendig = true;
    kinder.push_back(std::move(kind));
}

int64_t Knoten::kleinkram() const {
    int64_t summe = 0;
    for (const auto& k : kinder) summe = addiere(summe, k->bytes);
    return std::max<int64_t>(subtrahiere(bytes, summe), 0);
}

std::optional<std::vector<Knoten::Zeiger>> Knoten::weg(std::string_view ziel) const {
    if (pfad == ziel) return std::vector<Zeiger>{};
    for (const auto& k : kinder) {
        if (auto rest = k->weg(ziel)) {
            rest->insert(rest->begin(), k);
            return rest;
        }
    }
    return std::nullopt;
}

Knoten::Zeiger Knoten::finde(const Zeiger& selbst, std::string_view ziel) {
    if (!selbst) return nullptr;
    const auto w = selbst->weg(ziel);
    if (!w) return nullptr;
    return w->empty() ? selbst : w->back();
}

namespace {
bool groesserZuerst(const Knoten::Zeiger& a, const Knoten::Zeiger& b) {
    if (a->bytes != b->bytes) return a->bytes > b->bytes;
    return a->pfad < b->pfad;  // a stable order for equal sizes, whatever thread finished first
}

// Sorts largest first and keeps the first maxKinder.
void kappe(std::vector<Knoten::Zeiger>& kinder) {
    if (kinder.size() > Tiefenscan::maxKinder) {
        std::partial_sort(kinder.begin(), kinder.begin() + Tiefenscan::maxKinder, kinder.end(), groesserZuerst);
        kinder.resize(Tiefenscan::maxKinder);
    } else {
        std::sort(kinder.begin(), kinder.end(), groesserZuerst);
    }
}
}  // namespace

void Knoten::sortiere() { std::sort(kinder.begin(), kinder.end(), groesserZuerst); }

namespace Tiefenscan {

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

namespace {

using intern::Eintrag;
using intern::EintragArt;
using intern::Weiter;

int64_t bloecke(const struct stat& st) { return multipliziere(alsInt64(st.st_blocks), 512); }

Zeitpunkt zeitAus(const timespec& t) { return Zeitpunkt(std::chrono::seconds(t.tv_sec)); }

std::string nameAus(std::string_view pfad) {
    if (pfad == "/") return "/";
    const size_t s = pfad.rfind('/');
    return std::string(s == std::string_view::npos ? pfad : pfad.substr(s + 1));
}

std::string kindPfad(const std::string& eltern, std::string_view name) {
    std::string p = eltern;
    if (p.empty() || p.back() != '/') p.push_back('/');
    p.append(name);
    return p;
}

unsigned anzahlFaeden() { return Arbeiter::kerne(2, 8); }

struct Kontext {
    const Lauf& lauf;
    const std::set<std::string, std::less<>>& aufteilen;
    Sammler& sammler;
    Steuerung& steuerung;
    Arbeiter& arbeiter;
    std::string bibliothek;  // kandidatenWurzel + "/Library"
};

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
            if (!unfertig) kappe(r.kinder);
            knoten->kinder = std::move(r.kinder);
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
            kappe(knoten.kinder);
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

bool wirdKind(const Knoten& k) {
    return k.istOrdner ? k.bytes > knotenUeberOrdner : k.bytes >= knotenAbDatei;
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

// One scan: its own pool and collector; `wurzeln` are scanned side by side.
struct Scan {
    Scan(const Lauf& lauf, const std::set<std::string, std::less<>>& aufteilen, Steuerung* steuerung)
        : s(steuerung ? *steuerung : ersatz),
          arbeiter(anzahlFaeden()),
          kontext{lauf, aufteilen, sammler, s, arbeiter, lauf.kandidatenWurzel + "/Library"} {}

    std::vector<Knoten::Zeiger> lauf(const std::vector<std::string>& wurzeln) {
        std::vector<Knoten::Zeiger> ergebnisse(wurzeln.size());
        nebeneinander(kontext, wurzeln.size(), [&](size_t i) { ergebnisse[i] = teile(kontext, wurzeln[i]); });
        return ergebnisse;
    }

    Steuerung ersatz;  // when the caller passed none
    Steuerung& s;
    Sammler sammler;
    Arbeiter arbeiter;
    Kontext kontext;
};

void sortiereGrosse(std::vector<DateiInfo>& g) {
    std::stable_sort(g.begin(), g.end(), [](const DateiInfo& a, const DateiInfo& b) { return a.belegt > b.belegt; });
}

TiefenscanErgebnis ergebnis(Knoten::Zeiger wurzel, Sammler& s, std::chrono::steady_clock::time_point start,
                            std::vector<std::string> ausgelassen, bool ganzePlatte) {
    TiefenscanErgebnis e;
    e.wurzel = std::move(wurzel);
    {
        std::lock_guard lock(s.sperre);
        e.grosse = std::move(s.grosse);
        e.kandidaten = std::move(s.kandidaten);
        e.unlesbar = s.unlesbar;
    }
    sortiereGrosse(e.grosse);
    e.ausgelassen = std::move(ausgelassen);
    e.dauer = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    e.datum = std::chrono::system_clock::now();
    e.ganzePlatte = ganzePlatte;
    return e;
}

std::vector<std::string> containerOrdner(const std::string& home) {
    return {home + "/Library/Containers", home + "/Library/Group Containers", home + "/Library/Daemon Containers"};
}

std::string normiert(const fs::path& p) {
    std::error_code f;
    const fs::path echt = fs::canonical(p, f);
    return std::string(ohneSchraegstrichAmEnde(f ? p.native() : echt.native()));
}

std::string dateiText(const std::string& pfad) {
    std::ifstream ein(pfad);
    if (!ein) return {};
    std::ostringstream s;
    s << ein.rdbuf();
    return s.str();
}

Knoten::Zeiger virtuell(std::string name, std::string pfad, int64_t bytes, std::string erklaerung) {
    auto k = std::make_shared<Knoten>(std::move(name), std::move(pfad), true);
    k->bytes = bytes;
    k->erklaerung = std::move(erklaerung);
    return k;
}

Platte::Volume mitRolle(std::string rolle) {
    Platte::Volume v;
    v.rolle = std::move(rolle);
    return v;
}

constexpr std::string_view restMitZugriff =
    "Geschützte Systemdaten, die nur root lesen darf, und lokale Schnappschüsse. Hainbrem misst sie über die "
    "Volume-Größe, kann aber nicht hineinsehen.";
constexpr std::string_view restOhneZugriff =
    "Was Hainbrem ohne Festplattenvollzugriff nicht lesen darf (Mail, Nachrichten, App-Container …), dazu "
    "geschützte Systemdaten und Schnappschüsse. Mit Festplattenvollzugriff wird dieser Rest deutlich kleiner.";

// The rest of the data volume that no walk saw.
void ergaenzeRest(Knoten& daten, const Platte::Volume* volume, bool vollzugriff) {
    if (!volume || volume->bytes <= daten.bytes) return;
    daten.dazu(virtuell("Nicht einsehbar", "#rest", subtrahiere(volume->bytes, daten.bytes),
                        std::string(vollzugriff ? restMitZugriff : restOhneZugriff)));
}

// Volumes that no walk entered, large enough to matter.
void ergaenzeVolumes(Knoten& wurzel, const std::optional<Platte>& platte,
                     const std::function<bool(const Platte::Volume&)>& gesehen) {
    if (!platte) return;
    for (const auto& v : platte->volumes) {
        if (v.rolle == "Data" || v.bytes <= grossAb || gesehen(v)) continue;
        wurzel.dazu(virtuell(v.titel(), "#vol-" + v.geraet, v.bytes, std::string(v.erklaerung())));
    }
}

TiefenscanErgebnis scanneLinuxPlatte(const fs::path& homePfad, bool vollzugriff, Steuerung* steuerung) {
    const auto start = std::chrono::steady_clock::now();
    const std::string home = normiert(homePfad);
    const auto einhaengungen = einhaengungenAus(plattform::einhaengTabelle());
    std::string wurzelQuelle;
    for (const auto& e : einhaengungen)
        if (e.punkt == "/") wurzelQuelle = e.quelle;
    const auto platteName = plattform::plattenName(wurzelQuelle);

    // the start disk's file systems, each once (bind mounts show one several times)
    struct Volumen {
        std::string punkt, quelle;
        dev_t geraet;
    };
    std::vector<Volumen> volumen;
    std::set<dev_t> schonDa;
    static constexpr std::array<std::string_view, 4> pseudo{"/proc", "/sys", "/dev", "/run"};
    auto nimm = [&](const std::string& punkt, const std::string& quelle) {
        struct stat st;
        if (::lstat(punkt.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return;
        if (!schonDa.insert(st.st_dev).second) return;
        volumen.push_back({punkt, quelle, st.st_dev});
    };
    nimm("/", wurzelQuelle);
    for (const auto& e : einhaengungen) {
        if (e.punkt == "/" || !e.quelle.starts_with("/dev/")) continue;
        if (std::any_of(pseudo.begin(), pseudo.end(), [&](auto p) { return liegtInOderIst(e.punkt, p); })) continue;
        if (!platteName || plattform::plattenName(e.quelle) != platteName) continue;
        nimm(e.punkt, e.quelle);
    }

    Lauf lauf;
    for (auto p : pseudo) lauf.aus.emplace(p);
    std::vector<std::string> ausgelassen;
    if (!vollzugriff)
        for (auto& c : containerOrdner(home)) {
            lauf.aus.insert(c);
            ausgelassen.push_back(c);
        }
    lauf.kandidatenWurzel = home;
    std::set<std::string, std::less<>> aufteilen{"/", "/home", "/usr", "/var", home, home + "/Library"};
    std::vector<std::string> wurzeln;
    for (const auto& v : volumen) {
        aufteilen.insert(v.punkt);
        wurzeln.push_back(v.punkt);
    }
    Scan scan(lauf, aufteilen, steuerung);
    const auto knoten = scan.lauf(wurzeln);
    const auto platte = Platte::lesen();

    struct stat hst {};
    const dev_t datenGeraet = ::stat(home.c_str(), &hst) == 0 ? hst.st_dev : volumen.front().geraet;
    auto volumeZu = [&](const std::string& quelle) -> const Platte::Volume* {
        if (!platte || quelle.empty()) return nullptr;
        const std::string name = nameAus(quelle);
        for (const auto& v : platte->volumes)
            if (v.geraet == name) return &v;
        return nullptr;
    };
    std::string titel = "Startplatte";
    if (platte && platte->volume("System"))
        titel = platte->volume("System")->name;
    else if (platteName)
        titel = *platteName;
    auto wurzel = std::make_shared<Knoten>(titel, "#platte", true);
    std::set<std::string> gesehen;
    for (size_t i = 0; i < volumen.size(); ++i) {
        const Platte::Volume* pv = volumeZu(volumen[i].quelle);
        if (pv) gesehen.insert(pv->geraet);
        if (!knoten[i]) continue;
        if (volumen[i].geraet != datenGeraet) {
            wurzel->dazu(knoten[i]);
            continue;
        }
        const Platte::Volume daten = pv ? *pv : mitRolle("Data");
        auto d = std::make_shared<Knoten>(mitRolle("Data").titel(), "#daten", true);
        d->erklaerung = std::string(daten.erklaerung());
        d->bytes = knoten[i]->bytes;
        d->dateien = knoten[i]->dateien;
        d->unvollstaendig = knoten[i]->unvollstaendig;
        d->kinder = knoten[i]->kinder;
        ergaenzeRest(*d, pv, vollzugriff);
        d->sortiere();
        wurzel->dazu(d);
    }
    ergaenzeVolumes(*wurzel, platte, [&](const Platte::Volume& v) { return gesehen.contains(v.geraet); });
    wurzel->sortiere();
    return ergebnis(wurzel, scan.sammler, start, std::move(ausgelassen), true);
}

}  // namespace

Knoten::Zeiger scanne(const std::string& pfad, const std::set<std::string, std::less<>>& aufteilen,
                      const Lauf& lauf, Sammler& sammler, Steuerung& steuerung) {
    Arbeiter arbeiter(anzahlFaeden());
    Kontext k{lauf, aufteilen, sammler, steuerung, arbeiter, lauf.kandidatenWurzel + "/Library"};
    return teile(k, pfad);
}

Knoten::Zeiger walk(const std::string& pfad, const Lauf& lauf, Sammler& sammler, Steuerung& steuerung) {
    return scanne(pfad, {}, lauf, sammler, steuerung);
}

TiefenscanErgebnis scanneOrdner(const fs::path& pfad, const std::string& kandidatenWurzel,
                                Steuerung* steuerung) {
    CloudSchutz::aktivieren();
    const auto start = std::chrono::steady_clock::now();
    const std::string p = normiert(pfad);
    Lauf lauf;
    lauf.kandidatenWurzel = kandidatenWurzel.empty() ? std::string() : normiert(kandidatenWurzel);
    const std::set<std::string, std::less<>> aufteilen{p};
    Scan scan(lauf, aufteilen, steuerung);
    auto knoten = scan.lauf({p});
    return ergebnis(knoten.front(), scan.sammler, start, {}, false);
}

TiefenscanErgebnis scanne(const fs::path& homePfad, bool vollzugriff, Steuerung* steuerung) {
    CloudSchutz::aktivieren();
    const auto start = std::chrono::steady_clock::now();
    const std::string home = normiert(homePfad);
    Lauf lauf;
    std::vector<std::string> ausgelassen;
    if (!vollzugriff) ausgelassen = containerOrdner(home);
    lauf.aus.insert(ausgelassen.begin(), ausgelassen.end());
    lauf.kandidatenWurzel = home;
    const std::set<std::string, std::less<>> aufteilen{home, home + "/Library"};
    Scan scan(lauf, aufteilen, steuerung);
    auto knoten = scan.lauf({home});
    return ergebnis(knoten.front(), scan.sammler, start, std::move(ausgelassen), false);
}

TiefenscanErgebnis scanneGanzePlatte(const fs::path& home, bool vollzugriff, Steuerung* steuerung) {
    CloudSchutz::aktivieren();
    if constexpr (plattform::istMacOS)
        return scanneMacPlatte(home, vollzugriff, steuerung, MacAufbau{}, Platte::lesen());
    else
        return scanneLinuxPlatte(home, vollzugriff, steuerung);
}

std::vector<Einhaengung> einhaengungenAus(std::string_view text) {
    // "<id> <parent> <maj:min> <root> <mount point> <options> [optional…] - <type> <source> <super options>"
    auto istOktal = [](char c) { return c >= '0' && c <= '7'; };
    auto entschluessele = [&](std::string_view s) {
        std::string r;
        for (size_t i = 0; i < s.size(); ++i) {
            if (s[i] == '\\' && i + 3 < s.size() && istOktal(s[i + 1]) && istOktal(s[i + 2]) && istOktal(s[i + 3])) {
                r.push_back(static_cast<char>((s[i + 1] - '0') * 64 + (s[i + 2] - '0') * 8 + (s[i + 3] - '0')));
                i += 3;
            } else {
                r.push_back(s[i]);
            }
        }
        return r;
    };
    std::vector<Einhaengung> liste;
    for (const std::string_view zeile : zeilen(text)) {
        std::vector<std::string_view> felder;
        for (size_t a = 0; a < zeile.size();) {
            const size_t b = zeile.find(' ', a);
            const size_t e = b == std::string_view::npos ? zeile.size() : b;
            if (e > a) felder.push_back(zeile.substr(a, e - a));
            a = e + 1;
        }
        const auto strich = std::find(felder.begin(), felder.end(), "-");
        if (felder.size() < 5 || strich == felder.end() || felder.end() - strich < 3) continue;
        liste.push_back(
            Einhaengung{entschluessele(felder[4]), std::string(*(strich + 1)), entschluessele(*(strich + 2))});
    }
    return liste;
}

std::vector<std::pair<std::string, std::string>> firmlinksAus(std::string_view text) {
    std::vector<std::pair<std::string, std::string>> liste;
    for (const std::string_view zeile : zeilen(text)) {
        const size_t tab = zeile.find('\t');
        if (tab == std::string_view::npos || tab == 0 || tab + 1 >= zeile.size() || zeile[0] != '/') continue;
        liste.emplace_back(std::string(zeile.substr(0, tab)), std::string(zeile.substr(tab + 1)));
    }
    return liste;
}

TiefenscanErgebnis scanneMacPlatte(const fs::path& homePfad, bool vollzugriff, Steuerung* steuerung,
                                   const MacAufbau& aufbau,
                                   const std::optional<Platte>& platte) {
    const auto start = std::chrono::steady_clock::now();
    const std::string& b = aufbau.basis;
    const std::string home(ohneSchraegstrichAmEnde(homePfad.native()));
    const std::string datenPfad = b + aufbau.datenVolume;
    Lauf lauf;
    struct stat dst {};
    if (::stat(datenPfad.c_str(), &dst) == 0) lauf.geraet = dst.st_dev;
    for (const char* p : {"/System/Volumes", "/Volumes", "/dev", "/.nofollow", "/.resolve", "/.vol", "/private/var/vm"})
        lauf.aus.insert(b + p);
    std::vector<std::string> ausgelassen;
    if (!vollzugriff)
        for (auto& c : containerOrdner(home)) {
            lauf.aus.insert(c);
            ausgelassen.push_back(c);
        }
    lauf.kandidatenWurzel = home;

    auto firmlinks = firmlinksAus(dateiText(b + aufbau.firmlinks));
    if (firmlinks.empty())
        firmlinks = {{"/Users", "Users"}, {"/Applications", "Applications"}, {"/Library", "Library"},
                     {"/private", "private"}};
    std::vector<std::string> wurzeln;
    std::set<std::string> namen;
    for (const auto& [pfad, name] : firmlinks) {
        namen.insert(name);
        // a firmlink below a top folder of the data volume is counted there once, not twice
        if (name.find('/') != std::string::npos) lauf.aus.insert(datenPfad + "/" + name);
        const std::string p = b + pfad;
        struct stat st;
        if (lauf.aus.contains(p) || ::lstat(p.c_str(), &st) != 0) continue;
        wurzeln.push_back(p);
    }
    // Top entries of the data volume that no firmlink shows: macOS's own folders there.
    std::vector<std::string> extras;
    if (DIR* d = ::opendir(datenPfad.c_str())) {
        while (const dirent* e = ::readdir(d)) {
            const std::string n = e->d_name;
            if (n == "." || n == ".." || namen.contains(n)) continue;
            const std::string p = datenPfad + "/" + n;
            if (!lauf.aus.contains(p)) extras.push_back(p);
        }
        ::closedir(d);
        std::sort(extras.begin(), extras.end());
    }
    // extras and firmlinked roots together, side by side; /usr/local stays its own node
    const size_t anzahlWurzeln = wurzeln.size();
    wurzeln.insert(wurzeln.end(), extras.begin(), extras.end());
    const std::set<std::string, std::less<>> aufteilen{b + "/Users",   home,           home + "/Library",
                                                      b + "/Library", b + "/private", b + "/private/var",
                                                      b + "/Applications"};
    Scan scan(lauf, aufteilen, steuerung);
    const auto knoten = scan.lauf(wurzeln);

    const Platte::Volume* system = platte ? platte->volume("System") : nullptr;
    const Platte::Volume* datenVol = platte ? platte->volume("Data") : nullptr;
    auto wurzel = std::make_shared<Knoten>(system ? system->name : std::string("Macintosh HD"), "#platte", true);
    const Platte::Volume datenRolle = datenVol ? *datenVol : mitRolle("Data");
    auto daten = std::make_shared<Knoten>(datenRolle.titel(), "#daten", true);
    daten->erklaerung = std::string(datenRolle.erklaerung());
    auto verwaltung = virtuell("Systemverwaltung", "#verwaltung", 0,
                               "Verwaltungsdaten von macOS auf deinem Datenvolume: Spotlight-Suchindex, Dateiverlauf "
                               "(fseventsd), gespeicherte Dokumentversionen. macOS pflegt sie selbst.");
    auto zusaetze = virtuell("macOS-Zusätze", "#zusaetze", 0,
                             "Ordner von macOS, die auf deinem Datenvolume liegen: heruntergeladene Systeminhalte "
                             "(Assets), Sprachdaten, Druckertreiber. macOS verwaltet sie selbst.");
    for (size_t i = 0; i < knoten.size(); ++i) {
        const auto& k = knoten[i];
        if (!k) continue;
        if (i < anzahlWurzeln) {
            daten->dazu(k);
            continue;
        }
        // hidden folders at the top of the data volume are the system's bookkeeping
        Knoten& ziel = k->name.starts_with('.') ? *verwaltung : *zusaetze;
        ziel.dazu(k);
    }
    for (auto* v : {&verwaltung, &zusaetze}) {
        auto& k = **v;
        std::erase_if(k.kinder, [](const Knoten::Zeiger& c) { return !wirdKind(*c); });
        k.sortiere();
        if (k.bytes > 0) daten->dazu(*v);
    }
    ergaenzeRest(*daten, datenVol, vollzugriff);
    std::erase_if(daten->kinder, [](const Knoten::Zeiger& c) { return !c->istVirtuell() && !wirdKind(*c); });
    daten->sortiere();
    wurzel->dazu(daten);
    ergaenzeVolumes(*wurzel, platte, [](const Platte::Volume&) { return false; });
    wurzel->sortiere();
    return ergebnis(wurzel, scan.sammler, start, std::move(ausgelassen), true);
}

}  // namespace Tiefenscan
}  // namespace hainbrem

size_t std::hash<hainbrem::DateiInfo>::operator()(const hainbrem::DateiInfo& d) const noexcept {
    return std::hash<std::string>{}(d.pfad) ^ (std::hash<uint64_t>{}(d.inode) << 1);
}
