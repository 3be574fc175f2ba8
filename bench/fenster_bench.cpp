// The windows: start to the first painted main window, painting the year rings of a real scan
// of "/", and sorting 100,000 large-file findings.
//   fenster_bench [--benchmark_filter=…]   (QT_QPA_PLATFORM=offscreen unless a display is wanted)
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "app/fenster/fundliste.hpp"
#include "app/fenster/hauptfenster.hpp"
#include "app/fenster/ringansicht.hpp"
#include "app/modell/appmodell.hpp"

namespace fs = std::filesystem;
using namespace hainbrem;

namespace {

// A fresh home below /tmp with its own settings and history; nothing of the real home is used.
struct Probehome {
    fs::path wurzel;
    Probehome() {
        std::string muster = "/tmp/hainbrem-bench-XXXXXX";
        if (!::mkdtemp(muster.data())) std::abort();
        wurzel = muster;
        for (const char* o : {"home/Library/Caches/com.example.a", "home/Documents", "home/Downloads", "temp"})
            fs::create_directories(wurzel / o);
    }
    ~Probehome() {
        std::error_code e;
        fs::remove_all(wurzel, e);
    }
    Umfeld umfeld() const {
        Umfeld u;
        u.home = wurzel / "home";
        u.temp = wurzel / "temp";
        u.verlaufDatei = wurzel / "verlauf.json";
        u.einstellungsDatei = QString::fromStdString((wurzel / "einstellungen.ini").native());
        u.argumente = QStringList{};
        return u;
    }
};

// Counts paint events of any widget of the window.
class Maler : public QObject {
public:
    bool gemalt = false;
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) gemalt = true;
        return false;
    }
};

void StartBisGemaltesFenster(benchmark::State& state) {
    Probehome h;
    for (auto _ : state) {
        QElapsedTimer uhr;
        uhr.start();
        AppModell modell(h.umfeld());
        Hauptfenster fenster(modell, h.umfeld().home);
        Maler maler;
        fenster.installEventFilter(&maler);
        fenster.centralWidget()->installEventFilter(&maler);
        fenster.resize(1240, 820);
        fenster.show();
        while (!maler.gemalt) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        state.SetIterationTime(static_cast<double>(uhr.nsecsElapsed()) / 1e9);
    }
}
BENCHMARK(StartBisGemaltesFenster)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

void RingeDerPlatteMalen(benchmark::State& state) {
    static const TiefenscanErgebnis scan = [] {
        return Tiefenscan::scanneGanzePlatte("/root", true);
    }();
    Jahresringe ringe;
    ringe.resize(720, 720);
    ringe.setzeMitte(scan.wurzel);
    QImage bild(720, 720, QImage::Format_ARGB32_Premultiplied);
    size_t segmente = 0;
    for (auto _ : state) {
        bild.fill(Qt::white);
        ringe.render(&bild);
        segmente = jahresringe::segmente(*scan.wurzel, ringe.ebenen()).size();
    }
    state.counters["segmente"] = static_cast<double>(segmente);
    state.counters["dateien"] = static_cast<double>(scan.wurzel->dateien);
}
BENCHMARK(RingeDerPlatteMalen)->Unit(benchmark::kMillisecond);

void HunderttausendFundeSortieren(benchmark::State& state) {
    Probehome h;
    AppModell modell(h.umfeld());
    std::mt19937_64 zufall(42);
    std::vector<Fund> funde;
    for (int i = 0; i < 100'000; ++i) {
        Fund f;
        f.url = "/home/anna/Daten/Ordner" + std::to_string(zufall() % 500) + "/Datei-" + std::to_string(zufall()) +
                ".mov";
        f.bytes = 50'000'000 + static_cast<int64_t>(zufall() % 5'000'000'000ULL);
        f.datum = Zeitpunkt{std::chrono::seconds(1'600'000'000 + static_cast<int64_t>(zufall() % 100'000'000))};
        funde.push_back(std::move(f));
    }
    FundListe liste(modell, "/home/anna");
    liste.setzeFunde(std::move(funde));
    const int spalte = static_cast<int>(state.range(0));
    Qt::SortOrder ordnung = Qt::AscendingOrder;
    for (auto _ : state) {
        liste.sort(spalte, ordnung);
        ordnung = ordnung == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    }
}
BENCHMARK(HunderttausendFundeSortieren)
    ->Arg(FundListe::groesse)
    ->Arg(FundListe::name)
    ->Arg(FundListe::alter)
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
