#pragma once
// The watcher in the menu bar (system tray): leaf while the disk is fine, warning otherwise,
// present only while "menueleiste" is on. Its panel shows the free space and three actions.
#include <QSystemTrayIcon>
#include <QWidget>

class QLabel;
class QPushButton;

namespace hainbrem {

class AppModell;

class MenueleistenAnsicht : public QWidget {
    Q_OBJECT

public:
    explicit MenueleistenAnsicht(AppModell& modell, QWidget* eltern = nullptr);

    QPushButton* aufraeumenKnopf() const { return aufraeumen_; }
    QPushButton* pruefenKnopf() const { return pruefen_; }
    QPushButton* oeffnenKnopf() const { return oeffnen_; }

signals:
    void oeffnen();  // "Hainbrem öffnen"

private:
    void aktualisiere();

    AppModell& modell_;
    QWidget* anzeige_;
    QLabel* frei_;
    QPushButton* aufraeumen_;
    QPushButton* pruefen_;
    QPushButton* oeffnen_;
};

// Where the panel opens: under its symbol, or above it when the symbol sits at the bottom of the
// screen (beside it when neither fits), never over the symbol and always within `flaeche` (the
// screen's available area).
QPoint panelOrt(const QRect& symbol, const QSize& panel, const QRect& flaeche);

class MenueleistenSymbol : public QObject {
    Q_OBJECT

public:
    explicit MenueleistenSymbol(AppModell& modell, QObject* eltern = nullptr);
    ~MenueleistenSymbol() override;

    MenueleistenAnsicht* ansicht() const { return ansicht_; }
    bool sichtbar() const { return symbol_.isVisible(); }
    // "leaf.fill" while the disk is fine, else "exclamationmark.triangle.fill".
    const char* symbolName() const;

signals:
    void oeffnen();

private:
    void aktualisiere();

    AppModell& modell_;
    QSystemTrayIcon symbol_;
    MenueleistenAnsicht* ansicht_;
};

}  // namespace hainbrem
