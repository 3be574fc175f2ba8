// The tricks page (iCloud & System on a Mac, the system's data on Linux) and the history of rounds.
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
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"

namespace hainbrem {

using design::qs;

namespace {

QTableWidget* tabelle(const QStringList& spalten) {
    auto* t = new QTableWidget(0, static_cast<int>(spalten.size()));
    t->setHorizontalHeaderLabels(spalten);
    t->verticalHeader()->hide();
    t->setEditTriggers(QAbstractItemView::NoEditTriggers);
    t->setSelectionBehavior(QAbstractItemView::SelectRows);
    t->setShowGrid(false);
    t->setAlternatingRowColors(true);
    t->setWordWrap(true);
    t->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    t->horizontalHeader()->setStretchLastSection(true);
    return t;
}

QTableWidgetItem* rechts(const QString& text) {
    auto* i = new QTableWidgetItem(text);
    i->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return i;
}

// A table as tall as its rows, each with some air; measured again when its width changes,
// since wrapped explanations then take more or fewer lines.
void hoeheNachZeilen(QTableWidget* t) {
    t->resizeRowsToContents();
    int h = t->horizontalHeader()->sizeHint().height() + 2 * t->frameWidth() + 2;
    for (int z = 0; z < t->rowCount(); ++z) {
        t->setRowHeight(z, t->rowHeight(z) + 8);
        h += t->rowHeight(z);
    }
    t->setFixedHeight(std::max(h, t->horizontalHeader()->sizeHint().height() + 30));
}

struct BreitenWache : QObject {
    using QObject::QObject;
    bool eventFilter(QObject* o, QEvent* e) override {
        if (e->type() == QEvent::Resize) {
            const auto* r = static_cast<QResizeEvent*>(e);
            // after the table itself has laid out its columns for the new width
            if (r->size().width() != r->oldSize().width())
                QMetaObject::invokeMethod(
                    o, [t = static_cast<QTableWidget*>(o)] { hoeheNachZeilen(t); }, Qt::QueuedConnection);
        }
        return false;
    }
};

QString wann(std::optional<Zeitpunkt> t) { return qs(anzeige::vorWann(t, std::chrono::system_clock::now())); }

}  // namespace

// ---- iCloud & System

TricksSeite::TricksSeite(AppModell& modell, QWidget* eltern) : QWidget(eltern), modell_(modell) {
    const TricksTexte texte = modell_.tricksTexte();
    auto* l = new QVBoxLayout(this);
    l->setContentsMargins(28, 22, 28, 18);
    auto* kopf = new Seitenkopf(qs(titel(Seite::tricks, modell_.profil())), qs(texte.unterzeile));
    auto* neu = design::knopf(QStringLiteral("Neu messen"));
    connect(neu, &QPushButton::clicked, &modell_, &AppModell::tricksLaden);
    kopf->knoepfe()->addWidget(neu);
    l->addWidget(kopf);

    auto* rolle = new QScrollArea;
    rolle->setWidgetResizable(true);
    rolle->setFrameShape(QFrame::NoFrame);
    auto* inhalt = new QWidget;
    auto* il = new QVBoxLayout(inhalt);
    il->setContentsMargins(0, 0, 8, 0);
    il->setSpacing(10);
    rolle->setWidget(inhalt);

    // a part of the page in its own box, so that a profile without it can leave it out whole
    auto teil = [&](bool sichtbar) {
        auto* w = new QWidget;
        auto* tl = new QVBoxLayout(w);
        tl->setContentsMargins(0, 0, 0, 0);
        tl->setSpacing(10);
        w->setVisible(sichtbar);
        il->addWidget(w);
        return tl;
    };
    auto abschnitt = [&](QVBoxLayout* ziel, const char* symbol, const QString& titel, const QString& text) {
        auto* k = new QHBoxLayout;
        k->addWidget(new design::Symbol(symbol, "gruen", 22));
        k->addWidget(design::ueberschrift(titel, 14), 1);
        ziel->addSpacing(6);
        ziel->addLayout(k);
        ziel->addWidget(design::leise(text));
    };
    QVBoxLayout* cl = teil(texte.mitCloud);
    abschnitt(cl, "icloud", QStringLiteral("Cloud-Dateien, die ganz auf dieser Platte liegen"),
              QStringLiteral("Auslagern behält sie in der Cloud und gibt den Platz hier frei; geöffnet werden sie "
                             "wieder geladen. Nichts wird gelöscht."));
    optimieren_ = new QLabel;
    cl->addWidget(optimieren_);
    icloud_ = tabelle({QStringLiteral("Ordner"), QStringLiteral("Größe"), QStringLiteral("Zuletzt geöffnet"), {}});
    cl->addWidget(icloud_);
    meldung_ = new QLabel;
    meldung_->setWordWrap(true);
    meldung_->hide();
    cl->addWidget(meldung_);
    QVBoxLayout* sl = teil(texte.mitSchnappschuessen);
    abschnitt(sl, "externaldrive.badge.timemachine", QStringLiteral("Lokale Schnappschüsse"),
              QStringLiteral("Sicherungen der letzten Stunden, die auf der Platte warten, bis die Sicherungsplatte "
                             "wieder da ist. Das System gibt ihren Platz frei, wenn er gebraucht wird."));
    schnappschuesse_ = tabelle({QStringLiteral("Schnappschuss"), QStringLiteral("Von")});
    sl->addWidget(schnappschuesse_);
    abschnitt(il, "cpu", QStringLiteral("Systemdaten aufgeschlüsselt"),
              QStringLiteral("Was in dem undurchsichtigen Block steckt, soweit es sich messen lässt."));
    system_ = tabelle({QStringLiteral("Was"), QStringLiteral("Größe"), QStringLiteral("Erklärung")});
    il->addWidget(system_);
    if (!texte.hinweis.empty()) il->addWidget(design::leise(qs(texte.hinweis)));
    il->addStretch();
    for (QTableWidget* t : {icloud_, schnappschuesse_, system_}) t->installEventFilter(new BreitenWache(t));

    zustaende_ = new Zustaende({texte.symbol.c_str(), QStringLiteral("Noch nicht gemessen"), qs(texte.leer),
                                QStringLiteral("Jetzt messen"), [this] { modell_.tricksLaden(); }},
                               [this] { modell_.anhalten(AppModell::Arbeit::tricks); }, rolle);
    l->addWidget(zustaende_, 1);

    for (auto s : {&AppModell::icloudGeaendert, &AppModell::optimierenGeaendert, &AppModell::schnappschuesseGeaendert,
                   &AppModell::systemdatenGeaendert, &AppModell::tricksLaeuftGeaendert})
        connect(&modell_, s, this, &TricksSeite::fuelle);
    connect(&modell_, &AppModell::ausgelagert, this, [this](const QString& ordner, const QString& fehler) {
        meldung_->setText(fehler.isEmpty() ? QStringLiteral("„%1“ liegt jetzt nur noch in der Cloud.").arg(ordner)
                                           : QStringLiteral("„%1“: %2").arg(ordner, fehler));
        design::faerbe(meldung_, fehler.isEmpty() ? "gruen" : "orange");
        meldung_->show();
    });
    design::beiFarbwechsel(this, [this] { fuelle(); });
    fuelle();
}

void TricksSeite::fuelle() {
    zustaende_->zeige(modell_.tricksLaeuft(), !modell_.systemdaten().empty(), !modell_.systemdaten().empty(), -1,
                      qs(modell_.tricksTexte().laeuft));
    const auto& o = modell_.optimieren();
    optimieren_->setText(!o   ? QStringLiteral("„Speicher optimieren“: nicht bekannt.")
                         : *o ? QStringLiteral("„Speicher optimieren“ ist an: Das System lagert selbst aus, wenn es eng wird.")
                              : QStringLiteral("„Speicher optimieren“ ist aus: Alles bleibt hier, bis du auslagerst."));
    icloud_->setRowCount(0);
    for (const auto& ordner : modell_.icloud()) {
        const int z = icloud_->rowCount();
        icloud_->insertRow(z);
        icloud_->setItem(z, 0, new QTableWidgetItem(design::zeilenSymbol("icloud", design::akzent()), qs(ordner.name)));
        icloud_->setItem(z, 1, rechts(design::bytes(ordner.bytes)));
        icloud_->setItem(z, 2, new QTableWidgetItem(wann(ordner.zuletztGeoeffnet)));
        auto* k = design::knopf(QStringLiteral("Auslagern"));
        connect(k, &QPushButton::clicked, this, [this, ordner] { modell_.auslagern(ordner); });
        icloud_->setCellWidget(z, 3, k);
    }
    if (modell_.icloud().empty()) {
        icloud_->insertRow(0);
        icloud_->setItem(0, 0, new QTableWidgetItem(QStringLiteral("Keine Cloud-Ordner liegen ganz hier.")));
    }
    hoeheNachZeilen(icloud_);
    schnappschuesse_->setRowCount(0);
    for (const auto& s : modell_.schnappschuesse()) {
        const int z = schnappschuesse_->rowCount();
        schnappschuesse_->insertRow(z);
        schnappschuesse_->setItem(z, 0, new QTableWidgetItem(qs(s.name)));
        schnappschuesse_->setItem(z, 1, new QTableWidgetItem(wann(s.datum)));
    }
    if (modell_.schnappschuesse().empty()) {
        schnappschuesse_->insertRow(0);
        schnappschuesse_->setItem(0, 0, new QTableWidgetItem(QStringLiteral("Keine lokalen Schnappschüsse.")));
    }
    hoeheNachZeilen(schnappschuesse_);
    system_->setRowCount(0);
    for (const auto& p : modell_.systemdaten()) {
        const int z = system_->rowCount();
        system_->insertRow(z);
        system_->setItem(z, 0, new QTableWidgetItem(qs(p.titel)));
        system_->setItem(z, 1, rechts(p.bytes ? design::bytes(*p.bytes) : QStringLiteral("nicht messbar")));
        // what frees it is said, never done: Hainbrem runs none of these commands
        // the command in one piece on its own line; the tooltip holds it as typed
        auto* text = new QTableWidgetItem(
            p.befehl ? QStringLiteral("%1\nBefehl: %2").arg(design::fliesstext(p.erklaerung),
                                                             qs(anzeige::befehlAmStueck(*p.befehl)))
                     : design::fliesstext(p.erklaerung));
        if (p.befehl) text->setToolTip(qs(*p.befehl));
        system_->setItem(z, 2, text);
    }
    hoeheNachZeilen(system_);
}

// ---- history

VerlaufSeite::VerlaufSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern)
    : QWidget(eltern), modell_(modell), home_(home) {
    auto* l = new QVBoxLayout(this);
    l->setContentsMargins(28, 22, 28, 18);
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
