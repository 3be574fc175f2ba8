#pragma once
// File-system calls the disposer needs that differ between systems: folders reached without
// following links, recognising mount points and giving a folder of ours back its owner
// permissions without following a link.
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <utility>

namespace hainbrem::plattform {

// An open descriptor that closes itself.
class Griff {
public:
    Griff() = default;
    explicit Griff(int fd) : fd_(fd) {}
    Griff(Griff&& o) noexcept : fd_(std::exchange(o.fd_, -1)) {}
    Griff& operator=(Griff&& o) noexcept {
        if (this != &o) {
            schliesse();
            fd_ = std::exchange(o.fd_, -1);
        }
        return *this;
    }
    Griff(const Griff&) = delete;
    Griff& operator=(const Griff&) = delete;
    ~Griff() { schliesse(); }

    int fd() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

private:
    void schliesse() {
        if (fd_ >= 0) ::close(fd_);
    }
    int fd_ = -1;
};

// Opens the folder `rel` below the open folder `basisFd` without following any symbolic link on
// the way (a link anywhere: ELOOP) and without leaving `basisFd` ("." and ".." parts: EINVAL).
// An empty `rel` opens `basisFd` itself again. Linux: openat2 with RESOLVE_NO_SYMLINKS and
// RESOLVE_BENEATH, or one name at a time with O_NOFOLLOW on kernels without it. The descriptor
// serves as the folder for *at calls (Linux: O_PATH, not for listing). -errno on failure.
int oeffneOrdnerOhneLinks(int basisFd, std::string_view rel);

// Opens `pfad` to read it as a looker does: not through a link at its last part, without waiting
// on a pipe or device in its place, and (where the system lets its owner) without touching its
// access time, which tells the user when they last used a file. The descriptor, or -errno.
int oeffneZumAnsehen(const char* pfad);

// The same from "/" for a path without links (as realpath returns it). -errno on failure.
int oeffneKanonisch(std::string_view pfad);

// Tests: force the walk one name at a time, as on kernels without openat2.
void nurSchrittweise(bool ja);

// True when the open folder `fd`, reached from the open folder `elternFd`, is a mount point:
// another file system, or another mount of the same one (a bind mount shares the device
// number, so the device alone does not show it). When the system cannot tell the mounts
// apart, only the device is compared.
bool istEinhaengepunkt(int elternFd, int fd);

// Adds u+rwx to the folder `name` in `elternFd` when it is ours, lacks some of these bits and
// is not dataless. A link put in its place is never followed. True when the mode was changed.
bool ergaenzeBesitzerRechte(int elternFd, const char* name);

// An item reached from a trusted folder without following links: its parent held open, the
// parent's path (no links in it) and identity when it was opened, and the item's name in it.
struct Ort {
    Griff eltern;
    std::string elternPfad;
    std::string name;
    dev_t geraet = 0;
    ino_t inode = 0;

    std::string pfad() const { return elternPfad == "/" ? "/" + name : elternPfad + "/" + name; }
};

}  // namespace hainbrem::plattform
