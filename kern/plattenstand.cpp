#include "kern/plattenstand.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "basis/pfade.hpp"
#include "kern/befehl.hpp"
#include "kern/eigenschaftsliste.hpp"
#include "kern/rechnen.hpp"
#include "plattform/plattform.hpp"

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
// The same roles as lsblk's reading gives them on Linux: "/" apart from home, home's file system,
// swap, /boot.
constexpr RollenText linuxRollenTexte[] = {
    {"System", "System (/)",
     "Das Betriebssystem mit seinen Programmen und Einstellungen (/usr, /etc, /var). Programme darin entfernt der "
     "Paketmanager, nicht Hainbrem."},
    {"Data", "Deine Daten",
     "Das Dateisystem mit deinem Home-Ordner: deine Dateien, Einstellungen und Caches, und wenn / mit darauf liegt, "
     "auch das System."},
    {"VM", "Auslagerung (Swap)",
     "Eine Swap-Partition für ausgelagerten Arbeitsspeicher. Ihr Platz ist fest vergeben, ob sie gerade genutzt "
     "wird oder nicht."},
    {"Preboot", "Systemstart (/boot)", "Kernel, Startdateien und Bootloader. Alte Kernel entfernt der Paketmanager."},
};
const RollenText* rollenText(std::string_view rolle, Katalogprofil aufbau) {
    if (aufbau == Katalogprofil::linuxDesktop) {
        for (const auto& r : linuxRollenTexte)
            if (r.rolle == rolle) return &r;
        return nullptr;
    }
    for (const auto& r : rollenTexte)
        if (r.rolle == rolle) return &r;
    return nullptr;
}

void sortiere(std::vector<Platte::Volume>& v) {
    std::stable_sort(v.begin(), v.end(), [](const auto& a, const auto& b) { return a.bytes > b.bytes; });
}
}  // namespace

std::string Platte::Volume::titel() const {
    const RollenText* r = rollenText(rolle, aufbau);
    return r ? std::string(r->titel) : name;
}

std::string_view Platte::Volume::erklaerung() const {
    const RollenText* r = rollenText(rolle, aufbau);
    if (r) return r->erklaerung;
    return aufbau == Katalogprofil::linuxDesktop ? "Ein weiteres Dateisystem auf dieser Platte."
                                                 : "Ein Volume des Systems.";
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

void sammle(const json& g, Sammlung& s) {
    const std::string fstyp = textAus(g, "fstype");
    const auto punkte = einhaengepunkte(g);
    if (!fstyp.empty() || !punkte.empty()) {
        Platte::Volume v;
        v.aufbau = Katalogprofil::linuxDesktop;
        v.geraet = textAus(g, "name");
        const std::string etikett = textAus(g, "label");
        v.name = !etikett.empty() ? etikett : !v.geraet.empty() ? v.geraet : "?";
        if (fstyp == "swap") {
            v.rolle = "VM";
            v.bytes = zahlAus(g, "size");  // the whole partition is held for swapping
        } else {
            v.bytes = zahlAus(g, "fsused");
            s.frei = addiere(s.frei, zahlAus(g, "fsavail"));
        }
        for (const auto& p : punkte) {
            if (p == "/boot" || p == "/boot/efi") v.rolle = "Preboot";
            s.punkte.emplace_back(s.volumes.size(), p);
        }
        s.volumes.push_back(std::move(v));
    }
    if (auto it = g.find("children"); it != g.end() && it->is_array())
        for (const auto& k : *it) sammle(k, s);
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
            "/usr/bin/lsblk", {"--json", "--bytes", "-o", "NAME,TYPE,SIZE,FSTYPE,FSUSED,FSAVAIL,LABEL,MOUNTPOINTS"});
        if (!aus) return std::nullopt;
        std::error_code fehler;
        const auto home = std::filesystem::weakly_canonical(plattform::heimOrdner(), fehler);
        return ausLsblk(*aus, fehler ? plattform::heimOrdner() : home);
    }
}

}  // namespace hainbrem
