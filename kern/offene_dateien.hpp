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

class OffeneDateien {
public:
    using Quelle = std::function<std::vector<plattform::OffeneDateienRoh>()>;
    using Lebt = std::function<bool(int)>;

    // The open files are read once and reused while younger than `hoechstesAlter`; a hit whose
    // process has ended since is read afresh. Not thread-safe: one per disposer.
    explicit OffeneDateien(Quelle quelle = plattform::offeneDateien, Lebt lebt = plattform::prozessLebt,
                           std::chrono::milliseconds hoechstesAlter = std::chrono::seconds(1));

    // The program holding the item itself or anything inside it open (by whole path parts:
    // "/a/b" holds nothing of "/a/bc"); none when nobody does. The item's folder is resolved as
    // the guard resolves it; the item itself is not (a link holds nothing of its target).
    std::optional<std::string> benutztVon(const std::filesystem::path& item);

    // How many times the open files were read (for tests and benchmarks).
    size_t gelesen() const { return gelesen_; }

private:
    struct Eintrag {
        std::string pfad;
        size_t prozess;  // index into prozesse_
    };
    void lies();
    const Eintrag* suche(const std::string& pfad) const;

    Quelle quelle_;
    Lebt lebt_;
    std::chrono::milliseconds hoechstesAlter_;
    std::optional<std::chrono::steady_clock::time_point> stand_;
    std::vector<plattform::OffeneDateienRoh> prozesse_;  // paths moved out into eintraege_
    std::vector<Eintrag> eintraege_;                     // sorted by path
    size_t gelesen_ = 0;
};

}  // namespace hainbrem
