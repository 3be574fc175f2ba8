#pragma once
// The look shared by all windows: symbols drawn from the compiled-in SVGs, the accent colours,
// the light and dark palettes and a few ready-made pieces (cards, headings).
#include <QColor>
#include <QFrame>
#include <QIcon>
#include <QLabel>
#include <QPixmap>
#include <QString>
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

// Named colours of the confirmation rows and states ("gruen", "orange", "rot", "blau", "grau").
QColor farbe(std::string_view name);
QColor akzent();

// "system", "hell" or "dunkel", applied at once to every open window.
void erscheinungAnwenden(QApplication& app, const QString& art);
bool istDunkel();

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

}  // namespace hainbrem::design
