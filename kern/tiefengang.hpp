#pragma once
// Inside the deep scan: the walk that the entry points and disk layouts (kern/tiefenscan.cpp)
// run over their roots. Not for other users.
#include <chrono>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kern/arbeiter.hpp"
#include "kern/tiefenscan.hpp"

namespace hainbrem::Tiefenscan {

// What every walker of one scan shares.
struct Kontext {
    const Lauf& lauf;
    const std::set<std::string, std::less<>>& aufteilen;
    Sammler& sammler;
    Steuerung& steuerung;
    Arbeiter& arbeiter;
    std::string bibliothek;  // kandidatenWurzel + "/Library"
};

// One scan: its own pool and collector; its roots are scanned side by side.
class Scan {
public:
    Scan(const Lauf& lauf, const std::set<std::string, std::less<>>& aufteilen, Steuerung* steuerung);

    // A node per root (null for a root that cannot be read or is left out).
    std::vector<Knoten::Zeiger> lauf(const std::vector<std::string>& wurzeln);
    // The result: `wurzel` with what the collector gathered; `start` is when the scan began.
    TiefenscanErgebnis ergebnis(Knoten::Zeiger wurzel, std::chrono::steady_clock::time_point start,
                                std::vector<std::string> ausgelassen, bool ganzePlatte);

    // Threads per scan: walking warm caches is processor work.
    static unsigned faeden();

private:
    Steuerung ersatz_;  // when the caller passed none
    Steuerung& s_;
    Sammler sammler_;
    Arbeiter arbeiter_;
    Kontext kontext_;
};

// Whether a node is big enough to be kept as its parent's child.
bool wirdKind(const Knoten& k);
// The last part of a path; "/" for the root.
std::string nameAus(std::string_view pfad);

}  // namespace hainbrem::Tiefenscan
