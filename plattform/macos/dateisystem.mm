// macOS: a mount point is where the device changes (firmlinks join volumes of one container
// but are never inside a cleanup item's tree). Permissions are changed with fchmodat, which
// changes a link itself rather than its target. Not built or tested on Linux.
#include "plattform/dateisystem.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "plattform/plattform.hpp"

namespace hainbrem::plattform {

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

}  // namespace hainbrem::plattform
