// Tried as an attacker would: folders swapped for links while a round runs, a Trash emptied and
// filled again before undo, history entries that point anywhere, and the edges (a full disk,
// Ctrl-C in the middle, names that are terminal commands). The commands run as an unprivileged
// user where the tests run as root: root may reach everything, which would hide what a normal
// user's Hainbrem must not do.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "kern/entsorger.hpp"
#include "kern/heim.hpp"
#include "kern/katalog.hpp"
#include "kern/kodierung.hpp"
#include "kern/laufend.hpp"
#include "kern/papierkorb_info.hpp"
#include "kern/runde.hpp"
#include "kern/safetyguard.hpp"
#include "kern/tempordner.hpp"
#include "kern/verlauf.hpp"
#include "plattform/dateisystem.hpp"
#include "plattform/papierkorb.hpp"
#include "plattform/plattform.hpp"
#include "testordner.hpp"

extern char** environ;

namespace hainbrem {
namespace {

using test::lies;
using test::schreibe;
using test::Testordner;



// Who runs the removing commands: nobody when the tests are root, else the test's own user.
struct Ausfuehrer {
    std::string vorne;
    bool nobody = false;
};
Ausfuehrer unprivilegiert() {
    if (test::kannAlsNobodyLaufen()) return {"setpriv --reuid=nobody --regid=nogroup --clear-groups ", true};
    return {"", false};
}
void gibNobody(const Ausfuehrer& a, const fs::path& p) {
    if (a.nobody) test::laufe("chown -R nobody:nogroup '" + p.native() + "'");
}

std::string umgebung(const fs::path& home, const fs::path& temp) {
    return "cd / && env -u XDG_DATA_HOME HAINBREM_TEST=1 HOME='" + home.native() + "' TMPDIR='" + temp.native() + "' ";
}

// Exchanges two names again and again (renameat2 RENAME_EXCHANGE) until told to stop or a
// bound is reached; at the end the first name holds what it held at the start.
class Tauscher {
public:
    Tauscher(fs::path a, fs::path b) : a_(std::move(a)), b_(std::move(b)) {
        faden_ = std::thread([this] {
            const auto ende = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            while (!halt_.load() && std::chrono::steady_clock::now() < ende)
                if (::renameat2(AT_FDCWD, a_.c_str(), AT_FDCWD, b_.c_str(), RENAME_EXCHANGE) == 0) ++getauscht_;
        });
    }
    ~Tauscher() { halte(); }
    long halte() {
        halt_.store(true);
        if (faden_.joinable()) faden_.join();
        if (getauscht_ % 2 == 1) {
            ::renameat2(AT_FDCWD, a_.c_str(), AT_FDCWD, b_.c_str(), RENAME_EXCHANGE);
            ++getauscht_;
        }
        return getauscht_;
    }

private:
    fs::path a_, b_;
    std::atomic<bool> halt_{false};
    long getauscht_ = 0;
    std::thread faden_;
};

std::string pfadListe(const fs::path& ordner, int anzahl) {
    std::string s;
    for (int i = 0; i < anzahl; ++i) s += " '" + (ordner / ("f" + std::to_string(1000 + i))).native() + "'";
    return s;
}

// ---------------------------------------------------------------- swaps while a round runs

struct Tauschfall {
    const char* name;
    const char* art;        // entsorgen --loeschen or --papierkorb
    const char* ordner;     // the folder whose items the round takes, below home
    const char* ziel;       // where the link swapped in for it points; below the test folder
    int anzahl;             // items (every Trash item writes the history twice)
};

class Tausch : public ::testing::TestWithParam<Tauschfall> {};

// While deleting or moving hundreds of items, their folder keeps being exchanged with a link to a
// folder full of files of the same names. Whatever the timing, nothing is deleted outside the
// folder, and whatever lies in the Trash is recorded under the place it really came from (the
// command line resolves a named path when it reads it, so a swap at that moment names the
// other folder, which the confirmation then shows), so undo puts everything back where it was.
TEST_P(Tausch, KeinStueckAusDemVerlinktenOrdner) {
    const Tauschfall f = GetParam();
    const Ausfuehrer wer = unprivilegiert();
    Testordner t;
    const fs::path home = t.ordner("home"), temp = t.ordner("tmp");
    const fs::path ordner = home / f.ordner, ziel = t / f.ziel;
    const int anzahl = f.anzahl;
    for (int i = 0; i < anzahl; ++i) {
        schreibe(ordner / ("f" + std::to_string(1000 + i)), "innen");
        schreibe(ziel / ("f" + std::to_string(1000 + i)), "aussen");
    }
    const fs::path link = ordner.native() + "-link";
    fs::create_directory_symlink(ziel, link);
    gibNobody(wer, t.pfad());

    Tauscher tauscher(ordner, link);
    int status = 0;
    const std::string aus = test::laufe(umgebung(home, temp) + wer.vorne + HAINBREM_BINARY + " --json entsorgen " +
                                            f.art + " --ja" + pfadListe(ordner, anzahl) + " 2>/dev/null",
                                        &status);
    EXPECT_GT(tauscher.halte(), 10) << "es wurde kaum getauscht";

    const fs::path korb = plattform::profil(home).papierkorb;
    size_t imKorb = 0, vonAussen = 0;
    if (fs::exists(korb))
        for (const auto& e : fs::directory_iterator(korb)) {
            ++imKorb;
            const std::string inhalt = lies(e.path());
            const fs::path herkunft = (inhalt == "innen" ? fs::canonical(ordner) : fs::canonical(ziel)) /
                                      e.path().filename().native().substr(0, 5);
            if (inhalt == "aussen") ++vonAussen;
            const std::string info = lies(korb.parent_path() / "info" / (e.path().filename().native() + ".trashinfo"));
            EXPECT_NE(info.find("Path=" + herkunft.native() + "\n"), std::string::npos) << inhalt << "\n" << info;
        }
    size_t fehlen = 0;
    for (int i = 0; i < anzahl; ++i) {
        const fs::path p = ziel / ("f" + std::to_string(1000 + i));
        if (!fs::exists(p)) ++fehlen;
        else EXPECT_EQ(lies(p), "aussen");
    }
    EXPECT_EQ(fehlen, vonAussen) << "von draußen fehlt mehr, als im Papierkorb liegt";
    // every item of the round went from the folder or stayed in it whole, as its record says
    const auto runde = nlohmann::json::parse(aus.empty() ? "{}" : aus, nullptr, false);
    ASSERT_TRUE(runde.is_object() && runde.contains("posten")) << aus;
    for (const auto& p : runde["posten"]) {
        const fs::path stueck = p["pfad"].get<std::string>();
        EXPECT_EQ(fs::exists(fs::symlink_status(stueck)), !p["fehler"].is_null()) << p.dump();
    }
    if (std::string(f.art) == "--papierkorb") {
        EXPECT_GT(imKorb, 0u) << "nichts kam an: " << aus;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Angriff, Tausch,
    ::testing::Values(Tauschfall{"loeschen", "--loeschen", ".cache/spiel", "draussen/opfer", 300},
                      Tauschfall{"papierkorb", "--papierkorb", "Dokumente/ablage", "home/Geheim", 80},
                      Tauschfall{"flatpak", "--loeschen", ".var/app/org.example.Spiel/cache/daten",
                                 "home/Documents/Fotos", 300}),
    [](const auto& fall) { return std::string(fall.param.name); });

// The same through the catalog: a sandboxed program writes nothing but its own ~/.var/app
// folder, and swaps its cache folder for a link into Documents while the rule's round runs.
TEST(Angriff, SandboxCachesRundeErreichtDocumentsNie) {
    const Ausfuehrer wer = unprivilegiert();
    Testordner t;
    const fs::path home = t.ordner("home"), temp = t.ordner("tmp");
    const fs::path app = home / ".var/app/org.example.Spiel";
    for (int i = 0; i < 200; ++i) {
        schreibe(app / "cache" / ("e" + std::to_string(i)) / "x", "cache");
        schreibe(home / "Documents/Fotos" / ("e" + std::to_string(i)) / "x", "foto");
    }
    fs::create_directory_symlink(home / "Documents/Fotos", app / "cache-link");
    gibNobody(wer, t.pfad());
    Tauscher tauscher(app / "cache", app / "cache-link");
    test::laufe(umgebung(home, temp) + wer.vorne + HAINBREM_BINARY +
                " aufraeumen --regel sandbox-caches --ja >/dev/null 2>&1");
    tauscher.halte();
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(lies(home / "Documents/Fotos" / ("e" + std::to_string(i)) / "x"), "foto") << i;
}

// The disposer's primitive on its own: the place it acts on is the folder it opened, whatever
// lies at that path afterwards; a link already in place is refused. Both ways of opening.
TEST(Angriff, FreigabeHaeltDenGeprueftenOrdner) {
    for (const bool schrittweise : {false, true}) {
        plattform::nurSchrittweise(schrittweise);
        Testordner t;
        const fs::path home = t.ordner("home");
        schreibe(home / ".cache/a/x", "innen");
        schreibe(t / "draussen/x", "aussen");
        const SafetyGuard w(home, t.ordner("tmp"));

        auto frei = w.freigeben(home / ".cache/a/x", Entsorgung::loeschen);
        ASSERT_TRUE(frei.urteil.istErlaubt()) << frei.urteil.grund();
        fs::rename(home / ".cache/a", home / ".cache/b");
        fs::create_directory_symlink(t / "draussen", home / ".cache/a");
        ASSERT_EQ(::unlinkat(frei.ort->eltern.fd(), frei.ort->name.c_str(), 0), 0);
        EXPECT_FALSE(fs::exists(home / ".cache/b/x"));
        EXPECT_EQ(lies(t / "draussen/x"), "aussen");

        EXPECT_EQ(w.freigeben(home / ".cache/a/x", Entsorgung::loeschen).urteil,
                  Urteil::abgelehnt(Ablehnung::wegGetauscht))
            << "schrittweise " << schrittweise;
        fs::create_directory_symlink(t / "draussen", home / "verlinkt");
        EXPECT_FALSE(w.freigeben(home / "verlinkt/x", Entsorgung::papierkorb).ort);
        EXPECT_TRUE(fs::exists(t / "draussen/x"));
    }
    plattform::nurSchrittweise(false);
}

// ---------------------------------------------------------------- undo

struct RueckWelt {
    Testordner t;
    fs::path home = t.ordner("home");
    fs::path temp = t.ordner("tmp");
    Verlauf verlauf{t / "verlauf.json"};
    Entsorger entsorger{SafetyGuard(home, temp), verlauf};

    Runde papierkorbRunde(const std::vector<fs::path>& pfade) {
        std::vector<Fund> funde;
        for (const auto& p : pfade) funde.push_back(Fund{p, 0, Entsorgung::papierkorb, {}, {}, true, {}});
        return entsorger.entsorge(funde, "Test", home);
    }
    // A round as a history file might hold it, written by hand.
    std::string gefaelscht(const Posten& p) {
        Runde r;
        r.id = neueKennung();
        r.titel = "gefälscht";
        r.datum = std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now());
        r.posten.push_back(p);
        verlauf.einfuegen(r);
        EXPECT_TRUE(verlauf.speichern());
        return r.id;
    }
    static plattform::PapierkorbKennung kennung(const fs::path& p) {
        struct stat st;
        ::lstat(p.c_str(), &st);
        auto k = plattform::kennungVon(st);
        k.info = p.filename().native() + ".trashinfo";
        return k;
    }
};

TEST(Rueckgaengig, LegtNurDasEigeneStueckZurueck) {
    {
        SCOPED_TRACE("Papierkorb geleert und mit gleichem Namen neu belegt");
        RueckWelt w;
        schreibe(w.home / ".cache/thumbnails/a.png", "vorschau");
        const Runde r = w.papierkorbRunde({w.home / ".cache/thumbnails"});
        ASSERT_TRUE(r.posten.at(0).imPapierkorb);
        const fs::path imKorb = *r.posten[0].imPapierkorb;
        fs::remove_all(imKorb);
        fs::remove(plattform::trashinfoZu(imKorb));
        schreibe(w.home / "Documents/thumbnails/eigen.txt", "meins");
        ASSERT_EQ(*plattform::inDenPapierkorb(w.home / "Documents/thumbnails", w.home), imKorb);
        const auto e = w.entsorger.rueckgaengig(r.id);
        EXPECT_EQ(e.zurueck, 0);
        ASSERT_EQ(e.fehler.size(), 1u);
        EXPECT_NE(e.fehler[0].find("etwas anderes"), std::string::npos) << e.fehler[0];
        EXPECT_FALSE(fs::exists(w.home / ".cache/thumbnails"));
        EXPECT_EQ(lies(imKorb / "eigen.txt"), "meins");
    }
    {
        SCOPED_TRACE("Eintrag außerhalb jedes Papierkorbs");
        RueckWelt w;
        const fs::path fremd = w.t.datei("irgendwo/files/geheim.txt", 5);
        const std::string id = w.gefaelscht(Posten{(w.home / "geheim.txt").native(), 5, Entsorgung::papierkorb,
                                                   fremd.native(), std::nullopt, false, PostenErgebnis::imPapierkorb,
                                                   RueckWelt::kennung(fremd)});
        const auto e = w.entsorger.rueckgaengig(id);
        EXPECT_EQ(e.zurueck, 0);
        ASSERT_EQ(e.fehler.size(), 1u);
        EXPECT_NE(e.fehler[0].find(plattform::keinPapierkorbText), std::string::npos) << e.fehler[0];
        EXPECT_TRUE(fs::exists(fremd));
        EXPECT_FALSE(fs::exists(w.home / "geheim.txt"));
    }
    {
        SCOPED_TRACE("Ziel außerhalb des Benutzerordners");
        RueckWelt w;
        const auto imKorb = plattform::inDenPapierkorb(w.t.datei("home/brief.txt", 5), w.home);
        ASSERT_TRUE(imKorb);
        const fs::path draussen = w.t / "draussen/neu/brief.txt";
        const std::string id = w.gefaelscht(Posten{draussen.native(), 5, Entsorgung::papierkorb, imKorb->native(),
                                                   std::nullopt, false, PostenErgebnis::imPapierkorb,
                                                   RueckWelt::kennung(*imKorb)});
        const auto e = w.entsorger.rueckgaengig(id);
        ASSERT_EQ(e.fehler.size(), 1u);
        EXPECT_NE(e.fehler[0].find("außerhalb deines Benutzerordners"), std::string::npos) << e.fehler[0];
        EXPECT_FALSE(fs::exists(w.t / "draussen"));
        EXPECT_TRUE(fs::exists(*imKorb));
    }
    {
        SCOPED_TRACE("Ordner auf dem Rückweg ist jetzt ein Link");
        RueckWelt w;
        schreibe(w.home / "Projekte/a/datei.txt", "meins");
        const Runde r = w.papierkorbRunde({w.home / "Projekte/a/datei.txt"});
        fs::remove(w.home / "Projekte/a");
        fs::create_directories(w.t / "draussen");
        fs::create_directory_symlink(w.t / "draussen", w.home / "Projekte/a");
        const auto e = w.entsorger.rueckgaengig(r.id);
        ASSERT_EQ(e.fehler.size(), 1u);
        EXPECT_NE(e.fehler[0].find(grundText(Ablehnung::wegGetauscht)), std::string::npos) << e.fehler[0];
        EXPECT_FALSE(fs::exists(w.t / "draussen/datei.txt"));
        EXPECT_TRUE(fs::exists(*r.posten[0].imPapierkorb));
    }
    {
        SCOPED_TRACE("Pfad mit ..");
        RueckWelt w;
        const auto imKorb = plattform::inDenPapierkorb(w.t.datei("home/c.txt", 5), w.home);
        const std::string id = w.gefaelscht(Posten{w.home.native() + "/Projekte/../../draussen/c.txt", 5,
                                                   Entsorgung::papierkorb, imKorb->native(), std::nullopt, false,
                                                   PostenErgebnis::imPapierkorb, RueckWelt::kennung(*imKorb)});
        const auto e = w.entsorger.rueckgaengig(id);
        ASSERT_EQ(e.fehler.size(), 1u);
        EXPECT_FALSE(fs::exists(w.t / "draussen"));
    }
    {
        SCOPED_TRACE("der gewöhnliche Fall: der Ordner darüber wird wieder angelegt");
        RueckWelt w;
        schreibe(w.home / "Projekte/b/c/datei.txt", "meins");
        const Runde r = w.papierkorbRunde({w.home / "Projekte/b/c/datei.txt"});
        fs::remove_all(w.home / "Projekte/b");
        const auto e = w.entsorger.rueckgaengig(r.id);
        EXPECT_EQ(e.zurueck, 1);
        EXPECT_TRUE(e.fehler.empty()) << e.fehler.front();
        EXPECT_EQ(lies(w.home / "Projekte/b/c/datei.txt"), "meins");
        EXPECT_FALSE(fs::exists(plattform::trashinfoZu(*r.posten[0].imPapierkorb)));
    }
    {
        SCOPED_TRACE("alter Verlauf ohne Kennung: die .trashinfo muss den Ort nennen");
        RueckWelt w;
        const auto a = plattform::inDenPapierkorb(w.t.datei("home/alt.txt", 5), w.home);
        const auto b = plattform::inDenPapierkorb(w.t.datei("home/Documents/fremd.txt", 5), w.home);
        const std::string passt = w.gefaelscht(Posten{(w.home / "alt.txt").native(), 5, Entsorgung::papierkorb,
                                                      a->native(), std::nullopt, false, PostenErgebnis::imPapierkorb});
        const std::string falsch = w.gefaelscht(Posten{(w.home / "anders.txt").native(), 5, Entsorgung::papierkorb,
                                                       b->native(), std::nullopt, false, PostenErgebnis::imPapierkorb});
        EXPECT_EQ(w.entsorger.rueckgaengig(passt).zurueck, 1);
        EXPECT_TRUE(fs::exists(w.home / "alt.txt"));
        EXPECT_EQ(w.entsorger.rueckgaengig(falsch).zurueck, 0);
        EXPECT_FALSE(fs::exists(w.home / "anders.txt"));
        EXPECT_TRUE(fs::exists(*b));
    }
    {
        SCOPED_TRACE("ein Name, der kein UTF-8 ist, geht aus dem gelesenen Verlauf zurück");
        RueckWelt w;
        const fs::path roh = w.home / "d" / "f\xff";
        schreibe(roh, "inhalt");
        const Runde r = w.papierkorbRunde({roh});
        Verlauf gelesen{w.t / "verlauf.json"};  // the record as a later run reads it from disk
        Entsorger spaeter{SafetyGuard(w.home, w.temp), gelesen};
        const auto e = spaeter.rueckgaengig(r.id);
        EXPECT_EQ(e.zurueck, 1);
        EXPECT_TRUE(e.fehler.empty()) << e.fehler.front();
        EXPECT_EQ(lies(roh), "inhalt");
    }
    {
        SCOPED_TRACE("eine Datei und danach ihr Ordner: der Ordner kommt zuerst zurück");
        RueckWelt w;
        schreibe(w.home / "d/f", "1");
        schreibe(w.home / "d/g", "2");
        const Runde r = w.papierkorbRunde({w.home / "d/f", w.home / "d"});
        const auto e = w.entsorger.rueckgaengig(r.id);
        EXPECT_EQ(e.zurueck, 2);
        EXPECT_TRUE(e.fehler.empty()) << e.fehler.front();
        EXPECT_EQ(lies(w.home / "d/f"), "1");
        EXPECT_EQ(lies(w.home / "d/g"), "2");
    }
}

// A round takes a path once: given twice, or inside a folder that goes the same way or into the
// Trash, it would be counted twice and reported as skipped. What goes for good inside a folder
// bound for the Trash stays its own item.
TEST(Rundengang, EinPfadNurEinmal) {
    RueckWelt w;
    const fs::path d = w.home / "d";
    const auto fund = [](const fs::path& p, Entsorgung art) { return Fund{p, 1, art, {}, {}, true, {}}; };
    const auto pfade = [](const Rundengang& g) {
        std::vector<std::string> aus;
        for (const auto& f : g.funde()) aus.push_back(f.url.filename().native());
        return aus;
    };
    const auto k = Entsorgung::papierkorb, l = Entsorgung::loeschen;
    EXPECT_EQ(pfade(Rundengang(w.entsorger, {fund(d / "f", k), fund(d, k), fund(d, k), fund(w.home / "e", k)}, "t")),
              (std::vector<std::string>{"d", "e"}));
    EXPECT_EQ(pfade(Rundengang(w.entsorger, {fund(d / "f", l), fund(d, k)}, "t")), (std::vector<std::string>{"d"}));
    EXPECT_EQ(pfade(Rundengang(w.entsorger, {fund(d / "f", k), fund(d, l)}, "t")),
              (std::vector<std::string>{"f", "d"}));
    EXPECT_EQ(pfade(Rundengang(w.entsorger, {fund(w.home / "de", k), fund(d, k)}, "t")),
              (std::vector<std::string>{"de", "d"})) << "ein Name, der nur gleich anfängt, liegt nicht darin";
}

// A round that left every item where it was is not kept: the history lists what was done.
TEST(Rundengang, WasNichtsAngefasstHatHinterlaesstKeineRunde) {
    RueckWelt w;
    schreibe(w.home / "Documents/brief.txt", "meins");
    schreibe(w.home / ".cache/app/a", "x");
    const Runde nichts = w.entsorger.entsorge(
        {Fund{w.home / "Documents", 1, Entsorgung::loeschen, {}, {}, true, {}},
         Fund{w.home / ".cache/fehlt", 1, Entsorgung::loeschen, {}, {}, true, {}}},
        "t", w.home);
    EXPECT_EQ(nichts.posten.size(), 2u);
    EXPECT_FALSE(w.verlauf.runde(nichts.id));
    EXPECT_FALSE(Verlauf(w.t / "verlauf.json").runde(nichts.id));
    const Runde etwas = w.entsorger.entsorge(
        {Fund{w.home / "Documents", 1, Entsorgung::loeschen, {}, {}, true, {}},
         Fund{w.home / ".cache/app", 1, Entsorgung::loeschen, {}, {}, true, {}}},
        "t", w.home);
    EXPECT_TRUE(Verlauf(w.t / "verlauf.json").runde(etwas.id));
    EXPECT_FALSE(fs::exists(w.home / ".cache/app"));
    EXPECT_EQ(lies(w.home / "Documents/brief.txt"), "meins");
}

// Files of its own that something replaced with a pipe: reading them must neither hang nor fail
// the round; the history is set aside and written anew.
TEST(Rohre, StattVerlaufUndTrashinfoHaltenNichtAuf) {
    Testordner t;
    const fs::path verlaufDatei = t / "verlauf.json";
    ASSERT_EQ(::mkfifo(verlaufDatei.c_str(), 0600), 0);
    Verlauf v{verlaufDatei};
    EXPECT_TRUE(v.runden().empty());
    EXPECT_TRUE(v.speichern());
    EXPECT_TRUE(fs::is_regular_file(verlaufDatei));

    const fs::path korb = t.ordner("Trash");
    schreibe(korb / "files/zz", "x");
    fs::create_directories(korb / "info");
    ASSERT_EQ(::mkfifo((korb / "info/zz.trashinfo").c_str(), 0600), 0);
    EXPECT_FALSE(PapierkorbInfo::hinzugefuegt(korb / "files/zz"));
}

// A link that leads the history's folder out of the home: no record is written there, so no
// round starts, and nothing lands outside.
TEST(Verlaufsordner, LinkAusDemHomeHinausWirdNichtBeschrieben) {
    Testordner t;
    const fs::path home = t.ordner("home"), temp = t.ordner("tmp"), draussen = t.ordner("draussen");
    fs::create_directories(home / ".local/share");
    fs::create_directory_symlink(draussen, home / ".local/share/hainbrem");
    schreibe(home / "a.txt", "meins");
    int status = 0;
    const std::string aus = test::laufe(umgebung(home, temp) + " " HAINBREM_BINARY " entsorgen --ja '" +
                                            (home / "a.txt").native() + "' 2>&1",
                                        &status);
    EXPECT_NE(status, 0) << aus;
    EXPECT_NE(aus.find("aus deinem Benutzerordner hinaus"), std::string::npos) << aus;
    EXPECT_TRUE(fs::is_empty(draussen)) << aus;
    EXPECT_EQ(lies(home / "a.txt"), "meins");
}

// ---------------------------------------------------------------- the temp rule

// A unix socket at `pfad`, as a running program leaves one.
void socketAnlegen(const fs::path& pfad) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un adresse{};
    adresse.sun_family = AF_UNIX;
    std::snprintf(adresse.sun_path, sizeof adresse.sun_path, "%s", pfad.c_str());
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&adresse), sizeof adresse), 0) << pfad;
    ::close(fd);
}

TEST(TempRegel, AlterNachDemJuengstenInhaltUndNieDasSystem) {
    Testordner t;
    const fs::path home = t.ordner("home"), temp = t.ordner("tmp");
    ::chmod(temp.c_str(), 0700);
    struct Eintrag {
        const char* name;
        bool ordner;
        double alter;       // the entry itself
        double innenAlter;  // a file inside (folders); < 0: none
        bool socket;
        bool erwartet;
    };
    const std::vector<Eintrag> eintraege{
        {"alt-ordner", true, 5, 5, false, true},
        {"arbeit", true, 5, 0, false, false},  // own date old, work inside from today
        {"mit-socket", true, 5, 5, true, false},
        {".X11-unix", true, 5, 5, false, false},
        {"systemd-private-1234-colord.service-Ab", true, 5, 5, false, false},
        {"krb5cc_1000", false, 5, -1, false, false},
        {"alt.tmp", false, 5, -1, false, true},
        {"neu.tmp", false, 0, -1, false, false},
    };
    for (const auto& e : eintraege) {
        const fs::path p = temp / e.name;
        if (!e.ordner) {
            schreibe(p, "x");
        } else {
            fs::create_directories(p);
            if (e.innenAlter >= 0) {
                schreibe(p / "inhalt", "x");
                test::altere(p / "inhalt", e.innenAlter);
            }
            if (e.socket) socketAnlegen(p / "s");
            if (e.socket) test::altere(p / "s", 5);
        }
        test::altere(p, e.alter);
    }
    const Umgebung u{home, temp, true, [](const std::string&) { return false; }, {}, Katalogprofil::linuxDesktop};
    const auto ergebnis = Katalog::pruefe(u, {*Katalog::regel("temporaer", Katalogprofil::linuxDesktop)});
    std::set<std::string> gefunden;
    for (const auto& r : ergebnis)
        for (const auto& f : r.funde) gefunden.insert(f.url.filename().native());
    for (const auto& e : eintraege) EXPECT_EQ(gefunden.contains(e.name), e.erwartet) << e.name;

    const SafetyGuard w(home, temp);
    EXPECT_EQ(w.pruefe(temp / ".X11-unix", Entsorgung::loeschen), Urteil::abgelehnt(Ablehnung::systemEintrag));
    EXPECT_EQ(w.pruefe(temp / "systemd-private-1234-colord.service-Ab/tmp", Entsorgung::loeschen),
              Urteil::abgelehnt(Ablehnung::systemEintrag));

    // root shares a folder everybody writes to with the system's services: nothing there is its own
    ::chmod(temp.c_str(), 01777);
    if (::geteuid() == 0) {
        const auto alsRoot = Katalog::pruefe(u, {*Katalog::regel("temporaer", Katalogprofil::linuxDesktop)});
        EXPECT_TRUE(alsRoot.empty() || alsRoot[0].funde.empty());
        EXPECT_EQ(SafetyGuard(home, temp).pruefe(temp / "alt.tmp", Entsorgung::loeschen),
                  Urteil::abgelehnt(Ablehnung::gemeinsamAlsRoot));
    }
}

TEST(TempRegel, LaufzeitordnerSindKeinTempOrdner) {
    Testordner t;
    const fs::path home = t.ordner("home");
    const TempRegel regel{{t / "sys/tmp"},
                          [&](const fs::path& p) { return p.native().starts_with((t / "ram").native()); },
                          t.ordner("sys/tmp")};
    t.ordner("ram/leer");
    socketAnlegen(t.ordner("ram/sitzung") / "bus");
    t.ordner("ram/xdg/gnupg");
    EXPECT_FALSE(waehleTemp(home, t / "ram/leer", regel).hinweis);
    const auto sitzung = waehleTemp(home, t / "ram/sitzung", regel);
    ASSERT_TRUE(sitzung.hinweis);
    EXPECT_NE(sitzung.hinweis->find("Sockets"), std::string::npos) << *sitzung.hinweis;
    EXPECT_EQ(sitzung.ordner, fs::canonical(t / "sys/tmp"));

    ::setenv("XDG_RUNTIME_DIR", (t / "ram/xdg").c_str(), 1);
    const auto xdg = waehleTemp(home, t / "ram/xdg/gnupg", regel);
    ::unsetenv("XDG_RUNTIME_DIR");
    ASSERT_TRUE(xdg.hinweis);
    EXPECT_NE(xdg.hinweis->find("Laufzeitordner"), std::string::npos) << *xdg.hinweis;
    for (const char* o : {"/run", "/dev/shm"})
        if (fs::is_directory(o)) {
            EXPECT_TRUE(waehleTemp(home, o, TempRegel::standard()).hinweis) << o;
        }
}

// ---------------------------------------------------------------- a program started late

// The confirmation was shown while the program did not run; it starts before the round.
TEST(Lauftest, ProgrammDasNachDerFrageStartetBehaeltSeinenCache) {
    Testordner t;
    const fs::path home = t.ordner("home");
    schreibe(home / ".cache/spaetstarter/x", "cache");
    Verlauf verlauf(t / "verlauf.json");
    Entsorger entsorger(SafetyGuard(home, t.ordner("tmp")), verlauf, false, laufTest());
    const Rundengang gang(entsorger, {Fund{home / ".cache/spaetstarter", 0, Entsorgung::loeschen, "spaetstarter", {}, true, {}}},
                          "Test");
    EXPECT_TRUE(gang.bestaetigung().laufendeBesitzer.empty());
    test::Hintergrund programm(test::schlaeferNamens(t / "bin", "spaetstarter"));
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    const RundenErgebnis e = gang.fuehreAus(home);
    ASSERT_EQ(e.runde.posten.size(), 1u);
    EXPECT_EQ(e.runde.posten[0].ergebnis, PostenErgebnis::laeuft);
    EXPECT_TRUE(fs::exists(home / ".cache/spaetstarter/x"));
}

// ---------------------------------------------------------------- a full disk

// A home on a small tmpfs in a private mount namespace, filled to the last block.
TEST(VolleSchreibweise, VerlaufZuerstOderGarNicht) {
    int status = 0;
    test::laufe("unshare -m true 2>/dev/null", &status);
    if (status != 0 || ::geteuid() != 0) GTEST_SKIP() << "braucht root für unshare -m und mount";
    Testordner t;
    const fs::path d = t.ordner("platte");
    const std::string bin = HAINBREM_BINARY;
    const std::string p = d.native();
    const std::string env = "env -u XDG_DATA_HOME HAINBREM_TEST=1 HOME=" + p + "/home TMPDIR=" + p + "/tmp ";
    const std::string verlauf = p + "/home/.local/share/hainbrem/verlauf.json";
    const fs::path skript = t / "voll.sh";
    std::ofstream(skript) << "set -u\n"
                          << "mount -t tmpfs -o size=16m tmpfs " << p << " || exit 9\n"
                          << "mkdir -p " << p << "/home/.cache/gross " << p << "/home/Dokumente " << p << "/tmp\n"
                          << "head -c 3000000 /dev/urandom > " << p << "/home/.cache/gross/a\n"
                          << "echo brief > " << p << "/home/Dokumente/brief.txt\n"
                          << "echo eins > " << p << "/home/Dokumente/eins.txt\n"
                          << env << bin << " entsorgen --papierkorb --ja " << p
                          << "/home/Dokumente/eins.txt >/dev/null 2>&1; echo ERSTE=$?\n"
                          << "dd if=/dev/zero of=" << p << "/fuell bs=4k >/dev/null 2>&1\n"
                          // with the reserve beside the history, a full disk still gets its cleanup
                          << env << bin << " entsorgen --loeschen --ja " << p
                          << "/home/.cache/gross >/dev/null 2>&1; echo LOESCHEN=$?\n"
                          << "test -e " << p << "/home/.cache/gross && echo GROSS_DA\n"
                          << "dd if=/dev/zero of=" << p << "/fuell2 bs=4k >/dev/null 2>&1\n"
                          << "rm -f " << verlauf << ".reserve\n"
                          << "dd if=/dev/zero of=" << p << "/fuell3 bs=4k >/dev/null 2>&1\n"
                          << env << bin << " entsorgen --papierkorb --ja " << p
                          << "/home/Dokumente/brief.txt 2>&1; echo KORB=$?\n"
                          << "test -e " << p << "/home/Dokumente/brief.txt && echo BRIEF_DA\n"
                          << "umount " << p << "\n";
    const std::string aus = test::laufe("cd / && unshare -m sh '" + skript.native() + "' 2>&1");
    EXPECT_NE(aus.find("ERSTE=0"), std::string::npos) << aus;
    EXPECT_NE(aus.find("LOESCHEN=0"), std::string::npos) << aus;
    EXPECT_EQ(aus.find("GROSS_DA"), std::string::npos) << aus;
    EXPECT_NE(aus.find("KORB=1"), std::string::npos) << aus;
    EXPECT_NE(aus.find("BRIEF_DA"), std::string::npos) << aus;
    EXPECT_NE(aus.find("Kein Platz mehr auf dem Datenträger – nichts wurde angefasst"), std::string::npos) << aus;
    EXPECT_EQ(aus.find("Rückgängig:"), std::string::npos) << aus;
    EXPECT_EQ(aus.find("nicht beschreibbar"), std::string::npos) << aus;
}

// ---------------------------------------------------------------- Ctrl-C

TEST(Anhalten, StrgCMittenInDerRundeHinterlaesstEinGanzesProtokoll) {
    const Ausfuehrer wer = unprivilegiert();
    Testordner t;
    const fs::path home = t.ordner("home"), temp = t.ordner("tmp");
    constexpr int ordner = 60, dateien = 100;
    std::vector<std::string> argumente;
    for (int i = 0; i < ordner; ++i) {
        const fs::path o = home / ".cache" / ("teil" + std::to_string(100 + i));
        fs::create_directories(o);
        for (int k = 0; k < dateien; ++k) std::ofstream(o / std::to_string(k)) << "x";
        argumente.push_back(o.native());
    }
    gibNobody(wer, t.pfad());
    std::string zeile = "cd / && exec env -u XDG_DATA_HOME HAINBREM_TEST=1 HOME='" + home.native() + "' TMPDIR='" +
                        temp.native() + "' " + wer.vorne + HAINBREM_BINARY " --json entsorgen --loeschen --ja";
    for (const auto& a : argumente) zeile += " '" + a + "'";
    const fs::path ausgabe = t / "ausgabe.json";
    zeile += " > '" + ausgabe.native() + "' 2>/dev/null";

    const char* argv[] = {"sh", "-c", zeile.c_str(), nullptr};
    pid_t pid = 0;
    ASSERT_EQ(::posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char**>(argv), environ), 0);
    // as soon as the first folder is gone, Ctrl-C
    for (int i = 0; i < 2000 && fs::exists(argumente.front()); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ::kill(pid, SIGINT);
    int status = 0;
    ::waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status)) << "vom Signal beendet statt angehalten";
    EXPECT_EQ(WEXITSTATUS(status), 130);

    const auto runde = nlohmann::json::parse(lies(ausgabe));
    EXPECT_TRUE(runde.at("angehalten").get<bool>());
    const auto& posten = runde.at("posten");
    EXPECT_LT(posten.size(), argumente.size()) << "die Runde lief zu Ende";
    // every item the round began is in its record with what became of it; the rest is untouched
    for (size_t i = 0; i < argumente.size(); ++i) {
        if (i < posten.size()) {
            const bool weg = !fs::exists(argumente[i]);
            EXPECT_EQ(weg, posten[i]["fehler"].is_null()) << posten[i].dump();
        } else {
            EXPECT_EQ(std::distance(fs::directory_iterator(argumente[i]), fs::directory_iterator()), dateien);
        }
    }
    const Verlauf v(plattform::profil(home).verlaufOrdner / "verlauf.json");
    ASSERT_EQ(v.runden().size(), 1u);
    EXPECT_EQ(v.runden()[0].posten.size(), posten.size());
}

// ---------------------------------------------------------------- what reaches the terminal

TEST(Ausgabe, NamenSteuernDasTerminalNichtUndJsonNenntSieGenau) {
    Testordner t;
    const fs::path home = t.ordner("home"), temp = t.ordner("tmp");
    const std::string boese = "boese\x1b[2K\x1b[1Aweg";
    const std::string umbruch = "zeile\nbruch";
    const std::string roh = "roh\xff\xfe";
    for (const auto& n : {boese, umbruch, roh}) schreibe(home / ".cache" / n / "x", "cache");
    const std::string env = umgebung(home, temp);
    const std::string text = test::laufe(env + HAINBREM_BINARY " pruefen 2>&1");
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
    EXPECT_NE(text.find("boese\\e[2K\\e[1Aweg"), std::string::npos) << text;
    EXPECT_NE(text.find("zeile\\nbruch"), std::string::npos) << text;
    EXPECT_NE(text.find("roh\\xFF\\xFE"), std::string::npos) << text;

    const auto j = nlohmann::json::parse(test::laufe(env + HAINBREM_BINARY " --json pruefen 2>/dev/null"));
    std::set<std::string> pfade;
    for (const auto& r : j)
        for (const auto& f : r["funde"])
            pfade.insert(f.contains("pfadBase64") ? *ausBase64(f["pfadBase64"].get<std::string>())
                                                  : f["pfad"].get<std::string>());
    for (const auto& n : {boese, umbruch, roh}) EXPECT_TRUE(pfade.contains((home / ".cache" / n).native())) << n;

    // and the confirmation of a removal
    const std::string probe = test::laufe(env + HAINBREM_BINARY " entsorgen --loeschen --probelauf '" +
                                          (home / ".cache" / boese).native() + "' 2>&1");
    EXPECT_EQ(probe.find('\x1b'), std::string::npos) << probe;
}

// ---------------------------------------------------------------- the command line's choices

TEST(Aufraeumen, AlleGiltNurFuerDieGenanntenRegeln) {
    Testordner t;
    const fs::path home = t.ordner("home"), temp = t.ordner("tmp");
    schreibe(home / ".cache/thumbnails/a.png", "bild");
    schreibe(home / ".cache/huggingface/hub/models--x/blob", "modell");
    schreibe(home / ".cache/werkzeugx/y", "cache");
    const auto j = nlohmann::json::parse(test::laufe(umgebung(home, temp) + HAINBREM_BINARY +
                                                     " --json aufraeumen --regel programm-caches --alle --probelauf"
                                                     " 2>/dev/null"));
    ASSERT_FALSE(j["posten"].empty());
    for (const auto& p : j["posten"]) EXPECT_NE(p["pfad"].get<std::string>().find("thumbnails"), std::string::npos) << p;
    EXPECT_TRUE(fs::exists(home / ".cache/huggingface/hub/models--x"));
}

// ---------------------------------------------------------------- secrets and odd homes

TEST(Geheimnisse, LinuxOrteSindGeschuetzt) {
    Testordner t;
    const fs::path home = t.ordner("home");
    const SafetyGuard w(home, t.ordner("tmp"), t.ordner("Applications"), std::string(SafetyGuard::standardKennung),
                        Katalogprofil::linuxDesktop);
    struct Fall {
        const char* pfad;
        Entsorgung art;
        bool erlaubt;
    };
    const auto P = Entsorgung::papierkorb, L = Entsorgung::loeschen;
    const std::vector<Fall> faelle{
        {".local/share/keyrings/login.keyring", P, false},
        {".password-store/bank.gpg", P, false},
        {".pki/nssdb/cert9.db", P, false},
        {".local/share/hainbrem/verlauf.json", P, false},
        {".mozilla/firefox/abc.default/places.sqlite", P, false},
        {".thunderbird/abc.default/Mail", P, false},
        {".config/google-chrome/Default/Cookies", P, false},
        {".config/BraveSoftware/Brave-Browser/Default/Login Data", P, false},
        {".var/app/org.mozilla.firefox/.mozilla/firefox/x/key4.db", P, false},
        {".var/app/org.gnome.Evolution/data/evolution/mail", P, false},
        {"snap/firefox/common/.mozilla/firefox/x/logins.json", P, false},
        {".var/app/org.gnome.Seahorse/data/keyrings/login.keyring", P, false},
        // the caches inside a profile stay what they are
        {".config/google-chrome/Default/Cache", L, true},
        {".config/chromium/Default/GPUCache", L, true},
        {".var/app/org.example.Spiel/data/spielstand", P, true},
    };
    for (const auto& f : faelle) {
        t.ordner((fs::path("home") / f.pfad).parent_path().native());
        EXPECT_EQ(w.pruefe(home / f.pfad, f.art).istErlaubt(), f.erlaubt) << f.pfad;
    }
    // a German desktop's standard folders are standard folders too
    schreibe(home / ".config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Bilder\"\nXDG_MUSIC_DIR=\"$HOME/Musik\"\n");
    t.ordner("home/Bilder/Urlaub");
    t.ordner("home/Musik");
    const SafetyGuard deutsch(home, t / "tmp", t / "Applications", std::string(SafetyGuard::standardKennung),
                              Katalogprofil::linuxDesktop);
    for (const char* o : {"Bilder", "Musik", "bilder"})
        EXPECT_EQ(deutsch.pruefe(home / o, Entsorgung::papierkorb), Urteil::abgelehnt(Ablehnung::standardordner)) << o;
    EXPECT_TRUE(deutsch.pruefe(home / "Bilder/Urlaub", Entsorgung::papierkorb).istErlaubt());
    // the Trash never moves into a standard folder
    for (const char* x : {"Documents", "Documents/daten", "Downloads"}) {
        ::setenv("XDG_DATA_HOME", (home / x).c_str(), 1);
        EXPECT_EQ(plattform::profil(home).papierkorb, home / ".local/share/Trash/files") << x;
    }
    ::setenv("XDG_DATA_HOME", (home / ".daten").c_str(), 1);
    EXPECT_EQ(plattform::profil(home).papierkorb, home / ".daten/Trash/files");
    ::unsetenv("XDG_DATA_HOME");
}

TEST(Heim, NurEinAbsoluterOrdner) {
    Testordner t;
    const fs::path datei = t.datei("datei", 1);
    struct Fall {
        std::optional<std::string> wert;
        const char* grund;
    };
    const std::vector<Fall> faelle{
        {std::nullopt, "nicht gesetzt"},
        {"", "leer"},
        {"home/ich", "kein absoluter Pfad"},
        {datei.native(), "kein Ordner"},
        {(t / "fehlt").native(), "gibt es nicht"},
    };
    for (const auto& f : faelle) {
        const auto h = heimAus(f.wert ? f.wert->c_str() : nullptr);
        ASSERT_FALSE(h) << f.grund;
        EXPECT_NE(h.error().find(f.grund), std::string::npos) << h.error();
    }
    EXPECT_EQ(*heimAus((t.pfad().native() + "/").c_str()), t.pfad());

    int status = 0;
    const std::string aus = test::laufe("cd / && env -u HOME HAINBREM_TEST=1 " HAINBREM_BINARY " pruefen 2>&1", &status);
    EXPECT_EQ(status, 2);
    EXPECT_NE(aus.find("HOME ist nicht gesetzt"), std::string::npos) << aus;
}

}  // namespace
}  // namespace hainbrem
