// Linux: mount table from procfs, the disk of a block device from sysfs.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "plattform/scan.hpp"

namespace hainbrem::plattform {

std::string einhaengTabelle() {
    std::ifstream ein("/proc/self/mountinfo");
    if (!ein) return {};
    std::ostringstream s;
    s << ein.rdbuf();
    return s.str();
}

std::optional<std::string> plattenName(const std::string& geraetePfad) {
    struct stat st {};
    if (::stat(geraetePfad.c_str(), &st) != 0 || !S_ISBLK(st.st_mode)) return std::nullopt;
    const std::string sys =
        "/sys/dev/block/" + std::to_string(major(st.st_rdev)) + ":" + std::to_string(minor(st.st_rdev));
    char echt[PATH_MAX];
    if (!::realpath(sys.c_str(), echt)) return std::nullopt;
    // …/block/<disk>[/<partition>]; device-mapper and md devices are their own disk
    const std::string p = echt;
    const size_t b = p.find("/block/");
    if (b == std::string::npos) return std::nullopt;
    const size_t anfang = b + 7;
    const size_t ende = p.find('/', anfang);
    return p.substr(anfang, ende == std::string::npos ? std::string::npos : ende - anfang);
}

void liestNacheinander(int fd) { ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL); }
void brauchtNichtMehr(int fd) { ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED); }

}  // namespace hainbrem::plattform
