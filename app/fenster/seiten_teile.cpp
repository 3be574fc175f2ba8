// The pieces every page is built from.
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "app/fenster/anzeige.hpp"
#include "app/fenster/design.hpp"
#include "app/fenster/seitenbau.hpp"
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"

namespace hainbrem {

using design::qs;

namespace {

// A symbol, a title, a line and a button, in the middle of the page.
QWidget* mitte(const char* symbol, const QString& titel, const QString& text, QPushButton* knopf, QLabel** textFeld) {
    auto* w = new QWidget;
    auto* l = new QVBoxLayout(w);
    l->addStretch(2);
    l->addWidget(new design::Symbol(symbol, "gruen", 56), 0, Qt::AlignHCenter);
    l->addSpacing(4);
    auto* t = design::ueberschrift(titel, 17);
    t->setAlignment(Qt::AlignCenter);
    l->addWidget(t);
    auto* x = design::leise(text);
    x->setAlignment(Qt::AlignCenter);
    // centred by stretches, not by alignment: so the wrapped lines get the height they need
    x->setFixedWidth(520);
    auto* reihe = new QHBoxLayout;
    reihe->addStretch();
    reihe->addWidget(x);
    reihe->addStretch();
    l->addLayout(reihe);
    if (textFeld) *textFeld = x;
    knopf->setMinimumWidth(180);
    l->addSpacing(8);
    l->addWidget(knopf, 0, Qt::AlignHCenter);
    l->addStretch(3);
    return w;
}

}  // namespace

Zustaende::Zustaende(Leer leer, std::function<void()> anhalten, QWidget* inhalt, QWidget* eltern)
    : QStackedWidget(eltern), inhalt_(inhalt) {
    start_ = design::knopf(leer.knopf, design::Rolle::haupt);
    connect(start_, &QPushButton::clicked, this, [s = leer.starten] { s(); });
    leer_ = mitte(leer.symbol, leer.titel, leer.text, start_, nullptr);
    laeuft_ = new QWidget;
    {
        auto* l = new QVBoxLayout(laeuft_);
        l->addStretch(2);
        auto* titel = design::ueberschrift(QStringLiteral("Einen Moment …"), 15);
        titel->setAlignment(Qt::AlignCenter);
        l->addWidget(titel);
        balken_ = new QProgressBar;
        balken_->setFixedWidth(420);
        balken_->setTextVisible(false);
        l->addWidget(balken_, 0, Qt::AlignHCenter);
        detail_ = design::leise({});
        detail_->setAlignment(Qt::AlignCenter);
        l->addWidget(detail_);
        auto* halt = design::knopf(QStringLiteral("Anhalten"));
        halt->setMinimumWidth(120);
        connect(halt, &QPushButton::clicked, this, [a = std::move(anhalten)] { a(); });
        l->addWidget(halt, 0, Qt::AlignHCenter);
        l->addStretch(3);
    }
    addWidget(leer_);
    addWidget(laeuft_);
    addWidget(inhalt);
    if (!leer.nichtsTitel.isEmpty()) {
        auto* nochmal = design::knopf(leer.nichtsKnopf.isEmpty() ? leer.knopf : leer.nichtsKnopf);
        connect(nochmal, &QPushButton::clicked, this, [s = std::move(leer.starten)] { s(); });
        nichts_ = mitte(leer.symbol, leer.nichtsTitel, leer.nichtsText, nochmal, &nichtsText_);
        addWidget(nichts_);
    }
}

void Zustaende::zeige(bool laeuft, bool fertig, bool hatInhalt, double anteil, const QString& detail) {
    gelaufen_ = gelaufen_ || laeuft || fertig;
    if (laeuft) {
        balken_->setRange(0, anteil < 0 ? 0 : 1000);
        if (anteil >= 0) balken_->setValue(static_cast<int>(anteil * 1000));
        detail_->setText(detail);
        setCurrentWidget(laeuft_);
    } else if (!gelaufen_ && !hatInhalt) {
        setCurrentWidget(leer_);
    } else {
        setCurrentWidget(!hatInhalt && nichts_ ? nichts_ : inhalt_);
    }
}

void Zustaende::setzeNichtsText(const QString& text) {
    if (nichtsText_) nichtsText_->setText(text);
}

Seitenkopf::Seitenkopf(const QString& titel, const QString& unter, QWidget* eltern) : QWidget(eltern) {
    auto* l = new QHBoxLayout(this);
    l->setContentsMargins(0, 0, 0, 4);
    auto* texte = new QVBoxLayout;
    texte->setSpacing(2);
    texte->addWidget(design::ueberschrift(titel, 20));
    unter_ = design::leise(unter);
    texte->addWidget(unter_);
    l->addLayout(texte, 1);
    knoepfe_ = new QHBoxLayout;
    l->addLayout(knoepfe_);
}

void Seitenkopf::setzeUnter(const QString& unter) { unter_->setText(unter); }

AuswahlLeiste::AuswahlLeiste(AppModell& modell, const QString& knopf, std::function<std::vector<Fund>()> gewaehlte,
                             std::function<std::string()> titel, QWidget* eltern)
    : QWidget(eltern), modell_(modell), gewaehlte_(std::move(gewaehlte)) {
    auto* l = new QHBoxLayout(this);
    l->setContentsMargins(0, 4, 0, 0);
    text_ = new QLabel;
    l->addWidget(text_, 1);
    knopf_ = design::knopf(knopf, design::Rolle::haupt);
    knopf_->setMinimumWidth(160);
    connect(knopf_, &QPushButton::clicked, this, [this, t = std::move(titel)] {
        auto funde = gewaehlte_();
        if (!funde.empty()) modell_.bitte(std::move(funde), t());
    });
    l->addWidget(knopf_);
    connect(&modell_, &AppModell::auswahlGeaendert, this, &AuswahlLeiste::aktualisiere);
    connect(&modell_, &AppModell::entsorgtGeradeGeaendert, this, &AuswahlLeiste::aktualisiere);
}

void AuswahlLeiste::aktualisiere() {
    const auto funde = gewaehlte_();
    text_->setText(funde.empty() ? QStringLiteral("Nichts ausgewählt")
                                 : QStringLiteral("%1 ausgewählt · <b>%2</b>")
                                       .arg(qs(anzahl(static_cast<int64_t>(funde.size()), "Teil", "Teile")),
                                            design::bytes(anzeige::summe(funde))));
    knopf_->setEnabled(!funde.empty() && !modell_.entsorgtGerade());
}

AssistentPlatzhalter::AssistentPlatzhalter(QWidget* eltern) : QWidget(eltern) {
    auto* l = new QVBoxLayout(this);
    l->addStretch();
    l->addWidget(new design::Symbol("sparkles", "gruen", 56), 0, Qt::AlignHCenter);
    auto* t = design::ueberschrift(QStringLiteral("Assistent"), 17);
    t->setAlignment(Qt::AlignCenter);
    l->addWidget(t);
    auto* text = design::leise(QStringLiteral("Der Assistent ist in dieser Ausgabe noch nicht dabei."));
    text->setAlignment(Qt::AlignCenter);
    l->addWidget(text);
    l->addStretch();
}

namespace seitenbau {

QVBoxLayout* seitenLayout(QWidget* seite) {
    auto* l = new QVBoxLayout(seite);
    l->setContentsMargins(28, 22, 28, 18);
    return l;
}

QWidget* mitLayout(QVBoxLayout*& l) {
    auto* w = new QWidget;
    l = new QVBoxLayout(w);
    l->setContentsMargins(0, 0, 0, 0);
    return w;
}

QTableWidget* tabelle(const QStringList& spalten) {
    auto* t = new QTableWidget(0, static_cast<int>(spalten.size()));
    t->setHorizontalHeaderLabels(spalten);
    t->verticalHeader()->hide();
    t->setEditTriggers(QAbstractItemView::NoEditTriggers);
    t->setSelectionBehavior(QAbstractItemView::SelectRows);
    t->setShowGrid(false);
    t->setAlternatingRowColors(true);
    t->setWordWrap(true);
    t->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    t->horizontalHeader()->setStretchLastSection(true);
    return t;
}

QTableWidgetItem* rechts(const QString& text) {
    auto* i = new QTableWidgetItem(text);
    i->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return i;
}

QString wannText(std::optional<Zeitpunkt> t) { return qs(anzeige::vorWann(t, std::chrono::system_clock::now())); }

}  // namespace seitenbau

}  // namespace hainbrem
