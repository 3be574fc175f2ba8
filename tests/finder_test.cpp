// The shared finder operations and the Trash info reader.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>
#include <fstream>

#include "kern/finder.hpp"
#include "kern/papierkorb_info.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

using namespace std::chrono;
using test::Testordner;

double stundenAlt(Zeitpunkt t) { return duration<double, std::ratio<3600>>(system_clock::now() - t).count(); }

using test::schreibe;

TEST(FinderKinder, SortiertOhneFinderMuellUndStummBeiFehlern) {
    Testordner t;
    for (const char* n : {"b", "a", ".DS_Store", ".localized", ".versteckt", "C"}) t.datei(std::string("o/") + n);
    std::vector<std::string> namen;
    for (const auto& k : Katalog::kinder(t / "o")) namen.push_back(k.filename());
    EXPECT_EQ(namen, (std::vector<std::string>{".versteckt", "C", "a", "b"}));
    EXPECT_TRUE(Katalog::kinder(t / "fehlt").empty());
    EXPECT_TRUE(Katalog::kinder(t / "o/a").empty());  // a file is no folder
}

TEST(FinderDatum, EigenesDatumOhneLinksZuFolgen) {
    Testordner t;
    const auto alt = t.datei("alt", 10);
    test::altere(alt, 10);
    fs::create_symlink(alt, t / "link");
    const auto d = Katalog::datum(alt);
    ASSERT_TRUE(d);
    EXPECT_NEAR(stundenAlt(*d), 240, 1);
    const auto l = Katalog::datum(t / "link");
    ASSERT_TRUE(l);
    EXPECT_LT(system_clock::now() - *l, minutes(5));  // the link's own date, not its target's
    EXPECT_FALSE(Katalog::datum(t / "fehlt"));
}

TEST(FinderJuengsteAenderung, TiefInnenSchrankeLeerUndFehlend) {
    Testordner t;
    t.datei("w/a/b/c/neu", 10);
    t.datei("w/alt", 10);
    for (const char* p : {"w/alt", "w/a", "w/a/b", "w/a/b/c", "w"}) test::altere(t / p, 60);
    test::altere(t / "w/a/b/c/neu", 5);
    const auto j = Katalog::juengsteAenderung(t / "w", 50'000);
    ASSERT_TRUE(j);
    EXPECT_NEAR(stundenAlt(*j), 5 * 24, 1);
    EXPECT_TRUE(Katalog::istAelterAls(j, days(4)));
    EXPECT_FALSE(Katalog::istAelterAls(j, days(30)));

    // files are visited before their folder ends; with a bound of 1 only one entry counts
    t.datei("s/x", 10);
    test::altere(t / "s/x", 40);
    test::altere(t / "s", 40);
    const auto eins = Katalog::juengsteAenderung(t / "s", 1);
    ASSERT_TRUE(eins);
    EXPECT_TRUE(Katalog::istAelterAls(eins, days(30)));

    t.ordner("leer");
    test::altere(t / "leer", 12);
    const auto leer = Katalog::juengsteAenderung(t / "leer", 50'000);
    ASSERT_TRUE(leer);
    EXPECT_NEAR(stundenAlt(*leer), 12 * 24, 1);

    const auto datei = t.datei("einzeln", 10);
    test::altere(datei, 3);
    EXPECT_TRUE(Katalog::istAelterAls(Katalog::juengsteAenderung(datei, 50'000), days(2)));
    EXPECT_FALSE(Katalog::juengsteAenderung(t / "fehlt", 50'000));
}

TEST(FinderAlter, StriktUndUnbekanntIstNieAlt) {
    const auto jetzt = system_clock::now();
    EXPECT_FALSE(Katalog::istAelterAls(std::nullopt, seconds(0), jetzt));
    EXPECT_FALSE(Katalog::istAelterAls(jetzt - seconds(604'800), seconds(604'800), jetzt));
    EXPECT_TRUE(Katalog::istAelterAls(jetzt - seconds(604'801), seconds(604'800), jetzt));
    EXPECT_FALSE(Katalog::istAelterAls(jetzt + hours(1), seconds(0), jetzt));
}

TEST(FinderInstaller, EndungUndInhalt) {
    Testordner t;
    struct Fall {
        std::string name;
        std::string kopf;  // empty: a folder
        bool installer;
    };
    const std::vector<Fall> faelle{
        {"a.dmg", "koly", true},        {"B.DMG", "egal", true},       {"c.xip", "xar!", true},
        {"d.pkg", "xar!", true},        {"e.PKG", "xar!rest", true},   {"f.mpkg", "xar!", true},
        {"g.pkg", "\x7F" "CNT", false}, {"h.pkg", "xa", false},        {"i.pkg", "", true},
        {"j.zip", "xar!", false},       {"k.dmg.part", "koly", false}, {"dmg", "koly", false},
        {"l.mpkg", "XAR!", false},
    };
    for (const auto& f : faelle) {
        if (f.kopf.empty()) {
            t.ordner("d/" + f.name + "/Contents");
        } else {
            schreibe(t / "d" / f.name, f.kopf);
        }
        EXPECT_EQ(Katalog::istMacInstaller(t / "d" / f.name), f.installer) << f.name;
    }
    // a link to a xar archive is not read through
    fs::create_symlink(t / "d/d.pkg", t / "d/link.pkg");
    EXPECT_FALSE(Katalog::istMacInstaller(t / "d/link.pkg"));
    EXPECT_FALSE(Katalog::istMacInstaller(t / "d/fehlt.pkg"));
}

TEST(FinderPaket, NurOrdnerMitPaketEndung) {
    Testordner t;
    for (const char* n : {"Helper.app", "Ding.framework", "Gross.APP", "Lied.Band", "Alt.xcodeproj", "Klang.vst3"}) {
        t.ordner(n);
        EXPECT_TRUE(Katalog::istPaket(t / n)) << n;
    }
    t.ordner("Normal");
    t.ordner(".app");
    t.datei("datei.app");
    fs::create_directory_symlink(t / "Helper.app", t / "Verweis.app");
    for (const char* n : {"Normal", ".app", "datei.app", "Verweis.app", "fehlt.app"})
        EXPECT_FALSE(Katalog::istPaket(t / n)) << n;
}

TEST(FinderModellTitel, TeileAmDoppelstrich) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> faelle{
        {"models--openai--whisper-small", "whisper-small (openai)"},
        {"models--bert", std::nullopt},
        {"models", std::nullopt},
        {"datasets--org--name--v2", "name--v2 (org)"},
        {"models----leer", "leer ()"},
        {"models--a--", " (a)"},
    };
    for (const auto& [name, titel] : faelle) EXPECT_EQ(Katalog::modellTitel(name), titel) << name;
}

std::string lokal(std::time_t t) {
    std::tm tm{};
    localtime_r(&t, &tm);
    char puffer[32];
    std::strftime(puffer, sizeof puffer, "%Y-%m-%dT%H:%M:%S", &tm);
    return puffer;
}

TEST(PapierkorbInfo, LoeschDatumLesen) {
    const std::time_t damals = std::time(nullptr) - 10 * 86400;
    const std::string d = lokal(damals);
    struct Fall {
        std::string text;
        bool gueltig;
    };
    const std::vector<Fall> faelle{
        {"[Trash Info]\nPath=/home/x/a.txt\nDeletionDate=" + d + "\n", true},
        {"[Trash Info]\r\nPath=/a\r\nDeletionDate=" + d + "\r\n", true},
        {"# Kommentar\n\n[Trash Info]\nDeletionDate = " + d, true},
        {"[Trash Info]\nPath=/a\n", false},
        {"DeletionDate=" + d + "\n", false},  // outside the group
        {"[Anderes]\nDeletionDate=" + d + "\n[Trash Info]\nPath=/a\n", false},
        {"[Trash Info]\nDeletionDate=2024-02-30T10:00:00\n", false},
        {"[Trash Info]\nDeletionDate=2024-13-01T10:00:00\n", false},
        {"[Trash Info]\nDeletionDate=2024-01-01 10:00:00\n", false},
        {"[Trash Info]\nDeletionDate=2024-01-01T10:00\n", false},
        {"[Trash Info]\nDeletionDate=2024-01-01T25:00:00\n", false},
        {"[Trash Info]\nDeletionDate=+024-01-01T10:00:00\n", false},
        {"", false},
    };
    for (const auto& f : faelle) {
        const auto z = PapierkorbInfo::loeschDatum(f.text);
        EXPECT_EQ(z.has_value(), f.gueltig) << f.text;
        if (z && f.gueltig) {
            EXPECT_EQ(system_clock::to_time_t(*z), damals) << f.text;
        }
    }
}

TEST(PapierkorbInfo, InfoDateiNebenDemFilesOrdner) {
    Testordner t;
    const fs::path eintrag = t.datei("Trash/files/Bericht 1.pdf", 100);
    EXPECT_EQ(PapierkorbInfo::infoDatei(eintrag), t / "Trash/info/Bericht 1.pdf.trashinfo");
    EXPECT_FALSE(PapierkorbInfo::hinzugefuegt(eintrag));
    const std::time_t damals = std::time(nullptr) - 3 * 86400;
    schreibe(t / "Trash/info/Bericht 1.pdf.trashinfo",
             "[Trash Info]\nPath=/home/x/Bericht%201.pdf\nDeletionDate=" + lokal(damals) + "\n");
    const auto z = PapierkorbInfo::hinzugefuegt(eintrag);
    ASSERT_TRUE(z);
    EXPECT_EQ(system_clock::to_time_t(*z), damals);
}

}  // namespace
}  // namespace hainbrem
