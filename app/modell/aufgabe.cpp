#include "app/modell/aufgabe.hpp"

#include "app/modell/appmodell.hpp"

namespace hainbrem {

Aufgabe::Aufgabe(AppModell& modell, Signal laeuftGeaendert, std::function<void(const Steuerung&)> fortschritt)
    : modell_(modell), laeuftGeaendert_(laeuftGeaendert), fortschritt_(std::move(fortschritt)) {}

void Aufgabe::setzeLaeuft(bool an) {
    if (laeuft_ == an) return;
    laeuft_ = an;
    emit(modell_.*laeuftGeaendert_)();
}

std::shared_ptr<Lauf> Aufgabe::beginne() {
    lauf_ = std::make_shared<Lauf>();
    setzeLaeuft(true);
    return lauf_;
}

bool Aufgabe::schliesse(const std::shared_ptr<Lauf>& lauf) {
    if (fortschritt_) fortschritt_(lauf->steuerung);  // the last counts before the run is forgotten
    if (lauf_ == lauf) lauf_.reset();
    return !lauf->stopp.stop_requested();
}

void Aufgabe::anhalten() {
    if (lauf_) lauf_->stopp.request_stop();
}

void Aufgabe::leseFortschritt() const {
    if (lauf_ && fortschritt_) fortschritt_(lauf_->steuerung);
}

}  // namespace hainbrem
