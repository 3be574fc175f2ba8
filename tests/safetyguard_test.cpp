#include "kern/safetyguard.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "fixture_home.hpp"
#include "testordner.hpp"
#include "waechter_welt.hpp"

namespace hainbrem {
namespace {

using test::WaechterWelt;
constexpr auto L = Entsorgung::loeschen;
constexpr auto P = Entsorgung::papierkorb;

struct Fall {
    std::string pfad;  // below the test folder; "=" prefix: taken literally
    Entsorgung art;
    std::string erwartet;  // "" = erlaubt
};

const std::string versionen = test::chromeVersionen;

const std::vector<Fall>& faelle() {
    static const std::vector<Fall> f{
        // P: the path itself
        {"=", L, "Kein gültiger Pfad"},
        {"=home/Library/Caches/x", L, "Kein gültiger Pfad"},
        {"=/", L, "Kein gültiger Name"},
        {"home/Library/Caches/.", L, "Kein gültiger Name"},
        {"home/Library/Caches/com.example.app/..", L, "Kein gültiger Name"},
        {"home/Library/Caches/com.example.app/", L, "Kein gültiger Name"},
        {"home/gibt-es-nicht/datei", P, "Ordner existiert nicht"},
        {"home/Documents/bericht.pdf/unmöglich", P, "Ordner existiert nicht"},
        {"temp/sitzung/a.tmp", L, ""},
        {"temp/sitzung", L, ""},
        {"temp/sitzung/a.tmp", P, "Temporäre Dateien werden gelöscht, nicht verschoben"},
        {"temp", L, "Liegt außerhalb deines Benutzerordners"},
        {"X/com.google.Chrome.code_sign_clone/kopie1", L, ""},
        {"X/com.google.Chrome.code_sign_clone/kopie1", P, "Wird gelöscht, nicht verschoben"},
        {"X/com.google.Chrome.code_sign_clone", L, "Liegt außerhalb deines Benutzerordners"},
        {"draussen/datei.txt", P, "Liegt außerhalb deines Benutzerordners"},
        {"home/nach-draussen/datei.txt", P, "Liegt außerhalb deines Benutzerordners"},
        {"=/etc/passwd", P, "Liegt außerhalb deines Benutzerordners"},
        // H: inside home
        {"home", P, "Das ist dein Benutzerordner"},
        {"home/../home", L, "Kein gültiger Pfad"},
        // "." and ".." would be resolved after the link by the guard but before it by text
        {"home/zu-cache/../Documents", L, "Kein gültiger Pfad"},
        {"home/Library/Caches/./com.example.app", L, "Kein gültiger Pfad"},
        {"home/.local/share/TRASH/files/eigene", L, "Kein Cache – darf nur in den Papierkorb"},
        {"home/Documents", P, "Standardordner bleiben immer"},
        {"home/documents", L, "Standardordner bleiben immer"},
        {"home/.Trash", P, "Standardordner bleiben immer"},
        {"home/.ssh", L, "Standardordner bleiben immer"},
        {"home/Library/Caches", L, "Grundordner der Library bleiben immer"},
        {"home/Library/Caches", P, "Grundordner der Library bleiben immer"},
        {"home/Library/Logs", L, "Grundordner der Library bleiben immer"},
        {"home/Library/Mail", P, "Grundordner der Library bleiben immer"},
        {"home/Library/Containers/com.apple.Notes/Data/Library/Caches/c.db", L, "Daten eines Apple-Programms"},
        {"home/Library/Group Containers/group.com.apple.notes/NoteStore.sqlite", P, "Daten eines Apple-Programms"},
        {"home/Library/Containers/com.apple.mail/Data/Library/Mail Downloads", P, "Daten eines Apple-Programms"},
        {"home/Library/Containers/com.apple.mail/Data/Library/Mail Downloads/anhang.pdf", P, ""},
        {"home/Library/Containers/com.apple.mail/Data/Library/Mail Downloads/anhang.pdf", L,
         "Kein Cache – darf nur in den Papierkorb"},
        {"home/Library/Mobile Documents/com~apple~CloudDocs/x.txt", P,
         "iCloud-Dateien werden nur ausgelagert, nie gelöscht"},
        {"home/Library/Mobile Documents/com~apple~CloudDocs/x.txt", L,
         "iCloud-Dateien werden nur ausgelagert, nie gelöscht"},
        {"home/Library/CloudStorage/Dropbox/a.txt", P, "Geschützter Bereich"},
        {"home/Library/Mail/V10", L, "Geschützter Bereich"},
        {"home/Library/Keychains/login.keychain-db", P, "Geschützter Bereich"},
        {"home/Library/Cookies/Cookies.binarycookies", P, "Geschützter Bereich"},
        {"home/Library/Application Support/AddressBook/Sources", P, "Geschützter Bereich"},
        {"home/Library/Application Support/Hainbrem", P, "Geschützter Bereich"},
        {"home/Library/Application Support/Hainbrem/verlauf.json", L, "Geschützter Bereich"},
        {"home/.ssh/id_ed25519", P, "Geschützter Bereich"},
        {"home/code/web/.git", P, "Liegt in einem Git-Archiv"},
        {"home/code/web/.git/HEAD", L, "Liegt in einem Git-Archiv"},
        {"home/Pictures/Fotos.photoslibrary", P, "Fotos-Mediathek – bitte in Fotos verwalten"},
        {"home/Pictures/Fotos.photoslibrary/originals", L, "Fotos-Mediathek – bitte in Fotos verwalten"},
        {"home/Documents/bericht.pdf", P, ""},
        {"home/Documents/bericht.pdf", L, "Kein Cache – darf nur in den Papierkorb"},
        {"home/Library/Preferences/com.example.app.plist", P, ""},
        {"home/Applications/Eigen.app", P, ""},
        {"home/Applications/Eigen.app", L, "Programme gehen in den Papierkorb"},
        {"home/Applications/Mail.app", P, "Apple-Programm – gehört zu macOS"},
        // D: deleting for good
        {"home/Library/Developer/Xcode/DerivedData", L, "Nur der Inhalt, nicht der Ordner selbst"},
        {"home/Library/Developer/Xcode/DerivedData/Projekt-abc", L, ""},
        {"home/Library/Developer/CoreSimulator/Caches", L, "Nur der Inhalt, nicht der Ordner selbst"},
        {"home/Library/Developer/Xcode/iOS DeviceSupport", L, ""},
        {"home/Library/Application Support/Claude/vm_bundles", L, "Nur der Inhalt, nicht der Ordner selbst"},
        {"home/Library/Application Support/Claude/vm_bundles/vm1", L, ""},
        {"home/.cache", L, "Nur der Inhalt, nicht der Ordner selbst"},
        {"home/.cache/pip", L, ""},
        {"home/.cache/JetBrains", L, "Enthält echte Daten, kein reiner Cache"},
        {"home/.npm/_cacache", L, ""},
        {"home/.Trash/alt.txt", L, ""},
        {"home/Library/Caches/com.example.app", L, ""},
        {"home/Library/Caches/com.example.app/cache.db", L, ""},
        {"home/Library/Caches/com.apple.Safari", L, ""},
        {"home/Library/Caches/com.apple.Safari/WebKit", L, ""},
        {"home/Library/Caches/com.apple.helpd", L, ""},
        {"home/Library/Caches/com.apple.Maps", L, "Apple-Systemcache – wird nicht angefasst"},
        {"home/Library/Caches/JetBrains", L, "Enthält echte Daten, kein reiner Cache"},
        {"home/Library/Caches/JetBrains/IdeaIC", L, "Enthält echte Daten, kein reiner Cache"},
        {"home/Library/Logs/app.log", L, ""},
        // a link in a cache folder is judged as the link, not as the folder it points to
        {"home/Library/Caches/com.example.app/verweis", L, ""},
        {"home/code/caches-verweis/com.example.app", L, ""},
        {"home-verweis/Library/Caches/com.example.app", L, ""},
        {"home-verweis/Documents", P, "Standardordner bleiben immer"},
        {"home/Library/Application Support/Slack/Cache", L, ""},
        {"home/Library/Application Support/Slack/Cache/data_0", L, ""},
        {"home/Library/Application Support/Slack/Code Cache/js", L, ""},
        {"home/Library/Application Support/Cursor/User/workspaceStorage/GPUCache", L, ""},
        {"home/Library/Application Support/Editor/settings.json", L, "Kein Cache – darf nur in den Papierkorb"},
        {"home/Library/Containers/com.example.notes/Data/Library/Caches/c.db", L, ""},
        {"home/Library/Containers/com.example.notes/Data/Documents/note.txt", L,
         "Kein Cache – darf nur in den Papierkorb"},
        {"home/Library/Application Support/Slack/app-4.1.0", L, ""},
        {"home/Library/Application Support/Slack/app-4.2.0", L, "Kein Cache – darf nur in den Papierkorb"},
        {"home/code/web/notizen.txt", L, "Kein Cache – darf nur in den Papierkorb"},
        {"home/code/web/node_modules", L, ""},
        {"home/code/web/node_modules/react", L, "Kein Cache – darf nur in den Papierkorb"},
        {"home/code/web/.next", L, ""},
        {"home/code/ohne/node_modules", L, "Kein Projekt daneben – könnte eigene Daten sein"},
        {"home/code/ohne/node_modules", P, ""},
        {"home/code/rust/target", L, ""},
        {"home/code/java/target", L, ""},
        {"home/code/py/.venv", L, ""},
        {"home/code/swift/.build", L, "Kein Projekt daneben – könnte eigene Daten sein"},
        {"home/code/ios/DerivedData", L, ""},
        {"home/code/ios2/DerivedData", L, "Kein Projekt daneben – könnte eigene Daten sein"},
        // A: programs
        {"Applications/Safari.app", P, "Apple-Programm – gehört zu macOS"},
        {"Applications/Foo.app", P, ""},
        {"Applications/Foo.app", L, "Programme gehen in den Papierkorb"},
        {"Applications/Foo.app/Contents", P, "Nur ganze Programme"},
        {"Applications/Foo.app/Contents/Helpers/Bar.app", P, "Liegt in einem anderen Programm"},
        {"Applications/Foo.appx/Bar.app", P, "Liegt in einem anderen Programm"},
        {"Applications/Hainbrem.app", P, "Das bin ich selbst"},
        {"Applications/OhneListe.app", P, ""},
        {"Applications/Fehlt.app", P, ""},
        {"Applications/Google Chrome.app", P, ""},
        {versionen + "/120.0.1", L, ""},
        {versionen + "/120.0.1", P, "Wird gelöscht, nicht verschoben"},
        {versionen + "/121.0.2", L, "Das ist die laufende Chrome-Version"},
        {versionen + "/Current", L, "Das ist die laufende Chrome-Version"},
        {versionen + "/120.0.1/Resources", L, "Nur ganze Programme"},
        // the Linux Trash and history folder
        {"home/.local/share/Trash/files/alt.txt", L, ""},
        {"home/.local/share/Trash/files/alt", L, ""},
        {"home/.local/share/Trash/files/alt.txt", P, ""},
        {"home/.local/share/Trash/info/alt.txt.trashinfo", L, ""},
        {"home/.local/share/Trash/files", L, "Standardordner bleiben immer"},
        {"home/.local/share/Trash/files", P, "Standardordner bleiben immer"},
        {"home/.local/share/Trash/info", L, "Standardordner bleiben immer"},
        {"home/.local/share/Trash", P, "Standardordner bleiben immer"},
        {"home/.local/share/Trash/expunged", L, "Kein Cache – darf nur in den Papierkorb"},
        {"home/.local/share/hainbrem", P, "Geschützter Bereich"},
        {"home/.local/share/hainbrem/verlauf.json", L, "Geschützter Bereich"},
        {"home/.local", P, "Standardordner bleiben immer"},
    };
    return f;
}

// One fixture for every test that only reads it.
const WaechterWelt& welt() {
    static const WaechterWelt w;
    return w;
}

std::string anzeige(const Urteil& u) { return u.istErlaubt() ? "erlaubt" : u.grund(); }

TEST(WaechterPruefe, JederFallWieErwartet) {
    const WaechterWelt& welt = hainbrem::welt();
    const SafetyGuard w = welt.waechter();
    for (const Fall& f : faelle()) {
        const std::filesystem::path pfad =
            f.pfad.starts_with("=") ? std::filesystem::path(f.pfad.substr(1)) : welt.t.pfad() / f.pfad;
        EXPECT_EQ(anzeige(w.pruefe(pfad, f.art)), f.erwartet.empty() ? "erlaubt" : f.erwartet)
            << f.pfad << " mit " << rohwert(f.art);
    }
}

TEST(WaechterPruefe, JederAblehnungstextKommtVor) {
    // every reason the guard can give is reached by at least one case above
    std::set<std::string> texte;
    std::istringstream liste(
        "Kein gültiger Pfad|Kein gültiger Name|Ordner existiert nicht|"
        "Temporäre Dateien werden gelöscht, nicht verschoben|Wird gelöscht, nicht verschoben|"
        "Liegt außerhalb deines Benutzerordners|Das ist dein Benutzerordner|Standardordner bleiben immer|"
        "Grundordner der Library bleiben immer|Daten eines Apple-Programms|"
        "iCloud-Dateien werden nur ausgelagert, nie gelöscht|Geschützter Bereich|Liegt in einem Git-Archiv|"
        "Fotos-Mediathek – bitte in Fotos verwalten|Nur der Inhalt, nicht der Ordner selbst|"
        "Apple-Systemcache – wird nicht angefasst|Enthält echte Daten, kein reiner Cache|"
        "Kein Cache – darf nur in den Papierkorb|Kein Projekt daneben – könnte eigene Daten sein|"
        "Das ist die laufende Chrome-Version|Nur ganze Programme|Programme gehen in den Papierkorb|"
        "Liegt in einem anderen Programm|Apple-Programm – gehört zu macOS|Das bin ich selbst");
    for (std::string text; std::getline(liste, text, '|');) texte.insert(text);
    ASSERT_EQ(texte.size(), 25u);
    std::set<std::string> erreicht;
    for (const Fall& f : faelle()) erreicht.insert(f.erwartet);
    for (const auto& t : texte) EXPECT_TRUE(erreicht.contains(t)) << t;
}

TEST(WaechterPruefe, HomeTempUndEigeneKennungAusDenAngaben) {
    const WaechterWelt& welt = hainbrem::welt();
    const SafetyGuard w(welt.t / "home-verweis", welt.t / "temp/../temp", welt.programme);
    EXPECT_EQ(w.home(), std::filesystem::canonical(welt.home).native());
    EXPECT_EQ(w.temp(), std::filesystem::canonical(welt.temp).native());
    EXPECT_TRUE(w.pruefe(welt.home / "Library/Caches/com.example.app", L).istErlaubt());

    // an unresolvable home is kept as given (without a trailing "/") and still judged
    const SafetyGuard fehlt(welt.t / "kein-home/", welt.temp, welt.programme);
    EXPECT_EQ(fehlt.home(), (welt.t / "kein-home").native());
    EXPECT_EQ(anzeige(fehlt.pruefe(welt.home / "Documents/bericht.pdf", P)), "Liegt außerhalb deines Benutzerordners");

    // the own bundle id: none, or a different one
    const SafetyGuard ohne(welt.home, welt.temp, welt.programme, "");
    EXPECT_TRUE(ohne.pruefe(welt.programme / "Hainbrem.app", P).istErlaubt());
    const SafetyGuard andere(welt.home, welt.temp, welt.programme, "com.example.foo");
    EXPECT_EQ(anzeige(andere.pruefe(welt.programme / "Foo.app", P)), "Das bin ich selbst");
}

TEST(WaechterPruefe, OhneCurrentVerweisIstJedeChromeVersionDieLaufende) {
    const WaechterWelt welt;
    std::filesystem::remove(welt.t / test::chromeVersionen / "Current");
    EXPECT_EQ(anzeige(welt.waechter().pruefe(welt.t / test::chromeVersionen / "120.0.1", L)),
              "Das ist die laufende Chrome-Version");
}

TEST(WaechterPruefe, FremdeEintraegeImTempOrdnerBleiben) {
    if (::geteuid() != 0) GTEST_SKIP() << "nur root kann Dateien einem anderen Benutzer geben";
    const WaechterWelt welt;
    ASSERT_EQ(::chown((welt.temp / "fremd").c_str(), 65534, 65534), 0);
    const SafetyGuard w = welt.waechter();
    const std::string fremd(grundText(Ablehnung::fremderEintrag));
    EXPECT_EQ(anzeige(w.pruefe(welt.temp / "fremd", L)), fremd);
    EXPECT_EQ(anzeige(w.pruefe(welt.temp / "fremd/b.tmp", L)), fremd);  // ours, in a stranger's folder
    ASSERT_EQ(::lchown((welt.temp / "sitzung/a.tmp").c_str(), 65534, 65534), 0);
    EXPECT_EQ(anzeige(w.pruefe(welt.temp / "sitzung/a.tmp", L)), fremd);
    EXPECT_TRUE(w.pruefe(welt.temp / "sitzung", L).istErlaubt());
    EXPECT_TRUE(w.pruefe(welt.temp / "gibt-es-nicht", L).istErlaubt());  // nothing there to take
}

TEST(WaechterPruefe, WaechterLiestNurUndAendertNichts) {
    const WaechterWelt& welt = hainbrem::welt();
    const auto bestand = [&] {
        std::set<std::string> s;
        for (const auto& e : std::filesystem::recursive_directory_iterator(welt.t.pfad())) s.insert(e.path().native());
        return s;
    };
    const auto vorher = bestand();
    const SafetyGuard w = welt.waechter();
    for (const Fall& f : faelle())
        if (!f.pfad.starts_with("=")) (void)w.pruefe(welt.t / f.pfad, f.art);
    EXPECT_EQ(bestand(), vorher);
}

TEST(WaechterHilfen, IstVersionsOrdner) {
    for (const char* ja : {"app-1.2", "app-4.1.0", "app-10.20.30.40", "app-0.0"})
        EXPECT_TRUE(SafetyGuard::istVersionsOrdner(ja)) << ja;
    for (const char* nein : {"app-1", "app-", "app-1.", "app-.1", "app-1..2", "App-1.2", "app-1.2a", "xapp-1.2",
                             "app-1.2 ", "app-1,2", "1.2.3", ""})
        EXPECT_FALSE(SafetyGuard::istVersionsOrdner(nein)) << nein;
}

TEST(WaechterHilfen, NeuesteAppVersionVergleichtZahlen) {
    test::Testordner t;
    EXPECT_EQ(SafetyGuard::neuesteAppVersion(t / "fehlt"), std::nullopt);
    t.ordner("a/app-1");
    t.ordner("a/Cache");
    EXPECT_EQ(SafetyGuard::neuesteAppVersion(t / "a"), std::nullopt);
    for (const char* v : {"app-1.9.3", "app-1.10.0", "app-1.10", "app-1.2.99"}) t.ordner(std::string("a/") + v);
    EXPECT_EQ(SafetyGuard::neuesteAppVersion(t / "a"), "app-1.10.0");
    t.ordner("a/app-2.0");
    t.ordner("a/app-99999999999999999999.1");  // longer than any integer type
    EXPECT_EQ(SafetyGuard::neuesteAppVersion(t / "a"), "app-99999999999999999999.1");
}

TEST(WaechterHilfen, NameAufPlatte) {
    test::Testordner t;
    EXPECT_EQ(SafetyGuard::nameAufPlatte("x", t / "fehlt"), std::nullopt);
    t.ordner("a/Documents");
    t.datei("a/Notiz.txt");
    t.datei("a/notiz.txt");
    EXPECT_EQ(SafetyGuard::nameAufPlatte("documents", t / "a"), "Documents");
    EXPECT_EQ(SafetyGuard::nameAufPlatte("Documents", t / "a"), "Documents");
    EXPECT_EQ(SafetyGuard::nameAufPlatte("notiz.txt", t / "a"), "notiz.txt");  // exact wins
    const auto beliebig = SafetyGuard::nameAufPlatte("NOTIZ.TXT", t / "a");
    ASSERT_TRUE(beliebig);
    EXPECT_TRUE(*beliebig == "Notiz.txt" || *beliebig == "notiz.txt");
    EXPECT_EQ(SafetyGuard::nameAufPlatte("Desktop", t / "a"), std::nullopt);
}

TEST(WaechterBefehl, UrteilAlsTextUndJson) {
    const WaechterWelt& welt = hainbrem::welt();
    const std::string vorne = "HOME='" + welt.home.native() + "' TMPDIR='" + welt.temp.native() + "' " HAINBREM_BINARY;
    int status = -1;
    EXPECT_EQ(
        test::laufe(vorne + " urteil '" + (welt.home / "Library/Caches/com.example.app").native() + "' --art loeschen",
                    &status),
        "erlaubt\n");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(
        test::laufe(vorne + " urteil '" + (welt.home / "Documents/bericht.pdf").native() + "' --art loeschen", &status),
        "Kein Cache – darf nur in den Papierkorb\n");
    EXPECT_EQ(status, 1);

    const auto j = nlohmann::json::parse(
        test::laufe(vorne + " --json urteil '" + (welt.temp / "sitzung").native() + "' --art papierkorb", &status));
    EXPECT_EQ(j["pfad"], (welt.temp / "sitzung").native());
    EXPECT_EQ(j["art"], "papierkorb");
    EXPECT_EQ(j["erlaubt"], false);
    EXPECT_EQ(j["grund"], "Temporäre Dateien werden gelöscht, nicht verschoben");
    const auto k = nlohmann::json::parse(
        test::laufe("cd '" + welt.temp.native() + "' && " + vorne + " --json urteil sitzung --art loeschen", &status));
    EXPECT_EQ(k["pfad"], (welt.temp / "sitzung").native());
    EXPECT_EQ(k["erlaubt"], true);
    EXPECT_TRUE(k["grund"].is_null());
    EXPECT_EQ(status, 0);

    const std::string falsch = test::laufe(vorne + " urteil /tmp --art weg 2>&1", &status);
    EXPECT_NE(falsch.find("Ungültiger Wert für --art: „weg“"), std::string::npos) << falsch;
    EXPECT_EQ(status, 2);
}

TEST(WaechterProgramme, PunktAppImHomeNamenZaehltNicht) {
    // Only the way inside the Applications folder is looked at, not where that folder lives.
    test::Testordner t;
    const fs::path home = t.ordner("john.appleseed");
    t.datei("john.appleseed/Applications/Werkzeug.app/Contents/Info.plist", 10);
    t.datei("john.appleseed/Applications/Sammlung.app-alt/Teil.app/Contents/Info.plist", 10);
    const SafetyGuard w(home, t.ordner("tmp"), t.ordner("Applications"));
    EXPECT_EQ(w.pruefe(home / "Applications/Werkzeug.app", Entsorgung::papierkorb), Urteil::erlaubt());
    EXPECT_EQ(w.pruefe(home / "Applications/Sammlung.app-alt/Teil.app", Entsorgung::papierkorb),
              Urteil::abgelehnt(Ablehnung::inAnderemProgramm));
}

// The Linux profile's own places: what stays although it lies beside what may go.
TEST(WaechterLinux, NebenDenLoeschbarenOrtenBleibtDerRest) {
    test::Testordner t;
    const test::LinuxHome h(t);
    for (const char* rel : {"home/.var/app/com.spotify.Client/cache/JetBrains/x", "var/crash/unter/x.crash"})
        t.datei(rel, 10);
    const SafetyGuard w(h.home(), h.temp(), h.programme(), std::string(SafetyGuard::standardKennung),
                        Katalogprofil::linuxDesktop, h.absturzOrdner());
    const std::string keinCache = "Kein Cache – darf nur in den Papierkorb";
    const std::vector<Fall> linuxFaelle{
        {"home/.var/app/com.spotify.Client/cache", L, "Nur der Inhalt, nicht der Ordner selbst"},
        {"home/.var/app/com.spotify.Client/cache/JetBrains", L, "Enthält echte Daten, kein reiner Cache"},
        {"home/.var/app/com.spotify.Client/data/spotify", L, keinCache},
        {"home/.config/Cache", L, keinCache},
        {"home/.config/google-chrome/Default/Preferences", P, "Geschützter Bereich"},
        {"home/.local/state/app/login.json", L, keinCache},
        {"home/.vscode-server/bin/bbb222", L, std::string(grundText(Ablehnung::neuesteVersion))},
        {"home/.vscode-server/cli/servers/lru.json", L, keinCache},
        {"home/.vscode-server/bin/aaa111/daten.bin", L, keinCache},
        {"var/crash/_usr_bin_eigen.0.crash", P, "Wird gelöscht, nicht verschoben"},
        {"var/crash/unter/x.crash", L, "Nur einzelne Absturzberichte"},
    };
    for (const auto& f : linuxFaelle)
        EXPECT_EQ(anzeige(w.pruefe(t / f.pfad, f.art)), f.erwartet.empty() ? "erlaubt" : f.erwartet) << f.pfad;
    if (::geteuid() == 0) {
        EXPECT_EQ(w.pruefe(h.absturzOrdner() / "_usr_bin_fremd.1000.crash", L),
                  Urteil::abgelehnt(Ablehnung::fremderEintrag));
    }
    // outside the Linux profile the crash folder is out of reach
    const SafetyGuard mac(h.home(), h.temp(), h.programme(), std::string(SafetyGuard::standardKennung),
                          Katalogprofil::macos, h.absturzOrdner());
    EXPECT_EQ(mac.pruefe(h.absturzOrdner() / "_usr_bin_eigen.0.crash", L),
              Urteil::abgelehnt(Ablehnung::ausserhalb));
}

// What a developer's home adds: each place the Linux catalog offers is allowed to go the way it
// is offered, and what stands beside it and only looks alike stays.
TEST(WaechterLinux, EntwicklerOrteUndIhreDoppelgaenger) {
    test::Testordner t;
    const test::LinuxHome h(t);
    const SafetyGuard w(h.home(), h.temp(), h.programme(), std::string(SafetyGuard::standardKennung),
                        Katalogprofil::linuxDesktop, h.absturzOrdner());
    const std::string keinCache = "Kein Cache – darf nur in den Papierkorb";
    const std::string nurInhalt = "Nur der Inhalt, nicht der Ordner selbst";
    const std::string shader = "home/.local/share/Steam/steamapps/shadercache";
    const std::vector<Fall> faelle{
        // package managers: downloads go, clones, own publications, toolchains and environments stay
        {"home/.cargo/registry/src", L, ""},
        {"home/.cargo/git/checkouts", L, ""},
        {"home/.cargo/git/checkouts/tokio-1a2b", L, ""},
        {"home/.cargo/git/db/tokio-1a2b", L, keinCache},
        {"home/.cargo/git", L, keinCache},
        {"home/.gradle/wrapper/dists", L, ""},
        {"home/.ivy2/cache", L, ""},
        {"home/.ivy2/local/de.eigen", L, keinCache},
        {"home/.rustup/downloads", L, ""},
        {"home/.rustup/toolchains/stable", L, keinCache},
        {"home/.rustup", L, keinCache},
        {"home/miniconda3/pkgs", L, ""},
        {"home/miniconda3/envs/daten", L, keinCache},
        {"home/anaconda3/pkgs", L, keinCache},  // no urls.txt: not conda's
        // thumbnails and Steam's shaders, also through ~/.steam/steam; the game stays
        {"home/.thumbnails", L, ""},
        {shader + "/730", L, ""},
        {"home/.steam/steam/steamapps/shadercache/570", L, ""},
        {shader, L, nurInhalt},
        {"home/.local/share/Steam/steamapps/common/Spiel", L, keinCache},
        // logs and crash reports
        {"home/.config/Code/logs", L, ""},
        {"home/.config/Code/logs/20240310T081512/main.log", L, ""},
        {"home/.config/Mitschrift/logs", L, keinCache},
        {"home/.config/Mitschrift/logs/Sitzung.odt", L, keinCache},
        {"home/.npm/_logs", L, ""},
        {"home/.vscode-server/data/logs/20240301T090000", L, ""},
        {"home/.vscode-server/data/logs", L, nurInhalt},
        {"home/.config/google-chrome/Crash Reports", L, ""},
        {"home/.config/BraveSoftware/Brave-Browser/Crash Reports", L, ""},
        {"home/.mozilla/firefox/Crash Reports", L, ""},
        {"home/.mozilla/firefox/abc.default-release/minidumps", L, ""},
        {"home/.var/app/org.mozilla.firefox/.mozilla/firefox/Crash Reports", L, ""},
        {"home/snap/firefox/common/.mozilla/firefox/Crash Reports", L, ""},
        // the profile itself stays protected; only its crash reports (and caches) are no part of it
        {"home/.mozilla/firefox/abc.default-release", L, "Geschützter Bereich"},
        {"home/.mozilla/firefox/abc.default-release/minidumps", P, ""},
        // core dumps where programs leave them, and what only looks like one
        {"home/core", L, ""},
        {"home/Projekte/web/core.4711", L, ""},
        {"home/Projekte/web/node_modules/x/core", L, keinCache},
        {"home/Projekte/.werkzeug/core", L, keinCache},
        {"home/Projekte/a/b/c/d/core", L, keinCache},
        {"home/Musik/core", L, keinCache},
        {"home/code/werkzeug/core", L, keinCache},
        {"home/Projekte/web/src/core", L, keinCache},
        // a disc image is a download: to the Trash, never deleted for good
        {"home/Downloads/debian-12.5.0-amd64-netinst.iso", P, ""},
        {"home/Downloads/debian-12.5.0-amd64-netinst.iso", L, keinCache},
    };
    for (const auto& f : faelle)
        EXPECT_EQ(anzeige(w.pruefe(t / f.pfad, f.art)), f.erwartet.empty() ? "erlaubt" : f.erwartet) << f.pfad;
    if (::geteuid() == 0) {  // another user's core dump in the home folder is not the user's to remove
        ASSERT_EQ(::chown((h.home() / "core").c_str(), 65534, 65534), 0);
        EXPECT_EQ(anzeige(w.pruefe(h.home() / "core", L)), keinCache);
    }
    // the Mac profile knows none of the Linux-only places
    const SafetyGuard mac(h.home(), h.temp(), h.programme(), std::string(SafetyGuard::standardKennung),
                          Katalogprofil::macos, h.absturzOrdner());
    for (const char* rel : {".cargo/git/checkouts", ".thumbnails", "Projekte/web/core.4711", ".config/Code/logs"})
        EXPECT_EQ(anzeige(mac.pruefe(h.home() / rel, L)), keinCache) << rel;
}

// Build folders known by what they hold (Linux profile): a CMake build folder of any name beside
// its CMakeLists.txt, a __pycache__ of compiled files only.
TEST(WaechterLinux, CMakeUndPythonBauordner) {
    test::Testordner t;
    const fs::path home = t.ordner("home");
    if (!test::cmakeProjekt(home / "code/wetter", home / "code/wetter/build")) GTEST_SKIP() << "cmake fehlt";
    ASSERT_TRUE(test::cmakeProjekt(home / "code/wetter", home / "code/wetter/cmake-build-debug"));
    ASSERT_TRUE(test::cmakeProjekt(home / "code/drinnen", home / "code/drinnen"));
    ASSERT_TRUE(test::cmakeProjekt(home / "code/alt", home / "code/alt/build"));
    fs::rename(home / "code/alt", home / "code/alt-verschoben");
    t.datei("home/code/py/pkg/__pycache__/modul.cpython-311.pyc", 100);
    t.datei("home/code/py/notizen/__pycache__/notizen.md", 100);
    const SafetyGuard w(home, t.ordner("tmp"), t.ordner("Applications"), std::string(SafetyGuard::standardKennung),
                        Katalogprofil::linuxDesktop, t / "crash");
    const std::string keinCache = "Kein Cache – darf nur in den Papierkorb";
    const std::pair<const char*, std::string> faelle[] = {
        {"code/wetter/build", ""},
        {"code/wetter/cmake-build-debug", ""},
        {"code/wetter/build/CMakeFiles", keinCache},
        {"code/drinnen", keinCache},  // an in-source build: the project itself
        {"code/alt-verschoben/build", keinCache},
        {"code/py/pkg/__pycache__", ""},
        {"code/py/notizen/__pycache__", keinCache},
    };
    for (const auto& [rel, erwartet] : faelle)
        EXPECT_EQ(anzeige(w.pruefe(home / rel, L)), erwartet.empty() ? "erlaubt" : erwartet) << rel;
    // ".git" and the standard folders come first
    t.ordner("home/code/wetter/build/.git");
    EXPECT_EQ(anzeige(w.pruefe(home / "code/wetter/build", L)), keinCache);
    const SafetyGuard mac(home, t / "tmp", t / "Applications", std::string(SafetyGuard::standardKennung),
                          Katalogprofil::macos, t / "crash");
    for (const char* rel : {"code/wetter/cmake-build-debug", "code/py/pkg/__pycache__"})
        EXPECT_EQ(anzeige(mac.pruefe(home / rel, L)), keinCache) << rel;
}

}  // namespace
}  // namespace hainbrem
