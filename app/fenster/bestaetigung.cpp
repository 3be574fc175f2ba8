#include "app/fenster/bestaetigung.hpp"

#include <QGridLayout>
#include <algorithm>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
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
    if (!teile_.beenden) teile_.beenden = [](const std::string& name) { beendeProgramm(name); };
    if (!auftrag_.gang) auftrag_.gang = modell_.auftragFuer(auftrag_.funde, auftrag_.titel).gang;
    setWindowModality(Qt::WindowModal);
#ifdef Q_OS_MACOS
    setWindowFlag(Qt::Sheet);
#endif
    setWindowTitle(qs(auftrag_.titel));
    setMinimumWidth(560);

    const Bestaetigung& b = auftrag_.gang->bestaetigung();
    auto* l = new QVBoxLayout(this);
    l->setContentsMargins(24, 22, 24, 18);
    l->setSpacing(14);
    l->addWidget(design::ueberschrift(qs(auftrag_.titel), 17));

    // 1. one row per kind of disposal
    for (const auto& z : b.zeilen) {
        auto* zeile = new QGridLayout;
        zeile->setHorizontalSpacing(12);
        auto* bild = new design::Symbol(z.symbol, z.farbe, 26);
        auto* titel = new QLabel(QStringLiteral("<b>%1</b>").arg(qs(z.titel).toHtmlEscaped()));
        auto* bytes = new QLabel(QStringLiteral("<b>%1</b>").arg(design::bytes(z.bytes)));
        bytes->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        zeile->addWidget(bild, 0, 0, 2, 1, Qt::AlignTop);
        zeile->addWidget(titel, 0, 1);
        zeile->addWidget(bytes, 0, 2);
        zeile->addWidget(design::leise(qs(z.text)), 1, 1, 1, 2);
        zeile->setColumnStretch(1, 1);
        l->addLayout(zeile);
    }
    // 2. the total
    auto* summe = new QLabel(QStringLiteral("Zusammen <b>%1</b> %2").arg(design::bytes(b.bytes), qs(b.teile)));
    // 3. the note, right under the total
    auto* summeUndHinweis = new QVBoxLayout;
    summeUndHinweis->setSpacing(4);
    summeUndHinweis->addWidget(summe);
    summeUndHinweis->addWidget(design::leise(qs(b.hinweis)));
    l->addSpacing(2);
    l->addLayout(summeUndHinweis);
    // 4. owners running now
    for (size_t i = 0; i < b.laufendeBesitzer.size(); ++i) {
        auto* zeile = new QHBoxLayout;
        zeile->addWidget(new design::Symbol("exclamationmark.circle", "orange", 20));
        auto* warnung = new QLabel(qs(b.warnungen[i]));
        warnung->setWordWrap(true);
        zeile->addWidget(warnung, 1);
        auto* beenden = design::knopf(QStringLiteral("Beenden"));
        beenden->setAutoDefault(false);
        connect(beenden, &QPushButton::clicked, this,
                [this, name = b.laufendeBesitzer[i]] { teile_.beenden(name); });
        zeile->addWidget(beenden);
        l->addLayout(zeile);
    }
    // what Hainbrem will not do itself, with the command that does
    for (const auto& h : b.hinweise) {
        auto* zeile = new QHBoxLayout;
        zeile->addWidget(new design::Symbol("exclamationmark.circle", "orange", 20), 0, Qt::AlignTop);
        // the command to type on a line of its own, never broken, and copied as it stands
        const QString hinweis = qs(h);
        const qsizetype terminal = hinweis.indexOf(QStringLiteral("Im Terminal: "));
        auto* text = new QLabel(terminal < 0 ? hinweis
                                             : QStringLiteral("%1<p style='white-space:pre'><code>%2</code></p>")
                                                   .arg(hinweis.left(terminal + 12).toHtmlEscaped(),
                                                        hinweis.mid(terminal + 13).toHtmlEscaped()));
        text->setWordWrap(true);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
        zeile->addWidget(text, 1);
        l->addLayout(zeile);
    }
    // 5. the buttons
    auto* knoepfe = new QHBoxLayout;
    knoepfe->addStretch();
    auto* abbrechen = design::knopf(QStringLiteral("Abbrechen"));
    abbrechen->setAutoDefault(false);
    abbrechen->setMinimumWidth(110);
    connect(abbrechen, &QPushButton::clicked, this, &QDialog::reject);
    const bool deinstalliert =
        std::any_of(b.zeilen.begin(), b.zeilen.end(), [](const auto& z) { return z.art == Entsorgung::deinstallieren; });
    bestaetigen_ = design::knopf(deinstalliert ? QStringLiteral("Deinstallieren")
                                 : b.zeilen.size() == 1 && b.zeilen[0].art == Entsorgung::papierkorb
                                     ? QStringLiteral("In den Papierkorb")
                                     : QStringLiteral("Aufräumen"),
                                 design::Rolle::haupt);
    bestaetigen_->setMinimumWidth(140);
    bestaetigen_->setAutoDefault(false);  // a held return key must not reach it
    bestaetigen_->setEnabled(false);
    connect(bestaetigen_, &QPushButton::clicked, this, &BestaetigungsAnsicht::bestaetigen);
    knoepfe->addWidget(abbrechen);
    knoepfe->addWidget(bestaetigen_);
    l->addStretch(1);
    l->addSpacing(6);
    l->addLayout(knoepfe);
    abbrechen->setFocus();  // the safe choice has the keyboard
    // as tall as the wrapped texts need at this width, not as tall as their guesses
    resize(minimumWidth(), heightForWidth(minimumWidth()));
}

void BestaetigungsAnsicht::showEvent(QShowEvent* e) {
    QDialog::showEvent(e);
    erschienen_ = teile_.uhr();
    aktualisiere();
    // the button only shows the state; `bereit` asks the clock itself
    QTimer::singleShot(scharfNach, this, &BestaetigungsAnsicht::aktualisiere);
}

bool BestaetigungsAnsicht::bereit() const {
    // an order of nothing has nothing to confirm
    return !auftrag_.funde.empty() && erschienen_ && teile_.uhr() - *erschienen_ >= scharfNach;
}

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
    setFrameShape(QFrame::NoFrame);
    auto* l = new QHBoxLayout(this);
    l->setContentsMargins(16, 10, 10, 10);
    l->setSpacing(14);
    symbol_ = new design::Symbol("sun.max.fill", "orange", 28);
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
    balken_ = new QProgressBar;
    balken_->setRange(0, 0);
    balken_->setTextVisible(false);
    balken_->setMaximumWidth(360);
    balken_->setFixedHeight(8);
    texte->addWidget(balken_);
    l->addLayout(texte, 1);
    rueckgaengig_ = design::knopf(QStringLiteral("Rückgängig"));
    rueckgaengig_->setToolTip(QStringLiteral("Legt zurück, was diese Runde in den Papierkorb gelegt hat"));
    connect(rueckgaengig_, &QPushButton::clicked, this, [this] {
        if (modell_.letzteRunde()) modell_.rueckgaengig(modell_.letzteRunde()->id);
    });
    l->addWidget(rueckgaengig_, 0, Qt::AlignVCenter);
    schliessen_ = new QToolButton;
    schliessen_->setAutoRaise(true);
    schliessen_->setToolTip(QStringLiteral("Schließen"));
    schliessen_->setAccessibleName(QStringLiteral("Ergebnis schließen"));
    connect(schliessen_, &QToolButton::clicked, this, [this] { modell_.letzteRundeSchliessen(); });
    l->addWidget(schliessen_, 0, Qt::AlignVCenter);

    connect(&modell_, &AppModell::letzteRundeGeaendert, this, &ErgebnisLeiste::zeige);
    connect(&modell_, &AppModell::standGeaendert, this, &ErgebnisLeiste::zeige);
    connect(&modell_, &AppModell::entsorgtGeradeGeaendert, this, &ErgebnisLeiste::zeige);
    design::beiFarbwechsel(this, [this] { zeige(); });
    zeige();
}

void ErgebnisLeiste::paintEvent(QPaintEvent* e) {
    QFrame::paintEvent(e);
    // a line under the bar, in the mode's colours
    QPainter p(this);
    p.setPen(palette().color(QPalette::Mid));
    p.drawLine(0, height() - 1, width(), height() - 1);
}

QString ErgebnisLeiste::erklaerung() const { return erklaerung_->text(); }

void ErgebnisLeiste::zeige() {
    const bool laeuft = modell_.entsorgtGerade();
    balken_->setVisible(laeuft);
    rueckgaengig_->setVisible(!laeuft);
    schliessen_->setVisible(!laeuft);
    if (laeuft) {
        setVisible(true);
        symbol_->setze("leaf.fill", "gruen");
        frei_->setText(QStringLiteral("<b>Räumt auf …</b>"));
        gewonnen_->clear();
        erklaerung_->setText(QStringLiteral("Hainbrem prüft jeden Pfad unmittelbar vor dem Entfernen noch einmal."));
        return;
    }
    const auto& r = modell_.letzteRunde();
    setVisible(r.has_value());
    if (!r) return;
    symbol_->setze("sun.max.fill", "orange");
    schliessen_->setIcon(design::symbol("xmark", palette().color(QPalette::WindowText)));
    // the free space as read last (right after the round, and again after an undo), so the bar never
    // shows an older figure than the pages below it
    frei_->setText(QStringLiteral("Freier Platz: <b>%1</b>").arg(design::bytes(modell_.stand().echtFrei)));
    if (r->probelauf) {
        gewonnen_->setText(QStringLiteral("<b>Probelauf</b>: nichts entfernt"));
    } else {
        gewonnen_->setText(QStringLiteral("Gewonnen: <b>%1</b> <span style='color:%2'>gemessen</span>")
                               .arg(design::bytes(r->gewonnen()), design::farbe("gruen").name()));
    }
    erklaerung_->setText(design::fliesstext(modell_.letzteErklaerung()));
    rueckgaengig_->setEnabled(r->kannRueckgaengig());
}

}  // namespace hainbrem
