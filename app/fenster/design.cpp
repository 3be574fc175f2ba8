#include "app/fenster/design.hpp"

#include <QApplication>
#include <QEvent>
#include <QFile>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QProxyStyle>
#include <QStyle>
#include <QStyleFactory>
#include <QStyleOption>
#include <QSvgRenderer>
#include <QVBoxLayout>
#include <array>
#include <cmath>
#include <utility>

#include "app/fenster/anzeige.hpp"
#include "kern/format.hpp"

namespace hainbrem::design {

namespace {

// symbol name → drawn file; several names of the catalog share one picture
constexpr std::array<std::pair<std::string_view, std::string_view>, 46> symbolTabelle{{
    {"sun.horizon", "sonnenaufgang"},
    {"sparkles", "funken"},
    {"leaf", "blatt"},
    {"leaf.fill", "blatt_voll"},
    {"circle.circle", "ringe"},
    {"doc.richtext", "dokument"},
    {"square.on.square", "doppelt"},
    {"app.dashed", "programm"},
    {"hammer", "hammer"},
    {"icloud", "wolke"},
    {"clock.arrow.circlepath", "verlauf"},
    {"trash.fill", "papierkorb_voll"},
    {"trash", "papierkorb"},
    {"exclamationmark.triangle.fill", "warnung_voll"},
    {"exclamationmark.triangle", "warnung_voll"},
    {"exclamationmark.circle", "warnung_kreis"},
    {"sun.max.fill", "sonne"},
    {"xmark", "kreuz"},
    {"checklist", "liste"},
    {"arrow.up.circle.fill", "pfeil_hoch"},
    {"gearshape", "zahnrad"},
    {"folder", "ordner"},
    // the catalog's rules and groups
    {"square.stack", "stapel"},
    {"square.stack.3d.up", "stapel"},
    {"safari", "kompass"},
    {"shippingbox", "paket"},
    {"shippingbox.circle", "paket"},
    {"shippingbox.and.arrow.backward", "paket"},
    {"iphone", "geraet"},
    {"ipad.and.iphone", "geraet"},
    {"doc.text", "dokument"},
    {"doc.on.doc", "doppelt"},
    {"doc.text.magnifyingglass", "dokument"},
    {"paperclip", "dokument"},
    {"clock.badge.xmark", "uhr"},
    {"wrench.and.screwdriver", "werkzeug"},
    {"cpu", "chip"},
    {"brain", "chip"},
    {"theatermasks", "funken"},
    {"externaldrive.badge.timemachine", "festplatte"},
    {"externaldrive", "festplatte"},
    {"app.badge", "programm"},
    {"clock", "uhr"},
    {"internaldrive", "festplatte"},
    {"calendar", "uhr"},
    {"magnifyingglass", "kompass"},
}};

bool dunkel = false;

constexpr const char* rolleEigenschaft = "hainbremRolle";
constexpr const char* farbEigenschaft = "hainbremFarbe";

// a between b and c: 0 is b, 1 is c
QColor mische(const QColor& b, const QColor& c, double a) {
    const auto kanal = [a](int x, int y) { return static_cast<int>(std::lround(x + (y - x) * a)); };
    return {kanal(b.red(), c.red()), kanal(b.green(), c.green()), kanal(b.blue(), c.blue())};
}

QPalette palette(bool d) {
    QPalette p = QApplication::style()->standardPalette();
    // the selection in the accent's green, in light as in dark
    p.setColor(QPalette::Highlight, QColor(0x2f, 0x8f, 0x5b));
    p.setColor(QPalette::HighlightedText, Qt::white);
    if (!d) return p;
    const QColor fenster(0x26, 0x28, 0x2b), basis(0x1d, 0x1f, 0x21), text(0xe8, 0xea, 0xed);
    p.setColor(QPalette::Window, fenster);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, basis);
    p.setColor(QPalette::AlternateBase, QColor(0x2c, 0x2f, 0x33));
    p.setColor(QPalette::ToolTipBase, basis);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, QColor(0x9a, 0xa0, 0xa6));
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x33, 0x36, 0x3a));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Light, QColor(0x44, 0x47, 0x4c));
    p.setColor(QPalette::Midlight, QColor(0x3a, 0x3d, 0x41));
    p.setColor(QPalette::Mid, QColor(0x2a, 0x2c, 0x2f));
    p.setColor(QPalette::Dark, QColor(0x18, 0x19, 0x1b));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Link, QColor(0x6c, 0xc6, 0x92));
    for (auto rolle : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, rolle, QColor(0x7a, 0x7f, 0x85));
    p.setColor(QPalette::Disabled, QPalette::Button, QColor(0x2c, 0x2e, 0x31));
    return p;
}

Rolle rolleVon(const QWidget* w) {
    return w ? static_cast<Rolle>(w->property(rolleEigenschaft).toInt()) : Rolle::normal;
}

// Fusion with buttons and check boxes of our own: Fusion draws both from the window colour,
// which leaves their edges invisible on dark cards.
class Stil : public QProxyStyle {
public:
    Stil() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

    void drawPrimitive(PrimitiveElement e, const QStyleOption* o, QPainter* p, const QWidget* w) const override {
        if (e == PE_PanelButtonCommand && qobject_cast<const QPushButton*>(w)) return knopf(o, p, rolleVon(w));
        if (e == PE_FrameFocusRect && qobject_cast<const QPushButton*>(w)) return;  // the button draws its ring
        if (e == PE_IndicatorCheckBox) return kasten(o, p);
        QProxyStyle::drawPrimitive(e, o, p, w);
    }

    void drawControl(ControlElement e, const QStyleOption* o, QPainter* p, const QWidget* w) const override {
        if (e == CE_PushButtonLabel && rolleVon(w) != Rolle::normal && (o->state & State_Enabled)) {
            QStyleOptionButton weiss = *qstyleoption_cast<const QStyleOptionButton*>(o);
            weiss.palette.setColor(QPalette::ButtonText, Qt::white);
            return QProxyStyle::drawControl(e, &weiss, p, w);
        }
        QProxyStyle::drawControl(e, o, p, w);
    }

    QSize sizeFromContents(ContentsType t, const QStyleOption* o, const QSize& s, const QWidget* w) const override {
        QSize g = QProxyStyle::sizeFromContents(t, o, s, w);
        if (t == CT_PushButton) g = QSize(g.width() + 8, std::max(g.height(), 30));
        return g;
    }

private:
    static void knopf(const QStyleOption* o, QPainter* p, Rolle rolle) {
        const QPalette& pal = o->palette;
        const bool an = o->state & State_Enabled;
        const bool ueber = an && (o->state & State_MouseOver);
        const bool unten = an && (o->state & (State_Sunken | State_On));
        QColor fuellung, rand;
        if (rolle != Rolle::normal && an) {
            fuellung = flaeche(rolle == Rolle::haupt ? "gruen" : "orange");
            if (ueber) fuellung = fuellung.lighter(110);
            if (unten) fuellung = fuellung.darker(112);
            rand = fuellung.darker(115);
        } else {
            const QColor text = pal.color(QPalette::Active, QPalette::ButtonText);
            fuellung = pal.color(QPalette::Active, QPalette::Button);
            if (!an) fuellung = mische(fuellung, pal.color(QPalette::Window), 0.5);
            if (ueber) fuellung = mische(fuellung, text, 0.06);
            if (unten) fuellung = mische(fuellung, text, 0.12);
            rand = mische(pal.color(QPalette::Active, QPalette::Button), text, an ? (dunkel ? 0.22 : 0.28) : 0.14);
        }
        p->save();
        p->setRenderHint(QPainter::Antialiasing);
        const QRectF r = QRectF(o->rect).adjusted(0.5, 0.5, -0.5, -0.5);
        p->setPen(rand);
        p->setBrush(fuellung);
        p->drawRoundedRect(r, 6, 6);
        if ((o->state & State_HasFocus) && (o->state & State_KeyboardFocusChange)) {
            p->setPen(QPen(pal.color(QPalette::Highlight).lighter(dunkel ? 130 : 100), 2));
            p->setBrush(Qt::NoBrush);
            p->drawRoundedRect(r.adjusted(1, 1, -1, -1), 5, 5);
        }
        p->restore();
    }

    static void kasten(const QStyleOption* o, QPainter* p) {
        const QPalette& pal = o->palette;
        const bool an = o->state & State_Enabled;
        const bool haken = o->state & State_On, halb = o->state & State_NoChange;
        const QColor basis = pal.color(QPalette::Active, QPalette::Base);
        const QColor text = pal.color(QPalette::Active, QPalette::Text);
        const int seite = std::min({o->rect.width(), o->rect.height(), 16});
        QRectF r(0, 0, seite - 1, seite - 1);
        r.moveCenter(QRectF(o->rect).center());
        p->save();
        p->setRenderHint(QPainter::Antialiasing);
        QColor fuellung = basis, rand = mische(basis, text, an ? 0.45 : 0.22);
        if ((haken || halb) && an) fuellung = rand = flaeche("gruen");
        if ((haken || halb) && !an) fuellung = mische(basis, text, 0.22);
        if (an && (o->state & State_MouseOver) && !(haken || halb)) rand = flaeche("gruen");
        if ((o->state & State_HasFocus) && (o->state & State_KeyboardFocusChange)) rand = pal.color(QPalette::Highlight);
        p->setPen(QPen(rand, 1));
        p->setBrush(fuellung);
        p->drawRoundedRect(r, 3, 3);
        p->setPen(QPen(an ? QColor(Qt::white) : basis, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const auto punkt = [&](double x, double y) { return QPointF(r.left() + x * r.width(), r.top() + y * r.height()); };
        if (haken) {
            QPainterPath pfad(punkt(0.24, 0.52));
            pfad.lineTo(punkt(0.43, 0.71));
            pfad.lineTo(punkt(0.77, 0.31));
            p->setBrush(Qt::NoBrush);
            p->drawPath(pfad);
        } else if (halb) {
            p->drawLine(punkt(0.27, 0.5), punkt(0.73, 0.5));
        }
        p->restore();
    }
};

}  // namespace

QString symbolDatei(std::string_view s) {
    for (const auto& [name, datei] : symbolTabelle)
        if (name == s) return QStringLiteral(":/symbole/%1.svg").arg(qs(datei));
    return QStringLiteral(":/symbole/ordner.svg");
}

bool kenntSymbol(std::string_view s) {
    return std::any_of(symbolTabelle.begin(), symbolTabelle.end(), [&](const auto& z) { return z.first == s; });
}

QPixmap symbolBild(std::string_view s, const QColor& f, int groesse, qreal verhaeltnis) {
    QFile datei(symbolDatei(s));
    QByteArray svg;
    if (datei.open(QIODevice::ReadOnly)) svg = datei.readAll();
    // the pictures are drawn in black; the colour comes in here
    svg.replace("#000000", f.name(QColor::HexRgb).toLatin1());
    QSvgRenderer maler(svg);
    const int px = qRound(groesse * verhaeltnis);
    QPixmap bild(px, px);
    bild.fill(Qt::transparent);
    QPainter p(&bild);
    p.setRenderHint(QPainter::Antialiasing);
    maler.render(&p);
    p.end();
    bild.setDevicePixelRatio(verhaeltnis);
    return bild;
}

QIcon symbol(std::string_view s, const QColor& f) {
    QIcon icon;
    for (const int g : {16, 20, 24, 32, 48}) icon.addPixmap(symbolBild(s, f, g));
    return icon;
}

QIcon zeilenSymbol(std::string_view s, const QColor& f) {
    QIcon icon = symbol(s, f);
    const QColor gewaehlt = QApplication::palette().color(QPalette::HighlightedText);
    for (const int g : {16, 20, 24, 32, 48}) icon.addPixmap(symbolBild(s, gewaehlt, g), QIcon::Selected);
    return icon;
}

QString bytes(int64_t b) { return qs(anzeige::ohneUmbruch(alsBytes(b))); }

QString fliesstext(std::string_view s) { return qs(anzeige::ohneUmbruch(s)); }

QColor farbe(std::string_view name) {
    if (name == "gruen") return dunkel ? QColor(0x4c, 0xc3, 0x7d) : QColor(0x24, 0x8a, 0x4f);
    if (name == "orange") return dunkel ? QColor(0xf0, 0xa0, 0x3c) : QColor(0xc2, 0x66, 0x08);
    if (name == "rot") return dunkel ? QColor(0xff, 0x6b, 0x5e) : QColor(0xc8, 0x2a, 0x1e);
    if (name == "blau") return dunkel ? QColor(0x6a, 0xa8, 0xff) : QColor(0x1f, 0x6f, 0xd1);
    if (name == "lila") return dunkel ? QColor(0xb8, 0x8c, 0xf0) : QColor(0x7b, 0x4f, 0xc0);
    if (name == "grau") return dunkel ? QColor(0x8a, 0x90, 0x96) : QColor(0x7d, 0x84, 0x8c);
    if (name == "text") return QApplication::palette().color(QPalette::WindowText);
    return QApplication::palette().color(QPalette::PlaceholderText);
}

QColor akzent() { return farbe("gruen"); }

QColor spur() { return QApplication::palette().color(dunkel ? QPalette::Midlight : QPalette::Mid); }

QColor frei() { return dunkel ? QColor(0x4a, 0x86, 0x62) : QColor(0xb9, 0xe0, 0xc8); }

QColor flaeche(std::string_view name) {
    if (name == "orange") return QColor(0xc2, 0x66, 0x08);
    if (name == "rot") return QColor(0xc0, 0x33, 0x26);
    return QColor(0x23, 0x86, 0x4d);
}

void faerbe(QWidget* w, std::string_view farbname) {
    w->setProperty(farbEigenschaft, qs(farbname));
    w->setStyleSheet(QStringLiteral("color: %1").arg(farbe(farbname).name()));
}

void beiFarbwechsel(QWidget* w, std::function<void()> tun) {
    struct Wache : QObject {
        std::function<void()> tun;
        bool eventFilter(QObject*, QEvent* e) override {
            if (e->type() == QEvent::PaletteChange) tun();
            return false;
        }
    };
    auto* wache = new Wache;
    wache->setParent(w);
    wache->tun = std::move(tun);
    w->installEventFilter(wache);
}

void erscheinungAnwenden(QApplication& app, const QString& art) {
    // Qt 6.4 does not say whether the desktop is dark; "system" keeps the style's own palette
    dunkel = art == QLatin1String("dunkel");
    if (!dynamic_cast<Stil*>(app.style())) app.setStyle(new Stil);
    app.setPalette(palette(dunkel));
    // widgets with a style sheet keep the palette they were polished with: polish them again,
    // and give named colours their shade of the new mode
    for (QWidget* w : QApplication::allWidgets()) {
        if (const QVariant f = w->property(farbEigenschaft); f.isValid())
            w->setStyleSheet(QStringLiteral("color: %1").arg(farbe(f.toString().toStdString()).name()));
        else if (!w->styleSheet().isEmpty())
            w->setStyleSheet(w->styleSheet());
    }
}

bool istDunkel() { return dunkel; }

QPushButton* knopf(const QString& text, Rolle rolle, QWidget* eltern) {
    auto* k = new QPushButton(text, eltern);
    setzeRolle(k, rolle);
    return k;
}

void setzeRolle(QPushButton* k, Rolle rolle) {
    k->setProperty(rolleEigenschaft, static_cast<int>(rolle));
    QFont f = k->font();
    f.setBold(rolle != Rolle::normal);
    k->setFont(f);
    k->update();
}

Symbol::Symbol(std::string_view symbol, std::string_view farbname, int groesse, QWidget* eltern)
    : QLabel(eltern), symbol_(symbol), farbe_(farbname), groesse_(groesse) {
    setFixedSize(groesse, groesse);
    male();
}

void Symbol::setze(std::string_view symbol, std::string_view farbname) {
    symbol_ = symbol;
    farbe_ = farbname;
    male();
}

void Symbol::changeEvent(QEvent* e) {
    QLabel::changeEvent(e);
    if (e->type() == QEvent::PaletteChange) male();
}

void Symbol::male() { setPixmap(symbolBild(symbol_, farbe(farbe_), groesse_, devicePixelRatioF())); }

void ListenZeile::paint(QPainter* p, const QStyleOptionViewItem& o, const QModelIndex& i) const {
    // the chosen row tinted in the accent, the text in its usual colours: the symbols stay visible
    const bool gewaehlt = o.state & QStyle::State_Selected;
    const QColor basis = o.palette.color(QPalette::Base), text = o.palette.color(QPalette::Text);
    if (gewaehlt || (o.state & QStyle::State_MouseOver)) {
        p->save();
        p->setRenderHint(QPainter::Antialiasing);
        p->setPen(Qt::NoPen);
        p->setBrush(gewaehlt ? mische(basis, o.palette.color(QPalette::Highlight), dunkel ? 0.35 : 0.18)
                             : mische(basis, text, 0.05));
        p->drawRoundedRect(QRectF(o.rect).adjusted(3, 2, -3, -2), 6, 6);
        p->restore();
    }

    QRect r = o.rect.adjusted(10, 7, -10, -7);
    if (const QIcon bild = i.data(Qt::DecorationRole).value<QIcon>(); !bild.isNull()) {
        bild.paint(p, QRect(r.left(), r.top() + 1, 20, 20));
        r.setLeft(r.left() + 30);
    }
    const QColor haupt = text;
    const QColor neben = o.palette.color(QPalette::PlaceholderText);
    p->save();
    QFont fett = o.font;
    fett.setBold(true);
    const QFontMetrics fm(fett), nm(o.font);
    p->setFont(fett);
    p->setPen(haupt);
    p->drawText(QRect(r.left(), r.top(), r.width(), fm.height()), Qt::AlignLeft | Qt::AlignVCenter,
                fm.elidedText(i.data(Qt::DisplayRole).toString(), Qt::ElideRight, r.width()));
    int y = r.top() + fm.height() + 2;
    p->setFont(o.font);
    p->setPen(neben);
    for (const QString& zeile : i.data(unterzeilenRolle).toStringList()) {
        p->drawText(QRect(r.left(), y, r.width(), nm.height()), Qt::AlignLeft | Qt::AlignVCenter,
                    nm.elidedText(zeile, Qt::ElideRight, r.width()));
        y += nm.height() + 1;
    }
    p->restore();
}

QSize ListenZeile::sizeHint(const QStyleOptionViewItem& o, const QModelIndex& i) const {
    QFont fett = o.font;
    fett.setBold(true);
    const auto zeilen = static_cast<int>(i.data(unterzeilenRolle).toStringList().size());
    return {160, 14 + QFontMetrics(fett).height() + 2 + zeilen * (QFontMetrics(o.font).height() + 1)};
}

Karte::Karte(QWidget* eltern) : QFrame(eltern) {}

void Karte::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(palette().color(QPalette::Mid), 1));
    p.setBrush(palette().color(QPalette::Base));
    p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 10, 10);
}

QFrame* karte(QWidget* eltern) {
    auto* k = new Karte(eltern);
    auto* l = new QVBoxLayout(k);
    l->setContentsMargins(16, 14, 16, 14);
    l->setSpacing(8);
    return k;
}

QVBoxLayout* karteLayout(QFrame* k) { return static_cast<QVBoxLayout*>(k->layout()); }

QLabel* ueberschrift(const QString& text, int punkte, QWidget* eltern) {
    auto* l = new QLabel(text, eltern);
    QFont f = l->font();
    f.setPointSize(punkte);
    f.setBold(true);
    l->setFont(f);
    l->setWordWrap(true);
    return l;
}

QLabel* leise(const QString& text, QWidget* eltern) {
    auto* l = new QLabel(text, eltern);
    l->setWordWrap(true);
    l->setForegroundRole(QPalette::PlaceholderText);
    return l;
}

}  // namespace hainbrem::design
