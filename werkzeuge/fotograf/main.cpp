// hainbrem-fotograf -fotos ORDNER [EINSTELLUNG WERT …]: hainbrem-app, which takes its pictures
// into ORDNER once everything has been found, and quits.
#include <QApplication>
#include <cstdio>
#include <string_view>

#include "app/fenster/menueleiste.hpp"
#include "app/start.hpp"
#include "fotograf.hpp"

int main(int argc, char** argv) {
    using namespace hainbrem;
    bool mitOrdner = false;
    for (int i = 1; i + 1 < argc; ++i) mitOrdner = mitOrdner || std::string_view(argv[i]) == "-fotos";
    if (!mitOrdner) {
        std::fprintf(stderr, "hainbrem-fotograf: Wohin mit den Bildern? Aufruf: hainbrem-fotograf -fotos ORDNER\n");
        return 2;
    }
    return starteAnwendung(argc, argv, [](Anwendung& a) {
        fotografieren(a.modell, a.fenster, a.einstellungen, *a.menueleiste.ansicht(),
                      startwert(QApplication::arguments(), QStringLiteral("fotos")));
    });
}
