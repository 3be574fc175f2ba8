#pragma once
// Is the program that owns a finding running right now?
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace hainbrem {

// One snapshot of the running programs; programmLaeuft matches an owner text against it.
struct LaufendesProgramm {
    std::string kennung;        // bundle id (empty where the system has none)
    std::string name;           // localized name
    std::string programmdatei;  // executable path
};

bool programmLaeuft(std::string_view besitzer, const std::vector<LaufendesProgramm>& laufend);
bool programmLaeuft(std::string_view besitzer);  // reads the current list
std::vector<LaufendesProgramm> laufendeProgramme();
std::function<bool(const std::string&)> laufTest();  // snapshot once, test many times

}  // namespace hainbrem
