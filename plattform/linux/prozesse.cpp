// Linux: the running processes from /proc, read with plain system calls (hundreds of processes,
// a few small files each).
#include "plattform/prozesse.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <string>
#include <string_view>

namespace hainbrem::plattform {

namespace {

// Reads at most `puffer.size()` bytes of a small file below /proc; empty on failure.
std::string_view lies(int procFd, const char* rel, std::array<char, 4096>& puffer) {
    const int fd = ::openat(procFd, rel, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return {};
    const ssize_t n = ::read(fd, puffer.data(), puffer.size());
    ::close(fd);
    return n > 0 ? std::string_view(puffer.data(), static_cast<size_t>(n)) : std::string_view{};
}

std::string_view dateiname(std::string_view pfad) {
    const size_t schnitt = pfad.rfind('/');
    return schnitt == std::string_view::npos ? pfad : pfad.substr(schnitt + 1);
}

}  // namespace

std::vector<LaufendesProgrammRoh> laufendeProgramme() {
    std::vector<LaufendesProgrammRoh> liste;
    const int procFd = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (procFd < 0) return liste;
    DIR* d = ::fdopendir(procFd);
    if (!d) {
        ::close(procFd);
        return liste;
    }
    std::array<char, 4096> puffer{};
    std::array<char, 64> rel{};
    while (const dirent* e = ::readdir(d)) {
        const std::string_view pid = e->d_name;
        if (pid.empty() || pid.find_first_not_of("0123456789") != std::string_view::npos) continue;
        if (pid.size() + 10 >= rel.size()) continue;
        auto pfadZu = [&](std::string_view datei) {
            std::string_view(pid).copy(rel.data(), pid.size());
            rel[pid.size()] = '/';
            datei.copy(rel.data() + pid.size() + 1, datei.size());
            rel[pid.size() + 1 + datei.size()] = '\0';
            return rel.data();
        };

        LaufendesProgrammRoh p;
        std::from_chars(pid.data(), pid.data() + pid.size(), p.pid);
        struct stat st {};
        p.eigenes = ::fstatat(procFd, std::string(pid).c_str(), &st, 0) == 0 && st.st_uid == ::getuid() &&
                    p.pid != ::getpid();
        // argv[0] up to its NUL; kernel threads have none.
        const std::string_view befehl = lies(procFd, pfadZu("cmdline"), puffer);
        const std::string argv0(befehl.substr(0, befehl.find('\0')));
        std::string comm(lies(procFd, pfadZu("comm"), puffer));
        if (!comm.empty() && comm.back() == '\n') comm.pop_back();
        const ssize_t n = ::readlinkat(procFd, pfadZu("exe"), puffer.data(), puffer.size());
        if (n > 0) {
            p.programmdatei.assign(puffer.data(), static_cast<size_t>(n));
            // a replaced binary reads "/usr/bin/x (deleted)"
            if (p.programmdatei.ends_with(" (deleted)")) p.programmdatei.resize(p.programmdatei.size() - 10);
        } else {
            p.programmdatei = argv0;
        }
        if (p.programmdatei.empty()) continue;
        // comm is cut to 15 bytes; argv[0]'s file name has the whole name then.
        const std::string_view voll = dateiname(argv0);
        p.name = comm.size() == 15 && voll.size() > 15 && voll.starts_with(comm) ? std::string(voll) : comm;
        liste.push_back(std::move(p));
    }
    ::closedir(d);
    return liste;
}

bool beenden(int pid) { return pid > 0 && pid != ::getpid() && ::kill(pid, SIGTERM) == 0; }

}  // namespace hainbrem::plattform
