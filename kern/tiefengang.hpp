#pragma once
// Inside the deep scan: the walk that the entry points and disk layouts (kern/tiefenscan.cpp)
// run over their roots. Not for other users.
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kern/arbeiter.hpp"
#include "kern/tiefenscan.hpp"

namespace hainbrem::Tiefenscan {

// A walk on a cold cache waits on the disk more than it works: then more threads keep more
// directory reads in flight. Judged from the process's processor time against the wall clock,
// at most every 20 ms and only while no thread of the pool is idle (an idle thread means too
// little work, not a slow disk). A warm walk keeps the threads it started with.
class Zuwachs {
public:
    explicit Zuwachs(Arbeiter& arbeiter);
    // Cheap enough for every few thousand entries.
    void pruefe();

    // How the load is judged: the processor time of the process (empty: the process clock)
    // and how often. Tests put in a clock that stands still and no pause, to grow every walk
    // at every look. Returns what was set before.
    struct Messung {
        std::function<std::chrono::nanoseconds()> prozessorZeit;
        std::chrono::nanoseconds takt = std::chrono::milliseconds(20);
    };
    static Messung setzeMessung(Messung messung);

private:
    std::chrono::nanoseconds cpu() const;

    Arbeiter& arbeiter_;
    const Messung messung_;
    const unsigned kerne_;
    const unsigned obergrenze_;
    std::mutex sperre_;
    std::atomic<int64_t> naechste_;  // steady clock, ns
    std::chrono::steady_clock::time_point wand_;
    std::chrono::nanoseconds zeit_;
};

// What every walker of one scan shares.
struct Kontext {
    const Lauf& lauf;
    const std::set<std::string, std::less<>>& aufteilen;
    Sammler& sammler;
    Steuerung& steuerung;
    Arbeiter& arbeiter;
    Zuwachs& zuwachs;
    std::string bibliothek;  // kandidatenWurzel + "/Library"
};

// One scan: its own pool and collector; its roots are scanned side by side. The pool's helpers
// run behind every ordinary thread of the machine: a cold walk keeps dozens of them busy, and
// the window must still answer at once. The caller's thread keeps its rank.
class Scan {
public:
    Scan(const Lauf& lauf, const std::set<std::string, std::less<>>& aufteilen, Steuerung* steuerung);

    // A node per root (null for a root that cannot be read or is left out).
    std::vector<Knoten::Zeiger> lauf(const std::vector<std::string>& wurzeln);
    // The result: `wurzel` with what the collector gathered; `start` is when the scan began.
    TiefenscanErgebnis ergebnis(Knoten::Zeiger wurzel, std::chrono::steady_clock::time_point start,
                                std::vector<std::string> ausgelassen, bool ganzePlatte);

    // Threads a scan starts with: walking warm caches is processor work (Zuwachs adds more
    // when it is not).
    static unsigned faeden();

private:
    Steuerung ersatz_;  // when the caller passed none
    Steuerung& s_;
    Sammler sammler_;
    Arbeiter arbeiter_;
    Zuwachs zuwachs_;
    Kontext kontext_;
};

// Whether a node is big enough to be kept as its parent's child.
bool wirdKind(const Knoten& k);
// The last part of a path; "/" for the root.
std::string nameAus(std::string_view pfad);

}  // namespace hainbrem::Tiefenscan
