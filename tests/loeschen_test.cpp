// Deleting for good: whole trees, links removed as links, nothing outside the tree ever reached.
#include <gtest/gtest.h>
#include <grp.h>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "kern/loeschen.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

namespace fs = std::filesystem;

// Everything that can delete refuses the real home folder while this is set.
class TestModus : public ::testing::Environment {
public:
    void SetUp() override { ::setenv("HAINBREM_TEST", "1", 1); }
};
const auto* const testModus = ::testing::AddGlobalTestEnvironment(new TestModus);

using test::Testordner;

TEST(LoeschenTest, BaumMitLinksGehtGanzAusserhalbBleibt) {
    Testordner t;
    const fs::path aussen = t.ordner("aussen");
    t.datei("aussen/wichtig.txt", 100);
    const fs::path baum = t.ordner("baum");
    for (int i = 0; i < 30; ++i) t.datei("baum/a/b" + std::to_string(i % 5) + "/f" + std::to_string(i), 10);
    t.ordner("baum/leer/tiefer/noch/tiefer");
    fs::create_symlink(aussen, baum / "a/link-auf-ordner");
    fs::create_symlink(aussen / "wichtig.txt", baum / "link-auf-datei");
    fs::create_symlink(t / "gibt-es-nicht", baum / "a/b0/haengend");
    ::chmod((baum / "a/b1").c_str(), 0500);  // root ignores it; the walk must not mind either

    const LoeschErgebnis e = loescheBaum(baum);
    EXPECT_TRUE(e.ok()) << *e.fehler;
    EXPECT_FALSE(fs::exists(fs::symlink_status(baum)));
    EXPECT_TRUE(fs::exists(aussen / "wichtig.txt"));
}

TEST(LoeschenTest, EinzelneEintraegeUndPfadeOhneNamen) {
    Testordner t;
    const fs::path datei = t.datei("d.txt", 5);
    const fs::path link = t / "link";
    fs::create_symlink(t / "ziel", link);  // dangling
    const fs::path ziel = t.ordner("ziel-ordner");
    const fs::path linkAufOrdner = t / "link-ordner";
    fs::create_symlink(ziel, linkAufOrdner);
    t.datei("ziel-ordner/bleibt", 3);

    EXPECT_TRUE(loescheBaum(datei).ok());
    EXPECT_TRUE(loescheBaum(link).ok());
    EXPECT_TRUE(loescheBaum(linkAufOrdner).ok());
    EXPECT_FALSE(fs::exists(datei));
    EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
    EXPECT_FALSE(fs::exists(fs::symlink_status(linkAufOrdner)));
    EXPECT_TRUE(fs::exists(ziel / "bleibt"));  // a link is removed as the link, never its target

    const LoeschErgebnis weg = loescheBaum(t / "gibt-es-nicht");
    ASSERT_FALSE(weg.ok());
    EXPECT_EQ(weg.fehlerNummer, ENOENT);
    EXPECT_FALSE(loescheBaum("relativ/pfad").ok());

    // a path without a name of its own is refused before anything is touched
    t.datei("x/y/f", 3);
    for (const std::string rel : {"/x/y/.", "/x/y/..", "/x/y/", "/x/.", "/x/y/./"}) {
        const LoeschErgebnis e = loescheBaum(t.pfad().native() + rel);
        ASSERT_FALSE(e.ok()) << rel;
        EXPECT_EQ(e.fehlerNummer, EINVAL) << rel;
        EXPECT_NE(e.fehler->find("Kein gültiger Pfad"), std::string::npos) << *e.fehler;
    }
    EXPECT_TRUE(fs::exists(t / "x/y/f"));
}

TEST(LoeschenTest, EchtesHomeIstImTestGesperrt) {
    const passwd* pw = ::getpwuid(::getuid());
    ASSERT_NE(pw, nullptr);
    const fs::path echt = pw->pw_dir;
    EXPECT_TRUE(imEchtenHomeWaehrendTest(echt));
    EXPECT_TRUE(imEchtenHomeWaehrendTest(echt / "hainbrem-gibt-es-nicht"));
    const LoeschErgebnis e = loescheBaum(echt / "hainbrem-gibt-es-nicht");
    ASSERT_FALSE(e.ok());
    EXPECT_EQ(*e.fehler, testSperreText);
    Testordner t;
    EXPECT_FALSE(imEchtenHomeWaehrendTest(t / "x"));
}

// A helper swaps a folder inside the tree for a link to an outside folder, over and over, while
// the tree is being deleted. Whatever happens to the tree, the outside folder stays whole.
TEST(LoeschenTest, OrdnerGegenLinkGetauschtVerlaesstDenBaumNie) {
    for (int runde = 0; runde < 25; ++runde) {
        Testordner t;
        const fs::path aussen = t.ordner("aussen");
        for (int i = 0; i < 20; ++i) t.datei("aussen/f" + std::to_string(i), 1);
        const fs::path baum = t.ordner("baum");
        for (int i = 0; i < 200; ++i) t.datei("baum/a/b/c" + std::to_string(i % 10) + "/f" + std::to_string(i), 1);
        for (int i = 0; i < 100; ++i) t.datei("baum/z/f" + std::to_string(i), 1);

        std::atomic<bool> los{false}, halt{false};
        std::thread tauscher([&] {
            while (!los) std::this_thread::yield();
            for (int i = 0; !halt && i < 5000; ++i) {
                const fs::path b = baum / "a/b";
                if (::rename(b.c_str(), (baum / "a/b-versteckt").c_str()) == 0) {
                    ::symlink(aussen.c_str(), b.c_str());
                    std::this_thread::yield();
                    ::unlink(b.c_str());
                    ::rename((baum / "a/b-versteckt").c_str(), b.c_str());
                }
                ::symlink(aussen.c_str(), (baum / "z/f1").c_str());
            }
        });
        los = true;
        (void)loescheBaum(baum, 3);
        halt = true;
        tauscher.join();
        for (int i = 0; i < 20; ++i) ASSERT_TRUE(fs::exists(aussen / ("f" + std::to_string(i)))) << "Runde " << runde;
    }
}

// As an unprivileged owner: a folder without write permission is fixed and emptied, a folder
// of someone else stays, and the first failure names it.
TEST(LoeschenTest, RechteFixUndFremderOrdnerAlsNobody) {
    if (!test::kannAlsNobodyLaufen()) GTEST_SKIP() << "braucht root und setpriv, um als nobody zu löschen";
    Testordner t;
    const fs::path home = t.ordner("home");
    const fs::path app = t.ordner("home/.cache/app");
    t.datei("home/.cache/app/frei/a", 5000);
    t.datei("home/.cache/app/gesperrt/b", 5000);
    t.datei("home/.cache/app/fremd/c", 5000);
    test::laufe("chown -R nobody:nogroup '" + home.native() + "'");
    test::laufe("chown root:root '" + (app / "fremd").native() + "' '" + (app / "fremd/c").native() + "'");
    ::chmod((app / "gesperrt").c_str(), 0500);
    int status = 0;
    const std::string aus = test::laufe("cd / && HOME='" + home.native() +
                                            "' setpriv --reuid=nobody --regid=nogroup --clear-groups " HAINBREM_BINARY
                                            " --json entsorgen --loeschen --ja '" + app.native() + "' 2>&1",
                                        &status);
    EXPECT_FALSE(fs::exists(app / "frei"));
    EXPECT_FALSE(fs::exists(app / "gesperrt"));
    EXPECT_TRUE(fs::exists(app / "fremd/c"));
    const auto anfang = aus.find('{');
    ASSERT_NE(anfang, std::string::npos) << aus;
    const auto j = nlohmann::json::parse(aus.substr(anfang));
    const auto& p = j.at("posten").at(0);
    EXPECT_NE(p.at("fehler").get<std::string>().find("Keine Berechtigung"), std::string::npos) << aus;
    EXPECT_NE(p.at("fehler").get<std::string>().find("fremd"), std::string::npos) << aus;
    // what went is counted, what stayed is not
    EXPECT_GE(p.at("bytes").get<int64_t>(), 8192) << aus;
    EXPECT_LT(p.at("bytes").get<int64_t>(), j.at("bestaetigung").at("bytes").get<int64_t>()) << aus;
}


// The path is used as given. With lnk → Library/Caches/foo, "lnk/../Documents" is
// Library/Caches/Documents for the kernel (and for the guard's realpath); collapsing the text
// first would make it ~/Documents.
TEST(LoeschenTest, PfadWieGegebenLinkVorPunktPunkt) {
    Testordner t;
    const fs::path home = t.ordner("home");
    t.datei("home/Documents/kostbar.txt", 7);
    t.datei("home/Library/Caches/Documents/cache", 7);
    t.ordner("home/Library/Caches/foo");
    fs::create_directory_symlink(home / "Library/Caches/foo", home / "lnk");

    const LoeschErgebnis e = loescheBaum(home.native() + "/lnk/../Documents");
    EXPECT_TRUE(e.ok()) << *e.fehler;
    EXPECT_TRUE(fs::exists(home / "Documents/kostbar.txt"));
    EXPECT_FALSE(fs::exists(home / "Library/Caches/Documents"));
    EXPECT_TRUE(fs::exists(home / "Library/Caches/foo"));
}

// With no thread to be had (process limit reached), the calling thread does all the work.
TEST(LoeschenTest, OhneHelferfaedenLoeschtDerAufrufendeFaden) {
    if (::geteuid() != 0) GTEST_SKIP() << "braucht root, um als nobody mit Prozessgrenze zu laufen";
    const passwd* pw = ::getpwnam("nobody");
    if (!pw) GTEST_SKIP() << "kein Benutzer nobody";
    const uid_t uid = pw->pw_uid;
    const gid_t gid = pw->pw_gid;
    Testordner t;
    const fs::path eigen = t.ordner("eigen");
    for (int i = 0; i < 40; ++i) t.datei("eigen/baum/a" + std::to_string(i % 4) + "/b/f" + std::to_string(i), 1);
    test::laufe("chown -R " + std::to_string(uid) + ":" + std::to_string(gid) + " '" + eigen.native() + "'");
    const std::string baum = (eigen / "baum").native();

    const pid_t kind = ::fork();
    ASSERT_GE(kind, 0) << std::strerror(errno);
    if (kind == 0) {
        // the child never returns into the test runner, whatever happens
        try {
            const rlimit grenze{1, 1};  // this process is the one task nobody may have
            if (::setgroups(0, nullptr) != 0 || ::setgid(gid) != 0 || ::setuid(uid) != 0 ||
                ::setrlimit(RLIMIT_NPROC, &grenze) != 0)
                ::_exit(3);
            const LoeschErgebnis e = loescheBaum(baum, 4);
            ::_exit(e.ok() ? 0 : 1);
        } catch (...) {
            ::_exit(2);
        }
    }
    int status = 0;
    ASSERT_EQ(::waitpid(kind, &status, 0), kind);
    ASSERT_TRUE(WIFEXITED(status)) << "Signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_FALSE(fs::exists(baum));
}

// Mounts inside the tree and at the item itself. Whatever is mounted there belongs elsewhere
// (here: a bind mount of the test's own Documents, or a tmpfs) and stays whole.
class LoeschenEinhaengen : public ::testing::Test {
protected:
    // Mounts `quelle` (a folder to bind, or empty for a tmpfs) on `ziel`; skips when that fails.
    bool haengeEin(const fs::path& quelle, const fs::path& ziel) {
        const int r = quelle.empty() ? ::mount("tmpfs", ziel.c_str(), "tmpfs", 0, "size=1m")
                                     : ::mount(quelle.c_str(), ziel.c_str(), nullptr, MS_BIND, nullptr);
        if (r != 0) return false;
        eingehaengt_.push_back(ziel);
        return true;
    }
    void TearDown() override {
        for (auto it = eingehaengt_.rbegin(); it != eingehaengt_.rend(); ++it) ::umount2(it->c_str(), MNT_DETACH);
        eingehaengt_.clear();
    }
    ~LoeschenEinhaengen() override { TearDown(); }

    Testordner t_;
    std::vector<fs::path> eingehaengt_;
};

#define EINHAENGEN_ODER_UEBERSPRINGEN(quelle, ziel)                                                  \
    do {                                                                                             \
        if (!haengeEin(quelle, ziel))                                                                \
            GTEST_SKIP() << "kein Einhängen möglich (mount braucht root): " << std::strerror(errno); \
    } while (false)

TEST_F(LoeschenEinhaengen, GebundenerOrdnerOderFremdesDateisystemImBaumBleibtUnangetastet) {
    const fs::path docs = t_.ordner("home/Documents");
    t_.datei("home/Documents/kostbar.txt", 7);
    for (const std::string art : {"gebunden", "tmpfs"}) {
        const fs::path app = t_.ordner("home/.cache/" + art);
        t_.datei("home/.cache/" + art + "/weg/f", 5);
        t_.datei("home/.cache/" + art + "/tief/er/g", 5);
        const fs::path daten = t_.ordner("home/.cache/" + art + "/tief/daten");
        EINHAENGEN_ODER_UEBERSPRINGEN(art == "gebunden" ? docs : fs::path(), daten);
        if (art == "tmpfs") std::ofstream(daten / "kostbar.txt") << "bleibt";

        const LoeschErgebnis e = loescheBaum(app);
        ASSERT_FALSE(e.ok()) << art;
        EXPECT_EQ(e.fehlerNummer, EXDEV) << art;
        EXPECT_NE(e.fehler->find("eingehängt"), std::string::npos) << *e.fehler;
        EXPECT_NE(e.fehler->find("tief/daten"), std::string::npos) << *e.fehler;
        EXPECT_TRUE(fs::exists(docs / "kostbar.txt")) << art;
        EXPECT_TRUE(fs::exists(daten / "kostbar.txt")) << art;
        EXPECT_FALSE(fs::exists(app / "weg")) << art;  // the rest still goes
        EXPECT_FALSE(fs::exists(app / "tief/er")) << art;
    }
}

TEST_F(LoeschenEinhaengen, EintragSelbstEingehaengtWirdAbgelehnt) {
    const fs::path docs = t_.ordner("home/Documents");
    t_.datei("home/Documents/kostbar.txt", 7);
    const fs::path gebunden = t_.ordner("home/.cache/gebunden");
    const fs::path platte = t_.ordner("home/.cache/platte");
    EINHAENGEN_ODER_UEBERSPRINGEN(docs, gebunden);
    EINHAENGEN_ODER_UEBERSPRINGEN(fs::path(), platte);
    std::ofstream(platte / "darauf") << "bleibt";

    for (const fs::path& eintrag : {gebunden, platte}) {
        const LoeschErgebnis e = loescheBaum(eintrag);
        ASSERT_FALSE(e.ok()) << eintrag;
        EXPECT_EQ(e.fehlerNummer, EXDEV);
        EXPECT_NE(e.fehler->find("anderen Datenträger"), std::string::npos) << *e.fehler;
    }
    EXPECT_TRUE(fs::exists(docs / "kostbar.txt"));
    EXPECT_TRUE(fs::exists(platte / "darauf"));
}

}  // namespace
}  // namespace hainbrem
