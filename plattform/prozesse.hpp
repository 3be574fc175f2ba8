#pragma once
// The programs running right now, as the system names them.
#include <string>
#include <vector>

namespace hainbrem::plattform {

struct LaufendesProgrammRoh {
    std::string kennung;        // macOS: bundle identifier; Linux: none (empty)
    std::string name;           // macOS: localized name; Linux: the process name
    std::string programmdatei;  // path of the executable (Linux: argv[0] when the link is unreadable)
};

// One entry per running program; kernel threads and vanished processes are left out.
std::vector<LaufendesProgrammRoh> laufendeProgramme();

}  // namespace hainbrem::plattform
