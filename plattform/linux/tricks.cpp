// Linux: no cloud placeholders, no Time Machine; swap from /proc/swaps through libmount.
#include <libmount.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <memory>

#include "plattform/tricks.hpp"

namespace hainbrem::plattform {

std::vector<CloudDatei> geladeneCloudDateien(const std::filesystem::path&) { return {}; }

bool cloudAuslagern(const std::filesystem::path&) { return false; }

bool hatMacWerkzeuge() { return false; }

std::optional<std::vector<SwapBereich>> swapBereiche() { return swapBereicheAus("/proc/swaps"); }

std::optional<std::vector<SwapBereich>> swapBereicheAus(const std::string& datei) {
    const std::unique_ptr<libmnt_table, decltype(&mnt_unref_table)> tabelle(mnt_new_table(), mnt_unref_table);
    const std::unique_ptr<libmnt_iter, decltype(&mnt_free_iter)> iter(mnt_new_iter(MNT_ITER_FORWARD), mnt_free_iter);
    if (!tabelle || !iter) return std::nullopt;
    // broken lines are skipped by libmount; only a file that cannot be read fails as a whole
    if (mnt_table_parse_swaps(tabelle.get(), datei.c_str()) < 0) return std::nullopt;
    std::vector<SwapBereich> liste;
    libmnt_fs* fs = nullptr;
    while (mnt_table_next_fs(tabelle.get(), iter.get(), &fs) == 0) {
        const char* pfad = mnt_fs_get_source(fs);
        const char* typ = mnt_fs_get_swaptype(fs);
        if (!pfad) continue;
        liste.push_back({pfad, typ ? typ : "", mnt_fs_get_size(fs), mnt_fs_get_usedsize(fs)});
    }
    return liste;
}

std::filesystem::path tempBereich(const std::filesystem::path& temp) { return temp; }

std::optional<bool> imArbeitsspeicher(const std::filesystem::path& ordner) {
    struct statfs s {};
    if (::statfs(ordner.c_str(), &s) != 0) return std::nullopt;
    return s.f_type == TMPFS_MAGIC || s.f_type == RAMFS_MAGIC;
}

}  // namespace hainbrem::plattform
