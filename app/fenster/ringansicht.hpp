#pragma once
// The year rings drawn: one segment per node of the size tree around a centre folder, coloured
// by kind, the node under the pointer highlighted; a click on a segment hands out its node.
#include <QWidget>
#include <vector>

#include "app/fenster/jahresringe.hpp"

namespace hainbrem {

class Jahresringe : public QWidget {
    Q_OBJECT

public:
    explicit Jahresringe(QWidget* eltern = nullptr);

    void setzeMitte(Knoten::Zeiger mitte);
    const Knoten::Zeiger& mitte() const { return mitte_; }
    void setzeZeiger(Knoten::Zeiger knoten);  // highlighted, shared with the page's list
    const Knoten::Zeiger& zeiger() const { return zeiger_; }
    void setzeEbenen(int ebenen);
    int ebenen() const { return ebenen_; }

    jahresringe::Mass mass() const;
    // The node at a point of this widget, or null.
    Knoten::Zeiger knotenBei(QPointF punkt) const;

    QSize sizeHint() const override { return {520, 520}; }
    QSize minimumSizeHint() const override { return {240, 240}; }

signals:
    void tippen(hainbrem::Knoten::Zeiger knoten);
    void zeigerGeaendert(hainbrem::Knoten::Zeiger knoten);

protected:
    void paintEvent(QPaintEvent*) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void leaveEvent(QEvent*) override;

private:
    QColor farbeVon(const jahresringe::Segment& s, size_t wurzelIndex) const;

    Knoten::Zeiger mitte_;
    Knoten::Zeiger zeiger_;
    int ebenen_ = 6;
};

}  // namespace hainbrem
