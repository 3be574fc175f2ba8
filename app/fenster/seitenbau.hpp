#pragma once
// Small pieces the finder pages, the system data page and the history are laid out with.
#include <QString>
#include <QStringList>
#include <optional>

#include "kern/datensaetze.hpp"

class QTableWidget;
class QTableWidgetItem;
class QVBoxLayout;
class QWidget;

namespace hainbrem::seitenbau {

// The page's own column, with the margins every page has.
QVBoxLayout* seitenLayout(QWidget* seite);
// A bare widget whose column is handed back in `l`.
QWidget* mitLayout(QVBoxLayout*& l);
// A read-only table with whole-row selection, columns sized to their contents.
QTableWidget* tabelle(const QStringList& spalten);
QTableWidgetItem* rechts(const QString& text);
// "vor 3 Tagen", "–" without a date.
QString wannText(std::optional<Zeitpunkt> t);

}  // namespace hainbrem::seitenbau
