// Linux: mount table from procfs through libmount, the disk of a block device from sysfs.
#include <fcntl.h>
#include <libmount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <climits>
#include <cstdlib>
#include <memory>

#include "plattform/scan.hpp"

namespace hainbrem::plattform {

std::vector<Einhaengung> einhaengTabelle() { return einhaengTabelleAus("/proc/self/mountinfo"); }

std::vector<Einhaengung> einhaengTabelleAus(const std::string& datei) {
    const std::unique_ptr<libmnt_table, decltype(&mnt_unref_table)> tabelle(mnt_new_table(), mnt_unref_table);
    const std::unique_ptr<libmnt_iter, decltype(&mnt_free_iter)> iter(mnt_new_iter(MNT_ITER_FORWARD), mnt_free_iter);
    if (!tabelle || !iter) return {};
    // Broken lines are skipped by libmount itself; a failed read keeps what was read before it.
    mnt_table_parse_file(tabelle.get(), datei.c_str());
    std::vector<Einhaengung> liste;
    libmnt_fs* fs = nullptr;
    while (mnt_table_next_fs(tabelle.get(), iter.get(), &fs) == 0) {
        const char* punkt = mnt_fs_get_target(fs);
        if (!punkt) continue;
        const char* typ = mnt_fs_get_fstype(fs);
        const char* quelle = mnt_fs_get_source(fs);
        liste.push_back({punkt, typ ? typ : "", quelle ? quelle : ""});
    }
    return liste;
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
