// The cleanup page: one card per rule with findings, each finding ticked through the model's
// selection, the rule's checkbox ticking or unticking all of them.
#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>

#include "app/fenster/anzeige.hpp"
#include "app/fenster/design.hpp"
#include "app/fenster/seitenbau.hpp"
#include "app/fenster/fundliste.hpp"
#include "app/fenster/seiten.hpp"
#include "app/modell/appmodell.hpp"
#include "kern/format.hpp"
#include "kern/ueberlauf.hpp"

namespace hainbrem {

using design::qs;

namespace {

QString risikoFarbe(Risiko r) {
    switch (r) {
        case Risiko::sicher:
            return design::flaeche("gruen").name();
        case Risiko::pruefen:
            return design::flaeche("orange").name();
        case Risiko::vorsicht:
            return design::flaeche("rot").name();
    }
    return {};
}

// A table as tall as its rows (up to a limit), so cards stack without a scroll bar in each.
void hoeheNachZeilen(FundTabelle* t, int zeilen) {
    const int h = t->horizontalHeader()->sizeHint().height() +
                  std::min(zeilen, 6) * t->verticalHeader()->defaultSectionSize() + 2 * t->frameWidth() + 2;
    t->setFixedHeight(h);
}

class RegelKarte : public design::Karte {
public:
    RegelKarte(AppModell& modell, const RegelErgebnis& e, const std::filesystem::path& home)
        : modell_(modell), funde_(e.funde) {
        auto* l = new QVBoxLayout(this);
        l->setContentsMargins(14, 12, 14, 12);
        auto* kopf = new QHBoxLayout;
        gruppe_ = new QCheckBox;
        gruppe_->setToolTip(QStringLiteral("Alle Funde dieser Regel an- oder abwählen"));
        gruppe_->setAccessibleName(qs(e.regel.titel));
        connect(gruppe_, &QCheckBox::clicked, this, [this] {
            const bool alle = anzeige::gewaehlte(funde_, modell_.auswahl()).size() == funde_.size();
            modell_.waehle(funde_, !alle);
        });
        gruppe_->setEnabled(!funde_.empty());
        kopf->addWidget(gruppe_);
        kopf->addWidget(new design::Symbol(e.regel.symbol, "text", 22));
        kopf->addWidget(design::ueberschrift(qs(e.regel.titel), 13), 1);
        auto* risiko = new QLabel(qs(name(e.regel.risiko)));
        risiko->setStyleSheet(QStringLiteral("color: white; background: %1; border-radius: 8px; padding: 1px 8px;")
                                  .arg(risikoFarbe(e.regel.risiko)));
        risiko->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        kopf->addWidget(risiko, 0, Qt::AlignVCenter);
        auto* bytes = new QLabel(QStringLiteral("<b>%1</b>").arg(design::bytes(e.bytes())));
        bytes->setToolTip(qs(anzahl(static_cast<int64_t>(e.funde.size()), "Fund", "Funde")));
        bytes->setMinimumWidth(80);
        bytes->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        kopf->addWidget(bytes);
        l->addLayout(kopf);
        const QString text = QStringLiteral("<b>Was es ist:</b> %1<br><b>Warum es gehen darf:</b> %2<br>"
                                            "<b>Was danach passiert:</b> %3")
                                 .arg(qs(e.regel.was).toHtmlEscaped(), qs(e.regel.warumSicher).toHtmlEscaped(),
                                      qs(e.regel.danach).toHtmlEscaped());
        auto* texte = design::leise(text);
        texte->setTextFormat(Qt::RichText);
        l->addWidget(texte);
        if (!e.funde.empty()) {
            auto* liste = new FundListe(modell_, home, this);
            liste->setzeHinweis([](const Fund& f) {
                // the title names the thing (a game's shader cache); the owner only says whose it is
                return f.titel ? qs(*f.titel) : f.besitzer ? qs(*f.besitzer) : QString();
            });
            liste->setzeFunde(e.funde);
            auto* t = new FundTabelle(modell_, liste);
            hoeheNachZeilen(t, static_cast<int>(e.funde.size()));
            l->addWidget(t);
        }
        if (!e.uebersprungen.empty()) {
            auto* hinweis = new QLabel(QStringLiteral("Gehört zu laufenden Programmen und bleibt liegen:"));
            design::faerbe(hinweis, "orange");
            l->addWidget(hinweis);
            auto* liste = new FundListe(modell_, home, this);
            liste->setzeWaehlbar([](const Fund&) { return false; });
            liste->setzeHinweis([](const Fund& f) {
                return f.besitzer ? QStringLiteral("%1 läuft").arg(qs(*f.besitzer)) : QString();
            });
            liste->setzeFunde(e.uebersprungen);
            auto* t = new FundTabelle(modell_, liste);
            hoeheNachZeilen(t, static_cast<int>(e.uebersprungen.size()));
            l->addWidget(t);
        }
        connect(&modell_, &AppModell::auswahlGeaendert, this, [this] { stand(); });
        stand();
    }

    void stand() {
        const size_t n = anzeige::gewaehlte(funde_, modell_.auswahl()).size();
        gruppe_->setCheckState(n == 0 ? Qt::Unchecked : n == funde_.size() ? Qt::Checked : Qt::PartiallyChecked);
    }

private:
    AppModell& modell_;
    std::vector<Fund> funde_;
    QCheckBox* gruppe_;
};

}  // namespace

AufraeumenSeite::AufraeumenSeite(AppModell& modell, const std::filesystem::path& home, QWidget* eltern)
    : QWidget(eltern), modell_(modell), home_(home) {
    auto* l = seitenbau::seitenLayout(this);
    kopf_ = new Seitenkopf(QStringLiteral("Aufräumen"), {});
    auto* neu = design::knopf(QStringLiteral("Neu prüfen"));
    connect(neu, &QPushButton::clicked, &modell_, &AppModell::pruefen);
    kopf_->knoepfe()->addWidget(neu);
    l->addWidget(kopf_);

    auto* inhalt = new QWidget;
    auto* il = new QVBoxLayout(inhalt);
    il->setContentsMargins(0, 0, 0, 0);
    auto* rolle = new QScrollArea;
    rolle->setWidgetResizable(true);
    rolle->setFrameShape(QFrame::NoFrame);
    auto* kartenFlaeche = new QWidget;
    karten_ = new QVBoxLayout(kartenFlaeche);
    karten_->setContentsMargins(0, 0, 8, 0);
    karten_->setSpacing(12);
    rolle->setWidget(kartenFlaeche);
    il->addWidget(rolle, 1);
    leiste_ = new AuswahlLeiste(
        modell_, QStringLiteral("Aufräumen …"), [this] { return modell_.katalogAusgewaehlt(); },
        [] { return std::string("Aufräumen"); });
    il->addWidget(leiste_);

    zustaende_ = new Zustaende(
        {"leaf", QStringLiteral("Noch nicht geprüft"),
         QStringLiteral("Hainbrem sieht an 21 Orten nach, wo sich Caches, Protokolle, Installer und Entwicklerreste "
                        "sammeln. Nichts geht weg, bevor du es bestätigst."),
         QStringLiteral("Jetzt prüfen"), [this] { modell_.pruefen(); },
         QStringLiteral("Nichts zum Aufräumen"),
         QStringLiteral("An keinem der 21 Orte liegt gerade etwas, das weg kann. Hainbrem passt weiter auf."),
         QStringLiteral("Noch einmal prüfen")},
        [this] { modell_.anhalten(AppModell::Arbeit::katalog); }, inhalt);
    l->addWidget(zustaende_, 1);

    connect(&modell_, &AppModell::katalogGeaendert, this, &AufraeumenSeite::baue);
    for (auto s : {&AppModell::katalogLaeuftGeaendert, &AppModell::katalogFortschrittGeaendert,
                   &AppModell::katalogGeprueftGeaendert})
        connect(&modell_, s, this, &AufraeumenSeite::status);
    baue();
}

void AufraeumenSeite::baue() {
    while (QLayoutItem* i = karten_->takeAt(0)) {
        delete i->widget();
        delete i;
    }
    int64_t alles = 0;
    size_t zahl = 0;
    for (const auto& e : modell_.katalog()) {
        if (e.funde.empty() && e.uebersprungen.empty()) continue;
        karten_->addWidget(new RegelKarte(modell_, e, home_));
        alles = addiere(alles, e.bytes());
        zahl += e.funde.size();
    }
    karten_->addStretch();
    // counts only once there are findings: before the first check "0 Funde" would be no answer
    kopf_->setzeUnter(zahl > 0 ? QStringLiteral("%1 mit %2. Vorgewählt ist, was sich gefahrlos von selbst neu bildet.")
                                     .arg(qs(anzahl(static_cast<int64_t>(zahl), "Fund", "Funde")), design::bytes(alles))
                               : QStringLiteral("Was an 21 Orten liegt und weg kann. Vorgewählt ist, was sich gefahrlos "
                                                "von selbst neu bildet."));
    leiste_->aktualisiere();
    status();
}

void AufraeumenSeite::status() {
    const auto& k = modell_.katalog();
    const bool etwas =
        std::any_of(k.begin(), k.end(), [](const auto& e) { return !e.funde.empty() || !e.uebersprungen.empty(); });
    zustaende_->zeige(modell_.katalogLaeuft(), modell_.katalogGeprueft().has_value(), etwas,
                      modell_.katalogFortschritt(), QStringLiteral("Prüft 21 Orte …"));
}

}  // namespace hainbrem
