// Groups of files with the same content; one of each stays.
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

DuplikateSeite::DuplikateSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern)
    : QWidget(eltern), modell_(modell) {
    auto* l = seitenLayout(this);
    kopf_ = new Seitenkopf(QStringLiteral("Duplikate"), {});
    alle_ = design::knopf(QStringLiteral("Alle Kopien auswählen"));
    connect(alle_, &QPushButton::clicked, this, [this] {
        std::vector<Fund> kopien;
        for (const auto& g : modell_.duplikate())
            for (auto& f : kopienAlsFunde(g)) kopien.push_back(std::move(f));
        modell_.waehle(kopien, true);
    });
    auto* neu = design::knopf(QStringLiteral("Neu suchen"));
    connect(neu, &QPushButton::clicked, &modell_, &AppModell::duplikateSuchen);
    kopf_->knoepfe()->addWidget(alle_);
    kopf_->knoepfe()->addWidget(neu);
    l->addWidget(kopf_);

    QVBoxLayout* il;
    auto* inhalt = mitLayout(il);
    auto* teiler = new QSplitter;
    gruppen_ = new QListWidget;
    gruppen_->setMinimumWidth(240);
    gruppen_->setMaximumWidth(320);
    gruppen_->setItemDelegate(new design::ListenZeile(gruppen_));
    gruppen_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    gruppen_->setAccessibleName(QStringLiteral("Gruppen gleicher Dateien"));
    teiler->addWidget(gruppen_);
    auto* rechts = new QWidget;
    auto* rl = new QVBoxLayout(rechts);
    rl->setContentsMargins(8, 0, 0, 0);
    gruppenText_ = design::leise({});
    gruppenText_->setTextFormat(Qt::RichText);
    rl->addWidget(gruppenText_);
    liste_ = new FundListe(modell_, home, this);
    auto* tabelle = new FundTabelle(modell_, liste_);
    rl->addWidget(tabelle, 1);
    teiler->addWidget(rechts);
    teiler->setStretchFactor(1, 2);
    il->addWidget(teiler, 1);
    auto* leiste = new AuswahlLeiste(
        modell_, QStringLiteral("Kopien in den Papierkorb …"),
        [this] {
            std::vector<Fund> kopien;
            for (const auto& g : modell_.duplikate())
                for (auto& f : kopienAlsFunde(g)) kopien.push_back(std::move(f));
            return anzeige::gewaehlte(kopien, modell_.auswahl());
        },
        [] { return std::string("Duplikate"); });
    il->addWidget(leiste);

    zustaende_ = new Zustaende({"square.on.square", QStringLiteral("Noch keine Duplikate gesucht"),
                                QStringLiteral("Hainbrem vergleicht Dateien ab 1 MB erst nach Größe, dann Anfang und Ende, "
                                               "zuletzt den ganzen Inhalt. Von jeder Gruppe bleibt eine Datei."),
                                QStringLiteral("Duplikate suchen"), [this] { modell_.duplikateSuchen(); },
                                QStringLiteral("Keine Duplikate"),
                                QStringLiteral("Keine zwei Dateien ab 1 MB haben denselben Inhalt."),
                                QStringLiteral("Neu suchen")},
                               [this] { modell_.anhalten(AppModell::Arbeit::duplikate); }, inhalt);
    l->addWidget(zustaende_, 1);

    connect(gruppen_, &QListWidget::currentRowChanged, this, &DuplikateSeite::gruppeZeigen);
    auto fuelle = [this, leiste] {
        const int vorher = gruppen_->currentRow();
        gruppen_->clear();
        int64_t verschwendet = 0;
        for (const auto& g : modell_.duplikate()) {
            // the group goes by the file that stays
            auto* item = new QListWidgetItem(qs(std::filesystem::path(g.behalten).filename().native()));
            item->setData(design::ListenZeile::unterzeilenRolle,
                          QStringList{QStringLiteral("%1 · %2 frei%3")
                                          .arg(qs(anzahl(static_cast<int64_t>(g.dateien.size()), "Datei", "Dateien")),
                                               design::bytes(g.wirklichFrei),
                                               g.sindKlone() ? QStringLiteral(" · Klone") : QString())});
            item->setToolTip(qs(g.behalten));
            item->setIcon(design::symbol("square.on.square", design::akzent()));
            gruppen_->addItem(item);
            verschwendet += g.wirklichFrei;
        }
        const auto gruppen = static_cast<int64_t>(modell_.duplikate().size());
        kopf_->setzeUnter(gruppen > 0 ? QStringLiteral("%1 gleicher Dateien; ohne die Kopien wären %2 frei.")
                                            .arg(qs(anzahl(gruppen, "Gruppe", "Gruppen")), design::bytes(verschwendet))
                                      : QStringLiteral("Dateien ab 1 MB mit gleichem Inhalt; von jeder Gruppe bleibt "
                                                       "eine Datei."));
        alle_->setEnabled(gruppen > 0);
        if (gruppen_->count() > 0) gruppen_->setCurrentRow(std::clamp(vorher, 0, gruppen_->count() - 1));
        else gruppeZeigen(-1);
        leiste->aktualisiere();
    };
    auto status = [this] {
        const bool wartetAufScan = modell_.duplikateLaeuft() && modell_.scanLaeuft();
        const bool etwas = !modell_.duplikate().empty();
        zustaende_->zeige(modell_.duplikateLaeuft(), etwas, etwas, wartetAufScan ? -1 : modell_.duplikateFortschritt(),
                          wartetAufScan ? QStringLiteral("Erst die Platte scannen: %1")
                                              .arg(qs(anzahl(modell_.scanDateien(), "Datei", "Dateien")))
                                        : QStringLiteral("Vergleicht Inhalte …"));
    };
    connect(&modell_, &AppModell::duplikateGeaendert, this, fuelle);
    design::beiFarbwechsel(this, [this, fuelle] { fuelle(); });
    for (auto s : {&AppModell::duplikateLaeuftGeaendert, &AppModell::duplikateFortschrittGeaendert,
                   &AppModell::scanDateienGeaendert, &AppModell::duplikateGeaendert})
        connect(&modell_, s, this, status);
    fuelle();
    status();
}

void DuplikateSeite::gruppeZeigen(int zeile) {
    const auto& gruppen = modell_.duplikate();
    if (zeile < 0 || zeile >= static_cast<int>(gruppen.size())) {
        liste_->setzeFunde({});
        gruppenText_->setText({});
        return;
    }
    const DuplikatGruppe& g = gruppen[static_cast<size_t>(zeile)];
    std::vector<Fund> funde;
    for (const auto& d : g.dateien) funde.push_back(alsFund(d));
    const std::string behalten = g.behalten;
    liste_->setzeHinweis([behalten](const Fund& f) {
        return f.url.native() == behalten ? QStringLiteral("★ wird behalten") : QStringLiteral("Kopie");
    });
    liste_->setzeWaehlbar([behalten](const Fund& f) { return f.url.native() != behalten; });
    liste_->setzeFunde(std::move(funde));
    QString text = QStringLiteral("Behalten wird <b>%1</b> – die älteste Datei an einem ruhigen Ort. ")
                       .arg(qs(std::filesystem::path(g.behalten).filename().native()).toHtmlEscaped());
    if (g.sindKlone())
        text += QStringLiteral("<br><span style='color:%1'>Diese Kopien sind Klone und teilen sich ihren Speicher: "
                               "Löschen bringt nur %2, nicht %3.</span>")
                    .arg(design::farbe("orange").name(), design::bytes(g.wirklichFrei), design::bytes(g.verschwendet()));
    else
        text += QStringLiteral("Ohne die Kopien werden %1 frei.").arg(design::bytes(g.wirklichFrei));
    gruppenText_->setText(text);
}

}  // namespace hainbrem
