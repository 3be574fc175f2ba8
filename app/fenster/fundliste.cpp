#include "app/fenster/fundliste.hpp"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <algorithm>
#include <numeric>

#include "app/fenster/anzeige.hpp"
#include "app/fenster/design.hpp"
#include "app/modell/appmodell.hpp"
#include "basis/pfade.hpp"
#include "kern/format.hpp"
#include "plattform/anwendung.hpp"

namespace hainbrem {

FundListe::FundListe(AppModell& modell, std::filesystem::path home, QObject* eltern)
    : QAbstractTableModel(eltern), modell_(modell), home_(std::move(home)) {
    connect(&modell_, &AppModell::auswahlGeaendert, this, &FundListe::auswahlGeaendert);
}

void FundListe::setzeFunde(std::vector<Fund> funde) {
    beginResetModel();
    funde_ = std::move(funde);
    namen_.clear();
    namen_.reserve(funde_.size());
    for (const auto& f : funde_) namen_.push_back(klein(f.url.filename().native()));
    ordnung_.resize(funde_.size());
    std::iota(ordnung_.begin(), ordnung_.end(), 0);
    endResetModel();
    if (sortSpalte_ >= 0) sort(sortSpalte_, sortOrdnung_);
}

const Fund& FundListe::fund(int zeile) const { return funde_[static_cast<size_t>(ordnung_[static_cast<size_t>(zeile)])]; }

std::vector<Fund> FundListe::gewaehlte() const { return anzeige::gewaehlte(funde_, modell_.auswahl()); }

int FundListe::rowCount(const QModelIndex& eltern) const {
    return eltern.isValid() ? 0 : static_cast<int>(funde_.size());
}
int FundListe::columnCount(const QModelIndex& eltern) const { return eltern.isValid() ? 0 : spalten; }

QVariant FundListe::data(const QModelIndex& index, int rolle) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Fund& f = fund(index.row());
    const auto spalte = static_cast<Spalte>(index.column());
    switch (rolle) {
        case Qt::DisplayRole:
            switch (spalte) {
                case name:
                    return QString::fromStdString(f.url.filename().native());
                case ort:
                    return QString::fromStdString(anzeige::kurzpfad(f.url.parent_path().native(), home_));
                case groesse:
                    return QString::fromStdString(alsBytes(f.bytes));
                case alter:
                    return QString::fromStdString(
                        anzeige::vorWann(f.datum, jetzt_ ? jetzt_() : std::chrono::system_clock::now()));
                case hinweis:
                    return hinweisText(f);
                default:
                    return {};
            }
        case Qt::CheckStateRole:
            if (spalte != name || (waehlbar_ && !waehlbar_(f))) return {};
            return modell_.istGewaehlt(f.url.native()) ? Qt::Checked : Qt::Unchecked;
        case Qt::TextAlignmentRole:
            if (spalte == groesse) return QVariant(Qt::AlignRight | Qt::AlignVCenter);
            return {};
        case Qt::ToolTipRole:
            return QString::fromStdString(f.url.native());
        case pfadRolle:
            return QString::fromStdString(f.url.native());
        default:
            return {};
    }
}

QString FundListe::hinweisText(const Fund& f) const {
    if (hinweis_) return hinweis_(f);
    return f.titel ? QString::fromStdString(*f.titel) : QString();
}

bool FundListe::setData(const QModelIndex& index, const QVariant& wert, int rolle) {
    if (!index.isValid() || rolle != Qt::CheckStateRole || index.column() != name) return false;
    const Fund& f = fund(index.row());
    if (waehlbar_ && !waehlbar_(f)) return false;
    modell_.waehle(f.url.native(), wert.value<Qt::CheckState>() == Qt::Checked);
    return true;  // the model's change signal repaints the box
}

Qt::ItemFlags FundListe::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.isValid() && index.column() == name && (!waehlbar_ || waehlbar_(fund(index.row()))))
        f |= Qt::ItemIsUserCheckable;
    return f;
}

QVariant FundListe::headerData(int abschnitt, Qt::Orientation richtung, int rolle) const {
    if (richtung != Qt::Horizontal) return {};
    if (rolle == Qt::TextAlignmentRole && abschnitt == groesse) return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    if (rolle != Qt::DisplayRole) return {};
    switch (abschnitt) {
        case name:
            return QStringLiteral("Name");
        case ort:
            return QStringLiteral("Ort");
        case groesse:
            return QStringLiteral("Größe");
        case alter:
            return QStringLiteral("Geändert");
        case hinweis:
            return QStringLiteral("Hinweis");
        default:
            return {};
    }
}

void FundListe::sort(int spalte, Qt::SortOrder ordnung) {
    sortSpalte_ = spalte;
    sortOrdnung_ = ordnung;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList alt = persistentIndexList();
    std::vector<int> altZeilen;
    for (const auto& i : alt) altZeilen.push_back(ordnung_[static_cast<size_t>(i.row())]);

    std::iota(ordnung_.begin(), ordnung_.end(), 0);
    auto f = [&](int i) -> const Fund& { return funde_[static_cast<size_t>(i)]; };
    auto sortiere = [&](auto kleiner) {
        if (ordnung == Qt::AscendingOrder)
            std::stable_sort(ordnung_.begin(), ordnung_.end(), kleiner);
        else
            std::stable_sort(ordnung_.begin(), ordnung_.end(), [&](int a, int b) { return kleiner(b, a); });
    };
    switch (spalte) {
        case name:
            sortiere([&](int a, int b) { return namen_[static_cast<size_t>(a)] < namen_[static_cast<size_t>(b)]; });
            break;
        case ort:
            sortiere([&](int a, int b) { return f(a).url.native() < f(b).url.native(); });
            break;
        case groesse:
            sortiere([&](int a, int b) { return f(a).bytes < f(b).bytes; });
            break;
        case alter:
            // newer is "smaller": ascending reads youngest first; unknown dates sort as oldest
            sortiere([&](int a, int b) {
                const auto da = f(a).datum.value_or(Zeitpunkt{}), db = f(b).datum.value_or(Zeitpunkt{});
                return da > db;
            });
            break;
        case hinweis: {
            // by the text shown, which a page may make from more than the title
            std::vector<QString> text(funde_.size());
            for (size_t i = 0; i < funde_.size(); ++i) text[i] = hinweisText(funde_[i]);
            sortiere([&](int a, int b) {
                return QString::localeAwareCompare(text[static_cast<size_t>(a)], text[static_cast<size_t>(b)]) < 0;
            });
            break;
        }
        default:
            break;
    }
    if (!alt.isEmpty()) {
        std::vector<int> zeileVon(funde_.size());
        for (size_t z = 0; z < ordnung_.size(); ++z) zeileVon[static_cast<size_t>(ordnung_[z])] = static_cast<int>(z);
        QModelIndexList neu;
        for (qsizetype i = 0; i < alt.size(); ++i)
            neu << index(zeileVon[static_cast<size_t>(altZeilen[static_cast<size_t>(i)])], alt[i].column());
        changePersistentIndexList(alt, neu);
    }
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void FundListe::auswahlGeaendert() {
    if (funde_.empty()) return;
    emit dataChanged(index(0, name), index(rowCount() - 1, name), {Qt::CheckStateRole});
}

// ---- the table

FundTabelle::FundTabelle(AppModell& modell, FundListe* liste, QWidget* eltern)
    : QTableView(eltern), modell_(modell), liste_(liste) {
    setModel(liste);
    setSortingEnabled(true);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTextElideMode(Qt::ElideMiddle);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 10);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    auto* kopf = horizontalHeader();
    kopf->setSectionResizeMode(QHeaderView::Interactive);
    kopf->setSectionResizeMode(FundListe::ort, QHeaderView::Stretch);
    kopf->resizeSection(FundListe::name, 220);
    kopf->resizeSection(FundListe::groesse, 90);
    kopf->resizeSection(FundListe::alter, 105);
    kopf->resizeSection(FundListe::hinweis, 130);
    kopf->setSortIndicatorShown(true);
    sortByColumn(FundListe::groesse, Qt::DescendingOrder);  // largest first, as every finder delivers
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this, &FundTabelle::menue);
}

void FundTabelle::menue(const QPoint& ort) {
    const QModelIndex i = indexAt(ort);
    if (!i.isValid()) return;
    const std::string pfad = liste_->fund(i.row()).url.native();
    QMenu m(this);
    m.addAction(QStringLiteral("Im Dateimanager zeigen"), [pfad] { plattform::imDateimanagerZeigen(pfad); });
    m.addAction(QStringLiteral("Auf der Karte zeigen"), [this, pfad] { modell_.karteZeigen(pfad); });
    m.addAction(design::symbol("sparkles", palette().color(QPalette::Text)), QStringLiteral("Assistent fragen"),
                [this, i] {
                    const QString kurz = i.sibling(i.row(), FundListe::ort).data().toString() + QLatin1Char('/') +
                                         i.sibling(i.row(), FundListe::name).data().toString();
                    modell_.frageStellen(QStringLiteral("Was ist „%1“, und kann das weg?").arg(kurz).toStdString());
                });
    m.exec(viewport()->mapToGlobal(ort));
}

}  // namespace hainbrem
