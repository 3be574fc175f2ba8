// hainbrem-app from its arguments to its end: one model, the main window, the watcher in the menu
// bar and the settings.
#include "app/start.hpp"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "app/assistent/seite/assistentseite.hpp"
#include "app/fenster/design.hpp"
#include "app/fenster/einstellungsfenster.hpp"
#include "app/fenster/hauptfenster.hpp"
#include "app/fenster/menueleiste.hpp"
#include "app/modell/appmodell.hpp"
#include "app/modell/typen.hpp"
#include "kern/heim.hpp"
#include "plattform/plattform.hpp"

namespace {

void hilfeZeigen() {
    std::string seiten;
    for (const hainbrem::Seite s : hainbrem::alleSeiten) (seiten += seiten.empty() ? "" : ", ") += hainbrem::id(s);
    std::printf(
        "Hainbrem – schafft Platz auf deiner Platte. Die Anwendung mit Fenster; alles geht auch mit dem Befehl "
        "„hainbrem“.\n"
        "Aufruf: hainbrem-app [EINSTELLUNG WERT …]\n"
        "\n"
        "Einstellungen beim Start:\n"
        "  -pruefen YES                Gleich prüfen, was weg kann\n"
        "  -scan YES                   Gleich die ganze Platte scannen\n"
        "  -duplikate YES              Gleich doppelte Dateien suchen\n"
        "  -seite ID                   Mit dieser Seite beginnen: %s\n"
        "  -testlauf YES               Jede Runde nur zum Schein: aufgezeichnet, aber nichts entfernt\n"
        "  -nurHome YES                Der Scan misst nur den Home-Ordner\n"
        "  -h,--help,--hilfe           Diese Hilfe zeigen\n",
        seiten.c_str());
}

}  // namespace

namespace hainbrem {

QString startwert(const QStringList& argumente, const QString& name) {
    const qsizetype i = argumente.indexOf(QLatin1Char('-') + name);
    return i >= 0 && i + 1 < argumente.size() ? argumente[i + 1] : QString();
}

int starteAnwendung(int argc, char** argv, const std::function<void(Anwendung&)>& gezeigt) {
    // before Qt: help is no reason to open a window, and without a display Qt aborts in English
    for (int i = 1; i < argc; ++i) {
        const std::string_view a = argv[i];
        if (a == "-h" || a == "--help" || a == "--hilfe" || a == "-hilfe") {
            hilfeZeigen();
            return 0;
        }
    }
    const auto gesetzt = [](const char* name) {
        const char* wert = std::getenv(name);
        return wert && *wert;
    };
    const bool plattformGewaehlt = std::any_of(argv + 1, argv + argc, [](const char* a) {
        return std::string_view(a) == "-platform";
    });
    if (!gesetzt("DISPLAY") && !gesetzt("WAYLAND_DISPLAY") && !gesetzt("QT_QPA_PLATFORM") && !plattformGewaehlt) {
        std::fprintf(stderr,
                     "hainbrem-app: Keine grafische Sitzung gefunden (weder DISPLAY noch WAYLAND_DISPLAY ist gesetzt). "
                     "Die Anwendung braucht einen Bildschirm; ohne ihn geht alles mit dem Befehl „hainbrem“ (hainbrem "
                     "--help).\n");
        return 1;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Hainbrem"));
    QApplication::setOrganizationDomain(QStringLiteral("hainbrem.de"));
    QApplication::setDesktopFileName(QStringLiteral("de.hainbrem.Hainbrem"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/hainbrem.svg")));
    // Qt's own texts (context menus of text fields, standard buttons) in German like the rest;
    // without the translations installed they stay English
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    QTranslator qtTexte;
    if (qtTexte.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                     QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&qtTexte);

    const QStringList argumente = QApplication::arguments();
    auto wert = [&](const QString& schluessel) { return startwert(argumente, schluessel); };
    Umfeld umfeld;
    auto heim = heimOrdner();
    if (!heim) {
        std::fprintf(stderr, "hainbrem-app: %s\n", heim.error().c_str());
        return 2;
    }
    umfeld.home = std::move(*heim);
    // "-nurHome YES": the scan measures only the home folder (pictures of a sample home)
    umfeld.ganzePlatte = !Einstellungen::alsFlag(wert(QStringLiteral("nurHome")));
    AppModell modell(umfeld);

    design::erscheinungAnwenden(app, modell.einstellungen().erscheinung());
    QObject::connect(&modell.einstellungen(), &Einstellungen::erscheinungGeaendert, &app,
                     [&] { design::erscheinungAnwenden(app, modell.einstellungen().erscheinung()); });

    Hauptfenster fenster(modell, umfeld.home, new AssistentSeite(modell));
    EinstellungenAnsicht einstellungen(modell.einstellungen());
    MenueleistenSymbol menueleiste(modell);
    QObject::connect(&fenster, &Hauptfenster::einstellungenGewuenscht, &einstellungen, [&] {
        einstellungen.show();
        einstellungen.raise();
        einstellungen.activateWindow();
    });
    QObject::connect(&menueleiste, &MenueleistenSymbol::oeffnen, &fenster, &Hauptfenster::zeigen);
    // while the watcher sits in the menu bar, closing the window leaves it watching
    auto schliessenBeendet = [&] {
        QApplication::setQuitOnLastWindowClosed(!(menueleiste.sichtbar() && QSystemTrayIcon::isSystemTrayAvailable()));
    };
    QObject::connect(&modell.einstellungen(), &Einstellungen::menueleisteGeaendert, &app, schliessenBeendet);
    schliessenBeendet();

    fenster.resize(1240, 820);
    fenster.show();
    if (gezeigt) {
        Anwendung teile{modell, fenster, einstellungen, menueleiste};
        gezeigt(teile);
    }
    const int ende = QApplication::exec();
    modell.beenden();
    return ende;
}

}  // namespace hainbrem
