#pragma once
// File-system calls the deleter needs that differ between systems: recognising mount points
// and giving a folder of ours back its owner permissions without following a link.
#include <sys/stat.h>

namespace hainbrem::plattform {

// True when the open folder `fd`, reached from the open folder `elternFd`, is a mount point:
// another file system, or another mount of the same one (a bind mount shares the device
// number, so the device alone does not show it). When the system cannot tell the mounts
// apart, only the device is compared.
bool istEinhaengepunkt(int elternFd, int fd);

// Adds u+rwx to the folder `name` in `elternFd` when it is ours, lacks some of these bits and
// is not dataless. A link put in its place is never followed. True when the mode was changed.
bool ergaenzeBesitzerRechte(int elternFd, const char* name);

}  // namespace hainbrem::plattform
