#include "kern/verlauf.hpp"

#include "kern/dateiinhalt.hpp"

#include <fcntl.h>
#include <openssl/rand.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <nlohmann/json.hpp>
#include <random>

#include "basis/systemfehler.hpp"
#include "basis/zeichen.hpp"
#include "kern/kodierung.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/testsperre.hpp"
#include "basis/pfade.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem {

namespace fs = std::filesystem;
using json = nlohmann::ordered_json;

// ---------------------------------------------------------------- Runde

int64_t Runde::gewonnen() const { return subtrahiere(freiNachher, freiVorher); }

int64_t Runde::erwartet() const {
    int64_t s = 0;
    for (const auto& p : posten)
        if (!p.fehler) s = addiere(s, p.bytes);
    return s;
}

int64_t Runde::erwartetFrei() const {
    int64_t s = 0;
    for (const auto& p : posten)
        if (!p.fehler && p.art != Entsorgung::papierkorb) s = addiere(s, p.bytes);
    return s;
}

int64_t Runde::zurueckgelegtBytes() const {
    int64_t s = 0;
    for (const auto& p : posten)
        if (p.zurueckgelegt && !p.fehler) s = addiere(s, p.bytes);
    return s;
}

int64_t Runde::imPapierkorbBytes() const {
    int64_t s = 0;
    for (const auto& p : posten)
        if (p.imPapierkorb && !p.zurueckgelegt) s = addiere(s, p.bytes);
    return s;
}

void Runde::pruefeRueckgaengig() {
    papierkorbBefund.wert = std::any_of(posten.begin(), posten.end(), [](const Posten& p) {
        struct stat st;
        return p.imPapierkorb && !p.zurueckgelegt && ::lstat(p.imPapierkorb->c_str(), &st) == 0;
    });
}

size_t Runde::fehlerAnzahl() const {
    return static_cast<size_t>(std::count_if(posten.begin(), posten.end(), [](const Posten& p) { return p.fehler.has_value(); }));
}

// ---------------------------------------------------------------- small codecs

std::string neueKennung() {
    unsigned char b[16];
    if (RAND_bytes(b, sizeof b) != 1) {
        std::random_device zufall;
        for (auto& x : b) x = static_cast<unsigned char>(zufall());
    }
    b[6] = static_cast<unsigned char>((b[6] & 0x0F) | 0x40);
    b[8] = static_cast<unsigned char>((b[8] & 0x3F) | 0x80);
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string s;
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) s.push_back('-');
        s.push_back(hex[b[i] >> 4]);
        s.push_back(hex[b[i] & 15]);
    }
    return s;
}

namespace {

bool istKennung(std::string_view s) {
    if (s.size() != 36) return false;
    for (size_t i = 0; i < s.size(); ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (s[i] != '-') return false;
        } else if (!std::isxdigit(static_cast<unsigned char>(s[i]))) {
            return false;
        }
    }
    return true;
}

void schreibePfad(json& j, const char* schluessel, const char* roh, const std::string& pfad) {
    if (istUtf8(pfad)) {
        j[schluessel] = pfad;
    } else {
        j[schluessel] = lesbar(pfad);
        j[roh] = base64(pfad);
    }
}

// Reading without exceptions: each accessor answers none when the key is missing or holds the
// wrong type, and the decoder gives up on the first none.
const json* feld(const json& o, const char* name) {
    const auto it = o.find(name);
    return it == o.end() ? nullptr : &*it;
}
std::optional<std::string> text(const json& o, const char* name) {
    const json* f = feld(o, name);
    if (!f || !f->is_string()) return std::nullopt;
    return f->get<std::string>();
}
std::optional<int64_t> ganzzahl(const json& o, const char* name) {
    const json* f = feld(o, name);
    if (!f) return std::nullopt;
    if (f->is_number_unsigned()) {
        const auto u = f->get<uint64_t>();
        if (u > static_cast<uint64_t>(INT64_MAX)) return std::nullopt;
        return static_cast<int64_t>(u);
    }
    if (!f->is_number_integer()) return std::nullopt;
    return f->get<int64_t>();
}
// Free space and sizes are never negative; a file that says otherwise was not written by us.
std::optional<int64_t> nichtNegativ(const json& o, const char* name) {
    const auto wert = ganzzahl(o, name);
    if (!wert || *wert < 0) return std::nullopt;
    return wert;
}
std::optional<uint64_t> vorzeichenlos(const json& o, const char* name) {
    const json* f = feld(o, name);
    if (!f || !f->is_number_unsigned()) return std::nullopt;
    return f->get<uint64_t>();
}
std::optional<bool> wahrheit(const json& o, const char* name) {
    const json* f = feld(o, name);
    if (!f || !f->is_boolean()) return std::nullopt;
    return f->get<bool>();
}
// A key that may be missing: the outer none means "there, but not a string".
std::optional<std::optional<std::string>> wahlweise(const json& o, const char* name) {
    const json* f = feld(o, name);
    if (!f || f->is_null()) return std::optional<std::string>{};
    if (!f->is_string()) return std::nullopt;
    return std::optional<std::string>(f->get<std::string>());
}
// Everything shown for a round is computed without overflow (which would end the process):
// the gain and the sum of all its sizes, which bounds every partial sum.
bool rechenbar(const Runde& r) {
    int64_t x;
    if (__builtin_sub_overflow(r.freiNachher, r.freiVorher, &x)) return false;
    int64_t summe = 0;
    for (const auto& p : r.posten)
        if (__builtin_add_overflow(summe, p.bytes, &summe)) return false;
    return true;
}
// Files written before items carried their result say it only in words: read once from the
// sentences they were made of, the only place a sentence stands for state. A name from a newer
// version is read the same way rather than losing the file.
PostenErgebnis ergebnisAusText(const Posten& p) {
    if (!p.fehler) return p.art == Entsorgung::papierkorb ? PostenErgebnis::imPapierkorb : PostenErgebnis::entfernt;
    const std::string& f = *p.fehler;
    for (const auto e : {PostenErgebnis::schonWeg, PostenErgebnis::unterbrochen})
        if (f == postenText(e)) return e;
    for (const auto e : {PostenErgebnis::laeuft, PostenErgebnis::benutzt}) {
        // the sentence around a name: what comes before and after the marker
        const std::string muster = *postenText(e, "\x01");
        const size_t stelle = muster.find('\x01');
        if (f.size() > muster.size() && f.starts_with(muster.substr(0, stelle)) && f.ends_with(muster.substr(stelle + 1)))
            return e;
    }
    for (auto a = Ablehnung{}; a <= Ablehnung::testlauf; a = static_cast<Ablehnung>(static_cast<int>(a) + 1))
        if (f == grundText(a)) return PostenErgebnis::abgelehnt;
    return PostenErgebnis::fehlgeschlagen;
}

// A path with its exact bytes in `roh` when they are not UTF-8. Outer none: unreadable.
std::optional<std::optional<std::string>> pfadLesen(const json& o, const char* name, const char* roh, bool pflicht) {
    std::optional<std::optional<std::string>> p;
    if (pflicht) {
        auto t = text(o, name);
        if (!t) return std::nullopt;
        p = std::optional<std::string>(std::move(*t));
    } else {
        p = wahlweise(o, name);
        if (!p) return std::nullopt;
    }
    const auto r = wahlweise(o, roh);
    if (!r) return std::nullopt;
    if (*r) {
        if (!*p) return std::nullopt;
        auto bytes = ausBase64(**r);
        if (!bytes) return std::nullopt;
        *p = std::move(*bytes);
    }
    return p;
}

json kennungJson(const plattform::PapierkorbKennung& k) {
    json j;
    j["geraet"] = k.geraet;
    j["inode"] = k.inode;
    j["groesse"] = k.groesse;
    j["geaendertNs"] = k.geaendertNs;
    schreibePfad(j, "info", "infoBase64", k.info);  // a Trash name keeps the item's bytes
    return j;
}

// Outer none: unreadable; inner none: an older item without it.
std::optional<std::optional<plattform::PapierkorbKennung>> kennungLesen(const json& q) {
    const json* k = feld(q, "kennung");
    if (!k || k->is_null()) return std::optional<plattform::PapierkorbKennung>{};
    if (!k->is_object()) return std::nullopt;
    const auto geraet = vorzeichenlos(*k, "geraet");
    const auto inode = vorzeichenlos(*k, "inode");
    const auto groesse = ganzzahl(*k, "groesse");
    const auto geaendert = ganzzahl(*k, "geaendertNs");
    const auto info = pfadLesen(*k, "info", "infoBase64", true);
    if (!geraet || !inode || !groesse || !geaendert || !info) return std::nullopt;
    return std::optional(plattform::PapierkorbKennung{*geraet, *inode, *groesse, *geaendert, **info});
}

std::optional<Posten> postenLesen(const json& q) {
    if (!q.is_object()) return std::nullopt;
    Posten p;
    const auto pfad = pfadLesen(q, "pfad", "pfadBase64", true);
    const auto bytes = nichtNegativ(q, "bytes");
    const auto artText = text(q, "art");
    const auto art = artText ? entsorgungAus(*artText) : std::nullopt;
    const auto imPapierkorb = pfadLesen(q, "imPapierkorb", "imPapierkorbBase64", false);
    const auto fehler = wahlweise(q, "fehler");
    const auto zurueckgelegt = wahrheit(q, "zurueckgelegt");
    const auto ergebnis = wahlweise(q, "ergebnis");
    const auto kennung = kennungLesen(q);
    if (!pfad || !bytes || !art || !imPapierkorb || !fehler || !zurueckgelegt || !ergebnis || !kennung)
        return std::nullopt;
    p.pfad = std::move(**pfad);
    p.bytes = *bytes;
    p.art = *art;
    p.imPapierkorb = std::move(*imPapierkorb);
    p.fehler = std::move(*fehler);
    p.zurueckgelegt = *zurueckgelegt;
    const auto e = *ergebnis ? postenErgebnisAus(**ergebnis) : std::nullopt;
    p.ergebnis = e ? *e : ergebnisAusText(p);
    p.kennung = std::move(*kennung);
    return p;
}

std::optional<Runde> rundeLesen(const json& o) {
    if (!o.is_object()) return std::nullopt;
    Runde r;
    const auto id = text(o, "id");
    const auto titel = text(o, "titel");
    const auto datumText = text(o, "datum");
    const auto datum = datumText ? ausIsoZeit(*datumText) : std::nullopt;
    const auto vorher = nichtNegativ(o, "freiVorher");
    const auto nachher = nichtNegativ(o, "freiNachher");
    const auto probelauf = wahrheit(o, "probelauf");
    const json* posten = feld(o, "posten");
    if (!id || !istKennung(*id) || !titel || !datum || !vorher || !nachher || !probelauf || !posten ||
        !posten->is_array())
        return std::nullopt;
    r.id = *id;
    r.titel = *titel;
    r.datum = *datum;
    r.freiVorher = *vorher;
    r.freiNachher = *nachher;
    r.probelauf = *probelauf;
    for (const json& q : *posten) {
        auto p = postenLesen(q);
        if (!p) return std::nullopt;
        r.posten.push_back(std::move(*p));
    }
    if (!rechenbar(r)) return std::nullopt;
    return r;
}

}  // namespace

std::string Verlauf::kodiere(const std::vector<Runde>& runden) {
    json liste = json::array();
    for (const auto& r : runden) {
        json o;
        o["id"] = r.id;
        o["titel"] = lesbar(r.titel);
        o["datum"] = isoZeit(r.datum);
        o["freiVorher"] = r.freiVorher;
        o["freiNachher"] = r.freiNachher;
        json posten = json::array();
        for (const auto& p : r.posten) {
            json q;
            schreibePfad(q, "pfad", "pfadBase64", p.pfad);
            q["bytes"] = p.bytes;
            q["art"] = std::string(rohwert(p.art));
            if (p.imPapierkorb) schreibePfad(q, "imPapierkorb", "imPapierkorbBase64", *p.imPapierkorb);
            if (p.fehler) q["fehler"] = lesbar(*p.fehler);
            q["zurueckgelegt"] = p.zurueckgelegt;
            q["ergebnis"] = std::string(rohwert(p.ergebnis));
            if (p.kennung) q["kennung"] = kennungJson(*p.kennung);
            posten.push_back(std::move(q));
        }
        o["posten"] = std::move(posten);
        o["probelauf"] = r.probelauf;
        liste.push_back(std::move(o));
    }
    return liste.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

std::optional<std::vector<Runde>> Verlauf::dekodiere(std::string_view eingabe) {
    const json liste = json::parse(eingabe, nullptr, false);
    if (liste.is_discarded() || !liste.is_array()) return std::nullopt;
    std::vector<Runde> runden;
    for (const json& o : liste) {
        auto r = rundeLesen(o);
        if (!r) return std::nullopt;
        runden.push_back(std::move(*r));
    }
    return runden;
}

// ---------------------------------------------------------------- Verlauf

namespace {

enum class Lesen { fehlt, gelesen, unlesbar };

Lesen leseDatei(const fs::path& datei, std::vector<Runde>& runden) {
    // a pipe or a link in its place is unreadable, and so set aside rather than followed
    std::string inhalt;
    const int fehler = leseRegulaer(datei, size_t{256} << 20, inhalt);
    if (fehler == ENOENT) return Lesen::fehlt;
    if (fehler != 0) return Lesen::unlesbar;
    auto r = Verlauf::dekodiere(inhalt);
    if (!r) return Lesen::unlesbar;
    runden = std::move(*r);
    for (auto& runde : runden) runde.pruefeRueckgaengig();
    return Lesen::gelesen;
}

// Writes `inhalt` beside `datei` and renames it over; both the file and the folder are synced,
// so after a crash either the old or the new file is there, whole. 0, or the errno that stopped it.
int schreibeAtomar(const fs::path& datei, const std::string& inhalt) {
    const fs::path ordner = datei.parent_path();
    std::string muster = (ordner / ("." + datei.filename().native() + ".XXXXXX")).native();
    const int fd = ::mkostemp(muster.data(), O_CLOEXEC);
    if (fd < 0) return errno;
    int fehler = 0;
    for (size_t geschrieben = 0; fehler == 0 && geschrieben < inhalt.size();) {
        const ssize_t n = ::write(fd, inhalt.data() + geschrieben, inhalt.size() - geschrieben);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) fehler = n < 0 ? errno : ENOSPC;
        else geschrieben += static_cast<size_t>(n);
    }
    if (fehler == 0 && (::fchmod(fd, 0600) != 0 || ::fsync(fd) != 0)) fehler = errno;
    if (::close(fd) != 0 && fehler == 0) fehler = errno;
    if (fehler == 0 && ::rename(muster.c_str(), datei.c_str()) != 0) fehler = errno;
    if (fehler != 0) {
        ::unlink(muster.c_str());
        return fehler;
    }
    if (const int ofd = ::open(ordner.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); ofd >= 0) {
        ::fsync(ofd);
        ::close(ofd);
    }
    return 0;
}

// Room kept beside the history for the day the disk is full: that is when a cleanup is needed
// most, and no round may start without its record. The reserve is given up to write the record
// and made again once there is space.
fs::path reserveZu(const fs::path& datei) { return datei.native() + ".reserve"; }

void legeReserveAn(const fs::path& datei, size_t inhalt) {
    const fs::path reserve = reserveZu(datei);
    const off_t groesse = static_cast<off_t>(std::clamp<size_t>(2 * inhalt, size_t{1} << 20, size_t{32} << 20));
    struct stat st;
    if (::lstat(reserve.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= groesse) return;
    // only where it costs nothing: on a nearly full disk it would take the last free blocks
    struct statvfs sv {};
    if (::statvfs(datei.parent_path().c_str(), &sv) != 0 ||
        static_cast<double>(sv.f_bavail) * static_cast<double>(sv.f_frsize) < 4.0 * static_cast<double>(groesse))
        return;
    const int fd = ::open(reserve.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) return;
    const bool ok = ::posix_fallocate(fd, 0, groesse) == 0;
    ::close(fd);
    if (!ok) ::unlink(reserve.c_str());  // half a reserve helps nobody and costs space
}

bool gibReserveFrei(const fs::path& datei) { return ::unlink(reserveZu(datei).c_str()) == 0; }

std::string schreibFehler(const fs::path& datei, int nummer) {
    std::string grund;
    switch (nummer) {
        case ENOSPC:
        case EDQUOT: grund = "Kein Platz mehr auf dem Datenträger"; break;
        case EACCES:
        case EPERM: grund = "Keine Berechtigung"; break;
        case EROFS: grund = "Der Datenträger ist schreibgeschützt"; break;
        case EIO: grund = "Lese- oder Schreibfehler des Datenträgers"; break;
        default: grund = systemFehler(nummer);
    }
    return "Der Verlauf „" + datei.native() + "“ lässt sich nicht schreiben: " + grund;
}

// A history in the home that a link has led out of it is not written there: whatever made the
// link would get the record, the lock and the reserve somewhere else.
Ergebnis<void> bleibtImHome(const fs::path& datei) {
    const fs::path home = plattform::heimOrdner();
    if (home.empty() || !liegtIn(datei.native(), home.native())) return {};
    std::error_code e1, e2;
    const fs::path ordner = fs::canonical(datei.parent_path(), e1);
    const fs::path echtesHome = fs::canonical(home, e2);
    if (e1 || e2 || liegtIn(ordner.native(), echtesHome.native())) return {};
    return Fehlschlag{"Der Verlauf „" + datei.native() + "“ lässt sich nicht schreiben: sein Ordner führt über einen Link nach „" +
                      ordner.native() + "“, aus deinem Benutzerordner hinaus."};
}

fs::path beiseiteName(const fs::path& datei) {
    const std::string basis =
        datei.native() + ".defekt-" + zeitText(std::chrono::system_clock::now(), "%Y-%m-%d", Zone::ort);
    std::error_code e;
    fs::path kandidat = basis;
    for (int n = 2; fs::exists(fs::symlink_status(kandidat, e)); ++n) kandidat = basis + "-" + std::to_string(n);
    return kandidat;
}

}  // namespace

Verlauf::Verlauf(fs::path datei) : datei_(std::move(datei)) {
    unlesbar_ = leseDatei(datei_, runden_) == Lesen::unlesbar;
    if (unlesbar_) runden_.clear();
}

fs::path Verlauf::standardDatei(const fs::path& home) { return plattform::profil(home).verlaufOrdner / "verlauf.json"; }

Verlauf& Verlauf::standard() {
    static Verlauf v(standardDatei(plattform::heimOrdner()));
    return v;
}

std::vector<Runde> Verlauf::runden() const {
    std::lock_guard l(sperre_);
    return runden_;
}

std::optional<Runde> Verlauf::runde(std::string_view id) const {
    std::lock_guard l(sperre_);
    for (const auto& r : runden_)
        if (r.id == id) return r;
    return std::nullopt;
}

void Verlauf::einfuegen(const Runde& runde) {
    std::lock_guard l(sperre_);
    runden_.insert(runden_.begin(), runde);
    geaendert_.insert(runde.id);
}

void Verlauf::entfernen(std::string_view id) {
    std::lock_guard l(sperre_);
    std::erase_if(runden_, [&](const Runde& r) { return r.id == id; });
    geaendert_.erase(std::string(id));
    entfernt_.insert(std::string(id));
}

void Verlauf::ersetzen(const Runde& runde) {
    std::lock_guard l(sperre_);
    for (auto& r : runden_)
        if (r.id == runde.id) {
            r = runde;
            geaendert_.insert(runde.id);
            return;
        }
}

std::set<std::string> Verlauf::imPapierkorb() const {
    std::lock_guard l(sperre_);
    std::set<std::string> s;
    for (const auto& r : runden_)
        for (const auto& p : r.posten)
            if (p.imPapierkorb && !p.zurueckgelegt) s.insert(*p.imPapierkorb);
    return s;
}

bool Verlauf::warUnlesbar() const {
    std::lock_guard l(sperre_);
    return unlesbar_;
}

std::optional<std::string> Verlauf::hinweis() const {
    std::lock_guard l(sperre_);
    return hinweis_;
}

void Verlauf::beobachte(std::function<void(const std::vector<Runde>&)> beobachter) {
    std::lock_guard l(sperre_);
    beobachter_ = std::move(beobachter);
}

Ergebnis<void> Verlauf::speichern() {
    if (imEchtenHomeWaehrendTest(datei_)) return Fehlschlag{testSperreText};
    std::error_code e;
    fs::create_directories(datei_.parent_path(), e);
    if (auto ort = bleibtImHome(datei_); !ort) return ort;
    const fs::path sperrDatei = datei_.native() + ".lock";
    const int sperrFd = ::open(sperrDatei.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (sperrFd < 0) return Fehlschlag{schreibFehler(datei_, e ? e.value() : errno)};
    while (::flock(sperrFd, LOCK_EX) != 0 && errno == EINTR) {
    }

    std::vector<Runde> aufPlatte;
    const Lesen gelesen = leseDatei(datei_, aufPlatte);
    std::optional<std::string> neuerHinweis;
    int fehler = 0;
    if (gelesen == Lesen::unlesbar) {
        // never overwrite what we cannot read: it may be the user's only record
        const fs::path beiseite = beiseiteName(datei_);
        if (::rename(datei_.c_str(), beiseite.c_str()) == 0)
            neuerHinweis = "Der Verlauf „" + datei_.native() + "“ war nicht lesbar. Er liegt jetzt unter „" +
                           beiseite.native() + "“; ein neuer Verlauf wurde angelegt.";
        else
            fehler = errno;
        aufPlatte.clear();
    }

    std::string inhalt;
    std::set<std::string> gesichert;
    std::vector<Runde> zusammen;
    std::function<void(const std::vector<Runde>&)> beobachter;
    if (fehler == 0) {
        std::lock_guard l(sperre_);
        if (neuerHinweis) hinweis_ = neuerHinweis;
        zusammen = runden_;
        for (auto& r : zusammen) {
            if (geaendert_.contains(r.id)) continue;
            for (const auto& d : aufPlatte)
                if (d.id == r.id) r = d;  // another process changed it since we loaded
        }
        for (const auto& d : aufPlatte)
            if (!entfernt_.contains(d.id) &&
                std::none_of(zusammen.begin(), zusammen.end(), [&](const Runde& r) { return r.id == d.id; }))
                zusammen.push_back(d);
        std::stable_sort(zusammen.begin(), zusammen.end(),
                         [](const Runde& a, const Runde& b) { return a.datum > b.datum; });
        runden_ = zusammen;
        gesichert.swap(geaendert_);
        beobachter = beobachter_;
        inhalt = kodiere(zusammen);
    }
    if (fehler == 0) fehler = schreibeAtomar(datei_, inhalt);
    if ((fehler == ENOSPC || fehler == EDQUOT) && gibReserveFrei(datei_)) fehler = schreibeAtomar(datei_, inhalt);
    if (fehler == 0) legeReserveAn(datei_, inhalt.size());
    if (fehler != 0) {
        std::lock_guard l(sperre_);
        geaendert_.insert(gesichert.begin(), gesichert.end());
    }
    ::flock(sperrFd, LOCK_UN);
    ::close(sperrFd);
    if (fehler != 0) return Fehlschlag{schreibFehler(datei_, fehler)};
    if (beobachter) beobachter(zusammen);
    return {};
}

}  // namespace hainbrem
