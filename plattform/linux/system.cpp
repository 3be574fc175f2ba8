// Linux: home and temp from the environment, capacities from statvfs, private size from FIEMAP.
#include <fcntl.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <dirent.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "plattform/plattform.hpp"

namespace hainbrem::plattform {

namespace {
std::optional<int64_t> produkt(uint64_t a, uint64_t b) {
    uint64_t p;
    if (__builtin_mul_overflow(a, b, &p) || p > static_cast<uint64_t>(INT64_MAX)) return std::nullopt;
    return static_cast<int64_t>(p);
}
}  // namespace

fs::path heimOrdner() {
    if (const char* h = std::getenv("HOME"); h && *h == '/') return fs::path(h);
    if (const passwd* pw = getpwuid(getuid()); pw && pw->pw_dir) return fs::path(pw->pw_dir);
    return fs::path("/");
}

fs::path benutzerTemp() {
    if (const char* t = std::getenv("TMPDIR"); t && *t == '/') return fs::path(t);
    return fs::path("/tmp");
}

std::vector<fs::path> tempWurzeln() { return {"/tmp", "/var/tmp"}; }
fs::path tempErsatz() { return "/tmp"; }

bool istFluechtig(const fs::path& pfad) {
    struct statfs sf {};
    if (::statfs(pfad.c_str(), &sf) != 0) return false;
    return sf.f_type == TMPFS_MAGIC || sf.f_type == RAMFS_MAGIC;
}

fs::path eigenesProgramm() {
    std::error_code e;
    fs::path p = fs::read_symlink("/proc/self/exe", e);
    return e ? fs::path() : p;
}

bool vollzugriff(const fs::path& home) {
    static constexpr std::array ordner{"Desktop", "Documents", "Downloads", "Music", "Pictures",
                                       "Videos",  "Public",    "Templates", ".config", ".local/share"};
    for (const char* name : ordner) {
        const fs::path p = home / name;
        struct stat st {};
        if (::lstat(p.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) continue;
        DIR* d = ::opendir(p.c_str());
        if (!d) return false;
        ::closedir(d);
    }
    return true;
}

Kapazitaet volumenKapazitaet(const fs::path& pfad) {
    struct statvfs sv {};
    if (::statvfs(pfad.c_str(), &sv) != 0) return {};
    Kapazitaet k;
    k.gesamt = produkt(sv.f_blocks, sv.f_frsize);
    k.verfuegbar = produkt(sv.f_bavail, sv.f_frsize);
    return k;
}

std::optional<int64_t> privateGroesse(const char* pfad) {
    const int fd = ::open(pfad, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return std::nullopt;
    }
    constexpr uint32_t proRunde = 256;
    std::vector<char> puffer(sizeof(fiemap) + proRunde * sizeof(fiemap_extent));
    auto* fm = reinterpret_cast<fiemap*>(puffer.data());
    uint64_t start = 0;
    uint64_t privat = 0;
    bool fertig = false;
    while (!fertig) {
        std::memset(puffer.data(), 0, puffer.size());
        fm->fm_start = start;
        fm->fm_length = FIEMAP_MAX_OFFSET - start;
        fm->fm_flags = FIEMAP_FLAG_SYNC;
        fm->fm_extent_count = proRunde;
        if (::ioctl(fd, FS_IOC_FIEMAP, fm) != 0) {
            ::close(fd);
            return std::nullopt;  // file system without FIEMAP
        }
        if (fm->fm_mapped_extents == 0) break;
        for (uint32_t i = 0; i < fm->fm_mapped_extents; ++i) {
            const fiemap_extent& e = fm->fm_extents[i];
            if (!(e.fe_flags & FIEMAP_EXTENT_SHARED)) privat += e.fe_length;
            start = e.fe_logical + e.fe_length;
            if (e.fe_flags & FIEMAP_EXTENT_LAST) fertig = true;
        }
    }
    ::close(fd);
    if (privat > static_cast<uint64_t>(INT64_MAX)) return std::nullopt;
    return static_cast<int64_t>(privat);
}

bool leseEintraege(int fd, std::vector<char>& namen) {
    // getdents64 straight into the caller's buffer: no DIR stream, so no extra fstat/fcntl per folder
    namen.clear();
    alignas(8) char puffer[32768];
    for (;;) {
        const ssize_t n = ::getdents64(fd, puffer, sizeof puffer);
        if (n < 0) return false;
        if (n == 0) return true;
        for (ssize_t pos = 0; pos < n;) {
            const auto* e = reinterpret_cast<const dirent64*>(puffer + pos);
            pos += e->d_reclen;
            const char* name = e->d_name;
            if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
            const size_t l = std::strlen(name);
            namen.push_back(static_cast<char>(e->d_type));
            namen.insert(namen.end(), name, name + l + 1);
        }
    }
}

void cloudSchutzAktivieren() {}

bool istDatenlos(const struct stat&) { return false; }

}  // namespace hainbrem::plattform
