// Linux: mounts are told apart by their mount id (statx, or /proc/self/fdinfo on kernels
// before 5.8); permissions are changed through an O_PATH descriptor, which a link can't redirect.
#include "plattform/dateisystem.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

}  // namespace hainbrem::plattform
