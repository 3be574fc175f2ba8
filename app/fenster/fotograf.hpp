#pragma once
// Pictures of the application for its documentation: every page, the sheet, the result bar,
// the settings window and the panel, taken once everything has been found. Started by the
// launch option "-fotos ORDNER"; quits when done.
#include <QString>

namespace hainbrem {

class AppModell;
class Hauptfenster;
class EinstellungenAnsicht;
class MenueleistenAnsicht;

void fotografieren(AppModell& modell, Hauptfenster& fenster, EinstellungenAnsicht& einstellungen,
                   MenueleistenAnsicht& panel, const QString& ordner);

}  // namespace hainbrem
