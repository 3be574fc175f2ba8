// hainbrem programme: installed programs with their leftovers, leftovers of removed programs,
// and uninstalling one as a round.
#include <sys/stat.h>

#include <algorithm>

#include "basis/pfade.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "cli/runde.hpp"
#include "kern/format.hpp"
#include "kern/laufend.hpp"
#include "kern/programme.hpp"
#include "kern/ueberlauf.hpp"

namespace hainbrem::cli {
namespace {

namespace fs = std::filesystem;


struct {
    std::vector<std::string> ordner;
    std::string deinstallieren;
    bool mitDaten = false, ja = false, probelauf = false;
} programmeOpt;

json programmJson(const Programm& p) {
    json reste = json::array();
    for (const auto& f : p.reste) reste.push_back(alsJson(f));
    return json{{"pfad", p.url.native()},
                {"name", p.name},
                {"bundleID", p.bundleID},
                {"version", p.version},
                {"bytes", p.bytes},
                {"zuletztBenutzt", datumOderNull(p.zuletztBenutzt)},
                {"ausAppStore", p.ausAppStore},
                {"reste", reste},
                {"resteBytes", p.resteBytes()},
                {"herkunft", std::string(rohwert(p.herkunft))},
                {"installation", p.installation},
                {"zweig", p.zweig},
                {"laufzeit", p.laufzeit},
                {"befehl", p.befehl ? json(*p.befehl) : json(nullptr)}};
}

json verwaistJson(const Verwaist& v) {
    json funde = json::array();
    for (const auto& f : v.funde) funde.push_back(alsJson(f));
    return json{{"bundleID", v.bundleID},
                {"vermuteterName", v.vermuteterName()},
                {"bytes", v.bytes()},
                {"zuletzt", datumOderNull(v.zuletzt())},
                {"funde", funde},
                {"herkunft", std::string(rohwert(v.herkunft))}};
}

// "Flatpak (System)", "Snap", "AppImage"; nothing for a Mac's bundle.
std::string herkunftText(const Programm& p) {
    if (p.herkunft == Herkunft::bundle) return {};
    std::string t(anzeigeName(p.herkunft));
    if (p.herkunft == Herkunft::flatpak) t += p.installation == "user" ? " (Benutzer)" : " (System)";
    return t;
}

int deinstalliere(const std::vector<Programm>& liste, const Kontext& k) {
    const std::string gesucht = klein(programmeOpt.deinstallieren);
    std::vector<const Programm*> treffer;
    for (const auto& p : liste)
        if (klein(p.name) == gesucht || klein(p.bundleID) == gesucht || p.url.native() == programmeOpt.deinstallieren)
            treffer.push_back(&p);
    if (treffer.empty())
        return fehler("Kein installiertes Programm heißt „" + programmeOpt.deinstallieren +
                      "“. Die Liste zeigt: hainbrem programme");
    if (treffer.size() > 1) {
        std::string orte;
        for (const auto* p : treffer) orte += "\n  " + p->url.native();
        return fehler("„" + programmeOpt.deinstallieren + "“ gibt es mehrfach – bitte mit dem ganzen Pfad angeben:" +
                      orte);
    }
    const Programm& p = *treffer.front();
    if (p.befehl)
        return fehler("„" + p.name + "“ kann Hainbrem nicht selbst deinstallieren: es ist systemweit installiert, dafür "
                      "braucht es Administratorrechte, und Hainbrem fragt nach keinem Passwort. Im Terminal:\n  " +
                      *p.befehl);
    std::vector<Fund> mitnehmen;
    size_t liegenGelassen = 0;
    for (const auto& f : p.reste) {
        if (f.vorgewaehlt || programmeOpt.mitDaten) mitnehmen.push_back(f);
        else ++liegenGelassen;
    }
    const std::vector<Fund> funde = Programme::deinstallation(p, mitnehmen);
    if (liegenGelassen > 0)
        warnung(fmt::format("{} mit persönlichen Daten der App {} liegen (mit --mit-daten {} mit).",
                            anzahl(static_cast<int64_t>(liegenGelassen), "Ordner", "Ordner"),
                            liegenGelassen == 1 ? "bleibt" : "bleiben", liegenGelassen == 1 ? "kommt er" : "kommen sie"));
    return fuehreRundeAus(funde, "Deinstallieren: " + p.name, {programmeOpt.probelauf, programmeOpt.ja}, k);
}

int programme(const Kontext& k) {
    if ((programmeOpt.ja || programmeOpt.probelauf || programmeOpt.mitDaten) && programmeOpt.deinstallieren.empty())
        return fehler("--ja, --probelauf und --mit-daten gelten nur zusammen mit --deinstallieren.");
    Umgebung u{k.home, k.temp, false, nullptr, {}};
    u.profil = k.profil;
    const bool linux = k.profil == Katalogprofil::linuxDesktop;
    std::vector<fs::path> ordner;
    for (const auto& o : programmeOpt.ordner) {
        struct stat st;
        if (::stat(o.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
            return fehler("„" + o + "“ ist kein Ordner.");
        ordner.push_back(fs::absolute(o).lexically_normal());
    }
    if (ordner.empty()) ordner = Programme::standardOrdner(u);

    Fortschritt fortschritt;
    fortschritt.zeige("Lese Programme und ihre Reste …");
    const auto [liste, waisen] = Programme::finde(u, ordner);
    fortschritt.fertig();
    if (!programmeOpt.deinstallieren.empty()) return deinstalliere(liste, k);

    if (k.json) {
        json programmeJson = json::array(), waisenJson = json::array();
        for (const auto& p : liste) programmeJson.push_back(programmJson(p));
        for (const auto& v : waisen) waisenJson.push_back(verwaistJson(v));
        druckeJson(json{{"programme", programmeJson}, {"verwaist", waisenJson}});
        return 0;
    }
    std::printf("Deinstallieren mit allen Resten – und Reste von Programmen, die längst weg sind.\n\n");
    if (liste.empty()) {
        std::string wo;
        for (const auto& o : ordner) wo += (wo.empty() ? "" : ", ") + kurzerPfad(o, k.home);
        if (linux) std::printf("Keine Programme gefunden (gesucht: Flatpak, Snap und AppImages in %s).\n", wo.c_str());
        else std::printf("Keine Programme gefunden (gesucht in %s).\n", wo.c_str());
    }
    for (const auto& p : liste) {
        const std::string herkunft = herkunftText(p);
        std::printf("%10s  %s%s%s%s%s\n", alsBytes(p.bytes).c_str(), p.name.c_str(), p.version.empty() && linux ? "" : " ",
                    p.version.c_str(),
                    p.ausAppStore ? "  (App Store)" : "", herkunft.empty() ? "" : ("  (" + herkunft + ")").c_str());
        std::printf("            %s%s%s · zuletzt benutzt %s\n", p.bundleID.c_str(), p.bundleID.empty() ? "" : " · ",
                    kurzerPfad(p.url, k.home).c_str(), tagesDatum(p.zuletztBenutzt).c_str());
        if (p.befehl)
            std::printf("            Systemweit installiert: Deinstallieren braucht Administratorrechte. Im Terminal: "
                        "%s\n",
                        p.befehl->c_str());
        if (!p.reste.empty())
            std::printf("            %s, %s\n", anzahl(static_cast<int64_t>(p.reste.size()), "Rest", "Reste").c_str(),
                        alsBytes(p.resteBytes()).c_str());
        for (const auto& f : p.reste)
            std::printf("              [%s] %10s  %s\n", f.vorgewaehlt ? "x" : " ", alsBytes(f.bytes).c_str(),
                        kurzerPfad(f.url, k.home).c_str());
    }
    if (!liste.empty())
        std::printf("\nPersönliche Daten der App (Profile, Dokumente) bleiben beim Deinstallieren, außer du hakst sie "
                    "hier an (--mit-daten).\nDeinstallieren: hainbrem programme --deinstallieren NAME\n");

    std::printf("\nReste entfernter Programme:\n");
    if (waisen.empty()) std::printf("  keine\n");
    for (const auto& v : waisen) {
        std::printf("%10s  %s (%s%s%s), zuletzt %s\n", alsBytes(v.bytes()).c_str(), v.vermuteterName().c_str(),
                    v.herkunft == Herkunft::bundle ? "" : std::string(anzeigeName(v.herkunft)).c_str(),
                    v.herkunft == Herkunft::bundle ? "" : ": ", v.bundleID.c_str(), tagesDatum(v.zuletzt()).c_str());
        for (const auto& f : v.funde)
            std::printf("              %10s  %s\n", alsBytes(f.bytes).c_str(), kurzerPfad(f.url, k.home).c_str());
    }
    if (!waisen.empty() && linux)
        std::printf("Nichts ist vorgewählt. Hainbrem zeigt nur Reste, deren Programm nirgends mehr installiert ist, die "
                    "kein laufendes Programm braucht und deren Hersteller kein anderes Programm auf diesem Rechner hat. "
                    "Alles geht in den Papierkorb.\n");
    else if (!waisen.empty())
        std::printf("Nichts ist vorgewählt. Hainbrem zeigt nur Reste, deren Programm nirgends mehr installiert ist, die "
                    "kein laufender Dienst braucht und deren Hersteller keine andere App auf dem Mac hat. Alles geht in "
                    "den Papierkorb.\n");
    return 0;
}

const bool programmeRegistriert = registriere({
    .name = "programme",
    .beschreibung = "Flatpaks, Snaps und AppImages mit ihren Resten zeigen, deinstallieren; Reste entfernter Programme",
    .beschreibungMac = "Programme mit ihren Resten zeigen, deinstallieren; Reste entfernter Programme",
    .reihenfolge = 51,
    .optionen =
        [](CLI::App& a, Katalogprofil profil) {
            const bool mac = profil == Katalogprofil::macos;
            a.add_option("--ordner", programmeOpt.ordner,
                         mac ? "Programmordner statt /Applications und ~/Applications (mehrfach möglich)"
                             : "Ordner mit AppImages statt ~/Applications, ~/.local/bin, ~/bin, ~/AppImages (mehrfach "
                               "möglich)")
                ->type_name("ORDNER");
            a.add_option("--deinstallieren", programmeOpt.deinstallieren,
                         mac ? "Programm (Name, Kennung oder Pfad) samt vorgewählter Reste in den Papierkorb"
                             : "Programm (Name, Kennung oder Pfad) deinstallieren: AppImages in den Papierkorb, Flatpak "
                               "und Snap über ihr Paketsystem; vorgewählte Reste in den Papierkorb")
                ->type_name("NAME");
            a.add_flag("--mit-daten", programmeOpt.mitDaten, "Auch persönliche Daten der App mitnehmen");
            a.add_flag("--probelauf", programmeOpt.probelauf, "Nur zeigen, was geschähe; nichts anfassen");
            a.add_flag("--ja", programmeOpt.ja, "Ohne Rückfrage ausführen");
        },
    .ausfuehren = programme,
});

}  // namespace
}  // namespace hainbrem::cli
