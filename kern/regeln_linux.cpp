// The 21 cleanup rules on a Linux desktop: the same ids, order, groups, risks and symbols as on a
// Mac, but the places where Linux keeps the same kind of waste, and texts that are true there.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "kern/finder.hpp"
#include "kern/katalog.hpp"
#include "kern/namen.hpp"
#include "kern/regel_namen.hpp"
#include "kern/regel_werkzeug.hpp"
#include "kern/safetyguard.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::Katalog {

std::vector<Regel> baueRegeln();  // kern/regeln.cpp

namespace {

using namespace intern;

std::string klein(std::string_view s) {
    std::string r(s);
    for (char& c : r)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return r;
}

std::optional<std::string> besitzerOderKeiner(std::string_view besitzer) {
    if (besitzer.empty()) return std::nullopt;
    return std::string(besitzer);
}

// "org.gnome.Maps": an application id names a program, as a bundle id does on a Mac.
bool istAppKennung(std::string_view n) {
    size_t teile = 0;
    for (size_t anfang = 0; anfang <= n.size(); ++teile) {
        const size_t ende = std::min(n.find('.', anfang), n.size());
        if (ende == anfang) return false;
        anfang = ende + 1;
    }
    return teile >= 3 && n.front() >= 'a' && n.front() <= 'z';
}

// Who takes an entry of ~/.cache. One answer per name, so no two rules find the same place.
enum class CacheArt { browser, paket, playwright, huggingface, programm, werkzeug, keiner };

CacheArt cacheArt(const std::string& n) {
    if (RegelNamen::nachschlagen(RegelNamen::browserOrdnerLinux, n)) return CacheArt::browser;
    for (const auto& [pfad, _] : RegelNamen::paketSpeicherLinux)
        if (pfad == ".cache/" + n) return CacheArt::paket;
    if (n == "ms-playwright") return CacheArt::playwright;
    if (n == "huggingface") return CacheArt::huggingface;
    if (Namen::enthaelt(Namen::keinCache, klein(n))) return CacheArt::keiner;
    if (RegelNamen::nachschlagen(RegelNamen::programmCachesLinux, n) || istAppKennung(n)) return CacheArt::programm;
    return CacheArt::werkzeug;
}

// A log file by name, or a log folder that holds nothing but log files.
bool istReinesProtokoll(const fs::path& p) {
    if (!Namen::istProtokollName(name(p))) return false;
    if (istDatei(p)) return true;
    if (!istOrdner(p)) return false;
    const auto inhalt = kinder(p);
    return !inhalt.empty() && std::all_of(inhalt.begin(), inhalt.end(), [](const fs::path& e) {
        const std::string n = name(e);
        return istDatei(e) && (n.find(".log") != std::string::npos || n.ends_with(".txt"));
    });
}

// The log folders directly in a ~/.cache entry; the protocol rule takes them.
std::vector<fs::path> protokolleIn(const fs::path& eintrag) {
    std::vector<fs::path> liste;
    if (!istOrdner(eintrag)) return liste;
    for (const auto& e : kinder(eintrag))
        if (istOrdner(e) && istReinesProtokoll(e)) liste.push_back(e);
    return liste;
}

// A ~/.cache entry as the cache rules see it: the whole folder, or, when it holds logs (which
// the protocol rule takes), its other entries one by one.
std::vector<fs::path> ohneProtokolle(const fs::path& eintrag) {
    const auto protokolle = protokolleIn(eintrag);
    if (protokolle.empty()) return {eintrag};
    std::vector<fs::path> rest;
    for (const auto& e : kinder(eintrag))
        if (std::find(protokolle.begin(), protokolle.end(), e) == protokolle.end()) rest.push_back(e);
    return rest;
}

fs::path cache(const Umgebung& u) { return u.home / ".cache"; }

// 1
std::vector<Fund> findeProgrammCaches(const Umgebung& u) {
    std::vector<Fund> funde;
    for (const auto& e : kinder(cache(u))) {
        const std::string n = name(e);
        if (cacheArt(n) != CacheArt::programm) continue;
        const auto besitzer = RegelNamen::nachschlagen(RegelNamen::programmCachesLinux, n);
        for (const auto& teil : ohneProtokolle(e))
            funde.push_back(fund(teil, Entsorgung::loeschen, besitzer ? besitzerOderKeiner(*besitzer) : n, true));
    }
    return funde;
}

// Flatpak apps other than the browsers (those belong to the browser rule).
std::vector<fs::path> flatpaks(const Umgebung& u) {
    std::vector<fs::path> liste;
    for (const auto& app : kinder(u.home / ".var/app"))
        if (istOrdner(app) && !Namen::enthaelt(RegelNamen::browserFlatpaks, name(app))) liste.push_back(app);
    return liste;
}

// 2
std::vector<Fund> findeProgrammdatenCaches(const Umgebung& u) {
    std::vector<Fund> funde;
    for (const auto& oben : kinder(u.home / ".config")) {
        const std::string n = name(oben);
        if (RegelNamen::nachschlagen(RegelNamen::browserOrdnerLinux, n) || !istOrdner(oben)) continue;
        cacheOrdnerUnter(oben, RegelNamen::besitzerFuerLinux(n), funde);
    }
    for (const auto& app : flatpaks(u))
        for (const auto& oben : kinder(app / "config"))
            if (istOrdner(oben)) cacheOrdnerUnter(oben, name(app), funde);
    return funde;
}

// Every entry of a sandboxed program's cache folder, but what holds real data.
void sandboxCache(const fs::path& ordner, const std::string& besitzer, std::vector<Fund>& funde) {
    for (const auto& e : kinder(ordner))
        if (!Namen::enthaelt(Namen::keinCache, klein(name(e))))
            funde.push_back(fund(e, Entsorgung::loeschen, besitzer, true));
}

// 3
std::vector<Fund> findeSandboxCaches(const Umgebung& u) {
    std::vector<Fund> funde;
    for (const auto& app : flatpaks(u)) sandboxCache(app / "cache", name(app), funde);
    for (const auto& snap : kinder(u.home / "snap"))
        if (!Namen::enthaelt(RegelNamen::browserSnaps, name(snap))) sandboxCache(snap / "common/.cache", name(snap), funde);
    return funde;
}

// 4
std::vector<Fund> findeBrowser(const Umgebung& u) {
    std::vector<Fund> funde;
    for (const auto& e : kinder(cache(u)))
        if (const auto programm = RegelNamen::nachschlagen(RegelNamen::browserOrdnerLinux, name(e)))
            funde.push_back(fund(e, Entsorgung::loeschen, std::string(*programm), true));
    // the profiles' caches beside the settings (GPUCache, ShaderCache, CacheStorage …)
    for (const auto& e : kinder(u.home / ".config"))
        if (const auto programm = RegelNamen::nachschlagen(RegelNamen::browserOrdnerLinux, name(e)); programm && istOrdner(e))
            cacheOrdnerUnter(e, std::string(*programm), funde);
    for (std::string_view kennung : RegelNamen::browserFlatpaks) {
        const fs::path app = u.home / ".var/app" / kennung;
        sandboxCache(app / "cache", std::string(kennung), funde);
        for (const auto& oben : kinder(app / "config"))
            if (istOrdner(oben)) cacheOrdnerUnter(oben, std::string(kennung), funde);
    }
    for (std::string_view snap : RegelNamen::browserSnaps)
        sandboxCache(u.home / "snap" / snap / "common/.cache", std::string(snap), funde);
    return funde;
}

// Maven's repository without what was built here: a folder is taken whole when everything below
// it was downloaded, else its downloaded parts are looked for one level down. A version folder
// was downloaded when its _remote.repositories names a repository for every file.
bool versionHeruntergeladen(const fs::path& liste) {
    std::ifstream ein(liste);
    std::string zeile;
    bool etwas = false;
    while (std::getline(ein, zeile)) {
        if (zeile.empty() || zeile.front() == '#') continue;
        // "guava-32.0.jar>central=": the repository between ">" and "="; empty for "mvn install"
        const size_t pfeil = zeile.find('>'), gleich = zeile.rfind('=');
        if (pfeil == std::string::npos || gleich == std::string::npos || gleich <= pfeil + 1) return false;
        etwas = true;
    }
    return etwas;
}

bool heruntergeladen(const fs::path& ordner, std::vector<fs::path>& teile, int tiefe) {
    const auto eintraege = kinder(ordner);
    const fs::path liste = ordner / "_remote.repositories";
    if (gibtEs(liste)) return versionHeruntergeladen(liste);
    // deeper than any groupId/artifactId/version, or a local install's metadata: keep
    if (tiefe > 12 || gibtEs(ordner / "maven-metadata-local.xml")) return false;
    std::vector<fs::path> unterTeile;
    bool alles = true;
    for (const auto& e : eintraege) {
        if (!istOrdner(e)) {
            // what Maven writes beside the versions; anything else is not Maven's to redo
            const std::string n = name(e);
            if (!n.starts_with("maven-metadata") && !n.starts_with("resolver-status") && !n.ends_with(".lastUpdated"))
                alles = false;
            continue;
        }
        std::vector<fs::path> darunter;
        if (heruntergeladen(e, darunter, tiefe + 1)) {
            unterTeile.push_back(e);
        } else {
            alles = false;
            unterTeile.insert(unterTeile.end(), darunter.begin(), darunter.end());
        }
    }
    if (!alles || eintraege.empty()) {
        teile.insert(teile.end(), unterTeile.begin(), unterTeile.end());
        return false;
    }
    return true;
}

// 8
std::vector<Fund> findePaketmanager(const Umgebung& u) {
    std::vector<Fund> funde;
    for (const auto& [pfad, besitzer] : RegelNamen::paketSpeicherLinux) {
        const fs::path p = u.home / pfad;
        if (!gibtEs(p)) continue;
        if (pfad != ".m2/repository") {
            funde.push_back(fund(p, Entsorgung::loeschen, std::string(besitzer), true));
            continue;
        }
        std::vector<fs::path> teile;
        if (heruntergeladen(p, teile, 0)) teile = {p};
        for (const auto& t : teile) funde.push_back(fund(t, Entsorgung::loeschen, std::string(besitzer), true));
    }
    return funde;
}

// 10
std::vector<Fund> findePlaywright(const Umgebung& u) { return unveraenderteEintraege(kinder(cache(u) / "ms-playwright")); }

// 11
std::vector<Fund> findeWerkzeugCaches(const Umgebung& u) {
    std::vector<fs::path> eintraege;
    for (const auto& e : kinder(cache(u)))
        if (cacheArt(name(e)) == CacheArt::werkzeug)
            for (const auto& teil : ohneProtokolle(e)) eintraege.push_back(teil);
    return unveraenderteEintraege(eintraege);
}

// 14
std::vector<Fund> findeAppVersionen(const Umgebung& u) {
    std::vector<Fund> funde;
    for (std::string_view rel : Namen::linuxVersionsOrdner) {
        const fs::path ordner = u.home / rel;
        // without a known newest version nothing may go
        const auto neueste = SafetyGuard::neuesterOrdner(ordner);
        if (!neueste) continue;
        for (const auto& e : kinder(ordner))
            if (istOrdner(e) && name(e) != *neueste) funde.push_back(fund(e, Entsorgung::loeschen, std::nullopt, true));
    }
    return funde;
}

// 18
std::vector<Fund> findeProtokolle(const Umgebung& u) {
    std::vector<Fund> funde;
    for (const char* sitzung : {".xsession-errors", ".xsession-errors.old"})
        if (istDatei(u.home / sitzung)) funde.push_back(fund(u.home / sitzung, Entsorgung::loeschen, std::nullopt, true));
    for (const auto& programm : kinder(u.home / ".local/state"))
        for (const auto& e : kinder(programm))
            if (istReinesProtokoll(e))
                funde.push_back(fund(e, Entsorgung::loeschen, RegelNamen::besitzerFuerLinux(name(programm)), true));
    for (const auto& e : kinder(u.home / ".local/share/xorg"))
        if (istDatei(e) && Namen::istProtokollName(name(e))) funde.push_back(fund(e, Entsorgung::loeschen, "Xorg", true));
    for (const auto& e : kinder(cache(u))) {
        const CacheArt art = cacheArt(name(e));
        if (art != CacheArt::programm && art != CacheArt::werkzeug) continue;
        for (const auto& p : protokolleIn(e))
            funde.push_back(fund(p, Entsorgung::loeschen, RegelNamen::besitzerFuerLinux(name(e)), true));
    }
    // the shared crash folder: only the user's own reports
    const uid_t ich = ::geteuid();
    for (const auto& e : kinder(u.absturzOrdner)) {
        struct stat st;
        if (!name(e).ends_with(".crash") || ::lstat(e.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_uid != ich)
            continue;
        funde.push_back(fund(e, Entsorgung::loeschen, std::nullopt, true, datum(e)));
    }
    return funde;
}

// 21
std::vector<Fund> findeInstaller(const Umgebung& u) {
    std::vector<Fund> funde;
    const auto jetzt = std::chrono::system_clock::now();
    for (const auto& ordner : installerOrdner(u.home))
        for (const auto& e : kinder(ordner)) {
            if (!istLinuxInstaller(e)) continue;
            const auto d = datum(e);
            // an AppImage made executable may be the program itself, run from here
            struct stat st;
            const bool ausfuehrbar = klein(name(e)).ends_with(".appimage") && ::lstat(e.c_str(), &st) == 0 &&
                                     (st.st_mode & S_IXUSR) != 0;
            funde.push_back(
                fund(e, Entsorgung::papierkorb, std::nullopt, !ausfuehrbar && istAelterAls(d, eineWoche, jetzt), d));
        }
    return funde;
}

std::vector<Fund> nichts(const Umgebung&) { return {}; }

struct LinuxFassung {
    std::string_view id;
    std::string_view titel;  // empty: the Mac title is true here as well
    std::string_view was, warumSicher, danach;
    std::vector<Fund> (*finde)(const Umgebung&);
};

// Rules for Mac programs find nothing here; their texts say so.
constexpr std::string_view nurMac = " Das gibt es nur auf dem Mac, unter Linux findet diese Regel nichts.";

const std::vector<LinuxFassung>& linuxFassungen() {
    static const std::vector<LinuxFassung> tabelle{
        {"programm-caches", "",
         "Zwischenspeicher, die Programme im Ordner .cache anlegen, um schneller zu starten: Vorschaubilder, "
         "geladene Inhalte, Shader.",
         "Ein Cache ist per Definition eine Kopie. Das Original liegt woanders, im Netz oder im Programm selbst.",
         "Das Programm baut ihn beim nächsten Start neu auf, der erste Start dauert eventuell etwas länger. Läuft ein "
         "Programm gerade, bleibt sein Cache liegen. Hier stehen nur Ordner, die Hainbrem einem Programm zuordnen "
         "kann, den Rest zeigt „Weitere Werkzeug-Caches“.",
         findeProgrammCaches},
        {"programmdaten-caches", "",
         "Viele Programme auf Electron- oder Chromium-Basis (Discord, Slack, VS Code, Signal, Obsidian …) legen ihre "
         "Caches nicht in den Cache-Ordner, sondern zu ihren Einstellungen in .config: „Cache“, „Code Cache“, "
         "„GPUCache“.",
         "", "", findeProgrammdatenCaches},
        {"sandbox-caches", "Caches von Flatpak- und Snap-Programmen",
         "Flatpak- und Snap-Programme leben in einem eigenen Ordner (.var/app und snap). Ihre Caches liegen dort unter "
         "„cache“ und „common/.cache“.",
         "Nur der Cache-Ordner des Programms, nie seine Daten oder Einstellungen.",
         "Das Programm baut den Cache neu auf. Läuft es gerade, bleibt sein Cache liegen.", findeSandboxCaches},
        {"browser", "",
         "Gespeicherte Webseiten, Bilder und Skripte von Firefox, Chrome, Chromium, Brave, Vivaldi, Edge und Opera, "
         "auch als Flatpak oder Snap.",
         "", "", findeBrowser},
        {"xcode-derived", "", "", "", "", nichts},
        {"xcode-geraete", "", "", "", "", nichts},
        {"simulator-caches", "", "", "", "", nichts},
        {"paketmanager", "",
         "Heruntergeladene Pakete von npm, pnpm, Yarn, Bun, pip, uv, Cargo, Go, Gradle, Maven, Homebrew, node-gyp und "
         "TypeScript, für den Fall, dass du sie noch einmal installierst.",
         "Installierte Pakete in deinen Projekten bleiben, nur die Vorrats-Kopien gehen. Von Maven nur, was "
         "heruntergeladen wurde, nicht was du selbst installiert hast.",
         "", findePaketmanager},
        {"huggingface", "", "", "", "", findeHuggingface},
        {"playwright", "", "", "", "", findePlaywright},
        {"werkzeug-caches", "",
         "Programme und Kommandozeilen-Werkzeuge legen ihre Caches im versteckten Ordner .cache ab. Hier steht, was "
         "Hainbrem keinem Programm zuordnen kann.",
         "", "", findeWerkzeugCaches},
        {"chrome-klone", "", "", "", "", nichts},
        {"chrome-versionen", "", "", "", "", nichts},
        {"app-versionen", "Alte Versionen von VS Code Server & Co.",
         "Der Server von VS Code und ähnlichen Editoren (Cursor, Windsurf) lädt bei jedem Update eine neue Version "
         "herunter und lässt die alte liegen, je etwa 200 MB.",
         "Die neueste Version bleibt immer, nur ältere gehen.",
         "Nichts, der Editor verbindet sich mit der neuesten Version wie bisher. Nutzt eine Sitzung noch eine ältere, "
         "bleibt sie liegen.",
         findeAppVersionen},
        {"claude-vm", "", "", "", "", nichts},
        {"mail-anhaenge", "", "", "", "", nichts},
        {"ios-backups", "", "", "", "", nichts},
        {"protokolle", "",
         "Logdateien und Absturzberichte, die Programme für die Fehlersuche schreiben: die Fehlerausgabe der "
         "X-Sitzung, Protokolle in .local/state und .cache, deine Absturzberichte in /var/crash.",
         "", "", findeProtokolle},
        {"temporaer", "",
         "Wegwerf-Dateien von Programmen und Skripten im Temp-Ordner. Linux räumt ihn oft erst beim Neustart auf, und "
         "das passiert selten.",
         "Nur deine eigenen Dinge, die seit drei Tagen niemand verändert hat.", "", findeTemporaer},
        {"papierkorb", "", "", "", "", findePapierkorb},
        {"installer", "",
         "Heruntergeladene .deb-, .rpm-, .AppImage-, .flatpakref- und .run-Dateien und Archive bekannter Programme in "
         "Downloads und auf dem Schreibtisch. Hainbrem prüft jede Datei am Inhalt: Ein Spiel im Archiv ist kein "
         "Installer und bleibt.",
         "Nach der Installation braucht man sie nicht mehr. Sie gehen nur in den Papierkorb.",
         "Brauchst du eine wieder, lädst du sie neu herunter oder holst sie über den Verlauf zurück. Vorgewählt ist "
         "nur, was älter als eine Woche ist. Ein ausführbares AppImage ist vielleicht dein Programm und nie vorgewählt.",
         findeInstaller},
    };
    return tabelle;
}

}  // namespace

std::vector<Regel> baueLinuxRegeln() {
    std::vector<Regel> regeln = baueRegeln();
    for (Regel& r : regeln) {
        const auto& fassungen = linuxFassungen();
        const auto it = std::find_if(fassungen.begin(), fassungen.end(), [&](const auto& f) { return f.id == r.id; });
        if (it == fassungen.end()) {
            r.finde = nichts;  // a rule without Linux places finds nothing rather than Mac places
            continue;
        }
        if (!it->titel.empty()) r.titel = it->titel;
        if (!it->was.empty()) r.was = it->was;
        if (!it->warumSicher.empty()) r.warumSicher = it->warumSicher;
        if (!it->danach.empty()) r.danach = it->danach;
        if (it->finde == nichts) r.was += nurMac;
        r.finde = it->finde;
    }
    return regeln;
}

}  // namespace hainbrem::Katalog
