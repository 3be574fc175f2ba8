// Flatpaks, Snaps and AppImages with what they leave, and the leftovers of programs long gone.
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

ProgrammeSeite::ProgrammeSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern)
    : QWidget(eltern), modell_(modell), linux_(modell.umgebung().profil == Katalogprofil::linuxDesktop) {
    auto* l = seitenLayout(this);
    auto* kopf = new Seitenkopf(
        QStringLiteral("Programme"),
        linux_ ? QStringLiteral("Flatpaks, Snaps und AppImages mit allem, was sie ablegen, und Reste von Programmen, "
                                "die längst weg sind.")
               : QStringLiteral("Installierte Programme mit allem, was sie in der Library ablegen, und Reste von "
                                "Programmen, die längst weg sind."));
    auto* neu = design::knopf(QStringLiteral("Neu laden"));
    connect(neu, &QPushButton::clicked, &modell_, &AppModell::programmeLaden);
    kopf->knoepfe()->addWidget(neu);
    l->addWidget(kopf);

    QVBoxLayout* il;
    auto* inhalt = mitLayout(il);
    auto* teiler = new QSplitter(Qt::Vertical);
    // on Linux a column says where a program comes from, and so how it leaves
    QStringList spalten{QStringLiteral("Programm"), QStringLiteral("Version"), QStringLiteral("Größe"),
                        QStringLiteral("Reste"), QStringLiteral("Zuletzt benutzt")};
    if (linux_) spalten.insert(1, QStringLiteral("Herkunft"));
    programme_ = new QTableWidget(0, static_cast<int>(spalten.size()));
    programme_->setHorizontalHeaderLabels(spalten);
    programme_->verticalHeader()->hide();
    programme_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    programme_->setSelectionBehavior(QAbstractItemView::SelectRows);
    programme_->setSelectionMode(QAbstractItemView::SingleSelection);
    programme_->setShowGrid(false);
    programme_->setAlternatingRowColors(true);
    // the name takes the room left; every other column as wide as what it shows
    programme_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    programme_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    teiler->addWidget(programme_);

    auto* mitte = new QWidget;
    auto* ml = new QVBoxLayout(mitte);
    ml->setContentsMargins(0, 6, 0, 0);
    auto* mk = new QHBoxLayout;
    programmText_ = new QLabel;
    programmText_->setWordWrap(true);
    programmText_->setTextInteractionFlags(Qt::TextSelectableByMouse);  // the command can be copied
    mk->addWidget(programmText_, 1);
    deinstallieren_ = design::knopf(QStringLiteral("Deinstallieren …"));
    mk->addWidget(deinstallieren_);
    ml->addLayout(mk);
    if (linux_)
        ml->addWidget(design::leise(QStringLiteral("Persönliche Daten der App (Profile, Dokumente) bleiben beim "
                                                   "Deinstallieren, außer du hakst sie hier an.")));
    reste_ = new FundListe(modell_, home, this);
    ml->addWidget(new FundTabelle(modell_, reste_), 1);
    teiler->addWidget(mitte);

    auto* unten = new QWidget;
    auto* ul = new QVBoxLayout(unten);
    ul->setContentsMargins(0, 6, 0, 0);
    ul->addWidget(design::ueberschrift(QStringLiteral("Reste entfernter Programme"), 13));
    if (linux_)
        ul->addWidget(design::leise(QStringLiteral(
            "Nichts ist vorgewählt. Hainbrem zeigt nur Reste, deren Programm nirgends mehr installiert ist, die kein "
            "laufendes Programm braucht und deren Hersteller kein anderes Programm auf diesem Rechner hat. Alles geht "
            "in den Papierkorb.")));
    verwaist_ = new FundListe(modell_, home, this);
    ul->addWidget(new FundTabelle(modell_, verwaist_), 1);
    auto* leiste = new AuswahlLeiste(
        modell_, QStringLiteral("Reste entfernen …"), [this] { return verwaist_->gewaehlte(); },
        [] { return std::string("Reste entfernter Programme"); });
    ul->addWidget(leiste);
    teiler->addWidget(unten);
    il->addWidget(teiler, 1);

    zustaende_ = new Zustaende(
        {"app.dashed", QStringLiteral("Programme noch nicht geladen"),
         linux_ ? QStringLiteral("Hainbrem listet deine Flatpaks, Snaps und AppImages mit ihren Caches, Einstellungen "
                                 "und Daten – und findet, was entfernte Programme zurückgelassen haben.")
                : QStringLiteral("Hainbrem listet deine Programme mit ihren Caches, Einstellungen und Containern – und "
                                 "findet, was entfernte Programme zurückgelassen haben."),
         QStringLiteral("Programme laden"), [this] { modell_.programmeLaden(); }, QStringLiteral("Keine Programme gefunden"),
         linux_ ? QStringLiteral("Hainbrem kennt Flatpaks, Snaps und AppImages in ~/Applications, ~/.local/bin, ~/bin und "
                                 "~/AppImages; hier ist keins, und von entfernten ist nichts übrig. Was der Paketmanager "
                                 "der Distribution installiert, verwaltet er selbst.")
                : QStringLiteral("In den Programme-Ordnern liegt kein Programm, und von entfernten Programmen ist nichts "
                                 "übrig."),
         QStringLiteral("Neu laden")},
        [this] { modell_.anhalten(AppModell::Arbeit::programme); }, inhalt);
    l->addWidget(zustaende_, 1);

    connect(programme_, &QTableWidget::currentCellChanged, this, [this](int z) { programmZeigen(z); });
    connect(deinstallieren_, &QPushButton::clicked, this, [this] {
        const int z = programme_->currentRow();
        if (z < 0 || z >= static_cast<int>(modell_.programme().size())) return;
        const Programm& p = modell_.programme()[static_cast<size_t>(z)];
        // the program and the leftovers that are ticked: personal data only when the user ticked it
        modell_.bitte(Programme::deinstallation(p, reste_->gewaehlte()), "Deinstallieren: " + p.name);
    });
    auto fuelle = [this, leiste] {
        const int vorher = programme_->currentRow();
        programme_->setRowCount(0);
        const int v = linux_ ? 1 : 0;  // columns after the program move one to the right on Linux
        for (const auto& p : modell_.programme()) {
            const int z = programme_->rowCount();
            programme_->insertRow(z);
            const bool paket = p.herkunft == Herkunft::flatpak || p.herkunft == Herkunft::snap;
            auto* n = new QTableWidgetItem(design::zeilenSymbol(paket ? "shippingbox" : "app.dashed", design::akzent()),
                                           qs(p.name));
            n->setToolTip(qs(p.url.native()));
            programme_->setItem(z, 0, n);
            if (linux_) programme_->setItem(z, 1, new QTableWidgetItem(herkunftText(p)));
            programme_->setItem(z, 1 + v, new QTableWidgetItem(qs(p.version)));
            for (const auto& [spalte, bytes] : {std::pair{2 + v, p.bytes}, std::pair{3 + v, p.resteBytes()}}) {
                auto* b = new QTableWidgetItem(design::bytes(bytes));
                b->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
                programme_->setItem(z, spalte, b);
            }
            programme_->setItem(z, 4 + v, new QTableWidgetItem(wannText(p.zuletztBenutzt)));
        }
        if (programme_->rowCount() > 0) programme_->selectRow(std::clamp(vorher, 0, programme_->rowCount() - 1));
        else programmZeigen(-1);
        std::vector<Fund> reste;
        std::map<std::string, QString> namen;
        for (const auto& w : modell_.verwaist())
            for (const auto& f : w.funde) {
                reste.push_back(f);
                namen[f.url.native()] = w.herkunft == Herkunft::bundle
                                            ? qs(w.vermuteterName())
                                            : QStringLiteral("%1 (%2)").arg(qs(w.vermuteterName()),
                                                                            qs(std::string(anzeigeName(w.herkunft))));
            }
        verwaist_->setzeHinweis([namen](const Fund& f) {
            const auto it = namen.find(f.url.native());
            return it == namen.end() ? QString() : it->second;
        });
        verwaist_->setzeFunde(std::move(reste));
        leiste->aktualisiere();
    };
    auto status = [this] {
        const bool etwas = !modell_.programme().empty() || !modell_.verwaist().empty();
        zustaende_->zeige(modell_.programmeLaeuft(), etwas, etwas, -1, QStringLiteral("Sucht Programme und ihre Reste …"));
    };
    connect(&modell_, &AppModell::programmeGeaendert, this, fuelle);
    const auto knopfSymbol = [this] {
        deinstallieren_->setIcon(design::symbol("trash.fill", palette().color(QPalette::ButtonText)));
    };
    knopfSymbol();  // from the start, not only after the first change of colours
    design::beiFarbwechsel(this, [knopfSymbol, fuelle] {
        knopfSymbol();
        fuelle();
    });
    connect(&modell_, &AppModell::verwaistGeaendert, this, fuelle);
    for (auto s : {&AppModell::programmeLaeuftGeaendert, &AppModell::programmeGeaendert, &AppModell::verwaistGeaendert})
        connect(&modell_, s, this, status);
    fuelle();
    status();
}

QString ProgrammeSeite::herkunftText(const Programm& p) {
    switch (p.herkunft) {
        case Herkunft::flatpak:
            return p.installation == "user" ? QStringLiteral("Flatpak (Benutzer)") : QStringLiteral("Flatpak (System)");
        case Herkunft::snap: return QStringLiteral("Snap");
        case Herkunft::appImage: return QStringLiteral("AppImage");
        case Herkunft::bundle: break;
    }
    return QStringLiteral("Programm");
}

void ProgrammeSeite::programmZeigen(int zeile) {
    const auto& programme = modell_.programme();
    if (zeile < 0 || zeile >= static_cast<int>(programme.size())) {
        programmText_->setText({});
        deinstallieren_->setEnabled(false);
        reste_->setzeFunde({});
        return;
    }
    const Programm& p = programme[static_cast<size_t>(zeile)];
    const QString kopf = QStringLiteral("<b>%1</b> %2 · %3 mit %4.")
                             .arg(qs(p.name).toHtmlEscaped(),
                                  qs(p.bundleID.empty() ? p.url.filename().native() : p.bundleID).toHtmlEscaped(),
                                  qs(anzahl(static_cast<int64_t>(p.reste.size()), "Rest", "Reste")),
                                  design::bytes(p.resteBytes()));
    QString wie;
    switch (p.herkunft) {
        case Herkunft::bundle:
            wie = QStringLiteral("Deinstallieren legt das Programm und seine Reste in den Papierkorb.");
            break;
        case Herkunft::appImage:
            wie = QStringLiteral("Deinstallieren legt das AppImage, seinen Startmenü-Eintrag und die angehakten Reste in "
                                 "den Papierkorb.");
            break;
        case Herkunft::flatpak:
        case Herkunft::snap:
            wie = QStringLiteral("Deinstallieren entfernt das Programm über %1 – das lässt sich nicht rückgängig machen – "
                                 "und legt die angehakten Reste in den Papierkorb.")
                      .arg(qs(std::string(anzeigeName(p.herkunft))));
            break;
    }
    if (p.befehl)
        wie = QStringLiteral("Systemweit installiert: Deinstallieren braucht Administratorrechte, und Hainbrem fragt "
                             "nach keinem Passwort. Im Terminal:<p style='white-space:pre'><code>%1</code></p>")
                  .arg(qs(*p.befehl).toHtmlEscaped());
    programmText_->setText(kopf + QStringLiteral(" ") + wie);
    deinstallieren_->setEnabled(!p.befehl);
    reste_->setzeFunde(p.reste);
}

}  // namespace hainbrem
