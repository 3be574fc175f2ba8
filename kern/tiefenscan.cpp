// The deep scan's entry points and the disk layouts they walk: a home folder, any folder, the
// whole start disk of Linux (its file systems on one disk) and of macOS (the data volume behind
// its firmlinks), with virtual nodes for what no walk can see.
#include "kern/tiefenscan.hpp"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <sstream>

#include "basis/pfade.hpp"
#include "kern/groesse.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/tiefengang.hpp"
#include "plattform/plattform.hpp"
#include "plattform/scan.hpp"

namespace hainbrem::Tiefenscan {

namespace {

std::vector<std::string> containerOrdner(const std::string& home) {
    return {home + "/Library/Containers", home + "/Library/Group Containers", home + "/Library/Daemon Containers"};
}

std::string normiert(const fs::path& p) {
    std::error_code f;
    const fs::path echt = fs::canonical(p, f);
    return std::string(ohneSchraegstrichAmEnde(f ? p.native() : echt.native()));
}

std::string dateiText(const std::string& pfad) {
    std::ifstream ein(pfad);
    if (!ein) return {};
    std::ostringstream s;
    s << ein.rdbuf();
    return s.str();
}

Knoten::Zeiger virtuell(std::string name, std::string pfad, int64_t bytes, std::string erklaerung) {
    auto k = std::make_shared<Knoten>(std::move(name), std::move(pfad), true);
    k->bytes = bytes;
    k->erklaerung = std::move(erklaerung);
    return k;
}

Platte::Volume mitRolle(std::string rolle) {
    Platte::Volume v;
    v.rolle = std::move(rolle);
    return v;
}

constexpr std::string_view restMitZugriff =
    "Geschützte Systemdaten, die nur root lesen darf, und lokale Schnappschüsse. Hainbrem misst sie über die "
    "Volume-Größe, kann aber nicht hineinsehen.";
constexpr std::string_view linuxRest =
    "Was Hainbrem nicht lesen durfte (Ordner anderer Benutzer und von root), gelöschte Dateien, die ein Programm "
    "noch offen hält, und was das Dateisystem für Ordner und Attribute braucht. Hainbrem misst es über die belegte "
    "Größe des Dateisystems, kann aber nicht hineinsehen.";
constexpr std::string_view restOhneZugriff =
    "Was Hainbrem ohne Festplattenvollzugriff nicht lesen darf (Mail, Nachrichten, App-Container …), dazu "
    "geschützte Systemdaten und Schnappschüsse. Mit Festplattenvollzugriff wird dieser Rest deutlich kleiner.";

// The rest of the data volume that no walk saw.
void ergaenzeRest(Knoten& daten, const Platte::Volume* volume, bool vollzugriff) {
    if (!volume || volume->bytes <= daten.bytes) return;
    daten.dazu(virtuell("Nicht einsehbar", "#rest", subtrahiere(volume->bytes, daten.bytes),
                        std::string(vollzugriff ? restMitZugriff : restOhneZugriff)));
}

// Volumes that no walk entered, large enough to matter.
void ergaenzeVolumes(Knoten& wurzel, const std::optional<Platte>& platte,
                     const std::function<bool(const Platte::Volume&)>& gesehen) {
    if (!platte) return;
    for (const auto& v : platte->volumes) {
        if (v.rolle == "Data" || v.bytes <= grossAb || gesehen(v)) continue;
        wurzel.dazu(virtuell(v.titel(), "#vol-" + v.geraet, v.bytes, std::string(v.erklaerung())));
    }
}

TiefenscanErgebnis scanneLinuxPlatte(const fs::path& homePfad, bool vollzugriff, Steuerung* steuerung) {
    const auto start = std::chrono::steady_clock::now();
    const std::string home = normiert(homePfad);
    const auto einhaengungen = plattform::einhaengTabelle();
    std::string wurzelQuelle;
    for (const auto& e : einhaengungen)
        if (e.punkt == "/") wurzelQuelle = e.quelle;
    const auto platteName = plattform::plattenName(wurzelQuelle);

    // the start disk's file systems, each once (bind mounts show one several times)
    struct Volumen {
        std::string punkt, quelle;
        dev_t geraet;
    };
    std::vector<Volumen> volumen;
    std::set<dev_t> schonDa;
    static constexpr std::array<std::string_view, 4> pseudo{"/proc", "/sys", "/dev", "/run"};
    auto nimm = [&](const std::string& punkt, const std::string& quelle) {
        struct stat st;
        if (::lstat(punkt.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return;
        if (!schonDa.insert(st.st_dev).second) return;
        volumen.push_back({punkt, quelle, st.st_dev});
    };
    nimm("/", wurzelQuelle);
    for (const auto& e : einhaengungen) {
        if (e.punkt == "/" || !e.quelle.starts_with("/dev/")) continue;
        if (std::any_of(pseudo.begin(), pseudo.end(), [&](auto p) { return liegtInOderIst(e.punkt, p); })) continue;
        if (!platteName || plattform::plattenName(e.quelle) != platteName) continue;
        nimm(e.punkt, e.quelle);
    }

    Lauf lauf;
    for (auto p : pseudo) lauf.aus.emplace(p);
    std::vector<std::string> ausgelassen;
    if (!vollzugriff)
        for (auto& c : containerOrdner(home)) {
            lauf.aus.insert(c);
            ausgelassen.push_back(c);
        }
    lauf.kandidatenWurzel = home;
    std::set<std::string, std::less<>> aufteilen{"/", "/home", "/usr", "/var", home, home + "/Library"};
    std::vector<std::string> wurzeln;
    for (const auto& v : volumen) {
        aufteilen.insert(v.punkt);
        wurzeln.push_back(v.punkt);
    }
    Scan scan(lauf, aufteilen, steuerung);
    const auto knoten = scan.lauf(wurzeln);
    const auto platte = Platte::lesen(Katalogprofil::linuxDesktop);
    std::vector<GescanntesVolume> gescannt;
    for (size_t i = 0; i < volumen.size(); ++i)
        gescannt.push_back({volumen[i].quelle.empty() ? std::string() : nameAus(volumen[i].quelle), knoten[i]});
    auto wurzel = linuxPlatte(gescannt, platte, Plattenstand::jetzt(home));
    return scan.ergebnis(wurzel, start, std::move(ausgelassen), true);
}

}  // namespace

Knoten::Zeiger linuxPlatte(const std::vector<GescanntesVolume>& gescannt, const std::optional<Platte>& platte,
                           const Plattenstand& stand) {
    auto wurzel = std::make_shared<Knoten>(platte && !platte->name.empty() ? platte->name : std::string("Festplatte"),
                                           "#platte", true);
    const Plattenbild bild = plattenbild(stand, platte);
    if (bild.gesamt > 0) wurzel->platz = bild.gesamt;
    auto volumeZu = [&](const std::string& geraet) -> const Platte::Volume* {
        if (!platte || geraet.empty()) return nullptr;
        for (const auto& v : platte->volumes)
            if (v.geraet == geraet) return &v;
        return nullptr;
    };
    std::set<std::string> gesehen;
    std::vector<std::pair<const Platte::Volume*, Knoten::Zeiger>> gelesen;
    for (const auto& g : gescannt) {
        if (!g.knoten) continue;
        const Platte::Volume* v = volumeZu(g.geraet);
        if (v) gesehen.insert(v->geraet);
        gelesen.emplace_back(v, g.knoten);
    }
    std::vector<Knoten::Zeiger> ungesehen;
    if (platte)
        for (const auto& v : platte->volumes)
            if (!gesehen.contains(v.geraet) && v.bytes > grossAb)
                ungesehen.push_back(virtuell(v.titel(), "#vol-" + v.geraet, v.bytes, v.erklaerung()));
    // one file system alone is the disk's first ring: no ring of a single segment
    const bool allein = gelesen.size() == 1 && ungesehen.empty();
    for (const auto& [v, k] : gelesen) {
        Knoten::Zeiger ziel = wurzel;
        if (!allein) {
            ziel = std::make_shared<Knoten>(v ? v->titel() : k->name, k->pfad, true);
            if (v) ziel->erklaerung = v->erklaerung();
        }
        ziel->bytes = addiere(ziel->bytes, k->bytes);
        ziel->dateien = addiere(ziel->dateien, k->dateien);
        ziel->unvollstaendig = ziel->unvollstaendig || k->unvollstaendig;
        ziel->kinder.insert(ziel->kinder.end(), k->kinder.begin(), k->kinder.end());
        // what the file system holds beyond what the walk could read
        if (v && v->bytes > k->bytes)
            ziel->dazu(virtuell("Nicht einsehbar", allein ? "#rest" : "#rest-" + v->geraet,
                                subtrahiere(v->bytes, k->bytes), std::string(linuxRest)));
        ziel->sortiere();
        if (!allein) wurzel->dazu(ziel);
    }
    for (auto& u : ungesehen) wurzel->dazu(std::move(u));
    // what is neither files nor free, as the overview names it
    for (const auto& t : bild.teile) {
        const char* pfad = t.art == Plattenteil::Art::reserviert   ? "#reserve"
                           : t.art == Plattenteil::Art::verwaltung ? "#verwaltung"
                           : t.art == Plattenteil::Art::rest       ? "#ausserhalb"
                                                                   : nullptr;
        if (pfad && t.bytes > 0) wurzel->dazu(virtuell(t.titel, pfad, t.bytes, t.erklaerung));
    }
    wurzel->sortiere();
    return wurzel;
}

TiefenscanErgebnis scanneOrdner(const fs::path& pfad, const std::string& kandidatenWurzel,
                                Steuerung* steuerung) {
    CloudSchutz::aktivieren();
    const auto start = std::chrono::steady_clock::now();
    const std::string p = normiert(pfad);
    Lauf lauf;
    lauf.kandidatenWurzel = kandidatenWurzel.empty() ? std::string() : normiert(kandidatenWurzel);
    const std::set<std::string, std::less<>> aufteilen{p};
    Scan scan(lauf, aufteilen, steuerung);
    auto knoten = scan.lauf({p});
    return scan.ergebnis(knoten.front(), start, {}, false);
}

TiefenscanErgebnis scanne(const fs::path& homePfad, bool vollzugriff, Steuerung* steuerung) {
    CloudSchutz::aktivieren();
    const auto start = std::chrono::steady_clock::now();
    const std::string home = normiert(homePfad);
    Lauf lauf;
    std::vector<std::string> ausgelassen;
    if (!vollzugriff) ausgelassen = containerOrdner(home);
    lauf.aus.insert(ausgelassen.begin(), ausgelassen.end());
    lauf.kandidatenWurzel = home;
    const std::set<std::string, std::less<>> aufteilen{home, home + "/Library"};
    Scan scan(lauf, aufteilen, steuerung);
    auto knoten = scan.lauf({home});
    return scan.ergebnis(knoten.front(), start, std::move(ausgelassen), false);
}

TiefenscanErgebnis scanneGanzePlatte(const fs::path& home, bool vollzugriff, Steuerung* steuerung,
                                     Katalogprofil profil) {
    CloudSchutz::aktivieren();
    if (profil == Katalogprofil::macos)
        return scanneMacPlatte(home, vollzugriff, steuerung, MacAufbau{}, Platte::lesen(profil));
    return scanneLinuxPlatte(home, vollzugriff, steuerung);
}

TiefenscanErgebnis scanneMacPlatte(const fs::path& homePfad, bool vollzugriff, Steuerung* steuerung,
                                   const MacAufbau& aufbau,
                                   const std::optional<Platte>& platte) {
    const auto start = std::chrono::steady_clock::now();
    const std::string& b = aufbau.basis;
    const std::string home(ohneSchraegstrichAmEnde(homePfad.native()));
    const std::string datenPfad = b + aufbau.datenVolume;
    Lauf lauf;
    struct stat dst {};
    if (::stat(datenPfad.c_str(), &dst) == 0) lauf.geraet = dst.st_dev;
    for (const char* p : {"/System/Volumes", "/Volumes", "/dev", "/.nofollow", "/.resolve", "/.vol", "/private/var/vm"})
        lauf.aus.insert(b + p);
    std::vector<std::string> ausgelassen;
    if (!vollzugriff)
        for (auto& c : containerOrdner(home)) {
            lauf.aus.insert(c);
            ausgelassen.push_back(c);
        }
    lauf.kandidatenWurzel = home;

    auto firmlinks = firmlinksAus(dateiText(b + aufbau.firmlinks));
    if (firmlinks.empty())
        firmlinks = {{"/Users", "Users"}, {"/Applications", "Applications"}, {"/Library", "Library"},
                     {"/private", "private"}};
    std::vector<std::string> wurzeln;
    std::set<std::string> namen;
    for (const auto& [pfad, name] : firmlinks) {
        namen.insert(name);
        // a firmlink below a top folder of the data volume is counted there once, not twice
        if (name.find('/') != std::string::npos) lauf.aus.insert(datenPfad + "/" + name);
        const std::string p = b + pfad;
        struct stat st;
        if (lauf.aus.contains(p) || ::lstat(p.c_str(), &st) != 0) continue;
        wurzeln.push_back(p);
    }
    // Top entries of the data volume that no firmlink shows: macOS's own folders there.
    std::vector<std::string> extras;
    if (DIR* d = ::opendir(datenPfad.c_str())) {
        while (const dirent* e = ::readdir(d)) {
            const std::string n = e->d_name;
            if (n == "." || n == ".." || namen.contains(n)) continue;
            const std::string p = datenPfad + "/" + n;
            if (!lauf.aus.contains(p)) extras.push_back(p);
        }
        ::closedir(d);
        std::sort(extras.begin(), extras.end());
    }
    // extras and firmlinked roots together, side by side; /usr/local stays its own node
    const size_t anzahlWurzeln = wurzeln.size();
    wurzeln.insert(wurzeln.end(), extras.begin(), extras.end());
    const std::set<std::string, std::less<>> aufteilen{b + "/Users",   home,           home + "/Library",
                                                      b + "/Library", b + "/private", b + "/private/var",
                                                      b + "/Applications"};
    Scan scan(lauf, aufteilen, steuerung);
    const auto knoten = scan.lauf(wurzeln);

    const Platte::Volume* system = platte ? platte->volume("System") : nullptr;
    const Platte::Volume* datenVol = platte ? platte->volume("Data") : nullptr;
    auto wurzel = std::make_shared<Knoten>(system ? system->name : std::string("Macintosh HD"), "#platte", true);
    if (platte && platte->gesamt > 0) wurzel->platz = platte->gesamt;
    const Platte::Volume datenRolle = datenVol ? *datenVol : mitRolle("Data");
    auto daten = std::make_shared<Knoten>(datenRolle.titel(), "#daten", true);
    daten->erklaerung = std::string(datenRolle.erklaerung());
    auto verwaltung = virtuell("Systemverwaltung", "#verwaltung", 0,
                               "Verwaltungsdaten von macOS auf deinem Datenvolume: Spotlight-Suchindex, Dateiverlauf "
                               "(fseventsd), gespeicherte Dokumentversionen. macOS pflegt sie selbst.");
    auto zusaetze = virtuell("macOS-Zusätze", "#zusaetze", 0,
                             "Ordner von macOS, die auf deinem Datenvolume liegen: heruntergeladene Systeminhalte "
                             "(Assets), Sprachdaten, Druckertreiber. macOS verwaltet sie selbst.");
    for (size_t i = 0; i < knoten.size(); ++i) {
        const auto& k = knoten[i];
        if (!k) continue;
        if (i < anzahlWurzeln) {
            daten->dazu(k);
            continue;
        }
        // hidden folders at the top of the data volume are the system's bookkeeping
        Knoten& ziel = k->name.starts_with('.') ? *verwaltung : *zusaetze;
        ziel.dazu(k);
    }
    for (auto* v : {&verwaltung, &zusaetze}) {
        auto& k = **v;
        std::erase_if(k.kinder, [](const Knoten::Zeiger& c) { return !wirdKind(*c); });
        k.sortiere();
        if (k.bytes > 0) daten->dazu(*v);
    }
    ergaenzeRest(*daten, datenVol, vollzugriff);
    std::erase_if(daten->kinder, [](const Knoten::Zeiger& c) { return !c->istVirtuell() && !wirdKind(*c); });
    daten->sortiere();
    wurzel->dazu(daten);
    ergaenzeVolumes(*wurzel, platte, [](const Platte::Volume&) { return false; });
    wurzel->sortiere();
    return scan.ergebnis(wurzel, start, std::move(ausgelassen), true);
}

}  // namespace hainbrem::Tiefenscan
