#include "kern/laufend.hpp"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "plattform/prozesse.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

const std::vector<LaufendesProgramm> laufend{
    {"com.tinyspeck.slackmacgap", "Slack", "/Applications/Slack.app/Contents/MacOS/Slack"},
    {"com.microsoft.VSCode", "Code", "/Applications/Visual Studio Code.app/Contents/MacOS/Electron"},
    {"com.google.Chrome.helper", "Google Chrome Helper",
     "/Applications/Google Chrome.app/Contents/Frameworks/Helpers/Google Chrome Helper"},
    {"org.mozilla.thunderbird", "Thunderbird", "/Applications/Thunderbird.app/Contents/MacOS/thunderbird"},
    {"", "firefox", "/usr/lib/firefox/firefox"},
    {"", "vi", "/usr/bin/vi"},
};

TEST(Laufend, BesitzerGegenFesteListe) {
    const struct {
        const char* besitzer;
        bool laeuft;
    } faelle[] = {
        {"com.tinyspeck.slackmacgap", true},  // bundle id
        {"COM.TinySpeck.SlackMacGap", true},  // ignoring case
        {"Slack", true},                      // name
        {"slack", true},
        {"electron", true},  // executable file name
        {"Google Chrome Helper", true},
        {"com.google.Chrome", true},  // a helper's id begins with the owner's id + "."
        {"com.microsoft", true},
        {"com.google.Chr", false},  // only whole id parts
        {"com.example.app", false},
        {"mozilla.firefox", false},    // an id never matches by name
        {"google chrome", true},       // name begins with the owner
        {"Slack Helper (GPU)", true},  // owner begins with a name of 4 or more characters
        {"tinyspeck", true},           // bundle id contains the owner
        {"mozilla", true},
        {"fire", true},
        {"code", true},
        {"cod", false},  // short owners match only exactly
        {"fox", false},
        {"vi", true},
        {"vim-cache", false},  // names shorter than 4 are no prefix of the owner
        {"Photoshop", false},
        {"", false},  // no owner is nobody's program
        {"usr", false},
    };
    for (const auto& f : faelle) EXPECT_EQ(programmLaeuft(f.besitzer, laufend), f.laeuft) << f.besitzer;
    EXPECT_FALSE(programmLaeuft("Slack", {}));
}

TEST(Laufend, EinProgrammOhneKennungPasstNichtZuLeeremBesitzer) {
    EXPECT_FALSE(programmLaeuft("", std::vector<LaufendesProgramm>{{"", "", "/bin/sh"}}));
}

TEST(Laufend, TestprozessSelbstLaeuft) {
    const std::string ich = std::filesystem::read_symlink("/proc/self/exe").filename();
    EXPECT_TRUE(programmLaeuft(ich)) << ich;
    const auto test = laufTest();
    EXPECT_TRUE(test(ich));
    EXPECT_FALSE(test("kein-programm-heisst-so-3f9a"));
    // kernel threads have no program behind them
    for (const auto& p : laufendeProgramme()) EXPECT_FALSE(p.programmdatei.empty()) << p.name;
}

TEST(Laufend, LangerProzessnameKommtGanz) {
    // the kernel cuts process names to 15 bytes; the whole name comes from argv[0]
    test::Testordner t;
    const std::filesystem::path prog = t / "ein-sehr-langer-programmname";
    std::filesystem::copy_file("/bin/sleep", prog);
    std::filesystem::permissions(prog, std::filesystem::perms::owner_exec, std::filesystem::perm_options::add);
    const pid_t kind = ::fork();
    ASSERT_GE(kind, 0);
    if (kind == 0) {
        ::execl(prog.c_str(), prog.c_str(), "30", static_cast<char*>(nullptr));
        ::_exit(127);
    }
    bool gefunden = false;
    for (int versuch = 0; versuch < 200 && !gefunden; ++versuch) {
        for (const auto& p : plattform::laufendeProgramme())
            gefunden = gefunden || (p.name == "ein-sehr-langer-programmname" && p.programmdatei == prog.native());
        if (!gefunden) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(gefunden);
    EXPECT_TRUE(programmLaeuft("Ein-Sehr-Langer-Programmname"));
    ::kill(kind, SIGKILL);
    ::waitpid(kind, nullptr, 0);
}

}  // namespace
}  // namespace hainbrem
