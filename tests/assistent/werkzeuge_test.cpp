// The tools' texts word for word, from fixed state: findings, a scan tree, a fixture home.
#include "app/assistent/werkzeuge.hpp"

#include <gtest/gtest.h>

#include "../modell/welt.hpp"
#include "app/assistent/assistent.hpp"

namespace hainbrem::test {
namespace {

using namespace std::chrono_literals;

TEST(Werkzeuge, RelativesDatum) {
    const Zeitpunkt jetzt = std::chrono::system_clock::now();
    const std::vector<std::pair<std::chrono::seconds, std::string>> faelle{
        {-30s, "gerade eben"}, {-2h, "in der Zukunft"},     {59s, "gerade eben"},
        {60s, "vor 1 Minute"}, {2h, "vor 2 Stunden"},       {30h, "gestern"},
        {72h, "vor 3 Tagen"},  {24h * 65, "vor 2 Monaten"}, {24h * 400, "vor 1 Jahr"}};
    for (const auto& [alter, text] : faelle) EXPECT_EQ(relativ(jetzt - alter, jetzt), text) << alter.count();
}

TEST(Werkzeuge, PlattenstandNieMitNegativemLoeschbarenAnteil) {
    EXPECT_EQ(plattenstandText({500'000'000'000, 20'000'000'000, 25'500'000'000}, Katalogprofil::macos),
              "Gesamt 500 GB, wirklich frei 20 GB, laut Finder verfügbar 25,5 GB (davon nur löschbar: 5,5 GB).");
    EXPECT_EQ(plattenstandText({1000, 900, 800}, Katalogprofil::macos),
              "Gesamt 1 KB, wirklich frei 900 Byte.");
    // Linux has no Finder and no purgeable space
    EXPECT_EQ(plattenstandText({500'000'000'000, 20'000'000'000, 20'000'000'000}, Katalogprofil::linuxDesktop),
              "Gesamt 500 GB, wirklich frei 20 GB, belegt 480 GB.");
}

TEST(Werkzeuge, AufraeumFundeNenntDie14GroesstenMitGekuerzterBegruendung) {
    EXPECT_EQ(aufraeumFundeText({}), "Nichts gefunden.");
    std::vector<RegelErgebnis> katalog;
    for (int i = 0; i < 16; ++i) {
        RegelErgebnis e;
        e.regel.id = "r" + std::to_string(i);
        e.regel.titel = "Regel " + std::to_string(i);
        e.regel.risiko = i == 3 ? Risiko::vorsicht : Risiko::sicher;
        e.regel.warumSicher = std::string(105, 'x') + "äöüßÄÖ – und weiter";  // umlauts count as one character
        e.funde = {fund("/f" + std::to_string(i), i == 3 ? 5'000'000 : (i + 1) * 1000)};
        katalog.push_back(e);
    }
    katalog[7].funde[0].bytes = katalog[8].funde[0].bytes;  // equal totals keep catalog order
    const std::string text = aufraeumFundeText(katalog);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 13);
    EXPECT_TRUE(
        text.starts_with("- Regel 3: 5 MB, Vorsicht, id=r3. " + std::string(105, 'x') + "äöüßÄ\n- Regel 15: 16 KB"));
    EXPECT_NE(text.find("- Regel 7: 9 KB, Sicher, id=r7. x"), std::string::npos);
    EXPECT_LT(text.find("id=r7."), text.find("id=r8."));
    EXPECT_EQ(text.find("id=r0."), std::string::npos);
    EXPECT_EQ(text.find("id=r1."), std::string::npos);
}

TEST(Werkzeuge, GroessteOrdnerAusDemScanbaum) {
    auto knoten = [](const std::string& pfad, int64_t bytes, bool ordner = true) {
        auto k = std::make_shared<Knoten>(fs::path(pfad).filename(), pfad, ordner);
        k->bytes = bytes;
        return k;
    };
    auto home = knoten("/h", 9'000'000);
    auto lib = knoten("/h/Library", 8'000'000);
    lib->dateien = 1234;
    for (int i = 0; i < 12; ++i) lib->kinder.push_back(knoten("/h/Library/k" + std::to_string(i), 600'000 - i * 1000));
    lib->kinder[1]->istPaket = true;
    home->kinder.push_back(lib);
    const std::string text = groessteOrdnerText("~/Library/", "/h", home);
    EXPECT_TRUE(
        text.starts_with("~/Library belegt 8 MB in 1.234 Dateien.\n- ~/Library/k0: 600 KB\n"
                         "- ~/Library/k1: 599 KB (Paket)\n"));
    EXPECT_TRUE(text.ends_with("- ~/Library/k9: 591 KB"));
    for (const char* p : {"~/Downloads", "/etc"})
        EXPECT_EQ(
            groessteOrdnerText(p, "/h", home),
            "Ordner " + std::string(p) + " ist nicht im Scan (zu klein, unlesbar oder außerhalb des Benutzerordners).");
    EXPECT_EQ(groessteOrdnerText("~", "/h", nullptr).substr(0, 9), "Ordner ~ ");
}

TEST(Werkzeuge, ErklaereKenntRegelUndUrteil) {
    Welt w;
    const SafetyGuard guard(w.mac.home(), w.mac.temp(), w.mac.programme(), std::string(SafetyGuard::standardKennung),
                            Katalogprofil::macos);
    const Umgebung u = w.mac.umgebung();
    const auto jetzt = std::chrono::system_clock::now();
    auto erklaere = [&](const std::string& p) {
        return Erklaeren::text(p, Erklaeren::fakten(p, u, guard), u.home, jetzt);
    };
    EXPECT_EQ(erklaere("~/gibt/es/nicht"), "~/gibt/es/nicht gibt es nicht.");

    w.mac.ordnerMitDatei("Library/Caches/com.example.neu", 8192, 3.5);
    const std::string cache = erklaere("~/Library/Caches/com.example.neu/");
    EXPECT_TRUE(cache.starts_with("~/Library/Caches/com.example.neu: ")) << cache;
    EXPECT_NE(cache.find(", zuletzt geändert vor 3 Tagen.\nEnthält u. a.: daten.bin\nHainbrem kennt das als „Caches "
                         "von Programmen“: Ein Cache ist per Definition eine Kopie."),
              std::string::npos)
        << cache;
    EXPECT_TRUE(cache.ends_with("\nEndgültig löschen: erlaubt. Papierkorb: erlaubt.")) << cache;

    const std::string brief = erklaere(w.mac.datei("Documents/brief.txt").native());
    EXPECT_EQ(brief.find("Hainbrem kennt"), std::string::npos);
    EXPECT_EQ(brief.find("Enthält"), std::string::npos);
    EXPECT_NE(brief.find("Endgültig löschen: nein ("), std::string::npos) << brief;
    EXPECT_TRUE(brief.ends_with("). Papierkorb: erlaubt.")) << brief;
}

TEST(Werkzeuge, AuswaehlenSchlaegtNurVorWasDerWaechterErlaubt) {
    Welt w;
    const SafetyGuard guard(w.mac.home(), w.mac.temp(), w.mac.programme(), std::string(SafetyGuard::standardKennung),
                            Katalogprofil::macos);
    const fs::path cache = w.mac.ordnerMitDatei("Library/Caches/com.example.a");
    const fs::path dokument = w.mac.datei("Documents/wichtig.txt");
    RegelErgebnis caches, modelle;
    caches.regel = *Katalog::regel("programm-caches");
    caches.funde = {fund(cache, 2000, Entsorgung::loeschen), fund(dokument, 3000, Entsorgung::loeschen)};
    modelle.regel = *Katalog::regel("huggingface");
    modelle.funde = {fund(w.mac.home() / ".cache/huggingface", 9000)};
    const std::map<std::string, Fund> bekannt{{dokument.native(), fund(dokument, 3000)}};

    const Vorschlag nurVorsicht =
        vorschlagen({caches, modelle}, bekannt, {"huggingface", "gibts-nicht"}, {}, guard, w.mac.home());
    EXPECT_TRUE(nurVorsicht.funde.empty());
    EXPECT_EQ(nurVorsicht.text,
              "0 Funde ausgewählt (0 Byte). Der Nutzer sieht sie jetzt und bestätigt selbst. Nicht "
              "ausgewählt: " +
                  modelle.regel.titel + " (Vorsicht – nur von Hand)");

    const Vorschlag v = vorschlagen({caches, modelle}, bekannt, {"programm-caches"},
                                    {"~/Documents/wichtig.txt", "~/Downloads/fremd.zip"}, guard, w.mac.home());
    ASSERT_EQ(v.funde.size(), 2u);  // the cache, and the document into the Trash; never deleted outright
    EXPECT_EQ(v.funde[0].url, cache);
    EXPECT_EQ(v.funde[1].art, Entsorgung::papierkorb);
    EXPECT_TRUE(
        v.text.starts_with("2 Funde ausgewählt (5 KB). Der Nutzer sieht sie jetzt und bestätigt selbst. Nicht "
                           "ausgewählt: ~/Documents/wichtig.txt: "))
        << v.text;
    EXPECT_TRUE(v.text.ends_with("; ~/Downloads/fremd.zip: nicht in Hainbrems Funden")) << v.text;
}

// What the model reads about the tools: a Mac's words verbatim, none of them under Linux.
TEST(Werkzeuge, BeschreibungenNachProfil) {
    Welt w;
    for (const Katalogprofil profil : {Katalogprofil::macos, Katalogprofil::linuxDesktop}) {
        Umfeld u = w.umfeld();
        u.profil = profil;
        AppModell m(u);
        std::string texte = Assistent::anweisungenFuer(profil);
        for (const auto& werkzeug : alleWerkzeuge(m)) {
            texte += "\n" + std::string(werkzeug->beschreibung());
            for (const auto& a : werkzeug->argumente()) texte += "\n" + a.fuehrung;
        }
        const bool mac = profil == Katalogprofil::macos;
        for (const char* wort : {"Mac", "Finder", "löschbar", "Library"})
            EXPECT_EQ(texte.find(wort) != std::string::npos, mac) << wort << "\n" << texte;
        if (mac) {
            EXPECT_EQ(Assistent::anweisungenFuer(profil), Assistent::anweisungen);
        }
    }
}

}  // namespace
}  // namespace hainbrem::test
