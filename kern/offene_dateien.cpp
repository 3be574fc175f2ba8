#include "kern/offene_dateien.hpp"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>

#include "kern/arbeiter.hpp"

namespace hainbrem {

namespace fs = std::filesystem;

OffeneDateien::OffeneDateien(Quelle quelle, Nachfrage nachfrage, Takt takt)
    : quelle_(std::move(quelle)), nachfrage_(std::move(nachfrage)), takt_(takt) {}

void OffeneDateien::lies(bool alles) {
    if (alles) bekannt_.clear();
    // reading /proc is the kernel's work per process: two threads take half the time
    std::vector<plattform::OffeneDateienRoh> roh;
    if (quelle_) {
        Arbeiter arbeiter(Arbeiter::kerne(1, 4));
        const unsigned von = arbeiter.faeden();
        std::vector<std::vector<plattform::OffeneDateienRoh>> teile(von);
        arbeiter.fuerAlle(von, [&](size_t i) {
            const plattform::Anteil anteil{static_cast<unsigned>(i), von};
            teile[i] = quelle_(bekannt_, anteil);
            std::erase_if(teile[i], [&](const plattform::OffeneDateienRoh& p) { return !anteil.umfasst(p.pid); });
        });
        for (auto& teil : teile) std::move(teil.begin(), teil.end(), std::back_inserter(roh));
    }
    std::vector<int> laufend, neuGelesen;
    std::vector<Eintrag> neu;
    for (auto& p : roh) {
        laufend.push_back(p.pid);
        if (!p.gelesen) continue;
        neuGelesen.push_back(p.pid);
        for (auto& pfad : p.pfade) neu.push_back({std::move(pfad), p.pid});
    }
    std::sort(laufend.begin(), laufend.end());
    std::sort(neuGelesen.begin(), neuGelesen.end());
    // what is known stays while its process runs and was not read anew
    if (!alles)
        for (auto& e : eintraege_)
            if (std::binary_search(laufend.begin(), laufend.end(), e.pid) &&
                !std::binary_search(neuGelesen.begin(), neuGelesen.end(), e.pid))
                neu.push_back(std::move(e));
    eintraege_ = std::move(neu);
    std::sort(eintraege_.begin(), eintraege_.end(), [](const Eintrag& a, const Eintrag& b) { return a.pfad < b.pfad; });
    bekannt_ = std::move(laufend);
    bekannt_.erase(std::unique(bekannt_.begin(), bekannt_.end()), bekannt_.end());
    zuletzt_ = std::chrono::steady_clock::now();
    if (alles) {
        allesGelesen_ = zuletzt_;
        ++gelesen_;
    } else {
        ++aufgefrischt_;
    }
}

std::vector<int> OffeneDateien::treffer(const std::string& pfad) const {
    const auto vor = [](const Eintrag& e, const std::string& p) { return e.pfad < p; };
    std::vector<int> pids;
    // the item itself, then everything below "item/": one contiguous run in sorted order
    for (auto it = std::lower_bound(eintraege_.begin(), eintraege_.end(), pfad, vor);
         it != eintraege_.end() && it->pfad == pfad; ++it)
        pids.push_back(it->pid);
    const std::string innen = pfad == "/" ? pfad : pfad + "/";
    for (auto it = std::lower_bound(eintraege_.begin(), eintraege_.end(), innen, vor);
         it != eintraege_.end() && it->pfad.starts_with(innen); ++it)
        pids.push_back(it->pid);
    std::sort(pids.begin(), pids.end());
    pids.erase(std::unique(pids.begin(), pids.end()), pids.end());
    return pids;
}

std::optional<std::string> OffeneDateien::benutztVon(const fs::path& item) {
    const auto anfang = std::chrono::steady_clock::now();
    auto antwort = suche(item);
    aufwand_ += std::chrono::steady_clock::now() - anfang;
    return antwort;
}

std::optional<std::string> OffeneDateien::suche(const fs::path& item) {
    std::string pfad = item.native();
    while (pfad.size() > 1 && pfad.back() == '/') pfad.pop_back();
    const fs::path p(pfad);
    if (p.has_parent_path() && p.has_filename()) {
        std::unique_ptr<char, decltype(&std::free)> eltern(::realpath(p.parent_path().c_str(), nullptr), &std::free);
        if (eltern) pfad = (fs::path(eltern.get()) / p.filename()).native();
    }
    const auto jetzt = std::chrono::steady_clock::now();
    if (!allesGelesen_ || jetzt - *allesGelesen_ > takt_.neuLesen) lies(true);
    else if (jetzt - *zuletzt_ > takt_.auffrischen) lies(false);
    // a hit may be stale: its program may have ended, or closed the file and gone on
    for (int versuch = 0; versuch < 2; ++versuch) {
        const std::vector<int> pids = treffer(pfad);
        if (pids.empty()) return std::nullopt;
        for (int pid : pids)
            if (auto name = nachfrage_ ? nachfrage_(pid) : std::optional<std::string>("")) {
                return name->empty() ? "einem Programm" : *name;
            }
        if (versuch == 0) lies(true);
    }
    return std::nullopt;
}

}  // namespace hainbrem
