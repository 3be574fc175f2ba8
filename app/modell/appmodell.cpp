#include "app/modell/appmodell.hpp"

#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <unordered_set>

#include "app/modell/arbeiten.hpp"
#include "kern/bestaetigung.hpp"
#include "kern/groesse.hpp"
#include "kern/laufend.hpp"
#include "kern/safetyguard.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem {

namespace {

// RegelErgebnis carries its rule's finder function, which cannot be compared; the rule id stands for it.
bool gleich(const std::vector<RegelErgebnis>& a, const std::vector<RegelErgebnis>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const RegelErgebnis& x, const RegelErgebnis& y) {
        return x.id() == y.id() && x.funde == y.funde && x.uebersprungen == y.uebersprungen;
    });
}
template <typename T>
bool gleich(const T& a, const T& b) {
    return a == b;
}

// Paths that are gone after a round; a path inside one of them is gone too.
class Entfernt {
public:
    explicit Entfernt(const Runde& r) {
        for (const auto& p : r.posten)
            if (!p.fehler) pfade_.insert(p.pfad);
    }
    bool leer() const { return pfade_.empty(); }
    bool enthaelt(std::string_view pfad) const {
        for (;;) {
            if (pfade_.contains(std::string(pfad))) return true;
            const size_t s = pfad.rfind('/');
            if (s == std::string_view::npos || s == 0) return false;
            pfad = pfad.substr(0, s);
        }
    }
    // Drops the elements whose path is gone; true when something was dropped.
    template <typename T, typename Pfad>
    bool filtere(std::vector<T>& liste, Pfad pfad) const {
        const size_t vorher = liste.size();
        std::erase_if(liste, [&](const T& x) { return enthaelt(pfad(x)); });
        return liste.size() != vorher;
    }

private:
    std::unordered_set<std::string> pfade_;
};

const std::string& fundPfad(const Fund& f) { return f.url.native(); }

// Two rules (or a rule and a program's leftovers) may name the same path; it goes once, the
// first finding wins, so nothing is counted twice or reported as gone on its second turn.
void einmalJePfad(std::vector<Fund>& funde) {
    std::unordered_set<std::string> gesehen;
    std::erase_if(funde, [&](const Fund& f) { return !gesehen.insert(f.url.native()).second; });
}

}  // namespace

TempWahl AppModell::tempOrdner(const std::filesystem::path& home) { return SafetyGuard::benutzerTemp(home); }

AppModell::AppModell(Umfeld umfeld, QObject* eltern) : QObject(eltern), umfeld_(std::move(umfeld)) {
    if (umfeld_.home.empty()) umfeld_.home = plattform::heimOrdner();
    if (umfeld_.temp.empty()) {
        TempWahl t = tempOrdner(umfeld_.home);
        umfeld_.temp = std::move(t.ordner);
        tempHinweis_ = std::move(t.hinweis);
    }
    if (umfeld_.verlaufDatei.empty()) umfeld_.verlaufDatei = Verlauf::standardDatei(umfeld_.home);
    if (!umfeld_.platte) umfeld_.platte = [profil = umfeld_.profil] { return arbeiten::platte(profil); };
    if (!umfeld_.vollzugriff) umfeld_.vollzugriff = &Zugriff::vollzugriff;
    if (!umfeld_.argumente) umfeld_.argumente = QCoreApplication::arguments();
    faeden_.setMaxThreadCount(8);  // the jobs mostly wait on the disk and bring their own workers
    entsorgerFaden_.setMaxThreadCount(1);
    fortschrittTakt_.setInterval(80);
    connect(&fortschrittTakt_, &QTimer::timeout, this, &AppModell::leseFortschritt);

    einstellungen_ = std::make_unique<Einstellungen>(umfeld_.einstellungsDatei);
    platzmelder_ = std::make_unique<Platzmelder>(Platzmelder::Teile{
        .home = umfeld_.home,
        .takt = umfeld_.takt,
        .wecker = umfeld_.wecker,
        .lesen = umfeld_.plattenstand,
        .vollzugriff = umfeld_.vollzugriff,
        .melden = umfeld_.melden,
        .warnGrenze = [e = einstellungen_.get()] { return e->warnGrenze(); },
    });
    connect(platzmelder_.get(), &Platzmelder::gelesen, this,
            [this](const Plattenstand& s) { setze(stand_, s, &AppModell::standGeaendert); });
    connect(platzmelder_.get(), &Platzmelder::vollzugriffGelesen, this,
            [this](bool an) { setze(vollzugriff_, an, &AppModell::vollzugriffGeaendert); });

    // 1. the first reading; lists empty, flags false
    stand_ = Plattenstand{};
    vollzugriff_ = umfeld_.vollzugriff(umfeld_.home);
    // 2. the disposer: guard for home and temp, the history, no dry run
    verlaufDatei_ = std::make_unique<Verlauf>(umfeld_.verlaufDatei);
    entsorger_ = std::make_unique<Entsorger>(SafetyGuard(umfeld_.home, umfeld_.temp, umfeld_.programme,
                                                                         std::string(SafetyGuard::standardKennung),
                                                                         umfeld_.profil), *verlaufDatei_,
                                             false, umfeld_.laeuft);
    // 3. nothing this process does may pull a cloud file down
    CloudSchutz::aktivieren();
    // 4.
    verlauf_ = verlaufDatei_->runden();
    // 1 and 5: read the disk and set the level; a disk already under 2 GB is reported at once
    platzmelder_->anfangen();
    // 6. and 7., each as its own task on this thread, in this order
    const Einstellungen::Startwerte start = einstellungen_->startwerte(*umfeld_.argumente);
    if (start.testlauf) entsorger_->probelauf = true;
    if (start.seite && *start.seite != seite_) setzeSeite(*start.seite);
    auto spaeter = [this](void (AppModell::*aktion)()) {
        QMetaObject::invokeMethod(this, aktion, Qt::QueuedConnection);
    };
    QMetaObject::invokeMethod(platzmelder_.get(), &Platzmelder::beobachten, Qt::QueuedConnection);
    spaeter(&AppModell::platteLesen);
    if (start.scan) spaeter(&AppModell::tiefenscan);
    if (start.pruefen) spaeter(&AppModell::pruefen);
    if (start.duplikate) spaeter(&AppModell::duplikateSuchen);
}

AppModell::~AppModell() { beenden(); }

void AppModell::beenden() {
    if (beendet_) return;
    beendet_ = true;
    platzmelder_->anhalten();
    for (Aufgabe* a : {&katalogAufgabe_, &scanAufgabe_, &duplikateAufgabe_, &programmeAufgabe_, &projekteAufgabe_,
                       &tricksAufgabe_})
        a->anhalten();
    // a disposal asked for but not begun is dropped; one that runs finishes and records its round
    entsorgerFaden_.clear();
    faeden_.waitForDone();
    entsorgerFaden_.waitForDone();
    fortschrittTakt_.stop();
}

// ---- bookkeeping

template <typename T>
void AppModell::setze(T& feld, T wert, void (AppModell::*signal)()) {
    Q_ASSERT_X(QThread::currentThread() == thread(), "AppModell", "Zustand nur im eigenen Faden schreiben");
    if (gleich(feld, wert)) return;
    feld = std::move(wert);
    emit(this->*signal)();
}

template <typename Ergebnis, typename Werk, typename Fertig>
void AppModell::imHintergrund(QThreadPool& pool, const std::shared_ptr<Lauf>& lauf, Werk werk, Fertig fertig) {
    pool.start([this, lauf, werk = std::move(werk), fertig = std::move(fertig)] {
        auto ergebnis = std::make_shared<Ergebnis>(werk(lauf->steuerung));
        QMetaObject::invokeMethod(
            this, [ergebnis, fertig] { fertig(std::move(*ergebnis)); }, Qt::QueuedConnection);
    });
}

template <typename Ergebnis, typename Werk, typename Speichere>
void AppModell::starte(Aufgabe& aufgabe, Werk werk, Speichere speichere, std::function<void(bool)> danach) {
    auto lauf = aufgabe.beginne();
    if (!fortschrittTakt_.isActive()) fortschrittTakt_.start();
    imHintergrund<Ergebnis>(faeden_, lauf, std::move(werk),
                            [this, &aufgabe, lauf, speichere = std::move(speichere),
                             danach = std::move(danach)](Ergebnis&& ergebnis) {
                                const bool ganz = aufgabe.schliesse(lauf);
                                speichere(std::move(ergebnis), ganz);
                                aufgabe.setzeLaeuft(false);
                                if (!katalogLaeuft() && !scanLaeuft() && !duplikateLaeuft() && !programmeLaeuft() &&
                                    !bauLaeuft() && !tricksLaeuft())
                                    fortschrittTakt_.stop();
                                if (danach) danach(ganz);
                            });
}

Aufgabe& AppModell::aufgabe(Arbeit arbeit) {
    switch (arbeit) {
        case Arbeit::katalog: return katalogAufgabe_;
        case Arbeit::scan: return scanAufgabe_;
        case Arbeit::duplikate: return duplikateAufgabe_;
        case Arbeit::programme: return programmeAufgabe_;
        case Arbeit::projekte: return projekteAufgabe_;
        case Arbeit::tricks: return tricksAufgabe_;
    }
    return katalogAufgabe_;
}

void AppModell::leseFortschritt() {
    for (const Aufgabe* a : {&katalogAufgabe_, &scanAufgabe_, &duplikateAufgabe_}) a->leseFortschritt();
}

Umgebung AppModell::umgebung() const {
    Umgebung u;
    u.home = umfeld_.home;
    u.temp = umfeld_.temp;
    u.vollzugriff = umfeld_.vollzugriff(umfeld_.home);
    u.laeuft = umfeld_.laeuft ? umfeld_.laeuft : laufTest();
    u.hainbremImPapierkorb = verlaufDatei_->imPapierkorb();
    u.profil = umfeld_.profil;
    return u;
}

void AppModell::anhalten(Arbeit arbeit) {
    if (arbeit == Arbeit::duplikate && duplikateWartenAufScan_) {
        duplikateWartenAufScan_ = false;
        duplikateAufgabe_.setzeLaeuft(false);
    }
    aufgabe(arbeit).anhalten();
}

// ---- derived

std::vector<Fund> AppModell::katalogAusgewaehlt() const {
    std::vector<Fund> r;
    for (const auto& e : katalog_)
        for (const auto& f : e.funde)
            if (auswahl_.contains(f.url.native())) r.push_back(f);
    einmalJePfad(r);
    return r;
}

std::vector<Fund> AppModell::katalogSicher() const {
    std::vector<Fund> r;
    for (const auto& e : katalog_)
        if (e.regel.risiko == Risiko::sicher)
            for (const auto& f : e.funde)
                if (f.vorgewaehlt) r.push_back(f);
    einmalJePfad(r);
    return r;
}

// ---- writes

void AppModell::setzeSeite(Seite s) { setze(seite_, s, &AppModell::seiteGeaendert); }
void AppModell::setzeAuswahl(std::set<std::string> a) { setze(auswahl_, std::move(a), &AppModell::auswahlGeaendert); }

void AppModell::waehle(const std::string& pfad, bool an) {
    if (istGewaehlt(pfad) == an) return;
    auto neu = auswahl_;
    if (an)
        neu.insert(pfad);
    else
        neu.erase(pfad);
    setzeAuswahl(std::move(neu));
}

void AppModell::vorgewaehlteDazu(const std::vector<const Fund*>& funde) {
    auto neu = auswahl_;
    for (const Fund* f : funde)
        if (f->vorgewaehlt) neu.insert(f->url.native());
    setzeAuswahl(std::move(neu));
}

void AppModell::waehle(const std::vector<Fund>& funde, bool an) {
    auto neu = auswahl_;
    for (const auto& f : funde) {
        if (an)
            neu.insert(f.url.native());
        else
            neu.erase(f.url.native());
    }
    setzeAuswahl(std::move(neu));
}

void AppModell::setzeUnterhaltung(std::vector<Nachricht> n) {
    setze(unterhaltung_, std::move(n), &AppModell::unterhaltungGeaendert);
}
void AppModell::setzeKiDenkt(bool an) { setze(kiDenkt_, an, &AppModell::kiDenktGeaendert); }
void AppModell::setzeKiVorschlag(std::vector<Fund> f) {
    setze(kiVorschlag_, std::move(f), &AppModell::kiVorschlagGeaendert);
}
void AppModell::setzeKartenZiel(std::optional<std::string> p) {
    setze(kartenZiel_, std::move(p), &AppModell::kartenZielGeaendert);
}
void AppModell::setzeAuftrag(std::optional<Auftrag> a) {
    // an order made elsewhere gets its round here, so it takes the same road
    if (a && !a->gang) a->gang = auftrag_ && *auftrag_ == *a ? auftrag_->gang : auftragFuer(a->funde, a->titel).gang;
    setze(auftrag_, std::move(a), &AppModell::auftragGeaendert);
}
void AppModell::letzteRundeSchliessen() {
    setze(letzteRunde_, std::optional<Runde>(), &AppModell::letzteRundeGeaendert);
}

std::string AppModell::letzteErklaerung() const {
    // the disk was re-read after the round and after every undo: that is the "now" of the line
    return letzteRunde_ ? erklaerung(*letzteRunde_, [this] { return stand_.echtFrei; }) : std::string();
}

// ---- actions

void AppModell::platteLesen() {
    if (beendet_) return;
    // no running flag of its own; the job only needs to be waited for when quitting
    auto lauf = std::make_shared<Lauf>();
    imHintergrund<std::optional<Platte>>(
        faeden_, lauf, [lesen = umfeld_.platte](Steuerung&) { return lesen(); },
        [this](std::optional<Platte>&& p) { setze(platte_, std::move(p), &AppModell::platteGeaendert); });
}

void AppModell::standAktualisieren() {
    platzmelder_->aktualisieren();
    platteLesen();  // the volumes with the free space above them, so the overview's figures agree
}

void AppModell::warnen(Plattenstand::Lage lage) { platzmelder_->warnen(lage); }

void AppModell::pruefen() {
    if (beendet_ || katalogLaeuft()) return;
    setze(katalogFortschritt_, 0.0, &AppModell::katalogFortschrittGeaendert);
    starte<std::vector<RegelErgebnis>>(
        katalogAufgabe_, [this](Steuerung& st) { return arbeiten::pruefen(umgebung(), st); },
        [this](std::vector<RegelErgebnis>&& ergebnis, bool ganz) {
            if (!ganz) return;
            setze(katalog_, std::move(ergebnis), &AppModell::katalogGeaendert);
            std::vector<const Fund*> funde;
            for (const auto& e : katalog_)
                for (const auto& f : e.funde) funde.push_back(&f);
            vorgewaehlteDazu(funde);
            setze(katalogGeprueft_, std::optional<Zeitpunkt>(std::chrono::system_clock::now()),
                  &AppModell::katalogGeprueftGeaendert);
        },
        [this](bool ganz) {
            if (!ganz) {
                notfallWartet_ = false;
                return;
            }
            standAktualisieren();
            // nothing safe left: no sheet of nothing; the overview's card says so
            if (std::exchange(notfallWartet_, false) && !katalogSicher().empty()) bitte(katalogSicher(), notfallTitel);
        });
}

void AppModell::notfall() {
    if (beendet_) return;
    notfallWartet_ = true;
    pruefen();  // when a check runs already, its result is fresh enough
}

void AppModell::tiefenscan() {
    if (beendet_ || scanLaeuft()) return;
    setze(scanDateien_, int64_t{0}, &AppModell::scanDateienGeaendert);
    setze(scanBytes_, int64_t{0}, &AppModell::scanBytesGeaendert);
    starte<TiefenscanErgebnis>(
        scanAufgabe_,
        [this](Steuerung& st) {
            // full disk access decides what the scan may enter, so it is asked afresh
            const bool vz = umfeld_.vollzugriff(umfeld_.home);
            QMetaObject::invokeMethod(
                this, [this, vz] { setze(vollzugriff_, vz, &AppModell::vollzugriffGeaendert); }, Qt::QueuedConnection);
            return arbeiten::tiefenscan(umfeld_.home, umfeld_.ganzePlatte, vz, umfeld_.profil, st);
        },
        [this](TiefenscanErgebnis&& e, bool) {
            // a stopped scan still shows what it found
            setze(scan_, ScanZeiger(std::make_shared<const TiefenscanErgebnis>(std::move(e))),
                  &AppModell::scanGeaendert);
        },
        [this](bool ganz) {
            if (!std::exchange(duplikateWartenAufScan_, false)) return;
            if (ganz)
                starteDuplikate();
            else
                duplikateAufgabe_.setzeLaeuft(false);
        });
}

void AppModell::duplikateSuchen() {
    if (beendet_ || duplikateLaeuft()) return;
    setze(duplikateFortschritt_, 0.0, &AppModell::duplikateFortschrittGeaendert);
    // the candidates of the present scan are reused; a file gone since then simply finds no partner
    if (scan_ && !scanLaeuft()) {
        starteDuplikate();
        return;
    }
    duplikateAufgabe_.setzeLaeuft(true);  // waiting for the scan counts as running
    duplikateWartenAufScan_ = true;
    tiefenscan();
}

void AppModell::starteDuplikate() {
    if (beendet_) return;
    starte<std::vector<DuplikatGruppe>>(
        duplikateAufgabe_, [scan = scan_](Steuerung& st) { return arbeiten::duplikate(scan->kandidaten, st); },
        [this](std::vector<DuplikatGruppe>&& gruppen, bool ganz) {
            if (ganz) setze(duplikate_, std::move(gruppen), &AppModell::duplikateGeaendert);
        });
}

void AppModell::programmeLaden() {
    if (beendet_ || programmeLaeuft()) return;
    starte<arbeiten::ProgrammeErgebnis>(
        programmeAufgabe_,
        [this](Steuerung& st) { return arbeiten::programme(umgebung(), umfeld_.programmOrdner, st); },
        [this](arbeiten::ProgrammeErgebnis&& r, bool ganz) {
            if (!ganz) return;
            // the leftovers that go with an uninstall unless unticked (orphans never are)
            setze(programme_, std::move(r.programme), &AppModell::programmeGeaendert);
            setze(verwaist_, std::move(r.verwaist), &AppModell::verwaistGeaendert);
            std::vector<const Fund*> funde;
            for (const auto& p : programme_)
                for (const auto& f : p.reste) funde.push_back(&f);
            vorgewaehlteDazu(funde);
        });
}

void AppModell::projekteSuchen() {
    if (beendet_ || bauLaeuft()) return;
    starte<std::vector<Bauabfall>>(
        projekteAufgabe_, [this](Steuerung& st) { return arbeiten::projekte(umgebung(), st); },
        [this](std::vector<Bauabfall>&& r, bool ganz) {
            if (!ganz) return;
            // projects resting long enough come ticked, as the catalog's findings do
            setze(bauabfall_, std::move(r), &AppModell::bauabfallGeaendert);
            std::vector<const Fund*> funde;
            for (const auto& b : bauabfall_) funde.push_back(&b.fund);
            vorgewaehlteDazu(funde);
        });
}

void AppModell::tricksLaden() {
    if (beendet_ || tricksLaeuft()) return;
    starte<arbeiten::TricksErgebnis>(
        tricksAufgabe_, [this](Steuerung& st) { return arbeiten::tricks(umgebung(), st); },
        [this](arbeiten::TricksErgebnis&& r, bool ganz) {
            if (!ganz) return;
            setze(icloud_, std::move(r.icloud), &AppModell::icloudGeaendert);
            setze(optimieren_, r.optimieren, &AppModell::optimierenGeaendert);
            setze(schnappschuesse_, std::move(r.schnappschuesse), &AppModell::schnappschuesseGeaendert);
            setze(systemdaten_, std::move(r.systemdaten), &AppModell::systemdatenGeaendert);
        });
}

Auftrag AppModell::auftragFuer(std::vector<Fund> funde, std::string titel) const {
    einmalJePfad(funde);
    auto gang = std::make_shared<const Rundengang>(*entsorger_, funde, titel);
    return Auftrag{neueKennung(), std::move(titel), std::move(funde), std::move(gang)};
}

void AppModell::bitte(std::vector<Fund> funde, std::string titel) {
    setzeAuftrag(auftragFuer(std::move(funde), std::move(titel)));
}

void AppModell::ausfuehren(Auftrag auftrag) {
    if (beendet_) return;
    setzeAuftrag(std::nullopt);
    ++offeneEntsorgungen_;
    setze(entsorgtGerade_, true, &AppModell::entsorgtGeradeGeaendert);
    if (!auftrag.gang) auftrag.gang = auftragFuer(auftrag.funde, auftrag.titel).gang;
    imHintergrund<Runde>(
        entsorgerFaden_, std::make_shared<Lauf>(),
        [this, gang = auftrag.gang](Steuerung& st) { return gang->fuehreAus(umfeld_.home, &st).runde; },
        [this](Runde&& runde) {
            // a dry run removed nothing, so every list stays as it is
            if (!runde.probelauf) nachEntsorgung(runde);
            setze(verlauf_, verlaufDatei_->runden(), &AppModell::verlaufGeaendert);
            setze(letzteRunde_, std::optional<Runde>(std::move(runde)), &AppModell::letzteRundeGeaendert);
            standAktualisieren();
            if (--offeneEntsorgungen_ == 0) setze(entsorgtGerade_, false, &AppModell::entsorgtGeradeGeaendert);
        });
}

void AppModell::nachEntsorgung(const Runde& runde) {
    const Entfernt weg(runde);
    if (weg.leer()) return;
    auto auswahl = auswahl_;
    std::erase_if(auswahl, [&](const std::string& p) { return weg.enthaelt(p); });
    setzeAuswahl(std::move(auswahl));

    auto katalog = katalog_;
    for (auto& e : katalog) {
        weg.filtere(e.funde, fundPfad);
        weg.filtere(e.uebersprungen, fundPfad);
    }
    std::erase_if(katalog, [](const RegelErgebnis& e) { return e.funde.empty() && e.uebersprungen.empty(); });
    setze(katalog_, std::move(katalog), &AppModell::katalogGeaendert);

    auto bau = bauabfall_;
    weg.filtere(bau, [](const Bauabfall& b) -> const std::string& { return b.fund.url.native(); });
    setze(bauabfall_, std::move(bau), &AppModell::bauabfallGeaendert);

    setze(duplikate_, Duplikate::ohne(duplikate_, [&](std::string_view p) { return weg.enthaelt(p); }),
          &AppModell::duplikateGeaendert);

    auto programme = programme_;
    weg.filtere(programme, [](const Programm& p) -> const std::string& { return p.url.native(); });
    for (auto& p : programme) weg.filtere(p.reste, fundPfad);
    setze(programme_, std::move(programme), &AppModell::programmeGeaendert);

    auto verwaist = verwaist_;
    for (auto& v : verwaist) weg.filtere(v.funde, fundPfad);
    std::erase_if(verwaist, [](const Verwaist& v) { return v.funde.empty(); });
    setze(verwaist_, std::move(verwaist), &AppModell::verwaistGeaendert);

    auto vorschlag = kiVorschlag_;
    weg.filtere(vorschlag, fundPfad);
    setzeKiVorschlag(std::move(vorschlag));

    // the large-file list comes from the scan; a new result object, since views may hold the old one
    if (scan_) {
        auto grosse = scan_->grosse;
        auto kandidaten = scan_->kandidaten;
        const auto dateiPfad = [](const DateiInfo& d) -> const std::string& { return d.pfad; };
        const bool a = weg.filtere(grosse, dateiPfad);
        const bool b = weg.filtere(kandidaten, dateiPfad);
        // the map's tree too: what went is no longer shown, the Trash holds what went there
        auto wurzel = Tiefenscan::nachUmzug(scan_->wurzel, Tiefenscan::umzuege(runde));
        if (a || b || wurzel != scan_->wurzel) {
            auto neu = std::make_shared<TiefenscanErgebnis>(*scan_);
            neu->grosse = std::move(grosse);
            neu->kandidaten = std::move(kandidaten);
            neu->wurzel = std::move(wurzel);
            setze(scan_, ScanZeiger(std::move(neu)), &AppModell::scanGeaendert);
        }
    }
}

void AppModell::rueckgaengig(const std::string& rundenId) {
    if (beendet_ || !verlaufDatei_->runde(rundenId)) return;
    imHintergrund<Entsorger::Rueckgabe>(
        entsorgerFaden_, std::make_shared<Lauf>(),
        [this, rundenId](Steuerung& st) { return arbeiten::rueckgaengig(*entsorger_, rundenId, st); },
        [this, rundenId, vorher = verlaufDatei_->runde(rundenId)](Entsorger::Rueckgabe&& r) {
            // what came back out of the Trash is back in its place on the map
            if (const auto nachher = verlaufDatei_->runde(rundenId); scan_ && vorher && nachher)
                if (auto wurzel = Tiefenscan::nachUmzug(scan_->wurzel, Tiefenscan::umzuege(*vorher, *nachher));
                    wurzel != scan_->wurzel) {
                    auto neu = std::make_shared<TiefenscanErgebnis>(*scan_);
                    neu->wurzel = std::move(wurzel);
                    setze(scan_, ScanZeiger(std::move(neu)), &AppModell::scanGeaendert);
                }
            setze(verlauf_, verlaufDatei_->runden(), &AppModell::verlaufGeaendert);
            if (letzteRunde_ && letzteRunde_->id == rundenId)
                setze(letzteRunde_, verlaufDatei_->runde(rundenId), &AppModell::letzteRundeGeaendert);
            standAktualisieren();
            QStringList fehler;
            for (const auto& f : r.fehler) fehler << QString::fromStdString(f);
            emit zurueckgelegt(QString::fromStdString(rundenId), r.zurueck, fehler);
        });
}

void AppModell::auslagern(const ICloudOrdner& ordner) {
    if (beendet_) return;
    imHintergrund<Ergebnis<int>>(
        faeden_, std::make_shared<Lauf>(),
        [dateien = ordner.dateien](Steuerung& st) { return arbeiten::auslagern(dateien, st); },
        [this, name = ordner.name](Ergebnis<int>&& r) {
            QString fehler;
            if (r) {
                auto liste = icloud_;
                std::erase_if(liste, [&](const ICloudOrdner& o) { return o.name == name; });
                setze(icloud_, std::move(liste), &AppModell::icloudGeaendert);
            } else {
                fehler = QString::fromStdString(r.error());
            }
            standAktualisieren();
            emit ausgelagert(QString::fromStdString(name), fehler);
        });
}

void AppModell::karteZeigen(const std::string& pfad) {
    setzeKartenZiel(pfad);
    setzeSeite(Seite::karte);
}

void AppModell::frageStellen(const std::string& text) {
    setzeSeite(Seite::assistent);
    if (frageHaken_) frageHaken_(text);
}

}  // namespace hainbrem
