#pragma once
// A Mac-like home folder, temp folder and Applications folder for the guard's tests.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "kern/safetyguard.hpp"
#include "testordner.hpp"

namespace hainbrem::test {

inline void schreibeInfoPlist(const fs::path& app, const std::string& kennung) {
    fs::create_directories(app / "Contents");
    std::ofstream(app / "Contents/Info.plist")
        << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>"
        << kennung << "</string><key>CFBundleShortVersionString</key><string>1.0</string></dict></plist>\n";
}

inline constexpr const char* chromeVersionen =
    "Applications/Google Chrome.app/Contents/Frameworks/Google Chrome Framework.framework/Versions";

class WaechterWelt {
public:
    WaechterWelt() {
        for (const char* d : {"home/Desktop",
                              "home/Downloads",
                              "home/Movies",
                              "home/Music",
                              "home/Public",
                              "home/.Trash",
                              "home/.gnupg",
                              "home/.config",
                              "temp/leer",
                              "home/Library/Caches/com.apple.Safari/WebKit",
                              "home/Library/Caches/com.apple.Maps",
                              "home/Library/Caches/com.apple.helpd",
                              "home/Library/Caches/JetBrains/IdeaIC",
                              "home/Library/Caches/Google/Chrome",
                              "home/Library/Logs/DiagnosticReports",
                              "home/Library/Mail/V10",
                              "home/Library/Messages",
                              "home/Library/Safari",
                              "home/Library/Developer/Xcode/DerivedData/Projekt-abc",
                              "home/Library/Developer/Xcode/iOS DeviceSupport/17.0",
                              "home/Library/Developer/CoreSimulator/Caches/dyld",
                              "home/Library/Application Support/Slack/app-4.1.0",
                              "home/Library/Application Support/Slack/app-4.2.0",
                              "home/Library/Application Support/Slack/Code Cache/js",
                              "home/Library/Application Support/Cursor/User/workspaceStorage/GPUCache",
                              "home/Library/Application Support/Claude/vm_bundles/vm1",
                              "home/Library/Application Support/AddressBook/Sources",
                              "home/.cache/pip/http",
                              "home/.cache/JetBrains",
                              "home/.npm/_cacache/index",
                              "home/.local/share/Trash/files/alt",
                              "home/.local/share/Trash/info",
                              "home/.local/share/Trash/expunged",
                              "home/.local/share/TRASH/files/eigene",
                              "home/.local/state",
                              "home/.local/bin",
                              "home/code/web/node_modules/react",
                              "home/code/web/.next",
                              "home/code/ohne/node_modules",
                              "home/code/rust/target/debug",
                              "home/code/java/target",
                              "home/code/ios/DerivedData",
                              "home/code/ios/App.xcodeproj",
                              "home/code/ios2/DerivedData",
                              "home/code/py/.venv",
                              "home/code/swift/.build",
                              "home/code/web/.git/objects",
                              "home/Pictures/Fotos.photoslibrary/originals",
                              "X/com.google.Chrome.code_sign_clone/kopie1",
                              "draussen/ordner"})
            t.ordner(d);
        for (const char* f : {"home/Documents/bericht.pdf",
                              "home/Library/Caches/com.example.app/cache.db",
                              "home/Library/Logs/app.log",
                              "home/Library/Mobile Documents/com~apple~CloudDocs/x.txt",
                              "home/Library/CloudStorage/Dropbox/a.txt",
                              "home/Library/Keychains/login.keychain-db",
                              "home/Library/Cookies/Cookies.binarycookies",
                              "home/Library/Application Support/Hainbrem/verlauf.json",
                              "home/Library/Application Support/Slack/Cache/data_0",
                              "home/Library/Application Support/Editor/settings.json",
                              "home/Library/Containers/com.example.notes/Data/Library/Caches/c.db",
                              "home/Library/Containers/com.example.notes/Data/Documents/note.txt",
                              "home/Library/Containers/com.apple.Notes/Data/Library/Caches/c.db",
                              "home/Library/Containers/com.apple.mail/Data/Library/Mail Downloads/anhang.pdf",
                              "home/Library/Group Containers/group.com.apple.notes/NoteStore.sqlite",
                              "home/Library/Preferences/com.example.app.plist",
                              "home/.Trash/alt.txt",
                              "home/.local/share/Trash/files/alt.txt",
                              "home/.local/share/Trash/info/alt.txt.trashinfo",
                              "home/.local/share/hainbrem/verlauf.json",
                              "home/.ssh/id_ed25519",
                              "home/code/web/package.json",
                              "home/code/web/notizen.txt",
                              "home/code/rust/Cargo.toml",
                              "home/code/java/pom.xml",
                              "home/code/py/setup.py",
                              "home/code/web/.git/HEAD",
                              "temp/sitzung/a.tmp",
                              "temp/fremd/b.tmp",
                              "draussen/datei.txt"})
            t.datei(f, 10);
        fs::create_directory_symlink(home / "Documents", home / "Library/Caches/com.example.app/verweis");
        fs::create_directory_symlink(t / "draussen", home / "nach-draussen");
        fs::create_directory_symlink(home / "Library/Caches/com.example.app", home / "zu-cache");
        fs::create_directory_symlink(home, t / "home-verweis");
        fs::create_directory_symlink(home / "Library/Caches", home / "code/caches-verweis");

        schreibeInfoPlist(programme / "Safari.app", "com.apple.Safari");
        schreibeInfoPlist(programme / "Foo.app", "com.example.foo");
        schreibeInfoPlist(programme / "Foo.app/Contents/Helpers/Bar.app", "com.example.foo.bar");
        schreibeInfoPlist(programme / "Foo.appx/Bar.app", "com.example.bar");
        schreibeInfoPlist(programme / "Hainbrem.app", std::string(SafetyGuard::standardKennung));
        schreibeInfoPlist(programme / "Google Chrome.app", "com.google.Chrome");
        schreibeInfoPlist(home / "Applications/Eigen.app", "com.example.eigen");
        schreibeInfoPlist(home / "Applications/Mail.app", "com.apple.mail");
        t.ordner("Applications/OhneListe.app/Contents");
        t.ordner(std::string(chromeVersionen) + "/120.0.1/Resources");
        t.ordner(std::string(chromeVersionen) + "/121.0.2/Resources");
        fs::create_directory_symlink("121.0.2", t / chromeVersionen / "Current");
    }

    // This world is a Mac's: the guard with the macOS profile.
    SafetyGuard waechter() const {
        return SafetyGuard(home, temp, programme, std::string(SafetyGuard::standardKennung), Katalogprofil::macos);
    }

    Testordner t;
    const fs::path home = t / "home";
    const fs::path temp = t / "temp";
    const fs::path programme = t / "Applications";
};

}  // namespace hainbrem::test
