#include "kern/projekte.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "kern/dienste.hpp"
#include "kern/eigenschaftsliste.hpp"
#include "basis/pfade.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

using test::altere;

struct Welt {
    test::Testordner t;
    fs::path home = t.ordner("home");
    Umgebung umgebung{home, t.ordner("tmp"), false, nullptr, {}};

    // A project below home with `marker` beside the build folder `bau` holding `bytes`.
    fs::path projekt(std::string_view rel, std::string_view bau, std::string_view marker, size_t bytes = 4096) const {
        const fs::path p = t.ordner("home/" + std::string(rel));
        if (!marker.empty()) t.datei("home/" + std::string(rel) + "/" + std::string(marker), 10);
        t.datei("home/" + std::string(rel) + "/" + std::string(bau) + "/inhalt.bin", bytes);
        return p;
    }
    void schreibe(std::string_view rel, std::string_view text) const {
        t.datei("home/" + std::string(rel));
        std::ofstream(home / rel) << text;
    }
    std::vector<std::string> gefunden(int tiefe = Projekte::standardTiefe) const {
        std::vector<std::string> aus;
        for (const auto& b : Projekte::finde(umgebung, tiefe)) aus.push_back(fs::relative(b.fund.url, home).native());
        std::sort(aus.begin(), aus.end());
        return aus;
    }
};

// Ages every entry of the project, so its newest change lies `tage` days back.
void altereProjekt(const fs::path& projekt, double tage) {
    for (const auto& e : fs::directory_iterator(projekt)) altere(e.path(), tage);
}

TEST(Projekte, NurMitProjektdateiDanebenUndNurInDenWurzeln) {
    Welt w;
    w.umgebung.profil = Katalogprofil::macos;  // the Mac's roots, spelled as they stand
    w.projekt("Projects/web", "node_modules", "package.json");
    w.projekt("Projects/lose", "node_modules", "");                // no package.json: could be own data
    w.projekt("Projects/falsch", "node_modules", "Cargo.toml");    // wrong marker for the folder
    w.projekt("Code/rost", "target", "Cargo.toml");
    w.projekt("src/java", "target", "pom.xml");
    w.projekt("Documents/app", ".venv", "requirements.txt");
    w.projekt("Desktop/swift", ".build", "Package.swift");
    w.projekt("dev/flutter", ".dart_tool", "pubspec.yaml");
    w.projekt("GitHub/ios", "Pods", "Podfile");
    w.projekt("Developer/gradle", ".gradle", "settings.gradle.kts");
    w.projekt("Sites/next", ".next", "package.json");
    w.projekt("Projekte/xcode", "DerivedData", "App.xcodeproj");
    w.projekt("Anderswo/web", "node_modules", "package.json");     // not a search root
    w.projekt("Projects/nurTarget", "target", "package.json");
    EXPECT_EQ(w.gefunden(), (std::vector<std::string>{
                                "Code/rost/target", "Desktop/swift/.build", "Developer/gradle/.gradle",
                                "Documents/app/.venv", "GitHub/ios/Pods", "Projects/web/node_modules",
                                "Projekte/xcode/DerivedData", "Sites/next/.next", "dev/flutter/.dart_tool",
                                "src/java/target"}));
}

// On Linux code lives in projects, code, git, repos, workspace …, spelled any way; the desktop's
// documents and desktop folders are searched as well, other folders are not.
TEST(Projekte, LinuxSuchtInDenCodeOrdnernJederSchreibweise) {
    Welt w;
    const std::pair<const char*, const char*> orte[] = {
        {"projects", "node_modules"}, {"CODE", "target"}, {"code", "node_modules"}, {"Git", ".venv"},
        {"repos", ".next"},           {"WorkSpace", ".gradle"}, {"Dev", ".dart_tool"}, {"SRC", "target"},
        {"Projekte", ".turbo"},       {"GitHub", "node_modules"}, {"Developer", "node_modules"},
        {"Dokumente", "node_modules"}, {"Schreibtisch", "node_modules"},
        {"Sites", "node_modules"}, {"Documents", "node_modules"}, {"Anderswo", "node_modules"}};  // none of them
    const std::map<std::string, std::string> marker{{"node_modules", "package.json"}, {"target", "Cargo.toml"},
                                                    {".venv", "pyproject.toml"},      {".next", "package.json"},
                                                    {".gradle", "build.gradle.kts"},  {".dart_tool", "pubspec.yaml"},
                                                    {".turbo", "package.json"}};
    for (const auto& [wurzel, bau] : orte) w.projekt(std::string(wurzel) + "/app", bau, marker.at(bau));
    w.schreibe(".config/user-dirs.dirs",
               "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\nXDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    EXPECT_EQ(w.gefunden(), (std::vector<std::string>{
                                "CODE/app/target", "Dev/app/.dart_tool", "Developer/app/node_modules",
                                "Dokumente/app/node_modules", "Git/app/.venv", "GitHub/app/node_modules",
                                "Projekte/app/.turbo", "SRC/app/target", "Schreibtisch/app/node_modules",
                                "WorkSpace/app/.gradle", "code/app/node_modules", "projects/app/node_modules",
                                "repos/app/.next"}));
    // a code folder that is a link to another one is searched once
    fs::create_directory_symlink(w.home / "projects", w.home / "Projects");
    EXPECT_EQ(w.gefunden().size(), 13u);
    const auto wurzeln = Projekte::standardWurzeln(w.umgebung);
    EXPECT_EQ(wurzeln.front(), w.home / "Projekte");
    EXPECT_EQ(std::count(wurzeln.begin(), wurzeln.end(), w.home / "Projects"), 0);
}

// CMake build folders of any name beside their CMakeLists.txt, made by the real cmake; a moved
// one and an in-source build are not, and the projects inside an in-source build are searched.
TEST(Projekte, CMakeBauordnerJedenNamens) {
    Welt w;
    if (!test::cmakeProjekt(w.home / "code/wetter", w.home / "code/wetter/build")) GTEST_SKIP() << "cmake fehlt";
    ASSERT_TRUE(test::cmakeProjekt(w.home / "code/wetter", w.home / "code/wetter/cmake-build-debug"));
    ASSERT_TRUE(test::cmakeProjekt(w.home / "code/wetter/bibliothek", w.home / "code/wetter/bibliothek/out"));
    ASSERT_TRUE(test::cmakeProjekt(w.home / "code/alt", w.home / "code/alt/build"));
    fs::rename(w.home / "code/alt", w.home / "code/alt-verschoben");
    ASSERT_TRUE(test::cmakeProjekt(w.home / "code/drinnen", w.home / "code/drinnen"));
    w.projekt("code/drinnen/web", "node_modules", "package.json");
    w.t.datei("home/code/wetter/build/wetter", 64 * 1024);
    altereProjekt(w.home / "code/wetter", 40);
    EXPECT_EQ(w.gefunden(), (std::vector<std::string>{"code/drinnen/web/node_modules", "code/wetter/bibliothek/out",
                                                      "code/wetter/build", "code/wetter/cmake-build-debug"}));
    const auto funde = Projekte::finde(w.umgebung);
    ASSERT_FALSE(funde.empty());
    EXPECT_EQ(funde[0].fund.url, w.home / "code/wetter/build");  // largest first
    EXPECT_EQ(funde[0].projekt, w.home / "code/wetter");
    EXPECT_TRUE(funde[0].fund.vorgewaehlt);
    // the Mac profile keeps its own vocabulary
    w.umgebung.profil = Katalogprofil::macos;
    w.projekt("Code/x", "node_modules", "package.json");
    EXPECT_EQ(w.gefunden(), (std::vector<std::string>{"Code/x/node_modules"}));
}

// __pycache__ belongs to the Python project above it: untouched means the project and the
// package beside it; a virtual environment's packages are nobody's project here.
TEST(Projekte, PythonCacheGehoertZumProjekt) {
    Welt w;
    for (const char* modul : {"src/zeitreihen/laden", "src/zeitreihen/rechnen", "tests/test_laden"}) {
        w.t.datei("home/git/zeitreihen/" + std::string(modul) + ".py", 100);
        const fs::path p(modul);
        w.t.datei("home/git/zeitreihen/" + p.parent_path().native() + "/__pycache__/" + p.filename().native() +
                      ".cpython-311.pyc",
                  4096);
    }
    w.t.datei("home/git/zeitreihen/pyproject.toml", 10);
    w.t.datei("home/git/zeitreihen/venv/pyvenv.cfg", 10);
    w.t.datei("home/git/zeitreihen/venv/lib/python3.11/site-packages/__pycache__/six.cpython-311.pyc", 4096);
    w.t.datei("home/git/skripte/__pycache__/notizen.md", 100);  // not Python's: stays
    w.t.datei("home/git/lose/__pycache__/a.cpython-311.pyc", 100);  // no project file anywhere
    altereProjekt(w.home / "git/zeitreihen", 40);
    for (const char* ordner : {"src", "src/zeitreihen", "src/zeitreihen/__pycache__", "tests", "tests/__pycache__"})
        altereProjekt(w.home / "git/zeitreihen" / ordner, 40);
    altere(w.home / "git/zeitreihen/tests/test_laden.py", 2);  // the tests were worked on

    std::map<std::string, std::pair<std::string, bool>> funde;  // folder → project, preselected
    for (const auto& b : Projekte::finde(w.umgebung))
        funde[fs::relative(b.fund.url, w.home)] = {fs::relative(b.projekt, w.home), b.fund.vorgewaehlt};
    EXPECT_EQ(funde, (std::map<std::string, std::pair<std::string, bool>>{
                         {"git/lose/__pycache__", {"git/lose", false}},
                         {"git/zeitreihen/src/zeitreihen/__pycache__", {"git/zeitreihen", true}},
                         {"git/zeitreihen/tests/__pycache__", {"git/zeitreihen", false}}}));
}

TEST(Projekte, VersteckteOrdnerGitUndBauordnerWerdenNichtDurchsucht) {
    Welt w;
    w.projekt("Projects/.versteckt/app", "node_modules", "package.json");
    w.projekt("Projects/repo/.git/modules/app", "node_modules", "package.json");
    // inside a build folder nothing is searched, so the inner one never shows up
    w.projekt("Projects/web", "node_modules", "package.json");
    w.projekt("Projects/web/node_modules/paket", "node_modules", "package.json");
    // ".build" is a build folder, not a hidden one; what it holds is not searched
    w.projekt("Projects/swift", ".build", "Package.swift");
    w.projekt("Projects/swift/.build/checkouts/dep", ".build", "Package.swift");
    // ".build" without its marker: skipped, and being a build folder also not descended into
    w.projekt("Projects/ohne/.build/x", "node_modules", "package.json");
    EXPECT_EQ(w.gefunden(), (std::vector<std::string>{"Projects/swift/.build", "Projects/web/node_modules"}));
}

// Packages are entered by nobody, whatever the case of their extension: a program or an Xcode
// project bundle carries no project of the user's.
TEST(Projekte, PaketeWerdenInJederSchreibweiseNichtDurchsucht) {
    Welt w;
    for (const char* paket : {"Projects/MeinProjekt.App", "Projects/Werkzeug.app", "Projects/Ding.FrameWork",
                              "Projects/Sammlung.photoslibrary", "Projects/Bau.xcodeproj", "Projects/Klang.VST3"})
        w.projekt(std::string(paket) + "/web", "node_modules", "package.json");
    w.projekt("Projects/Nicht.Appx/web", "node_modules", "package.json");  // no package extension
    EXPECT_EQ(w.gefunden(), (std::vector<std::string>{"Projects/Nicht.Appx/web/node_modules"}));
}

TEST(Projekte, TiefeZaehltAbDerWurzel) {
    Welt w;
    w.projekt("Projects/a/b/c/d/e", "node_modules", "package.json");    // level 6
    w.projekt("Projects/a/b/c/d/e/f", "target", "Cargo.toml");          // level 7
    EXPECT_EQ(w.gefunden(6), (std::vector<std::string>{"Projects/a/b/c/d/e/node_modules"}));
    EXPECT_EQ(w.gefunden(7),
              (std::vector<std::string>{"Projects/a/b/c/d/e/f/target", "Projects/a/b/c/d/e/node_modules"}));
    EXPECT_TRUE(w.gefunden(5).empty());
}

TEST(Projekte, VerschachtelteKandidatenFallenWeg) {
    using Paare = std::vector<std::pair<fs::path, fs::path>>;
    auto paar = [](std::string p) { return std::pair<fs::path, fs::path>(p, fs::path(p).parent_path()); };
    const Paare ein{paar("/h/P/a/node_modules"), paar("/h/P/a/node_modules/x/node_modules"),
                    paar("/h/P/a/node_modules-alt/node_modules"), paar("/h/P/a.b/target"),
                    paar("/h/P/a/node_modules/y/z/.venv")};
    // a name that merely starts like another candidate is no nesting
    EXPECT_EQ(Projekte::ohneVerschachtelte(ein),
              (Paare{paar("/h/P/a/node_modules"), paar("/h/P/a/node_modules-alt/node_modules"),
                     paar("/h/P/a.b/target")}));
}

TEST(Projekte, VorauswahlErstNachMehrAlsDreissigTagen) {
    Welt w;
    const fs::path jung = w.projekt("Projects/jung", "node_modules", "package.json", 8192);
    const fs::path alt = w.projekt("Projects/alt", "node_modules", "package.json", 4096);
    w.t.datei("home/Projects/alt/src/index.js", 100);
    altereProjekt(jung, 29);
    altereProjekt(alt, 31);
    // the build folder itself was just written: it must not make the project look busy
    altere(alt / "node_modules", 0);
    const auto funde = Projekte::finde(w.umgebung);
    ASSERT_EQ(funde.size(), 2u);
    // largest first
    EXPECT_EQ(funde[0].fund.url, jung / "node_modules");
    EXPECT_FALSE(funde[0].fund.vorgewaehlt);
    EXPECT_EQ(funde[1].fund.url, alt / "node_modules");
    EXPECT_TRUE(funde[1].fund.vorgewaehlt);
    for (const auto& b : funde) {
        EXPECT_EQ(b.fund.art, Entsorgung::loeschen);
        EXPECT_EQ(b.projekt, b.fund.url.parent_path());
        ASSERT_TRUE(b.zuletzt);
    }
    EXPECT_GT(funde[1].fund.bytes, 4000);
    const auto alter = std::chrono::system_clock::now() - *funde[1].zuletzt;
    EXPECT_GT(alter, std::chrono::hours(24 * 30));
    EXPECT_LT(alter, std::chrono::hours(24 * 32));
}

TEST(Projekte, GrenzeIstEchtGroesser) {
    Welt w;
    const fs::path p = w.projekt("Projects/genau", "node_modules", "package.json");
    altereProjekt(p, 40);
    const Zeitpunkt z = *Projekte::juengsteAenderung(p, "node_modules");
    EXPECT_FALSE(Projekte::finde(w.umgebung, 6, {}, z + Projekte::ruhezeit).front().fund.vorgewaehlt);
    EXPECT_TRUE(Projekte::finde(w.umgebung, 6, {}, z + Projekte::ruhezeit + std::chrono::seconds(1))
                    .front()
                    .fund.vorgewaehlt);
}

TEST(Projekte, JuengsteAenderungLaesstDenBauordnerAus) {
    Welt w;
    const fs::path p = w.projekt("Projects/x", "node_modules", "package.json");
    altere(p / "package.json", 50);
    const auto ohne = Projekte::juengsteAenderung(p, "node_modules");
    const auto mit = Projekte::juengsteAenderung(p, "");
    ASSERT_TRUE(ohne && mit);
    EXPECT_GT(std::chrono::system_clock::now() - *ohne, std::chrono::hours(24 * 49));
    EXPECT_LT(std::chrono::system_clock::now() - *mit, std::chrono::hours(1));
    EXPECT_FALSE(Projekte::juengsteAenderung(w.home / "gibtsnicht", "x"));
    fs::remove(p / "package.json");
    EXPECT_FALSE(Projekte::juengsteAenderung(p, "node_modules"));  // nothing else to read
}

struct DienstFall {
    const char* art;
    std::string datei;
    std::string inhalt;  // "@P" stands for the project's path
};

// Names the case in test output instead of dumping the struct's bytes.
void PrintTo(const DienstFall& f, std::ostream* aus) { *aus << f.art; }

class ProjekteDienst : public ::testing::TestWithParam<DienstFall> {};

TEST_P(ProjekteDienst, GenutztesProjektWirdNieVorgewaehlt) {
    Welt w;
    const fs::path genutzt = w.projekt("Projects/bot", "node_modules", "package.json");
    const fs::path frei = w.projekt("Projects/botanik", "node_modules", "package.json");  // shares a prefix
    altereProjekt(genutzt, 60);
    altereProjekt(frei, 60);
    std::string inhalt = GetParam().inhalt;
    for (size_t i; (i = inhalt.find("@P")) != std::string::npos;) inhalt.replace(i, 2, genutzt.native());
    w.schreibe(GetParam().datei, inhalt);

    const auto pfade = Projekte::dienstPfade(w.umgebung);
    EXPECT_TRUE(std::any_of(pfade.begin(), pfade.end(),
                            [&](const std::string& p) { return liegtInOderIst(p, genutzt.native()); }));
    const auto funde = Projekte::finde(w.umgebung);
    ASSERT_EQ(funde.size(), 2u);
    for (const auto& b : funde) {
        if (b.projekt == genutzt) {
            EXPECT_FALSE(b.fund.vorgewaehlt);
            EXPECT_EQ(b.fund.titel, "node_modules (ein Hintergrunddienst nutzt dieses Projekt)");
        } else {
            EXPECT_TRUE(b.fund.vorgewaehlt);
            EXPECT_FALSE(b.fund.titel);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Quellen, ProjekteDienst,
    ::testing::Values(
        DienstFall{"launchd", "Library/LaunchAgents/de.x.bot.plist",
                   R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>Label</key><string>de.x.bot</string>
<key>ProgramArguments</key><array><string>/usr/bin/node</string><string>index.js</string></array>
<key>WorkingDirectory</key><string>@P</string></dict></plist>)"},
        DienstFall{"launchdProgramm", "Library/LaunchAgents/de.x.bot.plist",
                   R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>Program</key><string>@P/bin/start</string></dict></plist>)"},
        DienstFall{"systemd", ".config/systemd/user/bot.service",
                   "[Unit]\nDescription=Bot\n\n[Service]\nExecStart=/usr/bin/node index.js\nWorkingDirectory=@P\n"},
        DienstFall{"systemdExec", ".config/systemd/user/default.target.wants/bot.service",
                   "[Service]\nExecStart=-@P/node_modules/.bin/bot --port 80\n"},
        DienstFall{"autostart", ".config/autostart/bot.desktop",
                   "[Desktop Entry]\nType=Application\nName=Bot\nExec=@P/start.sh %U\n"},
        DienstFall{"autostartPfad", ".config/autostart/bot.desktop",
                   "[Desktop Entry]\nType=Application\nExec=npm start\nPath=@P\n"}),
    [](const auto& fall) { return std::string(fall.param.art); });

TEST(Projekte, AnhaltenLiefertNurGanzGepruefte) {
    Welt w;
    w.projekt("Projects/web", "node_modules", "package.json");
    std::stop_source stopp;
    stopp.request_stop();
    Steuerung s(stopp.get_token());
    EXPECT_TRUE(Projekte::sammle(6, w.umgebung, &s).empty());
    EXPECT_TRUE(Projekte::finde(w.umgebung, 6, &s).empty());
    Steuerung voll;
    EXPECT_EQ(Projekte::sammle(6, w.umgebung).size(), 1u);
    EXPECT_EQ(Projekte::finde(w.umgebung, 6, &voll).size(), 1u);
    EXPECT_EQ(voll.anteil(), 1.0);
}

// ---------------------------------------------------------------- service file parsers

TEST(Dienste, SystemdZeilen) {
    const fs::path home = "/home/ich";
    struct Fall {
        std::string text;
        std::vector<std::string> erwartet;
    } faelle[] = {
        {"[Service]\nExecStart=/opt/a/run --x /srv/data\n", {"/opt/a/run", "/srv/data"}},
        {"[Service]\nExecStart=-@/opt/a/run run\n", {"/opt/a/run"}},
        {"[Service]\nExecStart=:+!!/opt/b\nExecStartPre=/opt/c\nExecStop=/opt/d\n", {"/opt/b", "/opt/c", "/opt/d"}},
        {"[Service]\nExecStart=\"/home/ich/Mein Projekt/run.sh\" arg\n", {"/home/ich/Mein Projekt/run.sh"}},
        {"[Service]\nExecStart=%h/Projects/bot/run\nWorkingDirectory=~/Projects/bot\n",
         {"/home/ich/Projects/bot/run", "/home/ich/Projects/bot"}},
        {"[Service]\nWorkingDirectory=-%h/x\n", {"/home/ich/x"}},
        {"[Service]\nWorkingDirectory=~\n", {"/home/ich"}},
        {"[Unit]\nExecStart=/nicht/hier\n[Install]\nWantedBy=default.target\n", {}},
        {"[Service]\n# ExecStart=/kommentar\n  ExecStart = /mit/leerraum  \r\n", {"/mit/leerraum"}},
        {"[Service]\nExecStart=relativ /abs\n", {"/abs"}},
        {"kaputt ohne alles", {}},
    };
    for (const auto& f : faelle) EXPECT_EQ(Dienste::ausSystemdEinheit(f.text, home), f.erwartet) << f.text;
}

TEST(Dienste, DesktopEintraege) {
    const fs::path home = "/home/ich";
    EXPECT_EQ(Dienste::ausDesktopEintrag("[Desktop Entry]\nExec=/opt/x/bin/app %F --cfg /etc/x\nPath=/srv/w\n", home),
              (std::vector<std::string>{"/opt/x/bin/app", "/etc/x", "/srv/w"}));
    EXPECT_EQ(Dienste::ausDesktopEintrag("[Desktop Entry]\nExec=\"/a b/c\" %u\n[Desktop Action neu]\nExec=/z\n", home),
              (std::vector<std::string>{"/a b/c"}));
    EXPECT_TRUE(Dienste::ausDesktopEintrag("Exec=/ohne/gruppe\n", home).empty());
}

TEST(Dienste, LaunchAgent) {
    const std::string xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>Label</key><string>com.example.srv</string>
<key>Program</key><string>/Users/ich/Projects/srv/bin/srv</string>
<key>ProgramArguments</key><array><string>/usr/local/bin/node</string><string>index.js</string>
<string>/Users/ich/Projects/srv/conf</string><integer>3</integer></array>
<key>WorkingDirectory</key><string>/Users/ich/Projects/srv</string>
</dict></plist>)";
    const std::vector<std::string> erwartet{"/Users/ich/Projects/srv/bin/srv", "/usr/local/bin/node",
                                            "/Users/ich/Projects/srv/conf", "/Users/ich/Projects/srv"};
    const auto agent = Eigenschaftsliste::ausSpeicher(xml);
    ASSERT_TRUE(agent);
    EXPECT_EQ(Dienste::ausLaunchAgent(agent->wurzel()), erwartet);
    const auto liste = Eigenschaftsliste::ausSpeicher(
        R"(<?xml version="1.0"?><plist version="1.0"><array><string>/x</string></array></plist>)");
    ASSERT_TRUE(liste);
    EXPECT_TRUE(Dienste::ausLaunchAgent(liste->wurzel()).empty());
}

TEST(Dienste, UnlesbareDateienTragenNichtsBei) {
    Welt w;
    w.schreibe("Library/LaunchAgents/kaputt.plist", "<plist><dict><key>Program");
    w.schreibe("Library/LaunchAgents/leer.plist", "");
    w.schreibe("Library/LaunchAgents/gut.plist",
               R"(<?xml version="1.0"?><plist version="1.0"><dict><key>Program</key><string>/gut</string></dict></plist>)");
    w.schreibe(".config/systemd/user/x.service.bak", "[Service]\nExecStart=/nicht\n");
    w.schreibe(".config/autostart/a.desktop", "[Desktop Entry]\nExec=/auto\n");
    w.t.ordner("home/.config/systemd/user");
    ASSERT_EQ(::mkfifo((w.home / ".config/systemd/user/rohr.service").c_str(), 0644), 0);
    EXPECT_EQ(Dienste::pfade(w.home), (std::vector<std::string>{"/auto", "/gut"}));
}

// ---------------------------------------------------------------- the command

std::string befehl(const Welt& w, const std::string& argumente, int* status, const std::string& als = "") {
    return test::laufe("env -u XDG_DATA_HOME HOME=" + w.home.native() + " TMPDIR=" + w.umgebung.temp.native() + " " +
                           als + HAINBREM_BINARY + " " + argumente + " </dev/null 2>/dev/null",
                       status);
}

TEST(ProjekteBefehl, ListetUndLoeschtNurVorgewaehltesNachBestaetigung) {
    Welt w;
    const fs::path alt = w.projekt("Projects/alt", "node_modules", "package.json", 20'000);
    const fs::path jung = w.projekt("Projects/jung", "target", "Cargo.toml");
    altereProjekt(alt, 45);
    int status = -1;
    const auto liste = nlohmann::json::parse(befehl(w, "--json projekte", &status));
    EXPECT_EQ(status, 0);
    ASSERT_EQ(liste.size(), 2u);
    EXPECT_EQ(liste[0]["pfad"], (alt / "node_modules").native());
    EXPECT_EQ(liste[0]["vorgewaehlt"], true);
    EXPECT_EQ(liste[0]["art"], "loeschen");
    EXPECT_EQ(liste[0]["projekt"], alt.native());
    EXPECT_TRUE(liste[0]["zuletzt"].is_string());
    EXPECT_EQ(liste[1]["vorgewaehlt"], false);

    befehl(w, "projekte --tiefe 0", &status);
    EXPECT_EQ(status, 2);  // a mistake in the call, as every option's
    // no terminal to ask and no --ja: nothing is touched
    befehl(w, "projekte --aufraeumen", &status);
    EXPECT_EQ(status, 1);
    EXPECT_TRUE(fs::exists(alt / "node_modules"));

    const auto runde = nlohmann::json::parse(befehl(w, "--json projekte --aufraeumen --ja", &status));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(runde["titel"], "Bauordner");
    ASSERT_EQ(runde["posten"].size(), 1u);
    EXPECT_TRUE(runde["posten"][0]["fehler"].is_null());
    EXPECT_FALSE(fs::exists(alt / "node_modules"));
    EXPECT_TRUE(fs::exists(alt / "package.json"));
    EXPECT_TRUE(fs::exists(jung / "target"));
    EXPECT_TRUE(fs::exists(w.home / ".local/share/hainbrem/verlauf.json"));
}

// PFAD searches one folder of the home instead of the code folders; what is not such a folder is
// refused with a German reason, and a search without findings names where it looked.
TEST(ProjekteBefehl, PfadStattDerCodeOrdner) {
    Welt w;
    w.projekt("Arbeit/kunde/app", "node_modules", "package.json");
    w.projekt("code/web", "node_modules", "package.json");
    int status = -1;
    auto liste = nlohmann::json::parse(befehl(w, "--json projekte " + (w.home / "Arbeit").native(), &status));
    EXPECT_EQ(status, 0);
    ASSERT_EQ(liste.size(), 1u);
    EXPECT_EQ(liste[0]["pfad"], (w.home / "Arbeit/kunde/app/node_modules").native());
    // relative to the working folder, and through a link inside home
    fs::create_directory_symlink(w.home / "Arbeit", w.home / "arbeit-verweis");
    liste = nlohmann::json::parse(test::laufe("cd '" + w.home.native() + "' && env HOME='" + w.home.native() +
                                              "' " HAINBREM_BINARY " --json projekte arbeit-verweis/kunde"));
    ASSERT_EQ(liste.size(), 1u);
    EXPECT_EQ(liste[0]["pfad"], (w.home / "Arbeit/kunde/app/node_modules").native());

    const std::string leer = befehl(w, "projekte " + (w.t.ordner("home/Leer")).native(), &status);
    EXPECT_NE(leer.find("Keine Bauordner gefunden (gesucht in ~/Leer, bis 6 Ebenen tief)."), std::string::npos) << leer;
    const std::string standard = befehl(w, "projekte --tiefe 1", &status);
    EXPECT_NE(standard.find("Keine Bauordner gefunden (gesucht in ~/code, bis 1 Ebene tief)."), std::string::npos)
        << standard;

    w.projekt("code/web/node_modules/paket", "node_modules", "package.json");
    w.t.datei("draussen/web/package.json");
    w.t.datei("home/notiz.txt");
    const std::pair<std::string, std::string> falsch[] = {
        {(w.t / "draussen").native(), "liegt außerhalb deines Home-Ordners"},
        {(w.home / "fehlt").native(), "fehlt“ gibt es nicht."},
        {(w.home / "notiz.txt").native(), "ist kein Ordner"},
        // below a build folder, dependencies with their package.json look like projects
        {(w.home / "code/web/node_modules").native(), "liegt in einem Bauordner (~/code/web/node_modules)"},
    };
    for (const auto& [pfad, grund] : falsch) {
        const std::string aus = test::laufe("env HOME='" + w.home.native() + "' " HAINBREM_BINARY " projekte '" + pfad +
                                                "' 2>&1",
                                            &status);
        EXPECT_EQ(status, 1) << pfad;
        EXPECT_NE(aus.find(grund), std::string::npos) << aus;
    }
}

TEST(ProjekteBefehl, OhneCodeOrdnerNenntDieHilfeDieOrdner) {
    Welt w;
    int status = -1;
    const std::string aus = befehl(w, "projekte", &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(aus.find("Es gibt keinen der Ordner, in denen Hainbrem sucht (~/projects, ~/code, ~/git, ~/repos, "
                       "~/workspace, ~/dev, ~/src"),
              std::string::npos)
        << aus;
    EXPECT_NE(aus.find("hainbrem projekte PFAD"), std::string::npos) << aus;
    const std::string hilfe = befehl(w, "projekte --hilfe", &status);
    EXPECT_NE(hilfe.find("~/projects, ~/code, ~/git, ~/repos, ~/workspace, ~/dev, ~/src"), std::string::npos) << hilfe;
}

TEST(ProjekteBefehl, UnlesbareOrdnerWerdenStillUebersprungen) {
    if (!test::kannAlsNobodyLaufen()) GTEST_SKIP() << "braucht root und setpriv, um als nobody zu laufen";
    Welt w;
    const fs::path zu = w.projekt("Projects/zu", "node_modules", "package.json");
    const fs::path offen = w.projekt("Projects/offen", "node_modules", "package.json");
    ::chmod(zu.c_str(), 0);
    int status = -1;
    const auto liste = nlohmann::json::parse(
        befehl(w, "--json projekte", &status, "setpriv --reuid=nobody --regid=nogroup --clear-groups "));
    EXPECT_EQ(status, 0);
    ASSERT_EQ(liste.size(), 1u);
    EXPECT_EQ(liste[0]["pfad"], (offen / "node_modules").native());
}

}  // namespace
}  // namespace hainbrem
