#include "app/fenster/bestaetigung.hpp"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/fenster/design.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/bestaetigung.hpp"
#include "kern/format.hpp"
#include "kern/laufend.hpp"

namespace hainbrem {

using design::qs;

BestaetigungsAnsicht::BestaetigungsAnsicht(AppModell& modell, Auftrag auftrag, QWidget* eltern, Teile teile)
    : QDialog(eltern), modell_(modell), auftrag_(std::move(auftrag)), teile_(std::move(teile)) {
    if (!teile_.uhr) teile_.uhr = [] { return std::chrono::steady_clock::now(); };
    if (!teile_.laeuft) teile_.laeuft = laufTest();
    if (!teile_.beenden) teile_.beenden = [](const std::string& name) { beendeProgramm(name); };
    setWindowModality(Qt::WindowModal);
#ifdef Q_OS_MACOS
    setWindowFlag(Qt::Sheet);
#endif
    setWindowTitle(qs(auftrag_.titel));
    setMinimumWidth(560);

    const Bestaetigung b = bestaetigung(auftrag_.funde, teile_.laeuft);
    auto* l = new QVBoxLayout(this);
    l->setContentsMargins(24, 22, 24, 18);
    l->setSpacing(14);
    l->addWidget(design::ueberschrift(qs(auftrag_.titel), 17));

    // 1. one row per kind of disposal
    for (const auto& z : b.zeilen) {
        auto* zeile = new QGridLayout;
        zeile->setHorizontalSpacing(12);
        auto* bild = new QLabel;
        bild->setPixmap(design::symbolBild(z.symbol, design::farbe(z.farbe), 26, devicePixelRatioF()));
        bild->setAlignment(Qt::AlignTop);
        auto* titel = new QLabel(QStringLiteral("<b>%1</b>").arg(qs(z.titel).toHtmlEscaped()));
        auto* bytes = new QLabel(QStringLiteral("<b>%1</b>").arg(qs(alsBytes(z.bytes))));
        bytes->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        zeile->addWidget(bild, 0, 0, 2, 1);
        zeile->addWidget(titel, 0, 1);
        zeile->addWidget(bytes, 0, 2);
        zeile->addWidget(design::leise(qs(z.text)), 1, 1, 1, 2);
        zeile->setColumnStretch(1, 1);
        l->addLayout(zeile);
    }
    // 2. the total
    auto* summe = new QLabel(QStringLiteral("Zusammen <b>%1</b> %2").arg(qs(alsBytes(b.bytes)), qs(b.teile)));
    l->addWidget(summe);
    // 3. the note
    l->addWidget(design::leise(qs(b.hinweis)));
    // 4. owners running now
    for (size_t i = 0; i < b.laufendeBesitzer.size(); ++i) {
        auto* zeile = new QHBoxLayout;
        auto* bild = new QLabel;
        bild->setPixmap(design::symbolBild("exclamationmark.circle", design::farbe("orange"), 20, devicePixelRatioF()));
        zeile->addWidget(bild);
        zeile->addWidget(new QLabel(qs(b.warnungen[i])), 1);
        auto* beenden = new QPushButton(QStringLiteral("Beenden"));
        beenden->setAutoDefault(false);
        connect(beenden, &QPushButton::clicked, this,
                [this, name = b.laufendeBesitzer[i]] { teile_.beenden(name); });
        zeile->addWidget(beenden);
        l->addLayout(zeile);
    }
    // 5. the buttons
    auto* knoepfe = new QHBoxLayout;
    knoepfe->addStretch();
    auto* abbrechen = new QPushButton(QStringLiteral("Abbrechen"));
    abbrechen->setAutoDefault(false);
    connect(abbrechen, &QPushButton::clicked, this, &QDialog::reject);
    bestaetigen_ = new QPushButton(b.zeilen.size() == 1 && b.zeilen[0].art == Entsorgung::papierkorb
                                       ? QStringLiteral("In den Papierkorb")
                                       : QStringLiteral("Aufräumen"));
    bestaetigen_->setAutoDefault(false);  // a held return key must not reach it
    bestaetigen_->setEnabled(false);
    connect(bestaetigen_, &QPushButton::clicked, this, &BestaetigungsAnsicht::bestaetigen);
    knoepfe->addWidget(abbrechen);
    knoepfe->addWidget(bestaetigen_);
    l->addSpacing(4);
    l->addLayout(knoepfe);
}

void BestaetigungsAnsicht::showEvent(QShowEvent* e) {
    QDialog::showEvent(e);
    erschienen_ = teile_.uhr();
    aktualisiere();
    // the button only shows the state; `bereit` asks the clock itself
    QTimer::singleShot(scharfNach, this, &BestaetigungsAnsicht::aktualisiere);
}

bool BestaetigungsAnsicht::bereit() const { return erschienen_ && teile_.uhr() - *erschienen_ >= scharfNach; }

void BestaetigungsAnsicht::aktualisiere() { bestaetigen_->setEnabled(bereit()); }

void BestaetigungsAnsicht::bestaetigen() {
    if (!bereit()) return;
    modell_.ausfuehren(auftrag_);
    accept();
}

// ---- the result bar

ErgebnisLeiste::ErgebnisLeiste(AppModell& modell, QWidget* eltern) : QFrame(eltern), modell_(modell) {
    setObjectName(QStringLiteral("ergebnis"));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::AlternateBase);
    setStyleSheet(QStringLiteral("QFrame#ergebnis { border-bottom: 1px solid palette(mid); }"));
    auto* l = new QHBoxLayout(this);
    l->setContentsMargins(16, 10, 10, 10);
    l->setSpacing(14);
    symbol_ = new QLabel;
    l->addWidget(symbol_, 0, Qt::AlignTop);
    auto* texte = new QVBoxLayout;
    texte->setSpacing(2);
    auto* zahlen = new QHBoxLayout;
    zahlen->setSpacing(18);
    frei_ = new QLabel;
    gewonnen_ = new QLabel;
    zahlen->addWidget(frei_);
    zahlen->addWidget(gewonnen_);
    zahlen->addStretch();
    texte->addLayout(zahlen);
    erklaerung_ = design::leise({});
    texte->addWidget(erklaerung_);
    l->addLayout(texte, 1);
    rueckgaengig_ = new QPushButton(QStringLiteral("Rückgängig"));
    connect(rueckgaengig_, &QPushButton::clicked, this, [this] {
        if (modell_.letzteRunde()) modell_.rueckgaengig(modell_.letzteRunde()->id);
    });
    l->addWidget(rueckgaengig_, 0, Qt::AlignVCenter);
    schliessen_ = new QToolButton;
    schliessen_->setAutoRaise(true);
    schliessen_->setToolTip(QStringLiteral("Schließen"));
    connect(schliessen_, &QToolButton::clicked, this, [this] { modell_.letzteRundeSchliessen(); });
    l->addWidget(schliessen_, 0, Qt::AlignVCenter);

    connect(&modell_, &AppModell::letzteRundeGeaendert, this, &ErgebnisLeiste::zeige);
    connect(&modell_, &AppModell::standGeaendert, this, &ErgebnisLeiste::zeige);
    zeige();
}

QString ErgebnisLeiste::erklaerung() const { return erklaerung_->text(); }

void ErgebnisLeiste::zeige() {
    const auto& r = modell_.letzteRunde();
    setVisible(r.has_value());
    if (!r) return;
    symbol_->setPixmap(design::symbolBild("sun.max.fill", design::farbe("orange"), 28, devicePixelRatioF()));
    schliessen_->setIcon(design::symbol("xmark", palette().color(QPalette::WindowText)));
    frei_->setText(QStringLiteral("Freier Platz: <b>%1</b>").arg(qs(alsBytes(r->freiNachher))));
    gewonnen_->setText(QStringLiteral("Gewonnen: <b>%1</b> <span style='color:%2'>gemessen</span>%3")
                           .arg(qs(alsBytes(r->gewonnen())), design::farbe("gruen").name(),
                                r->probelauf ? QStringLiteral(" · Probelauf, nichts entfernt") : QString()));
    // the model has just re-read the disk after the round; that is the "now" of the line
    erklaerung_->setText(qs(hainbrem::erklaerung(*r, [this] { return modell_.stand().echtFrei; })));
    rueckgaengig_->setEnabled(r->kannRueckgaengig());
}

}  // namespace hainbrem
