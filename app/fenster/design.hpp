#pragma once
// The look shared by all windows: symbols drawn from the compiled-in SVGs, the accent colours,
// the light and dark palettes and a few ready-made pieces (cards, headings).
#include <QColor>
#include <QFrame>
#include <QIcon>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QString>
#include <QStyledItemDelegate>
#include <functional>
#include <string>
#include <string_view>

class QApplication;
class QVBoxLayout;

namespace hainbrem::design {

// The resource of a symbol name (SF Symbol names as the model and the catalog use them); a
// generic folder for names the table does not know, so nothing is ever without a symbol.
QString symbolDatei(std::string_view symbol);
bool kenntSymbol(std::string_view symbol);
QPixmap symbolBild(std::string_view symbol, const QColor& farbe, int groesse, qreal pixelVerhaeltnis = 1.0);
QIcon symbol(std::string_view symbol, const QColor& farbe);
// For rows of a table: on the selected row (the accent's green) drawn in the selection's text colour.
QIcon zeilenSymbol(std::string_view symbol, const QColor& farbe);

// Named colours of text and symbols ("gruen", "orange", "rot", "blau", "lila", "grau"), lighter
// in dark mode; "text" is the window's text colour.
QColor farbe(std::string_view name);
QColor akzent();
// The empty track under a gauge or ring, visible on light and dark cards.
QColor spur();
// Free space in a chart of the disk: a pale green in light, a muted one in dark, both clearly
// apart from the card and from the track.
QColor frei();
// Fills under white text (buttons, badges, ticked boxes): the same in light and dark.
QColor flaeche(std::string_view name);

// Text in a named colour that follows the switch between light and dark.
void faerbe(QWidget* w, std::string_view farbname);
// Calls `tun` whenever the colours of `w` change (light ↔ dark), for what is drawn with fixed
// colours: item icons, rich text with colours.
void beiFarbwechsel(QWidget* w, std::function<void()> tun);

// "system", "hell" or "dunkel", applied at once to every open window.
void erscheinungAnwenden(QApplication& app, const QString& art);
bool istDunkel();

// Push buttons in three roles: plain, the page's main action (green), an urgent one (orange).
enum class Rolle { normal, haupt, warnung };
QPushButton* knopf(const QString& text, Rolle rolle = Rolle::normal, QWidget* eltern = nullptr);
void setzeRolle(QPushButton* knopf, Rolle rolle);

// A symbol in a named colour (see `farbe`), drawn again when the colours change.
class Symbol : public QLabel {
public:
    Symbol(std::string_view symbol, std::string_view farbname, int groesse, QWidget* eltern = nullptr);
    void setze(std::string_view symbol, std::string_view farbname);

protected:
    void changeEvent(QEvent* e) override;

private:
    void male();
    std::string symbol_, farbe_;
    int groesse_;
};

// List rows of a bold title (the display text) and secondary lines under it (a QStringList in
// `unterzeilenRolle`), each shortened with "…" to the list's width: no row needs a scroll bar.
class ListenZeile : public QStyledItemDelegate {
public:
    static constexpr int unterzeilenRolle = Qt::UserRole + 20;
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* p, const QStyleOptionViewItem& o, const QModelIndex& i) const override;
    QSize sizeHint(const QStyleOptionViewItem& o, const QModelIndex& i) const override;
};

// A rounded card on the base colour, drawn by hand: style sheets would freeze the palette of
// everything inside and break the live switch to dark.
class Karte : public QFrame {
public:
    explicit Karte(QWidget* eltern = nullptr);

protected:
    void paintEvent(QPaintEvent*) override;
};
// A card whose layout is a QVBoxLayout.
QFrame* karte(QWidget* eltern = nullptr);
QVBoxLayout* karteLayout(QFrame* karte);
QLabel* ueberschrift(const QString& text, int punkte = 20, QWidget* eltern = nullptr);
QLabel* leise(const QString& text, QWidget* eltern = nullptr);  // secondary text, word-wrapped

inline QString qs(std::string_view s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }
// A size as the windows write it: "1,14 GB", never broken between number and unit.
QString bytes(int64_t b);
// A text of the core for a label that wraps: its sizes stay in one piece.
QString fliesstext(std::string_view s);

}  // namespace hainbrem::design
