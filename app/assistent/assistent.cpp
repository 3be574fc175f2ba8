#include "app/assistent/assistent.hpp"

#include <QString>

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
    return std::make_unique<OpenAiModell>(e.kiAdresse(), e.kiModell());
}

std::unique_ptr<Sitzung> Assistent::kiSitzung() {
    auto s = sprachmodell_->sitzung(anweisungen, alleWerkzeuge(m_));
    s->werkzeugMeldung = [p = QPointer<Assistent>(this)](const std::string& name) {
        if (p) emit p->werkzeugGerufen(QString::fromStdString(name));
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
    m_.setzeKiSitzungObjekt(nullptr);  // the old session speaks to the old model
    sprachmodell_ = std::move(sprachmodell);
    verfuegbarkeitPruefen();
}

void Assistent::fragen(const std::string& text) {
    const std::string frage = QString::fromStdString(text).trimmed().toStdString();
    if (frage.empty() || m_.kiDenkt()) return;
    auto* sitzung = dynamic_cast<Sitzung*>(m_.kiSitzungObjekt());
    if (!sitzung) {
        auto neu = kiSitzung();
        sitzung = neu.get();
        m_.setzeKiSitzungObjekt(std::move(neu));
    }
    const std::string antwortId = neueKennung();
    auto n = m_.unterhaltung();
    n.push_back(Nachricht{neueKennung(), true, frage});
    n.push_back(Nachricht{antwortId, false, {}});
    m_.setzeUnterhaltung(std::move(n));
    m_.setzeKiDenkt(true);
    const QPointer<Assistent> p(this);
    sitzung->antworte(
        frage,
        [p, antwortId](const std::string& schnappschuss) {
            if (p) p->setzeAntwort(antwortId, schnappschuss);
        },
        [p, antwortId](std::optional<KiFehler> fehler) {
            // later, so a session that must be replaced is no longer on the stack
            if (p)
                QMetaObject::invokeMethod(
                    p, [p, antwortId, fehler] { p->fertig(antwortId, fehler); }, Qt::QueuedConnection);
        });
}

void Assistent::setzeAntwort(const std::string& id, const std::string& text) {
    auto n = m_.unterhaltung();
    for (auto& x : n)
        if (x.id == id) x.text = text;
    m_.setzeUnterhaltung(std::move(n));
}

void Assistent::fertig(const std::string& id, const std::optional<KiFehler>& fehler) {
    if (fehler && fehler->art == KiFehler::Art::kontextVoll) {
        // the model forgets, the screen keeps the whole conversation
        m_.setzeKiSitzungObjekt(kiSitzung());
        setzeAntwort(id, zuLangText);
    } else if (fehler) {
        setzeAntwort(id, schiefText + fehler->beschreibung);
    } else {
        for (const auto& x : m_.unterhaltung())
            if (x.id == id && x.text.empty()) setzeAntwort(id, stummText);
    }
    m_.setzeKiDenkt(false);
    if (wartend_) setzeSprachmodell(std::move(wartend_));
    emit beantwortet();
}

}  // namespace hainbrem
