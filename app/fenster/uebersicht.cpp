// The overview: the disk's state and volumes, the check, the emergency card and a question for
// the assistant.
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <chrono>
#include <cmath>

#include "app/fenster/anzeige.hpp"
#include "app/fenster/design.hpp"
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"
#include "kern/ueberlauf.hpp"

namespace hainbrem {

using design::qs;

namespace {

// The colour of a part of the disk, the same in the ring and in the legend: volumes by their
// place, what the file systems keep in greys, the free space in pale green.
QColor teilFarbe(const Plattenbild& bild, size_t i) {
    static const char* volumeFarben[] = {"blau", "lila", "orange", "rot", "gruen"};
    const QColor grau = design::farbe("grau");
    switch (bild.teile[i].art) {
        case Plattenteil::Art::volume: {
            size_t nummer = 0;
            for (size_t k = 0; k < i; ++k) nummer += bild.teile[k].art == Plattenteil::Art::volume;
            return design::farbe(volumeFarben[nummer % 5]);
        }
        case Plattenteil::Art::reserviert: return grau;
        case Plattenteil::Art::verwaltung: return design::istDunkel() ? grau.darker(130) : grau.lighter(130);
        case Plattenteil::Art::rest: return design::istDunkel() ? grau.lighter(125) : grau.darker(125);
        case Plattenteil::Art::frei: return design::frei();
        case Plattenteil::Art::freiAnderswo: return design::istDunkel() ? design::frei().darker(140) : design::frei().lighter(108);
    }
    return grau;
}

// The disk as rings: the outer ring the whole disk split into its parts, the free part last;
// the inner ring the share that is really free.
class PlattenRinge : public QWidget {
public:
    explicit PlattenRinge(AppModell& modell, QWidget* eltern = nullptr) : QWidget(eltern), modell_(modell) {
        setMinimumSize(200, 200);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }
    QSize sizeHint() const override { return {220, 220}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const double r = std::min(width(), height()) / 2.0 - 6;
        const QPointF m(width() / 2.0, height() / 2.0);
        const Plattenbild bild = plattenbild(modell_.stand(), modell_.platte());
        p.setPen(QPen(design::spur(), 18, Qt::SolidLine, Qt::FlatCap));
        const QRectF aussen(m.x() - r + 9, m.y() - r + 9, 2 * r - 18, 2 * r - 18);
        p.drawArc(aussen, 0, 360 * 16);
        int start = 90 * 16;
        for (size_t i = 0; i < bild.teile.size() && bild.gesamt > 0; ++i) {
            const int span = -static_cast<int>(std::lround(360.0 * 16 * static_cast<double>(bild.teile[i].bytes) /
                                                           static_cast<double>(bild.gesamt)));
            p.setPen(QPen(teilFarbe(bild, i), 18, Qt::SolidLine, Qt::FlatCap));
            p.drawArc(aussen, start, span);
            start += span;
        }
        // inner ring: really free, of the same whole
        const double anteil = std::clamp(bild.anteilFrei(), 0.0, 1.0);
        const QRectF innen(m.x() - r + 40, m.y() - r + 40, 2 * r - 80, 2 * r - 80);
        p.setPen(QPen(design::spur(), 10, Qt::SolidLine, Qt::RoundCap));
        p.drawArc(innen, 0, 360 * 16);
        p.setPen(QPen(design::akzent(), 10, Qt::SolidLine, Qt::RoundCap));
        p.drawArc(innen, 90 * 16, -static_cast<int>(std::lround(anteil * 360 * 16)));
        p.setPen(palette().color(QPalette::WindowText));
        QFont f = font();
        f.setPointSize(15);
        f.setBold(true);
        p.setFont(f);
        p.drawText(QRectF(innen.x(), m.y() - 26, innen.width(), 26), Qt::AlignHCenter | Qt::AlignBottom,
                   QStringLiteral("%1 %").arg(qRound(anteil * 100)));
        f.setPointSize(font().pointSize());
        f.setBold(false);
        p.setFont(f);
        p.setPen(palette().color(QPalette::PlaceholderText));
        p.drawText(QRectF(innen.x(), m.y() + 2, innen.width(), 22), Qt::AlignHCenter | Qt::AlignTop,
                   QStringLiteral("wirklich frei"));
    }

private:
    AppModell& modell_;
};

}  // namespace

UebersichtSeite::UebersichtSeite(AppModell& modell, QWidget* eltern) : QWidget(eltern), modell_(modell) {
    auto* aussen = new QVBoxLayout(this);
    aussen->setContentsMargins(0, 0, 0, 0);
    auto* rolle = new QScrollArea;
    rolle->setWidgetResizable(true);
    rolle->setFrameShape(QFrame::NoFrame);
    aussen->addWidget(rolle);
    auto* inhalt = new QWidget;
    rolle->setWidget(inhalt);
    auto* l = new QVBoxLayout(inhalt);
    l->setContentsMargins(28, 22, 28, 22);
    l->setSpacing(16);
    l->addWidget(new Seitenkopf(QStringLiteral("Übersicht"),
                                QStringLiteral("Wie es um deine Platte steht und was sich mit einem Klick tun lässt.")));

    // the disk
    auto* platte = design::karte();
    auto* pl = new QHBoxLayout;
    design::karteLayout(platte)->addLayout(pl);
    auto* links = new QVBoxLayout;
    links->setSpacing(6);
    lage_ = design::ueberschrift({}, 24);
    lageText_ = design::leise({});
    zahlen_ = new QLabel;
    zahlen_->setTextFormat(Qt::RichText);
    volumes_ = new QLabel;
    volumes_->setTextFormat(Qt::RichText);
    volumes_->setWordWrap(true);
    links->addWidget(lage_);
    links->addWidget(lageText_);
    links->addSpacing(8);
    links->addWidget(zahlen_);
    links->addSpacing(8);
    links->addWidget(volumes_);
    links->addStretch();
    pl->addLayout(links, 1);
    ringe_ = new PlattenRinge(modell_);
    pl->addWidget(ringe_, 0, Qt::AlignTop);
    l->addWidget(platte);

    // the check
    auto* pruef = design::karte();
    pruefKarte_ = pruef;
    auto* pk = design::karteLayout(pruef);
    auto* pz = new QHBoxLayout;
    pz->addWidget(new design::Symbol("checklist", "gruen", 32), 0, Qt::AlignTop);
    auto* ptexte = new QVBoxLayout;
    ptexte->addWidget(design::ueberschrift(QStringLiteral("Was kann weg?"), 14));
    pruefText_ = design::leise({});
    ptexte->addWidget(pruefText_);
    pruefBalken_ = new QProgressBar;
    pruefBalken_->setRange(0, 1000);
    pruefBalken_->setTextVisible(false);
    ptexte->addWidget(pruefBalken_);
    pz->addLayout(ptexte, 1);
    pruefKnopf_ = design::knopf({}, design::Rolle::haupt);
    pruefKnopf_->setMinimumWidth(150);
    connect(pruefKnopf_, &QPushButton::clicked, this, [this] {
        if (modell_.katalogGeprueft())
            modell_.setzeSeite(Seite::aufraeumen);
        else
            modell_.pruefen();
    });
    pz->addWidget(pruefKnopf_, 0, Qt::AlignVCenter);
    pk->addLayout(pz);
    l->addWidget(pruef);

    // emergency and assistant side by side
    auto* reihe = new QHBoxLayout;
    reihe->setSpacing(16);
    auto* not_ = design::karte();
    notfall_ = not_;
    auto* nl = design::karteLayout(not_);
    auto* nkopf = new QHBoxLayout;
    nkopf->addWidget(new design::Symbol("exclamationmark.triangle.fill", "orange", 26));
    nkopf->addWidget(design::ueberschrift(QStringLiteral("Platz in Not"), 14), 1);
    nl->addLayout(nkopf);
    notfallText_ = design::leise({});
    nl->addWidget(notfallText_);
    notfallKnopf_ = design::knopf(QStringLiteral("Sichere Caches freigeben"), design::Rolle::warnung);
    connect(notfallKnopf_, &QPushButton::clicked, &modell_, &AppModell::notfall);
    nl->addStretch();
    nl->addWidget(notfallKnopf_, 0, Qt::AlignLeft);
    reihe->addWidget(not_, 1);

    auto* frage = design::karte();
    auto* fl = design::karteLayout(frage);
    auto* fkopf = new QHBoxLayout;
    fkopf->addWidget(new design::Symbol("sparkles", "lila", 26));
    fkopf->addWidget(design::ueberschrift(QStringLiteral("Warum ist meine Platte so voll?"), 14), 1);
    fl->addLayout(fkopf);
    fl->addWidget(design::leise(QStringLiteral(
        "Der Assistent sieht sich die Platte an und erklärt dir in Ruhe, wo der Platz geblieben ist.")));
    auto* fknopf = design::knopf(QStringLiteral("Assistent fragen"));
    connect(fknopf, &QPushButton::clicked, this,
            [this] { modell_.frageStellen("Warum ist meine Platte so voll?"); });
    fl->addStretch();
    fl->addWidget(fknopf, 0, Qt::AlignLeft);
    reihe->addWidget(frage, 1);
    l->addLayout(reihe);
    l->addStretch();

    for (auto signal : {&AppModell::standGeaendert, &AppModell::platteGeaendert, &AppModell::katalogGeaendert,
                        &AppModell::katalogLaeuftGeaendert, &AppModell::katalogFortschrittGeaendert,
                        &AppModell::katalogGeprueftGeaendert, &AppModell::auswahlGeaendert})
        connect(&modell_, signal, this, &UebersichtSeite::aktualisiere);
    connect(&modell_.einstellungen(), &Einstellungen::warnGrenzeGBGeaendert, this, &UebersichtSeite::aktualisiere);
    design::beiFarbwechsel(this, [this] { aktualisiere(); });  // the volumes' coloured dots
    aktualisiere();
}

void UebersichtSeite::aktualisiere() {
    const Plattenstand& s = modell_.stand();
    const auto lage = s.lage(modell_.warnGrenze());
    switch (lage) {
        case Plattenstand::Lage::gut:
            lage_->setText(QStringLiteral("Alles gut"));
            lageText_->setText(QStringLiteral("Es ist genug Platz frei. Hainbrem passt weiter auf."));
            design::faerbe(lage_, "gruen");
            break;
        case Plattenstand::Lage::knapp:
            lage_->setText(QStringLiteral("Wird knapp"));
            lageText_->setText(QStringLiteral("Weniger als %1 wirklich frei. Ein Blick ins Aufräumen lohnt sich.")
                                   .arg(design::bytes(modell_.warnGrenze())));
            design::faerbe(lage_, "orange");
            break;
        case Plattenstand::Lage::kritisch:
            lage_->setText(QStringLiteral("Kritisch"));
            lageText_->setText(
                QStringLiteral("Unter 2 GB wirklich frei: Programme können bald abstürzen. Gib sofort Platz frei."));
            design::faerbe(lage_, "rot");
            break;
    }
    // one picture, so every figure of the card agrees: the parts add up to "Gesamt", "Frei" is
    // "Wirklich frei"
    const Plattenbild bild = plattenbild(s, modell_.platte());
    const QString zeile = QStringLiteral("<tr><td style='padding-right:18px'>%1</td><td align='right'><b>%2</b></td></tr>");
    QString zahlen = QStringLiteral("<table>") + zeile.arg(QStringLiteral("Gesamt"), design::bytes(bild.gesamt)) +
                     zeile.arg(QStringLiteral("Wirklich frei"), design::bytes(bild.echtFrei));
    // only where the system frees space by itself does the file manager show more
    if (bild.mitLoeschbarem > bild.echtFrei)
        zahlen += zeile.arg(QStringLiteral("Verfügbar laut Dateimanager"), design::bytes(bild.mitLoeschbarem));
    zahlen_->setText(zahlen + QStringLiteral("</table>"));
    QString vol;
    if (modell_.platte()) {
        if (!bild.name.empty()) vol += QStringLiteral("<p><b>%1</b></p>").arg(qs(bild.name).toHtmlEscaped());
        vol += QStringLiteral("<table cellspacing='0' cellpadding='1'>");
        for (size_t i = 0; i < bild.teile.size(); ++i) {
            const auto& t = bild.teile[i];
            QString text = QStringLiteral("%1 <b>%2</b>").arg(qs(t.titel).toHtmlEscaped(), design::bytes(t.bytes));
            // what is neither files nor free is said in words, right under its figure
            if (t.art != Plattenteil::Art::volume && t.art != Plattenteil::Art::frei && !t.erklaerung.empty())
                text += QStringLiteral("<br><span style='color:%1'>%2</span>")
                            .arg(design::farbe("grau").name(), design::fliesstext(t.erklaerung).toHtmlEscaped());
            vol += QStringLiteral("<tr><td valign='top' style='padding-right:5px; color:%1'>●</td><td>%2</td></tr>")
                       .arg(teilFarbe(bild, i).name(), text);
        }
        vol += QStringLiteral("</table>");
    }
    volumes_->setText(vol);
    ringe_->setAccessibleName(bild.name.empty() ? QStringLiteral("Volumes der Platte")
                                                : QStringLiteral("Volumes von %1").arg(qs(bild.name)));
    ringe_->update();

    // the check
    const bool laeuft = modell_.katalogLaeuft();
    pruefBalken_->setVisible(laeuft);
    pruefBalken_->setValue(static_cast<int>(modell_.katalogFortschritt() * 1000));
    pruefKnopf_->setEnabled(!laeuft);
    if (laeuft) {
        pruefText_->setText(QStringLiteral("Hainbrem sieht an 21 Orten nach, wo sich Caches, Protokolle und Reste sammeln …"));
        pruefKnopf_->setText(QStringLiteral("Prüft …"));
    } else if (!modell_.katalogGeprueft()) {
        pruefText_->setText(QStringLiteral(
            "Noch nicht geprüft. Hainbrem kennt 21 Orte, an denen sich Caches, Protokolle, Installer und "
            "Entwicklerreste sammeln, und erklärt jeden Fund, bevor etwas weggeht."));
        pruefKnopf_->setText(QStringLiteral("Jetzt prüfen"));
    } else {
        size_t zahl = 0;
        int64_t alles = 0;
        for (const auto& e : modell_.katalog()) {
            zahl += e.funde.size();
            alles = addiere(alles, e.bytes());
        }
        const auto gewaehlt = modell_.katalogAusgewaehlt();
        pruefText_->setText(
            QStringLiteral("Geprüft %1: %2 mit %3. Ausgewählt sind %4.")
                .arg(qs(anzeige::vorWann(modell_.katalogGeprueft(), std::chrono::system_clock::now())),
                     qs(anzahl(static_cast<int64_t>(zahl), "Fund", "Funde")), design::bytes(alles),
                     design::bytes(anzeige::summe(gewaehlt))));
        pruefKnopf_->setText(QStringLiteral("Zum Aufräumen"));
    }
    // the card always checks afresh first; once a check found nothing safe it says so, like the panel
    const auto sicher = modell_.katalogSicher();
    const bool nichtsSicheres = modell_.katalogGeprueft() && sicher.empty();
    notfallKnopf_->setEnabled(!laeuft);
    notfallKnopf_->setText(nichtsSicheres ? QStringLiteral("Noch einmal prüfen") : QStringLiteral("Sichere Caches freigeben"));
    design::setzeRolle(notfallKnopf_, nichtsSicheres ? design::Rolle::normal : design::Rolle::warnung);
    if (!modell_.katalogGeprueft())
        notfallText_->setText(QStringLiteral("Prüft sofort und gibt die Caches frei, die sich von selbst neu bilden. Du "
                                             "bestätigst vorher, was weggeht."));
    else if (nichtsSicheres)
        notfallText_->setText(
            QStringLiteral("Gerade liegen keine sicheren Caches herum (geprüft %1). Sie bilden sich mit der Zeit neu; "
                           "ein Klick prüft noch einmal.")
                .arg(qs(anzeige::vorWann(modell_.katalogGeprueft(), std::chrono::system_clock::now()))));
    else
        notfallText_->setText(
            QStringLiteral("Caches, die sich von selbst neu bilden, sofort freigeben: zurzeit %1. Du bestätigst vorher.")
                .arg(design::bytes(anzeige::summe(sicher))));
}

}  // namespace hainbrem
