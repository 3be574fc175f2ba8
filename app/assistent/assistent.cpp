#include "app/assistent/assistent.hpp"

#include <QString>
#include <cstdio>

#include "app/assistent/openai.hpp"
#include "kern/verlauf.hpp"

#ifdef HAINBREM_APPLE_MODELL
#include "app/assistent/apple_modell.hpp"
#endif

namespace hainbrem {

Assistent::Assistent(AppModell& modell, std::unique_ptr<Sprachmodell> sprachmodell)
    : QObject(&modell), m_(modell), sprachmodell_(std::move(sprachmodell)) {
    // a question from another page is asked once the page switch is through
    m_.setzeFrageHaken([p = QPointer<Assistent>(this)](const std::string& text) {
        if (p)
            QMetaObject::invokeMethod(
                p, [p, text] { p->fragen(text); }, Qt::QueuedConnection);
    });
    verfuegbarkeitPruefen();
}

Assistent& Assistent::von(AppModell& modell) {
    if (auto* a = modell.findChild<Assistent*>(QString(), Qt::FindDirectChildrenOnly)) return *a;
    auto* a = new Assistent(modell, ausEinstellungen(modell.einstellungen()));
    auto neu = [a] { a->setzeSprachmodell(ausEinstellungen(a->m_.einstellungen())); };
    connect(&modell.einstellungen(), &Einstellungen::kiAdresseGeaendert, a, neu);
    connect(&modell.einstellungen(), &Einstellungen::kiModellGeaendert, a, neu);
    return *a;
}

std::unique_ptr<Sprachmodell> Assistent::ausEinstellungen(Einstellungen& e) {
#ifdef HAINBREM_APPLE_MODELL
    // the system's own model unless a local endpoint was chosen
    if (!e.speicher().contains(QStringLiteral("kiAdresse"))) return appleModell();
#endif
    return std::make_unique<OpenAiModell>(e.kiAdresse(), e.kiModell(), nullptr, geduldAus(e.speicher()));
}

std::string Assistent::anweisungenFuer(Katalogprofil profil) {
    std::string text = anweisungen;
    if (profil == Katalogprofil::linuxDesktop) {
        static constexpr std::string_view mac = "einer Mac-App,";
        text.replace(text.find(mac), mac.size(), "einem Programm für Linux,");
    }
    return text;
}

std::unique_ptr<Sitzung> Assistent::kiSitzung() {
    auto s = sprachmodell_->sitzung(anweisungenFuer(m_.umgebung().profil), alleWerkzeuge(m_));
    s->werkzeugMeldung = [p = QPointer<Assistent>(this)](const std::string& name) {
        if (p) emit p->werkzeugGerufen(QString::fromStdString(name));
    };
    s->fortgangMeldung = [p = QPointer<Assistent>(this)](const Fortgang& f) {
        if (p && p->m_.kiDenkt()) p->setzeFortgang(f);
    };
    return s;
}

void Assistent::verfuegbarkeitPruefen() {
    const int nummer = ++pruefung_;  // only the newest check counts
    sprachmodell_->pruefe([p = QPointer<Assistent>(this), nummer](Verfuegbarkeit v) {
        if (!p || nummer != p->pruefung_) return;
        p->verfuegbarkeit_ = std::move(v);
        emit p->verfuegbarkeitGeaendert();
    });
}

void Assistent::setzeSprachmodell(std::unique_ptr<Sprachmodell> sprachmodell) {
    if (m_.kiDenkt()) {
        wartend_ = std::move(sprachmodell);
        return;
    }
    sitzung_.reset();  // the old session speaks to the old model
    sprachmodell_ = std::move(sprachmodell);
    verfuegbarkeitPruefen();
}

void Assistent::fragen(const std::string& text) {
    const std::string frage = QString::fromStdString(text).trimmed().toStdString();
    if (frage.empty() || m_.kiDenkt()) return;
    auto* sitzung = sitzung_.get();
    if (!sitzung) {
        sitzung_ = kiSitzung();
        sitzung = sitzung_.get();
    }
    const std::string antwortId = neueKennung();
    auto n = m_.unterhaltung();
    n.push_back(Nachricht{neueKennung(), true, frage});
    n.push_back(Nachricht{antwortId, false, {}});
    m_.setzeUnterhaltung(std::move(n));
    setzeFortgang({});
    m_.setzeKiDenkt(true);
    const QPointer<Assistent> p(this);
    sitzung->antworte(
        frage,
        [p, antwortId](const std::string& schnappschuss) {
            if (!p) return;
            // a session that reports nothing else still shows that words arrive
            if (!schnappschuss.empty() && p->fortgang_.phase == Fortgang::Phase::liest)
                p->setzeFortgang({Fortgang::Phase::antwortet});
            p->setzeAntwort(antwortId, schnappschuss);
        },
        [p, antwortId](std::optional<KiFehler> fehler) {
            // later, so a session that must be replaced is no longer on the stack
            if (p)
                QMetaObject::invokeMethod(
                    p, [p, antwortId, fehler] { p->fertig(antwortId, fehler); }, Qt::QueuedConnection);
        });
}

void Assistent::abbrechen() {
    if (!m_.kiDenkt()) return;
    if (auto* sitzung = sitzung_.get()) sitzung->abbrechen();
}

const Assistent::Hinweis* Assistent::hinweis(const std::string& antwortId) const {
    const auto i = hinweise_.find(antwortId);
    return i == hinweise_.end() ? nullptr : &i->second;
}

void Assistent::setzeAntwort(const std::string& id, const std::string& text) {
    auto n = m_.unterhaltung();
    for (auto& x : n)
        if (x.id == id) x.text = text;
    m_.setzeUnterhaltung(std::move(n));
}

std::string Assistent::antwortText(const std::string& id) const {
    for (const auto& x : m_.unterhaltung())
        if (x.id == id) return x.text;
    return {};
}

std::string Assistent::fortgangText(const Fortgang& f, std::chrono::steady_clock::duration seit) {
    using Phase = Fortgang::Phase;
    switch (f.phase) {
        case Phase::ueberlegt:
            return "Das Modell überlegt …";
        case Phase::antwortet:
            return "Das Modell antwortet …";
        case Phase::schautNach:
            return "Das Werkzeug „" + f.werkzeug + "“ schaut nach …";
        case Phase::liest:
            break;
    }
    std::string text =
        f.nachWerkzeugen ? "Das Modell liest, was die Werkzeuge gefunden haben …" : "Das Modell liest deine Frage …";
    if (f.gelesen >= 0) text += " " + std::to_string(static_cast<int>(f.gelesen * 100)) + " %";
    const auto s = std::chrono::duration_cast<std::chrono::seconds>(seit).count();
    if (s >= 1) {
        char uhr[32];
        std::snprintf(uhr, sizeof uhr, " · %lld:%02lld", static_cast<long long>(s / 60),
                      static_cast<long long>(s % 60));
        text += uhr;
    }
    // a slow model takes minutes here; better said than left to guess
    if (s >= 30) text += " – ein großes Modell braucht dafür auf dem Prozessor Minuten.";
    return text;
}

void Assistent::setzeFortgang(const Fortgang& f) {
    if (f.phase != fortgang_.phase || f.nachWerkzeugen != fortgang_.nachWerkzeugen || !m_.kiDenkt())
        fortgangSeit_ = std::chrono::steady_clock::now();
    fortgang_ = f;
    emit fortgangGeaendert();
}

void Assistent::fertig(const std::string& id, const std::optional<KiFehler>& fehler) {
    const bool leer = antwortText(id).empty();
    using Art = KiFehler::Art;
    switch (fehler ? fehler->art : Art::anderer) {
        case Art::kontextVoll:
            // the model forgets, the screen keeps the whole conversation
            sitzung_ = kiSitzung();
            setzeAntwort(id, zuLangText);
            break;
        case Art::abgeschnitten:
            // what came stays; the note says why it ends there
            if (leer) setzeAntwort(id, abgeschnittenLeerText);
            hinweise_[id] = {Art::abgeschnitten, abgeschnittenText};
            break;
        case Art::abgebrochen:
            if (leer)
                setzeAntwort(id, abgebrochenText);
            else
                hinweise_[id] = {Art::abgebrochen, abgebrochenHinweis};
            break;
        case Art::ohneWerkzeuge:
            // as good as no model: the page says so until a check finds the server changed
            ++pruefung_;
            verfuegbarkeit_ = ohneWerkzeuge(*fehler);
            emit verfuegbarkeitGeaendert();
            setzeAntwort(id, schiefText + fehler->beschreibung);
            break;
        case Art::kontextZuKlein:
        case Art::anderer:
            if (fehler)
                setzeAntwort(id, schiefText + fehler->beschreibung);
            else if (leer)
                setzeAntwort(id, stummText);
            break;
    }
    m_.setzeKiDenkt(false);
    // an answer from a model the page calls unusable (it refused tools before): look again
    if ((!fehler || fehler->art == Art::abgeschnitten) && verfuegbarkeit_ && !verfuegbarkeit_->verfuegbar)
        verfuegbarkeitPruefen();
    if (wartend_) setzeSprachmodell(std::move(wartend_));
    emit beantwortet();
}

}  // namespace hainbrem
