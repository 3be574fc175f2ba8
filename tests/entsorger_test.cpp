// The disposer on fixture homes: whole rounds, save points, skipped and vanished items, dry runs,
// undo, a process killed mid-round, the confirmation's words and the result explanation.
#include <gtest/gtest.h>
#include <pwd.h>
#include <signal.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "kern/bestaetigung.hpp"
#include "kern/entsorger.hpp"
#include "kern/loeschen.hpp"
#include "kern/runde.hpp"
#include "plattform/papierkorb.hpp"
#include "plattform/plattform.hpp"
#include "fixture_home.hpp"
#include "testordner.hpp"

extern char** environ;

namespace hainbrem {
namespace {

namespace fs = std::filesystem;
using test::Testordner;

class TestModus : public ::testing::Environment {
public:
    void SetUp() override { ::setenv("HAINBREM_TEST", "1", 1); }
};
const auto* const testModus = ::testing::AddGlobalTestEnvironment(new TestModus);

Fund fund(const fs::path& p, Entsorgung art, std::optional<std::string> besitzer = std::nullopt) {
    return Fund{p, 0, art, std::move(besitzer), std::nullopt, true, std::nullopt};
}

struct Welt {
    Testordner t;
    fs::path home = t.ordner("home");
    fs::path temp = t.ordner("tmp");
    fs::path korb = plattform::profil(home).papierkorb;
    Verlauf verlauf{Verlauf::standardDatei(home)};
    Entsorger entsorger{SafetyGuard(home, temp, t / "Applications"), verlauf, false,
                        [](const std::string& b) { return b == "Slack"; }};
    fs::path datei(const std::string& rel, size_t bytes = 4096) const { return t.datei("home/" + rel, bytes); }
};

TEST(EntsorgerTest, GanzeRundeUndRueckgaengig) {
    Welt w;
    const fs::path a = w.datei("Projekte/a.txt");
    const fs::path ordner = w.datei("Projekte/ordner/innen.bin", 10000).parent_path();
    const fs::path c1 = w.datei("Library/Caches/com.example.eins/x/y.bin", 20000).parent_path().parent_path();
    const fs::path c2 = w.datei(".cache/zwei/z.bin", 8000).parent_path();
    const fs::path slack = w.datei(".cache/slack/s.bin", 8000).parent_path();
    const fs::path dokumente = w.t.ordner("home/Documents");
    const std::vector<Fund> funde = {
        fund(a, Entsorgung::papierkorb),       fund(ordner, Entsorgung::papierkorb),
        fund(c1, Entsorgung::loeschen),        fund(c2, Entsorgung::loeschen),
        fund(w.home / ".cache/weg", Entsorgung::loeschen),
        fund(slack, Entsorgung::loeschen, "Slack"), fund(dokumente, Entsorgung::papierkorb)};

    const Runde r = w.entsorger.entsorge(funde, "Test", w.home);
    ASSERT_EQ(r.posten.size(), funde.size());
    EXPECT_FALSE(r.probelauf);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_FALSE(r.posten[i].fehler) << r.posten[i].pfad << ": " << *r.posten[i].fehler;
        EXPECT_GT(r.posten[i].bytes, 0);
        EXPECT_FALSE(fs::exists(funde[i].url));
    }
    EXPECT_EQ(r.posten[0].imPapierkorb, (w.korb / "a.txt").native());
    EXPECT_EQ(r.posten[1].imPapierkorb, (w.korb / "ordner").native());
    EXPECT_FALSE(r.posten[2].imPapierkorb);
    EXPECT_EQ(r.posten[4].fehler, "Schon weg");
    EXPECT_EQ(r.posten[4].bytes, 0);
    EXPECT_EQ(r.posten[5].fehler, "Slack läuft gerade – übersprungen");
    EXPECT_EQ(r.posten[5].bytes, 0);
    EXPECT_TRUE(fs::exists(slack / "s.bin"));
    EXPECT_EQ(r.posten[6].fehler, "Standardordner bleiben immer");
    EXPECT_TRUE(fs::exists(dokumente));
    EXPECT_EQ(r.erwartet(), r.posten[0].bytes + r.posten[1].bytes + r.posten[2].bytes + r.posten[3].bytes);
    EXPECT_EQ(r.imPapierkorbBytes(), r.posten[0].bytes + r.posten[1].bytes);
    EXPECT_TRUE(r.kannRueckgaengig());
    EXPECT_EQ(r.fehlerAnzahl(), 3u);
    using E = PostenErgebnis;
    std::vector<E> ergebnisse;
    for (const auto& p : r.posten) ergebnisse.push_back(p.ergebnis);
    EXPECT_EQ(ergebnisse, (std::vector<E>{E::imPapierkorb, E::imPapierkorb, E::entfernt, E::entfernt, E::schonWeg,
                                          E::laeuft, E::abgelehnt}));

    // on disk exactly as returned, and the Trash paths feed the next check
    Verlauf geladen(w.verlauf.datei());
    ASSERT_EQ(geladen.runden().size(), 1u);
    EXPECT_EQ(geladen.runden().front(), r);
    EXPECT_EQ(geladen.imPapierkorb(), (std::set<std::string>{*r.posten[0].imPapierkorb, *r.posten[1].imPapierkorb}));

    const auto zurueck = w.entsorger.rueckgaengig(r.id);
    EXPECT_EQ(zurueck.zurueck, 2);
    EXPECT_TRUE(zurueck.fehler.empty());
    EXPECT_TRUE(fs::exists(a));
    EXPECT_TRUE(fs::exists(ordner / "innen.bin"));
    const auto nachher = Verlauf(w.verlauf.datei()).runde(r.id);
    ASSERT_TRUE(nachher);
    EXPECT_TRUE(nachher->posten[0].zurueckgelegt && nachher->posten[1].zurueckgelegt);
    EXPECT_FALSE(nachher->posten[2].zurueckgelegt);
    EXPECT_FALSE(nachher->kannRueckgaengig());
    EXPECT_EQ(w.entsorger.rueckgaengig(r.id).zurueck, 0);  // nothing left to put back
    EXPECT_EQ(w.entsorger.rueckgaengig("00000000-0000-4000-8000-000000000000").zurueck, 0);
}

TEST(EntsorgerTest, Speicherpunkte) {
    Welt w;
    std::vector<std::pair<size_t, bool>> gesehen;
    w.verlauf.beobachte([&](const std::vector<Runde>& runden) {
        const auto& p = runden.front().posten;
        gesehen.emplace_back(p.size(), !p.empty() && p.back().ergebnis == PostenErgebnis::unterbrochen);
    });
    std::vector<Fund> loeschen;
    for (int i = 0; i < 45; ++i) loeschen.push_back(fund(w.datei(".cache/d" + std::to_string(i), 10), Entsorgung::loeschen));
    w.entsorger.entsorge(loeschen, "45 Löschungen", w.home);
    using P = std::pair<size_t, bool>;
    EXPECT_EQ(gesehen, (std::vector<P>{{0, false}, {20, false}, {40, false}, {45, false}}));

    // every Trash item is on disk before it moves and again right after
    gesehen.clear();
    std::vector<Fund> korb;
    for (int i = 0; i < 3; ++i) korb.push_back(fund(w.datei("Projekte/k" + std::to_string(i)), Entsorgung::papierkorb));
    w.entsorger.entsorge(korb, "Papierkorb", w.home);
    EXPECT_EQ(gesehen, (std::vector<P>{{0, false}, {1, true}, {1, false}, {2, true}, {2, false}, {3, true}, {3, false},
                                       {3, false}}));
}

TEST(EntsorgerTest, ProbelaufFasstNichtsAn) {
    Welt w;
    const fs::path a = w.datei("Projekte/a.txt", 5000);
    const fs::path c = w.datei(".cache/eins/b.bin", 70000).parent_path();
    w.entsorger.probelauf = true;
    const Runde r = w.entsorger.entsorge({fund(a, Entsorgung::papierkorb), fund(c, Entsorgung::loeschen)}, "Probe", w.home);
    EXPECT_TRUE(r.probelauf);
    EXPECT_TRUE(fs::exists(a));
    EXPECT_TRUE(fs::exists(c / "b.bin"));
    EXPECT_FALSE(fs::exists(w.korb));
    EXPECT_FALSE(fs::exists(w.verlauf.datei()));
    EXPECT_TRUE(w.verlauf.runden().empty());
    EXPECT_GT(r.erwartet(), 70000);
    EXPECT_EQ(r.gewonnen(), r.erwartet());
    EXPECT_FALSE(r.posten[0].imPapierkorb);
}

TEST(EntsorgerTest, AngehaltenZwischenZweiPosten) {
    Welt w;
    std::stop_source stopp;
    Steuerung s(stopp.get_token());
    // asked while the second item runs: that one is carried through, the rest stays
    w.entsorger.laeuft = [&](const std::string&) { return stopp.request_stop() && false; };
    std::vector<Fund> funde;
    for (int i = 0; i < 4; ++i)
        funde.push_back(fund(w.datei(".cache/d" + std::to_string(i), 10), Entsorgung::loeschen,
                             i == 1 ? std::optional<std::string>("x") : std::nullopt));
    const Runde r = w.entsorger.entsorge(funde, "Angehalten", w.home, &s);
    ASSERT_EQ(r.posten.size(), 2u);
    EXPECT_FALSE(fs::exists(funde[1].url));
    EXPECT_TRUE(fs::exists(funde[2].url));
    EXPECT_EQ(Verlauf(w.verlauf.datei()).runde(r.id), r);  // stored whole, measured after the last item
    EXPECT_EQ(s.erledigt.load(), 2);
    EXPECT_EQ(s.gesamt.load(), 4);
}

TEST(EntsorgerTest, RundengangVonDerBestaetigungZumErgebnis) {
    Welt w;
    const std::vector<Fund> funde{fund(w.datei(".cache/a", 5000), Entsorgung::loeschen),
                                  fund(w.datei(".cache/s", 5000), Entsorgung::loeschen, "Slack")};
    const Rundengang gang(w.entsorger, funde, "Zwei");
    EXPECT_EQ(gang.bestaetigung().laufendeBesitzer, std::vector<std::string>{"Slack"});
    std::stop_source stopp;
    Steuerung s(stopp.get_token());
    w.entsorger.fortschritt = [&](size_t, size_t, const Posten&) { stopp.request_stop(); };
    const RundenErgebnis e = gang.fuehreAus(w.home, &s);
    EXPECT_TRUE(e.angehalten);
    EXPECT_TRUE(e.allesErledigt());
    EXPECT_TRUE(e.erklaerung.starts_with("Alles erledigt.")) << e.erklaerung;
    EXPECT_EQ(w.verlauf.runde(e.runde.id), e.runde);
}

TEST(EntsorgerTest, RueckgaengigBelegtUndGeleert) {
    Welt w;
    const fs::path a = w.datei("Projekte/a.txt", 100);
    const fs::path b = w.datei("Projekte/b.txt", 100);
    const Runde r = w.entsorger.entsorge({fund(a, Entsorgung::papierkorb), fund(b, Entsorgung::papierkorb)}, "x", w.home);
    ASSERT_TRUE(r.posten[0].imPapierkorb && r.posten[1].imPapierkorb);
    w.datei("Projekte/a.txt", 7);          // the old place is taken again
    fs::remove(*r.posten[1].imPapierkorb);  // the Trash was emptied
    const auto e = w.entsorger.rueckgaengig(r.id);
    EXPECT_EQ(e.zurueck, 0);
    EXPECT_EQ(e.fehler, (std::vector<std::string>{std::string("a.txt: ") + plattform::zielBelegtText,
                                                  std::string("b.txt: ") + plattform::nichtImPapierkorbText}));
    EXPECT_EQ(fs::file_size(a), 7u);  // both files stay
    EXPECT_TRUE(fs::exists(*r.posten[0].imPapierkorb));
    EXPECT_FALSE(w.verlauf.runde(r.id)->posten[0].zurueckgelegt);
}

TEST(EntsorgerTest, EchtesHomeIstImTestGesperrt) {
    Testordner t;
    Verlauf v(t / "verlauf.json");
    const passwd* pw = ::getpwuid(::getuid());
    ASSERT_NE(pw, nullptr);
    Entsorger e(SafetyGuard(pw->pw_dir, t.pfad()), v);
    const Posten p = e.entsorge(fund(fs::path(pw->pw_dir) / ".cache/hainbrem-gibt-es-nicht", Entsorgung::loeschen));
    EXPECT_EQ(p.fehler, testSperreText);
    EXPECT_EQ(p.ergebnis, PostenErgebnis::abgelehnt);
}

std::vector<char*> zeiger(std::vector<std::string>& texte) {
    std::vector<char*> z;
    for (auto& s : texte) z.push_back(s.data());
    z.push_back(nullptr);
    return z;
}

// A round killed at any moment leaves a readable history that knows every item in the Trash.
TEST(EntsorgerTest, AbgewuergteRundeVerliertNichts) {
    std::mt19937 zufall(4711);
    for (int lauf = 0; lauf < 20; ++lauf) {
        Testordner t;
        const fs::path home = t.ordner("home");
        std::vector<std::string> argumente = {HAINBREM_BINARY, "entsorgen", "--papierkorb", "--ja"};
        std::vector<fs::path> dateien;
        for (int i = 0; i < 40; ++i) {
            dateien.push_back(t.datei("home/Projekte/f" + std::to_string(i) + ".txt", 10));
            argumente.push_back(dateien.back().native());
        }
        std::vector<std::string> umgebung = {"HOME=" + home.native(), "HAINBREM_TEST=1", "PATH=/usr/bin:/bin"};
        std::vector<char*> argv = zeiger(argumente), envp = zeiger(umgebung);
        posix_spawn_file_actions_t aktionen;
        posix_spawn_file_actions_init(&aktionen);
        posix_spawn_file_actions_addopen(&aktionen, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&aktionen, 2, "/dev/null", O_WRONLY, 0);
        pid_t pid;
        ASSERT_EQ(posix_spawn(&pid, argv[0], &aktionen, nullptr, argv.data(), envp.data()), 0);
        posix_spawn_file_actions_destroy(&aktionen);
        std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution<int>(20, 900)(zufall)));
        ::kill(pid, SIGKILL);
        int status;
        ::waitpid(pid, &status, 0);

        Verlauf v(Verlauf::standardDatei(home));
        ASSERT_FALSE(v.warUnlesbar()) << "Lauf " << lauf;
        const auto bekannt = v.imPapierkorb();
        const fs::path korb = plattform::profil(home).papierkorb;
        size_t imKorb = 0;
        if (fs::exists(korb))
            for (const auto& e : fs::directory_iterator(korb)) {
                ++imKorb;
                EXPECT_TRUE(bekannt.contains(e.path().native())) << e.path() << " fehlt im Verlauf, Lauf " << lauf;
            }
        Entsorger entsorger(SafetyGuard(home, t.ordner("tmp")), v);
        for (const auto& r : v.runden()) {
            const auto ergebnis = entsorger.rueckgaengig(r.id);
            EXPECT_TRUE(ergebnis.fehler.empty()) << ergebnis.fehler.front();
            EXPECT_EQ(static_cast<size_t>(ergebnis.zurueck), imKorb);
        }
        for (const auto& d : dateien) EXPECT_TRUE(fs::exists(d)) << d << ", Lauf " << lauf;
        if (fs::exists(korb)) {
            EXPECT_TRUE(fs::is_empty(korb)) << "Lauf " << lauf;
        }
    }
}

// The command line: no terminal and no --ja touches nothing; a dry run touches nothing; the
// history and undo work through the command as well.
TEST(EntsorgerTest, BefehleAufEinemTestHome) {
    Testordner t;
    test::MacHome mac(t);
    const std::string env = "cd / && HOME='" + mac.home().native() + "' TMPDIR='" + mac.temp().native() + "' ";
    const auto bestand = [&] {
        std::vector<std::string> s;
        for (const auto& e : fs::recursive_directory_iterator(mac.home())) s.push_back(e.path().native());
        std::sort(s.begin(), s.end());
        return s;
    };
    const auto vorher = bestand();
    int status = 0;
    std::string aus = test::laufe(env + HAINBREM_BINARY " aufraeumen </dev/null 2>&1", &status);
    EXPECT_EQ(status, 1) << aus;
    EXPECT_NE(aus.find("Keine Rückfrage möglich"), std::string::npos) << aus;
    aus = test::laufe(env + HAINBREM_BINARY " aufraeumen --alle --probelauf </dev/null 2>&1", &status);
    EXPECT_EQ(status, 0) << aus;
    EXPECT_NE(aus.find("Probelauf"), std::string::npos) << aus;
    EXPECT_EQ(bestand(), vorher);

    const fs::path datei = mac.datei("Projekte/weg.txt", 3000);
    aus = test::laufe(env + HAINBREM_BINARY " --json entsorgen --ja '" + datei.native() + "'", &status);
    ASSERT_EQ(status, 0) << aus;
    const auto runde = nlohmann::json::parse(aus);
    EXPECT_FALSE(fs::exists(datei));
    EXPECT_TRUE(runde.at("kannRueckgaengig").get<bool>());
    const auto liste = nlohmann::json::parse(test::laufe(env + HAINBREM_BINARY " --json verlauf"));
    ASSERT_GE(liste.size(), 1u);
    EXPECT_EQ(liste.at(0).at("id"), runde.at("id"));
    aus = test::laufe(env + HAINBREM_BINARY " rueckgaengig " + runde.at("id").get<std::string>().substr(0, 8) + " 2>&1",
                      &status);
    EXPECT_EQ(status, 0) << aus;
    EXPECT_NE(aus.find("1 Teil zurückgelegt."), std::string::npos) << aus;
    EXPECT_TRUE(fs::exists(datei));
}

TEST(BestaetigungTest, ZeilenUndLaufendeBesitzer) {
    const std::vector<Fund> funde = {
        Fund{"/h/.cache/a", 1000, Entsorgung::loeschen, "Slack", std::nullopt, true, std::nullopt},
        Fund{"/h/.cache/b", 2000, Entsorgung::loeschen, "Slack", std::nullopt, true, std::nullopt},
        Fund{"/h/x", 500, Entsorgung::papierkorb, "Mail", std::nullopt, true, std::nullopt},
    };
    const Bestaetigung b = bestaetigung(funde, [](const std::string& n) { return n == "Slack"; });
    ASSERT_EQ(b.zeilen.size(), 2u);
    EXPECT_EQ(b.zeilen[0].titel, "2 × endgültig löschen");
    EXPECT_EQ(b.zeilen[0].bytes, 3000);
    EXPECT_EQ(b.zeilen[0].symbol, "leaf.fill");
    EXPECT_EQ(b.zeilen[1].titel, "1 × in den Papierkorb");
    EXPECT_EQ(b.zeilen[1].symbol, "trash.fill");
    EXPECT_EQ(b.teile, "in 3 Teilen");
    EXPECT_EQ(bestaetigung({funde[0]}, {}).teile, "in 1 Teil");
    EXPECT_EQ(b.hinweis, "Läuft ein Programm, dem etwas davon gehört, bleibt das liegen.");
    EXPECT_EQ(b.warnungen, std::vector<std::string>{"Slack läuft noch, seine Teile blieben liegen."});
    EXPECT_EQ(bestaetigung({funde[2]}, {}).zeilen.size(), 1u);
}

TEST(BestaetigungTest, Erklaerung) {
    auto runde = [](int64_t erwartet, int64_t gewonnen, int fehler, bool korb) {
        Runde r;
        r.freiVorher = 1'000'000'000;
        r.freiNachher = r.freiVorher + gewonnen;
        r.posten.push_back(Posten{"/a", erwartet, korb ? Entsorgung::papierkorb : Entsorgung::loeschen,
                                  korb ? std::optional<std::string>("/k/a") : std::nullopt, std::nullopt, false});
        for (int i = 0; i < fehler; ++i)
            r.posten.push_back(Posten{"/f", 0, Entsorgung::loeschen, std::nullopt, "Geschützter Bereich", false});
        return r;
    };
    const auto frei = [] { return int64_t{12'340'000'000}; };
    const std::string weniger =
        "weniger als erwartet: Klone, Hardlinks oder ein Schnappschuss halten Daten fest, oder andere Programme "
        "schreiben gerade";
    struct Fall {
        Runde r;
        std::string text;
    };
    const std::vector<Fall> faelle = {
        {runde(5'000'000, 5'000'000, 0, false), "Alles erledigt. Echter freier Platz jetzt: 12,34 GB."},
        {runde(100'000'000, 79'999'999, 0, false), weniger},
        {runde(100'000'000, 80'000'000, 0, false), "Alles erledigt. Echter freier Platz jetzt: 12,34 GB."},
        {runde(50'000'000, 0, 0, false), "Alles erledigt. Echter freier Platz jetzt: 12,34 GB."},
        {runde(3'000'000, 0, 3, true),
         "3 MB liegen im Papierkorb – frei erst nach dem Leeren · 3 übersprungen (läuft gerade oder geschützt)"},
        {runde(100'000'000, 0, 0, true), "100 MB liegen im Papierkorb – frei erst nach dem Leeren"},
    };
    for (const auto& f : faelle) EXPECT_EQ(erklaerung(f.r, frei), f.text);
}

// What a round was to free counts only what left the disk for good: the Trash frees nothing,
// whether its items still lie there or were put back. A dry run says what would have happened.
TEST(BestaetigungTest, ErwartetOhnePapierkorbNachRueckgaengigUndImProbelauf) {
    auto runde = [](int64_t geloescht, int64_t korb, int64_t gewonnen, bool zurueck, bool probelauf) {
        Runde r;
        r.probelauf = probelauf;
        r.freiVorher = 1'000'000'000;
        r.freiNachher = r.freiVorher + gewonnen;
        r.posten.push_back(Posten{"/c", geloescht, Entsorgung::loeschen, std::nullopt, std::nullopt, false});
        if (korb > 0)
            r.posten.push_back(Posten{"/k", korb, Entsorgung::papierkorb,
                                      probelauf ? std::nullopt : std::optional<std::string>("/T/k"), std::nullopt,
                                      zurueck});
        return r;
    };
    const auto frei = [] { return int64_t{12'340'000'000}; };
    struct Fall {
        const char* wie;
        Runde r;
        int64_t erwartetFrei;
        std::string text;
    };
    const std::vector<Fall> faelle = {
        {"nur Papierkorb", runde(0, 900'000'000, 0, false, false), 0,
         "900 MB liegen im Papierkorb – frei erst nach dem Leeren"},
        {"zurückgelegt, genau gewonnen", runde(700'000'000, 900'000'000, 700'000'000, true, false), 700'000'000,
         "900 MB zurückgelegt"},
        {"zurückgelegt, zu wenig", runde(700'000'000, 900'000'000, 100'000'000, true, false), 700'000'000,
         "900 MB zurückgelegt · weniger als erwartet: Klone, Hardlinks oder ein Schnappschuss halten Daten fest, "
         "oder andere Programme schreiben gerade"},
        {"Probelauf gemischt", runde(700'000'000, 900'000'000, 1'600'000'000, false, true), 700'000'000,
         "700 MB würden frei · 900 MB gingen in den Papierkorb – frei erst nach dem Leeren"},
        {"Probelauf nur Papierkorb", runde(0, 900'000'000, 900'000'000, false, true), 0,
         "900 MB gingen in den Papierkorb – frei erst nach dem Leeren"},
        {"Probelauf nur Löschen", runde(5'000'000, 0, 5'000'000, false, true), 5'000'000, "5 MB würden frei"},
    };
    for (const auto& f : faelle) {
        EXPECT_EQ(f.r.erwartetFrei(), f.erwartetFrei) << f.wie;
        EXPECT_EQ(erklaerung(f.r, frei), f.text) << f.wie;
    }
}

}  // namespace
}  // namespace hainbrem
