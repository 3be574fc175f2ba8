#include "kern/speichertricks.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <iterator>
#include <map>

#include "kern/groesse.hpp"
#include "plattform/scan.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

std::string lies(const std::string& rel) {
    std::ifstream ein(std::string(HAINBREM_FIXTURES) + "/" + rel, std::ios::binary);
    return {std::istreambuf_iterator<char>(ein), std::istreambuf_iterator<char>()};
}

// Records every run instead of running anything.
struct Aufzeichnung {
    std::vector<std::pair<std::string, std::vector<std::string>>> laeufe;
    std::optional<std::string> antwort;
    Ausfuehrer ausfuehrer() {
        return [this](const std::string& p, const std::vector<std::string>& a) -> Ergebnis<std::string> {
            laeufe.emplace_back(p, a);
            if (!antwort) return Fehlschlag{"gibt es hier nicht"};
            return *antwort;
        };
    }
};

TEST(Schnappschuesse, ListeUndDatum) {
    Aufzeichnung a;
    a.antwort = lies("tricks/tmutil_listlocalsnapshots.txt");
    const auto liste = Schnappschuesse::alle(a.ausfuehrer());
    ASSERT_EQ(a.laeufe.size(), 1u);
    EXPECT_EQ(a.laeufe[0].first, "/usr/bin/tmutil");
    EXPECT_EQ(a.laeufe[0].second, (std::vector<std::string>{"listlocalsnapshots", "/"}));
    ASSERT_EQ(liste.size(), 2u);
    EXPECT_EQ(liste[0].name, "com.apple.TimeMachine.2026-11-20-101500.local");
    EXPECT_EQ(liste[0].datumsKennung(), "2026-11-20-101500");
    ASSERT_TRUE(liste[0].datum);
    std::tm t{};
    ::strptime("2026-11-20 10:15:00", "%Y-%m-%d %H:%M:%S", &t);
    t.tm_isdst = -1;  // local time, as the names are written
    EXPECT_EQ(*liste[0].datum, std::chrono::system_clock::from_time_t(std::mktime(&t)));
    EXPECT_LT(*liste[0].datum, *liste[1].datum);

    a.antwort.reset();  // tmutil missing or failed
    EXPECT_TRUE(Schnappschuesse::alle(a.ausfuehrer()).empty());
    // on this system nothing runs at all
    EXPECT_TRUE(Schnappschuesse::alle().empty());
}

TEST(Schnappschuesse, DatumsKennungUndDatum) {
    struct {
        const char* name;
        const char* kennung;
        bool datum;
    } faelle[] = {
        {"com.apple.TimeMachine.2026-11-20-101500.local", "2026-11-20-101500", true},
        {"com.apple.TimeMachine.2026-11-20-101500", "2026-11-20-101500", true},
        {"com.apple.os.update-12345", "", false},
        {"com.apple.TimeMachine.2026-02-30-101500.local", "2026-02-30-101500", false},
        {"com.apple.TimeMachine.2026-11-20.local", "2026-11-20", false},
        {"com.apple.TimeMachine.-.local", "", false},
        {"com.apple.TimeMachine.2026-11-20-101500;reboot.local", "", false},
        {"keinpunkt", "", false},
    };
    for (const auto& f : faelle) {
        const Schnappschuss s{f.name, std::nullopt};
        EXPECT_EQ(s.datumsKennung(), f.kennung) << f.name;
        EXPECT_EQ(Schnappschuesse::datumAus(s.datumsKennung()).has_value(), f.datum) << f.name;
    }
}

TEST(Schnappschuesse, ZweiSchnappschuesseEinePasswortabfrage) {
    const std::vector<Schnappschuss> zwei{{"com.apple.TimeMachine.2026-11-20-101500.local", std::nullopt},
                                          {"com.apple.TimeMachine.2026-11-21-091233.local", std::nullopt}};
    EXPECT_EQ(Schnappschuesse::loeschBefehl(zwei),
              "/usr/bin/tmutil deletelocalsnapshots 2026-11-20-101500 && "
              "/usr/bin/tmutil deletelocalsnapshots 2026-11-21-091233");
    const std::string skript =
        "do shell script \"/usr/bin/tmutil deletelocalsnapshots 2026-11-20-101500 && "
        "/usr/bin/tmutil deletelocalsnapshots 2026-11-21-091233\" with administrator privileges";
    EXPECT_EQ(Schnappschuesse::loeschSkript(zwei), skript);

    Aufzeichnung a;
    a.antwort = "";
    EXPECT_TRUE(Schnappschuesse::loeschen(zwei, a.ausfuehrer()));
    ASSERT_EQ(a.laeufe.size(), 1u);
    EXPECT_EQ(a.laeufe[0].first, "/usr/bin/osascript");
    EXPECT_EQ(a.laeufe[0].second, (std::vector<std::string>{"-e", skript}));
    // the user cancelled the password prompt
    a.antwort.reset();
    EXPECT_FALSE(Schnappschuesse::loeschen(zwei, a.ausfuehrer()));
    // on this system there is nothing to run it with
    EXPECT_FALSE(Schnappschuesse::loeschen(zwei));
}

TEST(Schnappschuesse, FeindlicheNamenErreichenDieShellNie) {
    const std::vector<Schnappschuss> boese{
        {"com.apple.TimeMachine.2026-11-20-101500\"; rm -rf ~; \".local", std::nullopt},
        {"com.apple.TimeMachine.$(reboot).local", std::nullopt},
        {"com.apple.TimeMachine.`id`.local", std::nullopt},
        {"com.apple.TimeMachine.local", std::nullopt},
        {"", std::nullopt},
        {"2026-11-20-101500 && halt", std::nullopt},
    };
    Aufzeichnung a;
    a.antwort = "";
    EXPECT_EQ(Schnappschuesse::loeschBefehl(boese), std::nullopt);
    EXPECT_FALSE(Schnappschuesse::loeschen(boese, a.ausfuehrer()));
    EXPECT_FALSE(Schnappschuesse::loeschen({}, a.ausfuehrer()));
    EXPECT_TRUE(a.laeufe.empty());

    // one good name among bad ones: only its digits and dashes go through
    auto gemischt = boese;
    gemischt.push_back({"com.apple.TimeMachine.2026-11-22-000001.local", std::nullopt});
    const auto skript = Schnappschuesse::loeschSkript(gemischt);
    ASSERT_TRUE(skript);
    EXPECT_EQ(*skript,
              "do shell script \"/usr/bin/tmutil deletelocalsnapshots 2026-11-22-000001\" with administrator privileges");
    for (const auto& s : gemischt)
        for (char c : s.datumsKennung()) EXPECT_TRUE((c >= '0' && c <= '9') || c == '-');
}

TEST(Systemdaten, SwapLesen) {
    using B = plattform::SwapBereich;
    const std::string kopf = "Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n";
    struct {
        std::string text;
        std::vector<B> bereiche;
    } tabellen[] = {
        {lies("tricks/proc_swaps.txt"),
         {{"/swap.img", "file", 2097148, 1024}, {"/dev/nvme0n1p3", "partition", 8388604, 0}}},
        {kopf, {}},
        // the kernel writes blanks in names octal-escaped
        {kopf + "/mnt/mein\\040swap file 1024 512 -2\n", {{"/mnt/mein swap", "file", 1024, 512}}},
        {kopf + "/x file viel 0 -2\n/k file 12\n/y file 8 4 -3\n", {{"/y", "file", 8, 4}}},
    };
    test::Testordner t;
    for (const auto& f : tabellen) {
        const fs::path datei = t.datei("swaps");
        std::ofstream(datei, std::ios::trunc) << f.text;
        EXPECT_EQ(plattform::swapBereicheAus(datei), f.bereiche) << f.text;
    }
    EXPECT_EQ(plattform::swapBereicheAus(t / "fehlt"), std::nullopt);

    EXPECT_EQ(Systemdaten::swapSumme(*plattform::swapBereicheAus(std::string(HAINBREM_FIXTURES) + "/tricks/proc_swaps.txt")),
              (Systemdaten::Swap{(2097148 + 8388604) * int64_t{1024}, 1024 * 1024}));
    for (const auto& kaputt : std::vector<std::vector<B>>{{{"/x", "file", int64_t{1} << 54, 0}},
                                                          {{"/x", "file", 1L << 52, 0}, {"/y", "file", 1L << 52, 0}},
                                                          {{"/x", "file", -1, 0}}})
        EXPECT_EQ(Systemdaten::swapSumme(kaputt), std::nullopt);

    EXPECT_EQ(Systemdaten::swapAusSwapusage(lies("tricks/vm_swapusage.txt")), int64_t{2048} << 20);
    struct {
        const char* text;
        std::optional<int64_t> bytes;
    } faelle[] = {
        {"total = 0.00M  used = 0.00M  free = 0.00M", 0},
        {"vm.swapusage: total = 1.50G  used = 0.00M", int64_t{3} << 29},
        {"vm.swapusage: total = 512.25M  used", (int64_t{51225} << 20) / 100},
        {"vm.swapusage: total = 12K", 12 * 1024},
        {"vm.swapusage: total = 2048.00", std::nullopt},
        {"vm.swapusage: total = M", std::nullopt},
        {"vm.swapusage: used = 1.00M", std::nullopt},
        {"vm.swapusage: total = 99999999999999999.00T", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& f : faelle) EXPECT_EQ(Systemdaten::swapAusSwapusage(f.text), f.bytes) << f.text;
}

TEST(Systemdaten, VierZeilenInFesterReihenfolge) {
    test::Testordner t;
    const fs::path temp = t.ordner("tmp");
    t.datei("tmp/a/b.bin", 50'000);
    Umgebung u{t.ordner("home"), temp, false, nullptr, {}};
    u.profil = Katalogprofil::macos;
    Aufzeichnung a;
    a.antwort = lies("tricks/tmutil_listlocalsnapshots.txt");
    const auto zeilen = Systemdaten::messen(u, a.ausfuehrer());
    ASSERT_EQ(zeilen.size(), 4u);
    EXPECT_EQ(zeilen[0].titel, "Auslagerungsspeicher (Swap)");
    EXPECT_EQ(zeilen[1].titel, "Temporäre Ordner deines Benutzers");
    EXPECT_EQ(zeilen[2].titel, "Löschbarer Speicher");
    EXPECT_EQ(zeilen[3].titel, "Lokale Schnappschüsse: 2");
    // this system's temp area is the temp folder itself
    EXPECT_EQ(zeilen[1].bytes, Groesse::belegt(temp));
    EXPECT_GE(*zeilen[1].bytes, 50'000);
    EXPECT_EQ(zeilen[2].bytes, 0);  // nothing purgeable without the system's accounting
    EXPECT_FALSE(zeilen[3].bytes);  // snapshots cannot be sized
    // a Mac's texts stay word for word
    EXPECT_EQ(zeilen[0].erklaerung + zeilen[1].erklaerung + zeilen[2].erklaerung + zeilen[3].erklaerung,
              "Wird der Arbeitsspeicher knapp, lagert macOS Teile davon auf die Platte aus. Mit 8 GB RAM wächst das "
              "schnell. Es verschwindet nach einem Neustart oder wenn weniger Programme offen sind."
              "Zwischenablagen von Programmen (…/var/folders). Dort liegen auch die Chrome-Kopien. Alte Teile räumt "
              "Hainbrem unter „Aufräumen“ weg."
              "Schnappschüsse, iCloud-Kopien und System-Caches, die macOS bei Bedarf selbst freigibt. Der Finder "
              "zählt das als „frei“, Programme können es aber nicht sofort nutzen."
              "Time Machine hält stündliche Stände auf der internen Platte, bis zu 24 Stunden lang. Solange es sie "
              "gibt, macht Löschen keinen Platz frei, denn der Schnappschuss hält die Daten fest.");

    a.antwort.reset();
    EXPECT_EQ(Systemdaten::messen(u, a.ausfuehrer())[3].titel, "Lokale Schnappschüsse: 0");
}

TEST(Systemdaten, LinuxZeilenOhneMacWorte) {
    test::Testordner t;
    t.datei("tmp/a/b.bin", 50'000);
    t.datei("journal/abc/system.journal", 80'000);
    Umgebung u{t.ordner("home"), t / "tmp", false, nullptr, {}};
    u.profil = Katalogprofil::linuxDesktop;
    u.journalOrdner = t / "journal";
    u.pakete = {t / "keins", t / "keins", t / "keins", t / "keins", t / "keins"};  // no package system here
    Aufzeichnung a;
    a.antwort = lies("tricks/tmutil_listlocalsnapshots.txt");
    Steuerung s;
    auto zeilen = Systemdaten::messen(u, a.ausfuehrer(), &s);
    EXPECT_TRUE(a.laeufe.empty());  // no Mac tool is asked
    EXPECT_EQ(s.gesamt.load(), 3);
    EXPECT_EQ(s.erledigt.load(), 3);
    ASSERT_EQ(zeilen.size(), 3u);
    EXPECT_EQ(zeilen[0].bytes.has_value(), plattform::swapBereiche().has_value());
    EXPECT_EQ(zeilen[1].bytes, Groesse::belegt(t / "tmp"));
    EXPECT_NE(zeilen[1].erklaerung.find((t / "tmp").native()), std::string::npos);
    EXPECT_EQ(zeilen[2].titel, "Systemprotokoll (Journal)");
    EXPECT_EQ(zeilen[2].bytes, Groesse::belegt(t / "journal"));
    EXPECT_GE(*zeilen[2].bytes, 80'000);
    EXPECT_EQ(zeilen[2].befehl, "sudo journalctl --vacuum-size=500M");

    u.journalOrdner = t / "fehlt";  // journal kept in memory only
    const auto ohne = Systemdaten::messen(u, a.ausfuehrer());
    EXPECT_FALSE(ohne[2].bytes);
    EXPECT_FALSE(ohne[2].befehl) << "ohne Journal kein Befehl dafür";
    zeilen.push_back(ohne[2]);
    for (const auto& z : zeilen)
        for (const char* wort : {"macOS", "Time Machine", "Finder", "/var/folders"}) {
            EXPECT_EQ(z.titel.find(wort), std::string::npos) << z.titel;
            EXPECT_EQ(z.erklaerung.find(wort), std::string::npos) << z.erklaerung;
        }
}

TEST(Systemdaten, TempAufTmpfsIstKeinPlattenplatz) {
    struct {
        std::optional<bool> imSpeicher;
        bool angehalten;
        const char* titel;
        bool tmpfsSatz;
        std::optional<int64_t> bytes;
    } faelle[] = {
        {true, false, "Temporäre Ordner deines Benutzers (im Arbeitsspeicher)", true, 4096},
        {false, false, "Temporäre Ordner deines Benutzers", false, 4096},
        {std::nullopt, false, "Temporäre Ordner deines Benutzers", false, 4096},  // unknown: disk
        {true, true, "Temporäre Ordner deines Benutzers (im Arbeitsspeicher)", true, std::nullopt},
    };
    for (const auto& f : faelle) {
        const auto p = Systemdaten::linuxTemp("/tmp", {4096, 0, f.angehalten}, f.imSpeicher);
        EXPECT_EQ(p.titel, f.titel);
        EXPECT_EQ(p.bytes, f.bytes);
        EXPECT_EQ(p.erklaerung.find("kein Plattenplatz") != std::string::npos, f.tmpfsSatz) << p.erklaerung;
        EXPECT_EQ(p.erklaerung.find("Zwischenablagen von Programmen (/tmp). "), 0u) << p.erklaerung;
    }
    EXPECT_EQ(plattform::imArbeitsspeicher("/gibt/es/nicht"), std::nullopt);
    EXPECT_EQ(plattform::imArbeitsspeicher("/proc"), false);
    std::map<std::string, std::string> oben;  // the last mount on a point hides those below
    for (const auto& e : plattform::einhaengTabelle()) oben[e.punkt] = e.typ;
    for (const auto& [punkt, typ] : oben)  // such as /dev/shm
        if (typ == "tmpfs") {
            EXPECT_EQ(plattform::imArbeitsspeicher(punkt), true) << punkt;
        }
}

TEST(TricksTexte, LinuxOhneMacWorteMacUnveraendert) {
    const auto linux = tricksTexte(Katalogprofil::linuxDesktop);
    EXPECT_FALSE(linux.mitCloud);
    EXPECT_FALSE(linux.mitSchnappschuessen);
    for (const std::string& text : {linux.unterzeile, linux.leer, linux.laeuft, linux.hinweis})
        for (const char* wort : {"auf dem Mac", "Time Machine", "Finder", "macOS", "/var/folders", "iCloud"})
            EXPECT_EQ(text.find(wort), std::string::npos) << text;
    const auto mac = tricksTexte(Katalogprofil::macos);
    EXPECT_TRUE(mac.mitCloud && mac.mitSchnappschuessen && mac.hinweis.empty());
    EXPECT_EQ(mac.unterzeile + mac.leer + mac.laeuft,
              "Platz, den kein Löschen erreicht: Cloud-Dateien, die ganz hier liegen, lokale Schnappschüsse und der "
              "Block „Systemdaten“."
              "Hainbrem sucht Cloud-Dateien, die ganz hier liegen, listet lokale Schnappschüsse und schlüsselt die "
              "Systemdaten auf."
              "Misst Cloud-Dateien, Schnappschüsse und Systemdaten …");
}

TEST(ICloud, AnzeigeNamenUndGruppen) {
    const fs::path home = "/Users/ich";
    const fs::path drive = home / "Library/Mobile Documents/com~apple~CloudDocs";
    struct {
        fs::path datei;
        const char* name;
    } namen[] = {
        {drive / "notiz.txt", "iCloud Drive"},
        {drive / "Reisen/2026/foto.jpg", "iCloud Drive/Reisen"},
        {home / "Library/Mobile Documents/iCloud~md~obsidian/Documents/x.md", "App: obsidian"},
        {home / "Library/Mobile Documents/com~apple~Pages/Documents/a.pages", "App: Pages"},
        {home / "Desktop/bild.png", "Desktop"},
        {home / "Documents/Steuer/2025.pdf", "Documents"},
    };
    for (const auto& n : namen) EXPECT_EQ(ICloud::anzeigeName(n.datei, home), n.name) << n.datei;

    const auto z = [](int s) { return Zeitpunkt(std::chrono::seconds(s)); };
    const auto gruppen = ICloud::gruppiere({{drive / "a", 100, z(5)},
                                            {drive / "Reisen/b", 1000, std::nullopt},
                                            {drive / "c", 300, z(9)},
                                            {home / "Desktop/d", 50, z(1)}},
                                           home);
    ASSERT_EQ(gruppen.size(), 3u);
    EXPECT_EQ(gruppen[0].name, "iCloud Drive/Reisen");
    EXPECT_EQ(gruppen[0].bytes, 1000);
    EXPECT_FALSE(gruppen[0].zuletztGeoeffnet);
    EXPECT_EQ(gruppen[1].name, "iCloud Drive");
    EXPECT_EQ(gruppen[1].bytes, 400);
    EXPECT_EQ(gruppen[1].dateien, (std::vector<fs::path>{drive / "a", drive / "c"}));
    EXPECT_EQ(gruppen[1].zuletztGeoeffnet, z(9));
    EXPECT_EQ(gruppen[2].name, "Desktop");

    // no cloud items on this system: nothing held, nothing evicted
    test::Testordner t;
    t.datei("home/Desktop/x.txt", 10);
    EXPECT_TRUE(ICloud::geladen(Umgebung{t / "home", t / "tmp", false, nullptr, {}}).empty());
    const auto ausgelagert = ICloud::auslagern({t / "home/Desktop/x.txt"});
    ASSERT_FALSE(ausgelagert);
    EXPECT_EQ(ausgelagert.error(), "Keine Datei ließ sich auslagern; sie bleiben auf dem Mac.");
}

TEST(ICloud, OptimierenEinstellung) {
    // unset: defaults exits with an error
    for (const auto& [antwort, an] : std::vector<std::pair<std::optional<std::string>, std::optional<bool>>>{
             {"1\n", true}, {"0\n", false}, {std::nullopt, std::nullopt}, {"vielleicht", std::nullopt}}) {
        Aufzeichnung a;
        a.antwort = antwort;
        EXPECT_EQ(ICloud::optimierenAn(a.ausfuehrer()), an) << antwort.value_or("(Fehler)");
        ASSERT_EQ(a.laeufe.size(), 1u);
        EXPECT_EQ(a.laeufe[0].first, "/usr/bin/defaults");
        EXPECT_EQ(a.laeufe[0].second, (std::vector<std::string>{"read", "com.apple.bird", "optimize-storage"}));
    }
}

}  // namespace
}  // namespace hainbrem
