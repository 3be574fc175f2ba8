// Linux: folders are reached with openat2 (or one O_NOFOLLOW step at a time); mounts are told
// apart by their mount id (statx, or /proc/self/fdinfo on kernels before 5.8); permissions are
// changed through an O_PATH descriptor, which a link can't redirect.
#include "plattform/dateisystem.hpp"

#include "basis/pfade.hpp"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>

#include "plattform/plattform.hpp"

#ifndef STATX_MNT_ID
#define STATX_MNT_ID 0x00001000U
#endif

namespace hainbrem::plattform {

namespace {

std::atomic<bool> schrittweise{false};
std::atomic<bool> keinOpenat2{false};  // the kernel said ENOSYS once

constexpr int ordnerFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

int schrittFuerSchritt(int basisFd, std::string_view rel) {
    int fd = ::openat(basisFd, ".", ordnerFlags);
    if (fd < 0) return -errno;
    for (size_t anfang = 0; anfang < rel.size();) {
        size_t ende = rel.find('/', anfang);
        if (ende == std::string_view::npos) ende = rel.size();
        const std::string teil(rel.substr(anfang, ende - anfang));
        anfang = ende + 1;
        if (teil.empty()) continue;
        // O_PATH with O_NOFOLLOW would open a link itself: the folder test below refuses it
        const int naechster = ::openat(fd, teil.c_str(), ordnerFlags | O_NOFOLLOW);
        const int fehler = errno;
        ::close(fd);
        if (naechster < 0) return -fehler;
        struct stat st;
        if (::fstat(naechster, &st) != 0 || !S_ISDIR(st.st_mode)) {
            const bool link = S_ISLNK(st.st_mode);
            ::close(naechster);
            return link ? -ELOOP : -ENOTDIR;
        }
        fd = naechster;
    }
    return fd;
}

std::optional<uint64_t> einhaengeKennung(int fd) {
    struct statx sx {};
    if (::statx(fd, "", AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC, STATX_MNT_ID, &sx) == 0 &&
        (sx.stx_mask & STATX_MNT_ID))
        return sx.stx_mnt_id;
    std::ifstream info("/proc/self/fdinfo/" + std::to_string(fd));
    std::string wort;
    while (info >> wort) {
        if (wort != "mnt_id:") continue;
        uint64_t kennung = 0;
        if (info >> kennung) return kennung;
        break;
    }
    return std::nullopt;
}

}  // namespace

int oeffneOrdnerOhneLinks(int basisFd, std::string_view rel) {
    while (!rel.empty() && rel.front() == '/') rel.remove_prefix(1);
    if (hatPunktTeil(rel)) return -EINVAL;
    if (rel.empty()) rel = ".";
    if (!schrittweise.load(std::memory_order_relaxed) && !keinOpenat2.load(std::memory_order_relaxed)) {
        open_how wie{};
        wie.flags = ordnerFlags;
        wie.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS | RESOLVE_BENEATH;
        const std::string text(rel);
        for (;;) {
            const long fd = ::syscall(SYS_openat2, basisFd, text.c_str(), &wie, sizeof wie);
            if (fd >= 0) return static_cast<int>(fd);
            if (errno == EAGAIN || errno == EINTR) continue;  // a rename elsewhere raced the lookup
            if (errno != ENOSYS && errno != EPERM) return -errno;
            if (errno == ENOSYS) keinOpenat2.store(true, std::memory_order_relaxed);
            break;  // EPERM: a seccomp filter that forbids openat2; walk instead
        }
    }
    return schrittFuerSchritt(basisFd, rel);
}

int oeffneKanonisch(std::string_view pfad) {
    if (pfad.empty() || pfad.front() != '/') return -EINVAL;
    const int wurzel = ::open("/", ordnerFlags);
    if (wurzel < 0) return -errno;
    const int fd = oeffneOrdnerOhneLinks(wurzel, pfad.substr(1));
    ::close(wurzel);
    return fd;
}

void nurSchrittweise(bool ja) { schrittweise.store(ja, std::memory_order_relaxed); }

bool istEinhaengepunkt(int elternFd, int fd) {
    struct stat e, k;
    if (::fstat(elternFd, &e) != 0 || ::fstat(fd, &k) != 0) return true;  // can't tell: don't enter
    if (e.st_dev != k.st_dev) return true;
    const auto a = einhaengeKennung(elternFd), b = einhaengeKennung(fd);
    return a && b && *a != *b;
}

bool ergaenzeBesitzerRechte(int elternFd, const char* name) {
    const int fd = ::openat(elternFd, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat st;
    bool ok = false;
    if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::geteuid() && !istDatenlos(st) &&
        (st.st_mode & S_IRWXU) != S_IRWXU) {
        // chmod on an O_PATH descriptor goes through its /proc entry
        const std::string proc = "/proc/self/fd/" + std::to_string(fd);
        ok = ::chmod(proc.c_str(), (st.st_mode & 07777) | S_IRWXU) == 0;
    }
    ::close(fd);
    return ok;
}

int oeffneZumAnsehen(const char* pfad) {
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK;
    int fd = ::open(pfad, flags | O_NOATIME);
    if (fd < 0 && errno == EPERM) fd = ::open(pfad, flags);  // O_NOATIME is for the owner (and root) only
    return fd < 0 ? -errno : fd;
}

}  // namespace hainbrem::plattform
