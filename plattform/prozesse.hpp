#pragma once
// The programs running right now, as the system names them, and what they hold open.
#include <optional>
#include <string>
#include <vector>

namespace hainbrem::plattform {

struct LaufendesProgrammRoh {
    std::string kennung;        // macOS: bundle identifier; Linux: none (empty)
    std::string name;           // macOS: localized name; Linux: the process name
    std::string programmdatei;  // path of the executable (Linux: argv[0] when the link is unreadable)
    int pid = 0;
    bool eigenes = false;  // runs as the current user (and is not this process)
    // Linux, as read for programs in /app (a Flatpak sandbox): /proc/<pid>/cgroup and the
    // sandbox's /.flatpak-info. The core reads the app id from them, a snap name from the path.
    std::string cgroup;
    std::string flatpakInfo;
};

// One entry per running program; kernel threads and vanished processes are left out.
std::vector<LaufendesProgrammRoh> laufendeProgramme();

// Asks the program with this process id to quit (Linux: SIGTERM; macOS: the application's
// terminate). True when the request was delivered.
bool beenden(int pid);

// What one process holds open: files behind its descriptors, mapped files, its working folder.
// Paths as the system shows them (links resolved; " (deleted)" dropped).
struct OffeneDateienRoh {
    int pid = 0;
    bool gelesen = false;  // false: left out as already known, `pfade` empty
    std::vector<std::string> pfade;
};

// A share of the processes, so that several threads can read at once: those whose id modulo
// `von` is `nummer`.
struct Anteil {
    unsigned nummer = 0;
    unsigned von = 1;
    bool umfasst(int pid) const { return von <= 1 || static_cast<unsigned>(pid) % von == nummer; }
};

// The current user's processes except this one (of the share), in any order. Those in `bekannt`
// (sorted) are listed but not read, so a refresh costs little. Linux: /proc/<pid>/fd, maps and
// cwd; macOS: the process information calls.
std::vector<OffeneDateienRoh> offeneDateien(const std::vector<int>& bekannt = {}, Anteil anteil = {});

// The name of a process that has not ended (a zombie has); none otherwise.
std::optional<std::string> prozessName(int pid);

}  // namespace hainbrem::plattform
