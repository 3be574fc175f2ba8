// Reading the running programs from /proc and matching owners against the snapshot.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "kern/laufend.hpp"

namespace {

// Idle child processes so the list has a known minimum size.
class Kinder {
public:
    explicit Kinder(int anzahl) {
        for (int i = 0; i < anzahl; ++i) {
            const pid_t p = ::fork();
            if (p == 0) {
                ::pause();
                ::_exit(0);
            }
            if (p > 0) pids_.push_back(p);
        }
    }
    ~Kinder() {
        for (pid_t p : pids_) ::kill(p, SIGKILL);
        for (pid_t p : pids_) ::waitpid(p, nullptr, 0);
    }

private:
    std::vector<pid_t> pids_;
};

void BM_LaufendeProgramme(benchmark::State& state) {
    const Kinder kinder(static_cast<int>(state.range(0)));
    size_t anzahl = 0;
    for (auto _ : state) {
        auto liste = hainbrem::laufendeProgramme();
        anzahl = liste.size();
        benchmark::DoNotOptimize(liste);
    }
    state.counters["prozesse"] = static_cast<double>(anzahl);
}
BENCHMARK(BM_LaufendeProgramme)->Arg(0)->Arg(500)->Unit(benchmark::kMillisecond);

// What a catalog check does: one snapshot, then a few hundred owners tested against it.
void BM_LaufTestVieleBesitzer(benchmark::State& state) {
    const Kinder kinder(500);
    std::vector<std::string> besitzer;
    for (int i = 0; i < 300; ++i)
        besitzer.push_back(i % 2 ? "com.example.programm" + std::to_string(i) : "Programm" + std::to_string(i));
    for (auto _ : state) {
        const auto laeuft = hainbrem::laufTest();
        int treffer = 0;
        for (const auto& b : besitzer) treffer += laeuft(b);
        benchmark::DoNotOptimize(treffer);
    }
}
BENCHMARK(BM_LaufTestVieleBesitzer)->Unit(benchmark::kMillisecond);

}  // namespace
