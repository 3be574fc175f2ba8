#pragma once
// The user's settings in the platform's per-user store, and the launch settings that may also
// come as arguments ("-seite duplikate", "-testlauf YES").
#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <optional>

#include "app/modell/typen.hpp"

namespace hainbrem {

class Einstellungen : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool menueleiste READ menueleiste WRITE setzeMenueleiste NOTIFY menueleisteGeaendert)
    Q_PROPERTY(double warnGrenzeGB READ warnGrenzeGB WRITE setzeWarnGrenzeGB NOTIFY warnGrenzeGBGeaendert)
    Q_PROPERTY(QString erscheinung READ erscheinung WRITE setzeErscheinung NOTIFY erscheinungGeaendert)
    Q_PROPERTY(QString kiAdresse READ kiAdresse WRITE setzeKiAdresse NOTIFY kiAdresseGeaendert)
    Q_PROPERTY(QString kiModell READ kiModell WRITE setzeKiModell NOTIFY kiModellGeaendert)

public:
    // `datei` empty: the platform's store for organisation domain "hainbrem.de" and application
    // "Hainbrem" (on macOS the defaults domain de.hainbrem.Hainbrem); otherwise that INI file.
    explicit Einstellungen(const QString& datei = {}, QObject* eltern = nullptr);

    static constexpr double standardWarnGrenzeGB = 10.0;

    bool menueleiste() const;  // "menueleiste", true when absent
    // "warnGrenzeGB"; 10 when absent or not a number.
    double warnGrenzeGB() const;
    QString erscheinung() const;  // "erscheinung": "system", "hell" or "dunkel"; "system" when absent
    void setzeMenueleiste(bool an);
    void setzeWarnGrenzeGB(double gb);
    void setzeErscheinung(const QString& art);

    static constexpr const char* standardKiAdresse = "http://127.0.0.1:8080/v1";
    // "kiAdresse": the local language model's OpenAI-style endpoint; the default when absent or empty.
    QString kiAdresse() const;
    // "kiModell": the model to ask there; empty means the first one the endpoint lists.
    QString kiModell() const;
    void setzeKiAdresse(const QString& adresse);
    void setzeKiModell(const QString& modell);

    // The threshold in bytes: a stored number × 10^9, truncated; 10,000,000,000 when nothing or no
    // number is stored. A number no byte count can hold ends the process.
    int64_t warnGrenze() const;

    struct Startwerte {
        bool testlauf = false;
        std::optional<Seite> seite;  // absent when not given or no page has that id
        bool scan = false;
        bool pruefen = false;
        bool duplikate = false;
    };
    // The launch settings; an argument pair "-schluessel wert" wins over the store.
    Startwerte startwerte(const QStringList& argumente) const;
    // YES/yes/true/1 (any case) are true, everything else false.
    static bool alsFlag(const QString& wert);

    QSettings& speicher() { return *speicher_; }

signals:
    void menueleisteGeaendert();
    void warnGrenzeGBGeaendert();
    void erscheinungGeaendert();
    void kiAdresseGeaendert();
    void kiModellGeaendert();

private:
    std::optional<double> gespeicherteGrenze() const;

    std::unique_ptr<QSettings> speicher_;
};

}  // namespace hainbrem
