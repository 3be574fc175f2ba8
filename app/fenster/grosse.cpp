// Large and old files, the largest first.
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>
#include <map>

#include "app/fenster/anzeige.hpp"
#include "app/fenster/design.hpp"
#include "app/fenster/fundliste.hpp"
#include "app/fenster/seitenbau.hpp"
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"

namespace hainbrem {

using design::qs;
using namespace seitenbau;

GrosseSeite::GrosseSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern)
    : QWidget(eltern), modell_(modell) {
    auto* l = seitenLayout(this);
    auto* kopf = new Seitenkopf(QStringLiteral("Große & alte Dateien"),
                                QStringLiteral("Dateien ab 50 MB aus dem letzten Scan. Sortiere nach Größe oder Alter; "
                                               "was du wählst, geht in den Papierkorb."));
    l->addWidget(kopf);
    QVBoxLayout* il;
    auto* inhalt = mitLayout(il);
    liste_ = new FundListe(modell_, home, this);
    auto* tabelle = new FundTabelle(modell_, liste_);
    tabelle->horizontalHeader()->setSectionHidden(FundListe::hinweis, true);
    il->addWidget(tabelle, 1);
    auto* leiste = new AuswahlLeiste(
        modell_, QStringLiteral("In den Papierkorb …"), [this] { return liste_->gewaehlte(); },
        [] { return std::string("Große Dateien"); });
    il->addWidget(leiste);
    zustaende_ = new Zustaende({"doc.richtext", QStringLiteral("Noch keine großen Dateien"),
                                QStringLiteral("Große Dateien kommen aus dem Scan, der auch die Speicherkarte "
                                               "füllt."),
                                QStringLiteral("Platte scannen"), [this] { modell_.tiefenscan(); },
                                QStringLiteral("Keine großen Dateien"),
                                QStringLiteral("Im letzten Scan ist keine Datei 50 MB oder größer. Gut so."),
                                QStringLiteral("Neu scannen")},
                               [this] { modell_.anhalten(AppModell::Arbeit::scan); }, inhalt);
    l->addWidget(zustaende_, 1);
    auto fuelle = [this, tabelle, leiste] {
        std::vector<Fund> funde;
        if (const auto& s = modell_.scan()) {
            funde.reserve(s->grosse.size());
            for (const auto& d : s->grosse) funde.push_back(alsFund(d));
        }
        liste_->setzeFunde(std::move(funde));
        if (tabelle->horizontalHeader()->sortIndicatorSection() != FundListe::groesse)
            tabelle->sortByColumn(FundListe::groesse, Qt::DescendingOrder);
        leiste->aktualisiere();
    };
    auto status = [this] {
        const auto& scan = modell_.scan();
        zustaende_->zeige(modell_.scanLaeuft(), scan != nullptr, scan && !scan->grosse.empty(), -1,
                          QStringLiteral("%1 · %2 gezählt")
                              .arg(qs(anzahl(modell_.scanDateien(), "Datei", "Dateien")),
                                   design::bytes(modell_.scanBytes())));
    };
    connect(&modell_, &AppModell::scanGeaendert, this, fuelle);
    for (auto s : {&AppModell::scanLaeuftGeaendert, &AppModell::scanDateienGeaendert, &AppModell::scanGeaendert})
        connect(&modell_, s, this, status);
    fuelle();
    status();
}

}  // namespace hainbrem
