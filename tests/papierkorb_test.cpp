// The freedesktop.org Trash: where items go, what the .trashinfo says, names that collide,
// other file systems, taking items back out, and what other Trash tools make of it.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>

#include "plattform/papierkorb.hpp"
#include "plattform/plattform.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

namespace fs = std::filesystem;

using test::Testordner;

using test::lies;

std::string zeile(const std::string& inhalt, const std::string& schluessel) {
    std::istringstream ein(inhalt);
    for (std::string z; std::getline(ein, z);)
        if (z.starts_with(schluessel + "=")) return z.substr(schluessel.size() + 1);
    return {};
}

TEST(PapierkorbTest, HeimPapierkorbMitInfoUndNamenskollision) {
    Testordner t;
    const fs::path home = t.ordner("home");
    const fs::path trash = plattform::profil(home).papierkorb.parent_path();
    const fs::path a = t.datei("home/Projekte/bericht.txt", 10);
    const fs::path b = t.datei("home/Alt/bericht.txt", 20);
    t.datei("home/Ordner/bericht.txt/innen", 5);  // a folder of the same name

    const auto ea = plattform::inDenPapierkorb(a, home);
    const auto eb = plattform::inDenPapierkorb(b, home);
    const auto ec = plattform::inDenPapierkorb(home / "Ordner/bericht.txt", home);
    ASSERT_TRUE(ea && eb && ec);
    EXPECT_EQ(*ea, trash / "files/bericht.txt");
    EXPECT_EQ(*eb, trash / "files/bericht.txt.2");
    EXPECT_EQ(*ec, trash / "files/bericht.txt.3");
    EXPECT_TRUE(fs::exists(*ec / "innen"));
    EXPECT_FALSE(fs::exists(a));

    const std::string info = lies(trash / "info/bericht.txt.2.trashinfo");
    EXPECT_TRUE(info.starts_with("[Trash Info]\n"));
    EXPECT_EQ(zeile(info, "Path"), b.native());
    const std::string datum = zeile(info, "DeletionDate");
    ASSERT_EQ(datum.size(), 19u) << datum;  // YYYY-MM-DDThh:mm:ss, local time without zone
    EXPECT_EQ(datum[10], 'T');
    struct stat st;
    ASSERT_EQ(::stat(trash.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);

    // back out: the .trashinfo goes too; an occupied place is refused and both files stay
    ASSERT_TRUE(plattform::ausDemPapierkorb(*ea, a, home));
    EXPECT_EQ(lies(a), std::string(10, 'x'));
    EXPECT_FALSE(fs::exists(trash / "info/bericht.txt.trashinfo"));
    t.datei("home/Alt/bericht.txt", 3);
    const auto belegt = plattform::ausDemPapierkorb(*eb, b, home);
    ASSERT_FALSE(belegt);
    EXPECT_EQ(belegt.error(), plattform::zielBelegtText);
    EXPECT_TRUE(fs::exists(*eb));
    EXPECT_EQ(fs::file_size(b), 3u);
    // gone from the Trash meanwhile
    fs::remove(*eb);
    fs::remove(b);
    EXPECT_EQ(plattform::ausDemPapierkorb(*eb, b, home).error(), plattform::nichtImPapierkorbText);
}

TEST(PapierkorbTest, PfadWirdProzentKodiert) {
    Testordner t;
    const fs::path home = t.ordner("home");
    const fs::path p = t.datei("home/mit Leer ä%\xff.txt", 1);
    const auto e = plattform::inDenPapierkorb(p, home);
    ASSERT_TRUE(e) << e.error();
    const std::string info = lies(plattform::trashinfoZu(*e));
    EXPECT_EQ(zeile(info, "Path"), (home / "mit%20Leer%20%C3%A4%25%FF.txt").native());
    EXPECT_EQ(e->filename().native(), "mit Leer ä%\xff.txt");  // the name itself stays as it was
}

// "lnk/../x" is moved from where the kernel finds it (after following lnk), so that is where
// Path= must point, not to the place the text suggests.
TEST(PapierkorbTest, PfadHinterLinkUndPunktPunktIstDerEchte) {
    Testordner t;
    const fs::path home = t.ordner("home");
    t.datei("home/Documents/kostbar.txt", 7);
    const fs::path echt = t.datei("home/Library/Caches/Documents", 3);
    t.ordner("home/Library/Caches/foo");
    fs::create_directory_symlink(home / "Library/Caches/foo", home / "lnk");

    const auto e = plattform::inDenPapierkorb(home.native() + "/lnk/../Documents", home);
    ASSERT_TRUE(e) << e.error();
    EXPECT_FALSE(fs::exists(echt));
    EXPECT_TRUE(fs::exists(home / "Documents/kostbar.txt"));
    const std::string info = lies(plattform::trashinfoZu(*e));
    EXPECT_EQ(zeile(info, "Path"), (fs::canonical(home) / "Library/Caches/Documents").native());

    for (const std::string rel : {"/Documents/..", "/Documents/.", "/Documents/"})
        EXPECT_FALSE(plattform::inDenPapierkorb(home.native() + rel, home)) << rel;
    EXPECT_TRUE(fs::exists(home / "Documents/kostbar.txt"));
}

TEST(PapierkorbTest, VergessenEntferntNurDieInfoEinesGeloeschtenEintrags) {
    Testordner t;
    const fs::path home = t.ordner("home");
    const auto e = plattform::inDenPapierkorb(t.datei("home/x", 1), home);
    ASSERT_TRUE(e);
    const fs::path info = plattform::trashinfoZu(*e);
    plattform::papierkorbEintragVergessen(*e, home);  // still there: nothing happens
    EXPECT_TRUE(fs::exists(info));
    fs::remove(*e);
    plattform::papierkorbEintragVergessen(*e, home);
    EXPECT_FALSE(fs::exists(info));
    EXPECT_TRUE(plattform::trashinfoZu(t / "irgendwo/files/x").empty());
    EXPECT_TRUE(plattform::trashinfoZu(home / "Projekte/x").empty());
}

// An item on another file system goes to that file system's own trash, never copied.
class PapierkorbAnderesGeraet : public ::testing::Test {
protected:
    void SetUp() override {
        platte_ = t_.ordner("platte");
        if (::mount("tmpfs", platte_.c_str(), "tmpfs", 0, "size=4m") != 0)
            GTEST_SKIP() << "kein eigenes Dateisystem einhängbar (mount tmpfs braucht root): " << std::strerror(errno);
        eingehaengt_ = true;
    }
    void TearDown() override {
        if (eingehaengt_) ::umount2(platte_.c_str(), MNT_DETACH);
    }
    Testordner t_;
    fs::path platte_;
    bool eingehaengt_ = false;
};

TEST_F(PapierkorbAnderesGeraet, EigenerOrdnerOderGemeinsamerMitStickyBit) {
    const fs::path home = t_.ordner("home");
    const std::string uid = std::to_string(::geteuid());
    t_.datei("platte/daten/eins.bin", 100);
    auto e = plattform::inDenPapierkorb(platte_ / "daten/eins.bin", home);
    ASSERT_TRUE(e) << e.error();
    EXPECT_EQ(*e, platte_ / (".Trash-" + uid) / "files/eins.bin");
    EXPECT_EQ(zeile(lies(plattform::trashinfoZu(*e)), "Path"), "daten/eins.bin");  // relative to the top
    struct stat st;
    ASSERT_EQ(::stat((platte_ / (".Trash-" + uid)).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    EXPECT_FALSE(fs::exists(plattform::profil(home).papierkorb / "eins.bin"));

    // a shared .Trash with the sticky bit is used; without it (or as a link) it is not
    fs::create_directory(platte_ / ".Trash");
    ::chmod((platte_ / ".Trash").c_str(), 01777);
    t_.datei("platte/zwei.bin", 10);
    e = plattform::inDenPapierkorb(platte_ / "zwei.bin", home);
    ASSERT_TRUE(e) << e.error();
    EXPECT_EQ(*e, platte_ / ".Trash" / uid / "files/zwei.bin");

    ::chmod((platte_ / ".Trash").c_str(), 0777);
    t_.datei("platte/drei.bin", 10);
    e = plattform::inDenPapierkorb(platte_ / "drei.bin", home);
    ASSERT_TRUE(e) << e.error();
    EXPECT_EQ(*e, platte_ / (".Trash-" + uid) / "files/drei.bin");

    ASSERT_TRUE(plattform::ausDemPapierkorb(*e, platte_ / "drei.bin", home));
    EXPECT_TRUE(fs::exists(platte_ / "drei.bin"));
}

// Other Trash tools see what we put there with its original place and can restore it.
TEST(PapierkorbTest, TrashCliSiehtUndHoltZurueck) {
    int status = 0;
    test::laufe("command -v trash-list >/dev/null && command -v trash-restore >/dev/null", &status);
    if (status != 0) GTEST_SKIP() << "trash-cli (trash-list, trash-restore) ist nicht installiert";
    Testordner t;
    const fs::path home = t.ordner("home");
    const fs::path a = t.datei("home/Projekte/mit Leer.txt", 7);
    const fs::path b = t.datei("home/Projekte/zwei.txt", 3);
    ASSERT_TRUE(plattform::inDenPapierkorb(a, home));
    ASSERT_TRUE(plattform::inDenPapierkorb(b, home));
    const std::string env = "HOME='" + home.native() + "' XDG_DATA_HOME='" + (home / ".local/share").native() + "' ";
    const std::string liste = test::laufe(env + "trash-list 2>&1");
    EXPECT_NE(liste.find(a.native()), std::string::npos) << liste;
    EXPECT_NE(liste.find(b.native()), std::string::npos) << liste;

    test::laufe("cd '" + (home / "Projekte").native() + "' && echo 0 | " + env + "trash-restore '" + a.native() +
                "' 2>&1", &status);
    EXPECT_TRUE(fs::exists(a));
    EXPECT_EQ(fs::file_size(a), 7u);
    EXPECT_FALSE(fs::exists(plattform::profil(home).papierkorb.parent_path() / "info/mit Leer.txt.trashinfo"));
}

}  // namespace
}  // namespace hainbrem
