#include "kern/entsorger.hpp"

#include <sys/stat.h>

#include <algorithm>

#include "kern/groesse.hpp"
#include "kern/laufend.hpp"
#include "kern/loeschen.hpp"
#include "kern/paketsysteme.hpp"
#include "kern/papierkorb_info.hpp"
#include "kern/plattenstand.hpp"
#include "kern/ueberlauf.hpp"
#include "plattform/papierkorb.hpp"

namespace hainbrem {

namespace fs = std::filesystem;

namespace {

bool vorhanden(const fs::path& p) {
    struct stat st;
    return ::lstat(p.c_str(), &st) == 0;  // a dangling link counts as present
}

Zeitpunkt jetztInSekunden() {
    return std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now());
}

}  // namespace

Entsorger::Entsorger(SafetyGuard w, Verlauf& v, bool p, Lauftest l)
    : waechter(std::move(w)), verlauf(v), probelauf(p), laeuft(std::move(l)) {
    if (!laeuft) laeuft = [](const std::string& besitzer) { return programmLaeuft(besitzer); };
}

bool Entsorger::istSymlink(const fs::path& url) {
    struct stat st;
    return ::lstat(url.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

Ergebnis<void> Entsorger::loesche(const fs::path& url) {
    const LoeschErgebnis e = loescheBaum(url);
    if (!e.ok()) return Fehlschlag{*e.fehler};
    return {};
}

Posten Entsorger::entsorge(const Fund& fund) { return entsorgeEins(fund, {}); }

Posten Entsorger::entsorgeEins(const Fund& fund, const std::function<bool(const Posten&)>& vormerken,
                               std::stop_token halt) {
    Posten p;
    p.pfad = fund.url.native();
    p.art = fund.art;
    const fs::path& url = fund.url;
    const auto fertig = [&p](PostenErgebnis e, std::string_view angabe = {}) {
        p.ergebnis = e;
        p.fehler = postenText(e, angabe);
        return p;
    };

    if (imEchtenHomeWaehrendTest(waechter.home()) || imEchtenHomeWaehrendTest(url))
        return fertig(PostenErgebnis::abgelehnt, grundText(Ablehnung::testlauf));
    if (!vorhanden(url)) return fertig(PostenErgebnis::schonWeg);
    const bool paket = fund.art == Entsorgung::deinstallieren;
    const int64_t vorher = paket ? Paketsysteme::belegt(url, waechter.home()) : Groesse::belegt(url);
    if (fund.besitzer && laeuft(*fund.besitzer)) return fertig(PostenErgebnis::laeuft, *fund.besitzer);
    if (const auto programm = offeneDateien.benutztVon(url)) return fertig(PostenErgebnis::benutzt, *programm);
    // The guard's verdict and the place acted on are one: the parent as the guard judged it,
    // held open, and everything below done relative to it.
    SafetyGuard::Freigabe frei = waechter.freigeben(url, fund.art);
    if (!frei.urteil.istErlaubt()) return fertig(PostenErgebnis::abgelehnt, frei.urteil.grund());
    const plattform::Ort& ort = *frei.ort;
    p.bytes = vorher;
    if (probelauf) return fertig(PostenErgebnis::probelauf);

    std::string fehler;
    if (paket) {
        // through the package system; nothing of it goes to the Trash
        Paketsysteme::Ausgang a = Paketsysteme::entferne(url, waechter.home());
        if (a.abgelehnt) {
            p.bytes = 0;
            return fertig(PostenErgebnis::abgelehnt, *a.abgelehnt);
        }
        if (!a.fehler) return fertig(PostenErgebnis::entfernt);
        fehler = std::move(*a.fehler);
    } else if (fund.art == Entsorgung::papierkorb) {
        auto platz = plattform::reservierePapierkorb(ort, waechter.home());
        if (!platz) {
            fehler = platz.error();
        } else {
            if (vormerken && !platz->datei.empty()) {
                Posten v = p;
                v.imPapierkorb = platz->datei.native();
                v.kennung = platz->kennung;
                v.ergebnis = PostenErgebnis::unterbrochen;
                v.fehler = postenText(v.ergebnis);
                if (!vormerken(v)) {
                    // undo could not find it: it does not move
                    plattform::papierkorbEintragVergessen(platz->datei, waechter.home());
                    p.bytes = 0;
                    return fertig(PostenErgebnis::fehlgeschlagen,
                                  "Nicht verschoben, weil der Verlauf sich nicht schreiben lässt");
                }
            }
            auto ziel = plattform::verschiebeInPapierkorb(ort, *platz);
            if (ziel) {
                if (!ziel->datei.empty()) p.imPapierkorb = ziel->datei.native();
                p.kennung = ziel->kennung;
                return fertig(PostenErgebnis::imPapierkorb);
            }
            fehler = ziel.error();
        }
    } else {
        const LoeschErgebnis e = loescheBaum(ort.eltern.fd(), ort.name, 3, std::move(halt));
        if (e.ok()) {
            // an entry of the Trash takes its .trashinfo along
            plattform::papierkorbEintragVergessen(ort.pfad(), waechter.home());
            return fertig(PostenErgebnis::entfernt);
        }
        fehler = *e.fehler;
    }
    // partly done: count only what really went
    const int64_t rest =
        !vorhanden(url) ? 0 : paket ? Paketsysteme::belegt(url, waechter.home()) : Groesse::belegt(url);
    p.bytes = std::max<int64_t>(0, subtrahiere(vorher, rest));
    return fertig(PostenErgebnis::fehlgeschlagen, fehler);
}

Runde Entsorger::entsorge(const std::vector<Fund>& funde, const std::string& titel, const fs::path& ort,
                          Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    s.gesamt.store(static_cast<int64_t>(funde.size()), std::memory_order_relaxed);
    Runde runde;
    runde.id = neueKennung();
    runde.titel = titel;
    runde.datum = jetztInSekunden();
    runde.freiVorher = Plattenstand::jetzt(ort).echtFrei;
    runde.freiNachher = runde.freiVorher;
    runde.probelauf = probelauf;
    const bool speichern = !probelauf;
    const auto sichere = [&]() {
        verlauf.ersetzen(runde);
        auto ok = verlauf.speichern();
        if (!ok && !runde.speicherFehler.grund) runde.speicherFehler.grund = ok.error();
        return static_cast<bool>(ok);
    };

    if (speichern) {
        verlauf.einfuegen(runde);
        // on disk before the first file is touched, or nothing is touched
        if (auto ok = verlauf.speichern(); !ok) {
            verlauf.entfernen(runde.id);
            runde.speicherFehler.grund = ok.error();
            return runde;
        }
    }
    for (size_t i = 0; i < funde.size(); ++i) {
        if (s.angehalten()) break;
        bool vorgemerkt = false;
        auto vormerken = [&](const Posten& v) {
            runde.posten.push_back(v);
            if (!sichere()) {
                runde.posten.pop_back();
                return false;
            }
            vorgemerkt = true;
            return true;
        };
        Posten p = speichern ? entsorgeEins(funde[i], vormerken, s.halt) : entsorgeEins(funde[i], {}, s.halt);
        if (vorgemerkt) runde.posten.back() = p;
        else runde.posten.push_back(p);
        if (speichern && (p.art == Entsorgung::papierkorb || i % 20 == 19)) sichere();
        s.dazu(1, p.bytes);
        if (fortschritt) fortschritt(i, funde.size(), runde.posten.back());
    }
    if (probelauf) runde.freiNachher = addiere(runde.freiVorher, runde.erwartet());
    else runde.freiNachher = Plattenstand::jetzt(ort).echtFrei;
    runde.pruefeRueckgaengig();
    if (speichern) {
        const bool nichtsAngefasst = std::all_of(runde.posten.begin(), runde.posten.end(), [](const Posten& p) {
            return p.ergebnis == PostenErgebnis::schonWeg || p.ergebnis == PostenErgebnis::laeuft ||
                   p.ergebnis == PostenErgebnis::benutzt || p.ergebnis == PostenErgebnis::abgelehnt;
        });
        if (nichtsAngefasst) {
            // stopped before the first item, or every item was left where it was: nothing to remember
            verlauf.entfernen(runde.id);
            if (auto ok = verlauf.speichern(); !ok && !runde.speicherFehler.grund) runde.speicherFehler.grund = ok.error();
        } else {
            sichere();
        }
    }
    return runde;
}

namespace {

// Is the entry in the Trash the one the round put there?
std::optional<std::string> andererEintrag(const Posten& p, const plattform::PapierkorbEintrag& e) {
    constexpr const char* anderes = "Im Papierkorb liegt unter diesem Namen inzwischen etwas anderes – es bleibt dort";
    if (p.kennung) {
        const auto& k = *p.kennung;
        const auto& jetzt = e.kennung;
        if (k.geraet != jetzt.geraet || k.inode != jetzt.inode || k.groesse != jetzt.groesse ||
            k.geaendertNs != jetzt.geaendertNs || (!k.info.empty() && k.info != jetzt.info))
            return anderes;
        return std::nullopt;
    }
    // recorded before identities were: the .trashinfo must still name the item's old place
    const auto herkunft = e.infoText ? PapierkorbInfo::herkunft(*e.infoText) : std::nullopt;
    if (!herkunft) return "Ohne Kennzeichen im Verlauf – hol es bitte selbst aus dem Papierkorb";
    const std::string ort = herkunft->starts_with("/") ? *herkunft : (fs::path(e.basis) / *herkunft).native();
    std::error_code f;
    const fs::path eltern = fs::canonical(fs::path(p.pfad).parent_path(), f);
    if (ort != p.pfad && (f || ort != (eltern / fs::path(p.pfad).filename()).native())) return anderes;
    return std::nullopt;
}

}  // namespace

Entsorger::Rueckgabe Entsorger::rueckgaengig(const std::string& id) {
    Rueckgabe r;
    std::optional<Runde> runde = verlauf.runde(id);
    if (!runde) return r;
    if (imEchtenHomeWaehrendTest(waechter.home())) {
        r.fehler.push_back(testSperreText);
        return r;
    }
    // last in, first out: a folder trashed after something inside it goes back before that
    // item, which then finds its old folder instead of a new empty one
    for (auto stelle = runde->posten.rbegin(); stelle != runde->posten.rend(); ++stelle) {
        auto& p = *stelle;
        if (!p.imPapierkorb || p.zurueckgelegt) continue;
        const fs::path ziel = p.pfad;
        const std::string name = ziel.filename().native();
        if (imEchtenHomeWaehrendTest(ziel)) {
            r.fehler.push_back(name + ": " + testSperreText);
            continue;
        }
        auto eintrag = plattform::oeffnePapierkorbEintrag(*p.imPapierkorb, waechter.home());
        if (!eintrag) {
            if (eintrag.error() == plattform::nichtImPapierkorbText && p.ergebnis == PostenErgebnis::unterbrochen &&
                vorhanden(ziel)) {
                // recorded, but the move never happened: it is still where it was
                plattform::papierkorbEintragVergessen(*p.imPapierkorb, waechter.home());
                p.zurueckgelegt = true;
                continue;
            }
            r.fehler.push_back(name + ": " + eintrag.error());
            continue;
        }
        if (const auto anders = andererEintrag(p, *eintrag)) {
            r.fehler.push_back(name + ": " + *anders);
            continue;
        }
        auto ort = waechter.rueckgabeOrt(ziel);
        if (!ort) {
            r.fehler.push_back(name + ": " + ort.error());
            continue;
        }
        if (auto ok = plattform::ausDemPapierkorb(*eintrag, *ort); ok) {
            p.zurueckgelegt = true;
            ++r.zurueck;
        } else {
            r.fehler.push_back(name + ": " + ok.error());
        }
    }
    std::reverse(r.fehler.begin(), r.fehler.end());  // told in the round's order, one line per item
    runde->pruefeRueckgaengig();
    verlauf.ersetzen(*runde);
    if (auto ok = verlauf.speichern(); !ok)
        r.fehler.push_back(ok.error() + ". Was zurückgelegt wurde, liegt trotzdem wieder an seinem Ort.");
    return r;
}

}  // namespace hainbrem
