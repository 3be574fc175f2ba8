// The storage map: the year rings around any folder of the scan, its children beside them,
// a breadcrumb back up.
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSplitter>
#include <QTableWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/fenster/design.hpp"
#include "app/fenster/seitenbau.hpp"
#include "app/fenster/ringansicht.hpp"
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"

namespace hainbrem {

using design::qs;

KarteSeite::KarteSeite(AppModell& modell, QWidget* eltern) : QWidget(eltern), modell_(modell) {
    auto* l = seitenbau::seitenLayout(this);
    kopf_ = new Seitenkopf(QStringLiteral("Speicherkarte"), unterzeile(modell_.scanGanzePlatte()));
    auto* neu = design::knopf(QStringLiteral("Neu scannen"));
    connect(neu, &QPushButton::clicked, &modell_, &AppModell::tiefenscan);
    kopf_->knoepfe()->addWidget(neu);
    l->addWidget(kopf_);

    auto* inhalt = new QWidget;
    auto* il = new QVBoxLayout(inhalt);
    il->setContentsMargins(0, 0, 0, 0);
    krume_ = new QHBoxLayout;
    krume_->setSpacing(2);
    il->addLayout(krume_);
    auto* teiler = new QSplitter;
    ringe_ = new Jahresringe;
    ringe_->setzeEbenen(6);
    teiler->addWidget(ringe_);
    auto* rechts = new QWidget;
    auto* rl = new QVBoxLayout(rechts);
    rl->setContentsMargins(8, 0, 0, 0);
    liste_ = new QTableWidget(0, 3);
    liste_->setHorizontalHeaderLabels({QStringLiteral("Name"), QStringLiteral("Größe"), QStringLiteral("Anteil")});
    liste_->verticalHeader()->hide();
    liste_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    liste_->setSelectionBehavior(QAbstractItemView::SelectRows);
    liste_->setShowGrid(false);
    liste_->setAlternatingRowColors(true);
    liste_->setMouseTracking(true);
    liste_->setWordWrap(false);
    liste_->setTextElideMode(Qt::ElideMiddle);
    rechts->setMinimumWidth(380);
    liste_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    liste_->horizontalHeader()->resizeSection(1, 90);
    liste_->horizontalHeader()->resizeSection(2, 70);
    rl->addWidget(liste_, 1);
    // what a part no walk can see is (the file system's reserve, swap …), for the one under the pointer
    erklaerung_ = design::leise({});
    erklaerung_->hide();
    rl->addWidget(erklaerung_);
    kopfText_ = design::leise({});
    rl->addWidget(kopfText_);
    teiler->addWidget(rechts);
    teiler->setStretchFactor(0, 3);
    teiler->setStretchFactor(1, 2);
    il->addWidget(teiler, 1);

    zustaende_ = new Zustaende({"circle.circle", QStringLiteral("Noch keine Speicherkarte"),
                                QStringLiteral("Ein Scan misst %1 in einem Durchgang. Danach siehst du jeden Ordner als "
                                               "Ring und klickst dich hinein.")
                                    .arg(modell_.scanGanzePlatte() ? QStringLiteral("die ganze Platte")
                                                                   : QStringLiteral("deinen Home-Ordner")),
                                QStringLiteral("Platte scannen"), [this] { modell_.tiefenscan(); }},
                               [this] { modell_.anhalten(AppModell::Arbeit::scan); }, inhalt);
    l->addWidget(zustaende_, 1);

    connect(ringe_, &Jahresringe::tippen, this, [this](const Knoten::Zeiger& k) {
        if (!k->kinder.empty()) oeffne(k);
    });
    connect(ringe_, &Jahresringe::zeigerGeaendert, this, [this](const Knoten::Zeiger& k) {
        const bool erklaert = k && k->erklaerung;
        erklaerung_->setVisible(erklaert);
        if (erklaert) erklaerung_->setText(QStringLiteral("<b>%1</b>: %2").arg(qs(k->name).toHtmlEscaped(),
                                                                             design::fliesstext(*k->erklaerung).toHtmlEscaped()));
        for (int z = 0; z < liste_->rowCount(); ++z) {
            auto* item = liste_->item(z, 0);
            const bool an = k && item->data(Qt::UserRole).toString() == qs(k->pfad);
            for (int s = 0; s < 3; ++s) liste_->item(z, s)->setSelected(an);
        }
    });
    connect(liste_, &QTableWidget::cellClicked, this, [this](int zeile, int) {
        const auto& kinder = ringe_->mitte()->kinder;
        if (zeile < static_cast<int>(kinder.size()) && !kinder[static_cast<size_t>(zeile)]->kinder.empty())
            oeffne(kinder[static_cast<size_t>(zeile)]);
    });
    connect(liste_, &QTableWidget::cellEntered, this, [this](int zeile, int) {
        const auto& kinder = ringe_->mitte()->kinder;
        if (zeile < static_cast<int>(kinder.size())) ringe_->setzeZeiger(kinder[static_cast<size_t>(zeile)]);
    });
    auto status = [this] {
        zustaende_->zeige(modell_.scanLaeuft(), modell_.scan() != nullptr, modell_.scan() != nullptr, -1,
                          QStringLiteral("%1 · %2 gezählt")
                              .arg(qs(anzahl(modell_.scanDateien(), "Datei", "Dateien")),
                                   design::bytes(modell_.scanBytes())));
    };
    for (auto s : {&AppModell::scanLaeuftGeaendert, &AppModell::scanDateienGeaendert, &AppModell::scanBytesGeaendert})
        connect(&modell_, s, this, status);
    connect(&modell_, &AppModell::scanGeaendert, this, [this, status] {
        neuerScan();
        status();
    });
    connect(&modell_, &AppModell::kartenZielGeaendert, this, &KarteSeite::zielAnwenden);
    design::beiFarbwechsel(liste_, [this] {
        if (ringe_->mitte()) fuelleListe();  // the small rest is drawn in the secondary colour
    });
    neuerScan();
    status();
}

QString KarteSeite::unterzeile(bool ganzePlatte) {
    return ganzePlatte ? QStringLiteral("Die ganze Platte als Jahresringe – vom System bis zur letzten Datei.")
                       : QStringLiteral("Dein Home-Ordner als Jahresringe – vom größten Ordner bis zur letzten Datei.");
}

void KarteSeite::neuerScan() {
    const auto& scan = modell_.scan();
    const Knoten::Zeiger alt = ringe_->mitte();
    wurzel_ = scan ? scan->wurzel : nullptr;
    if (!wurzel_) return;
    kopf_->setzeUnter(unterzeile(scan->ganzePlatte));
    kopfText_->setText(QStringLiteral("%1%2. Klick auf einen Ring oder eine Zeile, um hineinzugehen.")
                           .arg(scan->dauer >= 0.05 ? QStringLiteral("Gescannt in %1 s").arg(QLocale(QLocale::German).toString(scan->dauer, 'f', 1))
                                                    : QStringLiteral("Gescannt"),
                                scan->unlesbar > 0
                                    ? QStringLiteral(", %1 nicht lesbar")
                                          .arg(qs(anzahl(scan->unlesbar, "Eintrag", "Einträge")))
                                    : QString()));
    // the same tree (only its file lists changed) or one a round changed: stay where the user was,
    // or as near as what is left allows
    Knoten::Zeiger mitte = alt ? naechster(alt->pfad) : nullptr;
    if (mitte && mitte == alt) return;
    if (!mitte) mitte = wurzel_;
    if (mitte->kinder.empty() && mitte != wurzel_) {
        const auto weg = wurzel_->weg(mitte->pfad);
        mitte = weg && weg->size() >= 2 ? (*weg)[weg->size() - 2] : wurzel_;
    }
    oeffne(mitte);
    zielAnwenden();
}

Knoten::Zeiger KarteSeite::naechster(std::string pfad) const {
    Knoten::Zeiger k;
    while (!(k = Knoten::finde(wurzel_, pfad))) {
        const size_t s = pfad.rfind('/');
        if (s == std::string::npos || s == 0) break;
        pfad.resize(s);
    }
    return k;
}

void KarteSeite::zielAnwenden() {
    const auto& ziel = modell_.kartenZiel();
    if (!ziel || !wurzel_) return;
    // the deepest node on the way to the target: small files are not nodes of their own
    Knoten::Zeiger k = naechster(*ziel);
    if (!k) k = wurzel_;
    Knoten::Zeiger mitte = k;
    if (k->kinder.empty() && k != wurzel_) {
        const auto weg = wurzel_->weg(k->pfad);
        mitte = weg && weg->size() >= 2 ? (*weg)[weg->size() - 2] : wurzel_;
    }
    oeffne(mitte);
    if (k != mitte) ringe_->setzeZeiger(k);
    modell_.setzeKartenZiel(std::nullopt);  // honoured once
}

void KarteSeite::oeffne(Knoten::Zeiger knoten) {
    ringe_->setzeMitte(knoten);
    while (QLayoutItem* i = krume_->takeAt(0)) {
        delete i->widget();
        delete i;
    }
    std::vector<Knoten::Zeiger> kette{wurzel_};
    if (knoten != wurzel_)
        if (const auto weg = wurzel_->weg(knoten->pfad)) kette.insert(kette.end(), weg->begin(), weg->end());
    for (size_t i = 0; i < kette.size(); ++i) {
        if (i > 0) krume_->addWidget(new QLabel(QStringLiteral("›")));
        if (i + 1 == kette.size()) {  // where the map is now: plain, bold text
            auto* hier = new QLabel(QStringLiteral("<b>%1</b>").arg(qs(kette[i]->name).toHtmlEscaped()));
            hier->setContentsMargins(4, 0, 4, 0);
            krume_->addWidget(hier);
            break;
        }
        auto* k = new QToolButton;
        k->setText(qs(kette[i]->name));
        k->setAutoRaise(true);
        k->setToolTip(QStringLiteral("Zurück zu %1").arg(qs(kette[i]->pfad)));
        connect(k, &QToolButton::clicked, this, [this, z = kette[i]] { oeffne(z); });
        krume_->addWidget(k);
    }
    krume_->addStretch();
    fuelleListe();
}

void KarteSeite::fuelleListe() {
    const Knoten& m = *ringe_->mitte();
    liste_->setRowCount(0);
    auto zeile = [&](const QString& name, int64_t bytes, const QString& pfad, bool leise, const QString& erklaerung) {
        const int z = liste_->rowCount();
        liste_->insertRow(z);
        auto* n = new QTableWidgetItem(name);
        n->setData(Qt::UserRole, pfad);
        n->setToolTip(erklaerung.isEmpty() ? pfad : erklaerung);
        auto* b = new QTableWidgetItem(design::bytes(bytes));
        b->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        const double anteil = m.bytes > 0 ? 100.0 * static_cast<double>(bytes) / static_cast<double>(m.bytes) : 0;
        auto* a = new QTableWidgetItem(QStringLiteral("%1 %").arg(QLocale(QLocale::German).toString(anteil, 'f', 1)));
        a->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        for (auto* i : {n, b, a})
            if (leise) i->setForeground(palette().color(QPalette::PlaceholderText));
        liste_->setItem(z, 0, n);
        liste_->setItem(z, 1, b);
        liste_->setItem(z, 2, a);
    };
    for (const auto& k : m.kinder)
        zeile(qs(k->name) + (k->kinder.empty() ? QString() : QStringLiteral(" ›")), k->bytes, qs(k->pfad), false,
              k->erklaerung ? design::fliesstext(*k->erklaerung) : QString());
    if (m.kleinkram() > 0) zeile(QStringLiteral("Kleinere Dateien und Ordner"), m.kleinkram(), {}, true, {});
}

}  // namespace hainbrem
