// Build-folder search and orphan search over generated homes below /tmp.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "kern/programme.hpp"
#include "kern/projekte.hpp"

namespace {

namespace fs = std::filesystem;
using namespace hainbrem;

struct Home {
    fs::path wurzel;
    Umgebung umgebung;

    explicit Home(const char* art) {
        std::string muster = std::string("/tmp/hainbrem-bench-") + art + "-XXXXXX";
        if (!::mkdtemp(muster.data())) std::abort();
        wurzel = muster;
        umgebung.home = wurzel / "home";
        umgebung.temp = wurzel / "tmp";
        fs::create_directories(umgebung.temp);
    }
    ~Home() {
        std::error_code e;
        fs::remove_all(wurzel, e);
    }
    void datei(const fs::path& p, size_t bytes) const {
        fs::create_directories(p.parent_path());
        std::ofstream(p) << std::string(bytes, 'x');
    }
};

// `projekte` projects, each with a source tree and a node_modules of `pakete` packages.
void BM_ProjekteFinde(benchmark::State& state) {
    const Home h("projekte");
    const int projekte = static_cast<int>(state.range(0));
    const int pakete = static_cast<int>(state.range(1));
    for (int p = 0; p < projekte; ++p) {
        const fs::path projekt = h.umgebung.home / "Projects" / ("p" + std::to_string(p));
        h.datei(projekt / "package.json", 50);
        for (int d = 0; d < 20; ++d) h.datei(projekt / "src" / ("mod" + std::to_string(d / 5)) / ("f" + std::to_string(d)), 500);
        for (int k = 0; k < pakete; ++k)
            for (int d = 0; d < 5; ++d)
                h.datei(projekt / "node_modules" / ("pkg" + std::to_string(k)) / "lib" / ("f" + std::to_string(d)), 800);
    }
    size_t gefunden = 0;
    for (auto _ : state) {
        const auto funde = Projekte::finde(h.umgebung);
        gefunden = funde.size();
        benchmark::DoNotOptimize(funde.data());
    }
    state.counters["funde"] = static_cast<double>(gefunden);
}
BENCHMARK(BM_ProjekteFinde)->Args({50, 20})->Args({200, 50})->Unit(benchmark::kMillisecond)->UseRealTime();

// A Library with `eintraege` entries per folder, half of them from makers still installed.
void BM_ProgrammeVerwaist(benchmark::State& state) {
    const Home h("programme");
    const int eintraege = static_cast<int>(state.range(0));
    std::vector<Programm> installiert;
    for (int i = 0; i < 50; ++i) {
        Programm p;
        p.bundleID = "com.hersteller" + std::to_string(i) + ".app";
        p.name = "App" + std::to_string(i);
        installiert.push_back(std::move(p));
    }
    for (const char* ordner : {"Caches", "Preferences", "Application Support", "Logs"})
        for (int i = 0; i < eintraege; ++i) {
            const std::string id =
                (i % 2 ? "com.hersteller" + std::to_string(i % 50) : "org.weg" + std::to_string(i)) + ".tool";
            h.datei(h.umgebung.home / "Library" / ordner / id / "inhalt", 1000);
        }
    size_t gruppen = 0;
    for (auto _ : state) {
        const auto waisen = Programme::verwaist(installiert, h.umgebung, {});
        gruppen = waisen.size();
        benchmark::DoNotOptimize(waisen.data());
    }
    state.counters["gruppen"] = static_cast<double>(gruppen);
}
BENCHMARK(BM_ProgrammeVerwaist)->Arg(500)->Arg(2000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
