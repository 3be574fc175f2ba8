// hainbrem pruefen through the command line, on a fixture home.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "fixture_home.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

std::string befehl(const test::MacHome& mac, const std::string& argumente, int* status) {
    return test::laufe("cd / && env -u XDG_DATA_HOME HAINBREM_TEST=1 HOME='" + mac.home().native() + "' TMPDIR='" +
                           mac.temp().native() + "' " + HAINBREM_BINARY + " " + argumente + " </dev/null 2>/dev/null",
                       status);
}

// Sets the deletion date of every .trashinfo that names `name` far into the past.
void alterePapierkorbEintrag(const fs::path& papierkorb, const std::string& name) {
    const fs::path info = papierkorb.parent_path() / "info" / (name + ".trashinfo");
    if (!fs::exists(info)) return;  // a Trash without info files dates its entries otherwise
    std::stringstream inhalt;
    inhalt << std::ifstream(info).rdbuf();
    const std::string alt =
        std::regex_replace(inhalt.str(), std::regex("DeletionDate=[^\n]*"), "DeletionDate=2020-01-01T00:00:00");
    std::ofstream(info, std::ios::trunc) << alt;
}

// What Hainbrem itself put into the Trash stays unticked and carries the undo hint, however long
// it has been lying there; what the user threw away keeps its usual preselection.
TEST(PruefenBefehl, PapierkorbKenntWasHainbremHineingelegtHat) {
    test::Testordner t;
    test::MacHome mac(t);
    const fs::path datei = mac.datei("Projekte/Entwurf.txt", 3000);
    int status = -1;
    befehl(mac, "--json entsorgen --papierkorb --ja '" + datei.native() + "'", &status);
    ASSERT_EQ(status, 0);
    ASSERT_FALSE(fs::exists(datei));
    alterePapierkorbEintrag(mac.papierkorb(), "Entwurf.txt");

    const auto ergebnisse = nlohmann::json::parse(befehl(mac, "--json pruefen --regel papierkorb", &status));
    EXPECT_EQ(status, 0);
    ASSERT_EQ(ergebnisse.size(), 1u);
    const auto& funde = ergebnisse.at(0).at("funde");
    const auto finde = [&](const std::string& name) -> const nlohmann::json* {
        for (const auto& f : funde)
            if (fs::path(f.at("pfad").get<std::string>()).filename() == name) return &f;
        return nullptr;
    };
    const auto* unserer = finde("Entwurf.txt");
    ASSERT_NE(unserer, nullptr) << funde.dump(2);
    EXPECT_EQ(unserer->at("titel"), "Entwurf.txt (von Hainbrem, Rückgängig möglich)");
    EXPECT_EQ(unserer->at("vorgewaehlt"), false);
    EXPECT_EQ(unserer->at("art"), "loeschen");

    // thrown away by the user ten days ago: no title, preselected
    const auto* fremder = finde("alt.txt");
    ASSERT_NE(fremder, nullptr) << funde.dump(2);
    EXPECT_TRUE(fremder->at("titel").is_null());
    EXPECT_EQ(fremder->at("vorgewaehlt"), true);
}

}  // namespace
}  // namespace hainbrem
