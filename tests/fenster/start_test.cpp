// hainbrem-app before any window: help instead of a start, and a German word without a display.
#include <gtest/gtest.h>

#include <string>

#include "../testordner.hpp"

namespace hainbrem::test {
namespace {

TEST(Start, HilfeUndOhneBildschirm) {
    Testordner t;
    const std::string ohneBildschirm = "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM HOME='" +
                                       t.ordner("home").native() + "' " HAINBREM_APP_BINARY " ";
    int status = -1;
    for (const char* flagge : {"--help", "-h", "--hilfe"}) {
        const std::string aus = laufe(ohneBildschirm + flagge + " 2>&1", &status);
        EXPECT_EQ(status, 0) << flagge;
        for (const char* teil :
             {"Aufruf: hainbrem-app [EINSTELLUNG WERT …]", "  -pruefen YES", "  -scan YES", "  -duplikate YES",
              "  -testlauf YES", "  -nurHome YES",
              "Mit dieser Seite beginnen: uebersicht, assistent, aufraeumen, karte, grosse, duplikate, programme, "
              "projekte, tricks, verlauf"})
            EXPECT_NE(aus.find(teil), std::string::npos) << teil << "\n" << aus;
    }
    const std::string aus = laufe(ohneBildschirm + "-pruefen YES 2>&1", &status);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(aus.find("hainbrem-app: Keine grafische Sitzung gefunden"), 0u) << aus;
    EXPECT_EQ(aus.find("qt."), std::string::npos) << aus;  // no word from Qt's own abort
    EXPECT_FALSE(std::filesystem::exists(t / "home/.config")) << "nothing started";
}

}  // namespace
}  // namespace hainbrem::test
