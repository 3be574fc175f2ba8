#include "app/assistent/seite/flowlayout.hpp"

#include <QWidget>
#include <algorithm>

namespace hainbrem {

FlowLayout::FlowLayout(QWidget* eltern, int abstand) : QLayout(eltern), abstand_(abstand) {
    setContentsMargins(0, 0, 0, 0);
}

FlowLayout::~FlowLayout() {
    while (QLayoutItem* i = takeAt(0)) delete i;
}

void FlowLayout::addItem(QLayoutItem* item) { items_.append(item); }

QLayoutItem* FlowLayout::takeAt(int i) { return i >= 0 && i < items_.size() ? items_.takeAt(i) : nullptr; }

QSize FlowLayout::minimumSize() const {
    QSize s;
    for (const QLayoutItem* i : items_) s = s.expandedTo(i->minimumSize());
    const QMargins m = contentsMargins();
    return s + QSize(m.left() + m.right(), m.top() + m.bottom());
}

void FlowLayout::setGeometry(const QRect& r) {
    QLayout::setGeometry(r);
    ordne(r, true);
}

int FlowLayout::ordne(const QRect& r, bool setzen) const {
    const QRect innen = r.marginsRemoved(contentsMargins());
    int x = innen.x();
    int y = innen.y();
    int zeilenHoehe = 0;
    for (QLayoutItem* i : items_) {
        if (i->widget() && i->widget()->isHidden()) continue;
        const QSize s = i->sizeHint();
        if (x > innen.x() && x + s.width() > innen.right() + 1) {  // full: next row
            x = innen.x();
            y += zeilenHoehe + abstand_;
            zeilenHoehe = 0;
        }
        if (setzen) i->setGeometry(QRect(QPoint(x, y), s));
        x += s.width() + abstand_;
        zeilenHoehe = std::max(zeilenHoehe, s.height());
    }
    const QMargins m = contentsMargins();
    return y + zeilenHoehe - r.y() + m.bottom();
}

}  // namespace hainbrem
