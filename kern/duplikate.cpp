#include "kern/duplikate.hpp"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <thread>
#include <unordered_map>

#include "kern/groesse.hpp"
#include "kern/rechnen.hpp"
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
    explicit Datei(const char* pfad) : fd_(::open(pfad, O_RDONLY | O_CLOEXEC | O_NOCTTY)) {}
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
    plattform::liestNacheinander(d.fd());
    auto& p = puffer();
    Hasher h;
    for (off_t ab = 0;;) {
        const ssize_t n = d.lies(p.data(), p.size(), ab);
        if (n < 0) return std::nullopt;
        if (n == 0) break;
        h.dazu(p.data(), static_cast<size_t>(n));
        ab += n;
        if (halt.stop_requested()) return std::nullopt;
    }
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

std::vector<DuplikatGruppe> finde(const std::vector<DateiInfo>& dateien,
                                  const std::function<void(double)>& fortschritt, std::stop_token halt) {
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
    std::vector<std::vector<DuplikatGruppe>> ergebnisse(anzahl);
    if (anzahl > 0) {
        // Largest work first, spread over two threads; results keep the size groups' order.
        std::vector<size_t> reihenfolge(anzahl);
        std::iota(reihenfolge.begin(), reihenfolge.end(), size_t{0});
        auto arbeit = [&](size_t g) {
            return static_cast<double>(dateien[gruppen[g].front()].groesse) * static_cast<double>(gruppen[g].size());
        };
        std::stable_sort(reihenfolge.begin(), reihenfolge.end(),
                         [&](size_t a, size_t b) { return arbeit(a) > arbeit(b); });
        std::atomic<size_t> naechste{0};
        std::mutex meldeSperre;
        size_t erledigt = 0;
        auto bearbeite = [&](size_t g) {
            const auto& gruppe = gruppen[g];
            // 3.2 beginning and end
            const auto rand = gruppiere(gruppe, [&](size_t i) {
                return randHash(dateien[i].pfad).value_or(einzigartig());
            });
            for (const auto& teil : rand) {
                // 3.3 the whole content
                const auto gleich = gruppiere(teil.second, [&](size_t i) {
                    return inhaltHash(dateien[i].pfad, halt).value_or(einzigartig());
                });
                for (const auto& [digest, mitglieder] : gleich) {
                    std::vector<std::pair<double, size_t>> bewertet;
                    for (const size_t i : mitglieder) bewertet.emplace_back(wert(dateien[i], jetzt), i);
                    std::stable_sort(bewertet.begin(), bewertet.end(),
                                     [](const auto& a, const auto& b) { return a.first > b.first; });
                    DuplikatGruppe d;
                    d.id = digest;
                    for (const auto& [w, i] : bewertet) d.dateien.push_back(dateien[i]);
                    d.behalten = d.dateien.front().pfad;
                    for (size_t k = 1; k < d.dateien.size(); ++k)
                        d.wirklichFrei = addiere(
                            d.wirklichFrei, Groesse::privat(d.dateien[k].pfad).value_or(d.dateien[k].belegt));
                    ergebnisse[g].push_back(std::move(d));
                }
            }
        };
        auto arbeiter = [&] {
            for (;;) {
                if (halt.stop_requested()) return;
                const size_t n = naechste.fetch_add(1);
                if (n >= anzahl) return;
                bearbeite(reihenfolge[n]);
                if (halt.stop_requested()) return;
                std::lock_guard lock(meldeSperre);
                ++erledigt;
                if (fortschritt) fortschritt(static_cast<double>(erledigt) / static_cast<double>(anzahl));
            }
        };
        std::thread zweiter(arbeiter);
        arbeiter();
        zweiter.join();
    }
    std::vector<DuplikatGruppe> alle;
    for (auto& e : ergebnisse)
        for (auto& d : e) alle.push_back(std::move(d));
    std::stable_sort(alle.begin(), alle.end(),
                     [](const DuplikatGruppe& a, const DuplikatGruppe& b) { return a.wirklichFrei > b.wirklichFrei; });
    return alle;
}

}  // namespace Duplikate
}  // namespace hainbrem
