// What files and folders are by their content: core dumps, disc images, log folders, Python's
// and CMake's build output. Each table holds the real thing and what only looks like it.
#include "kern/erkennen.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "fixture_home.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

using test::Testordner;

using test::schreibe;

struct DateiFall {
    const char* name;
    std::string inhalt;
    bool erwartet;
};

TEST(Erkennen, KernAbbildAmElfKopf) {
    Testordner t;
    std::string grossEndian = test::elfKopf(0);
    grossEndian[5] = 2;  // big endian: the type's bytes swap
    grossEndian[16] = 0;
    grossEndian[17] = 4;
    std::string zweiunddreissig = test::elfKopf(4);
    zweiunddreissig[4] = 1;
    std::string falscheKlasse = test::elfKopf(4);
    falscheKlasse[4] = 3;
    const DateiFall faelle[] = {
        {"core", test::elfKopf(4), true},
        {"gross", grossEndian, true},
        {"klein32", zweiunddreissig, true},
        {"programm", test::elfKopf(2), false},       // an executable
        {"bibliothek", test::elfKopf(3), false},     // a shared library
        {"klasse", falscheKlasse, false},
        {"kurz", test::elfKopf(4).substr(0, 17), false},
        {"text", "core dumped\n", false},
        {"leer", "", false},
    };
    for (const auto& f : faelle) {
        schreibe(t / f.name, f.inhalt);
        EXPECT_EQ(Erkennen::istKernAbbild(t / f.name), f.erwartet) << f.name;
    }
    // a link to a core dump is none, nor is a folder
    fs::create_symlink(t / "core", t / "verweis");
    EXPECT_FALSE(Erkennen::istKernAbbild(t / "verweis"));
    EXPECT_FALSE(Erkennen::istKernAbbild(t.ordner("ordner")));
    EXPECT_FALSE(Erkennen::istKernAbbild(t / "fehlt"));
    if (::geteuid() == 0) {  // another user's dump is not the user's to remove
        ASSERT_EQ(::chown((t / "core").c_str(), 65534, 65534), 0);
        EXPECT_FALSE(Erkennen::istKernAbbild(t / "core"));
    }
}

TEST(Erkennen, DiscAbbildAmDeskriptor) {
    Testordner t;
    const std::string vorne(32768, '\0');
    const DateiFall faelle[] = {
        {"iso9660.iso", vorne + "\x01" "CD001\x01", true},
        {"udf.iso", vorne + '\0' + "BEA01\x01", true},
        {"hybrid.iso", std::string("\x33\xED\x90\x90", 4) + std::string(32764, '\0') + "\x01" "CD001", true},
        {"verrutscht.iso", vorne + "CD001", false},  // one byte early
        {"kurz.iso", vorne + "\x01" "CD0", false},
        {"anfang.iso", "CD001" + vorne, false},
        {"sicherung.iso", std::string(40000, 'x'), false},
    };
    for (const auto& f : faelle) {
        schreibe(t / f.name, f.inhalt);
        EXPECT_EQ(Erkennen::istDiscAbbild(t / f.name), f.erwartet) << f.name;
    }
    fs::create_symlink(t / "iso9660.iso", t / "verweis.iso");
    EXPECT_FALSE(Erkennen::istDiscAbbild(t / "verweis.iso"));
}

struct OrdnerFall {
    const char* ordner;
    std::vector<std::string> dateien;  // below the folder
    bool erwartet;
};

// Builds each folder with its files and asks `frage` about it.
void pruefeOrdner(const Testordner& t, const std::vector<OrdnerFall>& faelle, bool (*frage)(const fs::path&)) {
    for (const auto& f : faelle) {
        t.ordner(f.ordner);
        for (const auto& d : f.dateien) t.datei(std::string(f.ordner) + "/" + d, 10);
        EXPECT_EQ(frage(t / f.ordner), f.erwartet) << f.ordner;
    }
}

TEST(Erkennen, ProtokollBaumHaeltNurProtokolle) {
    Testordner t;
    pruefeOrdner(t,
                 {{"flach", {"main.log", "main.log.1", "absturz.txt", "alt.log.gz"}, true},
                  {"tief", {"20240310/window1/exthost/vscode.git/Git.log", "20240310/main.log"}, true},
                  {"leer", {}, true},
                  {"notiz", {"a.log", "Sitzung.odt"}, false},
                  {"bild", {"x/bild.png"}, false},
                  {"zu-tief", {"1/2/3/4/5/6/a.log"}, false}},  // seven levels
                 Erkennen::istProtokollBaum);
    // a link among logs may lead anywhere
    fs::create_symlink(t / "notiz", t / "flach/weiter.log");
    EXPECT_FALSE(Erkennen::istProtokollBaum(t / "flach"));
    EXPECT_FALSE(Erkennen::istProtokollBaum(t / "tief/20240310/main.log"));  // a file, not a folder
    fs::create_directory_symlink(t / "tief", t / "verweis");
    EXPECT_FALSE(Erkennen::istProtokollBaum(t / "verweis"));
}

TEST(Erkennen, PythonCacheNurMitKompiliertem) {
    Testordner t;
    pruefeOrdner(t,
                 {{"a/__pycache__", {"modul.cpython-311.pyc", "alt.pyo"}, true},
                  {"leer/__pycache__", {}, true},
                  {"notiz/__pycache__", {"modul.cpython-311.pyc", "notizen.md"}, false},
                  {"tief/__pycache__", {"x/modul.pyc"}, false},
                  {"anders/pycache", {"modul.pyc"}, false}},  // not the name Python uses
                 Erkennen::istPythonCache);
    fs::create_directory_symlink(t / "a/__pycache__", t.ordner("verweis") / "__pycache__");
    EXPECT_FALSE(Erkennen::istPythonCache(t / "verweis/__pycache__"));
}

// Build folders made by the real cmake, then changed the ways a user's folders differ from them.
TEST(Erkennen, CMakeBauordnerNebenSeinemProjekt) {
    Testordner t;
    if (!test::cmakeProjekt(t / "wetter", t / "wetter/build")) GTEST_SKIP() << "cmake fehlt";
    ASSERT_TRUE(test::cmakeProjekt(t / "wetter", t / "wetter/cmake-build-debug"));
    ASSERT_TRUE(test::cmakeProjekt(t / "drinnen", t / "drinnen"));          // in-source
    ASSERT_TRUE(test::cmakeProjekt(t / "wetter/sub", t / "wetter/neben"));  // the source is another folder
    ASSERT_TRUE(test::cmakeProjekt(t / "verlegt", t / "verlegt/build"));
    fs::rename(t / "verlegt", t / "verlegt-neu");  // moved: the cache names the old place
    ASSERT_TRUE(test::cmakeProjekt(t / "ohne", t / "ohne/build"));
    fs::remove(t / "ohne/CMakeLists.txt");  // nothing to build it from any more
    ASSERT_TRUE(test::cmakeProjekt(t / "eigen", t / "eigen/build"));
    t.datei("eigen/build/CMakeLists.txt", 10);  // a project of its own lives there
    ASSERT_TRUE(test::cmakeProjekt(t / "git", t / "git/build"));
    t.ordner("git/build/.git");
    ASSERT_TRUE(test::cmakeProjekt(t / "nackt", t / "nackt/build"));
    fs::remove_all(t / "nackt/build/CMakeFiles");
    fs::create_directories(t / "nachgemacht/build/CMakeFiles");
    t.datei("nachgemacht/CMakeLists.txt", 10);
    schreibe(t / "nachgemacht/build/CMakeCache.txt", "CMAKE_HOME_DIRECTORY:INTERNAL=" + (t / "nachgemacht").native());

    const std::pair<const char*, bool> faelle[] = {
        {"wetter/build", true},    {"wetter/cmake-build-debug", true}, {"drinnen", false},
        {"wetter/neben", false},   {"verlegt-neu/build", false},        {"ohne/build", false},
        {"eigen/build", false},    {"git/build", false},                {"nackt/build", false},
        {"nachgemacht/build", false}, {"wetter/build/CMakeFiles", false}, {"wetter", false},
    };
    for (const auto& [rel, erwartet] : faelle) EXPECT_EQ(Erkennen::istCMakeBauordner(t / rel), erwartet) << rel;
    fs::create_directory_symlink(t / "wetter/build", t / "wetter/verweis");
    EXPECT_FALSE(Erkennen::istCMakeBauordner(t / "wetter/verweis"));
}

}  // namespace
}  // namespace hainbrem
