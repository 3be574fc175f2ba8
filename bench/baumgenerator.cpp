// Deterministic generator of realistic file trees for benchmarks:
//   baumgenerator ZIEL [--dateien N] [--seed S] [--dubletten N]
// Log-normal file sizes, folders of varying width and depth, a deep node_modules-like subtree,
// hard links, symbolic links (also dangling), sparse files and a set of duplicate files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<char> inhalt;  // shared source of file bytes

bool schreibe(const std::string& pfad, size_t bytes, uint64_t variante) {
    const int fd = ::open(pfad.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    size_t rest = bytes;
    size_t versatz = variante % 4096;
    while (rest > 0) {
        const size_t n = std::min(rest, inhalt.size() - versatz);
        if (::write(fd, inhalt.data() + versatz, n) != static_cast<ssize_t>(n)) {
            ::close(fd);
            return false;
        }
        rest -= n;
        versatz = 0;
    }
    ::close(fd);
    return true;
}

void mkdirs(const std::string& p) {
    std::string teil;
    for (size_t i = 0; i <= p.size(); ++i) {
        if (i == p.size() || p[i] == '/') {
            if (!teil.empty()) ::mkdir(teil.c_str(), 0755);
        }
        if (i < p.size()) teil.push_back(p[i]);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "Aufruf: baumgenerator ZIEL [--dateien N] [--seed S] [--dubletten N]\n");
        return 2;
    }
    const std::string ziel = argv[1];
    long dateien = 300000;
    unsigned seed = 42;
    long dubletten = 200;
    for (int i = 2; i + 1 < argc; i += 2) {
        if (!std::strcmp(argv[i], "--dateien")) dateien = std::atol(argv[i + 1]);
        else if (!std::strcmp(argv[i], "--seed")) seed = static_cast<unsigned>(std::atol(argv[i + 1]));
        else if (!std::strcmp(argv[i], "--dubletten")) dubletten = std::atol(argv[i + 1]);
    }
    std::mt19937_64 zufall(seed);
    inhalt.resize(1 << 20);
    for (auto& c : inhalt) c = static_cast<char>(zufall() & 0xff);
    // Most files are small, a few are large: median ~ 3 KB, long tail into megabytes.
    std::lognormal_distribution<double> groesse(8.0, 2.0);
    std::uniform_int_distribution<int> breite(1, 40);

    mkdirs(ziel);
    long erzeugt = 0;
    long ordnerNr = 0;
    // Regular project-like part: folders of 1..40 files, nested 1..8 deep.
    const long regulaer = dateien * 7 / 10;
    std::vector<std::string> ordner{ziel};
    while (erzeugt < regulaer) {
        const std::string& eltern = ordner[zufall() % ordner.size()];
        const int tiefe = static_cast<int>(std::count(eltern.begin(), eltern.end(), '/'));
        const std::string neu = eltern + "/d" + std::to_string(ordnerNr++);
        if (tiefe > 12) continue;
        ::mkdir(neu.c_str(), 0755);
        ordner.push_back(neu);
        const int n = breite(zufall);
        for (int k = 0; k < n && erzeugt < regulaer; ++k, ++erzeugt) {
            const double g = std::min(groesse(zufall), 64.0 * 1024 * 1024);
            schreibe(neu + "/f" + std::to_string(k) + ".dat", static_cast<size_t>(g), zufall());
        }
    }
    // node_modules-like part: many tiny files in a deep, wide package tree.
    const std::string nm = ziel + "/projekt/node_modules";
    mkdirs(nm);
    ::close(::open((ziel + "/projekt/package.json").c_str(), O_WRONLY | O_CREAT, 0644));
    long paket = 0;
    while (erzeugt < dateien) {
        std::string p = nm + "/paket" + std::to_string(paket++);
        const int verschachtelt = static_cast<int>(zufall() % 4);
        for (int v = 0; v < verschachtelt; ++v) p += "/node_modules/unter" + std::to_string(v);
        mkdirs(p + "/lib");
        for (int k = 0; k < 12 && erzeugt < dateien; ++k, ++erzeugt)
            schreibe(p + "/lib/m" + std::to_string(k) + ".js", static_cast<size_t>(200 + zufall() % 6000), zufall());
    }
    // A folder chain deeper than PATH_MAX.
    {
        std::string tief = ziel + "/tief";
        ::mkdir(tief.c_str(), 0755);
        const int basis = ::open(tief.c_str(), O_RDONLY | O_DIRECTORY);
        int fd = basis;
        for (int i = 0; i < 300; ++i) {
            const std::string name = "ebene-mit-einem-recht-langen-namen-" + std::to_string(i);
            ::mkdirat(fd, name.c_str(), 0755);
            const int neu = ::openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY);
            if (fd != basis) ::close(fd);
            fd = neu;
            if (fd < 0) break;
            const int d = ::openat(fd, "x", O_WRONLY | O_CREAT, 0644);
            if (d >= 0) {
                (void)::write(d, inhalt.data(), 100);
                ::close(d);
            }
        }
        if (fd >= 0 && fd != basis) ::close(fd);
        ::close(basis);
    }
    // Hard links, symbolic links and sparse files.
    const std::string sonder = ziel + "/sonder";
    mkdirs(sonder + "/links");
    schreibe(sonder + "/gross.bin", 5 << 20, 7);
    for (int i = 0; i < 50; ++i) {
        (void)::link((sonder + "/gross.bin").c_str(), (sonder + "/links/hart" + std::to_string(i)).c_str());
        (void)::symlink("../gross.bin", (sonder + "/links/weich" + std::to_string(i)).c_str());
    }
    (void)::symlink("/gibt/es/nicht", (sonder + "/links/tot").c_str());
    (void)::symlink(ziel.c_str(), (sonder + "/links/schleife").c_str());
    for (int i = 0; i < 20; ++i) {
        const std::string s = sonder + "/duenn" + std::to_string(i) + ".img";
        const int fd = ::open(s.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0) continue;
        (void)::ftruncate(fd, 1LL << 30);
        (void)::pwrite(fd, inhalt.data(), 65536, 1 << 20);
        ::close(fd);
    }
    // Duplicates: groups of identical files of 1..8 MB, plus near-twins differing in the middle.
    const std::string dup = ziel + "/dubletten";
    mkdirs(dup);
    for (long g = 0; g < dubletten; ++g) {
        const size_t bytes = (1 + static_cast<size_t>(zufall() % 8)) << 20;
        const uint64_t variante = zufall();
        const int kopien = 2 + static_cast<int>(zufall() % 3);
        for (int k = 0; k < kopien; ++k)
            schreibe(dup + "/g" + std::to_string(g) + "-" + std::to_string(k) + ".bin", bytes, variante);
        if (g % 10 == 0) {
            const std::string zwilling = dup + "/g" + std::to_string(g) + "-zwilling.bin";
            schreibe(zwilling, bytes, variante);
            const int fd = ::open(zwilling.c_str(), O_WRONLY);
            (void)::pwrite(fd, "anders", 6, static_cast<off_t>(bytes / 2));
            ::close(fd);
        }
    }
    std::printf("%ld Dateien in %ld Ordnern unter %s\n", erzeugt, ordnerNr, ziel.c_str());
    return 0;
}
