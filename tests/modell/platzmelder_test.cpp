// The free-space watcher: the notification rule over sequences of readings, the first reading,
// the threshold setting, and the full-disk-access test on every third pass.
#include <gtest/gtest.h>

#include <QSettings>
#include <QThread>
#include <atomic>

#include "welt.hpp"

namespace hainbrem::test {
namespace {

using Lage = Plattenstand::Lage;

struct Wache {
    std::shared_ptr<HandWecker> wecker = std::make_shared<HandWecker>();
    FreierPlatz platz;
    int64_t grenze = 10 * GB;
    std::vector<plattform::Benachrichtigung> meldungen;
    std::atomic<int> proben{0};
    std::atomic<bool> probeImHauptfaden{false};
    Platzmelder waechter{Platzmelder::Teile{
        .home = "/",
        .takt = std::chrono::milliseconds(20'000),
        .wecker = wecker,
        .lesen = [this](const fs::path&) { return platz.lies(); },
        .vollzugriff =
            [this](const fs::path&) {
                ++proben;
                if (QThread::currentThread() == QCoreApplication::instance()->thread()) probeImHauptfaden = true;
                return true;
            },
        .melden = [this](const plattform::Benachrichtigung& b) { meldungen.push_back(b); },
        .warnGrenze = [this] { return grenze; },
    }};

    Wache(int64_t frei, int64_t g = 10 * GB) : grenze(g) {
        platz.frei = frei;
        waechter.anfangen();
        waechter.beobachten();
    }
    // One pass with this much free space; returns once the watcher sleeps again.
    Lage bei(int64_t frei) {
        platz.frei = frei;
        EXPECT_TRUE(wecker->gestellt());
        wecker->klingeln();
        EXPECT_TRUE(warte([&] { return wecker->gestellt(); }));
        return waechter.letzteLage();
    }
};

TEST(Platzmelder, MeldetBeimEintrittInKnappVonGutUndInKritisch) {
    struct Fall {
        const char* name;
        int64_t start;
        std::vector<int64_t> folge;
        int64_t grenze;
        std::vector<Lage> lagen;
        std::vector<std::string> titel;
    };
    // clang-format off
    const std::vector<Fall> faelle{
        {"fallen und steigen", 12 * GB, {8 * GB, 1'500'000'000, 5 * GB, 12 * GB}, 10 * GB,
         {Lage::knapp, Lage::kritisch, Lage::knapp, Lage::gut}, {"Speicher wird knapp", "Platte fast voll"}},
        {"genau an der 2-GB-Grenze", 12 * GB, {2'000'000'000, 1'999'999'999, 2'000'000'000}, 10 * GB,
         {Lage::knapp, Lage::kritisch, Lage::knapp}, {"Speicher wird knapp", "Platte fast voll"}},
        {"Grenze 2 GB: nie knapp", 12 * GB, {2'000'000'000, 1'999'999'999, 2'100'000'000, 3 * GB}, 2 * GB,
         {Lage::gut, Lage::kritisch, Lage::gut, Lage::gut}, {"Platte fast voll"}},
        {"von knapp nach gut und zurück", 8 * GB, {12 * GB, 8 * GB}, 10 * GB,
         {Lage::gut, Lage::knapp}, {"Speicher wird knapp"}},
    };
    // clang-format on
    for (const auto& f : faelle) {
        Wache w(f.start, f.grenze);
        std::vector<Lage> lagen;
        for (const int64_t frei : f.folge) lagen.push_back(w.bei(frei));
        EXPECT_EQ(lagen, f.lagen) << f.name;
        std::vector<std::string> titel;
        for (const auto& m : w.meldungen) {
            titel.push_back(m.titel);
            EXPECT_EQ(m.kritisch, m.titel == "Platte fast voll") << f.name;  // sound only when critical
        }
        EXPECT_EQ(titel, f.titel) << f.name;
    }
    Wache w(12 * GB);
    w.bei(1'500'000'000);
    EXPECT_EQ(w.meldungen.at(0).text,
              "Nur noch 1,5 GB wirklich frei. Programme können bald abstürzen. Hainbrem räumt die sicheren Caches mit "
              "einem Klick weg.");
    EXPECT_EQ(w.wecker->dauer, std::chrono::seconds(20));
    // the first reading sets the level directly and warns at once only under 2 GB
    for (const auto& [frei, lage, n] : std::vector<std::tuple<int64_t, Lage, size_t>>{
             {1'999'999'999, Lage::kritisch, 1}, {2'000'000'000, Lage::knapp, 0}, {12 * GB, Lage::gut, 0}}) {
        Wache erste(frei);
        EXPECT_EQ(erste.waechter.letzteLage(), lage) << frei;
        EXPECT_EQ(erste.meldungen.size(), n) << frei;
    }
}

TEST(Platzmelder, VollzugriffJedenDrittenDurchgangAbseitsDesHauptfadens) {
    Wache w(50 * GB);
    std::vector<int> proben;
    for (int i = 0; i < 6; ++i) {
        w.bei(50 * GB);
        proben.push_back(w.proben);
    }
    EXPECT_EQ(proben, (std::vector<int>{0, 0, 1, 1, 1, 2}));
    EXPECT_FALSE(w.probeImHauptfaden);
}

TEST(Platzmelder, NeueGrenzeGiltErstAbDemNaechstenDurchgang) {
    Welt w;
    w.platz->frei = 8 * GB;
    QSettings(w.einstellungen(), QSettings::IniFormat).setValue("warnGrenzeGB", 5);
    AppModell m(w.umfeld());
    QCoreApplication::processEvents();  // the watcher starts as a task of its own
    EXPECT_EQ(m.letzteLage(), Lage::gut);
    m.einstellungen().setzeWarnGrenzeGB(10);
    EXPECT_EQ(m.warnGrenze(), 10 * GB);
    EXPECT_EQ(m.letzteLage(), Lage::gut);
    EXPECT_TRUE(w.meldungen->empty());
    w.wecker->klingeln();
    EXPECT_EQ(m.letzteLage(), Lage::knapp);
    ASSERT_EQ(w.meldungen->size(), 1u);
    EXPECT_EQ(w.meldungen->front().titel, "Speicher wird knapp");
}

TEST(Einstellungen, VorgabenUndWarnGrenze) {
    Testordner t;
    const QString datei = QString::fromStdString((t / "e.ini").native());
    const std::vector<std::pair<QVariant, int64_t>> faelle{
        {QVariant(), 10 * GB},     {QString("12.5"), 12'500'000'000},
        {QString("abc"), 10 * GB}, {QString("nan"), 10 * GB},
        {true, 10 * GB},           {2.0, 2 * GB},
        {QString("-1"), -GB},      {QString("0.0000000015"), 1},
    };
    for (const auto& [wert, grenze] : faelle) {
        {
            QSettings s(datei, QSettings::IniFormat);
            s.clear();
            if (wert.isValid()) s.setValue("warnGrenzeGB", wert);
        }
        EXPECT_EQ(Einstellungen(datei).warnGrenze(), grenze) << wert.toString().toStdString();
    }
    EXPECT_TRUE(Einstellungen(datei).menueleiste());
    EXPECT_EQ(Einstellungen(datei).erscheinung(), "system");

    GTEST_FLAG_SET(death_test_style, "threadsafe");
    QSettings(datei, QSettings::IniFormat).setValue("warnGrenzeGB", "1e300");
    EXPECT_DEATH(Einstellungen(datei).warnGrenze(), "Zahlenüberlauf");
}

}  // namespace
}  // namespace hainbrem::test
