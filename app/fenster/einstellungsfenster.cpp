#include "app/fenster/einstellungsfenster.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QSlider>
#include <QVBoxLayout>
#include <cmath>

#include "app/fenster/design.hpp"
#include "app/modell/einstellungen.hpp"
#include "plattform/anwendung.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem {

EinstellungenAnsicht::EinstellungenAnsicht(Einstellungen& einstellungen, Anmeldung anmeldung, QWidget* eltern)
    : QWidget(eltern, Qt::Window), einstellungen_(einstellungen), anmeldung_(std::move(anmeldung)) {
    if (!anmeldung_.setzen) anmeldung_.setzen = [](bool an) { return plattform::Anmeldung::setzen(an); };
    if (!anmeldung_.istAn) anmeldung_.istAn = [] { return plattform::Anmeldung::istAn(); };
    setWindowTitle(QStringLiteral("Einstellungen"));
    setAutoFillBackground(true);
    setMinimumWidth(480);
    auto* l = new QVBoxLayout(this);
    l->setContentsMargins(24, 20, 24, 20);
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight);
    form->setVerticalSpacing(12);

    erscheinung_ = new QComboBox;
    erscheinung_->addItem(QStringLiteral("Wie das System"), QStringLiteral("system"));
    erscheinung_->addItem(QStringLiteral("Hell"), QStringLiteral("hell"));
    erscheinung_->addItem(QStringLiteral("Dunkel"), QStringLiteral("dunkel"));
    form->addRow(QStringLiteral("Erscheinungsbild"), erscheinung_);

    // a Mac has a menu bar; Linux desktops show such symbols in the panel's notification area
    menueleiste_ = new QCheckBox(plattform::istMacOS ? QStringLiteral("Wächter in der Menüleiste")
                                                     : QStringLiteral("Wächter als Symbol im Infobereich"));
    form->addRow(QString(), menueleiste_);
    anmelden_ = new QCheckBox(QStringLiteral("Beim Anmelden starten"));
    form->addRow(QString(), anmelden_);
    anmeldeFehler_ = new QLabel;
    design::faerbe(anmeldeFehler_, "orange");
    anmeldeFehler_->hide();
    form->addRow(QString(), anmeldeFehler_);

    grenze_ = new QSlider(Qt::Horizontal);
    grenze_->setRange(2, 40);
    grenze_->setSingleStep(1);
    grenze_->setPageStep(1);
    grenze_->setTickPosition(QSlider::TicksBelow);
    grenze_->setTickInterval(2);
    grenzeText_ = new QLabel;
    form->addRow(grenzeText_, grenze_);
    l->addLayout(form);
    l->addSpacing(8);
    l->addWidget(design::leise(QString::fromUtf8(fussnote)));
    l->addStretch();

    lesen();
    connect(erscheinung_, &QComboBox::currentIndexChanged, this,
            [this] { einstellungen_.setzeErscheinung(erscheinung_->currentData().toString()); });
    connect(menueleiste_, &QCheckBox::toggled, &einstellungen_, &Einstellungen::setzeMenueleiste);
    connect(anmelden_, &QCheckBox::toggled, this, [this](bool an) {
        const bool ok = anmeldung_.setzen(an);
        anmeldeFehler_->setVisible(!ok);
        if (ok) return;
        anmeldeFehler_->setText(an ? QStringLiteral("Konnte Hainbrem nicht für die Anmeldung eintragen.")
                                   : QStringLiteral("Konnte den Eintrag für die Anmeldung nicht entfernen."));
        const QSignalBlocker stumm(anmelden_);
        anmelden_->setChecked(anmeldung_.istAn());
    });
    connect(grenze_, &QSlider::valueChanged, this, [this](int gb) {
        grenzeText_->setText(QStringLiteral("Warnen unter %1 GB").arg(gb));
        einstellungen_.setzeWarnGrenzeGB(gb);
    });
    for (auto s : {&Einstellungen::erscheinungGeaendert, &Einstellungen::menueleisteGeaendert,
                   &Einstellungen::warnGrenzeGBGeaendert})
        connect(&einstellungen_, s, this, &EinstellungenAnsicht::lesen);
}

void EinstellungenAnsicht::lesen() {
    const QSignalBlocker a(erscheinung_), b(menueleiste_), c(anmelden_), d(grenze_);
    const int i = erscheinung_->findData(einstellungen_.erscheinung());
    erscheinung_->setCurrentIndex(i < 0 ? 0 : i);
    menueleiste_->setChecked(einstellungen_.menueleiste());
    anmelden_->setChecked(anmeldung_.istAn());
    const int gb = static_cast<int>(std::clamp(std::lround(einstellungen_.warnGrenzeGB()), 2L, 40L));
    grenze_->setValue(gb);
    grenzeText_->setText(QStringLiteral("Warnen unter %1 GB").arg(gb));
}

}  // namespace hainbrem
