#pragma once
// What hainbrem-app does from its arguments to its end, so that a tool can start the very same
// application with one step more (the pictures of the documentation).
#include <QString>
#include <QStringList>
#include <functional>

namespace hainbrem {

class AppModell;
class Hauptfenster;
class EinstellungenAnsicht;
class MenueleistenSymbol;

// The running application's parts, once its window is shown.
struct Anwendung {
    AppModell& modell;
    Hauptfenster& fenster;
    EinstellungenAnsicht& einstellungen;
    MenueleistenSymbol& menueleiste;
};

// The launch setting "-NAME WERT" among the arguments; empty without it.
QString startwert(const QStringList& argumente, const QString& name);

// Runs the application to its end and returns its exit status; `gezeigt`, if given, runs once the
// window is shown.
int starteAnwendung(int argc, char** argv, const std::function<void(Anwendung&)>& gezeigt = {});

}  // namespace hainbrem
