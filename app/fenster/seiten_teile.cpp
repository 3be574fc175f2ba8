// The pieces every page is built from.
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/fenster/anzeige.hpp"
#include "app/fenster/design.hpp"
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"

namespace hainbrem {

using design::qs;

Zustaende::Zustaende(Leer leer, std::function<void()> anhalten, QWidget* inhalt, QWidget* eltern)
    : QStackedWidget(eltern) {
    leer_ = new QWidget;
    {
        auto* l = new QVBoxLayout(leer_);
        l->addStretch(2);
        auto* bild = new QLabel;
        bild->setPixmap(design::symbolBild(leer.symbol, design::akzent(), 56, devicePixelRatioF()));
        bild->setAlignment(Qt::AlignCenter);
        l->addWidget(bild);
        auto* titel = design::ueberschrift(leer.titel, 17);
        titel->setAlignment(Qt::AlignCenter);
        l->addWidget(titel);
        auto* text = design::leise(leer.text);
        text->setAlignment(Qt::AlignCenter);
        text->setMaximumWidth(520);
        l->addWidget(text, 0, Qt::AlignHCenter);
        start_ = new QPushButton(leer.knopf);
        start_->setMinimumWidth(180);
        connect(start_, &QPushButton::clicked, this, [s = std::move(leer.starten)] { s(); });
        l->addSpacing(6);
        l->addWidget(start_, 0, Qt::AlignHCenter);
        l->addStretch(3);
    }
    laeuft_ = new QWidget;
    {
        auto* l = new QVBoxLayout(laeuft_);
        l->addStretch(2);
        auto* titel = design::ueberschrift(QStringLiteral("Einen Moment …"), 15);
        titel->setAlignment(Qt::AlignCenter);
        l->addWidget(titel);
        balken_ = new QProgressBar;
        balken_->setMaximumWidth(420);
        balken_->setTextVisible(false);
        l->addWidget(balken_, 0, Qt::AlignHCenter);
        detail_ = design::leise({});
        detail_->setAlignment(Qt::AlignCenter);
        l->addWidget(detail_);
        auto* halt = new QPushButton(QStringLiteral("Anhalten"));
        connect(halt, &QPushButton::clicked, this, [a = std::move(anhalten)] { a(); });
        l->addWidget(halt, 0, Qt::AlignHCenter);
        l->addStretch(3);
    }
    addWidget(leer_);
    addWidget(laeuft_);
    addWidget(inhalt);
}

void Zustaende::zeige(bool laeuft, bool hatInhalt, double anteil, const QString& detail) {
    gelaufen_ = gelaufen_ || laeuft;
    if (laeuft) {
        balken_->setRange(0, anteil < 0 ? 0 : 1000);
        if (anteil >= 0) balken_->setValue(static_cast<int>(anteil * 1000));
        detail_->setText(detail);
        setCurrentWidget(laeuft_);
    } else {
        setCurrentIndex(hatInhalt || gelaufen_ ? 2 : 0);
    }
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
    knopf_ = new QPushButton(design::symbol("leaf.fill", Qt::white), knopf);
    knopf_->setStyleSheet(QStringLiteral("QPushButton { background: %1; color: white; padding: 6px 16px; "
                                         "border-radius: 6px; font-weight: bold; }"
                                         "QPushButton:disabled { background: palette(mid); color: palette(dark); }")
                              .arg(design::akzent().name()));
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
                                       .arg(qs(alsZahl(static_cast<int64_t>(funde.size()))),
                                            qs(alsBytes(anzeige::summe(funde)))));
    knopf_->setEnabled(!funde.empty() && !modell_.entsorgtGerade());
}

AssistentPlatzhalter::AssistentPlatzhalter(QWidget* eltern) : QWidget(eltern) {
    auto* l = new QVBoxLayout(this);
    l->addStretch();
    auto* bild = new QLabel;
    bild->setPixmap(design::symbolBild("sparkles", design::akzent(), 56, devicePixelRatioF()));
    bild->setAlignment(Qt::AlignCenter);
    l->addWidget(bild);
    auto* t = design::ueberschrift(QStringLiteral("Assistent"), 17);
    t->setAlignment(Qt::AlignCenter);
    l->addWidget(t);
    auto* text = design::leise(QStringLiteral("Der Assistent ist in dieser Ausgabe noch nicht dabei."));
    text->setAlignment(Qt::AlignCenter);
    l->addWidget(text);
    l->addStretch();
}

}  // namespace hainbrem
