// `hainbrem waechter` as a user runs it: first reading at once, a clean end on SIGTERM/SIGINT.
#include <gtest/gtest.h>
#include <signal.h>

#include <QProcess>
#include <nlohmann/json.hpp>

#include "welt.hpp"

namespace hainbrem::test {
namespace {

TEST(PlatzmelderBefehl, ZeigtDieAblesungUndEndetSauberAufSignal) {
    Testordner t;
    const fs::path home = t.ordner("home");
    struct Fall {
        QStringList argumente;
        int signal;
    };
    for (const auto& [argumente, signal] :
         std::vector<Fall>{{{"waechter"}, SIGTERM}, {{"--json", "waechter", "--grenze", "2,5"}, SIGINT}}) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", QString::fromStdString(home.native()));
        env.remove("XDG_CONFIG_HOME");
        env.remove("DBUS_SESSION_BUS_ADDRESS");
        p.setProcessEnvironment(env);
        p.start(HAINBREM_BINARY, argumente);
        ASSERT_TRUE(p.waitForReadyRead(30'000)) << p.readAllStandardError().toStdString();
        const std::string zeile = p.readLine().trimmed().toStdString();
        ::kill(static_cast<pid_t>(p.processId()), signal);
        ASSERT_TRUE(p.waitForFinished(30'000));
        EXPECT_EQ(p.exitStatus(), QProcess::NormalExit) << zeile;
        EXPECT_EQ(p.exitCode(), 0) << zeile;
        if (argumente.front() == "--json") {
            const auto j = nlohmann::json::parse(zeile);
            EXPECT_GT(j.at("gesamt").get<int64_t>(), 0);
            EXPECT_TRUE(j.at("lage").is_string());
            EXPECT_TRUE(j.contains("echtFrei") && j.contains("zeit"));
        } else {
            EXPECT_NE(zeile.find("wirklich frei"), std::string::npos) << zeile;
        }
    }
    EXPECT_FALSE(fs::exists(home / ".config"));  // reading the settings writes nothing
}

TEST(WaechterBefehl, HilfeUndFehlerAufDeutsch) {
    Testordner t;
    const std::string waechter =
        "HOME='" + t.ordner("home").native() + "' '" +
        (fs::path(HAINBREM_BINARY).parent_path() / "hainbrem-waechter").native() + "' ";
    int status = -1;
    for (const char* flagge : {"--help", "-h", "--hilfe"}) {
        const std::string aus = laufe(waechter + flagge + " 2>&1", &status);
        EXPECT_EQ(status, 0) << flagge;
        EXPECT_NE(aus.find("Aufruf: hainbrem-waechter [OPTIONEN]"), std::string::npos) << aus;
    }
    const std::pair<const char*, const char*> falsch[] = {
        {"--grenze", "Bei --grenze fehlt der Wert: GB."},
        {"--grenze zehn", "Ungültiger Wert für --grenze: „zehn“ – erlaubt sind Zahlen von 0 bis 1.000.000 (GB)."},
        {"--gibtsnicht", "Die Option „--gibtsnicht“ gibt es bei hainbrem-waechter nicht."},
    };
    for (const auto& [argumente, meldung] : falsch) {
        const std::string aus = laufe(waechter + argumente + " 2>&1", &status);
        EXPECT_EQ(status, 2) << argumente;
        EXPECT_NE(aus.find(std::string("hainbrem: ") + meldung), std::string::npos) << aus;
    }
}

}  // namespace
}  // namespace hainbrem::test
