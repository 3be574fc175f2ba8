#include "kern/programme.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <system_error>

#include "basis/pfade.hpp"
#include "kern/arbeiter.hpp"
#include "kern/befehl.hpp"
#include "kern/eigenschaftsliste.hpp"
#include "kern/groesse.hpp"
#include "kern/namen.hpp"
#include "kern/pakete.hpp"
#include "kern/programme_teile.hpp"
#include "kern/ueberlauf.hpp"
#include "kern/safetyguard.hpp"
#include "kern/zeilen.hpp"
#include "plattform/programme.hpp"

namespace hainbrem {

int64_t Programm::resteBytes() const {
    int64_t summe = 0;
    for (const auto& f : reste) summe = addiere(summe, f.bytes);
    return summe;
}

int64_t Verwaist::bytes() const {
    int64_t summe = 0;
    for (const auto& f : funde) summe = addiere(summe, f.bytes);
    return summe;
}

std::optional<Zeitpunkt> Verwaist::zuletzt() const {
    std::optional<Zeitpunkt> z;
    for (const auto& f : funde)
        if (f.datum && (!z || *f.datum > *z)) z = f.datum;
    return z;
}

std::string Verwaist::vermuteterName() const { return name ? *name : Programme::vermuteterName(bundleID); }

std::string_view rohwert(Herkunft h) {
    switch (h) {
        case Herkunft::bundle: return "app";
        case Herkunft::appImage: return "appimage";
        case Herkunft::flatpak: return "flatpak";
        case Herkunft::snap: return "snap";
    }
    return "app";
}

std::string_view anzeigeName(Herkunft h) {
    switch (h) {
        case Herkunft::bundle: return "Programm";
        case Herkunft::appImage: return "AppImage";
        case Herkunft::flatpak: return "Flatpak";
        case Herkunft::snap: return "Snap";
    }
    return "Programm";
}

namespace Programme {

namespace teile {

std::vector<char> missAlle(const std::vector<Fund*>& funde, Steuerung& s) {
    std::vector<char> gemessen(funde.size(), 0);
    parallel(funde.size(), [&](size_t i) {
        if (s.angehalten()) return;
        if (const auto b = miss(funde[i]->url, s)) {
            funde[i]->bytes = *b;
            gemessen[i] = 1;
            s.dazu(1);
        }
    });
    return gemessen;
}

void missAlle(std::vector<Fund>& funde, Steuerung& s) {
    std::vector<Fund*> zeiger;
    for (auto& f : funde) zeiger.push_back(&f);
    const std::vector<char> gemessen = missAlle(zeiger, s);
    std::vector<Fund> aus;
    for (size_t i = 0; i < funde.size(); ++i)
        if (gemessen[i]) aus.push_back(std::move(funde[i]));
    funde = std::move(aus);
}

void missUndSortiere(std::vector<Verwaist>& gruppen, Steuerung& s) {
    std::vector<Fund*> alleFunde;
    for (auto& g : gruppen)
        for (auto& f : g.funde) alleFunde.push_back(&f);
    s.gesamt.store(static_cast<int64_t>(alleFunde.size()), std::memory_order_relaxed);
    const std::vector<char> gemessen = missAlle(alleFunde, s);
    // stopped: the findings measured so far, groups left empty dropped
    if (s.angehalten()) {
        size_t i = 0;
        for (auto& g : gruppen) {
            std::vector<Fund> behalten;
            for (auto& f : g.funde)
                if (gemessen[i++]) behalten.push_back(std::move(f));
            g.funde = std::move(behalten);
        }
        std::erase_if(gruppen, [](const Verwaist& g) { return g.funde.empty(); });
    }
    for (auto& g : gruppen)
        std::sort(g.funde.begin(), g.funde.end(), [](const Fund& a, const Fund& b) {
            if (a.bytes != b.bytes) return a.bytes > b.bytes;
            return a.url < b.url;
        });
    std::sort(gruppen.begin(), gruppen.end(), [](const Verwaist& a, const Verwaist& b) {
        const int64_t x = a.bytes(), y = b.bytes();
        if (x != y) return x > y;
        return a.bundleID < b.bundleID;
    });
}

bool missReste(std::vector<Fund>& reste, Steuerung& s) {
    for (auto& f : reste) {
        const auto b = miss(f.url, s);
        if (!b) return false;
        f.bytes = *b;
    }
    return true;
}

void sortiere(std::vector<Programm>& programme) {
    std::stable_sort(programme.begin(), programme.end(), [](const Programm& a, const Programm& b) {
        const int64_t x = addiere(a.bytes, a.resteBytes()), y = addiere(b.bytes, b.resteBytes());
        if (x != y) return x > y;
        return a.name < b.name;
    });
}

}  // namespace teile

using namespace teile;

namespace {

// A group container named after the program: "group.<id>…" or "<team id>.<id>…".
bool istGruppenContainer(std::string_view name, std::string_view id) {
    if (name.starts_with("group.")) return gehoertZu(name.substr(6), id);
    if (name.size() > 11 && name[10] == '.' &&
        std::all_of(name.begin(), name.begin() + 10, [](char c) { return std::isalnum(static_cast<unsigned char>(c)); }))
        return gehoertZu(name.substr(11), id);
    return false;
}

bool istMaschinenTeil(std::string_view teil) {
    if (teil.size() < 12) return false;
    return std::all_of(teil.begin(), teil.end(),
                       [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) || c == '-'; });
}

// Only regular files of sensible size: a named pipe in place of Info.plist would block the read.
std::optional<Eigenschaftsliste> liesListe(const fs::path& pfad) {
    struct stat st;
    if (::stat(pfad.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > (8 << 20)) return std::nullopt;
    return Eigenschaftsliste::ausDatei(pfad);
}

// A real folder: a link is not followed, so nothing is listed twice or from elsewhere.
bool istOrdner(const fs::path& pfad) {
    struct stat st;
    return ::lstat(pfad.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool istBundleName(std::string_view name) { return name.size() > 4 && klein(name).ends_with(".app"); }

// The leftovers of one program in the Library, not yet measured.
std::vector<Fund> findeReste(const std::string& von, const std::string& name, const std::set<std::string>& andereIDs,
                             const std::set<std::string>& andereNamen, const Umgebung& umgebung) {
    const std::string id = klein(von);
    const std::string nameKlein = klein(name);
    std::vector<std::string> andere;
    for (const auto& a : andereIDs) andere.push_back(klein(a));
    bool nameFrei = !nameKlein.empty();
    for (const auto& n : andereNamen)
        if (klein(n) == nameKlein) nameFrei = false;

    std::vector<Fund> funde;
    for (std::string_view ordnerName : libraryOrdner) {
        const fs::path ordner = umgebung.home / "Library" / ordnerName;
        const bool perNamen = Namen::enthaelt(namensOrdner, ordnerName);
        const bool persoenlich = Namen::enthaelt(persoenlicheOrdner, ordnerName);
        for (const auto& eintrag : eintraege(ordner)) {
            const std::string n = klein(eintrag);
            bool treffer = gehoertZu(n, id) || (ordnerName == "Group Containers" && istGruppenContainer(n, id));
            // com.example.editor.lite is the other program's, not a part of com.example.editor
            if (treffer)
                for (const auto& a : andere)
                    if (a.size() > id.size() && gehoertZu(a, id) &&
                        (gehoertZu(n, a) || (ordnerName == "Group Containers" && istGruppenContainer(n, a))))
                        treffer = false;
            if (!treffer && perNamen && nameFrei && n == nameKlein) treffer = true;
            if (treffer) funde.push_back(rest(ordner / eintrag, von, !persoenlich));
        }
    }
    return funde;
}

}  // namespace

std::string vendor(std::string_view id) {
    const std::string k = klein(id);
    const size_t erster = k.find('.');
    if (erster == std::string::npos) return k;
    const size_t zweiter = k.find('.', erster + 1);
    return zweiter == std::string::npos ? k : k.substr(0, zweiter);
}

std::string kennungAus(std::string_view eintrag, std::string_view ordner) {
    std::string k(eintrag);
    if (k.ends_with(".plist")) k.resize(k.size() - 6);
    if (ordner == "Saved Application State" && k.ends_with(".savedState")) k.resize(k.size() - 11);
    if (ordner == "Preferences/ByHost") {
        const size_t punkt = k.rfind('.');
        if (punkt != std::string::npos && istMaschinenTeil(std::string_view(k).substr(punkt + 1))) k.resize(punkt);
    }
    return k;
}

std::string vermuteterName(std::string_view bundleID) {
    static constexpr std::array<std::string_view, 14> allgemein{
        "app", "mac", "macos", "osx", "desktop", "client", "helper", "agent", "launcher", "daemon",
        "plist", "savedstate", "main", "application"};
    std::vector<std::string> teile;
    for (size_t start = 0; start <= bundleID.size();) {
        size_t ende = bundleID.find('.', start);
        if (ende == std::string_view::npos) ende = bundleID.size();
        if (ende > start) teile.emplace_back(bundleID.substr(start, ende - start));
        start = ende + 1;
    }
    if (teile.empty()) return std::string(bundleID);
    size_t wahl = teile.size();
    for (size_t i = teile.size(); i-- > 1;) {
        if (!Namen::enthaelt(allgemein, klein(teile[i]))) {
            wahl = i;
            break;
        }
    }
    const std::string& roh = wahl < teile.size() ? teile[wahl] : teile[std::min<size_t>(1, teile.size() - 1)];
    std::string name;
    bool wortAnfang = true;
    const bool ganzKlein = klein(roh) == roh;
    for (char c : roh) {
        if (c == '-' || c == '_') {
            name += ' ';
            wortAnfang = true;
            continue;
        }
        name += (wortAnfang && ganzKlein) ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
        wortAnfang = false;
    }
    return name;
}

std::optional<Zeitpunkt> zuletztBenutzt(const fs::path& programm) { return plattform::zuletztBenutzt(programm); }

std::vector<fs::path> standardOrdner(const Umgebung& umgebung) {
    if (umgebung.profil == Katalogprofil::linuxDesktop) {
        std::vector<fs::path> ordner;
        for (std::string_view o : appImageOrdner) ordner.push_back(umgebung.home / o);
        return ordner;
    }
    return {"/Applications", umgebung.home / "Applications"};
}

Liste finde(const Umgebung& umgebung, const std::vector<fs::path>& ordner, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    s.gesamt.store(2, std::memory_order_relaxed);
    const bool linux = umgebung.profil == Katalogprofil::linuxDesktop;
    const std::vector<fs::path> orte = ordner.empty() ? standardOrdner(umgebung) : ordner;
    Liste l;
    Steuerung programme(s.halt);
    l.programme = linux ? linuxProgramme(umgebung, orte, &programme) : alle(umgebung, orte, &programme);
    s.dazu(1, programme.bytes.load());
    if (s.angehalten()) return l;
    Steuerung waisen(s.halt);
    l.verwaist = linux ? linuxVerwaist(l.programme, umgebung, &waisen)
                       : verwaist(l.programme, umgebung, geladeneDienste(), &waisen);
    s.dazu(1, waisen.bytes.load());
    return l;
}

Fund programmFund(const Programm& p) {
    const bool paket = p.herkunft == Herkunft::flatpak || p.herkunft == Herkunft::snap;
    // the owner is what the running-program test knows it by: the bundle id, the Flatpak app id,
    // the snap's name; an AppImage runs under its own name. A deployment's folder is named after
    // its branch, so a package's row carries the program's name.
    const bool nachName = p.herkunft == Herkunft::appImage || p.bundleID.empty();
    return Fund{p.url,
                p.bytes,
                paket ? Entsorgung::deinstallieren : Entsorgung::papierkorb,
                nachName ? p.name : p.bundleID,
                p.zuletztBenutzt,
                true,
                paket ? std::optional<std::string>(p.name) : std::nullopt};
}

std::vector<Fund> deinstallation(const Programm& p, const std::vector<Fund>& mitnehmen) {
    std::vector<Fund> funde{programmFund(p)};
    for (const auto& f : mitnehmen)
        if (f.url != p.url) funde.push_back(f);
    return funde;
}

std::optional<Programm> lies(const fs::path& bundle) {
    const auto info = liesListe(bundle / "Contents/Info.plist");
    if (!info) return std::nullopt;
    const auto id = info->wurzel().feld("CFBundleIdentifier").text();
    if (!id || id->empty()) return std::nullopt;
    Programm p;
    p.url = bundle;
    p.name = bundle.stem().native();
    p.bundleID = *id;
    p.version = info->wurzel().feld("CFBundleShortVersionString").text().value_or("");
    std::error_code e;
    p.ausAppStore = fs::exists(bundle / "Contents/_MASReceipt/receipt", e);
    return p;
}

std::vector<Fund> reste(const std::string& von, const std::string& name, const std::set<std::string>& andereIDs,
                        const std::set<std::string>& andereNamen, const Umgebung& umgebung, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    std::vector<Fund> funde = findeReste(von, name, andereIDs, andereNamen, umgebung);
    s.gesamt.store(static_cast<int64_t>(funde.size()), std::memory_order_relaxed);
    missAlle(funde, s);
    return funde;
}

std::vector<Programm> alle(const Umgebung& umgebung, const std::vector<fs::path>& ordner, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    std::vector<Programm> programme;
    const auto nimm = [&](const fs::path& bundle) {
        auto p = lies(bundle);
        if (p && !p->bundleID.starts_with("com.apple.")) programme.push_back(std::move(*p));
    };
    for (const auto& o : ordner) {
        for (const auto& eintrag : eintraege(o)) {
            if (s.angehalten()) return {};
            const fs::path pfad = o / eintrag;
            if (!istOrdner(pfad)) continue;
            if (istBundleName(eintrag)) {
                nimm(pfad);
                continue;
            }
            // suites install into a folder of their own: /Applications/Adobe Foto 2024/Adobe Foto 2024.app
            if (istPaketName(eintrag)) continue;
            for (const auto& kind : eintraege(pfad))
                if (istBundleName(kind) && istOrdner(pfad / kind)) nimm(pfad / kind);
        }
    }
    s.gesamt.store(static_cast<int64_t>(programme.size()), std::memory_order_relaxed);
    // one piece of work per program: its bundle, its date and its leftovers, each measured on
    // the thread that found them
    std::vector<char> fertig(programme.size(), 0);
    parallel(programme.size(), [&](size_t i) {
        Programm& p = programme[i];
        if (s.angehalten()) return;
        const auto bytes = miss(p.url, s);
        if (!bytes) return;
        p.bytes = *bytes;
        p.zuletztBenutzt = zuletztBenutzt(p.url);
        std::set<std::string> andereIDs, andereNamen;
        for (const auto& q : programme) {
            // a second copy of the same program is no other program
            if (&q == &p || klein(q.bundleID) == klein(p.bundleID)) continue;
            andereIDs.insert(q.bundleID);
            andereNamen.insert(q.name);
        }
        p.reste = findeReste(p.bundleID, p.name, andereIDs, andereNamen, umgebung);
        if (!missReste(p.reste, s)) return;
        fertig[i] = 1;
        s.dazu(1);
    });
    // stopped: only the programs looked at in full
    std::vector<Programm> aus;
    for (size_t i = 0; i < programme.size(); ++i)
        if (fertig[i]) aus.push_back(std::move(programme[i]));
    sortiere(aus);
    return aus;
}

std::vector<Programm> alle(const Umgebung& umgebung, Steuerung* steuerung) {
    return alle(umgebung, standardOrdner(umgebung), steuerung);
}

std::set<std::string> dienstLabels(std::string_view ausgabe) {
    std::set<std::string> labels;
    for (const std::string_view zeile : zeilen(ausgabe)) {
        // PID, status, label; the columns are separated by tabs
        std::string_view label;
        const size_t t1 = zeile.find('\t');
        const size_t t2 = t1 == std::string_view::npos ? t1 : zeile.find('\t', t1 + 1);
        if (t2 != std::string_view::npos) {
            label = zeile.substr(t2 + 1);
        } else {
            // some terminals turn tabs into blanks: take the third word
            size_t pos = 0;
            for (int feld = 0; feld < 2 && pos != std::string_view::npos; ++feld) {
                pos = zeile.find_first_not_of(' ', pos);
                if (pos != std::string_view::npos) pos = zeile.find(' ', pos);
            }
            if (pos != std::string_view::npos) {
                pos = zeile.find_first_not_of(' ', pos);
                if (pos != std::string_view::npos) label = zeile.substr(pos);
            }
        }
        while (!label.empty() && (label.back() == ' ' || label.back() == '\t')) label.remove_suffix(1);
        if (label.empty() || label == "Label") continue;
        labels.emplace(label);
    }
    return labels;
}

std::set<std::string> geladeneDienste() {
    if (!plattform::hatLaunchctl()) return {};
    const auto aus = Befehl::ausfuehren("/bin/launchctl", {"list"});
    return aus ? dienstLabels(*aus) : std::set<std::string>{};
}

bool dienstProgrammExistiert(const fs::path& agent) {
    const auto liste = liesListe(agent);
    if (!liste) return false;
    auto programm = liste->wurzel().feld("Program").text();
    if (!programm || programm->empty()) programm = liste->wurzel().feld("ProgramArguments").element(0).text();
    if (!programm || programm->empty()) return false;
    // a bare name is looked up on launchd's search path: assume it is there
    if (!programm->starts_with("/")) return true;
    struct stat st;
    return ::stat(programm->c_str(), &st) == 0;
}

std::vector<Verwaist> verwaist(const std::vector<Programm>& installiert, const Umgebung& umgebung,
                               const std::set<std::string>& dienste, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    std::set<std::string> hersteller, ids, labels;
    for (const auto& p : installiert) {
        hersteller.insert(vendor(p.bundleID));
        ids.insert(klein(p.bundleID));
    }
    for (const auto& d : dienste) labels.insert(klein(d));
    // our own caches and settings are no orphans, even where this program is no installed bundle
    hersteller.insert(vendor(SafetyGuard::standardKennung));

    std::map<std::string, Verwaist> gruppen;
    for (std::string_view ordnerName : libraryOrdner) {
        const fs::path ordner = umgebung.home / "Library" / ordnerName;
        for (const auto& eintrag : eintraege(ordner)) {
            if (s.angehalten()) return {};
            const std::string kennung = kennungAus(eintrag, ordnerName);
            const std::string k = klein(kennung);
            const size_t punkt = k.find('.');
            if (punkt == std::string::npos || !Namen::enthaelt(tlds, std::string_view(k).substr(0, punkt))) continue;
            if (k.starts_with("com.apple.") || k.find(' ') != std::string::npos) continue;
            if (hersteller.contains(vendor(k))) continue;
            if (std::any_of(ids.begin(), ids.end(), [&](const std::string& id) { return gehoertZu(k, id); }))
                continue;
            if (std::any_of(labels.begin(), labels.end(),
                            [&](const std::string& l) { return gehoertZu(l, k) || gehoertZu(k, l); }))
                continue;
            const fs::path pfad = ordner / eintrag;
            if (ordnerName == "LaunchAgents" && dienstProgrammExistiert(pfad)) continue;
            auto [it, neu] = gruppen.try_emplace(k);
            if (neu) it->second.bundleID = kennung;
            it->second.funde.push_back(rest(pfad, kennung, false));
        }
    }
    std::vector<Verwaist> aus;
    for (auto& [_, g] : gruppen) aus.push_back(std::move(g));
    missUndSortiere(aus, s);
    return aus;
}

std::vector<Verwaist> verwaist(const std::vector<Programm>& installiert, const Umgebung& umgebung) {
    return verwaist(installiert, umgebung, geladeneDienste());
}

}  // namespace Programme
}  // namespace hainbrem
