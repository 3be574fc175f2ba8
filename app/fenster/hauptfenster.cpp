#include "app/fenster/hauptfenster.hpp"

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QListWidget>
#include <QMenuBar>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "app/fenster/design.hpp"
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"

namespace hainbrem {

using design::qs;

Hauptfenster::Hauptfenster(AppModell& modell, std::filesystem::path home, QWidget* assistent, QWidget* eltern)
    : QMainWindow(eltern), modell_(modell), home_(std::move(home)) {
    setWindowTitle(QStringLiteral("Hainbrem"));
    setMinimumSize(1120, 760);
    setWindowIcon(QIcon(QStringLiteral(":/hainbrem.svg")));

    auto* mitte = new QWidget;
    auto* l = new QHBoxLayout(mitte);
    l->setContentsMargins(0, 0, 0, 0);
    l->setSpacing(0);
    leiste_ = new QListWidget;
    leiste_->setObjectName(QStringLiteral("seitenleiste"));
    leiste_->setFixedWidth(232);
    leiste_->setIconSize(QSize(20, 20));
    leiste_->setFrameShape(QFrame::NoFrame);
    leiste_->setAutoFillBackground(true);
    leiste_->setBackgroundRole(QPalette::AlternateBase);
    leiste_->setStyleSheet(QStringLiteral("QListWidget#seitenleiste { padding: 12px 8px; background: palette(window); "
                                          "border-right: 1px solid palette(mid); }"
                                          "QListWidget#seitenleiste::item { padding: 7px 6px; border-radius: 6px; "
                                          "color: palette(window-text); }"
                                          "QListWidget#seitenleiste::item:selected { background: palette(midlight); "
                                          "font-weight: bold; }"));
    leiste_->setAccessibleName(QStringLiteral("Seiten"));
    l->addWidget(leiste_);

    auto* rechts = new QWidget;
    auto* rl = new QVBoxLayout(rechts);
    rl->setContentsMargins(0, 0, 0, 0);
    rl->setSpacing(0);
    ergebnis_ = new ErgebnisLeiste(modell_);
    rl->addWidget(ergebnis_);
    stapel_ = new QStackedWidget;
    rl->addWidget(stapel_, 1);
    l->addWidget(rechts, 1);
    setCentralWidget(mitte);

    seiten_ = {new UebersichtSeite(modell_),
               assistent ? assistent : new AssistentPlatzhalter,
               new AufraeumenSeite(modell_, home_),
               new KarteSeite(modell_),
               new GrosseSeite(modell_, home_),
               new DuplikateSeite(modell_, home_),
               new ProgrammeSeite(modell_, home_),
               new ProjekteSeite(modell_, home_),
               new TricksSeite(modell_),
               new VerlaufSeite(modell_, home_)};
    for (const Seite s : alleSeiten) {
        stapel_->addWidget(seite(s));
        leiste_->addItem(new QListWidgetItem(design::symbol(symbol(s, modell_.profil()), design::akzent()),
                                             qs(titel(s, modell_.profil()))));
    }
    connect(leiste_, &QListWidget::currentRowChanged, this, [this](int zeile) {
        if (zeile >= 0 && zeile < static_cast<int>(alleSeiten.size()))
            modell_.setzeSeite(alleSeiten[static_cast<size_t>(zeile)]);
    });
    // the symbols are drawn in the colours of the mode
    design::beiFarbwechsel(this, [this] {
        for (size_t i = 0; i < alleSeiten.size(); ++i)
            leiste_->item(static_cast<int>(i))
                ->setIcon(design::symbol(symbol(alleSeiten[i], modell_.profil()), design::akzent()));
        for (QAction* a : findChildren<QAction*>())
            if (const QString s = a->property("hainbremSymbol").toString(); !s.isEmpty())
                a->setIcon(design::symbol(s.toStdString(), palette().color(QPalette::WindowText)));
    });
    connect(&modell_, &AppModell::seiteGeaendert, this, &Hauptfenster::seiteGewechselt);
    connect(&modell_, &AppModell::auftragGeaendert, this, &Hauptfenster::auftragGewechselt);
    baueMenue();
    seiteGewechselt();
    auftragGewechselt();
}

void Hauptfenster::setzeAssistentSeite(QWidget* neu) {
    QWidget*& platz = seiten_[static_cast<size_t>(Seite::assistent)];
    const int index = stapel_->indexOf(platz);
    stapel_->insertWidget(index, neu);
    stapel_->removeWidget(platz);
    platz->deleteLater();
    platz = neu;
    seiteGewechselt();
}

void Hauptfenster::baueMenue() {
    auto* aktionen = menuBar()->addMenu(QStringLiteral("&Hainbrem"));
    auto aktion = [&](QMenu* m, const char* symbol, const QString& text, const QKeySequence& taste, auto tun) {
        auto* a = m->addAction(symbol ? design::symbol(symbol, palette().color(QPalette::WindowText)) : QIcon(), text);
        if (symbol) a->setProperty("hainbremSymbol", QString::fromUtf8(symbol));
        a->setShortcut(taste);
        connect(a, &QAction::triggered, this, tun);
        return a;
    };
    aktion(aktionen, "checklist", QStringLiteral("Prüfen, was weg kann"), QKeySequence(Qt::CTRL | Qt::Key_R),
           [this] { modell_.pruefen(); });
    aktion(aktionen, "circle.circle", QStringLiteral("Platte scannen"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R),
           [this] { modell_.tiefenscan(); });
    aktion(aktionen, "leaf.fill", QStringLiteral("Ausgewähltes aufräumen …"), QKeySequence(Qt::CTRL | Qt::Key_Return),
           [this] {
               auto funde = modell_.katalogAusgewaehlt();
               if (!funde.empty()) modell_.bitte(std::move(funde), "Aufräumen");
           });
    aktion(aktionen, "clock.arrow.circlepath", QStringLiteral("Letzte Runde rückgängig"), QKeySequence::Undo, [this] {
        for (const auto& r : modell_.verlauf())
            if (r.kannRueckgaengig()) {
                modell_.rueckgaengig(r.id);
                return;
            }
    });
    aktionen->addSeparator();
    aktion(aktionen, "gearshape", QStringLiteral("Einstellungen …"), QKeySequence(Qt::CTRL | Qt::Key_Comma),
           [this] { emit einstellungenGewuenscht(); });
    aktionen->addSeparator();
    aktion(aktionen, nullptr, QStringLiteral("Beenden"), QKeySequence::Quit, [] { QApplication::quit(); });

    auto* gehe = menuBar()->addMenu(QStringLiteral("&Gehe zu"));
    for (size_t i = 0; i < alleSeiten.size(); ++i) {
        const Seite s = alleSeiten[i];
        const int ziffer = static_cast<int>((i + 1) % 10);
        aktion(gehe, symbol(s, modell_.profil()).data(), qs(titel(s, modell_.profil())),
               QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_0 + ziffer)),
               [this, s] { modell_.setzeSeite(s); });
    }
}

void Hauptfenster::seiteGewechselt() {
    const int i = static_cast<int>(modell_.seite());
    stapel_->setCurrentWidget(seiten_[static_cast<size_t>(i)]);
    if (leiste_->currentRow() != i) leiste_->setCurrentRow(i);
}

void Hauptfenster::auftragGewechselt() {
    const auto& a = modell_.auftrag();
    if (blatt_ && (!a || blatt_->auftrag().id != a->id)) {
        blatt_->hide();
        blatt_->deleteLater();
        blatt_ = nullptr;
    }
    if (!a || blatt_) return;
    blatt_ = new BestaetigungsAnsicht(modell_, *a, this, blattTeile_);
    connect(blatt_, &QDialog::rejected, this, [this, id = a->id] {
        if (modell_.auftrag() && modell_.auftrag()->id == id) modell_.setzeAuftrag(std::nullopt);
    });
    blatt_->show();
}

void Hauptfenster::zeigen() {
    if (isMinimized()) showNormal();
    show();
    raise();
    activateWindow();
    // a pending sheet (the panel asks for one and then opens this window) stays above what it blocks
    if (blatt_) {
        blatt_->show();
        blatt_->raise();
        blatt_->activateWindow();
    }
}

}  // namespace hainbrem
