#include "kern/datensaetze.hpp"

#include <gtest/gtest.h>

#include <set>

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

TEST(Datensaetze, UrteilUndPostenErgebnis) {
    EXPECT_TRUE(Urteil::erlaubt().istErlaubt());
    EXPECT_EQ(Urteil::erlaubt().grund(), "");
    const Urteil u = Urteil::abgelehnt(Ablehnung::gitArchiv);
    EXPECT_EQ(u.grund(), "Liegt in einem Git-Archiv");
    EXPECT_EQ(u.ablehnung(), Ablehnung::gitArchiv);
    EXPECT_NE(u, Urteil::abgelehnt(Ablehnung::fotos));
    // every reason has its own sentence
    std::set<std::string_view> texte;
    for (int a = 0; a <= static_cast<int>(Ablehnung::testlauf); ++a) texte.insert(grundText(static_cast<Ablehnung>(a)));
    EXPECT_EQ(texte.size(), static_cast<size_t>(Ablehnung::testlauf) + 1);
    EXPECT_FALSE(texte.contains(""));
    for (int e = 0; e <= static_cast<int>(PostenErgebnis::unterbrochen); ++e)
        EXPECT_EQ(postenErgebnisAus(rohwert(static_cast<PostenErgebnis>(e))), static_cast<PostenErgebnis>(e));
    EXPECT_EQ(postenErgebnisAus("SchonWeg"), std::nullopt);
    EXPECT_EQ(postenText(PostenErgebnis::laeuft, "Slack"), "Slack läuft gerade – übersprungen");
    EXPECT_EQ(postenText(PostenErgebnis::probelauf), std::nullopt);
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
