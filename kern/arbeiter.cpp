#include "kern/arbeiter.hpp"

#include <algorithm>
#include <exception>

#include "kern/eingriff.hpp"
#include "plattform/faeden.hpp"

namespace hainbrem {

namespace {

// a function's own static, so it is there even for a use during static initialisation
Eingriff<Arbeiter::Starter>& starterEingriff() {
    static Eingriff<Arbeiter::Starter> e;
    return e;
}

}  // namespace

Arbeiter::Starter Arbeiter::setzeStarter(Starter starter) {
    return starterEingriff().setze(std::move(starter));
}

unsigned Arbeiter::kerne(unsigned wenigstens, unsigned hoechstens) {
    return std::clamp(std::thread::hardware_concurrency(), wenigstens, hoechstens);
}

Arbeiter::Arbeiter(unsigned faeden, Reihenfolge reihenfolge, Helfer helfer) : reihenfolge_(reihenfolge), rang_(helfer) {
    wachse(faeden);
}

void Arbeiter::wachse(unsigned faeden) {
    if (faeden <= 1) return;
    const Starter starter = starterEingriff().lies();
    std::lock_guard lock(helferSperre_);
    try {
        helfer_.reserve(faeden - 1);  // so no started thread is ever lost to a failing push
        while (helfer_.size() + 1 < faeden) {
            auto schleife = [this] {
                // a new thread inherits the rank of the one that starts it: each helper sets its own
                if (rang_ == Helfer::nachrangig) plattform::nachrangig();
                arbeite([this] { return ende_; }, true);
            };
            helfer_.push_back(starter ? starter(schleife) : std::thread(schleife));
            anzahl_.store(static_cast<unsigned>(helfer_.size()), std::memory_order_relaxed);
        }
    } catch (const std::exception&) {
        // no more threads to be had: the ones running, and the caller, do the work
    }
}

Arbeiter::~Arbeiter() {
    {
        std::lock_guard lock(sperre_);
        ende_ = true;
    }
    cvFrei_.notify_all();
    cvBedingt_.notify_all();
    std::lock_guard lock(helferSperre_);
    for (auto& t : helfer_) t.join();
}

void Arbeiter::gib(std::function<void()> arbeit) {
    bool helfer = false;
    {
        std::lock_guard lock(sperre_);
        schlange_.push_back(std::move(arbeit));
        // a helper already woken for earlier work is not counted twice
        if (frei_ > geweckt_) {
            ++geweckt_;
            helfer = true;
        }
    }
    // no idle helper: perhaps a thread waiting for its parts takes it meanwhile
    (helfer ? cvFrei_ : cvBedingt_).notify_one();
}

std::function<void()> Arbeiter::nimm() {
    std::function<void()> arbeit;
    if (reihenfolge_ == Reihenfolge::aeltesteZuerst) {
        arbeit = std::move(schlange_.front());
        schlange_.pop_front();
    } else {
        arbeit = std::move(schlange_.back());
        schlange_.pop_back();
    }
    return arbeit;
}

}  // namespace hainbrem
