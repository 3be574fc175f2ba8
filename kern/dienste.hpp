#pragma once
// Paths that the user's background services use: macOS launch agents, systemd user units and
// desktop autostart entries. A project such a service runs from must never lose its build
// folder behind the user's back, so every source is read on every system.
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace hainbrem {
class PlistKnoten;
}

namespace hainbrem::Dienste {

namespace fs = std::filesystem;

// A launch agent's property list: "Program", the elements of "ProgramArguments" that begin
// with "/", and "WorkingDirectory". Anything that is not a dictionary yields nothing.
std::vector<std::string> ausLaunchAgent(const PlistKnoten& wurzel);

// A systemd unit's [Service] section: the absolute paths of every ExecStart…/ExecStop… line
// (prefixes "-@:+!" dropped) and WorkingDirectory. "%h" and a leading "~" mean `home`.
std::vector<std::string> ausSystemdEinheit(std::string_view text, const fs::path& home);

// A desktop entry's [Desktop Entry] group: the absolute paths in "Exec" (field codes dropped)
// and "Path", the entry's working directory.
std::vector<std::string> ausDesktopEintrag(std::string_view text, const fs::path& home);

// The command line split as a shell-free service manager does: blanks separate words,
// double and single quotes group, a backslash escapes the next character.
std::vector<std::string> zerlegeBefehlszeile(std::string_view zeile);

// All of them for `home`: ~/Library/LaunchAgents/*.plist, ~/.config/systemd/user/*.service
// (also in *.wants folders) and ~/.config/autostart/*.desktop. Unreadable files add nothing.
std::vector<std::string> pfade(const fs::path& home);

}  // namespace hainbrem::Dienste
