// `hainbrem entsorgen` takes paths as the shell means them: the folder part physically resolved.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "testordner.hpp"

namespace hainbrem {
namespace {

namespace fs = std::filesystem;

TEST(EntsorgenBefehl, PfadeWieDieShellSieMeint) {
    test::Testordner t;
    const fs::path home = t.ordner("home");
    t.datei("home/Library/Caches/app/x.log", 3000);
    t.datei("home/Documents/brief.txt", 3000);
    fs::create_directory_symlink(home / "Library/Caches/app", home / "lnk");
    const std::string vorne = "cd '" + home.native() + "' && HAINBREM_TEST=1 HOME='" + home.native() + "' TMPDIR='" +
                              t.pfad().native() + "' " HAINBREM_BINARY " --json entsorgen --papierkorb --probelauf ";
    struct Fall {
        const char* eingabe;
        const char* erwartet;  // below home; null: refused before anything is shown
    } faelle[] = {
        {"lnk/../app", "Library/Caches/app"},  // ".." after the link, not a textual shortcut to ~/app
        {"lnk/x.log/", "Library/Caches/app/x.log"},
        {"lnk", "lnk"},  // the link itself, never its target
        {"lnk/../../Documents/brief.txt", nullptr},
        {".", nullptr},
        {"..", nullptr},
        {"fehlt", nullptr},
    };
    for (const auto& f : faelle) {
        int status = 0;
        const std::string aus = test::laufe(vorne + "'" + f.eingabe + "' 2>/dev/null", &status);
        if (!f.erwartet) {
            EXPECT_NE(status, 0) << f.eingabe;
            EXPECT_EQ(aus.find("posten"), std::string::npos) << f.eingabe << ": " << aus;
            continue;
        }
        const auto j = nlohmann::json::parse(aus, nullptr, false);
        ASSERT_FALSE(j.is_discarded()) << f.eingabe << ": " << aus;
        ASSERT_EQ(j.at("posten").size(), 1u) << f.eingabe;
        EXPECT_EQ(j["posten"][0]["pfad"], (home / f.erwartet).native()) << f.eingabe;
    }
    EXPECT_TRUE(fs::exists(home / "Documents/brief.txt"));
    EXPECT_TRUE(fs::exists(home / "Library/Caches/app/x.log"));
}

}  // namespace
}  // namespace hainbrem
