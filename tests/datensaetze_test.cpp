#include "kern/datensaetze.hpp"

#include <gtest/gtest.h>

#include "testordner.hpp"

namespace hainbrem {
namespace {

TEST(Datensaetze, FundNameKommtAusTitelOderDateiname) {
    Fund f{"/h/Library/Caches/com.x", 10, Entsorgung::loeschen, std::nullopt, std::nullopt, true, std::nullopt};
    EXPECT_EQ(f.name(), "com.x");
    f.titel = "Xcode-Reste";
    EXPECT_EQ(f.name(), "Xcode-Reste");
    Fund g = f;
    EXPECT_EQ(g, f);
    EXPECT_EQ(std::hash<Fund>{}(g), std::hash<Fund>{}(f));
    g.vorgewaehlt = false;
    EXPECT_NE(g, f);
}

TEST(Datensaetze, RohwerteUndNamen) {
    EXPECT_LT(Risiko::sicher, Risiko::pruefen);
    EXPECT_LT(Risiko::pruefen, Risiko::vorsicht);
    EXPECT_EQ(risikoAus(1), Risiko::pruefen);
    EXPECT_EQ(risikoAus(3), std::nullopt);
    EXPECT_EQ(risikoAus(-1), std::nullopt);
    EXPECT_EQ(name(Risiko::pruefen), "Kurz prüfen");

    EXPECT_EQ(gruppeAus("Browser"), Gruppe::browser);
    EXPECT_EQ(gruppeAus("browser"), std::nullopt);
    for (Gruppe g : alleGruppen) EXPECT_EQ(gruppeAus(titel(g)), g);
    EXPECT_EQ(titel(Gruppe::protokolle), "Protokolle & Temporäres");

    EXPECT_EQ(entsorgungAus("papierkorb"), Entsorgung::papierkorb);
    EXPECT_EQ(entsorgungAus("Papierkorb"), std::nullopt);
    EXPECT_EQ(entsorgungAus(rohwert(Entsorgung::loeschen)), Entsorgung::loeschen);
}

TEST(Datensaetze, UrteilVergleich) {
    EXPECT_TRUE(Urteil::erlaubt().istErlaubt());
    EXPECT_FALSE(Urteil::abgelehnt("Gesperrt").istErlaubt());
    EXPECT_EQ(Urteil::abgelehnt("a"), Urteil::abgelehnt("a"));
    EXPECT_NE(Urteil::abgelehnt("a"), Urteil::abgelehnt("b"));
    EXPECT_NE(Urteil::abgelehnt(""), Urteil::erlaubt());
}

TEST(Datensaetze, VollzugriffHaengtAnLesbarenStandardordnern) {
    test::Testordner home;
    home.ordner("Documents");
    home.ordner("Pictures");
    EXPECT_TRUE(Zugriff::vollzugriff(home.pfad()));
    if (!test::kannAlsNobodyLaufen()) GTEST_SKIP() << "braucht root und setpriv, um als nobody zu prüfen";
    ::chmod((home / "Pictures").c_str(), 0700);
    int status = 0;
    // Probe through the command in a child process that runs as nobody.
    test::laufe("setpriv --reuid=nobody --regid=nogroup --clear-groups test -r " + (home / "Pictures").string() +
                    " -a -x " + (home / "Pictures").string(),
                &status);
    EXPECT_NE(status, 0) << "nobody darf den Ordner nicht lesen können";
}

}  // namespace
}  // namespace hainbrem
