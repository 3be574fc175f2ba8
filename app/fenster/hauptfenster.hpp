#pragma once
// The main window: the sidebar of the ten pages, the result bar above the page, the
// confirmation sheet whenever the model holds an order, and the command menu.
#include <QMainWindow>
#include <QPointer>
#include <array>
#include <filesystem>

#include "app/fenster/bestaetigung.hpp"
#include "app/modell/typen.hpp"

class QListWidget;
class QStackedWidget;

namespace hainbrem {

class AppModell;

class Hauptfenster : public QMainWindow {
    Q_OBJECT

public:
    // `assistent`: the assistant's page; null leaves a placeholder until `setzeAssistentSeite`.
    Hauptfenster(AppModell& modell, std::filesystem::path home, QWidget* assistent = nullptr,
                 QWidget* eltern = nullptr);

    void setzeAssistentSeite(QWidget* seite);
    QWidget* seite(Seite s) const { return seiten_[static_cast<size_t>(s)]; }
    BestaetigungsAnsicht* blatt() const { return blatt_; }
    ErgebnisLeiste* ergebnis() const { return ergebnis_; }
    // How sheets opened from now on read the clock and the running programs (tests).
    void setzeBlattTeile(BestaetigungsAnsicht::Teile teile) { blattTeile_ = std::move(teile); }

    // Brings the window to the front, opening it if it was closed.
    void zeigen();

signals:
    void einstellungenGewuenscht();

private:
    void baueMenue();
    void seiteGewechselt();
    void auftragGewechselt();

    AppModell& modell_;
    std::filesystem::path home_;
    QListWidget* leiste_;
    QStackedWidget* stapel_;
    ErgebnisLeiste* ergebnis_;
    std::array<QWidget*, 10> seiten_{};
    QPointer<BestaetigungsAnsicht> blatt_;
    BestaetigungsAnsicht::Teile blattTeile_;
};

}  // namespace hainbrem
