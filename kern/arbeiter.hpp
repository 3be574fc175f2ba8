#pragma once
// The one pool of worker threads in the core. How many threads a use wants is its own choice
// (two for a measurement, more for walks that mostly wait on the disk), and the thread that
// waits for its work always works along: if no helper thread can be started, the caller does
// everything itself. A failed start means fewer threads, never an exception.
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace hainbrem {

class Arbeiter {
public:
    // Which queued work a free thread takes: the oldest (fair), or the newest, which keeps a
    // depth-first walk deep and its open folders few.
    enum class Reihenfolge { aeltesteZuerst, neuesteZuerst };
    // How the helpers run: like any thread, or behind every ordinary thread of the machine (a
    // long walk that must not slow the window). The caller's own thread stays as it is.
    enum class Helfer { gleichrangig, nachrangig };

    // Up to `faeden` threads in all: `faeden` − 1 helpers plus the caller, who works in `warte`.
    explicit Arbeiter(unsigned faeden, Reihenfolge reihenfolge = Reihenfolge::aeltesteZuerst,
                      Helfer helfer = Helfer::gleichrangig);
    // Ends the helpers. Every caller has waited for its own work by then.
    ~Arbeiter();
    Arbeiter(const Arbeiter&) = delete;
    Arbeiter& operator=(const Arbeiter&) = delete;

    // Threads that really work: the helpers that could be started and the caller.
    unsigned faeden() const { return anzahl_.load(std::memory_order_relaxed) + 1; }

    // Starts helpers until `faeden` threads work in all, from any thread while work runs: for a
    // walk that turns out to wait on the disk. A failed start ends the growing, as in the start.
    void wachse(unsigned faeden);

    void gib(std::function<void()> arbeit);

    // Changes what a waiter tests, under the pool's lock, and wakes every thread that waits for
    // a condition (idle helpers wait only for work and sleep on).
    template <typename F>
    void melde(F&& aenderung) {
        {
            std::lock_guard lock(sperre_);
            aenderung();
        }
        cvBedingt_.notify_all();
    }

    // Runs queued work until `fertig()` holds (tested under the lock): a thread that waits helps.
    template <typename F>
    void warte(F&& fertig) {
        arbeite(std::forward<F>(fertig), false);
    }

    // Someone is idle: worth handing over a piece of one's own work.
    bool hungrig() const { return hungrig_.load(std::memory_order_relaxed) > 0; }

    // arbeit(i) for every i below n, on every thread of the pool; returns when all have run.
    template <typename F>
    void fuerAlle(size_t n, F&& arbeit) {
        if (n == 0) return;
        std::atomic<size_t> naechste{0};
        size_t fertig = 0;
        const size_t zieher = std::min<size_t>(n, faeden());
        for (size_t z = 0; z < zieher; ++z)
            gib([&] {
                for (size_t i; (i = naechste.fetch_add(1, std::memory_order_relaxed)) < n;) arbeit(i);
                melde([&] { ++fertig; });
            });
        warte([&] { return fertig == zieher; });
    }

    // Hardware threads, at least `wenigstens` and at most `hoechstens`.
    static unsigned kerne(unsigned wenigstens, unsigned hoechstens);

    // How helper threads are started. Tests put in one that fails, to see every use get by
    // with fewer threads. Empty: std::thread. Returns the one that was set before.
    using Starter = std::function<std::thread(std::function<void()>)>;
    static Starter setzeStarter(Starter starter);

private:
    std::function<void()> nimm();

    // A helper (`leerlauf`) sleeps until work comes; a waiter with a condition also wakes on
    // every report. Kept apart, a finished piece of a walk does not wake thirty idle helpers.
    template <typename F>
    void arbeite(F&& fertig, bool leerlauf) {
        std::unique_lock lock(sperre_);
        while (!fertig()) {
            if (!schlange_.empty()) {
                std::function<void()> arbeit = nimm();
                lock.unlock();
                arbeit();
                lock.lock();
                continue;
            }
            hungrig_.fetch_add(1, std::memory_order_relaxed);
            if (leerlauf) {
                ++frei_;
                cvFrei_.wait(lock);
                --frei_;
                if (geweckt_ > 0) --geweckt_;
            } else {
                cvBedingt_.wait(lock);
            }
            hungrig_.fetch_sub(1, std::memory_order_relaxed);
        }
    }

    const Reihenfolge reihenfolge_;
    const Helfer rang_;
    std::mutex sperre_;
    std::condition_variable cvFrei_;
    std::condition_variable cvBedingt_;
    int frei_ = 0;     // helpers asleep for want of work
    int geweckt_ = 0;  // of them, woken for a piece of work and not yet up
    std::deque<std::function<void()>> schlange_;
    std::atomic<int> hungrig_{0};
    bool ende_ = false;
    std::mutex helferSperre_;
    std::vector<std::thread> helfer_;
    std::atomic<unsigned> anzahl_{0};
};

}  // namespace hainbrem
