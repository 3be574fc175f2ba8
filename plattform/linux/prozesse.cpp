// Linux: the running processes from /proc, read with plain system calls (hundreds of processes,
// a few small files each).
#include "plattform/prozesse.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <cstdlib>
#include <string_view>

namespace hainbrem::plattform {

namespace {

using Puffer = std::array<char, 4096>;

// Reads at most `puffer.size()` bytes of a small file below /proc; empty on failure.
std::string_view lies(int procFd, const char* rel, Puffer& puffer) {
    const int fd = ::openat(procFd, rel, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return {};
    const ssize_t n = ::read(fd, puffer.data(), puffer.size());
    ::close(fd);
    return n > 0 ? std::string_view(puffer.data(), static_cast<size_t>(n)) : std::string_view{};
}

// A whole file below /proc, however long (maps of a browser run to hundreds of KiB).
void liesGanz(int procFd, const char* rel, std::string& inhalt) {
    inhalt.clear();
    const int fd = ::openat(procFd, rel, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    constexpr size_t block = 65536;
    for (;;) {
        const size_t alt = inhalt.size();
        inhalt.resize(alt + block);
        const ssize_t n = ::read(fd, inhalt.data() + alt, block);
        inhalt.resize(alt + (n > 0 ? static_cast<size_t>(n) : 0));
        // /proc fills what it is given; less means the end
        if (n <= 0 || static_cast<size_t>(n) < block / 2) break;
    }
    ::close(fd);
}

std::string_view dateiname(std::string_view pfad) {
    const size_t schnitt = pfad.rfind('/');
    return schnitt == std::string_view::npos ? pfad : pfad.substr(schnitt + 1);
}

// A link below /proc as text; empty when unreadable. A removed file reads "/x (deleted)".
std::string_view ziel(int ordnerFd, const char* rel, Puffer& puffer) {
    const ssize_t n = ::readlinkat(ordnerFd, rel, puffer.data(), puffer.size());
    if (n <= 0) return {};
    std::string_view z(puffer.data(), static_cast<size_t>(n));
    if (z.ends_with(" (deleted)")) z.remove_suffix(10);
    return z;
}

// "/proc/<pid>" entries, as names.
template <typename F>
void jederProzess(int procFd, F&& f) {
    const int kopie = ::dup(procFd);
    DIR* d = kopie < 0 ? nullptr : ::fdopendir(kopie);
    if (!d) {
        if (kopie >= 0) ::close(kopie);
        return;
    }
    while (const dirent* e = ::readdir(d)) {
        const std::string_view pid = e->d_name;
        if (pid.empty() || pid.find_first_not_of("0123456789") != std::string_view::npos) continue;
        f(e->d_name);
    }
    ::closedir(d);
}

// The process name: comm, which the kernel cuts to 15 bytes; argv[0]'s file name has the whole
// name then.
std::string programmName(int pidFd, std::string_view argv0, Puffer& puffer) {
    std::string comm(lies(pidFd, "comm", puffer));
    if (!comm.empty() && comm.back() == '\n') comm.pop_back();
    const std::string_view voll = dateiname(argv0);
    return comm.size() == 15 && voll.size() > 15 && voll.starts_with(comm) ? std::string(voll) : comm;
}

std::string argv0Von(int pidFd, Puffer& puffer) {
    const std::string_view befehl = lies(pidFd, "cmdline", puffer);
    return std::string(befehl.substr(0, befehl.find('\0')));
}

}  // namespace

std::vector<LaufendesProgrammRoh> laufendeProgramme() {
    std::vector<LaufendesProgrammRoh> liste;
    const int procFd = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (procFd < 0) return liste;
    Puffer puffer{};
    jederProzess(procFd, [&](const char* pid) {
        const int pidFd = ::openat(procFd, pid, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (pidFd < 0) return;
        LaufendesProgrammRoh p;
        const std::string_view pidText = pid;
        std::from_chars(pidText.data(), pidText.data() + pidText.size(), p.pid);
        struct stat st {};
        p.eigenes = ::fstat(pidFd, &st) == 0 && st.st_uid == ::getuid() && p.pid != ::getpid();
        // argv[0] up to its NUL; kernel threads have none.
        const std::string argv0 = argv0Von(pidFd, puffer);
        p.programmdatei = ziel(pidFd, "exe", puffer);
        if (p.programmdatei.empty()) p.programmdatei = argv0;
        if (!p.programmdatei.empty()) {
            p.name = programmName(pidFd, argv0, puffer);
            // inside a Flatpak sandbox programs live in /app; its scope and the sandbox name the app
            // (a snap is known by its executable's path alone)
            if (p.programmdatei.starts_with("/app/")) {
                p.cgroup = lies(pidFd, "cgroup", puffer);
                p.flatpakInfo = lies(pidFd, "root/.flatpak-info", puffer);
            }
            liste.push_back(std::move(p));
        }
        ::close(pidFd);
    });
    ::close(procFd);
    return liste;
}

bool beenden(int pid) { return pid > 0 && pid != ::getpid() && ::kill(pid, SIGTERM) == 0; }

std::vector<OffeneDateienRoh> offeneDateien(const std::vector<int>& bekannt, Anteil anteil) {
    std::vector<OffeneDateienRoh> liste;
    const int procFd = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (procFd < 0) return liste;
    const uid_t ich = ::geteuid();
    const pid_t selbst = ::getpid();
    Puffer puffer{};
    std::string karte;
    jederProzess(procFd, [&](const char* name) {
        const int pid = std::atoi(name);
        if (pid == selbst || !anteil.umfasst(pid)) return;
        const int pidFd = ::openat(procFd, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (pidFd < 0) return;
        struct stat st;
        // only the user's own processes: others' descriptors are unreadable anyway
        if (::fstat(pidFd, &st) != 0 || st.st_uid != ich) {
            ::close(pidFd);
            return;
        }
        OffeneDateienRoh p;
        p.pid = pid;
        if (std::binary_search(bekannt.begin(), bekannt.end(), pid)) {
            ::close(pidFd);
            liste.push_back(std::move(p));
            return;
        }
        p.gelesen = true;
        const auto nimm = [&](std::string_view pfad) {
            if (pfad.size() > 1 && pfad.front() == '/') p.pfade.emplace_back(pfad);
        };
        if (const int fdOrdner = ::openat(pidFd, "fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC); fdOrdner >= 0) {
            if (DIR* d = ::fdopendir(fdOrdner)) {
                while (const dirent* e = ::readdir(d))
                    if (e->d_name[0] >= '0' && e->d_name[0] <= '9') nimm(ziel(::dirfd(d), e->d_name, puffer));
                ::closedir(d);
            } else {
                ::close(fdOrdner);
            }
        }
        nimm(ziel(pidFd, "cwd", puffer));
        // "addr perms offset dev inode   /path": the path is all from the line's first "/"
        liesGanz(pidFd, "maps", karte);
        std::string_view rest = karte;
        std::string_view vorige;
        while (!rest.empty()) {
            const size_t ende = std::min(rest.find('\n'), rest.size());
            std::string_view zeile = rest.substr(0, ende);
            rest.remove_prefix(std::min(ende + 1, rest.size()));
            const size_t schraeg = zeile.find('/');
            if (schraeg == std::string_view::npos) continue;
            zeile.remove_prefix(schraeg);
            if (zeile.ends_with(" (deleted)")) zeile.remove_suffix(10);
            if (zeile == vorige) continue;  // the segments of one file follow each other
            vorige = zeile;
            nimm(zeile);
        }
        ::close(pidFd);
        std::sort(p.pfade.begin(), p.pfade.end());
        p.pfade.erase(std::unique(p.pfade.begin(), p.pfade.end()), p.pfade.end());
        liste.push_back(std::move(p));
    });
    ::close(procFd);
    return liste;
}

std::optional<std::string> prozessName(int pid) {
    const int procFd = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (procFd < 0) return std::nullopt;
    const int pidFd = ::openat(procFd, std::to_string(pid).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(procFd);
    if (pidFd < 0) return std::nullopt;
    Puffer puffer{};
    // "pid (name) S …": the state follows the name, which may itself hold ")"
    const std::string_view stat = lies(pidFd, "stat", puffer);
    const size_t klammer = stat.rfind(')');
    const char zustand = klammer != std::string_view::npos && klammer + 2 < stat.size() ? stat[klammer + 2] : 'X';
    std::optional<std::string> name;
    if (zustand != 'Z' && zustand != 'X' && zustand != 'x') name = programmName(pidFd, argv0Von(pidFd, puffer), puffer);
    ::close(pidFd);
    return name;
}

}  // namespace hainbrem::plattform
