#include "app/modell/einstellungen.hpp"

#include <cmath>

#include "kern/ueberlauf.hpp"

namespace hainbrem {

namespace {
const QString menueleisteSchluessel = QStringLiteral("menueleiste");
const QString grenzeSchluessel = QStringLiteral("warnGrenzeGB");
const QString erscheinungSchluessel = QStringLiteral("erscheinung");
const QString kiAdresseSchluessel = QStringLiteral("kiAdresse");
const QString kiModellSchluessel = QStringLiteral("kiModell");
}  // namespace

Einstellungen::Einstellungen(const QString& datei, QObject* eltern)
    : QObject(eltern),
      speicher_(datei.isEmpty() ? std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                                              QStringLiteral("hainbrem.de"), QStringLiteral("Hainbrem"))
                                : std::make_unique<QSettings>(datei, QSettings::IniFormat)) {}

bool Einstellungen::menueleiste() const {
    const QVariant v = speicher_->value(menueleisteSchluessel);
    return !v.isValid() || alsFlag(v.toString());
}

std::optional<double> Einstellungen::gespeicherteGrenze() const {
    const QVariant v = speicher_->value(grenzeSchluessel);
    // a flag is no number, though Qt would read true as 1
    if (!v.isValid() || v.typeId() == QMetaType::Bool) return std::nullopt;
    bool ok = false;
    const double gb = v.toDouble(&ok);
    if (!ok || std::isnan(gb)) return std::nullopt;
    return gb;
}

double Einstellungen::warnGrenzeGB() const { return gespeicherteGrenze().value_or(standardWarnGrenzeGB); }

QString Einstellungen::erscheinung() const {
    return speicher_->value(erscheinungSchluessel, QStringLiteral("system")).toString();
}

int64_t Einstellungen::warnGrenze() const {
    const auto gb = gespeicherteGrenze();
    if (!gb) return 10'000'000'000;
    const double bytes = *gb * 1e9;
    // 2^63 is exactly representable as a double; everything from there on is not an int64_t
    if (!std::isfinite(bytes) || bytes >= 9223372036854775808.0 || bytes < -9223372036854775808.0)
        ueberlauf("warnGrenzeGB");
    return static_cast<int64_t>(bytes);
}

void Einstellungen::setzeMenueleiste(bool an) {
    if (speicher_->contains(menueleisteSchluessel) && menueleiste() == an) return;
    speicher_->setValue(menueleisteSchluessel, an);
    emit menueleisteGeaendert();
}

void Einstellungen::setzeWarnGrenzeGB(double gb) {
    if (gespeicherteGrenze() == gb) return;
    speicher_->setValue(grenzeSchluessel, gb);
    emit warnGrenzeGBGeaendert();
}

void Einstellungen::setzeErscheinung(const QString& art) {
    if (speicher_->contains(erscheinungSchluessel) && erscheinung() == art) return;
    speicher_->setValue(erscheinungSchluessel, art);
    emit erscheinungGeaendert();
}

QString Einstellungen::kiAdresse() const {
    const QString a = speicher_->value(kiAdresseSchluessel).toString().trimmed();
    return a.isEmpty() ? QString::fromLatin1(standardKiAdresse) : a;
}

QString Einstellungen::kiModell() const { return speicher_->value(kiModellSchluessel).toString().trimmed(); }

void Einstellungen::setzeKiAdresse(const QString& adresse) {
    if (speicher_->contains(kiAdresseSchluessel) && kiAdresse() == adresse.trimmed()) return;
    speicher_->setValue(kiAdresseSchluessel, adresse.trimmed());
    emit kiAdresseGeaendert();
}

void Einstellungen::setzeKiModell(const QString& modell) {
    if (speicher_->contains(kiModellSchluessel) && kiModell() == modell.trimmed()) return;
    speicher_->setValue(kiModellSchluessel, modell.trimmed());
    emit kiModellGeaendert();
}

bool Einstellungen::alsFlag(const QString& wert) {
    const QString w = wert.trimmed().toLower();
    return w == QLatin1String("yes") || w == QLatin1String("true") || w == QLatin1String("1");
}

Einstellungen::Startwerte Einstellungen::startwerte(const QStringList& argumente) const {
    auto wert = [&](const QString& schluessel) -> std::optional<QString> {
        const qsizetype i = argumente.indexOf(QLatin1Char('-') + schluessel);
        if (i >= 0 && i + 1 < argumente.size()) return argumente[i + 1];
        const QVariant v = speicher_->value(schluessel);
        if (v.isValid()) return v.toString();
        return std::nullopt;
    };
    auto flag = [&](const char* schluessel) {
        const auto w = wert(QLatin1String(schluessel));
        return w && alsFlag(*w);
    };
    Startwerte s;
    s.testlauf = flag("testlauf");
    if (const auto w = wert(QStringLiteral("seite"))) s.seite = seiteAus(w->toStdString());
    s.scan = flag("scan");
    s.pruefen = flag("pruefen");
    s.duplikate = flag("duplikate");
    return s;
}

}  // namespace hainbrem
