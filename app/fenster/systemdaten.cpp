// The page of what no deletion reaches: iCloud & System on a Mac, the system's data on Linux.
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

namespace {

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

}  // namespace

TricksSeite::TricksSeite(AppModell& modell, QWidget* eltern) : QWidget(eltern), modell_(modell) {
    const TricksTexte texte = modell_.tricksTexte();
    auto* l = seitenbau::seitenLayout(this);
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
        icloud_->setItem(z, 2, new QTableWidgetItem(wannText(ordner.zuletztGeoeffnet)));
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
        schnappschuesse_->setItem(z, 1, new QTableWidgetItem(wannText(s.datum)));
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

}  // namespace hainbrem
