#include "kern/plattenstand.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "basis/pfade.hpp"
#include "kern/befehl.hpp"
#include "kern/eigenschaftsliste.hpp"
#include "kern/ueberlauf.hpp"
#include "plattform/plattform.hpp"
#include "plattform/scan.hpp"

namespace hainbrem {

Plattenstand Plattenstand::jetzt(const std::filesystem::path& ort) {
    const plattform::Kapazitaet k = plattform::volumenKapazitaet(std::filesystem::path(ort.native()));
    Plattenstand s;
    s.gesamt = k.gesamt.value_or(0);
    s.echtFrei = k.verfuegbar.value_or(0);
    s.mitLoeschbarem = std::max(k.wichtig.value_or(s.echtFrei), s.echtFrei);
    return s;
}

int64_t Plattenstand::belegt() const { return subtrahiere(gesamt, echtFrei); }
int64_t Plattenstand::loeschbar() const { return std::max<int64_t>(subtrahiere(mitLoeschbarem, echtFrei), 0); }
double Plattenstand::anteilFrei() const {
    return gesamt < 1 ? 0.0 : static_cast<double>(echtFrei) / static_cast<double>(gesamt);
}

Plattenstand::Lage Plattenstand::lage(int64_t warnGrenze) const {
    if (echtFrei < kritischeGrenze) return Lage::kritisch;
    if (echtFrei < warnGrenze) return Lage::knapp;
    return Lage::gut;
}

std::string_view name(Plattenstand::Lage lage) {
    switch (lage) {
        case Plattenstand::Lage::gut: return "gut";
        case Plattenstand::Lage::knapp: return "knapp";
        case Plattenstand::Lage::kritisch: return "kritisch";
    }
    return "";
}

int64_t Platte::belegt() const { return subtrahiere(gesamt, frei); }

const Platte::Volume* Platte::volume(std::string_view rolle) const {
    for (const auto& v : volumes)
        if (v.rolle == rolle) return &v;
    return nullptr;
}

namespace {
struct RollenText {
    std::string_view rolle, titel, erklaerung;
};
constexpr RollenText rollenTexte[] = {
    {"System", "macOS",
     "Das versiegelte, schreibgeschützte macOS. Niemand kann es verkleinern, auch Hainbrem nicht. Ein Update "
     "ersetzt es als Ganzes."},
    {"Data", "Deine Daten", "Alles, was sich ändert: Benutzerordner, Programme, Einstellungen, Caches, Schnappschüsse."},
    {"VM", "Auslagerung (Swap)",
     "Ausgelagerter Arbeitsspeicher. Mit 8 GB RAM wächst er, wenn viele Programme offen sind, und schrumpft nach "
     "einem Neustart."},
    {"Preboot", "Systemstart",
     "Startdateien und Cryptexe (Safari, Systemteile, die Apple getrennt aktualisiert). Nach großen Updates bleiben "
     "hier manchmal alte Stände liegen, bis macOS sie selbst entfernt."},
    {"Recovery", "Wiederherstellung", "Das Wiederherstellungssystem für den Notfall. Bleibt."},
    {"Update", "Update-Vorrat", "Platz, den macOS für das nächste Update vorhält."},
};
const RollenText* rollenText(std::string_view rolle) {
    for (const auto& r : rollenTexte)
        if (r.rolle == rolle) return &r;
    return nullptr;
}

void sortiere(std::vector<Platte::Volume>& v) {
    std::stable_sort(v.begin(), v.end(), [](const auto& a, const auto& b) { return a.bytes > b.bytes; });
}
}  // namespace

namespace {
// Linux: the same roles, in the words of a Linux system; "Data" holds home (and "/" when the
// system is on the same file system).
struct LinuxRolle {
    std::string_view rolle, titel, erklaerung;
};
constexpr LinuxRolle linuxRollen[] = {
    {"Data", "Deine Daten", "Das Dateisystem mit deinem Home-Ordner: deine Dateien, Einstellungen und Caches."},
    {"System", "System",
     "Das Linux-System: Programme und Bibliotheken der Distribution, die ihr Paketmanager verwaltet, dazu "
     "Protokolle und Caches in /var."},
    {"VM", "Auslagerung (Swap)",
     "Eine Swap-Partition: fest eingerichteter Platz, in den Linux Arbeitsspeicher auslagert. Sie bleibt so groß, "
     "wie sie angelegt wurde."},
    {"Preboot", "Systemstart",
     "Startdateien: Kernel und Initramfs in /boot oder die Startprogramme der EFI-Partition. Alte Kernel entfernt der "
     "Paketmanager."},
};
const LinuxRolle* linuxRolle(std::string_view rolle) {
    for (const auto& r : linuxRollen)
        if (r.rolle == rolle) return &r;
    return nullptr;
}
bool mitSystem(const Platte::Volume& v) { return v.rolle == "Data" && v.einhaengepunkt == "/"; }
}  // namespace

std::string Platte::Volume::titel() const {
    if (profil != Katalogprofil::macos) {
        if (mitSystem(*this)) return "System und deine Daten";
        const LinuxRolle* r = linuxRolle(rolle);
        return r ? std::string(r->titel) : name;
    }
    const RollenText* r = rollenText(rolle);
    return r ? std::string(r->titel) : name;
}

std::string Platte::Volume::erklaerung() const {
    if (profil != Katalogprofil::macos) {
        if (mitSystem(*this))
            return "Das Dateisystem mit Linux und deinem Home-Ordner: Programme der Distribution, Einstellungen, Caches "
                   "und deine Dateien.";
        if (const LinuxRolle* r = linuxRolle(rolle)) return std::string(r->erklaerung);
        return einhaengepunkt.empty() ? "Ein weiteres Dateisystem auf dieser Platte, nicht eingehängt: Hainbrem sieht "
                                        "nicht hinein und zählt die ganze Partition."
                                      : "Ein weiteres Dateisystem auf dieser Platte, eingehängt unter " + einhaengepunkt + ".";
    }
    const RollenText* r = rollenText(rolle);
    return std::string(r ? r->erklaerung : "Ein Volume des Systems.");
}

std::optional<Platte> Platte::ausDiskutil(std::string_view info, std::string_view apfsListe) {
    const auto infoListe = Eigenschaftsliste::ausSpeicher(info);
    if (!infoListe || !infoListe->wurzel().istDict()) return std::nullopt;
    const auto referenz = infoListe->wurzel().feld("APFSContainerReference").text();
    if (!referenz) return std::nullopt;
    const auto liste = Eigenschaftsliste::ausSpeicher(apfsListe);
    if (!liste || !liste->wurzel().istDict()) return std::nullopt;
    const PlistKnoten container = liste->wurzel().feld("Containers");
    if (!container.istListe() || container.anzahl() == 0) return std::nullopt;
    for (size_t i = 0; i < container.anzahl(); ++i) {
        const PlistKnoten c = container.element(i);
        if (c.feld("ContainerReference").text() != referenz) continue;
        Platte p;
        p.gesamt = c.feld("CapacityCeiling").zahl().value_or(0);
        p.frei = c.feld("CapacityFree").zahl().value_or(0);
        const PlistKnoten vols = c.feld("Volumes");
        for (size_t k = 0; k < vols.anzahl(); ++k) {
            const PlistKnoten v = vols.element(k);
            if (!v.istDict()) continue;
            Volume vol;
            vol.name = v.feld("Name").text().value_or("?");
            vol.rolle = v.feld("Roles").element(0).text().value_or("");
            vol.bytes = v.feld("CapacityInUse").zahl().value_or(0);
            vol.geraet = v.feld("DeviceIdentifier").text().value_or("");
            p.volumes.push_back(std::move(vol));
        }
        sortiere(p.volumes);
        if (const Volume* system = p.volume("System")) p.name = system->name;
        return p;
    }
    return std::nullopt;
}

namespace {
using json = nlohmann::json;

int64_t zahlAus(const json& j, const char* schluessel) {
    const auto it = j.find(schluessel);
    if (it == j.end()) return 0;
    if (it->is_number_integer()) return it->get<int64_t>();
    if (it->is_string()) {  // older lsblk prints sizes as strings
        try {
            return std::stoll(it->get<std::string>());
        } catch (...) {
            return 0;
        }
    }
    return 0;
}

std::string textAus(const json& j, const char* schluessel) {
    const auto it = j.find(schluessel);
    return it != j.end() && it->is_string() ? it->get<std::string>() : std::string();
}

std::vector<std::string> einhaengepunkte(const json& g) {
    std::vector<std::string> punkte;
    if (auto it = g.find("mountpoints"); it != g.end() && it->is_array())
        for (const auto& m : *it)
            if (m.is_string()) punkte.push_back(m.get<std::string>());
    if (auto it = g.find("mountpoint"); it != g.end() && it->is_string()) punkte.push_back(it->get<std::string>());
    return punkte;
}

bool enthaeltWurzel(const json& g) {
    for (const auto& m : einhaengepunkte(g))
        if (m == "/") return true;
    if (auto it = g.find("children"); it != g.end() && it->is_array())
        for (const auto& k : *it)
            if (enthaeltWurzel(k)) return true;
    return false;
}

struct Sammlung {
    std::vector<Platte::Volume> volumes;
    std::vector<std::pair<size_t, std::string>> punkte;  // volume index, mount point
    int64_t frei = 0;
};

bool hatKinder(const json& g) {
    const auto it = g.find("children");
    return it != g.end() && it->is_array() && !it->empty();
}

void sammle(const json& g, Sammlung& s) {
    const std::string fstyp = textAus(g, "fstype");
    std::vector<std::string> punkte;
    for (auto& p : einhaengepunkte(g))
        if (!p.empty()) punkte.push_back(std::move(p));
    // an encrypted or LVM container holds its volumes as children: it is none itself
    if ((!fstyp.empty() || !punkte.empty()) && !(punkte.empty() && hatKinder(g))) {
        Platte::Volume v;
        v.profil = Katalogprofil::linuxDesktop;
        v.geraet = textAus(g, "name");
        v.typ = fstyp;
        const std::string etikett = textAus(g, "label");
        v.name = !etikett.empty() ? etikett : !v.geraet.empty() ? v.geraet : "?";
        const int64_t groesse = zahlAus(g, "size");
        if (fstyp == "swap") {
            v.rolle = "VM";
            v.bytes = groesse;  // the whole partition is held for swapping
        } else if (punkte.empty()) {
            v.bytes = groesse;  // not mounted: what it holds is unknown, the partition is its
        } else {
            v.bytes = zahlAus(g, "fsused");
            v.frei = zahlAus(g, "fsavail");
            s.frei = addiere(s.frei, v.frei);
            if (const int64_t fsgroesse = zahlAus(g, "fssize"); fsgroesse > 0) {
                v.reserviert = std::max<int64_t>(0, subtrahiere(subtrahiere(fsgroesse, v.bytes), v.frei));
                v.verwaltung = std::max<int64_t>(0, subtrahiere(groesse, fsgroesse));
            }
        }
        for (const auto& p : punkte) {
            if (v.einhaengepunkt.empty() && p.starts_with('/')) v.einhaengepunkt = p;
            if (p == "/boot" || p == "/boot/efi") v.rolle = "Preboot";
            s.punkte.emplace_back(s.volumes.size(), p);
        }
        s.volumes.push_back(std::move(v));
    }
    if (auto it = g.find("children"); it != g.end() && it->is_array())
        for (const auto& k : *it) sammle(k, s);
}

std::string ohneRaender(std::string t) {
    while (!t.empty() && (t.back() == ' ' || t.back() == '\t' || t.back() == '\n')) t.pop_back();
    const size_t a = t.find_first_not_of(" \t\n");
    return a == std::string::npos ? std::string() : t.substr(a);
}
}  // namespace

std::optional<Platte> Platte::ausLsblk(std::string_view text, const std::filesystem::path& home) {
    const json j = json::parse(text, nullptr, false);
    if (j.is_discarded() || !j.is_object()) return std::nullopt;
    const auto geraete = j.find("blockdevices");
    if (geraete == j.end() || !geraete->is_array()) return std::nullopt;
    for (const auto& g : *geraete) {
        if (!g.is_object() || !enthaeltWurzel(g)) continue;
        Sammlung s;
        sammle(g, s);
        // The file system holding home is "Data"; a separate "/" is "System".
        const std::string h = home.native();
        size_t besteLaenge = 0;
        std::optional<size_t> daten;
        for (const auto& [i, p] : s.punkte)
            if (liegtInOderIst(h, p) && p.size() >= besteLaenge) {
                besteLaenge = p.size();
                daten = i;
            }
        if (daten) s.volumes[*daten].rolle = "Data";
        for (const auto& [i, p] : s.punkte)
            if (p == "/" && i != daten) s.volumes[i].rolle = "System";
        Platte platte;
        platte.gesamt = zahlAus(g, "size");
        platte.frei = s.frei;
        platte.volumes = std::move(s.volumes);
        // a virtual disk has no model: then it is simply the disk
        platte.name = ohneRaender(textAus(g, "model"));
        if (platte.name.empty()) platte.name = "Festplatte";
        sortiere(platte.volumes);
        return platte;
    }
    return std::nullopt;
}

std::optional<Platte> Platte::lesen(Katalogprofil profil) {
    if (profil == Katalogprofil::macos) {
        const auto info = Befehl::ausfuehren("/usr/sbin/diskutil", {"info", "-plist", "/"});
        if (!info) return std::nullopt;
        const auto liste = Befehl::ausfuehren("/usr/sbin/diskutil", {"apfs", "list", "-plist"});
        if (!liste) return std::nullopt;
        return ausDiskutil(*info, *liste);
    } else {
        const auto aus = Befehl::ausfuehren(
            "/usr/bin/lsblk", {"--json", "--bytes", "-o", "NAME,TYPE,SIZE,FSTYPE,FSSIZE,FSUSED,FSAVAIL,LABEL,MODEL,MOUNTPOINTS"});
        if (!aus) return std::nullopt;
        std::error_code fehler;
        const auto home = std::filesystem::weakly_canonical(plattform::heimOrdner(), fehler);
        auto platte = ausLsblk(*aus, fehler ? plattform::heimOrdner() : home);
        // without udev's database lsblk knows no file system type; the mount table does
        if (platte) {
            const auto tabelle = plattform::einhaengTabelle();
            for (auto& v : platte->volumes)
                if (v.typ.empty() && !v.einhaengepunkt.empty())
                    for (const auto& e : tabelle)
                        if (e.punkt == v.einhaengepunkt) v.typ = e.typ;
        }
        return platte;
    }
}

double Plattenbild::anteilFrei() const {
    return gesamt < 1 ? 0.0 : static_cast<double>(echtFrei) / static_cast<double>(gesamt);
}

namespace {

std::string prozent(int64_t teil, int64_t ganz) {
    if (ganz < 1) return "?";
    return std::to_string((teil * 100 + ganz / 2) / ganz);
}

std::string reserveText(const std::vector<const Platte::Volume*>& mitReserve) {
    const bool ext = !mitReserve.empty() && std::all_of(mitReserve.begin(), mitReserve.end(), [](const auto* v) {
        return v->typ == "ext2" || v->typ == "ext3" || v->typ == "ext4";
    });
    if (!ext)
        return "Das Dateisystem hält diesen Platz zurück: für root, für seine Metadaten oder als Reserve. Für deine "
               "Dateien ist er nicht frei.";
    std::string anteil;
    if (mitReserve.size() == 1) {
        const auto& v = *mitReserve.front();
        const int64_t fs = addiere(addiere(v.bytes, v.frei), v.reserviert.value_or(0));
        anteil = " (hier " + prozent(v.reserviert.value_or(0), fs) + " % des Dateisystems)";
    }
    return "ext4 hält diesen Platz als Reserve zurück" + anteil +
           ", meist für root, damit das System weiterläuft, wenn die Platte voll ist. Für deine Dateien ist er nicht frei; "
           "„tune2fs -m“ ändert die Reserve.";
}

}  // namespace

Plattenbild plattenbild(const Plattenstand& stand, const std::optional<Platte>& platte) {
    Plattenbild b;
    b.echtFrei = stand.echtFrei;
    b.mitLoeschbarem = stand.mitLoeschbarem;
    if (!platte || platte->gesamt < 1) {
        b.gesamt = stand.gesamt;
        if (stand.gesamt > 0) {
            b.teile.push_back({Plattenteil::Art::volume, "Belegt", std::max<int64_t>(0, stand.belegt()), {}});
            b.teile.push_back({Plattenteil::Art::frei, "Frei", stand.echtFrei, {}});
        }
        return b;
    }
    b.name = platte->name;
    b.gesamt = platte->gesamt;
    const Platte::Volume* daten = platte->volume("Data");
    const bool linux = std::any_of(platte->volumes.begin(), platte->volumes.end(),
                                   [](const auto& v) { return v.profil != Katalogprofil::macos; });
    int64_t reserviert = 0, verwaltung = 0, freiAnderswo = 0;
    bool allesBekannt = true;  // every mounted file system told its size
    std::vector<const Platte::Volume*> mitReserve;
    for (const auto& v : platte->volumes) {
        int64_t belegt = v.bytes;
        // where home is, the watcher's fresher reading of the same file system
        if (linux && &v == daten && v.reserviert &&
            addiere(addiere(v.bytes, v.frei), *v.reserviert) == stand.gesamt)
            belegt = std::max<int64_t>(0, subtrahiere(subtrahiere(stand.gesamt, *v.reserviert), stand.echtFrei));
        if (belegt > 0) b.teile.push_back({Plattenteil::Art::volume, v.titel(), belegt, v.erklaerung()});
        if (!linux) continue;
        if (&v != daten) freiAnderswo = addiere(freiAnderswo, v.frei);
        if (!v.einhaengepunkt.empty() && v.typ != "swap" && !v.reserviert) allesBekannt = false;
        if (v.reserviert.value_or(0) > 0) {
            reserviert = addiere(reserviert, *v.reserviert);
            mitReserve.push_back(&v);
        }
        verwaltung = addiere(verwaltung, v.verwaltung);
    }
    if (reserviert > 0)
        b.teile.push_back({Plattenteil::Art::reserviert, "Vom Dateisystem zurückgehalten", reserviert, reserveText(mitReserve)});
    if (verwaltung > 0)
        b.teile.push_back({Plattenteil::Art::verwaltung, "Verwaltung des Dateisystems", verwaltung,
                           "Was das Dateisystem für seine eigene Buchführung fest eingerichtet hat (bei ext4 die "
                           "Inode-Tabellen und das Journal). Es gehört zu keiner Datei und lässt sich nicht freigeben."});
    // on a Mac the volumes share the container's free space; on Linux home's file system has its own,
    // unless home lies on another disk: then the watcher's figure is not this disk's
    const bool homeHier = daten || !linux;
    int64_t summe = addiere(homeHier ? stand.echtFrei : 0, freiAnderswo);
    for (const auto& t : b.teile) summe = addiere(summe, t.bytes);
    const int64_t rest = subtrahiere(b.gesamt, summe);
    if (rest > 0) {
        if (!linux)
            b.teile.push_back({Plattenteil::Art::rest, "Andere Bereiche der Platte", rest,
                               "Teile des Containers, die weder ein Volume zählt noch frei sind."});
        else if (allesBekannt)
            b.teile.push_back({Plattenteil::Art::rest, "Außerhalb der Dateisysteme", rest,
                               "Platz auf der Platte, der zu keinem Dateisystem gehört: die Partitionstabelle, Lücken "
                               "zwischen Partitionen, eine Verschlüsselung oder eine Volume-Gruppe (LVM), die ihn noch "
                               "nicht vergeben hat."});
        else
            b.teile.push_back({Plattenteil::Art::rest, "Andere Bereiche der Platte", rest,
                               "Was weder Dateien belegen noch frei ist: Reserven und Verwaltung der Dateisysteme und "
                               "Platz außerhalb von ihnen."});
    }
    if (homeHier)
        b.teile.push_back({Plattenteil::Art::frei, "Frei", stand.echtFrei,
                           linux && freiAnderswo > 0 ? "Frei, wo dein Home-Ordner liegt." : ""});
    if (freiAnderswo > 0)
        b.teile.push_back({Plattenteil::Art::freiAnderswo, homeHier ? "Frei auf anderen Volumes" : "Frei", freiAnderswo,
                           homeHier ? "Frei auf den anderen Dateisystemen dieser Platte; deine Dateien im Home-Ordner "
                                      "können ihn nicht nutzen."
                                    : "Frei auf dieser Platte; dein Home-Ordner liegt auf einer anderen."});
    // readings that do not fit together (a disk smaller than its parts) still add up
    if (rest < 0) b.gesamt = summe;
    return b;
}

}  // namespace hainbrem
