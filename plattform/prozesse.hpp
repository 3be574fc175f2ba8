#pragma once
// The programs running right now, as the system names them.
#include <string>
#include <vector>

namespace hainbrem::plattform {

struct LaufendesProgrammRoh {
    std::string kennung;        // macOS: bundle identifier; Linux: none (empty)
    std::string name;           // macOS: localized name; Linux: the process name
    std::string programmdatei;  // path of the executable (Linux: argv[0] when the link is unreadable)
    int pid = 0;
    bool eigenes = false;  // runs as the current user (and is not this process)
};

// One entry per running program; kernel threads and vanished processes are left out.
std::vector<LaufendesProgrammRoh> laufendeProgramme();

// Asks the program with this process id to quit (Linux: SIGTERM; macOS: the application's
// terminate). True when the request was delivered.
bool beenden(int pid);

}  // namespace hainbrem::plattform
