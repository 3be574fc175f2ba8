#pragma once
// A layout that places its items side by side and wraps into a new row where the width ends.
#include <QLayout>
#include <QList>

namespace hainbrem {

class FlowLayout : public QLayout {
public:
    explicit FlowLayout(QWidget* eltern = nullptr, int abstand = 8);
    ~FlowLayout() override;

    int abstand() const { return abstand_; }

    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(items_.size()); }
    QLayoutItem* itemAt(int i) const override { return items_.value(i); }
    QLayoutItem* takeAt(int i) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int breite) const override { return ordne(QRect(0, 0, breite, 0), false); }
    QSize minimumSize() const override;
    QSize sizeHint() const override { return minimumSize(); }
    void setGeometry(const QRect& r) override;

private:
    // Lays the items out in `r` (only measures when `setzen` is false); the height used.
    int ordne(const QRect& r, bool setzen) const;

    QList<QLayoutItem*> items_;
    int abstand_;
};

}  // namespace hainbrem
