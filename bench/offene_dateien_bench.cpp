// What the open-files check costs a round: 500 processes hold files open, a round removes 50
// cache folders (100 or 500 files of 8 KiB each).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "kern/entsorger.hpp"
#include "kern/offene_dateien.hpp"

namespace {

namespace fs = std::filesystem;

constexpr int prozessAnzahl = 500;
constexpr int postenAnzahl = 50;

// A fresh folder with home, temp and a folder of files the child processes hold open; the
// children are started once and live as long as the program.
struct Welt {
    fs::path wurzel;
    std::vector<pid_t> kinder;

    Welt() {
        std::string muster = (fs::temp_directory_path() / "hainbrem-bench-XXXXXX").native();
        wurzel = ::mkdtemp(muster.data());
        fs::create_directories(wurzel / "home/.cache");
        fs::create_directories(wurzel / "tmp");
        fs::create_directories(wurzel / "gehalten");
        for (int i = 0; i < prozessAnzahl; ++i) {
            const fs::path datei = wurzel / "gehalten" / std::to_string(i);
            std::ofstream(datei) << i;
            const pid_t p = ::fork();
            if (p == 0) {
                ::open(datei.c_str(), O_RDONLY);
                ::pause();
                ::_exit(0);
            }
            if (p > 0) kinder.push_back(p);
        }
    }
    ~Welt() {
        for (pid_t p : kinder) ::kill(p, SIGKILL);
        for (pid_t p : kinder) ::waitpid(p, nullptr, 0);
        std::error_code e;
        fs::remove_all(wurzel, e);
    }

    std::vector<hainbrem::Fund> baue(int dateienJePosten) const {
        std::vector<hainbrem::Fund> funde;
        const std::string inhalt(8192, 'c');
        for (int i = 0; i < postenAnzahl; ++i) {
            const fs::path ordner = wurzel / "home/.cache" / ("programm-" + std::to_string(i));
            fs::create_directories(ordner);
            for (int j = 0; j < dateienJePosten; ++j) std::ofstream(ordner / std::to_string(j)) << inhalt;
            funde.push_back({ordner, 0, hainbrem::Entsorgung::loeschen, std::nullopt, std::nullopt, true, std::nullopt});
        }
        return funde;
    }
};

Welt& welt() {
    static Welt w;
    return w;
}

// One round with the check; the check accounts its own time, so its share needs no second,
// noisy round without it.
void BM_RundeMitOffenenDateien(benchmark::State& state) {
    Welt& w = welt();
    hainbrem::Verlauf verlauf(w.wurzel / "verlauf.json");
    size_t gelesen = 0, aufgefrischt = 0;
    std::chrono::nanoseconds pruefung{0}, runde{0};
    for (auto _ : state) {
        state.PauseTiming();
        const auto funde = w.baue(static_cast<int>(state.range(0)));
        hainbrem::Entsorger entsorger(hainbrem::SafetyGuard(w.wurzel / "home", w.wurzel / "tmp"), verlauf, false,
                                      [](const std::string&) { return false; });
        state.ResumeTiming();
        const auto anfang = std::chrono::steady_clock::now();
        const auto r = entsorger.entsorge(funde, "Bench", w.wurzel / "home");
        runde += std::chrono::steady_clock::now() - anfang;
        benchmark::DoNotOptimize(r);
        if (r.fehlerAnzahl() != 0) state.SkipWithError("Posten nicht entsorgt");
        gelesen += entsorger.offeneDateien.gelesen();
        aufgefrischt += entsorger.offeneDateien.aufgefrischt();
        pruefung += entsorger.offeneDateien.aufwand();
    }
    const auto jeRunde = [&](double n) { return n / static_cast<double>(state.iterations()); };
    state.counters["gelesen"] = jeRunde(static_cast<double>(gelesen));
    state.counters["aufgefrischt"] = jeRunde(static_cast<double>(aufgefrischt));
    state.counters["pruefungMs"] = jeRunde(std::chrono::duration<double, std::milli>(pruefung).count());
    state.counters["anteilProzent"] = 100.0 * static_cast<double>(pruefung.count()) / static_cast<double>(runde.count());
}
BENCHMARK(BM_RundeMitOffenenDateien)->Arg(100)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

// One reading of everything the user's processes hold open, and one answer from it.
void BM_OffeneDateienLesen(benchmark::State& state) {
    Welt& w = welt();
    for (auto _ : state) {
        hainbrem::OffeneDateien offen;
        benchmark::DoNotOptimize(offen.benutztVon(w.wurzel / "home/.cache"));
    }
    size_t pfade = 0;
    for (const auto& p : hainbrem::plattform::offeneDateien()) pfade += p.pfade.size();
    state.counters["prozesse"] = static_cast<double>(w.kinder.size());
    state.counters["pfade"] = static_cast<double>(pfade);
}
BENCHMARK(BM_OffeneDateienLesen)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
