#include "kern/duplikate.hpp"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <map>
#include <unordered_map>

#include "kern/arbeiter.hpp"
#include "kern/groesse.hpp"
#include "kern/ueberlauf.hpp"
#include "plattform/dateisystem.hpp"
#include "plattform/plattform.hpp"
#include "plattform/scan.hpp"

namespace hainbrem {

int64_t DuplikatGruppe::verschwendet() const {
    if (dateien.empty()) return 0;
    return multipliziere(dateien.front().belegt, static_cast<int64_t>(dateien.size()) - 1);
}

bool DuplikatGruppe::sindKlone() const {
    if (dateien.empty()) return wirklichFrei < 0;
    return wirklichFrei < dateien.front().groesse / 10;
}

namespace Duplikate {

namespace {

struct Hasher {
    Hasher() : ctx(EVP_MD_CTX_new()) { ok = ctx && EVP_DigestInit_ex(ctx, EVP_sha256(), nullptr) == 1; }
    ~Hasher() { EVP_MD_CTX_free(ctx); }
    Hasher(const Hasher&) = delete;
    Hasher& operator=(const Hasher&) = delete;
    void dazu(const unsigned char* d, size_t n) { ok = ok && EVP_DigestUpdate(ctx, d, n) == 1; }
    std::optional<std::string> fertig() {
        unsigned char w[EVP_MAX_MD_SIZE];
        unsigned int n = 0;
        if (!ok || EVP_DigestFinal_ex(ctx, w, &n) != 1) return std::nullopt;
        static constexpr char ziffern[] = "0123456789abcdef";
        std::string hex;
        hex.reserve(n * 2);
        for (unsigned i = 0; i < n; ++i) {
            hex.push_back(ziffern[w[i] >> 4]);
            hex.push_back(ziffern[w[i] & 15]);
        }
        return hex;
    }
    EVP_MD_CTX* ctx;
    bool ok;
};

class Datei {
public:
    // comparing contents is looking: the files' access times stay as the user left them
    explicit Datei(const char* pfad) : fd_(std::max(-1, plattform::oeffneZumAnsehen(pfad))) {}
    ~Datei() {
        if (fd_ >= 0) ::close(fd_);  // a failing close changes nothing for reading
    }
    Datei(const Datei&) = delete;
    Datei& operator=(const Datei&) = delete;
    int fd() const { return fd_; }
    // Reads up to n bytes at `ab`; the count read, -1 on an error.
    ssize_t lies(unsigned char* ziel, size_t n, off_t ab) const {
        size_t gelesen = 0;
        while (gelesen < n) {
            const ssize_t r = ::pread(fd_, ziel + gelesen, n - gelesen, ab + static_cast<off_t>(gelesen));
            if (r < 0) {
                if (errno == EINTR) continue;
                return -1;
            }
            if (r == 0) break;
            gelesen += static_cast<size_t>(r);
        }
        return static_cast<ssize_t>(gelesen);
    }

private:
    int fd_;
};

// One reading buffer per hashing thread, reused for every file.
std::vector<unsigned char>& puffer() {
    thread_local std::vector<unsigned char> p(static_cast<size_t>(stueckBytes));
    return p;
}

std::string einzigartig() {
    static std::atomic<uint64_t> zaehler{0};
    return "!" + std::to_string(zaehler.fetch_add(1, std::memory_order_relaxed));  // hex digests never start so
}

int tiefe(std::string_view pfad) {
    int n = 0;
    size_t i = 0;
    while (i < pfad.size()) {
        const size_t j = pfad.find('/', i);
        const size_t e = j == std::string_view::npos ? pfad.size() : j;
        if (e > i) ++n;
        i = e + 1;
    }
    return n;
}

using Teilgruppe = std::pair<std::string, std::vector<size_t>>;

// Groups `dateien` (indices) by key; only groups of two or more, in order of first appearance.
template <typename F>
std::vector<Teilgruppe> gruppiere(const std::vector<size_t>& dateien, F&& schluessel) {
    std::unordered_map<std::string, size_t> platz;
    std::vector<Teilgruppe> gruppen;
    for (const size_t i : dateien) {
        std::string k = schluessel(i);
        const auto [it, neu] = platz.emplace(k, gruppen.size());
        if (neu) gruppen.emplace_back(std::move(k), std::vector<size_t>{});
        gruppen[it->second].second.push_back(i);
    }
    std::erase_if(gruppen, [](const auto& g) { return g.second.size() < 2; });
    return gruppen;
}

}  // namespace

std::optional<std::string> randHash(const std::filesystem::path& pfad) {
    struct stat st;
    if (::lstat(pfad.c_str(), &st) == 0 && plattform::istDatenlos(st)) return std::nullopt;  // would download
    Datei d(pfad.c_str());
    if (d.fd() < 0) return std::nullopt;
    ::posix_fadvise(d.fd(), 0, 0, POSIX_FADV_RANDOM);  // only the two ends, no read-ahead
    unsigned char rand[randBytes];
    Hasher h;
    const ssize_t kopf = d.lies(rand, sizeof rand, 0);
    if (kopf < 0) return std::nullopt;
    h.dazu(rand, static_cast<size_t>(kopf));
    const off_t laenge = ::lseek(d.fd(), 0, SEEK_END);
    if (laenge < 0) return std::nullopt;
    if (laenge > 2 * randBytes) {
        const ssize_t schwanz = d.lies(rand, sizeof rand, laenge - randBytes);
        if (schwanz < 0) return std::nullopt;
        h.dazu(rand, static_cast<size_t>(schwanz));
    }
    return h.fertig();
}

std::optional<std::string> inhaltHash(const std::filesystem::path& pfad, std::stop_token halt) {
    Datei d(pfad.c_str());
    if (d.fd() < 0) return std::nullopt;
    struct stat st;
    if (::fstat(d.fd(), &st) != 0) return std::nullopt;
    plattform::liestNacheinander(d.fd());
    auto& p = puffer();
    // Holes of sparse files read as zeros: hashed from memory instead of being read.
    static const std::vector<unsigned char> nullen(static_cast<size_t>(stueckBytes), 0);
    const off_t laenge = st.st_size;
    Hasher h;
    off_t ab = 0;
    for (;;) {
        if (halt.stop_requested()) return std::nullopt;
        off_t daten = ab;
        off_t loch = ab + stueckBytes;
#ifdef SEEK_DATA
        if (ab < laenge) {
            const off_t dd = ::lseek(d.fd(), ab, SEEK_DATA);
            if (dd >= 0)
                daten = std::min(dd, laenge);
            else if (errno == ENXIO)
                daten = laenge;
            const off_t l = ::lseek(d.fd(), daten, SEEK_HOLE);
            if (l > daten) loch = l;
        }
#endif
        if (daten > ab) {
            const auto n = static_cast<size_t>(std::min<off_t>(daten - ab, stueckBytes));
            h.dazu(nullen.data(), n);
            ab += static_cast<off_t>(n);
            continue;
        }
        const auto wunsch = static_cast<size_t>(std::clamp<off_t>(loch - ab, 1, stueckBytes));
        const ssize_t n = d.lies(p.data(), wunsch, ab);
        if (n < 0) return std::nullopt;
        if (n == 0) break;
        h.dazu(p.data(), static_cast<size_t>(n));
        ab += n;
    }
    // A file that changed size while being read (holes then stand for bytes that are gone)
    // has no trustworthy digest: it must never join a group.
    if (ab != laenge || ::fstat(d.fd(), &st) != 0 || st.st_size != laenge) return std::nullopt;
    return h.fertig();
}

double wert(const DateiInfo& datei, Zeitpunkt jetzt) {
    const std::string& p = datei.pfad;
    double w = 0;
    for (const auto& [teil, abzug] : std::initializer_list<std::pair<std::string_view, double>>{
             {"/Downloads/", 30}, {"/Desktop/", 20}, {"/.Trash/", 100}, {"/tmp", 50},
             {" Kopie", 15},      {" copy", 15},     {"(1)", 15}})
        if (p.find(teil) != std::string::npos) w -= abzug;
    const double sekunden = std::chrono::duration<double>(jetzt - datei.geaendert).count();
    const double jahre = sekunden / 86'400.0 / 365.0;
    w += std::min(2.0 * jahre, 10.0);
    w -= 0.5 * tiefe(p);
    return w;
}

double wert(const DateiInfo& datei) { return wert(datei, std::chrono::system_clock::now()); }

std::vector<DuplikatGruppe> finde(const std::vector<DateiInfo>& dateien, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    const Zeitpunkt jetzt = std::chrono::system_clock::now();
    // 1. by size; 2. hard links collapsed before anything is read
    std::map<int64_t, std::vector<size_t>> nachGroesse;
    for (size_t i = 0; i < dateien.size(); ++i) nachGroesse[dateien[i].groesse].push_back(i);
    std::vector<std::vector<size_t>> gruppen;
    for (auto& [groesse, liste] : nachGroesse) {
        if (liste.size() < 2) continue;
        std::vector<size_t> eigene;
        std::vector<uint64_t> inodes;
        for (const size_t i : liste) {
            if (std::find(inodes.begin(), inodes.end(), dateien[i].inode) != inodes.end()) continue;
            inodes.push_back(dateien[i].inode);
            eigene.push_back(i);
        }
        if (eigene.size() > 1) gruppen.push_back(std::move(eigene));
    }
    const size_t anzahl = gruppen.size();
    s.gesamt.store(static_cast<int64_t>(anzahl), std::memory_order_relaxed);
    std::vector<DuplikatGruppe> alle;
    // two threads over the files of one group: reading wants no more from one disk
    Arbeiter arbeiter(2);
    std::vector<std::string> schluessel(dateien.size());
    for (size_t g = 0; g < anzahl; ++g) {
        if (s.angehalten()) break;
        const auto& gruppe = gruppen[g];
        // 3.2 beginning and end, both threads over the group's files
        arbeiter.fuerAlle(gruppe.size(), [&](size_t k) {
            schluessel[gruppe[k]] = randHash(dateien[gruppe[k]].pfad).value_or(einzigartig());
        });
        const auto rand = gruppiere(gruppe, [&](size_t i) { return schluessel[i]; });
        // 3.3 the whole content of every file still in the race
        std::vector<size_t> weiter;
        for (const auto& teil : rand) weiter.insert(weiter.end(), teil.second.begin(), teil.second.end());
        arbeiter.fuerAlle(weiter.size(), [&](size_t k) {
            const DateiInfo& d = dateien[weiter[k]];
            schluessel[weiter[k]] = inhaltHash(d.pfad, s.halt).value_or(einzigartig());
            s.dazu(0, d.groesse);
        });
        for (const auto& teil : rand) {
            for (const auto& [digest, mitglieder] : gruppiere(teil.second, [&](size_t i) { return schluessel[i]; })) {
                std::vector<std::pair<double, size_t>> bewertet;
                for (const size_t i : mitglieder) bewertet.emplace_back(wert(dateien[i], jetzt), i);
                std::stable_sort(bewertet.begin(), bewertet.end(),
                                 [](const auto& a, const auto& b) { return a.first > b.first; });
                DuplikatGruppe d;
                d.id = digest;
                for (const auto& [w, i] : bewertet) d.dateien.push_back(dateien[i]);
                d.behalten = d.dateien.front().pfad;
                for (size_t k = 1; k < d.dateien.size(); ++k)
                    d.wirklichFrei =
                        addiere(d.wirklichFrei, Groesse::privat(d.dateien[k].pfad).value_or(d.dateien[k].belegt));
                alle.push_back(std::move(d));
            }
        }
        if (s.angehalten()) break;  // this group's hashing may have been cut short
        s.dazu(1);
    }
    std::stable_sort(alle.begin(), alle.end(),
                     [](const DuplikatGruppe& a, const DuplikatGruppe& b) { return a.wirklichFrei > b.wirklichFrei; });
    return alle;
}

std::vector<DuplikatGruppe> ohne(std::vector<DuplikatGruppe> gruppen,
                                 const std::function<bool(std::string_view pfad)>& weg) {
    for (auto& g : gruppen) {
        std::erase_if(g.dateien, [&](const DateiInfo& d) { return weg(d.pfad); });
        if (!g.dateien.empty() && weg(g.behalten)) g.behalten = g.dateien.front().pfad;
    }
    std::erase_if(gruppen, [](const DuplikatGruppe& g) { return g.dateien.size() < 2; });
    return gruppen;
}

}  // namespace Duplikate
}  // namespace hainbrem
