// Programs of a Linux desktop: Flatpak apps of every installation, snaps, and AppImages where
// users keep them, with what they leave in the XDG folders, ~/.var/app and ~/snap; and the
// leftovers of such programs that are gone.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include "basis/pfade.hpp"
#include "kern/laufend.hpp"
#include "kern/offene_dateien.hpp"
#include "kern/paketsysteme.hpp"
#include "kern/programme.hpp"
#include "kern/programme_teile.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/safetyguard.hpp"
#include "kern/schluesseldatei.hpp"
#include "kern/zeilen.hpp"
#include "plattform/programme.hpp"

namespace hainbrem::Programme {

using namespace teile;

namespace {

// Names in the XDG folders that belong to the desktop itself, never to one program.
constexpr std::array<std::string_view, 31> xdgEigene{
    "applications", "icons",      "mime",     "fonts",         "trash",       "flatpak",
    "snap",         "autostart",  "systemd",  "dconf",         "keyrings",    "gtk-2.0",
    "gtk-3.0",      "gtk-4.0",    "fontconfig", "menus",       "desktop-directories", "sounds",
    "themes",       "backgrounds", "pixmaps", "recently-used.xbel", "user-places.xbel", "user-dirs.dirs",
    "user-dirs.locale", "mimeapps.list", "containers", "docker", "thumbnails", "hainbrem", "hainbrem.de"};

// Snap types that are no programs: bases, the system's own snaps.
constexpr std::array<std::string_view, 6> snapOhneProgramm{"base", "os", "core", "snapd", "gadget", "kernel"};

bool istOrdner(const fs::path& p) {
    struct stat st {};
    return ::lstat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool istDatei(const fs::path& p) {
    struct stat st {};
    return ::lstat(p.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool vorhanden(const fs::path& p) {
    struct stat st {};
    return ::lstat(p.c_str(), &st) == 0;
}

// A folder that exists but cannot be listed: who is installed there is unknown.
bool unlesbar(const fs::path& p) {
    struct stat st {};
    return ::stat(p.c_str(), &st) == 0 && ::access(p.c_str(), R_OK | X_OK) != 0;
}

// "md.obsidian.Obsidian": a name that reads like a reverse-domain id.
bool siehtAusWieKennung(std::string_view n) {
    const std::string k = klein(n);
    const size_t punkt = k.find('.');
    return punkt != std::string::npos && k.find('.', punkt + 1) != std::string::npos &&
           Namen::enthaelt(tlds, std::string_view(k).substr(0, punkt));
}

// One desktop entry of the user (~/.local/share/applications).
struct DesktopEintrag {
    fs::path datei;
    std::string stamm;  // file name without ".desktop"
    std::string programm;  // what Exec starts, else TryExec
    std::string symbol;    // Icon
    std::string name, version;
    bool vonAppImage = false;  // written by an AppImage integration tool
};

std::vector<DesktopEintrag> desktopEintraege(const fs::path& ordner) {
    std::vector<DesktopEintrag> aus;
    for (const auto& e : eintraege(ordner)) {
        if (!e.ends_with(".desktop")) continue;
        const fs::path datei = ordner / e;
        const auto text = plattform::kleineDatei(datei, 256 << 10);
        if (!text) continue;
        const auto d = Schluesseldatei::aus(*text);
        DesktopEintrag de;
        de.datei = datei;
        de.stamm = e.substr(0, e.size() - 8);
        de.programm = execProgramm(d.wert("Desktop Entry", "Exec").value_or(""));
        if (de.programm.empty() || de.programm.front() != '/')
            if (auto t = d.wert("Desktop Entry", "TryExec"); t && t->starts_with("/")) de.programm = *t;
        de.symbol = d.wert("Desktop Entry", "Icon").value_or("");
        de.name = d.lokalisiert("Desktop Entry", "Name").value_or("");
        de.version = d.wert("Desktop Entry", "X-AppImage-Version").value_or("");
        de.vonAppImage = e.starts_with("appimagekit_") || d.hatSchluesselMit("Desktop Entry", "X-AppImage");
        aus.push_back(std::move(de));
    }
    return aus;
}

// The user's icons by name (without extension): <data>/icons/<theme>/<size>/<context>/<name>.<ext>
// and <data>/icons/<name>.<ext>.
std::map<std::string, std::vector<fs::path>> symbolVerzeichnis(const fs::path& daten) {
    std::map<std::string, std::vector<fs::path>> aus;
    const auto nimm = [&](const fs::path& ordner) {
        for (const auto& e : eintraege(ordner)) {
            const fs::path p = ordner / e;
            const std::string ext = p.extension().native();
            if ((ext == ".png" || ext == ".svg" || ext == ".svgz" || ext == ".xpm") && istDatei(p))
                aus[p.stem().native()].push_back(p);
        }
    };
    const fs::path icons = daten / "icons";
    nimm(icons);
    for (const auto& thema : eintraege(icons))
        for (const auto& groesse : eintraege(icons / thema))
            for (const auto& zusammenhang : eintraege(icons / thema / groesse)) nimm(icons / thema / groesse / zusammenhang);
    return aus;
}

// The icon files of a desktop entry, when no other entry of the user uses the same icon.
std::vector<fs::path> symboleVon(const DesktopEintrag& d, const std::vector<DesktopEintrag>& alle,
                                 const std::map<std::string, std::vector<fs::path>>& verzeichnis,
                                 const fs::path& home) {
    if (d.symbol.empty()) return {};
    for (const auto& a : alle)
        if (&a != &d && a.symbol == d.symbol) return {};
    if (d.symbol.front() == '/') {
        if (liegtIn(fs::path(d.symbol).lexically_normal().native(), home.native()) && istDatei(d.symbol))
            return {fs::path(d.symbol)};
        return {};
    }
    const auto it = verzeichnis.find(d.symbol);
    return it == verzeichnis.end() ? std::vector<fs::path>{} : it->second;
}

// A folder searched for leftovers, listed once for all programs.
struct XdgOrdner {
    fs::path pfad;
    bool persoenlich;
    std::vector<std::string> eintraege;
};

std::vector<XdgOrdner> xdgOrdner(const Umgebung& umgebung) {
    std::vector<XdgOrdner> aus;
    const fs::path daten = plattform::datenOrdner(umgebung.home);
    for (const auto& r : linuxResteOrdner) {
        const fs::path p = r.pfad == ".local/share" ? daten : umgebung.home / r.pfad;
        aus.push_back({p, r.persoenlich, eintraege(p)});
    }
    return aus;
}

// What a program is listed with before it is measured.
struct Kandidat {
    Programm p;
    bool messen = true;            // a snap's size comes from its file, not from what is mounted
    std::vector<Fund> integration;  // an AppImage's desktop entries and icons
};

std::string besitzerVon(const Programm& p) {
    return p.herkunft == Herkunft::appImage || p.bundleID.empty() ? p.name : p.bundleID;
}

Kandidat flatpakLesen(const plattform::FlatpakRef& r, const Paketsysteme::FlatpakInstallation& inst,
                      const fs::path& home) {
    Kandidat k;
    Programm& p = k.p;
    p.url = r.pfad;
    p.bundleID = r.id;
    p.herkunft = Herkunft::flatpak;
    p.installation = inst.name;
    p.zweig = r.zweig;
    std::string befehl;
    if (const auto text = plattform::kleineDatei(r.aktiv / "metadata")) {
        const auto m = Schluesseldatei::aus(*text);
        p.laufzeit = m.wert("Application", "runtime").value_or("");
        befehl = m.wert("Application", "command").value_or("");
    }
    if (const auto text = plattform::kleineDatei(r.aktiv / "export/share/applications" / (r.id + ".desktop")))
        p.name = Schluesseldatei::aus(*text).lokalisiert("Desktop Entry", "Name").value_or("");
    if (p.name.empty()) p.name = vermuteterName(r.id);
    for (const std::string& rel : {"files/share/metainfo/" + r.id + ".metainfo.xml",
                                   "files/share/metainfo/" + r.id + ".appdata.xml",
                                   "files/share/appdata/" + r.id + ".appdata.xml"})
        if (const auto xml = plattform::kleineDatei(r.aktiv / rel, 4 << 20)) {
            p.version = metainfoVersion(*xml);
            break;
        }
    // the program's own file was read when it last started (inside the sandbox it is /app/…)
    if (befehl.starts_with("/app/")) p.zuletztBenutzt = plattform::letzterZugriff(r.aktiv / "files" / befehl.substr(5));
    else if (!befehl.empty() && befehl.find('/') == std::string::npos)
        p.zuletztBenutzt = plattform::letzterZugriff(r.aktiv / "files/bin" / befehl);
    // a system installation needs root: without it, the command to type
    if (inst.system && !plattform::hatSystemrechte())
        if (const auto d = Paketsysteme::deinstallation(r.pfad, home)) p.befehl = d->anzeige;
    return k;
}

std::optional<Kandidat> snapLesen(const plattform::SnapEintrag& s, const Paketorte& orte, const fs::path& home) {
    if (s.aktuell.empty()) return std::nullopt;
    const fs::path rev = orte.snapWurzel / s.name / s.aktuell;
    const auto yaml = plattform::kleineDatei(rev / "meta/snap.yaml");
    if (!yaml) return std::nullopt;
    if (Namen::enthaelt(snapOhneProgramm, snapFeld(*yaml, "type"))) return std::nullopt;
    Kandidat k;
    k.messen = false;
    Programm& p = k.p;
    p.url = orte.snapWurzel / s.name;
    p.bundleID = s.name;
    p.herkunft = Herkunft::snap;
    p.zweig = s.aktuell;
    p.version = snapFeld(*yaml, "version");
    for (const auto& e : eintraege(rev / "meta/gui"))
        if (e.ends_with(".desktop"))
            if (const auto text = plattform::kleineDatei(rev / "meta/gui" / e)) {
                p.name = Schluesseldatei::aus(*text).lokalisiert("Desktop Entry", "Name").value_or("");
                if (!p.name.empty()) break;
            }
    if (p.name.empty()) p.name = snapFeld(*yaml, "title");
    if (p.name.empty()) p.name = s.name;
    p.bytes = Groesse::belegt(orte.snapDateien / (s.name + "_" + s.aktuell + ".snap"));
    // snapd changes nothing for a user without root; a snap folder Hainbrem does not know it never removes
    const auto d = Paketsysteme::deinstallation(p.url, home);
    if (!d || !plattform::hatSystemrechte()) p.befehl = "sudo snap remove " + s.name;
    return k;
}

using Symbole = std::map<std::string, std::vector<fs::path>>;

// `daten`: the user's data folder, whose desktop entries and icons are read only when an AppImage
// is there.
std::vector<Kandidat> appImagesLesen(const std::vector<fs::path>& ordner, const fs::path& daten, const fs::path& home) {
    std::vector<Kandidat> aus;
    std::set<std::string> gesehen;
    std::optional<std::vector<DesktopEintrag>> desktop;
    std::optional<Symbole> symbole;
    for (const auto& o : ordner)
        for (const auto& e : eintraege(o)) {
            const fs::path datei = o / e;
            if (!istDatei(datei) || !istAppImage(plattform::dateiAnfang(datei, 11))) continue;
            if (!gesehen.insert(datei.lexically_normal().native()).second) continue;
            Kandidat k;
            Programm& p = k.p;
            p.url = datei;
            p.herkunft = Herkunft::appImage;
            auto [name, version] = appImageName(e);
            p.zuletztBenutzt = plattform::letzterZugriff(datei);
            if (!desktop) desktop = desktopEintraege(daten / "applications");
            for (const auto& d : *desktop) {
                if (d.programm != datei.native() && d.programm != datei.lexically_normal().native()) continue;
                if (p.name.empty()) p.name = d.name;
                if (p.version.empty()) p.version = d.version;
                if (p.bundleID.empty() && siehtAusWieKennung(d.stamm)) p.bundleID = d.stamm;
                k.integration.push_back(rest(d.datei, "", true, "Startmenü-Eintrag"));
                if (!symbole) symbole = symbolVerzeichnis(daten);
                for (const auto& s : symboleVon(d, *desktop, *symbole, home))
                    k.integration.push_back(rest(s, "", true, "Symbol"));
            }
            if (p.name.empty()) p.name = name;
            if (p.version.empty()) p.version = version;
            for (auto& f : k.integration) f.besitzer = besitzerVon(p);
            aus.push_back(std::move(k));
        }
    return aus;
}

// The leftovers of one program, not yet measured. `andere`: ids and names of every other program
// (lower case); `geteilt`: another installation holds the same app, so its data stays in use.
std::vector<Fund> linuxReste(const Kandidat& k, const std::vector<XdgOrdner>& xdg, const std::set<std::string>& andereIDs,
                             const std::set<std::string>& andereNamen, bool geteilt, const Umgebung& umgebung,
                             const Paketorte& orte) {
    const Programm& p = k.p;
    const std::string besitzer = besitzerVon(p);
    const std::string id = klein(p.bundleID), name = klein(p.name);
    // a name matches only when no other program claims it, not even one the system installed
    const auto frei = [&](const std::string& n) {
        return n.size() >= 3 && !Namen::enthaelt(xdgEigene, n) && !andereNamen.contains(n) && !andereIDs.contains(n) &&
               !plattform::systemKenntProgramm(n);
    };
    const bool nameFrei = frei(name);
    // a snap's name is its id: a plain word, so it matches only where a name may
    const bool idFrei = !id.empty() && (id.find('.') != std::string::npos || frei(id));
    std::vector<Fund> funde = k.integration;
    for (const auto& o : xdg)
        for (const auto& e : o.eintraege) {
            const std::string n = klein(e);
            if (Namen::enthaelt(xdgEigene, n)) continue;
            bool treffer = idFrei && gehoertZu(n, id);
            // org.example.App.Plugin is the other program's, when one has that id
            if (treffer)
                for (const auto& a : andereIDs)
                    if (a.size() > id.size() && gehoertZu(a, id) && gehoertZu(n, a)) treffer = false;
            if (!treffer && nameFrei && n == name) treffer = true;
            if (treffer) funde.push_back(rest(o.pfad / e, besitzer, !o.persoenlich && !geteilt));
        }
    if (p.herkunft == Herkunft::flatpak) {
        // the sandbox's home: its cache regrows, its data and settings are personal
        const fs::path sandbox = umgebung.home / ".var/app" / p.bundleID;
        if (istOrdner(sandbox))
            for (const auto& e : eintraege(sandbox)) {
                std::optional<std::string> titel;
                if (e == "cache") titel = "Cache";
                else if (e == "config") titel = "Einstellungen";
                else if (e == "data") titel = "Daten";
                funde.push_back(rest(sandbox / e, besitzer, e == "cache" && !geteilt, std::move(titel)));
            }
        const fs::path ueberschreibung = orte.flatpakNutzer / "overrides" / p.bundleID;
        if (istDatei(ueberschreibung)) funde.push_back(rest(ueberschreibung, besitzer, !geteilt, "Flatpak-Rechte"));
    }
    if (p.herkunft == Herkunft::snap) {
        const fs::path daten = umgebung.home / "snap" / p.bundleID;
        if (istOrdner(daten)) funde.push_back(rest(daten, besitzer, false));
    }
    return funde;
}

SafetyGuard linuxWaechter(const Umgebung& u) {
    return SafetyGuard(u.home, u.temp, "/Applications", std::string(SafetyGuard::standardKennung),
                       Katalogprofil::linuxDesktop, u.absturzOrdner);
}

}  // namespace

std::string linuxHersteller(std::string_view id) {
    // on a code hosting site the account is the maker, not the site
    static constexpr std::array<std::string_view, 9> hoster{
        "io.github",    "com.github",     "io.gitlab",       "com.gitlab", "page.codeberg",
        "org.codeberg", "io.sourceforge", "net.sourceforge", "io.frama"};
    const std::string v = vendor(id);
    if (!Namen::enthaelt(hoster, v)) return v;
    const std::string k = klein(id);
    const size_t dritter = k.find('.', v.size() + 1);
    return dritter == std::string::npos ? k : k.substr(0, dritter);
}

bool istAppImage(std::string_view a) {
    return a.size() >= 11 && a.substr(0, 4) == "\x7f" "ELF" && a[8] == 'A' && a[9] == 'I' && (a[10] == 1 || a[10] == 2);
}

std::pair<std::string, std::string> appImageName(std::string_view dateiname) {
    std::string_view n = dateiname;
    for (std::string_view endung : {".AppImage", ".appimage", ".APPIMAGE"})
        if (n.ends_with(endung)) n.remove_suffix(endung.size());
    // Name-1.2.3-x86_64, Name_1.2.3, Name-v1.2: the first separator before a digit starts the version
    for (size_t i = 1; i + 1 < n.size(); ++i) {
        if (n[i] != '-' && n[i] != '_') continue;
        size_t v = i + 1;
        if (n[v] == 'v' || n[v] == 'V') ++v;
        if (v < n.size() && n[v] >= '0' && n[v] <= '9') {
            std::string_view version = n.substr(v);
            for (std::string_view arch : {"-x86_64", "_x86_64", "-x86-64", "-amd64", "_amd64", "-aarch64", "-arm64", "-i386"})
                if (version.ends_with(arch)) version.remove_suffix(arch.size());
            return {std::string(n.substr(0, i)), std::string(version)};
        }
    }
    return {std::string(n), ""};
}

std::string metainfoVersion(std::string_view xml) {
    const size_t releases = xml.find("<releases");
    if (releases == std::string_view::npos) return {};
    const size_t release = xml.find("<release", releases + 9);
    if (release == std::string_view::npos) return {};
    const size_t ende = xml.find('>', release);
    const std::string_view tag = xml.substr(release, ende == std::string_view::npos ? std::string_view::npos : ende - release);
    for (std::string_view suche : {" version=\"", " version='", "\tversion=\"", "\nversion=\""}) {
        const size_t pos = tag.find(suche);
        if (pos == std::string_view::npos) continue;
        const char quote = suche.back();
        const size_t anfang = pos + suche.size();
        const size_t schluss = tag.find(quote, anfang);
        if (schluss != std::string_view::npos) return std::string(tag.substr(anfang, schluss - anfang));
    }
    return {};
}

std::string snapFeld(std::string_view yaml, std::string_view schluessel) {
    for (std::string_view z : zeilen(yaml)) {
        // only top-level keys: an indented "version:" belongs to a part or an app
        if (!z.starts_with(schluessel) || z.size() <= schluessel.size() || z[schluessel.size()] != ':') continue;
        std::string_view w = z.substr(schluessel.size() + 1);
        while (!w.empty() && (w.front() == ' ' || w.front() == '\t')) w.remove_prefix(1);
        while (!w.empty() && (w.back() == ' ' || w.back() == '\t')) w.remove_suffix(1);
        if (w.size() >= 2 && (w.front() == '\'' || w.front() == '"') && w.back() == w.front()) {
            w.remove_prefix(1);
            w.remove_suffix(1);
        } else if (const size_t kommentar = w.find(" #"); kommentar != std::string_view::npos) {
            w = w.substr(0, kommentar);
        }
        return std::string(w);
    }
    return {};
}

std::string execProgramm(std::string_view exec) {
    while (!exec.empty() && exec.front() == ' ') exec.remove_prefix(1);
    if (exec.empty()) return {};
    if (exec.front() == '"') {
        std::string aus;
        for (size_t i = 1; i < exec.size(); ++i) {
            if (exec[i] == '\\' && i + 1 < exec.size()) {
                aus += exec[++i];
            } else if (exec[i] == '"') {
                return aus;
            } else {
                aus += exec[i];
            }
        }
        return {};  // unterminated
    }
    return std::string(exec.substr(0, exec.find(' ')));
}

std::vector<Programm> linuxProgramme(const Umgebung& umgebung, const std::vector<fs::path>& ordner, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    const Paketorte orte = Paketsysteme::orte(umgebung);
    const fs::path daten = plattform::datenOrdner(umgebung.home);

    std::vector<Kandidat> kandidaten;
    for (const auto& inst : Paketsysteme::flatpakInstallationen(umgebung))
        for (const auto& r : plattform::flatpakRefs(inst.pfad, false))
            kandidaten.push_back(flatpakLesen(r, inst, umgebung.home));
    for (const auto& snap : plattform::snaps(orte.snapWurzel))
        if (auto k = snapLesen(snap, orte, umgebung.home)) kandidaten.push_back(std::move(*k));
    for (auto& k : appImagesLesen(ordner, daten, umgebung.home)) kandidaten.push_back(std::move(k));
    if (s.angehalten()) return {};
    s.gesamt.store(static_cast<int64_t>(kandidaten.size()), std::memory_order_relaxed);

    const std::vector<XdgOrdner> xdg = xdgOrdner(umgebung);
    // nothing is offered that the guard would keep anyway (key rings, browser profiles …)
    const SafetyGuard waechter = linuxWaechter(umgebung);
    std::vector<char> fertig(kandidaten.size(), 0);
    parallel(kandidaten.size(), [&](size_t i) {
        if (s.angehalten()) return;
        Kandidat& k = kandidaten[i];
        if (k.messen) {
            const auto b = miss(k.p.url, s);
            if (!b) return;
            k.p.bytes = *b;
        }
        std::set<std::string> andereIDs, andereNamen;
        bool geteilt = false;
        for (const auto& q : kandidaten) {
            if (&q == &k) continue;
            // the same app in another installation is no other program, but it keeps using its data
            if (!k.p.bundleID.empty() && klein(q.p.bundleID) == klein(k.p.bundleID)) {
                geteilt = true;
                continue;
            }
            if (!q.p.bundleID.empty()) andereIDs.insert(klein(q.p.bundleID));
            andereNamen.insert(klein(q.p.name));
        }
        k.p.reste = linuxReste(k, xdg, andereIDs, andereNamen, geteilt, umgebung, orte);
        std::erase_if(k.p.reste, [&](const Fund& f) { return !waechter.pruefe(f.url, f.art).istErlaubt(); });
        if (!missReste(k.p.reste, s)) return;
        fertig[i] = 1;
        s.dazu(1);
    });
    std::vector<Programm> aus;
    for (size_t i = 0; i < kandidaten.size(); ++i)
        if (fertig[i]) aus.push_back(std::move(kandidaten[i].p));
    sortiere(aus);
    return aus;
}

std::vector<Verwaist> linuxVerwaist(const std::vector<Programm>& installiert, const Umgebung& umgebung,
                                    Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    const Paketorte orte = Paketsysteme::orte(umgebung);
    const fs::path daten = plattform::datenOrdner(umgebung.home);

    std::set<std::string> ids, hersteller;
    const auto kennt = [&](const std::string& id) {
        if (id.empty()) return;
        ids.insert(klein(id));
        if (id.find('.') != std::string::npos) hersteller.insert(linuxHersteller(id));
    };
    for (const auto& p : installiert) kennt(p.bundleID);
    bool flatpakBekannt = true;
    for (const auto& inst : Paketsysteme::flatpakInstallationen(umgebung)) {
        if (unlesbar(inst.pfad / "app")) flatpakBekannt = false;
        for (const auto& r : plattform::flatpakRefs(inst.pfad, false)) kennt(r.id);
    }
    // our own settings are no orphans, even where this program is no installed app
    hersteller.insert(linuxHersteller(SafetyGuard::standardKennung));

    // who runs and what is open is read only when there is something to ask about
    std::function<bool(const std::string&)> laeuft = umgebung.laeuft;
    std::unique_ptr<OffeneDateien> offen;
    const auto benutzt = [&](const std::string& name, const fs::path& pfad) {
        if (!laeuft) laeuft = laufTest();
        if (!offen) offen = std::make_unique<OffeneDateien>();
        return (!name.empty() && laeuft(name)) || offen->benutztVon(pfad).has_value();
    };

    std::map<std::string, Verwaist> gruppen;
    const auto gruppe = [&](const std::string& id, Herkunft h) -> Verwaist& {
        auto [it, neu] = gruppen.try_emplace(std::string(rohwert(h)) + ":" + id);
        if (neu) {
            it->second.bundleID = id;
            it->second.herkunft = h;
        }
        return it->second;
    };

    // sandboxes of Flatpak apps installed nowhere
    if (flatpakBekannt)
        for (const auto& e : eintraege(umgebung.home / ".var/app")) {
            if (s.angehalten()) return {};
            const std::string k = klein(e);
            if (k.find('.') == std::string::npos || k.find(' ') != std::string::npos) continue;
            if (std::any_of(ids.begin(), ids.end(), [&](const std::string& id) { return gehoertZu(k, id); })) continue;
            if (hersteller.contains(linuxHersteller(k))) continue;
            const fs::path pfad = umgebung.home / ".var/app" / e;
            if (benutzt(e, pfad)) continue;
            gruppe(e, Herkunft::flatpak).funde.push_back(rest(pfad, e, false));
        }

    // data of snaps that are gone
    if (!unlesbar(orte.snapWurzel) && !unlesbar(orte.snapDateien)) {
        std::set<std::string> snaps;
        for (const auto& sn : plattform::snaps(orte.snapWurzel)) snaps.insert(sn.name);
        for (const auto& datei : eintraege(orte.snapDateien))
            if (const size_t u = datei.rfind('_'); u != std::string::npos && datei.ends_with(".snap"))
                snaps.insert(datei.substr(0, u));
        for (const auto& e : eintraege(umgebung.home / "snap")) {
            if (s.angehalten()) return {};
            const fs::path pfad = umgebung.home / "snap" / e;
            if (snaps.contains(e) || !istOrdner(pfad) || benutzt(e, pfad)) continue;
            gruppe(e, Herkunft::snap).funde.push_back(rest(pfad, e, false));
        }
    }

    // desktop entries and icons of AppImages that are gone; one on a drive that is not there now
    // is not gone
    const auto desktop = desktopEintraege(daten / "applications");
    std::map<std::string, std::vector<fs::path>> symbole;
    bool symboleGelesen = false;
    for (const auto& d : desktop) {
        if (s.angehalten()) return {};
        if (!d.vonAppImage || d.programm.empty() || d.programm.front() != '/' || vorhanden(d.programm)) continue;
        if (!istOrdner(fs::path(d.programm).parent_path()) || benutzt("", d.datei)) continue;
        if (!symboleGelesen) {
            symbole = symbolVerzeichnis(daten);
            symboleGelesen = true;
        }
        Verwaist& g = gruppe(d.stamm, Herkunft::appImage);
        if (!d.name.empty()) g.name = d.name;
        const std::string besitzer = d.name.empty() ? d.stamm : d.name;
        g.funde.push_back(rest(d.datei, besitzer, false, "Startmenü-Eintrag"));
        for (const auto& sym : symboleVon(d, desktop, symbole, umgebung.home))
            g.funde.push_back(rest(sym, besitzer, false, "Symbol"));
    }

    std::vector<Verwaist> aus;
    const SafetyGuard waechter = linuxWaechter(umgebung);
    for (auto& [_, g] : gruppen) {
        std::erase_if(g.funde, [&](const Fund& f) { return !waechter.pruefe(f.url, f.art).istErlaubt(); });
        if (!g.funde.empty()) aus.push_back(std::move(g));
    }
    missUndSortiere(aus, s);
    return aus;
}

}  // namespace hainbrem::Programme
