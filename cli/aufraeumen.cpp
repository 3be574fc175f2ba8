// hainbrem aufraeumen, entsorgen, verlauf and rueckgaengig: everything that removes or puts back
// goes through the same confirmation, the disposer and the history.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <ctime>
#include <set>

#include "basis/pfade.hpp"
#include "basis/systemfehler.hpp"
#include "basis/zeit.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "cli/pfadangabe.hpp"
#include "cli/runde.hpp"
#include "kern/bestaetigung.hpp"
#include "kern/entsorger.hpp"
#include "kern/format.hpp"
#include "kern/groesse.hpp"
#include "kern/katalog.hpp"
#include "kern/laufend.hpp"
#include "kern/plattenstand.hpp"
#include "kern/safetyguard.hpp"
#include "kern/verlauf.hpp"

namespace hainbrem::cli {
namespace {

namespace fs = std::filesystem;

std::string ortszeit(Zeitpunkt t) { return zeitText(t, "%d.%m.%Y %H:%M", Zone::ort); }

void meldeVerlauf(const Verlauf& v) {
    if (const auto h = v.hinweis()) warnung(*h);
}

// ---------------------------------------------------------------- aufraeumen

struct {
    std::vector<std::string> regeln;
    bool alle = false, probelauf = false, ja = false;
} aufraeumenOpt;

int aufraeumen(const Kontext& k) {
    for (const auto& id : aufraeumenOpt.regeln)
        if (!Katalog::regel(id, k.profil)) return fehler("Unbekannte Regel „" + id + "“. Die Regeln zeigt: hainbrem regeln");
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    warneUnlesbar(verlauf);
    if (k.tempHinweis) warnung(*k.tempHinweis);
    Umgebung u{k.home, k.temp, Zugriff::vollzugriff(k.home), laufTest(), verlauf.imPapierkorb(), k.profil};
    Fortschritt fortschritt;
    Steuerung steuerung;
    const auto ergebnisse = imHintergrund([&] { return Katalog::pruefe(u, &steuerung); },
                                          [&] {
                                              if (steuerung.gesamt.load(std::memory_order_relaxed) > 0)
                                                  fortschritt.zeige(
                                                      fmt::format("Prüfe … {:.0f} %", steuerung.anteil() * 100.0));
                                          });
    fortschritt.fertig();

    std::vector<Fund> funde;
    std::vector<std::string> titel;
    std::set<std::string> schon;
    for (const auto& e : ergebnisse) {
        const bool genannt = std::find(aufraeumenOpt.regeln.begin(), aufraeumenOpt.regeln.end(), e.regel.id) !=
                             aufraeumenOpt.regeln.end();
        // --regel narrows to the rules named; --alle widens to the findings not preselected
        if (!aufraeumenOpt.regeln.empty() && !genannt) continue;
        bool genommen = false;
        for (const auto& f : e.funde) {
            // one path can be found by two rules (~/.cache/uv): it is taken once
            const bool nimm = (aufraeumenOpt.alle || f.vorgewaehlt) && schon.insert(f.url.native()).second;
            if (nimm) {
                funde.push_back(f);
                genommen = true;
            }
        }
        if (genommen) titel.push_back(e.regel.titel);
    }
    if (funde.empty()) {
        if (k.json) druckeJson(json::object({{"posten", json::array()}}));
        else if (!aufraeumenOpt.regeln.empty() && !aufraeumenOpt.alle)
            std::printf("Nichts zu tun: in diesen Regeln ist nichts vorgewählt. Auch nicht Vorgewähltes nimmt "
                        "„--alle“.\n");
        else std::printf("Nichts zu tun: keine Funde ausgewählt.\n");
        return 0;
    }
    const std::string rundenTitel = titel.size() == 1 ? titel.front() : "Aufräumen: " + std::to_string(titel.size()) + " Regeln";
    return fuehreRundeAus(funde, rundenTitel, {aufraeumenOpt.probelauf, aufraeumenOpt.ja}, k, verlauf);
}

const bool aufraeumenRegistriert = registriere({
    .name = "aufraeumen",
    .beschreibung = "Die vorgewählten Funde des Katalogs entsorgen (oder die genannter Regeln, oder alle)",
    .reihenfolge = 30,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("--regel", aufraeumenOpt.regeln, "Nur Funde dieser Regel (Kennung aus hainbrem regeln, mehrfach möglich)")
                ->type_name("ID");
            a.add_flag("--alle", aufraeumenOpt.alle,
                       "Auch nicht vorgewählte Funde (mit --regel: alle Funde der genannten Regeln)");
            a.add_flag("--probelauf", aufraeumenOpt.probelauf, "Nur zeigen, was geschähe; nichts anfassen");
            a.add_flag("--ja", aufraeumenOpt.ja, "Ohne Rückfrage ausführen");
        },
    .ausfuehren = aufraeumen,
});

// ---------------------------------------------------------------- entsorgen

struct {
    std::vector<std::string> pfade;
    bool papierkorb = false, loeschen = false, probelauf = false, ja = false;
} entsorgenOpt;

int entsorgen(const Kontext& k) {
    if (entsorgenOpt.papierkorb && entsorgenOpt.loeschen)
        return fehler("Entweder --papierkorb oder --loeschen, nicht beides.");
    const Entsorgung art = entsorgenOpt.loeschen ? Entsorgung::loeschen : Entsorgung::papierkorb;
    const SafetyGuard waechter = waechterFuer(k);
    std::vector<Fund> funde;
    int status = 0;
    for (const auto& roh : entsorgenOpt.pfade) {
        // The folder part is resolved as the kernel (and the guard) resolve it, so "link/.." means
        // what the shell means; the last part is kept as written, so a link is taken as the link.
        const auto angabe = wieDieShell(roh);
        if (!angabe) {
            status = fehler(angabe.error());
            continue;
        }
        const fs::path& ohneSchraegstrich = angabe->pfad;
        struct stat st;
        if (::lstat(ohneSchraegstrich.c_str(), &st) != 0) {
            status = fehler(pfadFehler(roh, errno));
            continue;
        }
        // say so when the folder part led somewhere else than its words: the round takes what it
        // found there, and the confirmation shows that place
        if (angabe->woandersHin)
            warnung("„" + roh + "“ führt über einen Link nach „" + ohneSchraegstrich.native() + "“.");
        if (const Urteil u = waechter.pruefe(ohneSchraegstrich, art); !u.istErlaubt()) {
            status = fehler("„" + roh + "“: " + u.grund() + " – bleibt liegen.");
            continue;
        }
        Fund f;
        f.url = ohneSchraegstrich;
        f.bytes = Groesse::belegt(ohneSchraegstrich);
        f.art = art;
        f.vorgewaehlt = true;
        funde.push_back(std::move(f));
    }
    if (funde.empty()) return status ? status : fehler("Nichts zu entsorgen.");
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    warneUnlesbar(verlauf);
    const std::string titel =
        funde.size() == 1 ? "Entsorgen: " + funde.front().name() : std::to_string(funde.size()) + " Pfade entsorgen";
    const int s = fuehreRundeAus(funde, titel, {entsorgenOpt.probelauf, entsorgenOpt.ja}, k, verlauf);
    return s ? s : status;
}

const bool entsorgenRegistriert = registriere({
    .name = "entsorgen",
    .beschreibung = "Einzelne Dateien oder Ordner in den Papierkorb legen oder endgültig löschen",
    .reihenfolge = 31,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("PFAD", entsorgenOpt.pfade, "Datei oder Ordner")->type_name("")->required();
            a.add_flag("--papierkorb", entsorgenOpt.papierkorb, "In den Papierkorb (Vorgabe)");
            a.add_flag("--loeschen", entsorgenOpt.loeschen, "Endgültig löschen");
            a.add_flag("--probelauf", entsorgenOpt.probelauf, "Nur zeigen, was geschähe; nichts anfassen");
            a.add_flag("--ja", entsorgenOpt.ja, "Ohne Rückfrage ausführen");
        },
    .ausfuehren = entsorgen,
});

// ---------------------------------------------------------------- verlauf

int verlaufZeigen(const Kontext& k) {
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    warneUnlesbar(verlauf);
    const auto runden = verlauf.runden();
    if (k.json) {
        json liste = json::array();
        for (const auto& r : runden) liste.push_back(alsJson(r));
        druckeJson(liste);
        return 0;
    }
    if (runden.empty()) {
        std::printf("Noch keine Runde im Verlauf.\n");
        return 0;
    }
    for (const auto& r : runden) {
        std::printf("%s  %s\n", ortszeit(r.datum).c_str(), zeige(r.titel).c_str());
        std::printf("  Gewonnen %s · %s · %s%s\n", alsBytes(r.gewonnen()).c_str(),
                    anzahl(static_cast<int64_t>(r.posten.size()), "Teil", "Teile").c_str(),
                    anzahl(static_cast<int64_t>(r.fehlerAnzahl()), "Fehler", "Fehler").c_str(),
                    r.kannRueckgaengig() ? " · rückgängig möglich" : "");
        std::printf("  %s\n", r.id.c_str());
    }
    return 0;
}

const bool verlaufRegistriert = registriere({
    .name = "verlauf",
    .beschreibung = "Bisherige Aufräum-Runden zeigen",
    .reihenfolge = 32,
    .optionen = nullptr,
    .ausfuehren = verlaufZeigen,
});

// ---------------------------------------------------------------- rueckgaengig

std::string rueckgaengigId;

int rueckgaengig(const Kontext& k) {
    Verlauf verlauf(Verlauf::standardDatei(k.home));
    warneUnlesbar(verlauf);
    // the whole id, or a unique beginning of at least 4 characters
    const std::string& gesucht = rueckgaengigId;
    std::vector<std::string> treffer;
    for (const auto& r : verlauf.runden()) {
        if (gleichOhneFall(r.id, gesucht)) {
            treffer = {r.id};
            break;
        }
        if (gesucht.size() >= 4 && gleichOhneFall(std::string_view(r.id).substr(0, gesucht.size()), gesucht))
            treffer.push_back(r.id);
    }
    if (treffer.empty()) return fehler("Keine Runde mit der Kennung „" + rueckgaengigId + "“ im Verlauf.");
    if (treffer.size() > 1) return fehler("„" + rueckgaengigId + "“ passt zu mehreren Runden – bitte länger angeben.");

    Entsorger entsorger(waechterFuer(k), verlauf);
    const auto ergebnis = entsorger.rueckgaengig(treffer.front());
    meldeVerlauf(verlauf);
    if (k.json) {
        json j{{"id", treffer.front()}, {"zurueck", ergebnis.zurueck}, {"fehler", ergebnis.fehler}};
        if (const auto r = verlauf.runde(treffer.front())) j["runde"] = alsJson(*r);
        druckeJson(j);
    } else {
        std::printf("%s zurückgelegt.\n", anzahl(ergebnis.zurueck, "Teil", "Teile").c_str());
        for (const auto& f : ergebnis.fehler) std::printf("  ✗ %s\n", zeige(f).c_str());
    }
    return ergebnis.fehler.empty() ? 0 : 1;
}

const bool rueckgaengigRegistriert = registriere({
    .name = "rueckgaengig",
    .beschreibung = "Die Papierkorb-Teile einer Runde zurücklegen",
    .reihenfolge = 33,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("ID", rueckgaengigId, "Kennung der Runde (aus hainbrem verlauf; ihr Anfang genügt)")
                ->type_name("")
                ->required();
        },
    .ausfuehren = rueckgaengig,
});

}  // namespace
}  // namespace hainbrem::cli
