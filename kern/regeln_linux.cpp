// The 21 cleanup rules on a Linux desktop: the same ids, order, groups, risks and symbols as on a
// Mac, but the places where Linux keeps the same kind of waste, and texts that are true there.
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "basis/pfade.hpp"
#include "kern/erkennen.hpp"
#include "kern/finder.hpp"
#include "kern/groesse.hpp"
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
        return istDatei(e) && Namen::istProtokollDateiName(n);
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

// The folders a pattern of Namen's tables names ("*" is one whole name), in sorted order, links
// not followed.
std::vector<fs::path> nachMuster(const fs::path& home, std::string_view muster) {
    std::vector<fs::path> orte{home};
    for (size_t anfang = 0; anfang < muster.size() && !orte.empty();) {
        const size_t ende = std::min(muster.find('/', anfang), muster.size());
        const std::string teil(muster.substr(anfang, ende - anfang));
        anfang = ende + 1;
        std::vector<fs::path> weiter;
        for (const auto& o : orte) {
            if (teil.find_first_of("*?[") == std::string::npos) {
                weiter.push_back(o / teil);
                continue;
            }
            for (const auto& e : kinder(o))
                if (::fnmatch(teil.c_str(), name(e).c_str(), 0) == 0) weiter.push_back(e);
        }
        orte = std::move(weiter);
    }
    std::erase_if(orte, [](const fs::path& p) { return !istOrdner(p); });
    return orte;
}

// Who writes below a place in home: a browser or program in .config, Firefox, a Flatpak app,
// a snap.
std::optional<std::string> besitzerVon(const fs::path& home, const fs::path& ort) {
    const fs::path rel = ort.lexically_relative(home);
    auto teil = rel.begin();
    if (teil == rel.end()) return std::nullopt;
    const std::string erster = *teil++;
    const std::string zweiter = teil != rel.end() ? teil->native() : std::string();
    if (erster == ".config" && !zweiter.empty()) {
        if (const auto browser = RegelNamen::nachschlagen(RegelNamen::browserOrdnerLinux, zweiter))
            return std::string(*browser);
        return RegelNamen::besitzerFuerLinux(zweiter);
    }
    if (erster == ".mozilla") return "firefox";
    if (erster == ".var" && zweiter == "app" && ++teil != rel.end()) return teil->native();
    if (erster == "snap" && !zweiter.empty()) return zweiter;
    return std::nullopt;
}

// "appmanifest_<id>.acf" beside the shader caches names the game: "name"  "Counter-Strike 2".
std::optional<std::string> steamSpiel(const fs::path& steamapps, const std::string& nummer) {
    std::ifstream ein(steamapps / ("appmanifest_" + nummer + ".acf"));
    std::string zeile;
    for (int zeilen = 0; zeilen < 64 && std::getline(ein, zeile); ++zeilen) {
        const size_t schluessel = zeile.find("\"name\"");
        if (schluessel == std::string::npos) continue;
        const size_t auf = zeile.find('"', schluessel + 6),
                     zu = auf == std::string::npos ? auf : zeile.find('"', auf + 1);
        if (zu == std::string::npos || zu == auf + 1) return std::nullopt;
        return zeile.substr(auf + 1, zu - auf - 1);
    }
    return std::nullopt;
}

// Each game's compiled shaders, once even when two of Steam's folders are one (~/.steam/steam
// is often a link to ~/.local/share/Steam).
void steamShader(const Umgebung& u, std::vector<Fund>& funde) {
    std::vector<std::pair<dev_t, ino_t>> gesehen;
    for (std::string_view rel : Namen::steamShaderOrdner) {
        const fs::path ordner = u.home / rel;
        struct stat st;
        if (::stat(ordner.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) continue;
        if (std::find(gesehen.begin(), gesehen.end(), std::pair(st.st_dev, st.st_ino)) != gesehen.end()) continue;
        gesehen.emplace_back(st.st_dev, st.st_ino);
        const std::string besitzer =
            rel.starts_with(".var/app/") ? std::string(besitzerVon(u.home, ordner).value_or("steam")) : "steam";
        for (const auto& spiel : kinder(ordner))
            if (istOrdner(spiel))
                funde.push_back(fund(spiel, Entsorgung::loeschen, besitzer, true, std::nullopt,
                                     steamSpiel(ordner.parent_path(), name(spiel))));
    }
}

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
    // where older desktops keep thumbnails, and Steam's shaders
    if (istOrdner(u.home / ".thumbnails"))
        funde.push_back(fund(u.home / ".thumbnails", Entsorgung::loeschen, std::nullopt, true));
    steamShader(u, funde);
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
        // a store the guard knows by a file in it (conda's) is none without that file
        const auto wurzel = std::find_if(Namen::linuxLoeschWurzeln.begin(), Namen::linuxLoeschWurzeln.end(),
                                         [&](const Namen::Wurzel& w) { return w.muster == pfad; });
        if (wurzel != Namen::linuxLoeschWurzeln.end() && !wurzel->marker.empty() && !istDatei(p / wurzel->marker))
            continue;
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

// Core dumps where programs leave them (Namen::kernAbbildTiefe): in the home folder and in the
// projects of the code folders. One found minutes ago may be under examination: ticked after
// three days.
void kernAbbilder(const Umgebung& u, std::vector<Fund>& funde) {
    const auto jetzt = std::chrono::system_clock::now();
    const auto nimm = [&](const fs::path& p) {
        if (!Namen::istKernAbbildName(name(p)) || !Erkennen::istKernAbbild(p)) return;
        const auto d = datum(p);
        funde.push_back(fund(p, Entsorgung::loeschen, std::nullopt, istAelterAls(d, dreiTage, jetzt), d));
    };
    for (const auto& e : kinder(u.home)) nimm(e);
    for (const auto& code : kinder(u.home)) {
        const std::string n = name(code);
        if (!istOrdner(code) || std::none_of(Namen::codeOrdnerLinux.begin(), Namen::codeOrdnerLinux.end(),
                                             [&](std::string_view c) { return gleichOhneFall(n, c); }))
            continue;
        size_t gesehen = 0;
        std::vector<fs::path> gefunden;
        Groesse::durchlaufe(code, [&](const Groesse::Eintrag& e) {
            if (++gesehen > hoechstensEintraege) return Groesse::Weiter::abbrechen;
            if (e.ebene == 0) return Groesse::Weiter::ja;
            const std::string_view name = e.name;
            if (e.art == Groesse::EintragArt::ordnerAnfang)
                return e.ebene >= Namen::kernAbbildTiefe || name.starts_with('.') || name == "node_modules"
                           ? Groesse::Weiter::ueberspringen
                           : Groesse::Weiter::ja;
            if (e.art == Groesse::EintragArt::datei && Namen::istKernAbbildName(name)) gefunden.emplace_back(e.pfad);
            return Groesse::Weiter::ja;
        });
        std::sort(gefunden.begin(), gefunden.end());
        for (const auto& p : gefunden) nimm(p);
    }
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
    // Electron programs' log folders beside their settings, npm's, and the editor servers' sessions
    for (const auto& programm : kinder(u.home / ".config"))
        if (istOrdner(programm) && Erkennen::istProtokollBaum(programm / "logs"))
            funde.push_back(fund(programm / "logs", Entsorgung::loeschen, besitzerVon(u.home, programm), true));
    if (istOrdner(u.home / ".npm/_logs"))
        funde.push_back(fund(u.home / ".npm/_logs", Entsorgung::loeschen, "npm", true));
    // one finding per session: the open-files check then holds back only the running one
    for (std::string_view ordner : Namen::serverProtokollOrdner)
        for (const auto& sitzung : kinder(u.home / ordner))
            funde.push_back(fund(sitzung, Entsorgung::loeschen, std::nullopt, true, datum(sitzung)));
    for (std::string_view muster : Namen::browserAbsturzOrdner)
        for (const auto& ordner : nachMuster(u.home, muster))
            funde.push_back(fund(ordner, Entsorgung::loeschen, besitzerVon(u.home, ordner), true));
    kernAbbilder(u, funde);
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
         "Zwischenspeicher, die Programme anlegen, um schneller zu starten: Vorschaubilder (in .cache und im "
         "älteren .thumbnails), geladene Inhalte, Shader, auch die, die Steam für jedes Spiel übersetzt.",
         "Ein Cache ist per Definition eine Kopie. Das Original liegt woanders, im Netz oder im Programm selbst.",
         "Das Programm baut ihn beim nächsten Start neu auf, der erste Start dauert eventuell etwas länger. Läuft ein "
         "Programm gerade, bleibt sein Cache liegen. Steam lädt oder übersetzt die Shader eines Spiels beim nächsten "
         "Start neu. Hier stehen nur Ordner, die Hainbrem einem Programm zuordnen kann, den Rest zeigt „Weitere "
         "Werkzeug-Caches“.",
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
         "Heruntergeladene Pakete von npm, pnpm, Yarn, Bun, pip, uv, conda, Cargo, rustup, Go, Gradle, Maven, Ivy, "
         "Homebrew, node-gyp und TypeScript, für den Fall, dass du sie noch einmal installierst, dazu Cargos "
         "entpackte Quellen und die Gradle-Versionen des Gradle-Wrappers.",
         "Installierte Pakete in deinen Projekten und Umgebungen bleiben, nur die Vorrats-Kopien gehen. Von rustup "
         "nur die Downloads, nie die installierten Toolchains; von Maven nur, was heruntergeladen wurde, nicht was du "
         "selbst installiert hast.",
         "Die nächste Installation oder der nächste Build lädt die Pakete neu aus dem Netz oder entpackt sie neu. "
         "uv, pnpm und conda verknüpfen Pakete per Hardlink mit deinen Projekten und Umgebungen, dann wird weniger "
         "frei, als hier steht. Hainbrem misst den echten Gewinn danach nach.",
         findePaketmanager},
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
         "X-Sitzung, Protokolle in .local/state, .cache und .config (VS Code, Slack …), die von npm und vom Server "
         "von VS Code, die Absturzberichte der Browser, Speicherabbilder (core) deiner Programme im Home-Ordner und "
         "in deinen Code-Ordnern, deine Absturzberichte in /var/crash.",
         "",
         "Programme schreiben neue Protokolle. Alte Absturzberichte und Speicherabbilder sind dann weg. Ein "
         "Speicherabbild ist erst nach drei Tagen vorgewählt, falls du es gerade untersuchst.",
         findeProtokolle},
        {"temporaer", "",
         "Wegwerf-Dateien von Programmen und Skripten im Temp-Ordner. Linux räumt ihn oft erst beim Neustart auf, und "
         "das passiert selten.",
         "Nur deine eigenen Dinge, die seit drei Tagen niemand verändert hat.", "", findeTemporaer},
        {"papierkorb", "", "", "", "", findePapierkorb},
        {"installer", "",
         "Heruntergeladene .deb-, .rpm-, .AppImage-, .flatpakref- und .run-Dateien, Abbilder (.iso) und Archive "
         "bekannter Programme in Downloads und auf dem Schreibtisch. Hainbrem prüft jede Datei am Inhalt: Ein Spiel "
         "im Archiv ist kein Installer und bleibt, eine .iso ohne Abbild darin auch.",
         "Nach der Installation braucht man sie nicht mehr. Sie gehen nur in den Papierkorb.",
         "Brauchst du eine wieder, lädst du sie neu herunter oder holst sie über den Verlauf zurück. Vorgewählt ist "
         "nur, was älter als eine Woche ist. Ein ausführbares AppImage ist vielleicht dein Programm und nie "
         "vorgewählt.",
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
            r.nurAufDemMac = true;
            continue;
        }
        if (!it->titel.empty()) r.titel = it->titel;
        if (!it->was.empty()) r.was = it->was;
        if (!it->warumSicher.empty()) r.warumSicher = it->warumSicher;
        if (!it->danach.empty()) r.danach = it->danach;
        if (it->finde == nichts) {
            r.was += nurMac;
            r.nurAufDemMac = true;
        }
        r.finde = it->finde;
    }
    return regeln;
}

}  // namespace hainbrem::Katalog
