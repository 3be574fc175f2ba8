#include "app/assistent/werkzeuge.hpp"

#include <sys/stat.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <set>

#include "app/modell/appmodell.hpp"
#include "basis/pfade.hpp"
#include "kern/erklaeren.hpp"
#include "kern/format.hpp"
#include "kern/groesse.hpp"
#include "kern/ueberlauf.hpp"

namespace hainbrem {

namespace {


}  // namespace

// ---------------------------------------------------------------- helpers

std::string ersteZeichen(std::string_view text, size_t n) {
    size_t zeichen = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        // a byte that does not continue a character starts one
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80 && zeichen++ == n)
            return std::string(text.substr(0, i));
    }
    return std::string(text);
}

// ---------------------------------------------------------------- texts

std::string plattenstandText(const Plattenstand& s, Katalogprofil profil) {
    if (profil == Katalogprofil::linuxDesktop)
        return "Gesamt " + alsBytes(s.gesamt) + ", wirklich frei " + alsBytes(s.echtFrei) + ", belegt " +
               alsBytes(s.belegt()) + ".";
    const int64_t nurLoeschbar = std::max<int64_t>(0, subtrahiere(s.mitLoeschbarem, s.echtFrei));
    // purgeable space only when there is some
    if (nurLoeschbar == 0) return "Gesamt " + alsBytes(s.gesamt) + ", wirklich frei " + alsBytes(s.echtFrei) + ".";
    return "Gesamt " + alsBytes(s.gesamt) + ", wirklich frei " + alsBytes(s.echtFrei) + ", laut Finder verfügbar " +
           alsBytes(s.mitLoeschbarem) + " (davon nur löschbar: " + alsBytes(nurLoeschbar) + ").";
}

std::string aufraeumFundeText(const std::vector<RegelErgebnis>& katalog) {
    if (katalog.empty()) return "Nichts gefunden.";
    std::vector<const RegelErgebnis*> sortiert;
    for (const auto& e : katalog) sortiert.push_back(&e);
    std::stable_sort(sortiert.begin(), sortiert.end(),
                     [](const RegelErgebnis* a, const RegelErgebnis* b) { return a->bytes() > b->bytes(); });
    sortiert.resize(std::min(sortiert.size(), maxRegeln));
    std::vector<std::string> zeilen;
    for (const RegelErgebnis* e : sortiert)
        zeilen.push_back("- " + e->regel.titel + ": " + alsBytes(e->bytes()) + ", " +
                         std::string(name(e->regel.risiko)) + ", id=" + e->regel.id + ". " +
                         ersteZeichen(e->regel.warumSicher, maxBegruendung));
    return verbinde(zeilen, "\n");
}

std::string groessteOrdnerText(const std::string& pfad, const fs::path& home, const Knoten::Zeiger& wurzel) {
    const Knoten::Zeiger k = wurzel ? Knoten::finde(wurzel, erweitere(pfad, home).native()) : nullptr;
    if (!k) return "Ordner " + pfad + " ist nicht im Scan (zu klein, unlesbar oder außerhalb des Benutzerordners).";
    std::vector<std::string> zeilen;
    for (size_t i = 0; i < k->kinder.size() && i < maxKinder; ++i) {
        const Knoten& kind = *k->kinder[i];
        // what no walk can see (system, snapshots) has no path to show
        const std::string wo = kind.istVirtuell() ? kind.name : kurzpfad(kind.pfad, home);
        zeilen.push_back("- " + wo + ": " + alsBytes(kind.bytes) + (kind.istPaket ? " (Paket)" : ""));
    }
    return kurzpfad(k->pfad, home) + " belegt " + alsBytes(k->bytes) + " in " + anzahl(k->dateien, "Datei", "Dateien") +
           ".\n" + verbinde(zeilen, "\n");
}

std::map<std::string, Fund> bekannteFunde(const AppModell& m) {
    std::map<std::string, Fund> b;
    auto dazu = [&](const Fund& f) { b.emplace(f.url.native(), f); };
    for (const auto& e : m.katalog())
        for (const auto& f : e.funde) dazu(f);
    for (const auto& x : m.bauabfall()) dazu(x.fund);
    for (const auto& p : m.programme())
        for (const auto& f : p.reste) dazu(f);
    for (const auto& v : m.verwaist())
        for (const auto& f : v.funde) dazu(f);
    if (m.scan())
        for (const auto& d : m.scan()->grosse) dazu(alsFund(d));
    return b;
}

Vorschlag vorschlagen(const std::vector<RegelErgebnis>& katalog, const std::map<std::string, Fund>& bekannt,
                      const std::vector<std::string>& regelIDs, const std::vector<std::string>& pfade,
                      const SafetyGuard& guard, const fs::path& home) {
    Vorschlag v;
    std::vector<std::string> notizen;
    std::set<std::string> gesehen;
    // the guard has the last word on every single proposal, also on a whole rule's
    auto nimm = [&](const Fund& f, const std::string& genannt) {
        if (gesehen.contains(f.url.native())) return;
        const Urteil u = guard.pruefe(f.url, f.art);
        if (!u.istErlaubt()) {
            notizen.push_back(genannt + ": " + u.grund());
            return;
        }
        gesehen.insert(f.url.native());
        v.funde.push_back(f);
    };
    for (const auto& e : katalog) {
        if (std::find(regelIDs.begin(), regelIDs.end(), e.regel.id) == regelIDs.end()) continue;
        if (e.regel.risiko == Risiko::vorsicht) {
            notizen.push_back(e.regel.titel + " (Vorsicht – nur von Hand)");
            continue;
        }
        for (const auto& f : e.funde) nimm(f, kurzpfad(f.url, home));
    }
    for (const auto& p : pfade) {
        const auto it = bekannt.find(erweitere(p, home).native());
        if (it == bekannt.end())
            notizen.push_back(p + ": nicht in Hainbrems Funden");
        else
            nimm(it->second, p);
    }
    int64_t summe = 0;
    for (const auto& f : v.funde) summe = addiere(summe, f.bytes);
    v.text = anzahl(static_cast<int64_t>(v.funde.size()), "Fund", "Funde") + " ausgewählt (" + alsBytes(summe) +
             "). Der Nutzer sieht sie jetzt und bestätigt selbst.";
    if (!notizen.empty()) v.text += " Nicht ausgewählt: " + verbinde(notizen, "; ");
    return v;
}

// ---------------------------------------------------------------- tools

Werkzeug::~Werkzeug() { faeden_.waitForDone(); }

void Werkzeug::imHintergrund(std::function<std::string()> werk, Fertig fertig) {
    faeden_.start([this, werk = std::move(werk), fertig = std::move(fertig)] {
        auto text = std::make_shared<std::string>(werk());
        QMetaObject::invokeMethod(
            this, [text, fertig] { fertig(std::move(*text)); }, Qt::QueuedConnection);
    });
}

std::string unbekanntesWerkzeug(std::string_view name) {
    return "Ein Werkzeug „" + std::string(name) +
           "“ gibt es nicht. Es gibt: plattenstand, aufraeumFunde, groessteOrdner, erklaere, auswaehlen.";
}

void Werkzeug::rufe(const std::string& argumentText, Fertig fertig) {
    auto spaeter = [this, &fertig](std::string text) {
        QMetaObject::invokeMethod(
            this, [fertig, text = std::move(text)] { fertig(text); }, Qt::QueuedConnection);
    };
    const std::string werkzeug(name());
    QJsonParseError fehler{};
    const QByteArray roh = argumentText.empty() ? QByteArray("{}") : QByteArray::fromStdString(argumentText);
    const QJsonDocument doc = QJsonDocument::fromJson(roh, &fehler);
    if (fehler.error != QJsonParseError::NoError || !doc.isObject()) {
        spaeter("Die Argumente für „" + werkzeug + "“ sind kein gültiges JSON-Objekt: " +
                ersteZeichen(argumentText, 200) + " – bitte noch einmal mit gültigen Argumenten aufrufen.");
        return;
    }
    QJsonObject args = doc.object();
    for (const Argument& a : argumente()) {
        const QString schluessel = QString::fromStdString(a.name);
        const QJsonValue v = args.value(schluessel);
        if (a.liste) {
            // a lone text counts as a list of one; nothing at all as an empty list
            if (v.isUndefined() || v.isNull()) {
                args[schluessel] = QJsonArray();
            } else if (v.isString()) {
                args[schluessel] = QJsonArray{v};
            } else if (const QJsonArray liste = v.toArray();
                       !v.isArray() ||
                       std::any_of(liste.begin(), liste.end(), [](const QJsonValue& x) { return !x.isString(); })) {
                spaeter("„" + a.name + "“ für „" + werkzeug + "“ muss eine Liste von Texten sein.");
                return;
            }
        } else if (!v.isString()) {
            spaeter("Für „" + werkzeug + "“ fehlt das Argument „" + a.name + "“ (ein Text).");
            return;
        }
    }
    call(args, std::move(fertig));
}

namespace {
std::vector<std::string> texte(const QJsonValue& v) {
    std::vector<std::string> aus;
    for (const auto& x : v.toArray()) aus.push_back(x.toString().toStdString());
    return aus;
}
}  // namespace

PlattenWerkzeug::PlattenWerkzeug(fs::path home, Katalogprofil profil,
                                 std::function<Plattenstand(const fs::path&)> lesen)
    : home_(std::move(home)), profil_(profil), lesen_(std::move(lesen)) {
    if (!lesen_) lesen_ = &Plattenstand::jetzt;
}

std::string_view PlattenWerkzeug::beschreibung() const {
    if (profil_ == Katalogprofil::linuxDesktop)
        return "Wie groß die Platte mit dem Home-Ordner ist, wie viel davon wirklich frei und wie viel belegt ist.";
    return "Wie viel Platz auf dem Mac wirklich frei ist, wie viel der Finder anzeigt und wie viel nur löschbar ist.";
}

void PlattenWerkzeug::call(const QJsonObject&, Fertig fertig) {
    imHintergrund([home = home_, profil = profil_, lesen = lesen_] { return plattenstandText(lesen(home), profil); },
                  std::move(fertig));
}

std::string_view FundeWerkzeug::beschreibung() const {
    return "Liste der gefundenen Caches, Protokolle und Entwicklerreste mit Größe, Risiko und Begründung. Prüft bei "
           "Bedarf zuerst.";
}

namespace {
// Answers once `laeuft` reads false, starting the work first when `starten` says so; a run the
// user started already is waited for too.
void wennFertig(Werkzeug* w, AppModell& m, bool (AppModell::*laeuft)() const, void (AppModell::*geaendert)(),
                std::function<void()> antworte) {
    if (!(m.*laeuft)()) {
        QMetaObject::invokeMethod(w, std::move(antworte), Qt::QueuedConnection);
        return;
    }
    auto verbindung = std::make_shared<QMetaObject::Connection>();
    *verbindung = QObject::connect(&m, geaendert, w, [&m, laeuft, verbindung, antworte = std::move(antworte)] {
        if ((m.*laeuft)()) return;
        QObject::disconnect(*verbindung);
        antworte();
    });
}
}  // namespace

void FundeWerkzeug::call(const QJsonObject&, Fertig fertig) {
    if (modell_.katalog().empty()) modell_.pruefen();
    wennFertig(this, modell_, &AppModell::katalogLaeuft, &AppModell::katalogLaeuftGeaendert,
               [this, fertig] { fertig(aufraeumFundeText(modell_.katalog())); });
}

std::string_view OrdnerWerkzeug::beschreibung() const {
    if (profil_ == Katalogprofil::linuxDesktop)
        return "Die größten Unterordner und Dateien eines Ordners. Pfad mit ~ für den Benutzerordner, z. B. ~ oder "
               "~/.cache.";
    return "Die größten Unterordner und Dateien eines Ordners. Pfad mit ~ für den Benutzerordner, z. B. ~ oder "
           "~/Downloads.";
}

OrdnerWerkzeug::OrdnerWerkzeug(AppModell& modell)
    : modell_(modell), home_(modell.umgebung().home), profil_(modell.umgebung().profil) {}

std::vector<Argument> OrdnerWerkzeug::argumente() const {
    if (profil_ == Katalogprofil::linuxDesktop) return {{"pfad", false, "Ordnerpfad, z. B. ~/.local/share"}};
    return {{"pfad", false, "Ordnerpfad, z. B. ~/Library/Application Support"}};
}

void OrdnerWerkzeug::call(const QJsonObject& argumente, Fertig fertig) {
    if (!modell_.scan()) modell_.tiefenscan();
    wennFertig(this, modell_, &AppModell::scanLaeuft, &AppModell::scanLaeuftGeaendert,
               [this, fertig, pfad = argumente.value("pfad").toString().toStdString()] {
                   const ScanZeiger scan = modell_.scan();
                   fertig(groessteOrdnerText(pfad, home_, scan ? scan->wurzel : nullptr));
               });
}

ErklaerWerkzeug::ErklaerWerkzeug(SafetyGuard guard, std::function<Umgebung()> umgebung)
    : guard_(std::move(guard)), umgebung_(std::move(umgebung)) {}

std::string_view ErklaerWerkzeug::beschreibung() const {
    return "Fakten zu einem Pfad: Größe, Alter, Beispiele für den Inhalt, ob Hainbrem ihn kennt und ob er gelöscht "
           "oder nur in den Papierkorb darf.";
}

std::vector<Argument> ErklaerWerkzeug::argumente() const {
    return {{"pfad", false, "Pfad zu Datei oder Ordner, ~ erlaubt"}};
}

void ErklaerWerkzeug::call(const QJsonObject& argumente, Fertig fertig) {
    imHintergrund(
        [guard = guard_, umgebung = umgebung_, pfad = argumente.value("pfad").toString().toStdString()] {
            const Umgebung u = umgebung();
            return Erklaeren::text(pfad, Erklaeren::fakten(pfad, u, guard), u.home, std::chrono::system_clock::now());
        },
        std::move(fertig));
}

std::string_view AuswahlWerkzeug::beschreibung() const {
    return "Markiert Funde als Vorschlag zum Aufräumen. Löscht nichts – der Nutzer bestätigt selbst. Entweder "
           "Regel-IDs aus aufraeumFunde oder einzelne Pfade.";
}

AuswahlWerkzeug::AuswahlWerkzeug(AppModell& modell) : modell_(modell), home_(modell.umgebung().home) {}

std::vector<Argument> AuswahlWerkzeug::argumente() const {
    return {{"regelIDs", true, "Regel-IDs aus aufraeumFunde, z. B. programm-caches"},
            {"pfade", true,
             "Einzelne Pfade aus groessteOrdner oder erklaere, die in den Papierkorb sollen; leer, wenn keine"}};
}

void AuswahlWerkzeug::call(const QJsonObject& argumente, Fertig fertig) {
    auto regelIDs = texte(argumente.value("regelIDs"));
    // rule ids before any check (a model that skipped aufraeumFunde): the check comes first
    if (!regelIDs.empty() && modell_.katalog().empty() && !modell_.katalogGeprueft()) modell_.pruefen();
    wennFertig(this, modell_, &AppModell::katalogLaeuft, &AppModell::katalogLaeuftGeaendert,
               [this, fertig, regelIDs = std::move(regelIDs), pfade = texte(argumente.value("pfade"))] {
                   // the model's lists are read here, on its thread; the guard reads the disk on the tool's
                   auto vorschlag = std::make_shared<Vorschlag>();
                   imHintergrund(
                       [vorschlag, katalog = modell_.katalog(), bekannt = bekannteFunde(modell_),
                        guard = modell_.waechter(), regelIDs, pfade, home = home_] {
                           *vorschlag = vorschlagen(katalog, bekannt, regelIDs, pfade, guard, home);
                           return vorschlag->text;
                       },
                       [this, vorschlag, fertig](std::string text) {
                           modell_.setzeKiVorschlag(std::move(vorschlag->funde));  // replaces any earlier one
                           fertig(std::move(text));
                       });
               });
}

std::vector<std::unique_ptr<Werkzeug>> alleWerkzeuge(AppModell& modell) {
    std::vector<std::unique_ptr<Werkzeug>> w;
    w.push_back(std::make_unique<PlattenWerkzeug>(modell.umgebung().home, modell.umgebung().profil));
    w.push_back(std::make_unique<FundeWerkzeug>(modell));
    w.push_back(std::make_unique<OrdnerWerkzeug>(modell));
    w.push_back(
        std::make_unique<ErklaerWerkzeug>(modell.waechter(), [m = &modell] { return m->umgebung(); }));
    w.push_back(std::make_unique<AuswahlWerkzeug>(modell));
    return w;
}

}  // namespace hainbrem
