#include "app/fenster/ringansicht.hpp"

#include <algorithm>
#include <QAccessible>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "app/fenster/design.hpp"
#include "kern/format.hpp"

namespace hainbrem {

using design::qs;

namespace {
constexpr double gradJeRad = 180.0 / jahresringe::pi;

// One ring segment as a closed path; Qt counts degrees counter-clockwise, the layout clockwise.
QPainterPath bogen(const jahresringe::Segment& s, const jahresringe::Mass& m) {
    const double r1 = m.innenRadius(s.ebene) + 0.5, r2 = r1 + m.breite - 1.0;
    const QRectF aussen(m.mx - r2, m.my - r2, 2 * r2, 2 * r2), innen(m.mx - r1, m.my - r1, 2 * r1, 2 * r1);
    const double start = -s.von * gradJeRad, laenge = -(s.bis - s.von) * gradJeRad;
    QPainterPath p;
    p.arcMoveTo(aussen, start);
    p.arcTo(aussen, start, laenge);
    p.arcTo(innen, start + laenge, -laenge);
    p.closeSubpath();
    return p;
}
}  // namespace

Jahresringe::Jahresringe(QWidget* eltern) : QWidget(eltern) {
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void Jahresringe::setzeMitte(Knoten::Zeiger mitte) {
    mitte_ = std::move(mitte);
    zeiger_.reset();
    setAccessibleName(mitte_ ? QString::fromStdString(jahresringe::beschriftung(*mitte_)) : QString());
    update();
}

void Jahresringe::setzeZeiger(Knoten::Zeiger knoten) {
    if (knoten == zeiger_) return;
    zeiger_ = std::move(knoten);
    update();
    emit zeigerGeaendert(zeiger_);
}

void Jahresringe::setzeEbenen(int ebenen) {
    ebenen_ = std::max(1, ebenen);
    update();
}

jahresringe::Mass Jahresringe::mass() const { return jahresringe::massFuer(width(), height(), ebenen_); }

Knoten::Zeiger Jahresringe::knotenBei(QPointF punkt) const {
    if (!mitte_) return nullptr;
    const auto segmente = jahresringe::segmente(*mitte_, ebenen_);
    const auto i = jahresringe::treffer(segmente, mass(), punkt.x(), punkt.y());
    return i ? segmente[*i].knoten : nullptr;
}

QColor Jahresringe::farbeVon(const jahresringe::Segment& s, size_t wurzelIndex) const {
    const Knoten& k = *s.knoten;
    QColor c;
    if (k.istVirtuell())
        c = design::farbe("grau");
    else if (k.istPaket)
        c = design::farbe("lila");
    else if (!k.istOrdner)
        c = design::farbe("orange");
    else {
        // folders: a hue per branch of the first ring, lighter further out
        static constexpr int farbtoene[] = {150, 205, 95, 180, 125, 230, 170, 110};
        c = QColor::fromHsv(farbtoene[wurzelIndex % 8], design::istDunkel() ? 150 : 170,
                            design::istDunkel() ? 200 : 175);
    }
    // further out a little paler, so the rings read as depth without turning shrill
    const int schritt = std::min(5, s.ebene - 1);
    c.setHsv(c.hue(), std::max(40, c.saturation() - schritt * 18), std::min(255, c.value() + schritt * 8));
    return c;
}

void Jahresringe::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    if (!mitte_) return;
    const auto m = mass();
    const auto segmente = jahresringe::segmente(*mitte_, ebenen_);
    size_t zweig = 0;
    for (const auto& s : segmente) {
        if (s.ebene == 1) ++zweig;
        QColor c = farbeVon(s, zweig - 1);
        const bool hervor = zeiger_ && s.knoten == zeiger_;
        if (hervor) c = design::istDunkel() ? c.lighter(140) : c.darker(125);
        p.setPen(QPen(pal.color(QPalette::Window), hervor ? 0 : 1));
        p.setBrush(c);
        p.drawPath(bogen(s, m));
        if (hervor) {
            p.setPen(QPen(pal.color(QPalette::WindowText), 2));
            p.setBrush(Qt::NoBrush);
            p.drawPath(bogen(s, m));
        }
    }
    // the centre: name and size of the folder shown (or of the one under the pointer)
    p.setPen(Qt::NoPen);
    p.setBrush(pal.color(QPalette::Base));
    p.drawEllipse(QPointF(m.mx, m.my), m.innen - 1, m.innen - 1);
    const Knoten& k = zeiger_ ? *zeiger_ : *mitte_;
    const double b = m.innen * 1.5;
    QRectF oben(m.mx - b / 2, m.my - m.innen * 0.55, b, m.innen * 0.55);
    QRectF unten(m.mx - b / 2, m.my, b, m.innen * 0.9);
    QFont f = font();
    p.setPen(pal.color(QPalette::WindowText));
    f.setBold(true);
    p.setFont(f);
    p.drawText(oben, Qt::AlignHCenter | Qt::AlignBottom,
               p.fontMetrics().elidedText(QString::fromStdString(k.name), Qt::ElideMiddle, static_cast<int>(b)));
    f.setBold(false);
    p.setFont(f);
    p.setPen(pal.color(QPalette::PlaceholderText));
    // a disk's centre says how much of it is taken and how big it is
    const QString groesse = k.platz ? QStringLiteral("%1 belegt\nvon %2").arg(qs(alsBytes(k.bytes)), qs(alsBytes(*k.platz)))
                                    : qs(alsBytes(k.bytes));
    // smaller rather than cut: the figures must stay whole inside the circle
    const double breit = p.fontMetrics().boundingRect(unten.toRect(), Qt::AlignHCenter | Qt::AlignTop, groesse).width();
    if (breit > b && f.pointSizeF() > 0) {
        f.setPointSizeF(std::max(6.0, f.pointSizeF() * 0.9 * b / breit));  // hinting rounds widths up
        p.setFont(f);
    }
    p.drawText(unten, Qt::AlignHCenter | Qt::AlignTop, groesse);
}

void Jahresringe::mouseMoveEvent(QMouseEvent* e) {
    setzeZeiger(knotenBei(e->position()));
    setCursor(zeiger_ && !zeiger_->kinder.empty() ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void Jahresringe::mouseReleaseEvent(QMouseEvent* e) {
    if (e->button() != Qt::LeftButton) return;
    if (auto k = knotenBei(e->position())) emit tippen(k);
}

void Jahresringe::leaveEvent(QEvent*) { setzeZeiger(nullptr); }

}  // namespace hainbrem
