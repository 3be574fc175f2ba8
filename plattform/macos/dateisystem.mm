// macOS: folders are reached one O_NOFOLLOW step at a time (there is no openat2); a mount point is where the device changes (firmlinks join volumes of one container
// but are never inside a cleanup item's tree). Permissions are changed with fchmodat, which
// changes a link itself rather than its target. Not built or tested on Linux.
#include "plattform/dateisystem.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "plattform/plattform.hpp"

namespace hainbrem::plattform {

int oeffneOrdnerOhneLinks(int basisFd, std::string_view rel) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int fd = ::openat(basisFd, ".", flags);
    if (fd < 0) return -errno;
    for (size_t anfang = 0; anfang < rel.size();) {
        size_t ende = rel.find('/', anfang);
        if (ende == std::string_view::npos) ende = rel.size();
        const std::string teil(rel.substr(anfang, ende - anfang));
        anfang = ende + 1;
        if (teil.empty()) continue;
        if (teil == "." || teil == "..") {
            ::close(fd);
            return -EINVAL;
        }
        const int naechster = ::openat(fd, teil.c_str(), flags);
        const int fehler = errno;
        ::close(fd);
        if (naechster < 0) return -fehler;
        fd = naechster;
    }
    return fd;
}

int oeffneKanonisch(std::string_view pfad) {
    if (pfad.empty() || pfad.front() != '/') return -EINVAL;
    const int wurzel = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (wurzel < 0) return -errno;
    const int fd = oeffneOrdnerOhneLinks(wurzel, pfad.substr(1));
    ::close(wurzel);
    return fd;
}

void nurSchrittweise(bool) {}

bool istEinhaengepunkt(int elternFd, int fd) {
    struct stat e, k;
    if (::fstat(elternFd, &e) != 0 || ::fstat(fd, &k) != 0) return true;
    return e.st_dev != k.st_dev;
}

bool ergaenzeBesitzerRechte(int elternFd, const char* name) {
    struct stat st;
    if (::fstatat(elternFd, name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(st.st_mode) ||
        st.st_uid != ::geteuid() || istDatenlos(st) || (st.st_mode & S_IRWXU) == S_IRWXU)
        return false;
    return ::fchmodat(elternFd, name, (st.st_mode & 07777) | S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0;
}

int oeffneZumAnsehen(const char* pfad) {
    const int fd = ::open(pfad, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK);
    return fd < 0 ? -errno : fd;
}

}  // namespace hainbrem::plattform
