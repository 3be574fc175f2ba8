#include "app/fenster/design.hpp"

#include <QApplication>
#include <QFile>
#include <QPainter>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QSvgRenderer>
#include <QVBoxLayout>
#include <array>
#include <utility>

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

QPalette palette(bool d) {
    if (!d) return QApplication::style()->standardPalette();
    QPalette p;
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
    p.setColor(QPalette::Highlight, QColor(0x2f, 0x8f, 0x5b));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, QColor(0x6c, 0xc6, 0x92));
    for (auto rolle : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, rolle, QColor(0x7a, 0x7f, 0x85));
    return p;
}

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

QColor farbe(std::string_view name) {
    if (name == "gruen") return dunkel ? QColor(0x4c, 0xc3, 0x7d) : QColor(0x24, 0x8a, 0x4f);
    if (name == "orange") return dunkel ? QColor(0xf0, 0xa0, 0x3c) : QColor(0xd0, 0x72, 0x0c);
    if (name == "rot") return dunkel ? QColor(0xff, 0x6b, 0x5e) : QColor(0xc8, 0x2a, 0x1e);
    if (name == "blau") return dunkel ? QColor(0x6a, 0xa8, 0xff) : QColor(0x1f, 0x6f, 0xd1);
    if (name == "lila") return dunkel ? QColor(0xb8, 0x8c, 0xf0) : QColor(0x7b, 0x4f, 0xc0);
    return QApplication::palette().color(QPalette::PlaceholderText);
}

QColor akzent() { return farbe("gruen"); }

void erscheinungAnwenden(QApplication& app, const QString& art) {
    // Qt 6.4 does not say whether the desktop is dark; "system" keeps the style's own palette
    dunkel = art == QLatin1String("dunkel");
    if (app.style()->name() != QLatin1String("fusion")) app.setStyle(QStringLiteral("Fusion"));
    app.setPalette(palette(dunkel));
    // widgets with a style sheet keep the palette they were polished with: polish them again
    for (QWidget* w : QApplication::allWidgets())
        if (!w->styleSheet().isEmpty()) w->setStyleSheet(w->styleSheet());
}

bool istDunkel() { return dunkel; }

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
