// How long the model's event loop stalls while the heavy finders run, and how much memory the
// process holds with a scan of the whole disk. A 5 ms timer probes the loop: every tick later
// than due is a stall of that length.
//   modell_last [--nur-scan] [--home DIR]   (reads only; settings and history go to a temp folder)
#include <sys/resource.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "app/modell/appmodell.hpp"
#include "plattform/plattform.hpp"

int main(int argc, char** argv) {
    using namespace hainbrem;
    QCoreApplication app(argc, argv);
    bool nurScan = false;
    std::filesystem::path home = plattform::heimOrdner();
    const QStringList a = QCoreApplication::arguments();
    for (qsizetype i = 1; i < a.size(); ++i) {
        if (a[i] == QLatin1String("--nur-scan"))
            nurScan = true;
        else if (a[i] == QLatin1String("--home") && i + 1 < a.size())
            home = a[++i].toStdString();
    }
    char muster[] = "/tmp/modell-last-XXXXXX";
    if (!::mkdtemp(muster)) return 1;
    const std::filesystem::path ablage = muster;

    Umfeld u;
    u.home = home;
    u.verlaufDatei = ablage / "verlauf.json";
    u.einstellungsDatei = QString::fromStdString((ablage / "einstellungen.ini").native());
    u.argumente = QStringList{};
    u.melden = [](const plattform::Benachrichtigung&) {};
    AppModell m(u);

    constexpr qint64 takt = 5'000'000;  // ns
    QElapsedTimer uhr;
    uhr.start();
    qint64 zuletzt = 0, laengste = 0;
    QTimer probe;
    probe.setTimerType(Qt::PreciseTimer);
    probe.setInterval(5);
    QObject::connect(&probe, &QTimer::timeout, [&] {
        const qint64 jetzt = uhr.nsecsElapsed();
        laengste = std::max(laengste, jetzt - zuletzt - takt);
        zuletzt = jetzt;
    });
    QTimer fertig;
    fertig.setInterval(50);
    QObject::connect(&fertig, &QTimer::timeout, [&] {
        if (!m.katalogLaeuft() && !m.scanLaeuft() && !m.duplikateLaeuft()) QCoreApplication::quit();
    });
    QTimer::singleShot(0, [&] {
        zuletzt = uhr.nsecsElapsed();
        probe.start();
        fertig.start();
        if (!nurScan) m.pruefen();
        m.tiefenscan();                     // the whole start disk
        if (!nurScan) m.duplikateSuchen();  // waits for that scan, then groups its candidates
    });
    QCoreApplication::exec();

    rusage r{};
    ::getrusage(RUSAGE_SELF, &r);
    std::printf("Dauer %.1f s; längste Blockade der Ereignisschleife %.1f ms; Höchststand %ld MiB\n",
                static_cast<double>(uhr.nsecsElapsed()) / 1e9, static_cast<double>(laengste) / 1e6, r.ru_maxrss / 1024);
    std::printf("Scan: %lld Dateien, %lld große, %lld Kandidaten; Katalog %zu Regeln; %zu Duplikatgruppen\n",
                static_cast<long long>(m.scanDateien()), static_cast<long long>(m.scan() ? m.scan()->grosse.size() : 0),
                static_cast<long long>(m.scan() ? m.scan()->kandidaten.size() : 0), m.katalog().size(),
                m.duplikate().size());
    std::filesystem::remove_all(ablage);
    return 0;
}
