// The history of rounds: what each freed, measured, and what of it can still be put back.
#include <QDateTime>
#include <QHBoxLayout>
#include <QResizeEvent>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>

#include "app/fenster/anzeige.hpp"
#include "app/fenster/design.hpp"
#include "app/fenster/seitenbau.hpp"
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"

namespace hainbrem {

using design::qs;
using namespace seitenbau;

VerlaufSeite::VerlaufSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern)
    : QWidget(eltern), modell_(modell), home_(home) {
    auto* l = seitenbau::seitenLayout(this);
    l->addWidget(new Seitenkopf(QStringLiteral("Verlauf"),
                                QStringLiteral("Jede Runde mit dem gemessenen Gewinn. Was im Papierkorb liegt, legt "
                                               "„Rückgängig“ zurück.")));
    stapel_ = new QStackedWidget;
    auto* leer = new QWidget;
    {
        auto* ll = new QVBoxLayout(leer);
        ll->addStretch(2);
        ll->addWidget(new design::Symbol("clock.arrow.circlepath", "gruen", 56), 0, Qt::AlignHCenter);
        auto* t = design::ueberschrift(QStringLiteral("Noch keine Runde"), 17);
        t->setAlignment(Qt::AlignCenter);
        ll->addWidget(t);
        auto* x = design::leise(QStringLiteral("Sobald du aufräumst, steht hier, was wegging und wie viel Platz es "
                                               "wirklich gebracht hat."));
        x->setAlignment(Qt::AlignCenter);
        ll->addWidget(x);
        auto* hin = design::knopf(QStringLiteral("Zum Aufräumen"), design::Rolle::haupt);
        hin->setMinimumWidth(180);
        connect(hin, &QPushButton::clicked, this, [this] { modell_.setzeSeite(Seite::aufraeumen); });
        ll->addSpacing(8);
        ll->addWidget(hin, 0, Qt::AlignHCenter);
        ll->addStretch(3);
    }
    stapel_->addWidget(leer);
    auto* teiler = new QSplitter;
    runden_ = new QListWidget;
    runden_->setMinimumWidth(300);
    runden_->setMaximumWidth(380);
    runden_->setItemDelegate(new design::ListenZeile(runden_));
    runden_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    runden_->setAccessibleName(QStringLiteral("Runden"));
    teiler->addWidget(runden_);
    auto* rechts_ = new QWidget;
    auto* rl = new QVBoxLayout(rechts_);
    rl->setContentsMargins(8, 0, 0, 0);
    auto* rk = new QHBoxLayout;
    rundenKopf_ = new QLabel;
    rundenKopf_->setWordWrap(true);
    rk->addWidget(rundenKopf_, 1);
    rueckgaengig_ = design::knopf(QStringLiteral("Rückgängig"));
    rueckgaengig_->setToolTip(QStringLiteral("Legt zurück, was diese Runde in den Papierkorb gelegt hat"));
    rk->addWidget(rueckgaengig_, 0, Qt::AlignTop);
    rl->addLayout(rk);
    meldung_ = new QLabel;
    meldung_->setWordWrap(true);
    meldung_->hide();
    rl->addWidget(meldung_);
    posten_ = tabelle({QStringLiteral("Was"), QStringLiteral("Größe"), QStringLiteral("Wie"), QStringLiteral("Ergebnis")});
    posten_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    posten_->horizontalHeader()->setStretchLastSection(false);
    posten_->setWordWrap(false);
    posten_->setTextElideMode(Qt::ElideMiddle);
    posten_->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 10);
    posten_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    rl->addWidget(posten_, 1);
    teiler->addWidget(rechts_);
    teiler->setStretchFactor(1, 2);
    stapel_->addWidget(teiler);
    l->addWidget(stapel_, 1);

    connect(runden_, &QListWidget::currentRowChanged, this, &VerlaufSeite::rundeZeigen);
    connect(rueckgaengig_, &QPushButton::clicked, this, [this] {
        const int z = runden_->currentRow();
        if (z >= 0 && z < static_cast<int>(modell_.verlauf().size()))
            modell_.rueckgaengig(modell_.verlauf()[static_cast<size_t>(z)].id);
    });
    connect(&modell_, &AppModell::verlaufGeaendert, this, &VerlaufSeite::fuelle);
    connect(&modell_, &AppModell::zurueckgelegt, this, [this](const QString&, int zahl, const QStringList& fehler) {
        meldung_->setText(QStringLiteral("%1 zurückgelegt.").arg(qs(anzahl(zahl, "Teil", "Teile"))) +
                          (fehler.isEmpty() ? QString() : QStringLiteral(" Nicht zurück: ") + fehler.join(QStringLiteral("; "))));
        design::faerbe(meldung_, fehler.isEmpty() ? "gruen" : "orange");
        meldung_->show();
    });
    design::beiFarbwechsel(this, [this] { fuelle(); });
    fuelle();
}

void VerlaufSeite::fuelle() {
    const int vorher = runden_->currentRow();
    runden_->clear();
    const auto jetzt = std::chrono::system_clock::now();
    for (const auto& r : modell_.verlauf()) {
        auto* item = new QListWidgetItem(qs(r.titel) + (r.probelauf ? QStringLiteral(" (Probelauf)") : QString()));
        const QDateTime wann = QDateTime::fromSecsSinceEpoch(
            std::chrono::duration_cast<std::chrono::seconds>(r.datum.time_since_epoch()).count());
        const auto fehler = static_cast<int64_t>(r.fehlerAnzahl());
        item->setData(design::ListenZeile::unterzeilenRolle,
                      QStringList{qs(anzeige::vorWann(r.datum, jetzt)) + QStringLiteral(" · ") +
                                      wann.toString(QStringLiteral("dd.MM.yyyy, HH:mm")),
                                  QStringLiteral("%1 · %2%3")
                                      .arg(r.probelauf ? QStringLiteral("nichts entfernt")
                                                       : design::bytes(r.gewonnen()) + QStringLiteral(" gewonnen"),
                                           qs(anzahl(static_cast<int64_t>(r.posten.size()), "Teil", "Teile")),
                                           fehler > 0 ? QStringLiteral(" · %1 nicht entfernt").arg(fehler)
                                                      : QString())});
        item->setIcon(design::symbol(fehler > 0 ? "exclamationmark.circle" : "leaf.fill",
                                     design::farbe(fehler > 0 ? "orange" : "gruen")));
        runden_->addItem(item);
    }
    stapel_->setCurrentIndex(modell_.verlauf().empty() ? 0 : 1);
    if (runden_->count() > 0) runden_->setCurrentRow(std::clamp(vorher, 0, runden_->count() - 1));
}

void VerlaufSeite::rundeZeigen(int zeile) {
    posten_->setRowCount(0);
    if (zeile < 0 || zeile >= static_cast<int>(modell_.verlauf().size())) return;
    const Runde& r = modell_.verlauf()[static_cast<size_t>(zeile)];
    // expected is what left the disk for good; the Trash frees nothing until it is emptied
    QString korb;
    if (r.imPapierkorbBytes() > 0)
        korb += QStringLiteral(" %1 liegen im Papierkorb, frei erst nach dem Leeren.").arg(design::bytes(r.imPapierkorbBytes()));
    if (r.zurueckgelegtBytes() > 0)
        korb += QStringLiteral(" %1 zurückgelegt.").arg(design::bytes(r.zurueckgelegtBytes()));
    rundenKopf_->setText(
        r.probelauf ? QStringLiteral("<b>%1</b><br>Probelauf: nichts wurde entfernt. Frei würden %2.")
                          .arg(qs(r.titel).toHtmlEscaped(), design::bytes(r.erwartetFrei()))
                    : QStringLiteral("<b>%1</b><br>Vorher %2 frei, nachher %3: <b>%4 gewonnen</b>, gemessen. "
                                     "Erwartet waren %5.%6")
                          .arg(qs(r.titel).toHtmlEscaped(), design::bytes(r.freiVorher), design::bytes(r.freiNachher),
                               design::bytes(r.gewonnen()), design::bytes(r.erwartetFrei()), korb));
    rueckgaengig_->setEnabled(r.kannRueckgaengig());
    for (const auto& p : r.posten) {
        const int z = posten_->rowCount();
        posten_->insertRow(z);
        auto* was = new QTableWidgetItem(qs(anzeige::kurzpfad(p.pfad, home_)));
        was->setToolTip(qs(p.pfad));
        posten_->setItem(z, 0, was);
        posten_->setItem(z, 1, rechts(design::bytes(p.bytes)));
        posten_->setItem(z, 2, new QTableWidgetItem(p.art == Entsorgung::loeschen          ? QStringLiteral("gelöscht")
                                                    : p.art == Entsorgung::deinstallieren ? QStringLiteral("deinstalliert")
                                                                                          : QStringLiteral("Papierkorb")));
        QString ergebnis = p.fehler          ? qs(*p.fehler)
                           : p.zurueckgelegt ? QStringLiteral("zurückgelegt")
                           : r.probelauf     ? QStringLiteral("Probelauf")
                                             : QStringLiteral("erledigt");
        auto* e = new QTableWidgetItem(ergebnis);
        e->setToolTip(ergebnis);
        if (p.fehler) e->setForeground(design::farbe("orange"));
        posten_->setItem(z, 3, e);
    }
}

}  // namespace hainbrem
