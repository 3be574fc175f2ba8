#pragma once
// One finder of the model as one small object: whether it runs (a flag with its own change
// signal), the run that can be stopped, and how its progress is read. Every finder of the model
// is one of these, so starting, stopping and finishing read the same everywhere; what a finder
// finds stays in the model's fields, which carry the property names.
#include <functional>
#include <memory>
#include <stop_token>

#include "kern/steuerung.hpp"

namespace hainbrem {

class AppModell;

// A run of a job in the background: stopped through its source, counted through its control.
struct Lauf {
    std::stop_source stopp;
    Steuerung steuerung{stopp.get_token()};
};

class Aufgabe {
public:
    using Signal = void (AppModell::*)();
    // `laeuftGeaendert` is the model's signal for the running flag; `fortschritt` (may be empty)
    // copies the counters of a run into the model's progress fields.
    Aufgabe(AppModell& modell, Signal laeuftGeaendert, std::function<void(const Steuerung&)> fortschritt = {});

    bool laeuft() const { return laeuft_; }
    // Sets the flag (silent when nothing changes).
    void setzeLaeuft(bool an);
    // A new run; the flag goes up.
    std::shared_ptr<Lauf> beginne();
    // Reads the run's last counts and forgets it; true unless it was stopped. The flag stays:
    // the caller lowers it once the results are stored, so a page never sees "done" early.
    bool schliesse(const std::shared_ptr<Lauf>& lauf);
    void anhalten();
    void leseFortschritt() const;

private:
    AppModell& modell_;
    Signal laeuftGeaendert_;
    std::function<void(const Steuerung&)> fortschritt_;
    bool laeuft_ = false;
    std::shared_ptr<Lauf> lauf_;
};

}  // namespace hainbrem
