// One guard check: two realpath calls and a listing of the parent folder.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "kern/safetyguard.hpp"

namespace {

namespace fs = std::filesystem;

void BM_PruefeImCache(benchmark::State& state) {
    std::string muster = "/tmp/hainbrem-bench-XXXXXX";
    if (!::mkdtemp(muster.data())) {
        state.SkipWithError("mkdtemp");
        return;
    }
    const fs::path wurzel = muster;
    const fs::path caches = wurzel / "home/Library/Caches";
    fs::create_directories(caches);
    fs::create_directories(wurzel / "temp");
    for (int64_t i = 0; i < state.range(0); ++i) fs::create_directory(caches / ("com.example.app" + std::to_string(i)));
    const hainbrem::SafetyGuard waechter(wurzel / "home", wurzel / "temp", wurzel / "Applications");
    const fs::path ziel = caches / "com.example.app7";
    for (auto _ : state) benchmark::DoNotOptimize(waechter.pruefe(ziel, hainbrem::Entsorgung::loeschen));
    fs::remove_all(wurzel);
}
BENCHMARK(BM_PruefeImCache)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
