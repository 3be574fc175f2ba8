#pragma once
// The one shape of every long operation (check, measuring, deep scan, duplicates, build waste,
// programs, storage tricks, disposal): the caller may stop it through `halt`, and reads its
// progress from any thread while it runs. Everything a front end polls is an atomic, so polling
// costs nothing and needs no lock. The operation fills `gesamt` as soon as it knows it.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <stop_token>

namespace hainbrem {

struct Steuerung {
    std::stop_token halt;              // asked between units of work
    std::atomic<int64_t> erledigt{0};  // units done: findings measured, files seen, items disposed …
    std::atomic<int64_t> gesamt{0};    // units expected; 0 while not known
    std::atomic<int64_t> bytes{0};     // bytes counted so far, where the operation counts any

    Steuerung() = default;
    explicit Steuerung(std::stop_token t) : halt(std::move(t)) {}
    Steuerung(const Steuerung&) = delete;
    Steuerung& operator=(const Steuerung&) = delete;

    bool angehalten() const { return halt.stop_requested(); }

    void dazu(int64_t einheiten, int64_t b = 0) {
        erledigt.fetch_add(einheiten, std::memory_order_relaxed);
        if (b != 0) bytes.fetch_add(b, std::memory_order_relaxed);
    }

    // erledigt / gesamt in 0…1; 0 while `gesamt` is unknown.
    double anteil() const {
        const int64_t g = gesamt.load(std::memory_order_relaxed);
        if (g <= 0) return 0.0;
        const int64_t e = erledigt.load(std::memory_order_relaxed);
        return std::clamp(static_cast<double>(e) / static_cast<double>(g), 0.0, 1.0);
    }
};

}  // namespace hainbrem
