#include "kern/paketsysteme.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <set>
#include <tuple>

#include "basis/pfade.hpp"
#include "kern/befehl.hpp"
#include "kern/format.hpp"
#include "kern/groesse.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/schluesseldatei.hpp"
#include "kern/testsperre.hpp"
#include "plattform/programme.hpp"

namespace hainbrem::Paketsysteme {

namespace fs = std::filesystem;

namespace {

bool istOrdner(const fs::path& p) {
    struct stat st {};
    return ::stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool istDatei(const fs::path& p) {
    struct stat st {};
    return ::stat(p.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool istLink(const fs::path& p) {
    struct stat st {};
    return ::lstat(p.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

// Names that go into a command line: letters, digits and a few marks, never an option's dash
// first. Flatpak ids, arches and branches and snap names all fit.
bool istSichererName(std::string_view n, std::string_view erlaubt) {
    if (n.empty() || n.front() == '-' || n.front() == '.' || n.size() > 255) return false;
    return std::all_of(n.begin(), n.end(), [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               erlaubt.find(c) != std::string_view::npos;
    });
}

// A Flatpak id has at least three parts ("org.example.App").
bool istFlatpakID(std::string_view id) {
    return istSichererName(id, "._-") && std::count(id.begin(), id.end(), '.') >= 2 && !id.ends_with(".") &&
           id.find("..") == std::string_view::npos;
}

// While tests run, the machine's own package installations are never touched.
bool maschineWaehrendTest(const Deinstallation& d) {
    const char* test = std::getenv("HAINBREM_TEST");
    if (!test || std::string_view(test) != "1") return false;
    if (d.system == "Snap") return true;
    return liegtInOderIst(d.installation.native(), "/var/lib/flatpak") || imEchtenHomeWaehrendTest(d.installation);
}

std::optional<Schluesseldatei> metadaten(const plattform::FlatpakRef& r) {
    const auto text = plattform::kleineDatei(r.aktiv / "metadata");
    if (!text) return std::nullopt;
    return Schluesseldatei::aus(*text);
}

std::string ohneArt(std::string_view ref) {
    // "runtime/org.x/x86_64/1" and "org.x/x86_64/1" name the same runtime
    if (ref.starts_with("runtime/")) ref.remove_prefix(8);
    return std::string(ref);
}

std::string laufzeitName(const Laufzeit& l) {
    // runtime/<id>/<arch>/<branch> → "<id> <branch>"
    const std::string r = ohneArt(l.ref);
    const size_t a = r.find('/');
    const size_t b = r.rfind('/');
    if (a == std::string::npos || b == a) return r;
    return r.substr(0, a) + " " + r.substr(b + 1);
}

std::string verbunden(const std::vector<std::string>& teile, std::string_view zwischen) {
    std::string s;
    for (size_t i = 0; i < teile.size(); ++i) s += (i ? std::string(zwischen) : "") + teile[i];
    return s;
}

}  // namespace

Paketorte orte(const Umgebung& umgebung) {
    Paketorte o = umgebung.pakete;
    if (o.flatpakNutzer.empty()) o.flatpakNutzer = plattform::flatpakNutzer(umgebung.home);
    if (o.flatpakSystem.empty()) o.flatpakSystem = plattform::flatpakSystem();
    if (o.snapWurzel.empty()) o.snapWurzel = plattform::snapWurzel();
    if (o.snapDateien.empty()) o.snapDateien = plattform::snapDateien();
    if (o.aptArchiv.empty() && umgebung.profil == Katalogprofil::linuxDesktop) o.aptArchiv = "/var/cache/apt/archives";
    return o;
}

std::vector<FlatpakInstallation> flatpakInstallationen(const Umgebung& umgebung) {
    const Paketorte o = orte(umgebung);
    std::vector<FlatpakInstallation> aus;
    if (!o.flatpakNutzer.empty()) aus.push_back({"user", o.flatpakNutzer.lexically_normal(), false});
    if (!o.flatpakSystem.empty() && (aus.empty() || aus.front().pfad != o.flatpakSystem.lexically_normal()))
        aus.push_back({"system", o.flatpakSystem.lexically_normal(), true});
    return aus;
}

std::optional<Deinstallation> deinstallation(const fs::path& pfad, const fs::path& home) {
    const fs::path p = pfad.lexically_normal();
    if (!p.is_absolute() || p.filename().empty()) return std::nullopt;
    Deinstallation d;
    // <installation>/app/<id>/<arch>/<branch>
    const fs::path archOrdner = p.parent_path(), idOrdner = archOrdner.parent_path(), art = idOrdner.parent_path();
    const std::string zweig = p.filename().native(), arch = archOrdner.filename().native(),
                      id = idOrdner.filename().native();
    if (art.filename() == "app" && istFlatpakID(id) && istSichererName(arch, "_-") && istSichererName(zweig, "._-")) {
        d.installation = art.parent_path();
        if (!istOrdner(d.installation / "repo") || !istDatei(d.installation / "repo/config") || !istLink(p / "active"))
            return std::nullopt;
        d.system = "Flatpak";
        d.kennung = id;
        d.systemweit = !liegtIn(d.installation.native(), home.lexically_normal().native());
        d.argumente = {"uninstall", d.systemweit ? "--system" : "--user", "--noninteractive", "-y",
                       "app/" + id + "/" + arch + "/" + zweig};
        // flatpak reads these variables itself: the command acts on exactly the installation found
        d.umgebung = {(d.systemweit ? "FLATPAK_SYSTEM_DIR=" : "FLATPAK_USER_DIR=") + d.installation.native()};
        d.anzeige = (d.systemweit && d.installation != "/var/lib/flatpak"
                         ? "FLATPAK_SYSTEM_DIR=" + d.installation.native() + " "
                         : std::string()) +
                    "flatpak uninstall " + (d.systemweit ? "--system " : "--user ") + id + "//" + zweig;
        return d;
    }
    // <snap mount folder>/<name>
    const fs::path wurzel = plattform::snapWurzel();
    const std::string name = p.filename().native();
    if (!wurzel.empty() && p.parent_path() == wurzel.lexically_normal() && istSichererName(name, "-") &&
        istDatei(p / "current/meta/snap.yaml")) {
        d.system = "Snap";
        d.kennung = name;
        d.installation = wurzel;
        d.systemweit = true;  // snapd changes nothing for a user without root
        d.argumente = {"remove", name};
        d.anzeige = "sudo snap remove " + name;
        return d;
    }
    return std::nullopt;
}

std::optional<std::string> hindernis(const Deinstallation& d) {
    if (d.systemweit && !plattform::hatSystemrechte())
        return "Braucht Administratorrechte, und Hainbrem fragt nach keinem Passwort. Im Terminal: " + d.anzeige;
    const fs::path programm = d.system == "Snap" ? plattform::snapProgramm() : plattform::flatpakProgramm();
    if (programm.empty())
        return "Das Programm " + std::string(d.system == "Snap" ? "snap" : "flatpak") + " fehlt auf diesem Rechner.";
    return std::nullopt;
}

int64_t belegt(const fs::path& pfad, const fs::path& home) {
    const auto d = deinstallation(pfad, home);
    if (!d || d->system != "Snap") return Groesse::belegt(pfad);
    // a snap's space is its files, one per revision; what is mounted from them is no disk space
    int64_t summe = 0;
    for (const auto& s : plattform::snaps(d->installation))
        if (s.name == d->kennung)
            for (const auto& r : s.revisionen)
                summe = addiere(summe, Groesse::belegt(plattform::snapDateien() / (s.name + "_" + r + ".snap")));
    return summe;
}

Ausgang entferne(const fs::path& pfad, const fs::path& home) {
    const auto d = deinstallation(pfad, home);
    if (!d) return {std::string(grundText(Ablehnung::keinPaketprogramm)), std::nullopt};
    if (maschineWaehrendTest(*d)) return {std::string(testSperreText), std::nullopt};
    if (auto h = hindernis(*d)) return {std::move(h), std::nullopt};
    const fs::path programm = d->system == "Snap" ? plattform::snapProgramm() : plattform::flatpakProgramm();
    if (!Befehl::ausfuehren(programm.native(), d->argumente, d->umgebung))
        return {std::nullopt, "„" + d->anzeige + "“ ist gescheitert; das Programm bleibt installiert."};
    struct stat st {};
    if (::lstat(pfad.c_str(), &st) == 0) return {std::nullopt, "„" + d->anzeige + "“ hat das Programm nicht entfernt."};
    return {};
}

std::vector<Laufzeit> ungenutzteLaufzeiten(const Umgebung& umgebung) {
    struct Eintrag {
        std::string installation;
        plattform::FlatpakRef ref;
        std::optional<Schluesseldatei> meta;
        bool benutzt = false;
    };
    std::vector<Eintrag> laufzeiten;
    std::set<std::string> benutzt;       // "<id>/<arch>/<branch>"
    std::vector<std::string> praefixe;  // extension points and ids whose extensions are in use
    const auto nimmMeta = [&](const Schluesseldatei& m, std::string_view gruppe) {
        for (const char* k : {"runtime", "sdk"})
            if (auto r = m.wert(gruppe, k); r && !r->empty()) benutzt.insert(ohneArt(*r));
        for (const auto& g : m.gruppen())
            if (g.starts_with("Extension ")) praefixe.push_back(g.substr(10));
    };
    // a runtime is used by apps of any installation: a user's app may run on the system's runtime
    for (const auto& inst : flatpakInstallationen(umgebung)) {
        for (const auto& app : plattform::flatpakRefs(inst.pfad, false)) {
            praefixe.push_back(app.id);  // its own extensions: .Locale, .Debug, plugins
            if (const auto m = metadaten(app)) nimmMeta(*m, "Application");
        }
        std::set<std::string> angeheftet;
        if (const auto text = plattform::kleineDatei(inst.pfad / "repo/config"))
            if (const auto pins = Schluesseldatei::aus(*text).wert("core", "xa.pinned"))
                for (const auto& r : listenWerte(*pins)) angeheftet.insert(ohneArt(r));
        for (auto& r : plattform::flatpakRefs(inst.pfad, true)) {
            Eintrag e{inst.name, r, metadaten(r), false};
            if (angeheftet.contains(r.id + "/" + r.arch + "/" + r.zweig)) benutzt.insert(r.id + "/" + r.arch + "/" + r.zweig);
            laufzeiten.push_back(std::move(e));
        }
    }
    // what a used runtime needs is used as well, until nothing more turns up
    for (bool weiter = true; weiter;) {
        weiter = false;
        for (auto& e : laufzeiten) {
            if (e.benutzt) continue;
            const std::string schluessel = e.ref.id + "/" + e.ref.arch + "/" + e.ref.zweig;
            const bool erweiterung = std::any_of(praefixe.begin(), praefixe.end(), [&](const std::string& p) {
                return !p.empty() && (e.ref.id == p || (e.ref.id.starts_with(p) && e.ref.id[p.size()] == '.'));
            });
            if (!benutzt.contains(schluessel) && !erweiterung) continue;
            e.benutzt = weiter = true;
            benutzt.insert(schluessel);
            praefixe.push_back(e.ref.id);
            if (e.meta) nimmMeta(*e.meta, "Runtime");
        }
    }
    std::vector<Laufzeit> aus;
    for (const auto& e : laufzeiten)
        if (!e.benutzt)
            aus.push_back({"runtime/" + e.ref.id + "/" + e.ref.arch + "/" + e.ref.zweig, e.ref.pfad, e.installation});
    return aus;
}

std::vector<SnapRevision> alteSnapRevisionen(const Umgebung& umgebung) {
    const Paketorte o = orte(umgebung);
    std::vector<SnapRevision> aus;
    for (const auto& s : plattform::snaps(o.snapWurzel)) {
        if (s.aktuell.empty()) continue;  // without a current one nothing is known to be old
        for (const auto& r : s.revisionen) {
            const fs::path datei = o.snapDateien / (s.name + "_" + r + ".snap");
            if (r != s.aktuell && istDatei(datei)) aus.push_back({s.name, r, datei});
        }
    }
    return aus;
}

std::vector<SystemdatenPosten> systemdaten(const Umgebung& umgebung, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    const Paketorte o = orte(umgebung);
    const fs::path daten = plattform::datenOrdner(umgebung.home);
    const auto miss = [&](const fs::path& p) {
        Steuerung innen(s.halt);
        return Groesse::miss(p, 2, &innen);
    };
    const auto untergrenze = [](SystemdatenPosten& p, const Groesse::Messung& m) {
        if (m.angehalten) p.bytes.reset();
        else if (m.unlesbar > 0) p.erklaerung += " Ein Teil war nicht lesbar, die Zahl ist eine Untergrenze.";
    };

    struct Zeile {
        bool da;
        std::function<SystemdatenPosten()> messen;
    };
    std::vector<Zeile> zeilen;
    const auto installationen = flatpakInstallationen(umgebung);
    const bool flatpak = std::any_of(installationen.begin(), installationen.end(),
                                     [](const FlatpakInstallation& i) { return istOrdner(i.pfad / "repo"); });
    zeilen.push_back({flatpak, [&] {
                          const auto ungenutzt = ungenutzteLaufzeiten(umgebung);
                          SystemdatenPosten p{"Ungenutzte Flatpak-Laufzeiten", int64_t{0},
                                              "Laufzeiten sind Bibliotheken, die sich Flatpak-Programme teilen.", {}};
                          std::vector<std::string> namen;
                          bool system = false;
                          for (const auto& l : ungenutzt) {
                              const auto m = miss(l.pfad);
                              p.bytes = addiere(*p.bytes, m.bytes);
                              namen.push_back(laufzeitName(l) + (l.installation == "user" ? "" : " (System)"));
                              system = system || l.installation != "user";
                          }
                          if (namen.empty()) {
                              p.erklaerung += " Jede installierte Laufzeit braucht gerade ein Programm.";
                              return p;
                          }
                          p.erklaerung += " Diese braucht kein installiertes Programm mehr: " + verbunden(namen, ", ") +
                                          ". Der Befehl dazu entfernt sie; Hainbrem fasst sie nicht an.";
                          if (system && !plattform::hatSystemrechte())
                              p.erklaerung += " Für die Systeminstallation fragt Flatpak nach deinem Passwort.";
                          p.befehl = "flatpak uninstall --unused";
                          return p;
                      }});
    zeilen.push_back({istOrdner(o.snapWurzel) && !plattform::snaps(o.snapWurzel).empty(), [&] {
                          const auto alt = alteSnapRevisionen(umgebung);
                          SystemdatenPosten p{"Alte Snap-Revisionen", int64_t{0},
                                              "snapd behält nach jeder Aktualisierung ältere Revisionen, um zurückwechseln "
                                              "zu können.",
                                              {}};
                          std::vector<std::string> namen, befehle;
                          for (const auto& r : alt) {
                              p.bytes = addiere(*p.bytes, Groesse::belegt(r.datei));
                              namen.push_back(r.name + " " + r.revision);
                              befehle.push_back("sudo snap remove --revision=" + r.revision + " " + r.name);
                          }
                          if (namen.empty()) {
                              p.erklaerung += " Gerade liegt keine alte Revision auf der Platte.";
                              return p;
                          }
                          p.erklaerung += " Abgeschaltet sind: " + verbunden(namen, ", ") +
                                          ". Hainbrem fasst sie nicht an; „sudo snap set system refresh.retain=2“ "
                                          "behält künftig nur eine alte je Snap.";
                          p.befehl = verbunden(befehle, " && ");
                          return p;
                      }});
    zeilen.push_back({!o.aptArchiv.empty() && istOrdner(o.aptArchiv), [&] {
                          const auto m = miss(o.aptArchiv);
                          SystemdatenPosten p{"Heruntergeladene Debian-Pakete (APT)", m.bytes,
                                              "APT bewahrt jedes heruntergeladene Paket in " + o.aptArchiv.native() +
                                                  " auf, auch wenn es längst installiert ist. Installierte Programme "
                                                  "brauchen diese Dateien nicht; Hainbrem fasst sie nicht an.",
                                              "sudo apt-get clean"};
                          untergrenze(p, m);
                          return p;
                      }});
    for (const auto& [ordner, titel, befehl] :
         {std::tuple{daten / "containers/storage", "Container-Speicher (Podman)", "podman system prune"},
          std::tuple{daten / "docker", "Container-Speicher (Docker ohne root)", "docker system prune"}}) {
        zeilen.push_back({istOrdner(ordner), [&, ordner = ordner, titel = titel, befehl = befehl] {
                              const auto m = miss(ordner);
                              SystemdatenPosten p{titel, m.bytes,
                                                  "Abbilder, Schichten und Container, die du ohne root betreibst (" +
                                                      ordner.native() +
                                                      "). Der Befehl entfernt angehaltene Container und Abbilder ohne "
                                                      "Namen, mit „-a“ auch jedes Abbild, das kein Container nutzt. "
                                                      "Hainbrem fasst den Speicher nicht an.",
                                                  std::string(befehl)};
                              untergrenze(p, m);
                              return p;
                          }});
    }

    std::vector<SystemdatenPosten> aus;
    s.gesamt.store(static_cast<int64_t>(std::count_if(zeilen.begin(), zeilen.end(), [](const Zeile& z) { return z.da; })),
                   std::memory_order_relaxed);
    for (const auto& z : zeilen) {
        if (!z.da) continue;
        if (s.angehalten()) break;
        aus.push_back(z.messen());
        s.dazu(1, aus.back().bytes.value_or(0));
    }
    return aus;
}

}  // namespace hainbrem::Paketsysteme
