#pragma once
// Which program holds something open inside an item? Asked by the disposer right before an item
// is deleted or moved: what a running program still uses must never be pulled from under it.
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "plattform/prozesse.hpp"

namespace hainbrem {

// When OffeneDateien reads again.
struct Auffrischtakt {
    // Younger than this, the files read are used as they are.
    std::chrono::milliseconds auffrischen{1000};
    // Older than this, everything is read again; in between only processes started since.
    std::chrono::milliseconds neuLesen{10000};
};

class OffeneDateien {
public:
    // Asked for shares of the processes on the pool's threads at once; what a source gives
    // outside the share it was asked for is left out.
    using Quelle = std::function<std::vector<plattform::OffeneDateienRoh>(const std::vector<int>& bekannt,
                                                                          plattform::Anteil anteil)>;
    // The name of a process while it runs; none once it has ended.
    using Nachfrage = std::function<std::optional<std::string>(int pid)>;
    using Takt = Auffrischtakt;

    // Reading everything costs about 0.1 ms per process, so a round reads once and afterwards
    // only asks about processes started meanwhile. A hit is checked against the running process,
    // so a program that has ended holds nothing back. Not thread-safe: one per disposer.
    explicit OffeneDateien(Quelle quelle = plattform::offeneDateien, Nachfrage nachfrage = plattform::prozessName,
                           Takt takt = {});

    // The program holding the item itself or anything inside it open (by whole path parts:
    // "/a/b" holds nothing of "/a/bc"); none when nobody does. The item's folder is resolved as
    // the guard resolves it; the item itself is not (a link holds nothing of its target).
    std::optional<std::string> benutztVon(const std::filesystem::path& item);

    // How often everything was read, how often only new processes, and the time spent in
    // benutztVon altogether (for tests and benchmarks).
    size_t gelesen() const { return gelesen_; }
    size_t aufgefrischt() const { return aufgefrischt_; }
    std::chrono::nanoseconds aufwand() const { return aufwand_; }

private:
    struct Eintrag {
        std::string pfad;
        int pid;
    };
    void lies(bool alles);
    std::vector<int> treffer(const std::string& pfad) const;

    Quelle quelle_;
    Nachfrage nachfrage_;
    Takt takt_;
    std::optional<std::chrono::steady_clock::time_point> allesGelesen_, zuletzt_;
    std::vector<Eintrag> eintraege_;  // sorted by path
    std::vector<int> bekannt_;        // sorted: processes whose files are in eintraege_
    size_t gelesen_ = 0, aufgefrischt_ = 0;
    std::chrono::nanoseconds aufwand_{0};
    std::optional<std::string> suche(const std::filesystem::path& item);
};

}  // namespace hainbrem
