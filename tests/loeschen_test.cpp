// Deleting for good: whole trees, links removed as links, nothing outside the tree ever reached.
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
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

TEST(LoeschenTest, EinzelneEintraege) {
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

}  // namespace
}  // namespace hainbrem
