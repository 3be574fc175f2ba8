#pragma once
// Pictures of the application for its documentation: every page, the sheet, the result bar,
// the settings window and the panel, taken once everything has been found. Started by
// hainbrem-fotograf with "-fotos ORDNER"; quits when done. Never part of the shipped application:
// it confirms real rounds on its own.
#include <QString>

namespace hainbrem {

class AppModell;
class Hauptfenster;
class EinstellungenAnsicht;
class MenueleistenAnsicht;

void fotografieren(AppModell& modell, Hauptfenster& fenster, EinstellungenAnsicht& einstellungen,
                   MenueleistenAnsicht& panel, const QString& ordner);

}  // namespace hainbrem
