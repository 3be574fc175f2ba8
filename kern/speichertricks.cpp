#include "kern/speichertricks.hpp"

#include "basis/zeit.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>
#include <map>

#include "basis/pfade.hpp"
#include "kern/befehl.hpp"
#include "kern/format.hpp"
#include "kern/groesse.hpp"
#include "kern/paketsysteme.hpp"
#include "kern/plattenstand.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/zeilen.hpp"
#include "plattform/tricks.hpp"

namespace hainbrem {

namespace {

bool istZiffer(char c) { return c >= '0' && c <= '9'; }

std::string_view ohneRand(std::string_view s) {
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
    return s;
}

// Decimal digits to a non-negative number; nothing on anything else or overflow. Parsed
// text must never abort the process, so no checked-arithmetic helpers here.
std::optional<int64_t> ganzzahl(std::string_view s) {
    if (s.empty()) return std::nullopt;
    int64_t wert = 0;
    for (char c : s) {
        if (!istZiffer(c)) return std::nullopt;
        if (__builtin_mul_overflow(wert, 10, &wert) || __builtin_add_overflow(wert, c - '0', &wert))
            return std::nullopt;
    }
    return wert;
}

}  // namespace

const Ausfuehrer& standardAusfuehrer() {
    static const Ausfuehrer a = [](const std::string& programm, const std::vector<std::string>& argumente)
        -> Ergebnis<std::string> {
        // the tools exist only on a Mac; elsewhere nothing runs
        if (!plattform::hatMacWerkzeuge()) return Fehlschlag{"Das gibt es nur auf einem Mac"};
        return Befehl::ausfuehren(programm, argumente);
    };
    return a;
}

// ---------------------------------------------------------------------------------- iCloud

namespace ICloud {

std::string anzeigeName(const fs::path& datei, const fs::path& home) {
    const std::string p = datei.native();
    constexpr std::string_view marke = "/com~apple~CloudDocs/";
    if (const size_t m = p.find(marke); m != std::string::npos) {
        const std::string_view rest = std::string_view(p).substr(m + marke.size());
        const size_t schnitt = rest.find('/');
        if (schnitt == std::string_view::npos) return "iCloud Drive";
        return "iCloud Drive/" + std::string(rest.substr(0, schnitt));
    }
    if (std::string_view container = relativ(p, (home / "Library/Mobile Documents").native()); !container.empty()) {
        container = container.substr(0, container.find('/'));
        const size_t tilde = container.rfind('~');
        return "App: " + std::string(tilde == std::string_view::npos ? container : container.substr(tilde + 1));
    }
    if (const std::string_view rel = relativ(p, home.native()); !rel.empty())
        return std::string(rel.substr(0, rel.find('/')));
    return datei.parent_path().filename().native();
}

std::vector<ICloudOrdner> gruppiere(const std::vector<Datei>& dateien, const fs::path& home) {
    std::map<std::string, ICloudOrdner> gruppen;
    for (const auto& d : dateien) {
        const std::string name = anzeigeName(d.pfad, home);
        auto& g = gruppen[name];
        g.name = name;
        g.dateien.push_back(d.pfad);
        g.bytes = addiere(g.bytes, d.bytes);
        if (d.zugriff && (!g.zuletztGeoeffnet || *d.zugriff > *g.zuletztGeoeffnet)) g.zuletztGeoeffnet = d.zugriff;
    }
    std::vector<ICloudOrdner> aus;
    for (auto& [_, g] : gruppen) aus.push_back(std::move(g));
    std::stable_sort(aus.begin(), aus.end(),
                     [](const ICloudOrdner& a, const ICloudOrdner& b) { return a.bytes > b.bytes; });
    return aus;
}

std::vector<ICloudOrdner> geladen(const Umgebung& umgebung, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    static constexpr std::array<const char*, 3> wurzeln{"Library/Mobile Documents", "Desktop", "Documents"};
    s.gesamt.store(static_cast<int64_t>(wurzeln.size()), std::memory_order_relaxed);
    std::vector<Datei> dateien;
    for (const char* wurzel : wurzeln) {
        if (s.angehalten()) break;
        int64_t bytes = 0;
        for (auto& d : plattform::geladeneCloudDateien(umgebung.home / wurzel)) {
            bytes = addiere(bytes, d.bytes);
            dateien.push_back(Datei{std::move(d.pfad), d.bytes, d.zugriff});
        }
        s.dazu(1, bytes);
    }
    return gruppiere(dateien, umgebung.home);
}

Ergebnis<int> auslagern(const std::vector<fs::path>& dateien, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    s.gesamt.store(static_cast<int64_t>(dateien.size()), std::memory_order_relaxed);
    int gut = 0, schlecht = 0;
    for (const auto& d : dateien) {
        if (s.angehalten()) break;
        (plattform::cloudAuslagern(d) ? gut : schlecht)++;
        s.dazu(1);
    }
    if (schlecht == 0) return gut;
    if (gut == 0) return Fehlschlag{"Keine Datei ließ sich auslagern; sie bleiben auf dem Mac."};
    return Fehlschlag{std::to_string(schlecht) + " von " + anzahl(gut + schlecht, "Datei", "Dateien") +
                      (schlecht == 1 ? " ließ sich nicht auslagern; sie bleibt auf dem Mac."
                                     : " ließen sich nicht auslagern; sie bleiben auf dem Mac.")};
}

std::optional<bool> wahrheitAus(std::string_view ausgabe) {
    const std::string_view w = ohneRand(ausgabe);
    if (w == "1" || w == "true" || w == "YES") return true;
    if (w == "0" || w == "false" || w == "NO") return false;
    return std::nullopt;
}

std::optional<bool> optimierenAn(const Ausfuehrer& ausfuehren) {
    const auto aus = ausfuehren("/usr/bin/defaults", {"read", "com.apple.bird", "optimize-storage"});
    return aus ? wahrheitAus(*aus) : std::nullopt;
}

}  // namespace ICloud

// ------------------------------------------------------------------------ snapshots

std::string Schnappschuss::datumsKennung() const {
    size_t start = 0;
    while (start <= name.size()) {
        size_t ende = name.find('.', start);
        if (ende == std::string::npos) ende = name.size();
        const std::string_view teil = std::string_view(name).substr(start, ende - start);
        // a date has digits; a lone "-" is none
        if (std::any_of(teil.begin(), teil.end(), istZiffer) &&
            std::all_of(teil.begin(), teil.end(), [](char c) { return istZiffer(c) || c == '-'; }))
            return std::string(teil);
        start = ende + 1;
    }
    return {};
}

namespace Schnappschuesse {

std::optional<Zeitpunkt> datumAus(std::string_view k) { return zeitAus(k, "JJJJ-MM-DD-hhmmss", Zone::ort); }

std::vector<Schnappschuss> ausListe(std::string_view ausgabe) {
    std::vector<Schnappschuss> liste;
    for (std::string_view z : zeilen(ausgabe)) {
        z = ohneRand(z);
        // newer tmutil versions print a heading "Snapshots for disk /:" first
        if (z.empty() || z.back() == ':') continue;
        Schnappschuss s{std::string(z), std::nullopt};
        s.datum = datumAus(s.datumsKennung());
        liste.push_back(std::move(s));
    }
    return liste;
}

std::vector<Schnappschuss> alle(const Ausfuehrer& ausfuehren) {
    const auto aus = ausfuehren("/usr/bin/tmutil", {"listlocalsnapshots", "/"});
    return aus ? ausListe(*aus) : std::vector<Schnappschuss>{};
}

std::optional<std::string> loeschBefehl(const std::vector<Schnappschuss>& liste) {
    std::string befehl;
    for (const auto& s : liste) {
        std::string kennung;
        // nothing but digits and dashes ever reaches the shell
        for (char c : s.datumsKennung())
            if (istZiffer(c) || c == '-') kennung += c;
        if (kennung.empty()) continue;
        if (!befehl.empty()) befehl += " && ";
        befehl += "/usr/bin/tmutil deletelocalsnapshots " + kennung;
    }
    if (befehl.empty()) return std::nullopt;
    return befehl;
}

std::optional<std::string> loeschSkript(const std::vector<Schnappschuss>& liste) {
    const auto befehl = loeschBefehl(liste);
    if (!befehl) return std::nullopt;
    return "do shell script \"" + *befehl + "\" with administrator privileges";
}

bool loeschen(const std::vector<Schnappschuss>& liste, const Ausfuehrer& ausfuehren) {
    const auto skript = loeschSkript(liste);
    if (!skript) return false;
    return static_cast<bool>(ausfuehren("/usr/bin/osascript", {"-e", *skript}));
}

}  // namespace Schnappschuesse

// ---------------------------------------------------------------------- system data

namespace Systemdaten {

std::optional<int64_t> swapAusSwapusage(std::string_view ausgabe) {
    const size_t pos = ausgabe.find("total = ");
    if (pos == std::string_view::npos) return std::nullopt;
    std::string_view rest = ausgabe.substr(pos + 8);
    size_t i = 0;
    while (i < rest.size() && istZiffer(rest[i])) ++i;
    const auto ganz = ganzzahl(rest.substr(0, i));
    if (!ganz) return std::nullopt;
    int64_t mantisse = *ganz, teiler = 1;
    if (i < rest.size() && rest[i] == '.') {
        size_t j = ++i;
        while (j < rest.size() && istZiffer(rest[j])) ++j;
        for (; i < j; ++i) {
            if (teiler >= 1'000'000'000 || __builtin_mul_overflow(mantisse, 10, &mantisse) ||
                __builtin_add_overflow(mantisse, rest[i] - '0', &mantisse))
                return std::nullopt;
            teiler *= 10;
        }
    }
    if (i >= rest.size()) return std::nullopt;
    int64_t einheit;
    switch (rest[i]) {
        case 'B': einheit = 1; break;
        case 'K': einheit = int64_t{1} << 10; break;
        case 'M': einheit = int64_t{1} << 20; break;
        case 'G': einheit = int64_t{1} << 30; break;
        case 'T': einheit = int64_t{1} << 40; break;
        default: return std::nullopt;
    }
    int64_t bytes;
    if (__builtin_mul_overflow(mantisse, einheit, &bytes)) return std::nullopt;
    return bytes / teiler;
}

std::optional<Swap> swapSumme(const std::vector<plattform::SwapBereich>& bereiche) {
    Swap summe;
    for (const auto& b : bereiche) {
        // the kernel's figures, never trusted to fit: a bad table must not abort the process
        int64_t bytes, belegt;
        if (b.kib < 0 || b.belegtKib < 0 || __builtin_mul_overflow(b.kib, 1024, &bytes) ||
            __builtin_mul_overflow(b.belegtKib, 1024, &belegt) || __builtin_add_overflow(summe.bytes, bytes, &summe.bytes) ||
            __builtin_add_overflow(summe.belegt, belegt, &summe.belegt))
            return std::nullopt;
    }
    return summe;
}

std::optional<int64_t> swapGesamt(const Ausfuehrer& ausfuehren) {
    if (const auto bereiche = plattform::swapBereiche()) {
        const auto summe = swapSumme(*bereiche);
        return summe ? std::optional(summe->bytes) : std::nullopt;
    }
    const auto aus = ausfuehren("/usr/sbin/sysctl", {"vm.swapusage"});
    return aus ? swapAusSwapusage(*aus) : std::nullopt;
}

namespace {

std::vector<SystemdatenPosten> macZeilen(const Umgebung& umgebung, const Ausfuehrer& ausfuehren,
                                         const Groesse::Messung& temp) {
    std::vector<SystemdatenPosten> zeilen;
    zeilen.push_back({std::string(swapTitel), swapGesamt(ausfuehren),
                      "Wird der Arbeitsspeicher knapp, lagert macOS Teile davon auf die Platte aus. Mit 8 GB RAM "
                      "wächst das schnell. Es verschwindet nach einem Neustart oder wenn weniger Programme offen "
                      "sind."});
    zeilen.push_back({std::string(tempTitel), temp.angehalten ? std::nullopt : std::optional(temp.bytes),
                      "Zwischenablagen von Programmen (…/var/folders). Dort liegen auch die Chrome-Kopien. Alte "
                      "Teile räumt Hainbrem unter „Aufräumen“ weg."});
    zeilen.push_back({std::string(loeschbarTitel), Plattenstand::jetzt(umgebung.home).loeschbar(),
                      "Schnappschüsse, iCloud-Kopien und System-Caches, die macOS bei Bedarf selbst freigibt. Der "
                      "Finder zählt das als „frei“, Programme können es aber nicht sofort nutzen."});
    zeilen.push_back({std::string(schnappschussTitel) + std::to_string(Schnappschuesse::alle(ausfuehren).size()),
                      std::nullopt,
                      "Time Machine hält stündliche Stände auf der internen Platte, bis zu 24 Stunden lang. Solange "
                      "es sie gibt, macht Löschen keinen Platz frei, denn der Schnappschuss hält die Daten fest."});
    return zeilen;
}

SystemdatenPosten linuxSwap(const std::optional<std::vector<plattform::SwapBereich>>& bereiche) {
    // the full size, not the part in use: a swap file holds all of it on the disk
    const auto summe = bereiche ? swapSumme(*bereiche) : std::nullopt;
    SystemdatenPosten p{std::string(swapTitel), summe ? std::optional(summe->bytes) : std::nullopt,
                        "Wird der Arbeitsspeicher knapp, lagert Linux Teile davon in Swap-Dateien oder "
                        "-Partitionen aus. Die Zahl ist ihre volle Größe, so viel Platz halten sie fest"};
    if (!summe)
        p.erklaerung += ". Die Swap-Tabelle (/proc/swaps) ließ sich nicht lesen.";
    else if (bereiche->empty())
        p.erklaerung += ". Gerade ist kein Swap eingeschaltet.";
    else
        p.erklaerung += "; davon belegt: " + alsBytes(summe->belegt) + ".";
    return p;
}

SystemdatenPosten linuxJournal(const fs::path& ordner, const Groesse::Messung& m, bool da) {
    SystemdatenPosten p{std::string(journalTitel), da && !m.angehalten ? std::optional(m.bytes) : std::nullopt,
                        "Das Systemprotokoll von systemd (" + ordner.native() +
                            "). Es wächst bis zu seiner eingestellten Grenze; der Befehl begrenzt es auf 500 MB. "
                            "Hainbrem fasst es nicht an."};
    if (da) p.befehl = "sudo journalctl --vacuum-size=500M";
    if (!da)
        p.erklaerung = "Das Systemprotokoll von systemd (" + ordner.native() +
                       "). Hier gibt es kein dauerhaftes Journal.";
    else if (m.unlesbar > 0)
        p.erklaerung += " Ein Teil war nicht lesbar, die Zahl ist eine Untergrenze.";
    return p;
}

}  // namespace

SystemdatenPosten linuxTemp(const fs::path& ordner, const Groesse::Messung& messung, std::optional<bool> imSpeicher) {
    const bool speicher = imSpeicher.value_or(false);
    SystemdatenPosten p{std::string(tempTitel), messung.angehalten ? std::nullopt : std::optional(messung.bytes),
                        "Zwischenablagen von Programmen (" + ordner.native() + ")."};
    if (speicher) {
        p.titel += " (im Arbeitsspeicher)";
        p.erklaerung += " Der Ordner liegt auf einem tmpfs: Die Zahl ist Arbeitsspeicher (oder Swap), kein "
                        "Plattenplatz, und ein Neustart leert ihn.";
    }
    p.erklaerung += " Gezählt wird alles darin, nicht nur deine Dateien; deine alten räumt Hainbrem unter "
                    "„Aufräumen“ weg.";
    return p;
}

std::vector<SystemdatenPosten> messen(const Umgebung& umgebung, const Ausfuehrer& ausfuehren, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    const bool istLinux = umgebung.profil == Katalogprofil::linuxDesktop;
    const int64_t anzahl = istLinux ? 3 : 4;
    s.gesamt.store(anzahl, std::memory_order_relaxed);
    // only the folders take long: stopped, they stay unmeasured
    Steuerung innen(s.halt);
    const fs::path tempOrdner = plattform::tempBereich(umgebung.temp);
    const Groesse::Messung temp = Groesse::miss(tempOrdner, 2, &innen);
    s.dazu(1, temp.bytes);
    if (!istLinux) {
        auto zeilen = macZeilen(umgebung, ausfuehren, temp);
        s.dazu(anzahl - 1);
        return zeilen;
    }
    std::vector<SystemdatenPosten> zeilen;
    zeilen.push_back(linuxSwap(plattform::swapBereiche()));
    zeilen.push_back(linuxTemp(tempOrdner, temp, plattform::imArbeitsspeicher(tempOrdner)));
    std::error_code f;
    const bool da = fs::is_directory(umgebung.journalOrdner, f);
    const Groesse::Messung journal = da ? Groesse::miss(umgebung.journalOrdner, 2, &innen) : Groesse::Messung{};
    zeilen.push_back(linuxJournal(umgebung.journalOrdner, journal, da));
    s.dazu(anzahl - 1, journal.bytes);
    // what the package systems keep, a row for each one present
    Steuerung pakete(s.halt);
    for (auto& z : Paketsysteme::systemdaten(umgebung, &pakete)) zeilen.push_back(std::move(z));
    return zeilen;
}

}  // namespace Systemdaten

TricksTexte tricksTexte(Katalogprofil profil) {
    if (profil == Katalogprofil::macos)
        return {true, true,
                "Platz, den kein Löschen erreicht: Cloud-Dateien, die ganz hier liegen, lokale Schnappschüsse und der "
                "Block „Systemdaten“.",
                "Hainbrem sucht Cloud-Dateien, die ganz hier liegen, listet lokale Schnappschüsse und schlüsselt die "
                "Systemdaten auf.",
                "Misst Cloud-Dateien, Schnappschüsse und Systemdaten …", "", "icloud"};
    // Btrfs and ZFS snapshots do hold space here, but nobody measures them: say so instead of
    // pretending there are none
    return {false, false,
            "Platz, den kein Löschen erreicht: Swap, temporäre Dateien, das Systemprotokoll und was Paketsysteme "
            "aufbewahren.",
            "Hainbrem schlüsselt auf, was Swap, temporäre Dateien, das Systemprotokoll und die Paketsysteme belegen.",
            "Misst Systemdaten …",
            "Cloud-Dateien, die das System selbst auslagert, und lokale Sicherungs-Schnappschüsse gibt es unter "
            "Linux nicht. Schnappschüsse von Btrfs oder ZFS (etwa von Snapper oder Timeshift) misst Hainbrem nicht; "
            "solange sie bestehen, macht Löschen dort keinen Platz frei.",
            "cpu"};
}

Tricks alleTricks(const Umgebung& umgebung, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& st = steuerung ? *steuerung : ersatz;
    Tricks r;
    st.gesamt = 4;
    const TricksTexte texte = tricksTexte(umgebung.profil);
    if (texte.mitCloud) {
        Steuerung icloud(st.halt);
        r.icloud = ICloud::geladen(umgebung, &icloud);
    }
    st.dazu(1);
    if (st.angehalten()) return r;
    if (texte.mitCloud) r.optimieren = ICloud::optimierenAn();
    st.dazu(1);
    if (texte.mitSchnappschuessen) r.schnappschuesse = Schnappschuesse::alle();
    st.dazu(1);
    if (st.angehalten()) return r;
    Steuerung systemdaten(st.halt);
    r.systemdaten = Systemdaten::messen(umgebung, standardAusfuehrer(), &systemdaten);
    st.dazu(1);
    return r;
}

}  // namespace hainbrem
