#pragma once
// A process-wide slot through which tests put in what the code would otherwise take from the
// system (how threads start, how load is measured). Read under a lock, so a test may swap it
// while other threads run.
#include <mutex>
#include <utility>

namespace hainbrem {

template <typename T>
class Eingriff {
public:
    // Puts in `neu`; returns what was in before, for the test to put back.
    T setze(T neu) {
        std::lock_guard lock(sperre_);
        std::swap(wert_, neu);
        return neu;
    }
    T lies() {
        std::lock_guard lock(sperre_);
        return wert_;
    }

private:
    std::mutex sperre_;
    T wert_{};
};

}  // namespace hainbrem
