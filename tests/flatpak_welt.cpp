#include "flatpak_welt.hpp"

#include <unistd.h>

#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>

namespace hainbrem::test {

namespace {

std::string zitiert(const fs::path& p) { return "'" + p.native() + "'"; }

// The environment of one world: its own home, XDG folders, system installation and configuration.
std::string umgebungFuer(const fs::path& wurzel, const fs::path& home, const fs::path& system) {
    return "env -u DBUS_SESSION_BUS_ADDRESS -u FLATPAK_USER_DIR HOME=" + zitiert(home) +
           " XDG_DATA_HOME=" + zitiert(home / ".local/share") + " XDG_CONFIG_HOME=" + zitiert(home / ".config") +
           " XDG_CACHE_HOME=" + zitiert(home / ".cache") + " FLATPAK_SYSTEM_DIR=" + zitiert(system) +
           " FLATPAK_CONFIG_DIR=" + zitiert(wurzel / "etc") + " ";
}

// The repository, built once per test program; removed with the program's static objects.
struct Repo {
    Testordner ordner;
    fs::path pfad;
    std::string fehler;

    Repo() : pfad(ordner / "repo") {
        const fs::path home = ordner / "bau/home", system = ordner / "bau/system";
        fs::create_directories(home);
        fs::create_directories(ordner / "etc");
        const std::string env = umgebungFuer(ordner.pfad(), home, system);
        const auto lauf = [&](const std::string& befehl) {
            if (!fehler.empty()) return;
            int status = -1;
            const std::string aus = laufe(env + befehl + " 2>&1", &status);
            if (status != 0) fehler = befehl + ":\n" + aus;
        };
        // runtimes made by hand: a metadata file and a files folder are all a runtime is
        const auto laufzeit = [&](const std::string& id, const std::string& extra) {
            const fs::path d = ordner / ("bau/" + id);
            schreibe(d / "metadata", "[Runtime]\nname=" + id + "\nruntime=" + id + "/" + arch() + "/1\nsdk=" + id + "/" +
                                         arch() + "/1\n" + extra);
            // build-export takes a runtime's files from usr/, next to an initialised files/
            fs::create_directories(d / "files");
            schreibe(d / "usr/lib/leer.txt", std::string(20'000, 'r'));
            lauf("flatpak build-export --runtime " + zitiert(pfad) + " " + zitiert(d) + " 1");
        };
        laufzeit(laufzeitID, "\n[Extension org.hainbrem.Test.Platform.GL]\ndirectory=lib/GL\nversion=1\n"
                             "subdirectories=true\n");
        laufzeit(glID, "\n[ExtensionOf]\nref=runtime/" + std::string(laufzeitID) + "/" + arch() + "/1\n");
        laufzeit(altID, "");
        lauf("flatpak remote-add --user --no-gpg-verify bau file://" + pfad.native());
        for (const char* id : {laufzeitID, altID})
            lauf("flatpak install --user -y --noninteractive --no-related bau runtime/" + std::string(id) + "/" + arch() +
                 "/1");
        for (const auto& a : flatpakApps()) {
            const fs::path d = ordner / ("bau/" + std::string(a.id));
            const std::string rt = std::string(a.id) == altesID ? altID : laufzeitID;
            lauf("flatpak build-init " + zitiert(d) + " " + a.id + " " + rt + " " + rt + " 1");
            if (!fehler.empty()) break;
            schreibe(d / "files/bin" / a.befehl, "#!/bin/sh\necho hallo\n");
            fs::permissions(d / "files/bin" / a.befehl, fs::perms::owner_exec, fs::perm_options::add);
            schreibe(d / "files/share/daten.bin", std::string(a.bytes, 'd'));
            schreibe(d / "files/share/applications" / (std::string(a.id) + ".desktop"),
                     "[Desktop Entry]\nType=Application\nName=" + std::string(a.name) + "\nExec=" + a.befehl +
                         "\nIcon=" + a.id + "\n");
            if (*a.version)
                schreibe(d / "files/share/metainfo" / (std::string(a.id) + ".metainfo.xml"),
                         "<?xml version=\"1.0\"?>\n<component type=\"desktop-application\">\n  <id>" + std::string(a.id) +
                             "</id>\n  <releases>\n    <release version=\"" + a.version +
                             "\" date=\"2024-05-01\"/>\n    <release version=\"0.9\" date=\"2023-01-01\"/>\n"
                             "  </releases>\n</component>\n");
            lauf("flatpak build-finish " + zitiert(d) + " --command=" + a.befehl);
            lauf("flatpak build-export " + zitiert(pfad) + " " + zitiert(d) + " stable");
        }
    }

    static const std::string& arch() {
        static const std::string a = [] {
            std::string s = laufe("flatpak --default-arch 2>/dev/null");
            while (!s.empty() && (s.back() == '\n' || s.back() == ' ')) s.pop_back();
            return s;
        }();
        return a;
    }
};

Repo& repo() {
    static std::once_flag einmal;
    static std::unique_ptr<Repo> r;
    std::call_once(einmal, [] { r = std::make_unique<Repo>(); });
    return *r;
}

}  // namespace

const std::vector<FlatpakApp>& flatpakApps() {
    static const std::vector<FlatpakApp> apps{
        {"org.hainbrem.Test.Editor", "Texteditor", "3.1.4", "editor", 300'000},
        {"io.github.hainbrem.Spiel", "Kleines Spiel", "", "spiel", 100'000},
        {"org.hainbrem.Test.Werkzeug", "Systemwerkzeug", "1.0", "werkzeug", 50'000},
        {altesID, "Altes Programm", "", "altes", 10'000},
    };
    return apps;
}

bool FlatpakWelt::verfuegbar() { return ::access("/usr/bin/flatpak", X_OK) == 0; }

FlatpakWelt::FlatpakWelt(const Testordner& t)
    : wurzel_(t / "flatpak"), home_(t / "home"), system_(t / "flatpak/system") {
    fs::create_directories(home_);
    fs::create_directories(wurzel_ / "etc");
    if (!repo().fehler.empty()) {
        meldung = repo().fehler;
        return;
    }
    for (const char* art : {"--user", "--system"}) {
        int status = -1;
        const std::string aus =
            flatpak(std::string("remote-add ") + art + " --no-gpg-verify test file://" + repo().pfad.native(), &status);
        if (status != 0) meldung += aus;
    }
}

fs::path FlatpakWelt::bereitstellung(std::string_view id, bool system) const {
    return (system ? system_ : nutzer()) / "app" / id / Repo::arch() / "stable";
}

bool FlatpakWelt::installiere(const std::vector<std::string>& refs, bool system) {
    std::string liste;
    for (const auto& r : refs) liste += " " + r;
    int status = -1;
    const std::string aus =
        flatpak(std::string("install ") + (system ? "--system" : "--user") + " -y --noninteractive test" + liste, &status);
    if (status != 0) meldung += aus;
    return status == 0;
}

std::string FlatpakWelt::flatpak(const std::string& argumente, int* status) const {
    return laufe(umgebung() + "flatpak " + argumente + " </dev/null 2>&1", status);
}

std::vector<std::string> FlatpakWelt::liste() const {
    std::vector<std::string> aus;
    std::istringstream zeilen(flatpak("list --app --columns=application,installation"));
    for (std::string z; std::getline(zeilen, z);) {
        if (const size_t tab = z.find('\t'); tab != std::string::npos) z[tab] = ' ';
        if (!z.empty()) aus.push_back(z);
    }
    return aus;
}

std::string FlatpakWelt::umgebung() const { return umgebungFuer(wurzel_, home_, system_); }

}  // namespace hainbrem::test
