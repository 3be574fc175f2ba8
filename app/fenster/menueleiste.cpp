#include "app/fenster/menueleiste.hpp"

#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <cmath>

#include "app/fenster/anzeige.hpp"
#include "app/fenster/design.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"

namespace hainbrem {

using design::qs;

namespace {

// A half-circle gauge of the really free share.
class Anzeige : public QWidget {
public:
    explicit Anzeige(AppModell& modell) : modell_(modell) { setFixedSize(240, 128); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const auto& s = modell_.stand();
        // the share the overview shows too
        const double anteil = std::clamp(plattenbild(s, modell_.platte()).anteilFrei(), 0.0, 1.0);
        const QRectF bogen(30, 16, 180, 180);
        p.setPen(QPen(design::spur(), 16, Qt::SolidLine, Qt::RoundCap));
        p.drawArc(bogen, 180 * 16, -180 * 16);
        const auto lage = s.lage(modell_.warnGrenze());
        const QColor farbe = design::farbe(lage == Plattenstand::Lage::gut     ? "gruen"
                                           : lage == Plattenstand::Lage::knapp ? "orange"
                                                                               : "rot");
        p.setPen(QPen(farbe, 16, Qt::SolidLine, Qt::RoundCap));
        p.drawArc(bogen, 180 * 16, -static_cast<int>(std::lround(anteil * 180 * 16)));
        p.setPen(palette().color(QPalette::WindowText));
        QFont f = font();
        f.setPointSize(18);
        f.setBold(true);
        p.setFont(f);
        p.drawText(QRectF(0, 60, width(), 40), Qt::AlignCenter, QStringLiteral("%1 %").arg(qRound(anteil * 100)));
        f.setPointSize(font().pointSize());
        f.setBold(false);
        p.setFont(f);
        p.setPen(palette().color(QPalette::PlaceholderText));
        p.drawText(QRectF(0, 96, width(), 24), Qt::AlignCenter, QStringLiteral("frei"));
    }

private:
    AppModell& modell_;
};

}  // namespace

MenueleistenAnsicht::MenueleistenAnsicht(AppModell& modell, QWidget* eltern)
    : QWidget(eltern, Qt::Popup), modell_(modell) {
    setWindowTitle(QStringLiteral("Hainbrem"));
    auto* l = new QVBoxLayout(this);
    l->setContentsMargins(16, 14, 16, 14);
    l->setSpacing(8);
    anzeige_ = new Anzeige(modell_);
    l->addWidget(anzeige_, 0, Qt::AlignHCenter);
    frei_ = new QLabel;
    frei_->setAlignment(Qt::AlignCenter);
    l->addWidget(frei_);
    aufraeumen_ = design::knopf({}, design::Rolle::haupt);
    pruefen_ = design::knopf(QStringLiteral("Prüfen, was weg kann"));
    oeffnen_ = design::knopf(QStringLiteral("Hainbrem öffnen"));
    for (auto* k : {aufraeumen_, pruefen_, oeffnen_}) {
        k->setMinimumWidth(260);
        l->addWidget(k);
    }
    connect(aufraeumen_, &QPushButton::clicked, this, [this] {
        auto funde = modell_.katalogSicher();
        if (funde.empty()) return;
        modell_.bitte(std::move(funde), AppModell::sichereCachesTitel);
        hide();
        emit oeffnen();  // the sheet lives in the main window
    });
    connect(pruefen_, &QPushButton::clicked, &modell_, &AppModell::pruefen);
    connect(oeffnen_, &QPushButton::clicked, this, [this] {
        hide();
        emit oeffnen();
    });
    for (auto s : {&AppModell::standGeaendert, &AppModell::platteGeaendert, &AppModell::katalogGeaendert,
                   &AppModell::katalogLaeuftGeaendert, &AppModell::katalogGeprueftGeaendert})
        connect(&modell_, s, this, &MenueleistenAnsicht::aktualisiere);
    aktualisiere();
}

void MenueleistenAnsicht::aktualisiere() {
    frei_->setText(QStringLiteral("<b>%1</b> wirklich frei").arg(design::bytes(modell_.stand().echtFrei)));
    const auto sicher = modell_.katalogSicher();
    // before the first check nobody knows whether there are any
    aufraeumen_->setText(!modell_.katalogGeprueft() ? QStringLiteral("Sichere Caches: erst prüfen")
                         : sicher.empty()           ? QStringLiteral("Keine sicheren Caches zum Aufräumen")
                                                    : QStringLiteral("Sichere Caches aufräumen · ") +
                                                          design::bytes(anzeige::summe(sicher)));
    aufraeumen_->setEnabled(!sicher.empty());
    pruefen_->setEnabled(!modell_.katalogLaeuft());
    pruefen_->setText(modell_.katalogLaeuft() ? QStringLiteral("Prüft …") : QStringLiteral("Prüfen, was weg kann"));
    anzeige_->update();
}

QPoint panelOrt(const QRect& symbol, const QSize& panel, const QRect& flaeche) {
    const auto inFlaeche = [&](int wert, int anfang, int ende, int laenge) {
        return std::max(anfang, std::min(wert, ende - laenge + 1));
    };
    const int unten = symbol.bottom() + 1, oben = symbol.top() - panel.height();
    if (unten + panel.height() - 1 <= flaeche.bottom() || oben >= flaeche.top()) {
        const int y = unten + panel.height() - 1 <= flaeche.bottom() ? unten : oben;
        return {inFlaeche(symbol.left(), flaeche.left(), flaeche.right(), panel.width()), y};
    }
    // a symbol on a side panel: beside it
    const int rechts = symbol.right() + 1, links = symbol.left() - panel.width();
    const int x = rechts + panel.width() - 1 <= flaeche.right() ? rechts : links;
    return {x, inFlaeche(symbol.top(), flaeche.top(), flaeche.bottom(), panel.height())};
}

MenueleistenSymbol::MenueleistenSymbol(AppModell& modell, QObject* eltern)
    : QObject(eltern), modell_(modell), ansicht_(new MenueleistenAnsicht(modell)) {
    symbol_.setToolTip(QStringLiteral("Hainbrem"));
    connect(ansicht_, &MenueleistenAnsicht::oeffnen, this, &MenueleistenSymbol::oeffnen);
    connect(&symbol_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason) {
        if (ansicht_->isVisible()) {
            ansicht_->hide();
            return;
        }
        ansicht_->adjustSize();
        const QRect ort = symbol_.geometry().isValid() ? symbol_.geometry() : QRect(QCursor::pos(), QSize(1, 1));
        const QScreen* s = QGuiApplication::screenAt(ort.center());
        if (!s) s = QGuiApplication::primaryScreen();
        ansicht_->move(s ? panelOrt(ort, ansicht_->size(), s->availableGeometry()) : ort.bottomLeft());
        ansicht_->show();
    });
    connect(&modell_, &AppModell::standGeaendert, this, &MenueleistenSymbol::aktualisiere);
    connect(&modell_.einstellungen(), &Einstellungen::menueleisteGeaendert, this, &MenueleistenSymbol::aktualisiere);
    connect(&modell_.einstellungen(), &Einstellungen::warnGrenzeGBGeaendert, this, &MenueleistenSymbol::aktualisiere);
    aktualisiere();
}

MenueleistenSymbol::~MenueleistenSymbol() { delete ansicht_; }

const char* MenueleistenSymbol::symbolName() const {
    return modell_.stand().lage(modell_.warnGrenze()) == Plattenstand::Lage::gut ? "leaf.fill"
                                                                                 : "exclamationmark.triangle.fill";
}

void MenueleistenSymbol::aktualisiere() {
    const bool gut = std::string_view(symbolName()) == "leaf.fill";
    symbol_.setIcon(design::symbol(symbolName(), design::farbe(gut ? "gruen" : "orange")));
    symbol_.setToolTip(QStringLiteral("Hainbrem · %1 wirklich frei").arg(design::bytes(modell_.stand().echtFrei)));
    const bool an = modell_.einstellungen().menueleiste();
    symbol_.setVisible(an);
    if (!an) ansicht_->hide();
}

}  // namespace hainbrem
