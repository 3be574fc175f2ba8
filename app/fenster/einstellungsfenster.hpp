#pragma once
// The settings window: appearance, the watcher in the menu bar, starting at login and the
// warning threshold, each control bound to its key.
#include <QWidget>
#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QSlider;

namespace hainbrem {

class Einstellungen;

class EinstellungenAnsicht : public QWidget {
    Q_OBJECT

public:
    struct Anmeldung {
        std::function<bool(bool)> setzen;  // empty: the platform's login item
        std::function<bool()> istAn;
    };
    explicit EinstellungenAnsicht(Einstellungen& einstellungen, Anmeldung anmeldung = {}, QWidget* eltern = nullptr);

    static constexpr const char* fussnote =
        "Hainbrem liest alle 20 Sekunden den echten freien Platz und meldet sich, wenn er unter die Grenze fällt, "
        "und noch einmal unter 2 GB. Es geht nichts ins Netz.";

    QComboBox* erscheinung() const { return erscheinung_; }
    QCheckBox* menueleiste() const { return menueleiste_; }
    QCheckBox* anmelden() const { return anmelden_; }
    QSlider* grenze() const { return grenze_; }
    QLabel* grenzeText() const { return grenzeText_; }

private:
    void lesen();

    Einstellungen& einstellungen_;
    Anmeldung anmeldung_;
    QComboBox* erscheinung_;
    QCheckBox* menueleiste_;
    QCheckBox* anmelden_;
    QLabel* anmeldeFehler_;
    QSlider* grenze_;
    QLabel* grenzeText_;
};

}  // namespace hainbrem
