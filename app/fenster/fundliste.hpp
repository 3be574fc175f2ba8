#pragma once
// Every list of findings in the windows is this one table model over `Fund`: the check box of a
// row is the model's selection (both ways), sorting happens here on an index vector, so 100,000
// rows sort quickly and scroll without a widget per row.
#include <QAbstractTableModel>
#include <QTableView>
#include <filesystem>
#include <functional>
#include <vector>

#include "kern/datensaetze.hpp"

namespace hainbrem {

class AppModell;

class FundListe : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Spalte { name, ort, groesse, alter, hinweis, spalten };
    static constexpr int pfadRolle = Qt::UserRole + 1;

    // `home` shortens paths to "~"; `jetzt` (empty: the clock) dates the age column.
    FundListe(AppModell& modell, std::filesystem::path home, QObject* eltern = nullptr);

    void setzeFunde(std::vector<Fund> funde);
    const std::vector<Fund>& funde() const { return funde_; }
    const Fund& fund(int zeile) const;  // in the shown (sorted) order
    // The findings of this list that are selected, in the list's own order.
    std::vector<Fund> gewaehlte() const;

    // Extra text per finding (owner, project, "wird behalten"); empty: the finding's title.
    void setzeHinweis(std::function<QString(const Fund&)> h) { hinweis_ = std::move(h); }
    // Rows that cannot be ticked (the keeper of a duplicate group, held-back findings).
    void setzeWaehlbar(std::function<bool(const Fund&)> w) { waehlbar_ = std::move(w); }
    void setzeJetzt(std::function<Zeitpunkt()> jetzt) { jetzt_ = std::move(jetzt); }

    int rowCount(const QModelIndex& eltern = {}) const override;
    int columnCount(const QModelIndex& eltern = {}) const override;
    QVariant data(const QModelIndex& index, int rolle) const override;
    bool setData(const QModelIndex& index, const QVariant& wert, int rolle) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int abschnitt, Qt::Orientation richtung, int rolle) const override;
    // name and place alphabetically, size and age by number; ties keep the given order
    void sort(int spalte, Qt::SortOrder ordnung = Qt::AscendingOrder) override;

private:
    void auswahlGeaendert();
    QString hinweisText(const Fund& f) const;

    AppModell& modell_;
    std::filesystem::path home_;
    std::vector<Fund> funde_;
    std::vector<std::string> namen_;  // lower case, for sorting
    std::vector<int> ordnung_;        // shown row → index into funde_
    std::function<QString(const Fund&)> hinweis_;
    std::function<bool(const Fund&)> waehlbar_;
    std::function<Zeitpunkt()> jetzt_;
    int sortSpalte_ = -1;
    Qt::SortOrder sortOrdnung_ = Qt::AscendingOrder;
};

// The table every page shows a FundListe in: sortable, whole rows, and the context menu
// "Im Dateimanager zeigen", "Auf der Karte zeigen", "Assistent fragen".
class FundTabelle : public QTableView {
    Q_OBJECT

public:
    FundTabelle(AppModell& modell, FundListe* liste, QWidget* eltern = nullptr);
    FundListe* liste() const { return liste_; }

private:
    void menue(const QPoint& ort);

    AppModell& modell_;
    FundListe* liste_;
};

}  // namespace hainbrem
