// hainbrem-frage on its own: help under every name and its mistakes in German, before any
// server is asked.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "../testordner.hpp"

namespace hainbrem::test {
namespace {

TEST(FrageBefehl, HilfeUndFehlerAufDeutsch) {
    Testordner t;
    const std::string frage =
        "HOME='" + t.ordner("home").native() + "' '" +
        (std::filesystem::path(HAINBREM_BINARY).parent_path() / "hainbrem-frage").native() + "' ";
    int status = -1;
    for (const char* flagge : {"--help", "-h", "--hilfe"}) {
        const std::string aus = laufe(frage + flagge + " 2>&1", &status);
        EXPECT_EQ(status, 0) << flagge;
        EXPECT_NE(aus.find("Aufruf: hainbrem-frage [OPTIONEN] [--] TEXT..."), std::string::npos) << aus;
    }
    const std::pair<const char*, const char*> falsch[] = {
        {"", "„hainbrem-frage“ braucht TEXT: die Frage."},
        {"--adresse", "Bei --adresse fehlt der Wert: URL."},
        {"--profil windows Hallo", "Ungültiger Wert für --profil: „windows“ – möglich sind macos und linux."},
        {"--gibtsnicht Hallo", "Die Option „--gibtsnicht“ gibt es bei hainbrem-frage nicht."},
    };
    for (const auto& [argumente, meldung] : falsch) {
        const std::string aus = laufe(frage + argumente + " 2>&1", &status);
        EXPECT_EQ(status, 2) << argumente;
        EXPECT_NE(aus.find(std::string("hainbrem: ") + meldung + "\nMehr dazu: hainbrem-frage --help"),
                  std::string::npos)
            << aus;
    }
    // and through the main command, whose parser knows it
    const std::string hilfe = laufe("HOME='" + (t / "home").native() + "' " HAINBREM_BINARY " frage --help", &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(hilfe.find("Aufruf: hainbrem frage [OPTIONEN] TEXT..."), std::string::npos) << hilfe;
}

}  // namespace
}  // namespace hainbrem::test
