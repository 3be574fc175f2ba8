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
#include "kern/rechnen.hpp"

namespace hainbrem {

using design::qs;

namespace {

// The volumes of the disk as rings: the outer ring the whole disk split by volume, the free
// part last; the inner disc the share that is really free.
class PlattenRinge : public QWidget {
public:
    explicit PlattenRinge(AppModell& modell, QWidget* eltern = nullptr) : QWidget(eltern), modell_(modell) {
        setMinimumSize(200, 200);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }
    QSize sizeHint() const override { return {220, 220}; }
    static QColor farbeFuer(size_t i) {
        static const char* namen[] = {"blau", "lila", "orange", "rot", "gruen"};
        return design::farbe(namen[i % 5]);
    }
    // what no volume accounts for, between the volumes and the free part
    static QColor andereFarbe() { return design::farbe("grau"); }
    static QColor freiFarbe() { return design::spur(); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const double r = std::min(width(), height()) / 2.0 - 6;
        const QPointF m(width() / 2.0, height() / 2.0);
        const auto& platte = modell_.platte();
        const auto& stand = modell_.stand();
        struct Teil {
            int64_t bytes;
            QColor farbe;
        };
        std::vector<Teil> teile;
        int64_t gesamt = 0;
        if (platte && platte->gesamt > 0) {
            gesamt = platte->gesamt;
            for (size_t i = 0; i < platte->volumes.size(); ++i) teile.push_back({platte->volumes[i].bytes, farbeFuer(i)});
            teile.push_back({anzeige::ohneVolume(*platte), andereFarbe()});
        } else if (stand.gesamt > 0) {
            gesamt = stand.gesamt;
            teile.push_back({stand.belegt(), farbeFuer(0)});
        }
        const QColor leer = freiFarbe();
        p.setPen(QPen(leer, 18, Qt::SolidLine, Qt::FlatCap));
        const QRectF aussen(m.x() - r + 9, m.y() - r + 9, 2 * r - 18, 2 * r - 18);
        p.drawArc(aussen, 0, 360 * 16);
        int start = 90 * 16;
        for (const auto& t : teile) {
            if (gesamt <= 0) break;
            const int span = -static_cast<int>(std::lround(360.0 * 16 * static_cast<double>(t.bytes) /
                                                           static_cast<double>(gesamt)));
            p.setPen(QPen(t.farbe, 18, Qt::SolidLine, Qt::FlatCap));
            p.drawArc(aussen, start, span);
            start += span;
        }
        // inner ring: really free
        const double anteil = stand.gesamt > 0 ? std::clamp(stand.anteilFrei(), 0.0, 1.0) : 0.0;
        const QRectF innen(m.x() - r + 40, m.y() - r + 40, 2 * r - 80, 2 * r - 80);
        p.setPen(QPen(leer, 10, Qt::SolidLine, Qt::RoundCap));
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
    ringe_->setAccessibleName(QStringLiteral("Volumes der Platte"));
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
                                   .arg(qs(alsBytes(modell_.warnGrenze()))));
            design::faerbe(lage_, "orange");
            break;
        case Plattenstand::Lage::kritisch:
            lage_->setText(QStringLiteral("Kritisch"));
            lageText_->setText(
                QStringLiteral("Unter 2 GB wirklich frei: Programme können bald abstürzen. Gib sofort Platz frei."));
            design::faerbe(lage_, "rot");
            break;
    }
    const QString zeile = QStringLiteral("<tr><td style='padding-right:18px'>%1</td><td align='right'><b>%2</b></td></tr>");
    zahlen_->setText(QStringLiteral("<table>") + zeile.arg(QStringLiteral("Gesamt"), qs(alsBytes(s.gesamt))) +
                     zeile.arg(QStringLiteral("Wirklich frei"), qs(alsBytes(s.echtFrei))) +
                     zeile.arg(QStringLiteral("Verfügbar laut Dateimanager"), qs(alsBytes(s.mitLoeschbarem))) +
                     QStringLiteral("</table>"));
    QString vol;
    if (const auto& p = modell_.platte()) {
        for (size_t i = 0; i < p->volumes.size(); ++i) {
            const auto& v = p->volumes[i];
            vol += QStringLiteral("<span style='color:%1'>●</span> %2 <b>%3</b><br>")
                       .arg(PlattenRinge::farbeFuer(i).name(), qs(v.titel()).toHtmlEscaped(), qs(alsBytes(v.bytes)));
        }
        if (const int64_t rest = anzeige::ohneVolume(*p); rest > 0)
            vol += QStringLiteral("<span style='color:%1'>●</span> Andere Bereiche der Platte <b>%2</b><br>")
                       .arg(PlattenRinge::andereFarbe().name(), qs(alsBytes(rest)));
        vol += QStringLiteral("<span style='color:%1'>●</span> Frei <b>%2</b>")
                   .arg(PlattenRinge::freiFarbe().name(), qs(alsBytes(p->frei)));
    }
    volumes_->setText(vol);
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
                     qs(anzahl(static_cast<int64_t>(zahl), "Fund", "Funde")), qs(alsBytes(alles)),
                     qs(alsBytes(anzeige::summe(gewaehlt)))));
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
                .arg(qs(alsBytes(anzeige::summe(sicher)))));
}

}  // namespace hainbrem
