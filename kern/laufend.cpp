#include "kern/laufend.hpp"

#include <memory>

#include "plattform/prozesse.hpp"

namespace hainbrem {

namespace {

std::string klein(std::string_view s) {
    std::string r(s);
    for (char& c : r)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return r;
}

std::string_view dateiname(std::string_view pfad) {
    const size_t schnitt = pfad.rfind('/');
    return schnitt == std::string_view::npos ? pfad : pfad.substr(schnitt + 1);
}

}  // namespace

bool programmLaeuft(std::string_view besitzer, const std::vector<LaufendesProgramm>& laufend) {
    const std::string k = klein(besitzer);
    // no owner is nobody's: it must not match every program without a bundle id
    if (k.empty()) return false;
    const bool istKennung = k.find('.') != std::string::npos;
    for (const LaufendesProgramm& p : laufend) {
        const std::string b = klein(p.kennung);
        const std::string n = klein(p.name);
        const std::string e = klein(dateiname(p.programmdatei));
        if ((!b.empty() && b == k) || n == k || e == k) return true;
        if (istKennung) {
            if (b.starts_with(k + ".")) return true;
        } else if (k.size() >= 4) {
            if (n.starts_with(k) || (n.size() >= 4 && k.starts_with(n)) || b.find(k) != std::string::npos)
                return true;
        }
    }
    return false;
}

std::vector<LaufendesProgramm> laufendeProgramme() {
    std::vector<LaufendesProgramm> liste;
    for (auto& roh : plattform::laufendeProgramme())
        liste.push_back({std::move(roh.kennung), std::move(roh.name), std::move(roh.programmdatei)});
    return liste;
}

bool programmLaeuft(std::string_view besitzer) { return programmLaeuft(besitzer, laufendeProgramme()); }

std::function<bool(const std::string&)> laufTest() {
    auto liste = std::make_shared<const std::vector<LaufendesProgramm>>(laufendeProgramme());
    return [liste](const std::string& besitzer) { return programmLaeuft(besitzer, *liste); };
}

}  // namespace hainbrem
