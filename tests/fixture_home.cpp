#include "fixture_home.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <fstream>

#include "plattform/plattform.hpp"

namespace hainbrem::test {

namespace {

std::string infoPlist(std::string_view kennung, std::string_view name) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n<dict>\n"
           "  <key>CFBundleIdentifier</key>\n  <string>" + std::string(kennung) + "</string>\n"
           "  <key>CFBundleName</key>\n  <string>" + std::string(name) + "</string>\n"
           "  <key>CFBundleExecutable</key>\n  <string>" + std::string(name) + "</string>\n"
           "</dict>\n</plist>\n";
}

}  // namespace

std::string elfKopf(uint16_t typ) {
    std::string kopf("\x7F" "ELF\x02\x01\x01", 7);  // 64 bits, little endian, version 1
    kopf.resize(16, '\0');
    kopf += static_cast<char>(typ & 0xFF);
    kopf += static_cast<char>(typ >> 8);
    kopf += std::string("\x3E\x00", 2);  // x86-64
    return kopf;
}

void TestHome::altereBaum(const fs::path& p, double tageAlt) {
    std::error_code fehler;
    if (fs::is_directory(fs::symlink_status(p, fehler)))
        for (auto it = fs::recursive_directory_iterator(p, fehler); !fehler && it != fs::recursive_directory_iterator();
             it.increment(fehler))
            altere(it->path(), tageAlt);
    altere(p, tageAlt);
}

fs::path TestHome::datei(std::string_view rel, size_t bytes, double tageAlt) const {
    const fs::path p = ordner_.datei((fs::path("home") / rel).native(), bytes);
    if (tageAlt > 0) altere(p, tageAlt);
    return p;
}

fs::path TestHome::ordnerMitDatei(std::string_view rel, size_t bytes, double tageAlt, std::string_view inhalt) const {
    const fs::path ordner = home_ / rel;
    datei((fs::path(rel) / inhalt).native(), bytes);
    if (tageAlt > 0) altereBaum(ordner, tageAlt);
    return ordner;
}

fs::path TestHome::wegwerfen(std::string_view name, double tageAlt, size_t bytes) const {
    const fs::path p = papierkorb_ / name;
    fs::create_directories(papierkorb_);
    ordner_.datei(p.lexically_relative(ordner_.pfad()).native(), bytes);
    // the freedesktop Trash remembers when and from where in info/<name>.trashinfo
    if (papierkorb_.filename() == "files") {
        const std::time_t damals = std::time(nullptr) - static_cast<std::time_t>(tageAlt * 86400.0);
        std::tm tm{};
        localtime_r(&damals, &tm);
        char datum[32];
        std::strftime(datum, sizeof datum, "%Y-%m-%dT%H:%M:%S", &tm);
        schreibe(papierkorb_.parent_path() / "info" / (std::string(name) + ".trashinfo"),
                 "[Trash Info]\nPath=" + (home_ / "Documents" / name).native() + "\nDeletionDate=" + datum + "\n");
    }
    altere(p, tageAlt);
    return p;
}

Umgebung TestHome::umgebung(bool vollzugriff, std::function<bool(const std::string&)> laeuft) const {
    Umgebung u;
    u.home = home_;
    u.temp = temp_;
    u.vollzugriff = vollzugriff;
    u.laeuft = laeuft ? std::move(laeuft) : [](const std::string&) { return false; };
    u.hainbremImPapierkorb = {vonHainbrem_.native()};
    u.profil = profil_;
    return u;
}

TestHome::TestHome(const Testordner& ordner, Katalogprofil profil, std::string_view temp)
    : ordner_(ordner),
      profil_(profil),
      home_(ordner / "home"),
      temp_(ordner / temp),
      programme_(ordner / "Applications"),
      papierkorb_(plattform::profil(ordner / "home").papierkorb) {
    fs::create_directories(home_);
    fs::create_directories(temp_);
    for (const char* standard : {"Documents", "Downloads", "Desktop", "Movies", "Music", "Pictures"})
        fs::create_directories(home_ / standard);
    datei("Documents/Brief.txt", 2048);
}

void TestHome::fuellePapierkorb() {
    wegwerfen("alt.txt", 10);
    wegwerfen("frisch.txt", 2);
    vonHainbrem_ = wegwerfen("Bericht.pages", 30);
    ordner_.datei(((papierkorb_ / "ohne-datum.txt").lexically_relative(ordner_.pfad())).native(), 4096);
    altere(papierkorb_ / "ohne-datum.txt", 40);
}

void TestHome::installer(const fs::path& p, std::string_view kopf, double tageAlt, size_t bytes) {
    std::string inhalt(kopf);
    inhalt.resize(bytes, 'i');
    schreibe(p, inhalt);
    altere(p, tageAlt);
}

MacHome::MacHome(const Testordner& ordner) : TestHome(ordner, Katalogprofil::macos, "var/T") {

    // --- Library/Caches: programs, Apple (allowed and not), browsers, tools with rules of their own
    ordnerMitDatei("Library/Caches/com.spotify.client", 12 * 1024);
    ordnerMitDatei("Library/Caches/com.tinyspeck.slackmacgap", 4096);
    ordnerMitDatei("Library/Caches/com.apple.helpd", 4096);      // allowed Apple id
    ordnerMitDatei("Library/Caches/com.apple.akd", 4096);        // other Apple ids stay
    ordnerMitDatei("Library/Caches/CloudKit", 4096);             // real data among caches
    ordnerMitDatei("Library/Caches/JetBrains", 4096);
    ordnerMitDatei("Library/Caches/mdworker", 4096);             // no dot: a system service
    datei("Library/Caches/leer.cache", 0);                       // measures 0 bytes
    ordnerMitDatei("Library/Caches/Google", 16 * 1024);
    ordnerMitDatei("Library/Caches/com.apple.Safari", 8192);
    ordnerMitDatei("Library/Caches/Firefox", 4096);
    ordnerMitDatei("Library/Caches/Homebrew", 8192);
    ordnerMitDatei("Library/Caches/pip", 4096);
    ordnerMitDatei("Library/Caches/go-build", 4096);
    ordnerMitDatei("Library/Caches/de.hainbrem.Hainbrem", 4096);  // our own
    ordnerMitDatei("Library/Caches/ms-playwright/chromium-1091", 8192, 40);
    ordnerMitDatei("Library/Caches/ms-playwright/webkit-2000", 4096, 2);

    // --- Library/Application Support: Electron caches at several depths, Squirrel versions,
    //     Claude's VM image, places never searched
    const std::string as = "Library/Application Support/";
    ordnerMitDatei(as + "Slack/Cache", 8192);
    ordnerMitDatei(as + "Slack/Code Cache/js", 4096);
    ordnerMitDatei(as + "Slack/GPUCache", 4096);
    datei(as + "Slack/storage/root-state.json", 1024);            // settings stay
    ordnerMitDatei(as + "Code/CachedData", 4096);
    ordnerMitDatei(as + "Code/User/globalStorage/ext/GPUCache", 4096);  // level 4
    datei(as + "Code/User/settings.json", 512);
    ordnerMitDatei(as + "discord/a/b/c/d/Code Cache", 4096);       // level 5: still found
    ordnerMitDatei(as + "discord/a/b/c/d/e/Cache", 4096);          // level 6: not reached
    ordnerMitDatei(as + "discord/app-0.0.309", 4096);
    ordnerMitDatei(as + "discord/app-1.0.9", 4096);
    ordnerMitDatei(as + "discord/app-1.0.10", 4096);               // newest by number
    ordnerMitDatei(as + "discord/app-1", 4096);                    // not a version
    ordnerMitDatei(as + "Electron/Helper.app/Cache", 4096);        // inside a package
    ordnerMitDatei(as + "Claude/Cache", 4096);
    ordnerMitDatei(as + "Claude/vm_bundles/claudevm.bundle", 24 * 1024);
    ordnerMitDatei(as + "com.apple.sharedfilelist/Cache", 4096);
    ordnerMitDatei(as + "MobileSync/Cache", 4096);
    ordnerMitDatei(as + "MobileSync/Backup/00008030-000A1B2C3D", 20 * 1024, 200);
    ordnerMitDatei(as + "AddressBook/Cache", 4096);
    ordnerMitDatei(as + "Hainbrem/Cache", 4096);
    datei(as + "Hainbrem/verlauf.json", 256);

    // --- sandbox containers and Mail's opened attachments
    ordnerMitDatei("Library/Containers/com.example.notes/Data/Library/Caches/com.example.notes", 4096);
    ordnerMitDatei("Library/Containers/com.example.notes/Data/Library/Caches/WebKit", 4096);
    datei("Library/Containers/com.example.notes/Data/Documents/Notiz.txt", 1024);
    ordnerMitDatei("Library/Containers/com.apple.mail/Data/Library/Caches/com.apple.mail", 4096);
    ordnerMitDatei("Library/Containers/com.apple.mail/Data/Library/Mail Downloads/4F2A-11", 4096, 12,
                   "Rechnung.pdf");

    // --- developer tools
    ordnerMitDatei("Library/Developer/Xcode/DerivedData/Aaa-klein", 4096);
    ordnerMitDatei("Library/Developer/Xcode/DerivedData/Zzz-gross", 32 * 1024);
    ordnerMitDatei("Library/Developer/Xcode/iOS DeviceSupport/17.0 (21A329)", 4096, 89);
    ordnerMitDatei("Library/Developer/Xcode/iOS DeviceSupport/16.4 (20E247)", 4096, 91);
    ordnerMitDatei("Library/Developer/Xcode/watchOS DeviceSupport/10.0 (21R355)", 4096, 120);
    ordnerMitDatei("Library/Developer/CoreSimulator/Caches/dyld", 8192);
    ordnerMitDatei(".npm/_cacache", 8192);
    ordnerMitDatei(".cargo/registry/cache", 4096);
    ordnerMitDatei(".cargo/registry/src", 4096);
    ordnerMitDatei("go/pkg/mod/cache", 4096);
    ordnerMitDatei(".pnpm-store", 4096);
    ordnerMitDatei(".gradle/caches", 4096);
    ordnerMitDatei(".bun/install/cache", 4096);

    // --- ~/.cache: Hugging Face models, uv (also a package store), old and fresh tool caches
    ordnerMitDatei(".cache/huggingface/hub/models--openai--whisper-small", 16 * 1024, 50);
    ordnerMitDatei(".cache/huggingface/hub/models--bert", 4096, 50);
    ordnerMitDatei(".cache/uv", 4096, 45);
    ordnerMitDatei(".cache/altes-werkzeug/tief", 4096, 40);
    ordnerMitDatei(".cache/neues-werkzeug", 4096, 1);
    ordnerMitDatei(".cache/lm-studio", 4096, 40);

    // --- logs
    ordnerMitDatei("Library/Logs/DiagnosticReports", 4096);
    ordnerMitDatei("Library/Logs/Slack", 4096);
    datei("Library/Logs/com.example.log", 2048);

    // --- temp folder: old and new, Apple's, and Chrome's self-copies beside it
    ordner.datei("var/T/alt.tmp", 4096);
    altere(temp_ / "alt.tmp", 5);
    ordner.datei("var/T/neu.tmp", 4096);
    ordner.datei("var/T/com.apple.launchd.abc/x", 4096);
    altereBaum(temp_ / "com.apple.launchd.abc", 10);
    ordner.datei("var/T/TemporaryItems/y", 4096);
    altereBaum(temp_ / "TemporaryItems", 10);
    const fs::path klone = ordner / "var/X/com.google.Chrome.code_sign_clone";
    ordner.datei("var/X/com.google.Chrome.code_sign_clone/code_sign_clone.aaa/Chrome", 8192);
    ordner.datei("var/X/com.google.Chrome.code_sign_clone/code_sign_clone.bbb/Chrome", 8192);
    ordner.datei("var/X/com.google.Chrome.code_sign_clone/code_sign_clone.ccc/Chrome", 8192);
    altereBaum(klone / "code_sign_clone.aaa", 5);
    altereBaum(klone / "code_sign_clone.bbb", 0.01);  // the newest
    altereBaum(klone / "code_sign_clone.ccc", 2);

    // --- the Trash: old, fresh, without a date, and one entry Hainbrem put there
    fuellePapierkorb();

    // --- installers: .dmg, xar .pkg, console .pkg, bundle .pkg, .xip, and things that are none
    const fs::path downloads = plattform::profil(home_).downloads;
    const fs::path schreibtisch = plattform::profil(home_).schreibtisch;
    installer(downloads / "Programm.dmg", "koly", 10);
    installer(downloads / "Neu.DMG", "koly", 1);
    installer(downloads / "Installer.pkg", "xar!", 10);
    installer(downloads / "Spiel.pkg", "\x7F" "CNT", 10);  // a console package, not a Mac installer
    installer(downloads / "Xcode_15.xip", "xar!", 30);
    installer(downloads / "Foto.jpg", "\xFF\xD8\xFF\xE0", 30);
    fs::create_directories(downloads / "Bundle.pkg/Contents");
    schreibe(downloads / "Bundle.pkg/Contents/Archive.pax", std::string(4096, 'b'));
    altereBaum(downloads / "Bundle.pkg", 20);
    installer(schreibtisch / "Setup.mpkg", "xar!", 3);

    // --- Applications: Chrome with an old framework version, a few programs
    const fs::path versionen =
        programme_ / "Google Chrome.app/Contents/Frameworks/Google Chrome Framework.framework/Versions";
    schreibe(versionen / "119.0.6045.105/Google Chrome Framework", std::string(8192, 'c'));
    schreibe(versionen / "120.0.6099.71/Google Chrome Framework", std::string(8192, 'c'));
    fs::create_directory_symlink("120.0.6099.71", versionen / "Current");
    schreibe(programme_ / "Google Chrome.app/Contents/Info.plist", infoPlist("com.google.Chrome", "Google Chrome"));
    schreibe(programme_ / "Slack.app/Contents/Info.plist", infoPlist("com.tinyspeck.slackmacgap", "Slack"));
    schreibe(programme_ / "Slack.app/Contents/MacOS/Slack", std::string(4096, 's'));
    schreibe(programme_ / "Spotify.app/Contents/Info.plist", infoPlist("com.spotify.client", "Spotify"));
    schreibe(programme_ / "Spotify.app/Contents/MacOS/Spotify", std::string(4096, 's'));
}

}  // namespace hainbrem::test

namespace hainbrem::test {

Umgebung LinuxHome::umgebung(bool vollzugriff, std::function<bool(const std::string&)> laeuft) const {
    Umgebung u = TestHome::umgebung(vollzugriff, std::move(laeuft));
    u.absturzOrdner = absturzOrdner_;
    return u;
}

LinuxHome::LinuxHome(const Testordner& ordner)
    : TestHome(ordner, Katalogprofil::linuxDesktop, "tmp"), absturzOrdner_(ordner / "var/crash") {
    // Folders of one 4 KiB file, fresh. Each group: what its rule finds, then look-alikes that stay.
    for (const char* rel : {
             // ~/.cache: browsers, known programs, package managers; real data among caches
             ".cache/google-chrome/Default/Cache", ".cache/BraveSoftware/Brave-Browser/Default/Cache",
             ".cache/thumbnails/normal", ".cache/spotify/Data", ".cache/org.gnome.Maps", ".cache/pip/http",
             ".cache/yarn/v6", ".cache/uv", ".cache/go-build", ".cache/node-gyp", ".cache/typescript",
             ".cache/JetBrains/IdeaIC2023.3",
             // ~/.config: browser profiles and Electron programs (also hidden); Cache in no program's folder
             ".config/google-chrome/Default/GPUCache", ".config/google-chrome/Default/Service Worker/CacheStorage",
             ".config/google-chrome/GrShaderCache", ".config/Code/Cache", ".config/Code/CachedData", ".config/Slack/Cache",
             ".config/Slack/Code Cache/js", ".config/discord/GPUCache", ".config/.versteckt/GPUCache", ".config/Cache",
             ".local/share/spiel/Cache", "Projekte/web/Cache",
             // Flatpak and Snap: caches go, data and revisions stay
             ".var/app/com.spotify.Client/cache/spotify", ".var/app/com.slack.Slack/config/Slack/Cache",
             "snap/spotify/common/.cache/spotify", ".var/app/com.spotify.Client/data/spotify",
             ".var/app/com.slack.Slack/data/slack", "snap/spotify/123/.config",
             // package managers beyond ~/.cache
             ".npm/_cacache", ".yarn/berry/cache", ".local/share/pnpm/store", ".cargo/registry/cache",
             "go/pkg/mod/cache", ".gradle/caches",
             // Mac places, which this profile never looks at
             "Library/Caches/com.spotify.client", "Library/Developer/Xcode/DerivedData/App-abc"})
        ordnerMitDatei(rel);
    // Firefox's caches are the largest, so the running-browser test sees a fixed order
    ordnerMitDatei(".cache/mozilla/firefox/abc.default-release/cache2", 16 * 1024);
    ordnerMitDatei(".var/app/org.mozilla.firefox/cache/mozilla", 12 * 1024);
    ordnerMitDatei("snap/firefox/common/.cache/mozilla", 8192);
    // tools by age, models, and a tool's logs (the protocol rule's) beside a folder only named so
    ordnerMitDatei(".cache/ms-playwright/chromium-1091", 4096, 40);
    ordnerMitDatei(".cache/ms-playwright/webkit-2000", 4096, 2);
    ordnerMitDatei(".cache/huggingface/hub/models--openai--whisper-small", 4096, 50);
    ordnerMitDatei(".cache/altes-werkzeug/tief", 4096, 40);
    ordnerMitDatei(".cache/neues-werkzeug", 4096, 1);
    ordnerMitDatei(".cache/pre-commit/repo1", 4096, 40);
    ordnerMitDatei(".cache/pre-commit/logs", 2048, 0, "pre-commit.log");
    ordnerMitDatei(".cache/bilder/logs", 4096, 40, "bild.png");

    // Maven's repository with one artefact installed here, not downloaded
    const auto maven = [&](const std::string& version, const std::string& liste) {
        datei(".m2/repository/" + version + "/a.jar");
        schreibe(home_ / ".m2/repository" / version / "_remote.repositories", "#NOTE\n" + liste + "\n");
    };
    maven("org/apache/commons/commons-lang3/3.14.0", "commons-lang3-3.14.0.jar>central=");
    maven("com/google/guava/guava/32.0", "guava-32.0.jar>central=\nguava-32.0.pom>central=");
    maven("com/eigene/bibliothek/1.0", "bibliothek-1.0.jar>=");

    // logs and crash reports, and files that only look like them
    for (const char* rel : {".m2/repository/com/eigene/bibliothek/maven-metadata-local.xml", ".m2/settings.xml",
                            ".xsession-errors", ".xsession-errors.old", ".local/state/nvim/log",
                            ".local/state/nvim/shada/main.shada", ".local/state/app/login.json",
                            ".local/share/xorg/Xorg.0.log"})
        datei(rel, 1024);
    ordnerMitDatei(".local/state/app/logs", 2048, 0, "a.log");
    ordner.datei("var/crash/_usr_bin_eigen.0.crash", 4096);
    ordner.datei("var/crash/_usr_bin_eigen.0.upload", 0);
    if (::geteuid() == 0) {  // another user's report; only root can give it away
        const fs::path fremd = ordner.datei("var/crash/_usr_bin_fremd.1000.crash", 4096);
        if (::chown(fremd.c_str(), 65534, 65534) != 0) fs::remove(fremd);
    }

    // installers, told by their first bytes; a game archive and a .deb in a project stay
    const fs::path downloads = plattform::profil(home_).downloads;
    const std::string deb = "!<arch>\ndebian-binary   1700000000  0     0     100644  4         `\n2.0\n";
    const std::string appImage("\x7F" "ELF\x02\x01\x01\x00" "AI\x02", 11);
    const std::pair<fs::path, std::string> installer10[] = {
        {downloads / "programm_1.0_amd64.deb", deb}, {downloads / "kaputt.deb", "kein Paket"},
        {downloads / "paket-2.0.x86_64.rpm", "\xED\xAB\xEE\xDB"}, {downloads / "Werkzeug.AppImage", appImage},
        {downloads / "Mein.AppImage", appImage}, {downloads / "firefox-121.0.tar.bz2", "BZh91AY&SY"},
        {downloads / "Spiel-1.0.tar.gz", "\x1F\x8B\x08"}, {home_ / "Projekte/app/build/app.deb", deb}};
    for (const auto& [pfad, kopf] : installer10) installer(pfad, kopf, 10);
    fs::permissions(downloads / "Mein.AppImage", fs::perms::owner_exec, fs::perm_options::add);
    installer(downloads / "app.flatpakref", "[Flatpak Ref]\nName=org.example.App\n", 2);
    installer(downloads / "Foto.jpg", "\xFF\xD8\xFF\xE0", 30);
    installer(plattform::profil(home_).schreibtisch / "treiber.run", "#!/bin/sh\n", 20);

    // VS Code Server: every version but the newest
    for (const char* ordnerName : {".vscode-server/bin/", ".vscode-server/cli/servers/Stable-"}) {
        ordnerMitDatei(std::string(ordnerName) + "aaa111", 4096, 20);
        ordnerMitDatei(std::string(ordnerName) + "bbb222", 4096, 1);
    }
    datei(".vscode-server/cli/servers/lru.json", 128);

    // A developer's further places: package managers' downloads (their clones, own publications,
    // toolchains and environments stay), the old thumbnails, Steam's shaders (the game stays), the
    // VS Code server's sessions, browsers' crash reports
    for (const char* rel : {".cargo/registry/src/index.crates.io-6f17/serde-1.0", ".cargo/git/checkouts/tokio-1a2b/5d6e",
                            ".cargo/git/db/tokio-1a2b", ".gradle/wrapper/dists/gradle-8.6-bin", ".ivy2/cache/org.scala",
                            ".ivy2/local/de.eigen", ".rustup/downloads", ".rustup/toolchains/stable",
                            "miniconda3/pkgs/numpy-1.26", "miniconda3/envs/daten", "anaconda3/pkgs/notizen",
                            ".thumbnails/normal", ".local/share/Steam/steamapps/shadercache/730",
                            ".local/share/Steam/steamapps/shadercache/570", ".local/share/Steam/steamapps/common/Spiel",
                            ".vscode-server/data/logs/20240301T090000", ".vscode-server/data/logs/20240312T101010",
                            ".config/google-chrome/Crash Reports/completed",
                            ".config/BraveSoftware/Brave-Browser/Crash Reports/pending",
                            ".mozilla/firefox/Crash Reports/pending", ".mozilla/firefox/abc.default-release/minidumps",
                            ".var/app/org.mozilla.firefox/.mozilla/firefox/Crash Reports",
                            "snap/firefox/common/.mozilla/firefox/Crash Reports"})
        ordnerMitDatei(rel);
    datei("miniconda3/pkgs/urls.txt", 100);  // what conda writes into its package cache
    schreibe(home_ / ".local/share/Steam/steamapps/appmanifest_730.acf",
             "\"AppState\"\n{\n\t\"appid\"\t\t\"730\"\n\t\"name\"\t\t\"Counter-Strike 2\"\n}\n");
    fs::create_directories(home_ / ".steam");
    fs::create_directory_symlink("../.local/share/Steam", home_ / ".steam/steam");  // the same folder twice
    // logs beside the settings: a folder of logs only (VS Code nests them deep); one with notes stays
    ordnerMitDatei(".config/Code/logs/20240310T081512/window1/exthost/vscode.git", 2048, 0, "Git.log");
    datei(".config/Code/logs/20240310T081512/main.log", 1024);
    ordnerMitDatei(".config/Mitschrift/logs", 2048, 0, "Sitzung.odt");
    ordnerMitDatei(".npm/_logs", 2048, 0, "2024-03-01T10_00_00_000Z-debug-0.log");
    // core dumps in home and in a project; those in node_modules, hidden, too deep or outside the
    // code folders stay, and so do a program named "core" and a source folder named so
    installer(home_ / "core", elfKopf(4), 10);
    installer(home_ / "Projekte/web/core.4711", elfKopf(4), 1);
    for (const char* rel : {"Projekte/web/node_modules/x/core", "Projekte/.werkzeug/core", "Projekte/a/b/c/d/core",
                            "Musik/core"})
        installer(home_ / rel, elfKopf(4), 10);
    installer(home_ / "code/werkzeug/core", elfKopf(2), 10);
    datei("Projekte/web/src/core/main.c", 1024);
    // a disc image, and a file only named so
    installer(downloads / "debian-12.5.0-amd64-netinst.iso", std::string(32768, '\0') + "\x01" "CD001\x01", 10, 40'000);
    installer(downloads / "Sicherung.iso", "kein Abbild", 10);

    // temp folder and Trash
    ordner.datei("tmp/alt.tmp", 4096);
    altere(temp_ / "alt.tmp", 5);
    ordner.datei("tmp/neu.tmp", 4096);
    fuellePapierkorb();
}

}  // namespace hainbrem::test
