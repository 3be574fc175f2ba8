#include "kern/offene_dateien.hpp"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace hainbrem {

namespace fs = std::filesystem;

OffeneDateien::OffeneDateien(Quelle quelle, Lebt lebt, std::chrono::milliseconds hoechstesAlter)
    : quelle_(std::move(quelle)), lebt_(std::move(lebt)), hoechstesAlter_(hoechstesAlter) {}

void OffeneDateien::lies() {
    prozesse_ = quelle_ ? quelle_() : std::vector<plattform::OffeneDateienRoh>{};
    eintraege_.clear();
    for (size_t i = 0; i < prozesse_.size(); ++i) {
        for (auto& p : prozesse_[i].pfade) eintraege_.push_back({std::move(p), i});
        prozesse_[i].pfade.clear();
    }
    std::sort(eintraege_.begin(), eintraege_.end(), [](const Eintrag& a, const Eintrag& b) { return a.pfad < b.pfad; });
    stand_ = std::chrono::steady_clock::now();
    ++gelesen_;
}

const OffeneDateien::Eintrag* OffeneDateien::suche(const std::string& pfad) const {
    const auto vor = [](const Eintrag& e, const std::string& p) { return e.pfad < p; };
    // the item itself, then anything below "item/": one contiguous run in sorted order
    auto it = std::lower_bound(eintraege_.begin(), eintraege_.end(), pfad, vor);
    if (it != eintraege_.end() && it->pfad == pfad) return &*it;
    const std::string innen = pfad == "/" ? pfad : pfad + "/";
    it = std::lower_bound(eintraege_.begin(), eintraege_.end(), innen, vor);
    if (it != eintraege_.end() && it->pfad.starts_with(innen)) return &*it;
    return nullptr;
}

std::optional<std::string> OffeneDateien::benutztVon(const fs::path& item) {
    std::string pfad = item.native();
    while (pfad.size() > 1 && pfad.back() == '/') pfad.pop_back();
    const fs::path p(pfad);
    if (p.has_parent_path() && p.has_filename()) {
        std::unique_ptr<char, decltype(&std::free)> eltern(::realpath(p.parent_path().c_str(), nullptr), &std::free);
        if (eltern) pfad = (fs::path(eltern.get()) / p.filename()).native();
    }
    const auto jetzt = std::chrono::steady_clock::now();
    if (!stand_ || jetzt - *stand_ > hoechstesAlter_) lies();
    const Eintrag* e = suche(pfad);
    // a hit may be stale: the program may have ended since the files were read
    if (e && lebt_ && !lebt_(prozesse_[e->prozess].pid)) {
        lies();
        e = suche(pfad);
    }
    if (!e) return std::nullopt;
    const std::string& programm = prozesse_[e->prozess].programm;
    return programm.empty() ? "einem Programm" : programm;
}

}  // namespace hainbrem
