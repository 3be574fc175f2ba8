// The command line as a Linux user meets it: help behind --help, -h and --hilfe, the option
// parser's mistakes in German, every counted noun in the right number, the next step after a
// check, true reasons for paths it can't take, and no Mac word under the Linux profile.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <tuple>

#include "basis/systemfehler.hpp"
#include "fixture_home.hpp"
#include "kern/format.hpp"
#include "testordner.hpp"

namespace hainbrem {
namespace {

namespace fs = std::filesystem;

// The command on a home and temp folder of a test, from `ort`; stdout and stderr together, or
// stdout alone (for JSON).
struct Aufruf {
    fs::path home, temp, ort = "/";
    std::string operator()(const std::string& argumente, int* status = nullptr, bool mitStderr = true) const {
        return test::laufe("cd '" + ort.native() + "' && env -u XDG_DATA_HOME HAINBREM_TEST=1 HOME='" + home.native() +
                               "' TMPDIR='" + temp.native() + "' " HAINBREM_BINARY " " + argumente + " </dev/null " +
                               (mitStderr ? "2>&1" : "2>/dev/null"),
                           status);
    }
    std::string json(const std::string& argumente) const { return (*this)("--json " + argumente, nullptr, false); }
};

// What CLI11 and the C library say in English; none of it may reach the user.
const std::regex englisch(
    R"(\b(not|is|are|were|required|Expected|expected|excludes|requires|argument|arguments|Value|Could|allowed|range|following|File name|No such|Permission denied|subcommand|Usage|Positionals|OPTIONS|SUBCOMMANDS?|REQUIRED|INT|FLOAT|UINT|Needs|Excludes|Error|error|Runtime)\b)");

bool hatEnglisch(const std::string& text) { return std::regex_search(text, englisch); }

// A file of `bytes` allocated (not written) bytes: large files without the time to write them.
void belegt(const fs::path& p, off_t bytes) {
    fs::create_directories(p.parent_path());
    const int fd = ::open(p.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0) << p;
    ASSERT_EQ(::posix_fallocate(fd, 0, bytes), 0) << p;
    ::close(fd);
}

TEST(Befehlszeile, HilfeUnterJedemNamen) {
    test::Testordner t;
    const Aufruf hainbrem{t.ordner("home"), t.ordner("tmp")};
    int status = -1;
    for (const char* flagge : {"--help", "-h", "--hilfe"}) {
        const std::string aus = hainbrem(flagge, &status);
        EXPECT_EQ(status, 0) << flagge;
        EXPECT_NE(aus.find("Aufruf: hainbrem [OPTIONEN] BEFEHL"), std::string::npos) << flagge << "\n" << aus;
        EXPECT_NE(hainbrem(std::string("pruefen ") + flagge, &status).find("\nAufruf: hainbrem pruefen"), std::string::npos)
            << flagge;
        EXPECT_EQ(status, 0) << flagge;
    }
    // every command the main help lists, in German
    const std::string haupt = hainbrem("--help");
    std::vector<std::string> befehle;
    std::istringstream zeilen(haupt.substr(haupt.find("Befehle:")));
    for (std::string zeile; std::getline(zeilen, zeile);)
        if (zeile.starts_with("  ") && zeile.size() > 2 && zeile[2] != ' ')
            befehle.push_back(zeile.substr(2, zeile.find(' ', 2) - 2));
    EXPECT_EQ(befehle.size(), 18u) << haupt;
    EXPECT_FALSE(hatEnglisch(haupt)) << haupt;
    for (const auto& b : befehle) {
        const std::string aus = hainbrem(b + " --help", &status);
        EXPECT_EQ(status, 0) << b;
        EXPECT_NE(aus.find("Aufruf: hainbrem " + b), std::string::npos) << aus;
        EXPECT_FALSE(hatEnglisch(aus)) << aus;
    }
}

TEST(Befehlszeile, FehlerDesParsersAufDeutsch) {
    test::Testordner t;
    const Aufruf hainbrem{t.ordner("home"), t.ordner("tmp")};
    struct Fall {
        const char* argumente;
        const char* meldung;
        const char* mehr;  // where the help is
    } faelle[] = {
        // no command, or one that does not exist
        {"", "Es fehlt der Befehl, etwa „hainbrem pruefen“.", "hainbrem --help"},
        {"prufen", "Einen Befehl „prufen“ gibt es nicht. Meintest du „pruefen“?", "hainbrem --help"},
        // a required argument missing
        {"groesse", "„hainbrem groesse“ braucht PFAD: Datei oder Ordner.", "hainbrem groesse --help"},
        // too many: arguments in the order given, an unknown option
        {"platte zu viel", "„zu“ und „viel“ sind zu viel: „hainbrem platte“ nimmt keine weitere Angabe.",
         "hainbrem platte --help"},
        {"pruefen --gibtsnicht", "Die Option „--gibtsnicht“ gibt es bei „hainbrem pruefen“ nicht.",
         "hainbrem pruefen --help"},
        // values out of range, not numbers, not among the allowed words
        {"gross --aelter-als -5", "Ungültiger Wert für --aelter-als: „-5“ liegt nicht zwischen 0 und 36.500.",
         "hainbrem gross --help"},
        {"scan --tiefe zwei", "Ungültiger Wert für --tiefe: „zwei“ ist keine ganze Zahl – erlaubt sind 1 bis 10.",
         "hainbrem scan --help"},
        {"waechter --grenze 2,5x", "Ungültiger Wert für --grenze: „2,5x“ ist keine Zahl (etwa 10 oder 2,5)",
         "hainbrem waechter --help"},
        {"--profil windows pruefen", "Ungültiger Wert für --profil: „windows“ – möglich sind macos und linux.",
         "hainbrem --help"},
        {"urteil /tmp --art weg", "Ungültiger Wert für --art: „weg“ – möglich sind loeschen und papierkorb.",
         "hainbrem urteil --help"},
        // a value for a switch
        {"aufraeumen --ja=nein", "--ja ist ein Schalter und nimmt keinen Wert.", "hainbrem aufraeumen --help"},
        // an option's value missing, or given twice
        {"scan --tiefe", "Bei --tiefe fehlt der Wert: ZAHL.", "hainbrem scan --help"},
        {"scan --tiefe 2 --tiefe 3", "--tiefe nimmt nur einen Wert; gib es nur einmal an.", "hainbrem scan --help"},
        // options that exclude or need each other
        {"scan --platte /tmp", "PFAD und --platte gehen nicht zusammen: gib nur eines davon an.",
         "hainbrem scan --help"},
        {"duplikate --probelauf", "--probelauf gilt nur zusammen mit --aufraeumen.", "hainbrem duplikate --help"},
    };
    for (const auto& f : faelle) {
        int status = -1;
        const std::string aus = hainbrem(f.argumente, &status);
        EXPECT_EQ(status, 2) << f.argumente;
        EXPECT_NE(aus.find(std::string("hainbrem: ") + f.meldung), std::string::npos) << f.argumente << "\n" << aus;
        EXPECT_NE(aus.find(f.mehr), std::string::npos) << f.argumente << "\n" << aus;
        EXPECT_FALSE(hatEnglisch(aus)) << f.argumente << "\n" << aus;
    }
}

TEST(Befehlszeile, EinzahlUndMehrzahl) {
    for (const auto& [n, eins, viele, text] : std::vector<std::tuple<int64_t, const char*, const char*, const char*>>{
             {0, "Fund", "Funde", "0 Funde"},
             {1, "Fund", "Funde", "1 Fund"},
             {2, "Fund", "Funde", "2 Funde"},
             {1, "Eintrag", "Einträge", "1 Eintrag"},
             {1204, "Datei", "Dateien", "1.204 Dateien"},
             {1, "Teil", "Teilen", "1 Teil"},
             {-1, "Tag", "Tage", "-1 Tage"}})
        EXPECT_EQ(anzahl(n, eins, viele), text);

    // one of each, as the commands print them
    test::Testordner t;
    const fs::path home = t.ordner("home");
    const Aufruf hainbrem{home, t.ordner("tmp"), home};
    belegt(home / "Downloads/kopie.bin", 2'000'000);
    belegt(home / "Dokumente/original.bin", 2'000'000);
    belegt(home / "Videos/film.mkv", 51'000'000);
    t.datei("home/.xsession-errors", 4096);
    t.datei("home/Notizen/eine.txt", 4096);
    t.ordner("home/code");
    struct Fall {
        const char* argumente;
        const char* drin;
    } faelle[] = {
        {"duplikate Downloads/..", "\n1 Gruppe; wirklich frei würden"},
        {"gross", "\n1 Eintrag, zusammen"},
        {"pruefen --regel protokolle", "Protokolle und Absturzberichte  ·  Sicher  ·  4 KB  ·  1 Fund\n"},
        {"scan Notizen", " in 1 Datei\n"},
        {"projekte --tiefe 1", "(gesucht in ~/code, bis 1 Ebene tief)"},
        {"entsorgen --ja Notizen/eine.txt", "Zusammen 4 KB in 1 Teil\n"},
        {"verlauf", "  Gewonnen"},
    };
    for (const auto& f : faelle) {
        const std::string aus = hainbrem(f.argumente);
        EXPECT_NE(aus.find(f.drin), std::string::npos) << f.argumente << "\n" << aus;
    }
    EXPECT_NE(hainbrem("verlauf").find(" · 1 Teil · 0 Fehler · rückgängig möglich"), std::string::npos);
    const auto runden = nlohmann::json::parse(hainbrem.json("verlauf"), nullptr, false);
    ASSERT_TRUE(runden.is_array() && runden.size() == 1) << runden.dump();
    EXPECT_NE(hainbrem("rueckgaengig " + runden[0].at("id").get<std::string>()).find("1 Teil zurückgelegt."),
              std::string::npos);
}


TEST(Befehlszeile, WahreGruendeFuerPfade) {
    // the system's texts are English: every number the commands can meet gets German words
    for (int n = 1; n < 134; ++n) {
        const std::string text = systemFehler(n);
        EXPECT_EQ(text.find(std::strerror(n)), std::string::npos) << n << ": " << text;
    }
    EXPECT_EQ(gekuerzt("äöü", 90), "äöü");
    // cut never inside a character: "ä" is two bytes
    EXPECT_EQ(gekuerzt(std::string(12, 'a') + "ä" + std::string(40, 'b'), 20),
              std::string(12, 'a') + " … " + std::string(7, 'b'));

    test::Testordner t;
    const fs::path home = t.ordner("home");
    const Aufruf hainbrem{home, t.ordner("tmp"), home};
    t.datei("home/brief.txt", 100);
    t.datei("home/a/b/x", 100);
    t.datei("home/a/c", 100);
    t.datei("home/c", 100);
    fs::create_directory_symlink("a/b", home / "l");
    const std::string langerName(300, 'n');
    std::string langerPfad;
    for (int i = 0; i < 25; ++i) langerPfad += std::string(i ? "/" : "") + std::string(200, 'p');
    struct Pfad {
        std::string pfad;
        std::vector<std::string> drin;
    } pfade[] = {
        {langerName, {"ist zu lang: Der Name", "hat 300 Byte, ein Name darf höchstens 255 Byte haben."}},
        {langerPfad, {"ist zu lang: 5.024 Byte, das System nimmt einen Pfad mit höchstens 4.095 Byte."}},
        {"brief.txt/x", {"„brief.txt/x“ gibt es nicht: „brief.txt“ ist eine Datei, kein Ordner."}},
        {"fehlt/../c", {"„fehlt/../c“ gibt es nicht."}},  // as the shell says: ".." after a missing folder
    };
    for (const char* befehl : {"groesse", "urteil", "erklaere", "entsorgen --probelauf", "scan", "gross", "duplikate",
                               "projekte"})
        for (const auto& p : pfade) {
            int status = -1;
            const std::string aus = hainbrem(std::string(befehl) + " '" + p.pfad + "'", &status);
            EXPECT_NE(status, 0) << befehl << " " << p.pfad.substr(0, 20);
            for (const auto& d : p.drin) EXPECT_NE(aus.find(d), std::string::npos) << befehl << "\n" << aus;
            EXPECT_FALSE(hatEnglisch(aus)) << befehl << "\n" << aus;
        }
    // ".." after a link leads where the shell's cd would: from ~/a/b up to ~/a
    EXPECT_EQ(hainbrem("erklaere l/../c").find("~/a/c: 4 KB"), 0u) << hainbrem("erklaere l/../c");
    EXPECT_EQ(hainbrem("erklaere l/..").find("~/a: "), 0u) << hainbrem("erklaere l/..");  // the folder above
    EXPECT_EQ(nlohmann::json::parse(hainbrem.json("urteil l/../c"), nullptr, false).value("pfad", ""),
              (home / "a/c").native());
    // a path that ends in ".." names no entry to judge or remove
    for (const char* befehl : {"urteil", "entsorgen --probelauf"}) {
        int status = -1;
        const std::string aus = hainbrem(std::string(befehl) + " a/..", &status);
        EXPECT_NE(status, 0) << befehl;
        EXPECT_NE(aus.find("„a/..“ endet mit „..“ und nennt so keinen Eintrag in einem Ordner."), std::string::npos)
            << aus;
    }
}

// The last lines of `pruefen`: what to run to clean up what it showed.
TEST(Befehlszeile, PruefenSagtWasDanachKommt) {
    test::Testordner t;
    const test::LinuxHome heim(t);
    const Aufruf hainbrem{heim.home(), heim.temp()};
    const auto schluss = [&](const std::string& argumente) {
        const std::string aus = hainbrem(argumente);
        return aus.substr(aus.rfind("\nZusammen ") + 1);
    };
    // the command names the profile only when it is not the system's
    const auto befehl = [](Katalogprofil p) {
        return std::string("hainbrem ") +
               (p == standardProfil ? "" : p == Katalogprofil::macos ? "--profil macos " : "--profil linux ") +
               "aufraeumen";
    };
    const std::string alles = schluss("--profil linux pruefen");
    EXPECT_EQ(alles.substr(alles.find('\n') + 1), "Aufräumen: " + befehl(Katalogprofil::linuxDesktop) +
                                                       "\nAuch das nicht Vorgewählte einer Regel: " +
                                                       befehl(Katalogprofil::linuxDesktop) + " --regel ID --alle\n");
    // one rule: its own lines, which do what they say
    const std::string playwright = schluss("--profil linux pruefen --regel playwright");
    const std::string linux = befehl(Katalogprofil::linuxDesktop);
    EXPECT_NE(playwright.find("\nAufräumen: " + linux + " --regel playwright\nAuch das nicht Vorgewählte dieser Regel: " +
                              linux + " --regel playwright --alle\n"),
              std::string::npos)
        << playwright;
    for (const auto& [zusatz, anzahl] : {std::pair{"", 1u}, std::pair{" --alle", 2u}}) {
        const auto runde = nlohmann::json::parse(
            hainbrem.json(std::string("--profil linux aufraeumen --regel playwright --probelauf") + zusatz), nullptr,
            false);
        ASSERT_TRUE(runde.is_object()) << zusatz;
        EXPECT_EQ(runde.at("posten").size(), anzahl) << zusatz;
    }
    // nothing preselected (a rule of risk "Vorsicht"): only the way to take it all
    const std::string modelle = schluss("--profil linux pruefen --regel huggingface");
    EXPECT_EQ(modelle.find("Aufräumen:"), std::string::npos) << modelle;
    EXPECT_NE(modelle.find("aufraeumen --regel huggingface --alle\n"), std::string::npos) << modelle;
    // another profile than the system's is repeated in the command
    test::Testordner m;
    const test::MacHome mac(m);
    const std::string macSchluss = Aufruf{mac.home(), mac.temp()}("--profil macos pruefen");
    EXPECT_NE(macSchluss.find("\nAufräumen: " + befehl(Katalogprofil::macos) + "\n"), std::string::npos) << macSchluss;
}

// Under the Linux profile no help and no output speaks of a Mac; under macOS a Mac keeps its words.
TEST(Befehlszeile, LinuxOhneMacWorteMacMitSeinen) {
    // a folder the user has (~/Library, ~/Applications with AppImages) is no Mac word
    const std::regex macWort(
        R"(Startplatte|(^|[^~])/Applications|[Ll]öschbar|Finder|\bMac\b|macOS|iCloud|Time Machine|Festplattenvollzugriff|App Store|Volumes?\b|Xcode|iPhone)");
    test::Testordner t;
    const test::LinuxHome heim(t);
    const Aufruf linux{heim.home(), heim.temp(), heim.home()};
    std::vector<std::string> aufrufe{"--help"};
    const std::string haupt = linux("--profil linux --help");
    std::istringstream zeilen(haupt.substr(haupt.find("Befehle:")));
    for (std::string zeile; std::getline(zeilen, zeile);)
        if (zeile.starts_with("  ") && zeile.size() > 2 && zeile[2] != ' ')
            aufrufe.push_back(zeile.substr(2, zeile.find(' ', 2) - 2) + " --help");
    for (const char* a : {"platte", "groesse Downloads", "scan", "scan .cache", "gross", "duplikate", "programme",
                          "tricks", "regeln", "pruefen", "pruefen --regel xcode-derived", "urteil .cache",
                          "erklaere .cache", "projekte", "aufraeumen --probelauf --ja",
                          "entsorgen --probelauf Documents/Brief.txt", "verlauf"})
        aufrufe.emplace_back(a);
    for (const auto& a : aufrufe) {
        int status = -1;
        const std::string aus = linux("--profil linux " + a, &status);
        EXPECT_EQ(status, 0) << a << "\n" << aus;
        std::smatch m;
        EXPECT_FALSE(std::regex_search(aus, m, macWort)) << a << ": „" << m.str() << "“\n" << aus;
        EXPECT_FALSE(hatEnglisch(aus)) << a << "\n" << aus;
    }
    // what a Mac-only rule is, said without the rule's Mac texts
    EXPECT_NE(linux("--profil linux regeln").find("Nicht gezeigt: 8 Regeln für Programme, die es unter Linux nicht gibt"),
              std::string::npos);

    test::Testordner m;
    const test::MacHome macHeim(m);
    const Aufruf mac{macHeim.home(), macHeim.temp(), macHeim.home()};
    const std::pair<const char*, const char*> macWorte[] = {
        {"--help", "iCloud-Dateien auf dem Mac zeigen"},
        {"scan --help", "Die ganze Startplatte durchsuchen"},
        {"programme --help", "Programmordner statt /Applications und ~/Applications"},
        {"platte", "  Frei mit Löschbarem: "},
        {"regeln", "angelegt über den Finder"},
        {"regeln", "\n21. Alte Installationsdateien (installer)\n"},
        {"tricks", "iCloud-Ordner, die vollständig auf dem Mac liegen"},
    };
    for (const auto& [a, wort] : macWorte) {
        const std::string aus = mac(std::string("--profil macos ") + a);
        EXPECT_NE(aus.find(wort), std::string::npos) << a << ": " << wort << "\n" << aus;
        EXPECT_TRUE(std::regex_search(aus, macWort)) << a;  // the words looked for are these
    }
}

// Looking changes nothing: explaining and checking read the start of files without moving their
// access time, which says when the user last used them.
TEST(Befehlszeile, AnsehenLaesstDieZugriffszeit) {
    test::Testordner t;
    const test::LinuxHome heim(t);
    const Aufruf linux{heim.home(), heim.temp(), heim.home()};
    const fs::path paket = heim.home() / "Downloads/werkzeug_1.0_amd64.deb";
    test::schreibe(paket, "!<arch>\ndebian-binary   " + std::string(4096, 'x'));
    // an access time older than the change: relatime would renew it on the next read
    const timespec zeiten[2] = {{1'600'000'000, 0}, {1'700'000'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, paket.c_str(), zeiten, 0), 0);
    for (const char* befehl : {"erklaere Downloads/werkzeug_1.0_amd64.deb", "pruefen", "erklaere Downloads"}) {
        linux(std::string("--profil linux ") + befehl);
        struct stat st {};
        ASSERT_EQ(::stat(paket.c_str(), &st), 0);
        EXPECT_EQ(st.st_atim.tv_sec, 1'600'000'000) << befehl;
    }
}

// platte shows the overview's picture: its parts add up to the disk, and what is neither files
// nor free is named, so no figure is left unexplained.
TEST(Befehlszeile, PlatteMitDemBildDerUebersicht) {
    test::Testordner t;
    const test::LinuxHome heim(t);
    const Aufruf linux{heim.home(), heim.temp(), heim.home()};
    const auto j = nlohmann::json::parse(linux.json("--profil linux platte"), nullptr, false);
    ASSERT_TRUE(j.contains("plattenbild")) << j.dump();
    const auto& bild = j["plattenbild"];
    int64_t summe = 0;
    for (const auto& teil : bild["teile"]) {
        summe += teil.value("bytes", int64_t{0});
        EXPECT_FALSE(teil.value("titel", "").empty()) << teil.dump();
        if (teil.value("art", "") != "volume" && teil.value("art", "") != "frei") {
            EXPECT_FALSE(teil.value("erklaerung", "").empty()) << teil.dump();
        }
    }
    EXPECT_EQ(summe, bild.value("gesamt", int64_t{-1}));
    EXPECT_EQ(bild.value("echtFrei", int64_t{-1}), j["plattenstand"].value("echtFrei", int64_t{-2}));
}

// A build without Qt has no watcher and no assistant beside the command: it says so and how to
// get them, in German, instead of the system's "No such file or directory".
TEST(Befehlszeile, OhneHilfsprogrammeSagtSieWasFehlt) {
    test::Testordner t;
    const fs::path allein = t.ordner("allein") / "hainbrem";
    fs::copy_file(HAINBREM_BINARY, allein);
    struct Fall {
        const char *argumente, *wer, *programm;
    } faelle[] = {{"waechter", "hainbrem waechter", "hainbrem-waechter"}, {"frage Hallo", "hainbrem frage", "hainbrem-frage"}};
    for (const auto& [argumente, wer, programm] : faelle) {
        int status = -1;
        const std::string aus = test::laufe("HOME='" + t.ordner("home").native() + "' '" + allein.native() + "' " +
                                                argumente + " </dev/null 2>&1",
                                            &status);
        EXPECT_EQ(status, 1) << argumente;
        EXPECT_NE(aus.find(std::string("hainbrem: „") + wer + "“ ist in diesem Build nicht dabei: „" +
                           (allein.parent_path() / programm).native() + "“ fehlt."),
                  std::string::npos)
            << aus;
        EXPECT_NE(aus.find("„bash werkzeuge/einrichten.sh --alles“ baut es"), std::string::npos) << aus;
        EXPECT_FALSE(hatEnglisch(aus)) << aus;
    }
}

}  // namespace
}  // namespace hainbrem
