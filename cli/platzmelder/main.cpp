// hainbrem-waechter: the application's free-space watcher in the foreground, started by
// `hainbrem waechter`. Prints every reading that differs from the one before and notifies
// through the session D-Bus; ends cleanly on SIGINT and SIGTERM.
#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <algorithm>
#include <charconv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "app/modell/einstellungen.hpp"
#include "app/modell/platzmelder.hpp"
#include "basis/zeichen.hpp"
#include "kern/format.hpp"
#include "kern/heim.hpp"
#include "kern/verlauf.hpp"
#include "plattform/plattform.hpp"

namespace {

int signalRohr[2] = {-1, -1};

void beiSignal(int) {
    const char c = 1;
    [[maybe_unused]] const auto n = ::write(signalRohr[1], &c, 1);
}

constexpr const char* hilfe =
    "Der Wächter ohne Fenster: liest alle 20 Sekunden den wirklich freien Platz, zeigt jede Änderung und meldet\n"
    "knappen Platz als Benachrichtigung (bis Strg-C). Gestartet wird er meist von „hainbrem waechter“.\n"
    "Aufruf: hainbrem-waechter [OPTIONEN]\n"
    "\n"
    "Optionen:\n"
    "  -h,--help,--hilfe           Diese Hilfe zeigen\n"
    "  --json                      Eine JSON-Zeile je Messung auf stdout\n"
    "  --grenze GB                 Warnen unter so vielen GB (sonst die Einstellung warnGrenzeGB, 10 GB)\n";

int falsch(const std::string& text) {
    std::fprintf(stderr, "hainbrem: %s\nMehr dazu: hainbrem-waechter --help\n", hainbrem::sichtbar(text).c_str());
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace hainbrem;
    std::setlocale(LC_ALL, "");  // byte figures in the user's notation
    bool json = false;
    std::optional<double> grenzeGB;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "-h" || a == "--help" || a == "--hilfe") {
            std::fputs(hilfe, stdout);
            return 0;
        }
        if (a == "--json") {
            json = true;
        } else if (a == "--grenze") {
            if (i + 1 >= argc) return falsch("Bei --grenze fehlt der Wert: GB.");
            std::string wert = argv[++i];
            std::replace(wert.begin(), wert.end(), ',', '.');
            double gb = 0;
            const char* ende = wert.data() + wert.size();
            const auto [bis, fehler] = std::from_chars(wert.data(), ende, gb);
            if (wert.empty() || fehler != std::errc() || bis != ende || !(gb >= 0 && gb <= 1e6))
                return falsch(std::string("Ungültiger Wert für --grenze: „") + argv[i] +
                              "“ – erlaubt sind Zahlen von 0 bis 1.000.000 (GB).");
            grenzeGB = gb;
        } else {
            return falsch(a.starts_with('-') ? "Die Option „" + a + "“ gibt es bei hainbrem-waechter nicht."
                                             : "„" + a + "“ ist zu viel: hainbrem-waechter nimmt keine weitere Angabe.");
        }
    }
    QCoreApplication app(argc, argv);

    // SIGINT/SIGTERM end the event loop through a pipe: the handler itself does nothing else
    if (::pipe2(signalRohr, O_CLOEXEC | O_NONBLOCK) != 0) return 1;
    QSocketNotifier signale(signalRohr[0], QSocketNotifier::Read);
    QObject::connect(&signale, &QSocketNotifier::activated, &app, [] { QCoreApplication::quit(); });
    struct sigaction sa {};
    sa.sa_handler = beiSignal;
    ::sigemptyset(&sa.sa_mask);
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);

    const Einstellungen einstellungen;
    // --grenze wins over the setting "warnGrenzeGB"
    const auto grenze = [&] { return grenzeGB ? static_cast<int64_t>(*grenzeGB * 1e9) : einstellungen.warnGrenze(); };
    auto heim = heimOrdner();
    if (!heim) {
        std::fprintf(stderr, "hainbrem: %s\n", heim.error().c_str());
        return 2;
    }
    Platzmelder melder(Platzmelder::Teile{
        .home = *heim,
        .takt = std::chrono::milliseconds(20'000),
        .wecker = nullptr,
        .lesen = nullptr,
        .vollzugriff = nullptr,
        .melden = nullptr,
        .warnGrenze = grenze,
    });
    std::optional<Plattenstand> gezeigt;
    QObject::connect(&melder, &Platzmelder::gelesen, [&](const Plattenstand& s) {
        if (gezeigt == s) return;
        gezeigt = s;
        const std::string zeit =
            isoZeit(std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now()));
        const std::string lage(name(s.lage(grenze())));
        if (json) {
            const nlohmann::ordered_json j{{"zeit", zeit},
                                           {"gesamt", s.gesamt},
                                           {"echtFrei", s.echtFrei},
                                           {"mitLoeschbarem", s.mitLoeschbarem},
                                           {"lage", lage}};
            std::printf("%s\n", j.dump().c_str());
        } else {
            std::printf("%s  wirklich frei %s von %s – %s\n", zeit.c_str(), alsBytes(s.echtFrei).c_str(),
                        alsBytes(s.gesamt).c_str(), lage.c_str());
        }
        std::fflush(stdout);
    });
    melder.anfangen();
    melder.beobachten();
    const int status = QCoreApplication::exec();
    melder.anhalten();
    return status;
}
