// The history file: exact format, strict reading, atomic saving, merging of two writers, an
// unreadable file moved aside, and paths that are not UTF-8.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <thread>

#include "kern/verlauf.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

namespace fs = std::filesystem;

using test::lies;
using test::schreibe;
using test::Testordner;


Runde beispiel(std::string id = "0F5C2B8E-2D1A-4C3B-9E7F-1A2B3C4D5E6F", long sekunden = 1794774900) {
    Runde r;
    r.id = std::move(id);
    r.titel = "Programm-Caches";
    r.datum = std::chrono::system_clock::from_time_t(sekunden);  // 2026-11-15T20:35:00Z
    r.freiVorher = 1000;
    r.freiNachher = 5000;
    r.posten = {
        Posten{"/h/.cache/a", 4096, Entsorgung::loeschen, std::nullopt, std::nullopt, false},
        Posten{"/h/Projekte/b", 8192, Entsorgung::papierkorb, "/h/.local/share/Trash/files/b", std::nullopt, true,
               PostenErgebnis::imPapierkorb},
        Posten{"/h/.cache/c", 0, Entsorgung::loeschen, std::nullopt, "Schon weg", false, PostenErgebnis::schonWeg}};
    return r;
}

TEST(VerlaufTest, DateiformatGenauUndZurueckGleich) {
    const std::string erwartet = R"([
  {
    "id": "0F5C2B8E-2D1A-4C3B-9E7F-1A2B3C4D5E6F",
    "titel": "Programm-Caches",
    "datum": "2026-11-15T20:35:00Z",
    "freiVorher": 1000,
    "freiNachher": 5000,
    "posten": [
      {
        "pfad": "/h/.cache/a",
        "bytes": 4096,
        "art": "loeschen",
        "zurueckgelegt": false,
        "ergebnis": "entfernt"
      },
      {
        "pfad": "/h/Projekte/b",
        "bytes": 8192,
        "art": "papierkorb",
        "imPapierkorb": "/h/.local/share/Trash/files/b",
        "zurueckgelegt": true,
        "ergebnis": "imPapierkorb"
      },
      {
        "pfad": "/h/.cache/c",
        "bytes": 0,
        "art": "loeschen",
        "fehler": "Schon weg",
        "zurueckgelegt": false,
        "ergebnis": "schonWeg"
      }
    ],
    "probelauf": false
  }
]
)";
    EXPECT_EQ(Verlauf::kodiere({beispiel()}), erwartet);
    const auto zurueck = Verlauf::dekodiere(erwartet);
    ASSERT_TRUE(zurueck);
    ASSERT_EQ(zurueck->size(), 1u);
    EXPECT_EQ(zurueck->front(), beispiel());

    // a file from before items carried their result: read from the words, once
    std::string alt = erwartet;
    for (size_t a; (a = alt.find(",\n        \"ergebnis\"")) != std::string::npos;)
        alt.erase(a, alt.find('\n', a + 2) - a);
    EXPECT_EQ(Verlauf::dekodiere(alt), std::vector<Runde>{beispiel()});
    struct {
        std::string fehler;
        PostenErgebnis ergebnis;
    } faelle[] = {
        {"Slack läuft gerade – übersprungen", PostenErgebnis::laeuft},
        {"Wird gerade von firefox benutzt – bleibt liegen", PostenErgebnis::benutzt},
        {"Standardordner bleiben immer", PostenErgebnis::abgelehnt},
        {"Unterbrochen – das Verschieben in den Papierkorb wurde nicht beendet", PostenErgebnis::unterbrochen},
        {"Keine Berechtigung: „x“", PostenErgebnis::fehlgeschlagen}};
    for (const auto& f : faelle) {
        const size_t a = alt.find("Schon weg");
        const auto runden = Verlauf::dekodiere(std::string(alt).replace(a, 9, f.fehler));
        ASSERT_TRUE(runden) << f.fehler;
        EXPECT_EQ(runden->front().posten[2].ergebnis, f.ergebnis) << f.fehler;
    }
}

// Strict reading. Hand-edited numbers too: negative free space or sizes, or sums no int64 holds,
// make the file unreadable instead of ending the process when a round's gain or sums are shown.
TEST(VerlaufTest, StrengesLesenAuchDerZahlen) {
    const std::string gut = Verlauf::kodiere({beispiel()});
    auto ohne = [&](const std::string& was) {
        std::string s = gut;
        s.erase(s.find(was), was.size());
        return s;
    };
    auto ersetzt = [&](std::vector<std::pair<std::string, std::string>> paare) {
        std::string s = gut;
        for (const auto& [was, durch] : paare) s.replace(s.find(was), was.size(), durch);
        return s;
    };
    const std::string min = "-9223372036854775808", max = "9223372036854775807";
    const std::string datum = "2026-11-15T20:35:00Z", bytes = "\"bytes\": 4096";
    const std::string vorher = "\"freiVorher\": 1000", nachher = "\"freiNachher\": 5000";
    const std::string gewinnUeber = ersetzt({{vorher, "\"freiVorher\": " + min}, {nachher, "\"freiNachher\": " + max}});
    struct Fall {
        const char* name;
        std::string text;
        bool lesbar;
    };
    const std::vector<Fall> faelle = {
        {"leere Liste", "[]", true},
        {"gut", gut, true},
        {"ohne zurueckgelegt", ohne("\"zurueckgelegt\": false,\n        "), false},
        {"unbekanntes ergebnis", ersetzt({{"\"entfernt\"", "\"verbrannt\""}}), true},
        {"ohne probelauf", ohne(",\n    \"probelauf\": false"), false},
        {"unbekannte art", ersetzt({{"\"loeschen\"", "\"verbrennen\""}}), false},
        {"datum ohne Z", ersetzt({{datum, "2026-11-15T20:35:00"}}), false},
        {"datum kein Tag", ersetzt({{datum, "2026-02-30T20:35:00Z"}}), false},
        {"bytes als Text", ersetzt({{bytes, "\"bytes\": \"4096\""}}), false},
        {"bytes zu groß", ersetzt({{bytes, "\"bytes\": 9223372036854775808"}}), false},
        {"id keine UUID", ersetzt({{"0F5C2B8E-2D1A-4C3B-9E7F-1A2B3C4D5E6F", "runde-1"}}), false},
        {"kein JSON", "[{", false},
        {"kein Feld", "{}", false},
        {"ungültige Base64", ersetzt({{"\"pfad\": \"/h/.cache/a\",", "\"pfad\": \"x\", \"pfadBase64\": \"%%%\","}}),
         false},
        {"freiVorher negativ", ersetzt({{vorher, "\"freiVorher\": -1"}}), false},
        {"freiNachher negativ", ersetzt({{nachher, "\"freiNachher\": -5"}}), false},
        {"Gewinn läuft über", gewinnUeber, false},
        {"bytes negativ", ersetzt({{bytes, "\"bytes\": -4096"}}), false},
        {"Summe läuft über", ersetzt({{bytes, "\"bytes\": " + max}}), false},
        {"Summe genau am Rand", ersetzt({{bytes, "\"bytes\": 9223372036854767615"}}), true},
        {"größter Gewinn", ersetzt({{vorher, "\"freiVorher\": 0"}, {nachher, "\"freiNachher\": " + max}}), true},
    };
    for (const auto& f : faelle) {
        const auto runden = Verlauf::dekodiere(f.text);
        EXPECT_EQ(runden.has_value(), f.lesbar) << f.name;
        if (!runden) continue;
        for (const auto& r : *runden) {  // all of these stay in range
            EXPECT_GE(r.erwartet(), 0) << f.name;
            EXPECT_GE(r.imPapierkorbBytes(), 0) << f.name;
            EXPECT_GE(r.gewonnen(), 0) << f.name;
        }
    }

    // the CLI reports such a file as unreadable rather than aborting
    Testordner t;
    const fs::path home = t.ordner("home");
    schreibe(Verlauf::standardDatei(home), gewinnUeber);
    int status = -1;
    const std::string aus = test::laufe("HOME='" + home.native() + "' " HAINBREM_BINARY " verlauf 2>&1", &status);
    EXPECT_EQ(status, 0) << aus;
    EXPECT_NE(aus.find("nicht lesbar"), std::string::npos) << aus;
}

TEST(VerlaufTest, PfadeOhneUtf8UeberlebenDenRundgang) {
    Testordner t;
    const fs::path datei = t / "daten/hainbrem/verlauf.json";
    Runde r = beispiel();
    r.posten[1].pfad = "/h/Projekte/kaputt-\xff\xfe-\xc3(.txt";
    r.posten[1].imPapierkorb = "/h/.local/share/Trash/files/kaputt-\xff\xfe-\xc3(.txt";
    r.posten[1].fehler = "Fehler mit \xff";
    {
        Verlauf v(datei);
        v.einfuegen(r);
        ASSERT_TRUE(v.speichern());
    }
    const std::string text = lies(datei);
    EXPECT_NE(text.find("\"pfadBase64\""), std::string::npos);
    EXPECT_NE(text.find("\"imPapierkorbBase64\""), std::string::npos);
    Verlauf geladen(datei);
    ASSERT_EQ(geladen.runden().size(), 1u);
    const auto runden = geladen.runden();
    const Posten& p = runden.front().posten[1];
    EXPECT_EQ(p.pfad, r.posten[1].pfad);
    EXPECT_EQ(p.imPapierkorb, r.posten[1].imPapierkorb);
    EXPECT_EQ(p.fehler, "Fehler mit \xEF\xBF\xBD");  // display texts only need to stay readable
    EXPECT_EQ(geladen.imPapierkorb(), std::set<std::string>{});  // the item was put back
}

TEST(VerlaufTest, RueckgaengigWirdBeimLesenFestgestellt) {
    Testordner t;
    Runde r = beispiel();
    r.posten[1].zurueckgelegt = false;
    r.posten[1].imPapierkorb = t.datei("Trash/b").native();
    schreibe(t / "verlauf.json", Verlauf::kodiere({r}));
    const Verlauf v(t / "verlauf.json");
    fs::remove(t / "Trash/b");
    EXPECT_TRUE(v.runden().front().kannRueckgaengig());  // as read: showing it looks at nothing
    EXPECT_FALSE(Verlauf(t / "verlauf.json").runden().front().kannRueckgaengig());
}

TEST(VerlaufTest, OrdnerWirdAngelegtErsetzenUnbekannterRundeAendertNichts) {
    Testordner t;
    const fs::path datei = t / "neu/tief/verlauf.json";
    Verlauf v(datei);
    EXPECT_TRUE(v.runden().empty());
    EXPECT_FALSE(v.warUnlesbar());
    Runde r = beispiel();
    r.posten[1].zurueckgelegt = false;
    v.einfuegen(r);
    Runde fremd = beispiel("11111111-2222-4333-8444-555555555555");
    v.ersetzen(fremd);
    EXPECT_EQ(v.runden(), std::vector<Runde>{r});
    ASSERT_TRUE(v.speichern());
    EXPECT_EQ(Verlauf::dekodiere(lies(datei)), std::vector<Runde>{r});
    EXPECT_EQ(v.imPapierkorb(), std::set<std::string>{"/h/.local/share/Trash/files/b"});
    // no temporary file is left behind
    size_t dateien = 0;
    for (const auto& e : fs::directory_iterator(datei.parent_path()))
        if (e.path().filename().native().starts_with(".")) ++dateien;
    EXPECT_EQ(dateien, 0u);
}

TEST(VerlaufTest, UnlesbareDateiWirdBeiseitegelegtNichtUeberschrieben) {
    Testordner t;
    const fs::path datei = t / "verlauf.json";
    const std::string kaputt = "[{\"id\": kaputt";
    schreibe(datei, kaputt);
    Verlauf v(datei);
    EXPECT_TRUE(v.warUnlesbar());
    EXPECT_TRUE(v.runden().empty());
    EXPECT_FALSE(v.hinweis());
    v.einfuegen(beispiel());
    ASSERT_TRUE(v.speichern());
    ASSERT_TRUE(v.hinweis());
    EXPECT_NE(v.hinweis()->find("nicht lesbar"), std::string::npos);
    std::vector<fs::path> beiseite;
    for (const auto& e : fs::directory_iterator(t.pfad()))
        if (e.path().filename().native().starts_with("verlauf.json.defekt-")) beiseite.push_back(e.path());
    ASSERT_EQ(beiseite.size(), 1u);
    EXPECT_EQ(lies(beiseite.front()), kaputt);
    EXPECT_NE(v.hinweis()->find(beiseite.front().native()), std::string::npos);
    EXPECT_EQ(Verlauf(datei).runden().size(), 1u);
}

// Two writers on one file, each saving after every change: no round of either is lost, and a
// change made by one to a round it shares with the other is kept.
TEST(VerlaufTest, ZweiSchreiberVerlierenNichts) {
    Testordner t;
    const fs::path datei = t / "verlauf.json";
    constexpr int jeSchreiber = 8;
    auto schreiber = [&](int nummer) {
        Verlauf v(datei);
        for (int i = 0; i < jeSchreiber; ++i) {
            Runde r = beispiel(neueKennung(), 1794774900 + nummer * 1000 + i);
            r.titel = "Schreiber " + std::to_string(nummer);
            v.einfuegen(r);
            static_cast<void>(v.speichern());  // what counts is what the file holds in the end
            r.posten.push_back(Posten{"/h/x", 1, Entsorgung::loeschen, std::nullopt, std::nullopt, false});
            v.ersetzen(r);
            static_cast<void>(v.speichern());  // what counts is what the file holds in the end
        }
    };
    // two processes
    std::vector<pid_t> kinder;
    for (int n = 0; n < 2; ++n) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            schreiber(n);
            ::_exit(0);
        }
        kinder.push_back(pid);
    }
    // and two threads of this one
    std::thread a(schreiber, 2), b(schreiber, 3);
    a.join();
    b.join();
    for (const pid_t pid : kinder) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    const auto runden = Verlauf(datei).runden();
    ASSERT_EQ(runden.size(), 4u * jeSchreiber);
    for (const auto& r : runden) EXPECT_EQ(r.posten.size(), 4u) << r.titel;
    for (size_t i = 1; i < runden.size(); ++i) EXPECT_GE(runden[i - 1].datum, runden[i].datum);  // newest first
}

TEST(VerlaufTest, IsoZeitUndKennung) {
    EXPECT_EQ(isoZeit(std::chrono::system_clock::from_time_t(1794774900)), "2026-11-15T20:35:00Z");
    EXPECT_EQ(ausIsoZeit("2026-11-15T20:35:00Z"), std::chrono::system_clock::from_time_t(1794774900));
    EXPECT_FALSE(ausIsoZeit("2026-11-15 20:35:00Z"));
    const std::string k = neueKennung();
    ASSERT_EQ(k.size(), 36u);
    EXPECT_EQ(k[14], '4');
    EXPECT_NE(k, neueKennung());
}

}  // namespace
}  // namespace hainbrem
