// The deep scan's tree: nodes that know their size, find their way down and keep their largest children.
#include <algorithm>

#include "kern/rechnen.hpp"
#include "kern/tiefenscan.hpp"

namespace hainbrem {

std::string DateiInfo::name() const {
    const size_t s = pfad.rfind('/');
    return s == std::string::npos ? pfad : pfad.substr(s + 1);
}

void Knoten::dazu(Zeiger kind) {
    bytes = addiere(bytes, kind->bytes);
    dateien = addiere(dateien, kind->dateien);
    if (kind->unvollstaendig) unvollstaendig = true;
    kinder.push_back(std::move(kind));
}

int64_t Knoten::kleinkram() const {
    int64_t summe = 0;
    for (const auto& k : kinder) summe = addiere(summe, k->bytes);
    return std::max<int64_t>(subtrahiere(bytes, summe), 0);
}

std::optional<std::vector<Knoten::Zeiger>> Knoten::weg(std::string_view ziel) const {
    if (pfad == ziel) return std::vector<Zeiger>{};
    for (const auto& k : kinder) {
        if (auto rest = k->weg(ziel)) {
            rest->insert(rest->begin(), k);
            return rest;
        }
    }
    return std::nullopt;
}

Knoten::Zeiger Knoten::finde(const Zeiger& selbst, std::string_view ziel) {
    if (!selbst) return nullptr;
    const auto w = selbst->weg(ziel);
    if (!w) return nullptr;
    return w->empty() ? selbst : w->back();
}

namespace {

bool groesserZuerst(const Knoten::Zeiger& a, const Knoten::Zeiger& b) {
    if (a->bytes != b->bytes) return a->bytes > b->bytes;
    return a->pfad < b->pfad;  // a stable order for equal sizes, whatever thread finished first
}

}  // namespace

void Knoten::sortiere() { std::sort(kinder.begin(), kinder.end(), groesserZuerst); }

void Knoten::kappe() {
    if (kinder.size() > Tiefenscan::maxKinder) {
        std::partial_sort(kinder.begin(), kinder.begin() + Tiefenscan::maxKinder, kinder.end(), groesserZuerst);
        kinder.resize(Tiefenscan::maxKinder);
    } else {
        sortiere();
    }
}

}  // namespace hainbrem

size_t std::hash<hainbrem::DateiInfo>::operator()(const hainbrem::DateiInfo& d) const noexcept {
    return std::hash<std::string>{}(d.pfad) ^ (std::hash<uint64_t>{}(d.inode) << 1);
}
