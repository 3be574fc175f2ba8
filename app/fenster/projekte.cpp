// Build folders in developer projects, the old ones preselected.
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

ProjekteSeite::ProjekteSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern)
    : QWidget(eltern), modell_(modell) {
    auto* l = seitenLayout(this);
    auto* kopf = new Seitenkopf(QStringLiteral("Projekte"),
                                QStringLiteral("Abhängigkeiten, Bauausgaben und virtuelle Umgebungen deiner Projekte. Ein "
                                               "Befehl baut sie wieder; vorgewählt ist, was 30 Tage ruht."));
    auto* neu = design::knopf(QStringLiteral("Neu suchen"));
    connect(neu, &QPushButton::clicked, &modell_, &AppModell::projekteSuchen);
    kopf->knoepfe()->addWidget(neu);
    l->addWidget(kopf);
    QVBoxLayout* il;
    auto* inhalt = mitLayout(il);
    liste_ = new FundListe(modell_, home, this);
    auto* tabelle = new FundTabelle(modell_, liste_);
    il->addWidget(tabelle, 1);
    auto* leiste = new AuswahlLeiste(
        modell_, QStringLiteral("Löschen …"), [this] { return liste_->gewaehlte(); },
        [] { return std::string("Bauabfall"); });
    il->addWidget(leiste);
    zustaende_ = new Zustaende({"hammer", QStringLiteral("Noch keine Projekte gesucht"),
                                QStringLiteral("Hainbrem sucht in Projekte, Developer, Code und ähnlichen Ordnern nach "
                                               "node_modules, target, .venv und ähnlichen Ordnern neben ihren "
                                               "Projektdateien."),
                                QStringLiteral("Projekte suchen"), [this] { modell_.projekteSuchen(); },
                                QStringLiteral("Kein Bauabfall gefunden"),
                                QStringLiteral("In Projekte, Code und ähnlichen Ordnern liegt kein node_modules, target, "
                                               ".venv oder ähnlicher Ordner neben seinen Projektdateien."),
                                QStringLiteral("Neu suchen")},
                               [this] { modell_.anhalten(AppModell::Arbeit::projekte); }, inhalt);
    l->addWidget(zustaende_, 1);
    auto fuelle = [this, leiste, tabelle] {
        std::vector<Fund> funde;
        bool dienste = false;
        for (const auto& b : modell_.bauabfall()) {
            Fund f = b.fund;
            f.datum = b.zuletzt;  // the project's last change dates the row
            dienste = dienste || f.titel.has_value();  // a background service uses the project
            funde.push_back(std::move(f));
        }
        // the place is the project; the note column only when a service uses one
        tabelle->horizontalHeader()->setSectionHidden(FundListe::hinweis, !dienste);
        liste_->setzeFunde(std::move(funde));
        leiste->aktualisiere();
    };
    tabelle->horizontalHeader()->resizeSection(FundListe::hinweis, 320);
    connect(&modell_, &AppModell::bauabfallGeaendert, this, fuelle);
    auto status = [this] {
        const bool etwas = !modell_.bauabfall().empty();
        zustaende_->zeige(modell_.bauLaeuft(), etwas, etwas, -1, QStringLiteral("Sucht Bauordner in deinen Projekten …"));
    };
    connect(&modell_, &AppModell::bauLaeuftGeaendert, this, status);
    connect(&modell_, &AppModell::bauabfallGeaendert, this, status);
    fuelle();
    status();
}

}  // namespace hainbrem
