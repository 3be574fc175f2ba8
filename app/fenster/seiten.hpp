#pragma once
// The pages of the main window. Each reads the model, calls its actions and shows four
// states: not searched yet (with the button that starts its finder), its finder at work (with
// progress), what was found, and that nothing was found (with the button to look again).
#include <QStackedWidget>
#include <QWidget>
#include <filesystem>
#include <functional>

#include "kern/programme.hpp"
#include "kern/tiefenscan.hpp"

class QLabel;
class QProgressBar;
class QPushButton;
class QHBoxLayout;
class QVBoxLayout;
class QListWidget;
class QTableWidget;
class QScrollArea;
class QCheckBox;

namespace hainbrem {

class AppModell;
class FundListe;
class FundTabelle;
class Jahresringe;

// Not searched, running, found, nothing found: one of four faces.
class Zustaende : public QStackedWidget {
    Q_OBJECT

public:
    struct Leer {
        const char* symbol;
        QString titel, text, knopf;
        std::function<void()> starten;
        // after a search that found nothing; empty: the content shows its own emptiness
        QString nichtsTitel = {}, nichtsText = {}, nichtsKnopf = {};
    };
    Zustaende(Leer leer, std::function<void()> anhalten, QWidget* inhalt, QWidget* eltern = nullptr);
    // `fertig`: the finder has a result; `hatInhalt`: the result holds something. `anteil` < 0:
    // no fraction known.
    void zeige(bool laeuft, bool fertig, bool hatInhalt, double anteil = -1, const QString& detail = {});
    void setzeNichtsText(const QString& text);
    QPushButton* startKnopf() const { return start_; }

private:
    QWidget* leer_;
    QWidget* laeuft_;
    QWidget* inhalt_;
    QWidget* nichts_ = nullptr;
    QLabel* nichtsText_ = nullptr;
    QProgressBar* balken_;
    QLabel* detail_;
    QPushButton* start_;
    bool gelaufen_ = false;  // once the finder ran here, it has a result
};

// Title, a line under it and room for buttons on the right.
class Seitenkopf : public QWidget {
    Q_OBJECT

public:
    Seitenkopf(const QString& titel, const QString& unter, QWidget* eltern = nullptr);
    void setzeUnter(const QString& unter);
    QHBoxLayout* knoepfe() const { return knoepfe_; }

private:
    QLabel* unter_;
    QHBoxLayout* knoepfe_;
};

// A bar under a findings list: what is ticked and the button that asks for confirmation.
class AuswahlLeiste : public QWidget {
    Q_OBJECT

public:
    AuswahlLeiste(AppModell& modell, const QString& knopf, std::function<std::vector<Fund>()> gewaehlte,
                  std::function<std::string()> titel, QWidget* eltern = nullptr);
    void aktualisiere();
    QPushButton* knopf() const { return knopf_; }

private:
    AppModell& modell_;
    std::function<std::vector<Fund>()> gewaehlte_;
    QLabel* text_;
    QPushButton* knopf_;
};

class UebersichtSeite : public QWidget {
    Q_OBJECT
public:
    explicit UebersichtSeite(AppModell& modell, QWidget* eltern = nullptr);

private:
    void aktualisiere();
    AppModell& modell_;
    QLabel* lage_;
    QLabel* lageText_;
    QLabel* zahlen_;
    QWidget* pruefKarte_;
    QLabel* pruefText_;
    QPushButton* pruefKnopf_;
    QProgressBar* pruefBalken_;
    QWidget* notfall_;
    QLabel* notfallText_;
    QPushButton* notfallKnopf_;
    QWidget* ringe_;
    QLabel* volumes_;
};

class AufraeumenSeite : public QWidget {
    Q_OBJECT
public:
    explicit AufraeumenSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern = nullptr);

private:
    void baue();
    void status();
    AppModell& modell_;
    std::filesystem::path home_;
    Zustaende* zustaende_;
    QVBoxLayout* karten_;
    AuswahlLeiste* leiste_;
    Seitenkopf* kopf_;
};

class KarteSeite : public QWidget {
    Q_OBJECT
public:
    explicit KarteSeite(AppModell& modell, QWidget* eltern = nullptr);
    Jahresringe* ringe() const { return ringe_; }
    void oeffne(Knoten::Zeiger knoten);

private:
    static QString unterzeile(bool ganzePlatte);
    void neuerScan();
    void zielAnwenden();
    void fuelleListe();
    // The node at `pfad`, else the nearest one above it that is still in the tree.
    Knoten::Zeiger naechster(std::string pfad) const;
    AppModell& modell_;
    Seitenkopf* kopf_;
    Zustaende* zustaende_;
    Jahresringe* ringe_;
    QTableWidget* liste_;
    QHBoxLayout* krume_;
    QLabel* erklaerung_;
    QLabel* kopfText_;
    Knoten::Zeiger wurzel_;
};

class GrosseSeite : public QWidget {
    Q_OBJECT
public:
    GrosseSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern = nullptr);
    FundListe* liste() const { return liste_; }

private:
    AppModell& modell_;
    Zustaende* zustaende_;
    FundListe* liste_;
};

class DuplikateSeite : public QWidget {
    Q_OBJECT
public:
    DuplikateSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern = nullptr);

private:
    void gruppeZeigen(int zeile);
    AppModell& modell_;
    Zustaende* zustaende_;
    QListWidget* gruppen_;
    QLabel* gruppenText_;
    FundListe* liste_;
    Seitenkopf* kopf_;
    QPushButton* alle_;
};

class ProgrammeSeite : public QWidget {
    Q_OBJECT
public:
    ProgrammeSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern = nullptr);

private:
    void programmZeigen(int zeile);
    static QString herkunftText(const Programm& p);
    AppModell& modell_;
    bool linux_;
    Zustaende* zustaende_;
    QTableWidget* programme_;
    QLabel* programmText_;
    QPushButton* deinstallieren_;
    FundListe* reste_;
    FundListe* verwaist_;
};

class ProjekteSeite : public QWidget {
    Q_OBJECT
public:
    ProjekteSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern = nullptr);

private:
    AppModell& modell_;
    Zustaende* zustaende_;
    FundListe* liste_;
};

class TricksSeite : public QWidget {
    Q_OBJECT
public:
    explicit TricksSeite(AppModell& modell, QWidget* eltern = nullptr);

private:
    void fuelle();
    AppModell& modell_;
    Zustaende* zustaende_;
    QTableWidget* icloud_;
    QLabel* optimieren_;
    QTableWidget* schnappschuesse_;
    QTableWidget* system_;
    QLabel* meldung_;
};

class VerlaufSeite : public QWidget {
    Q_OBJECT
public:
    VerlaufSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern = nullptr);

private:
    void fuelle();
    void rundeZeigen(int zeile);
    AppModell& modell_;
    std::filesystem::path home_;
    QStackedWidget* stapel_;
    QListWidget* runden_;
    QLabel* rundenKopf_;
    QTableWidget* posten_;
    QPushButton* rueckgaengig_;
    QLabel* meldung_;
};

// Until the assistant's own page is plugged in.
class AssistentPlatzhalter : public QWidget {
    Q_OBJECT
public:
    explicit AssistentPlatzhalter(QWidget* eltern = nullptr);
};

}  // namespace hainbrem
