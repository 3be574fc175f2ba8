#include "app/assistent/seite/assistentseite.hpp"

#include <QHBoxLayout>
#include <QScrollBar>
#include <QShowEvent>

#include "app/assistent/seite/flowlayout.hpp"

namespace hainbrem {

namespace {

// Stand-ins for the system symbols on platforms that have none.
constexpr const char* funkeln = "✦";    // sparkles
constexpr const char* pfeilHoch = "↑";  // arrow.up.circle.fill
constexpr const char* liste = "☑";      // checklist
constexpr const char* kreuz = "✕";      // xmark

QString q(const char* t) { return QString::fromUtf8(t); }

QLabel* zweitrangig(QLabel* l) {
    QPalette p = l->palette();
    p.setColor(QPalette::WindowText, p.color(QPalette::PlaceholderText));
    l->setPalette(p);
    return l;
}

}  // namespace

// ---------------------------------------------------------------- bubble

Blase::Blase(const Nachricht& nachricht, bool denkt, QWidget* eltern) : QFrame(eltern), text_(new QLabel(this)) {
    auto* zeile = new QHBoxLayout(this);
    zeile->setContentsMargins(12, 8, 12, 8);
    if (!nachricht.vonMir) {
        auto* symbol = new QLabel(q(funkeln), this);
        symbol->setAlignment(Qt::AlignTop);
        zeile->addWidget(symbol);
    }
    text_->setWordWrap(true);
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    text_->setTextFormat(Qt::PlainText);
    zeile->addWidget(text_, 1);
    setObjectName(nachricht.vonMir ? "blaseIch" : "blaseAssistent");
    setStyleSheet(nachricht.vonMir ? "#blaseIch { background: palette(highlight); border-radius: 12px; }"
                                     "#blaseIch QLabel { color: palette(highlighted-text); }"
                                   : "#blaseAssistent { background: palette(alternate-base); border-radius: 12px; "
                                     "border: 1px solid palette(midlight); }");
    setze(nachricht, denkt);
}

void Blase::setze(const Nachricht& nachricht, bool denkt) {
    nachricht_ = nachricht;
    denkt_ = denkt;
    const bool wartet = nachricht.text.empty() && denkt && !nachricht.vonMir;
    text_->setText(angezeigt());
    QPalette p = text_->palette();
    p.setColor(QPalette::WindowText, palette().color(wartet ? QPalette::PlaceholderText : QPalette::WindowText));
    text_->setPalette(p);
    passeBreiteAn();
}

void Blase::setzeMaxBreite(int breite) {
    maxBreite_ = breite;
    passeBreiteAn();
}

void Blase::passeBreiteAn() {
    // a wrapping label alone would pick a narrow column; it gets the width its text needs
    const QMargins rand = layout()->contentsMargins();
    const int innen = maxBreite_ - rand.left() - rand.right() - (nachricht_.vonMir ? 0 : 24);
    const QRect r = text_->fontMetrics().boundingRect(QRect(0, 0, innen, 1'000'000), Qt::TextWordWrap, angezeigt());
    text_->setMinimumWidth(std::min(innen, r.width() + 2));
    setMaximumWidth(maxBreite_);
}

QString Blase::angezeigt() const {
    if (nachricht_.text.empty() && denkt_ && !nachricht_.vonMir) return q(schautNachText);
    return QString::fromStdString(nachricht_.text);
}

// ---------------------------------------------------------------- suggestion card

VorschlagKarte::VorschlagKarte(AppModell& modell, QWidget* eltern)
    : QFrame(eltern),
      modell_(modell),
      titel_(new QLabel(this)),
      ansehen_(new QPushButton(q(liste) + " Ansehen …", this)),
      schliessen_(new QToolButton(this)) {
    setObjectName("vorschlagKarte");
    setStyleSheet("#vorschlagKarte { border: 1px solid palette(highlight); border-radius: 10px; }");
    auto* zeile = new QHBoxLayout(this);
    auto* texte = new QVBoxLayout;
    QFont f = titel_->font();
    f.setBold(true);
    titel_->setFont(f);
    texte->addWidget(titel_);
    auto* erkl = zweitrangig(new QLabel(q(erklaerung), this));
    erkl->setWordWrap(true);
    texte->addWidget(erkl);
    zeile->addWidget(new QLabel(q(funkeln), this), 0, Qt::AlignTop);
    zeile->addLayout(texte, 1);
    zeile->addWidget(ansehen_);
    schliessen_->setText(q(kreuz));
    schliessen_->setAutoRaise(true);
    schliessen_->setToolTip("Vorschlag verwerfen");
    zeile->addWidget(schliessen_, 0, Qt::AlignTop);
    connect(ansehen_, &QPushButton::clicked, this,
            [this] { modell_.bitte(modell_.kiVorschlag(), Assistent::vorschlagTitel); });
    connect(schliessen_, &QToolButton::clicked, this, [this] { modell_.setzeKiVorschlag({}); });
    connect(&modell_, &AppModell::kiVorschlagGeaendert, this, &VorschlagKarte::aktualisiere);
    aktualisiere();
}

void VorschlagKarte::aktualisiere() {
    const auto n = modell_.kiVorschlag().size();
    titel_->setText(QStringLiteral("Vorschlag des Assistenten: %1 Teile").arg(n));
    setVisible(n > 0);
}

// ---------------------------------------------------------------- page

AssistentSeite::AssistentSeite(AppModell& modell, QWidget* eltern)
    : QWidget(eltern), modell_(modell), assistent_(Assistent::von(modell)) {
    auto* haupt = new QVBoxLayout(this);
    haupt->setContentsMargins(24, 20, 24, 16);
    haupt->setSpacing(10);

    auto* titel = new QLabel(QString::fromUtf8(hainbrem::titel(Seite::assistent).data()), this);
    QFont tf = titel->font();
    tf.setPointSizeF(tf.pointSizeF() * 1.6);
    tf.setBold(true);
    titel->setFont(tf);
    haupt->addWidget(titel);
    auto* kopf = new QLabel(q(kopfText), this);
    kopf->setWordWrap(true);
    haupt->addWidget(kopf);
    verfuegbarkeit_ = zweitrangig(new QLabel(this));
    verfuegbarkeit_->setWordWrap(true);
    haupt->addWidget(verfuegbarkeit_);

    stapel_ = new QStackedWidget(this);
    haupt->addWidget(stapel_, 1);

    // the conversation
    auto* gespraech = new QWidget(stapel_);
    auto* spalte = new QVBoxLayout(gespraech);
    spalte->setContentsMargins(0, 6, 0, 0);
    vorschlagBereich_ = new QWidget(gespraech);
    auto* fluss = new FlowLayout(vorschlagBereich_, 8);
    for (const char* v : vorschlaege) {
        auto* knopf = new QPushButton(q(v), vorschlagBereich_);
        connect(knopf, &QPushButton::clicked, this, [this, v] { assistent_.fragen(v); });
        fluss->addWidget(knopf);
    }
    spalte->addWidget(vorschlagBereich_);
    liste_ = new QScrollArea(gespraech);
    liste_->setWidgetResizable(true);
    liste_->setFrameShape(QFrame::NoFrame);
    auto* innen = new QWidget(liste_);
    blasenSpalte_ = new QVBoxLayout(innen);
    blasenSpalte_->setSpacing(8);
    blasenSpalte_->addStretch(1);
    liste_->setWidget(innen);
    spalte->addWidget(liste_, 1);
    // follows the newest message once the list has grown
    connect(liste_->verticalScrollBar(), &QScrollBar::rangeChanged, this, [this](int, int max) {
        if (std::exchange(ansEnde_, false)) liste_->verticalScrollBar()->setValue(max);
    });
    karte_ = new VorschlagKarte(modell_, gespraech);
    spalte->addWidget(karte_);
    auto* eingabeZeile = new QHBoxLayout;
    eingabe_ = new QLineEdit(gespraech);
    eingabe_->setPlaceholderText(q(eingabeHinweis));
    eingabe_->setClearButtonEnabled(true);
    senden_ = new QToolButton(gespraech);
    senden_->setText(q(pfeilHoch));
    senden_->setToolTip("Senden");
    eingabeZeile->addWidget(eingabe_, 1);
    eingabeZeile->addWidget(senden_);
    spalte->addLayout(eingabeZeile);
    connect(eingabe_, &QLineEdit::returnPressed, this, &AssistentSeite::senden);
    connect(senden_, &QToolButton::clicked, this, &AssistentSeite::senden);
    stapel_->addWidget(gespraech);

    // no model
    auto* fehlt = new QWidget(stapel_);
    auto* fehltSpalte = new QVBoxLayout(fehlt);
    fehltSpalte->addStretch(1);
    auto* fehltTitel = new QLabel(q(nichtVerfuegbarTitel), fehlt);
    QFont ff = fehltTitel->font();
    ff.setBold(true);
    ff.setPointSizeF(ff.pointSizeF() * 1.25);
    fehltTitel->setFont(ff);
    fehltTitel->setAlignment(Qt::AlignCenter);
    nichtVerfuegbarText_ = new QLabel(fehlt);
    nichtVerfuegbarText_->setWordWrap(true);
    nichtVerfuegbarText_->setAlignment(Qt::AlignCenter);
    nichtVerfuegbarText_->setTextInteractionFlags(Qt::TextSelectableByMouse);  // the start commands
    auto* nochmal = new QPushButton("Noch einmal prüfen", fehlt);
    connect(nochmal, &QPushButton::clicked, this, [this] { assistent_.verfuegbarkeitPruefen(); });
    fehltSpalte->addWidget(fehltTitel);
    fehltSpalte->addWidget(nichtVerfuegbarText_);
    fehltSpalte->addWidget(nochmal, 0, Qt::AlignCenter);
    fehltSpalte->addStretch(2);
    stapel_->addWidget(fehlt);

    connect(&assistent_, &Assistent::verfuegbarkeitGeaendert, this, &AssistentSeite::zeigeVerfuegbarkeit);
    connect(&modell_, &AppModell::unterhaltungGeaendert, this, &AssistentSeite::zeigeUnterhaltung);
    connect(&modell_, &AppModell::kiDenktGeaendert, this, &AssistentSeite::zeigeUnterhaltung);
    zeigeVerfuegbarkeit();
    zeigeUnterhaltung();
}

void AssistentSeite::zeigeVerfuegbarkeit() {
    const auto& v = assistent_.verfuegbarkeit();
    verfuegbarkeit_->setText(q(funkeln) + " " +
                             (v ? QString::fromStdString(v->text) : QStringLiteral("Suche das Sprachmodell …")));
    nichtVerfuegbarText_->setText(v ? QString::fromStdString(v->text) : QString());
    // a conversation already going on stays in view, with the reason in the line above it
    stapel_->setCurrentIndex(v && !v->verfuegbar && modell_.unterhaltung().empty() ? 1 : 0);
    verfuegbarkeit_->setVisible(stapel_->currentIndex() == 0);
}

void AssistentSeite::zeigeUnterhaltung() {
    const auto& n = modell_.unterhaltung();
    vorschlagBereich_->setVisible(n.empty());
    liste_->setVisible(!n.empty());
    senden_->setEnabled(!modell_.kiDenkt());
    // usually the list only grows and the last bubble changes; a conversation replaced otherwise
    // loses the rows from where it differs
    size_t gleich = 0;
    while (gleich < blasen_.size() && gleich < n.size() && blasen_[gleich]->nachricht().vonMir == n[gleich].vonMir)
        ++gleich;
    for (size_t i = blasen_.size(); i > gleich; --i) delete blasen_[i - 1]->parentWidget();
    blasen_.resize(gleich);
    for (size_t i = 0; i < n.size(); ++i) {
        const bool denkt = modell_.kiDenkt() && i + 1 == n.size();
        if (i < blasen_.size()) {
            if (blasen_[i]->nachricht() != n[i] || blasen_[i]->denkt() != denkt) blasen_[i]->setze(n[i], denkt);
            continue;
        }
        auto* reihe = new QWidget(liste_->widget());
        auto* zeile = new QHBoxLayout(reihe);
        zeile->setContentsMargins(0, 0, 0, 0);
        auto* blase = new Blase(n[i], denkt, reihe);
        blase->setzeMaxBreite(blasenBreite());
        if (n[i].vonMir) zeile->addStretch(1);
        zeile->addWidget(blase, 0);
        if (!n[i].vonMir) zeile->addStretch(1);
        blasenSpalte_->addWidget(reihe);
        blasen_.push_back(blase);
    }
    ansEnde_ = true;
    liste_->verticalScrollBar()->setValue(liste_->verticalScrollBar()->maximum());
    if (stapel_->currentIndex() != 0 && !n.empty()) zeigeVerfuegbarkeit();
}

// three quarters of the page; the list itself may not be laid out yet when the first bubble comes
int AssistentSeite::blasenBreite() const { return std::max(280, (width() - 48) * 3 / 4); }

void AssistentSeite::resizeEvent(QResizeEvent* e) {
    QWidget::resizeEvent(e);
    for (Blase* b : blasen_) b->setzeMaxBreite(blasenBreite());
}

void AssistentSeite::senden() {
    const QString text = eingabe_->text().trimmed();
    if (text.isEmpty() || modell_.kiDenkt()) return;
    eingabe_->clear();
    assistent_.fragen(text.toStdString());
}

void AssistentSeite::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    // a model started since the last look is found without a click
    if (assistent_.verfuegbarkeit() && !assistent_.verfuegbarkeit()->verfuegbar) assistent_.verfuegbarkeitPruefen();
    eingabe_->setFocus();
}

}  // namespace hainbrem
