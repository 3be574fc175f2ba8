// What running programs hold open keeps an item from being removed: the lookup by whole path
// parts, when it reads afresh, and the disposer skipping an item while a real process uses it.
#include "kern/offene_dateien.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <thread>

#include "kern/entsorger.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

namespace fs = std::filesystem;
using Roh = std::vector<plattform::OffeneDateienRoh>;

TEST(OffeneDateien, NachGanzenPfadteilenUndEinmalGelesen) {
    const Roh roh{{7, true, {"/h/.cache/mozilla/p/cache2/eintrag", "/h/.cache/mozilla-alt"}}, {8, true, {"/h/frei.txt"}}};
    OffeneDateien offen([&](const std::vector<int>&, plattform::Anteil) { return roh; },
                        [](int pid) { return std::optional<std::string>(pid == 7 ? "firefox" : ""); });
    const struct {
        const char* item;
        std::optional<std::string> programm;
    } faelle[] = {{"/h/.cache/mozilla/", "firefox"},       {"/h/.cache", "firefox"},
                  {"/h/.cache/mozilla/p/cache2/eintrag", "firefox"}, {"/h/.cache/mozilla/q", std::nullopt},
                  {"/h/.cache/mozill", std::nullopt},     {"/h/frei.txt", "einem Programm"},
                  {"/h/frei", std::nullopt}};
    for (const auto& f : faelle) EXPECT_EQ(offen.benutztVon(f.item), f.programm) << f.item;
    EXPECT_EQ(offen.gelesen(), 1u);
    EXPECT_EQ(offen.aufgefrischt(), 0u);
}

// Refreshing reads only processes started since; a process that has ended holds nothing.
TEST(OffeneDateien, NurNeueProzesseWerdenNachgelesenUndBeendeteHaltenNichts) {
    bool altLaeuft = true;
    std::vector<std::vector<int>> gefragt;
    std::mutex sperre;
    const auto quelle = [&](const std::vector<int>& bekannt, plattform::Anteil anteil) {
        std::lock_guard lock(sperre);
        if (anteil.nummer == 0) gefragt.push_back(bekannt);
        Roh roh;
        if (altLaeuft && bekannt.empty()) roh.push_back({7, true, {"/h/a/x"}});
        if (altLaeuft && !bekannt.empty()) roh.push_back({7, false, {}});
        roh.push_back({9, true, {"/h/b/y"}});
        return roh;
    };
    const auto name = [&](int pid) -> std::optional<std::string> {
        if (pid == 7 && !altLaeuft) return std::nullopt;
        return pid == 7 ? "alt" : "neu";
    };
    OffeneDateien offen(quelle, name, {.auffrischen = std::chrono::milliseconds(0), .neuLesen = std::chrono::hours(1)});
    EXPECT_EQ(offen.benutztVon("/h/a"), "alt");
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_EQ(offen.benutztVon("/h/b"), "neu");
    EXPECT_EQ(offen.benutztVon("/h/a"), "alt");  // kept without reading it again
    EXPECT_EQ(gefragt.at(1), (std::vector<int>{7, 9}));
    altLaeuft = false;
    EXPECT_EQ(offen.benutztVon("/h/a"), std::nullopt);
    EXPECT_EQ(offen.gelesen(), 1u);  // gone from the list: its files went with it
    EXPECT_EQ(offen.aufgefrischt(), 3u);
}

bool haeltOffen(pid_t pid, const fs::path& pfad) {
    for (const auto& p : plattform::offeneDateien({}))
        if (p.pid == pid)
            for (const auto& o : p.pfade)
                if (o == pfad.native()) return true;
    return false;
}

// A program reading a file in the folder, and a program run from inside it (mapped, not open).
TEST(OffeneDateien, EntsorgerLaesstLiegenWasEinProzessBenutztUndNimmtEsDanach) {
    ::setenv("HAINBREM_TEST", "1", 1);
    for (const bool ausgefuehrt : {false, true}) {
        test::Testordner t;
        const fs::path home = t.ordner("home");
        const fs::path ordner = t.ordner("home/.cache/werkzeug");
        const fs::path datei = t.datei("home/.cache/werkzeug/daten.bin", 4096);
        const fs::path programm =
            ausgefuehrt ? test::schlaeferNamens(ordner, "werkzeug") : test::schlaeferNamens(t / "bin", "leser");
        test::Hintergrund kind(programm, ausgefuehrt ? fs::path() : datei);
        ASSERT_GT(kind.pid(), 0);
        const fs::path gehalten = ausgefuehrt ? programm : datei;
        for (int i = 0; i < 500 && !haeltOffen(kind.pid(), gehalten); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ASSERT_TRUE(haeltOffen(kind.pid(), gehalten)) << gehalten;

        Verlauf verlauf(t / "verlauf.json");
        Entsorger entsorger(SafetyGuard(home, t.ordner("tmp")), verlauf, false, [](const std::string&) { return false; });
        const Fund fund{ordner, 0, Entsorgung::loeschen, std::nullopt, std::nullopt, true, std::nullopt};
        const Runde erste = entsorger.entsorge({fund}, "Test", home);
        ASSERT_EQ(erste.posten.size(), 1u);
        EXPECT_EQ(erste.posten[0].fehler, postenText(PostenErgebnis::benutzt, ausgefuehrt ? "werkzeug" : "leser"));
        EXPECT_EQ(erste.posten[0].ergebnis, PostenErgebnis::benutzt);
        EXPECT_EQ(erste.posten[0].bytes, 0);
        EXPECT_TRUE(fs::exists(datei));

        kind.beende();
        const Runde zweite = entsorger.entsorge({fund}, "Test", home);
        EXPECT_FALSE(zweite.posten[0].fehler) << *zweite.posten[0].fehler;
        EXPECT_FALSE(fs::exists(ordner));
    }
}

}  // namespace
}  // namespace hainbrem
