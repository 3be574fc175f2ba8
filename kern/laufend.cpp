#include "kern/laufend.hpp"

#include <chrono>
#include <memory>
#include <mutex>

#include "basis/pfade.hpp"
#include "kern/zeilen.hpp"
#include "plattform/prozesse.hpp"

namespace hainbrem {

namespace {

std::string_view dateiname(std::string_view pfad) {
    const size_t schnitt = pfad.rfind('/');
    return schnitt == std::string_view::npos ? pfad : pfad.substr(schnitt + 1);
}

// A program's three names, lower-cased once per snapshot.
struct KleineNamen {
    std::string b, n, e;
};

std::vector<KleineNamen> kleinGeschrieben(const std::vector<LaufendesProgramm>& laufend) {
    std::vector<KleineNamen> v;
    v.reserve(laufend.size());
    for (const LaufendesProgramm& p : laufend)
        v.push_back({klein(p.kennung), klein(p.name), klein(dateiname(p.programmdatei))});
    return v;
}

bool laeuft(std::string_view besitzer, const std::vector<KleineNamen>& laufend) {
    const std::string k = klein(besitzer);
    // no owner is nobody's: it must not match every program without a bundle id
    if (k.empty()) return false;
    const bool istKennung = k.find('.') != std::string::npos;
    const std::string kPunkt = k + ".";
    for (const auto& [b, n, e] : laufend) {
        if ((!b.empty() && b == k) || n == k || e == k) return true;
        if (istKennung) {
            if (b.starts_with(kPunkt)) return true;
        } else if (k.size() >= 4) {
            if (n.starts_with(k) || (n.size() >= 4 && k.starts_with(n)) || b.find(k) != std::string::npos) return true;
        }
    }
    return false;
}

}  // namespace

bool programmLaeuft(std::string_view besitzer, const std::vector<LaufendesProgramm>& laufend) {
    return laeuft(besitzer, kleinGeschrieben(laufend));
}

std::string sandboxKennung(std::string_view cgroup, std::string_view flatpakInfo, std::string_view programmdatei) {
    if (const size_t a = cgroup.find("app-flatpak-"); a != std::string_view::npos) {
        std::string_view scope = cgroup.substr(a + 12);
        scope = scope.substr(0, scope.find_first_of("/\n"));
        if (scope.ends_with(".scope")) scope.remove_suffix(6);
        // the id ends before the last "-": what follows is a number
        if (const size_t strich = scope.rfind('-'); strich != std::string_view::npos && strich > 0)
            return std::string(scope.substr(0, strich));
    }
    bool inAnwendung = false;
    for (const std::string_view zeile : zeilen(flatpakInfo)) {
        if (zeile.starts_with("[")) inAnwendung = zeile == "[Application]";
        else if (inAnwendung && zeile.starts_with("name=") && zeile.size() > 5) return std::string(zeile.substr(5));
    }
    // "…/snap.firefox.firefox-<uuid>.scope", "/snap/firefox/3026/usr/lib/firefox/firefox"
    std::string_view snap;
    if (const size_t a = cgroup.find("/snap."); a != std::string_view::npos) snap = cgroup.substr(a + 6);
    else if (programmdatei.starts_with("/snap/")) snap = programmdatei.substr(6);
    return std::string(snap.substr(0, snap.find_first_of("./\n")));
}

std::vector<LaufendesProgramm> laufendeProgramme() {
    std::vector<LaufendesProgramm> liste;
    for (auto& roh : plattform::laufendeProgramme()) {
        if (roh.kennung.empty()) roh.kennung = sandboxKennung(roh.cgroup, roh.flatpakInfo, roh.programmdatei);
        liste.push_back({std::move(roh.kennung), std::move(roh.name), std::move(roh.programmdatei)});
    }
    return liste;
}

bool programmLaeuft(std::string_view besitzer) { return programmLaeuft(besitzer, laufendeProgramme()); }

int beendeProgramm(std::string_view besitzer) {
    int gebeten = 0;
    for (auto& roh : plattform::laufendeProgramme()) {
        if (!roh.eigenes) continue;
        const LaufendesProgramm p{std::move(roh.kennung), std::move(roh.name), std::move(roh.programmdatei)};
        if (programmLaeuft(besitzer, {p}) && plattform::beenden(roh.pid)) ++gebeten;
    }
    return gebeten;
}

std::function<bool(const std::string&)> laufTest(std::chrono::milliseconds hoechstensAlt) {
    // One list for a burst of questions (a confirmation asks per owner, a round per item), read
    // anew once it is older than `hoechstensAlt`: a program started while the user thought
    // about the question is seen at the next item.
    struct Stand {
        std::mutex sperre;
        std::vector<KleineNamen> liste;
        std::chrono::steady_clock::time_point gelesen{};
        bool da = false;
    };
    auto stand = std::make_shared<Stand>();
    return [stand, hoechstensAlt](const std::string& besitzer) {
        std::lock_guard l(stand->sperre);
        const auto jetzt = std::chrono::steady_clock::now();
        if (!stand->da || jetzt - stand->gelesen > hoechstensAlt) {
            stand->liste = kleinGeschrieben(laufendeProgramme());
            stand->gelesen = jetzt;
            stand->da = true;
        }
        return laeuft(besitzer, stand->liste);
    };
}

}  // namespace hainbrem
