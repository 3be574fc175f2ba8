#pragma once
// The one observable model of the application: every page, the menu-bar view, the assistant
// and the watcher read it and call its actions. State is written only on the thread that owns
// it; long work runs on a thread pool and hands progress and results back to that thread.
// Each stored field has its own change signal, and a write that changes nothing stays silent.
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "app/modell/aufgabe.hpp"
#include "app/modell/einstellungen.hpp"
#include "app/modell/typen.hpp"
#include "app/modell/platzmelder.hpp"
#include "kern/duplikate.hpp"
#include "kern/entsorger.hpp"
#include "kern/katalog.hpp"
#include "kern/plattenstand.hpp"
#include "kern/programme.hpp"
#include "kern/projekte.hpp"
#include "kern/speichertricks.hpp"
#include "kern/steuerung.hpp"
#include "kern/tempordner.hpp"
#include "kern/tiefenscan.hpp"
#include "kern/verlauf.hpp"
#include "plattform/anwendung.hpp"

namespace hainbrem {

// Everything the model takes from outside, with the real system as default, so tests can hand
// in a fixture home, their own settings and history, and a watcher that runs in milliseconds.
struct Umfeld {
    std::filesystem::path home;                         // empty: the user's home folder
    std::filesystem::path temp;                         // empty: AppModell::tempOrdner(home)
    std::filesystem::path programme = "/Applications";  // the guard's system Applications folder
    std::vector<std::filesystem::path> programmOrdner;  // where programs are listed; empty: the standard ones
    std::filesystem::path verlaufDatei;                 // empty: the standard history below home
    QString einstellungsDatei;                          // empty: the platform's settings store
    std::optional<QStringList> argumente;               // absent: the process's arguments
    bool ganzePlatte = true;                            // the deep scan covers the start disk, else only home
    Katalogprofil profil = standardProfil;              // whose places the catalog and the guard know
    std::chrono::milliseconds takt{20'000};             // the watcher's sleep
    std::shared_ptr<Wecker> wecker;                     // empty: a QTimer
    std::function<Plattenstand(const std::filesystem::path&)> plattenstand;  // empty: Plattenstand::jetzt
    std::function<std::optional<Platte>()> platte;                           // empty: Platte::lesen
    std::function<bool(const std::filesystem::path&)> vollzugriff;           // empty: Zugriff::vollzugriff
    std::function<void(const plattform::Benachrichtigung&)> melden;          // empty: system notifications
    std::function<bool(const std::string&)> laeuft;                          // empty: the running programs
};

using ScanZeiger = std::shared_ptr<const TiefenscanErgebnis>;  // null: no scan yet

class AppModell : public QObject {
    Q_OBJECT
    // clang-format off
    Q_PROPERTY(hainbrem::Seite seite READ seite WRITE setzeSeite NOTIFY seiteGeaendert)
    Q_PROPERTY(hainbrem::Plattenstand stand READ stand NOTIFY standGeaendert)
    Q_PROPERTY(std::optional<hainbrem::Platte> platte READ platte NOTIFY platteGeaendert)
    Q_PROPERTY(bool vollzugriff READ vollzugriff NOTIFY vollzugriffGeaendert)
    Q_PROPERTY(std::vector<hainbrem::RegelErgebnis> katalog READ katalog NOTIFY katalogGeaendert)
    Q_PROPERTY(bool katalogLaeuft READ katalogLaeuft NOTIFY katalogLaeuftGeaendert)
    Q_PROPERTY(double katalogFortschritt READ katalogFortschritt NOTIFY katalogFortschrittGeaendert)
    Q_PROPERTY(std::optional<hainbrem::Zeitpunkt> katalogGeprueft READ katalogGeprueft NOTIFY katalogGeprueftGeaendert)
    Q_PROPERTY(std::set<std::string> auswahl READ auswahl WRITE setzeAuswahl NOTIFY auswahlGeaendert)
    Q_PROPERTY(hainbrem::ScanZeiger scan READ scan NOTIFY scanGeaendert)
    Q_PROPERTY(bool scanLaeuft READ scanLaeuft NOTIFY scanLaeuftGeaendert)
    Q_PROPERTY(int64_t scanDateien READ scanDateien NOTIFY scanDateienGeaendert)
    Q_PROPERTY(int64_t scanBytes READ scanBytes NOTIFY scanBytesGeaendert)
    Q_PROPERTY(std::vector<hainbrem::DuplikatGruppe> duplikate READ duplikate NOTIFY duplikateGeaendert)
    Q_PROPERTY(bool duplikateLaeuft READ duplikateLaeuft NOTIFY duplikateLaeuftGeaendert)
    Q_PROPERTY(double duplikateFortschritt READ duplikateFortschritt NOTIFY duplikateFortschrittGeaendert)
    Q_PROPERTY(std::vector<hainbrem::Programm> programme READ programme NOTIFY programmeGeaendert)
    Q_PROPERTY(std::vector<hainbrem::Verwaist> verwaist READ verwaist NOTIFY verwaistGeaendert)
    Q_PROPERTY(bool programmeLaeuft READ programmeLaeuft NOTIFY programmeLaeuftGeaendert)
    Q_PROPERTY(std::vector<hainbrem::Bauabfall> bauabfall READ bauabfall NOTIFY bauabfallGeaendert)
    Q_PROPERTY(bool bauLaeuft READ bauLaeuft NOTIFY bauLaeuftGeaendert)
    Q_PROPERTY(std::vector<hainbrem::ICloudOrdner> icloud READ icloud NOTIFY icloudGeaendert)
    Q_PROPERTY(std::optional<bool> optimieren READ optimieren NOTIFY optimierenGeaendert)
    Q_PROPERTY(std::vector<hainbrem::Schnappschuss> schnappschuesse READ schnappschuesse NOTIFY schnappschuesseGeaendert)
    Q_PROPERTY(std::vector<hainbrem::SystemdatenPosten> systemdaten READ systemdaten NOTIFY systemdatenGeaendert)
    Q_PROPERTY(bool tricksLaeuft READ tricksLaeuft NOTIFY tricksLaeuftGeaendert)
    Q_PROPERTY(std::vector<hainbrem::Nachricht> unterhaltung READ unterhaltung WRITE setzeUnterhaltung NOTIFY unterhaltungGeaendert)
    Q_PROPERTY(bool kiDenkt READ kiDenkt WRITE setzeKiDenkt NOTIFY kiDenktGeaendert)
    Q_PROPERTY(std::vector<hainbrem::Fund> kiVorschlag READ kiVorschlag WRITE setzeKiVorschlag NOTIFY kiVorschlagGeaendert)
    Q_PROPERTY(std::optional<std::string> kartenZiel READ kartenZiel WRITE setzeKartenZiel NOTIFY kartenZielGeaendert)
    Q_PROPERTY(std::vector<hainbrem::Runde> verlauf READ verlauf NOTIFY verlaufGeaendert)
    Q_PROPERTY(std::optional<hainbrem::Runde> letzteRunde READ letzteRunde NOTIFY letzteRundeGeaendert)
    Q_PROPERTY(std::optional<hainbrem::Auftrag> auftrag READ auftrag WRITE setzeAuftrag NOTIFY auftragGeaendert)
    Q_PROPERTY(bool entsorgtGerade READ entsorgtGerade NOTIFY entsorgtGeradeGeaendert)
    // clang-format on

public:
    // Creation: reads the disk, builds the disposer, switches off cloud downloads, loads the
    // history, sets the warning level, starts the watcher and the disk reading, and follows the
    // launch settings.
    explicit AppModell(Umfeld umfeld = {}, QObject* eltern = nullptr);
    // Quits (see `beenden`).
    ~AppModell() override;

    // The user's temporary folder for `home` as far as it may be trusted; the one place the model
    // takes it from.
    static TempWahl tempOrdner(const std::filesystem::path& home);
    // Why the configured temp folder (TMPDIR) is not used; absent when it is, or when given.
    const std::optional<std::string>& tempHinweis() const { return tempHinweis_; }

    static constexpr const char* notfallTitel = "Notfall: sichere Caches freigeben";
    static constexpr const char* sichereCachesTitel = "Sichere Caches aufräumen";

    // ---- stored fields
    Seite seite() const { return seite_; }
    const Plattenstand& stand() const { return stand_; }
    const std::optional<Platte>& platte() const { return platte_; }
    bool vollzugriff() const { return vollzugriff_; }
    const std::vector<RegelErgebnis>& katalog() const { return katalog_; }
    bool katalogLaeuft() const { return katalogAufgabe_.laeuft(); }
    double katalogFortschritt() const { return katalogFortschritt_; }
    const std::optional<Zeitpunkt>& katalogGeprueft() const { return katalogGeprueft_; }
    const std::set<std::string>& auswahl() const { return auswahl_; }
    const ScanZeiger& scan() const { return scan_; }
    bool scanLaeuft() const { return scanAufgabe_.laeuft(); }
    int64_t scanDateien() const { return scanDateien_; }
    int64_t scanBytes() const { return scanBytes_; }
    const std::vector<DuplikatGruppe>& duplikate() const { return duplikate_; }
    bool duplikateLaeuft() const { return duplikateAufgabe_.laeuft(); }
    double duplikateFortschritt() const { return duplikateFortschritt_; }
    const std::vector<Programm>& programme() const { return programme_; }
    const std::vector<Verwaist>& verwaist() const { return verwaist_; }
    bool programmeLaeuft() const { return programmeAufgabe_.laeuft(); }
    const std::vector<Bauabfall>& bauabfall() const { return bauabfall_; }
    bool bauLaeuft() const { return projekteAufgabe_.laeuft(); }
    const std::vector<ICloudOrdner>& icloud() const { return icloud_; }
    const std::optional<bool>& optimieren() const { return optimieren_; }
    const std::vector<Schnappschuss>& schnappschuesse() const { return schnappschuesse_; }
    const std::vector<SystemdatenPosten>& systemdaten() const { return systemdaten_; }
    bool tricksLaeuft() const { return tricksAufgabe_.laeuft(); }
    // Which parts the tricks page shows and what it says, for the profile.
    TricksTexte tricksTexte() const { return hainbrem::tricksTexte(umfeld_.profil); }
    const std::vector<Nachricht>& unterhaltung() const { return unterhaltung_; }
    bool kiDenkt() const { return kiDenkt_; }
    const std::vector<Fund>& kiVorschlag() const { return kiVorschlag_; }
    const std::optional<std::string>& kartenZiel() const { return kartenZiel_; }
    const std::vector<Runde>& verlauf() const { return verlauf_; }
    const std::optional<Runde>& letzteRunde() const { return letzteRunde_; }
    const std::optional<Auftrag>& auftrag() const { return auftrag_; }
    bool entsorgtGerade() const { return entsorgtGerade_; }
    const SafetyGuard& waechter() const { return entsorger_->waechter; }     // not observed
    bool probelauf() const { return entsorger_->probelauf; }                 // "testlauf": rounds touch nothing
    Katalogprofil profil() const { return umfeld_.profil; }                  // whose places and words
    bool scanGanzePlatte() const { return umfeld_.ganzePlatte; }             // else the scan covers home
    Plattenstand::Lage letzteLage() const { return platzmelder_->letzteLage(); }  // not observed

    // ---- derived, computed on each read; a path two rules found appears once, at its first place
    // Findings of the catalog whose path is selected, rule by rule, finding by finding.
    std::vector<Fund> katalogAusgewaehlt() const;
    // Preselected findings of the rules of risk `sicher`: what the emergency action removes.
    std::vector<Fund> katalogSicher() const;
    // The core's line under the measured gain of `letzteRunde` as it stands now: after an undo,
    // with the free space read last (changes with letzteRunde and stand). Empty without a round.
    std::string letzteErklaerung() const;

    // ---- writes from the pages and the assistant
    void setzeSeite(Seite s);
    void setzeAuswahl(std::set<std::string> auswahl);
    void waehle(const std::string& pfad, bool an);
    void waehle(const std::vector<Fund>& funde, bool an);  // a group's checkbox
    bool istGewaehlt(const std::string& pfad) const { return auswahl_.contains(pfad); }
    void setzeUnterhaltung(std::vector<Nachricht> n);
    void setzeKiDenkt(bool an);
    void setzeKiVorschlag(std::vector<Fund> funde);
    void setzeKartenZiel(std::optional<std::string> pfad);
    void setzeAuftrag(std::optional<Auftrag> a);  // absent: the confirmation was cancelled
    void letzteRundeSchliessen();                 // the result bar was closed
    // The assistant answers questions through this; until it exists a question only opens its page.
    void setzeFrageHaken(std::function<void(const std::string&)> haken) { frageHaken_ = std::move(haken); }

    // Home, temp folder, full disk access, the running-program test and this app's Trash items, as
    // the finders get them; any thread.
    Umgebung umgebung() const;

    Einstellungen& einstellungen() { return *einstellungen_; }
    int64_t warnGrenze() const { return einstellungen_->warnGrenze(); }

    // ---- actions (on the owning thread)
    void platteLesen();
    // Reads the disk state (and the volumes with it) and runs the watcher's notification rule.
    void standAktualisieren();
    void warnen(Plattenstand::Lage lage);
    void pruefen();
    void tiefenscan();
    // Groups the candidates of the present deep scan; without one it waits for a running scan
    // or starts one.
    void duplikateSuchen();
    void programmeLaden();
    void projekteSuchen();
    void tricksLaden();
    // A new pending confirmation (replacing one still open); each path at most once.
    void bitte(std::vector<Fund> funde, std::string titel);
    // The order for these findings with the core's round made for it (confirmation worked out
    // with the model's running-program test); not stored.
    Auftrag auftragFuer(std::vector<Fund> funde, std::string titel) const;
    // Disposals run one after the other; one asked for while another runs waits its turn.
    // By value: the pending `auftrag()` itself is usually passed, and this clears it.
    void ausfuehren(Auftrag auftrag);
    void rueckgaengig(const std::string& rundenId);
    void auslagern(const ICloudOrdner& ordner);
    void karteZeigen(const std::string& pfad);
    void frageStellen(const std::string& text);
    // The overview's emergency card: a fresh check (or the one running), then a confirmation
    // request for the safe caches.
    void notfall();

    enum class Arbeit { katalog, scan, duplikate, programme, projekte, tricks };
    // Stops a running finder; a stopped deep scan keeps what it found, the others keep their old lists.
    void anhalten(Arbeit arbeit);
    // Stops every finder and waits for a running disposal or undo to record its round. Afterwards
    // no action starts anything. Called by the destructor too.
    void beenden();

signals:
    void seiteGeaendert();
    void standGeaendert();
    void platteGeaendert();
    void vollzugriffGeaendert();
    void katalogGeaendert();
    void katalogLaeuftGeaendert();
    void katalogFortschrittGeaendert();
    void katalogGeprueftGeaendert();
    void auswahlGeaendert();
    void scanGeaendert();
    void scanLaeuftGeaendert();
    void scanDateienGeaendert();
    void scanBytesGeaendert();
    void duplikateGeaendert();
    void duplikateLaeuftGeaendert();
    void duplikateFortschrittGeaendert();
    void programmeGeaendert();
    void verwaistGeaendert();
    void programmeLaeuftGeaendert();
    void bauabfallGeaendert();
    void bauLaeuftGeaendert();
    void icloudGeaendert();
    void optimierenGeaendert();
    void schnappschuesseGeaendert();
    void systemdatenGeaendert();
    void tricksLaeuftGeaendert();
    void unterhaltungGeaendert();
    void kiDenktGeaendert();
    void kiVorschlagGeaendert();
    void kartenZielGeaendert();
    void verlaufGeaendert();
    void letzteRundeGeaendert();
    void auftragGeaendert();
    void entsorgtGeradeGeaendert();

    // `auslagern` is done: `fehler` empty on success, else what went wrong.
    void ausgelagert(const QString& ordner, const QString& fehler);
    // `rueckgaengig` is done: how many items went back, and a line per item that could not.
    void zurueckgelegt(const QString& rundenId, int anzahl, const QStringList& fehler);

private:
    template <typename T>
    void setze(T& feld, T wert, void (AppModell::*signal)());
    // Ticks what a finder preselected, added to what is ticked: what the user ticked earlier stays.
    void vorgewaehlteDazu(const std::vector<const Fund*>& funde);
    template <typename Ergebnis, typename Werk, typename Fertig>
    void imHintergrund(QThreadPool& pool, const std::shared_ptr<Lauf>& lauf, Werk werk, Fertig fertig);
    // One finder's way through the background: the flag goes up, `werk` runs on the pool with
    // the run's control, `speichere` gets the result and whether the run went to its end, the
    // flag goes down, then `danach` (may be empty) with the same answer.
    template <typename Ergebnis, typename Werk, typename Speichere>
    void starte(Aufgabe& aufgabe, Werk werk, Speichere speichere, std::function<void(bool)> danach = {});
    Aufgabe& aufgabe(Arbeit arbeit);
    void leseFortschritt();
    void starteDuplikate();
    void nachEntsorgung(const Runde& runde);

    Umfeld umfeld_;
    std::unique_ptr<Einstellungen> einstellungen_;
    std::unique_ptr<Verlauf> verlaufDatei_;
    std::unique_ptr<Entsorger> entsorger_;
    std::unique_ptr<Platzmelder> platzmelder_;
    std::function<void(const std::string&)> frageHaken_;
    std::optional<std::string> tempHinweis_;

    Seite seite_ = Seite::uebersicht;
    Plattenstand stand_;
    std::optional<Platte> platte_;
    bool vollzugriff_ = false;
    std::vector<RegelErgebnis> katalog_;
    double katalogFortschritt_ = 0;
    std::optional<Zeitpunkt> katalogGeprueft_;
    std::set<std::string> auswahl_;
    ScanZeiger scan_;
    int64_t scanDateien_ = 0;
    int64_t scanBytes_ = 0;
    std::vector<DuplikatGruppe> duplikate_;
    double duplikateFortschritt_ = 0;
    std::vector<Programm> programme_;
    std::vector<Verwaist> verwaist_;
    std::vector<Bauabfall> bauabfall_;
    std::vector<ICloudOrdner> icloud_;
    std::optional<bool> optimieren_;
    std::vector<Schnappschuss> schnappschuesse_;
    std::vector<SystemdatenPosten> systemdaten_;
    std::vector<Nachricht> unterhaltung_;
    bool kiDenkt_ = false;
    std::vector<Fund> kiVorschlag_;
    std::optional<std::string> kartenZiel_;
    std::vector<Runde> verlauf_;
    std::optional<Runde> letzteRunde_;
    std::optional<Auftrag> auftrag_;
    bool entsorgtGerade_ = false;

    Aufgabe katalogAufgabe_{*this, &AppModell::katalogLaeuftGeaendert, [this](const Steuerung& st) {
                                setze(katalogFortschritt_, st.anteil(), &AppModell::katalogFortschrittGeaendert);
                            }};
    Aufgabe scanAufgabe_{*this, &AppModell::scanLaeuftGeaendert, [this](const Steuerung& st) {
                             setze(scanDateien_, st.erledigt.load(), &AppModell::scanDateienGeaendert);
                             setze(scanBytes_, st.bytes.load(), &AppModell::scanBytesGeaendert);
                         }};
    Aufgabe duplikateAufgabe_{*this, &AppModell::duplikateLaeuftGeaendert, [this](const Steuerung& st) {
                                  setze(duplikateFortschritt_, st.anteil(), &AppModell::duplikateFortschrittGeaendert);
                              }};
    Aufgabe programmeAufgabe_{*this, &AppModell::programmeLaeuftGeaendert};
    Aufgabe projekteAufgabe_{*this, &AppModell::bauLaeuftGeaendert};
    Aufgabe tricksAufgabe_{*this, &AppModell::tricksLaeuftGeaendert};
    int offeneEntsorgungen_ = 0;
    bool duplikateWartenAufScan_ = false;
    bool notfallWartet_ = false;
    bool beendet_ = false;
    QTimer fortschrittTakt_;
    // last, so they are gone (and have waited) before anything their jobs use
    QThreadPool entsorgerFaden_;  // one thread: disposal and undo never overlap
    QThreadPool faeden_;
};

}  // namespace hainbrem
