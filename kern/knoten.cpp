// The deep scan's tree: nodes that know their size, find their way down and keep their largest children.
#include <algorithm>
#include <set>

#include "kern/ueberlauf.hpp"
#include "kern/tiefenscan.hpp"
#include "kern/verlauf.hpp"

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

namespace Tiefenscan {

std::vector<Umzug> umzuege(const Runde& runde) {
    std::vector<Umzug> r;
    for (const auto& p : runde.posten)
        if (!p.fehler) r.push_back({p.pfad, p.zurueckgelegt ? std::nullopt : p.imPapierkorb, p.bytes});
    return r;
}

std::vector<Umzug> umzuege(const Runde& vorher, const Runde& nachher) {
    std::vector<Umzug> r;
    for (const auto& p : nachher.posten) {
        if (!p.zurueckgelegt || !p.imPapierkorb || p.fehler) continue;
        const auto alt = std::find_if(vorher.posten.begin(), vorher.posten.end(),
                                      [&](const Posten& v) { return v.pfad == p.pfad; });
        if (alt != vorher.posten.end() && !alt->zurueckgelegt) r.push_back({*p.imPapierkorb, p.pfad, p.bytes});
    }
    return r;
}

namespace {

// Copies along the way to a path, so the tree the views hold stays as it was.
class Umbau {
public:
    explicit Umbau(const Knoten::Zeiger& wurzel) : wurzel_(std::make_shared<Knoten>(*wurzel)) {
        eigene_.insert(wurzel_.get());
    }
    const Knoten::Zeiger& wurzel() const { return wurzel_; }

    // The copied nodes from the root down to the deepest node at or above `pfad`.
    std::vector<Knoten::Zeiger> kette(const std::string& pfad) {
        std::vector<Knoten::Zeiger> w;
        hinab(*wurzel_, pfad, w);
        std::vector<Knoten::Zeiger> r{wurzel_};
        for (const auto& k : w) {
            Knoten& eltern = *r.back();
            Knoten::Zeiger kind = k;
            if (!eigene_.contains(k.get())) {
                kind = std::make_shared<Knoten>(*k);
                eigene_.insert(kind.get());
                kopien_.push_back(kind);
                std::replace(eltern.kinder.begin(), eltern.kinder.end(), k, kind);
            }
            r.push_back(std::move(kind));
        }
        return r;
    }

    void sortiereAlle() {
        wurzel_->sortiere();
        for (const auto& k : kopien_) k->sortiere();
    }

private:
    // Down only where the path leads (a folder holding it), through virtual nodes: a few nodes
    // per level instead of the whole tree.
    static bool hinab(const Knoten& k, std::string_view ziel, std::vector<Knoten::Zeiger>& weg) {
        // the real folder holding it (the deepest, when "/" and "/home" are siblings), else a
        // virtual node with such a folder inside
        Knoten::Zeiger bester;
        for (const auto& c : k.kinder) {
            const bool haelt = !c->istVirtuell() && (c->pfad == ziel || c->pfad == "/" ||
                                                     (ziel.starts_with(c->pfad) && ziel.size() > c->pfad.size() &&
                                                      ziel[c->pfad.size()] == '/'));
            if (haelt && (!bester || c->pfad.size() > bester->pfad.size())) bester = c;
        }
        if (bester) {
            weg.push_back(bester);
            hinab(*bester, ziel, weg);
            return true;
        }
        for (const auto& c : k.kinder) {
            if (!c->istVirtuell()) continue;
            weg.push_back(c);
            if (hinab(*c, ziel, weg)) return true;
            weg.pop_back();
        }
        return false;
    }

    Knoten::Zeiger wurzel_;
    std::set<const Knoten*> eigene_;
    std::vector<Knoten::Zeiger> kopien_;
};

void aendere(const std::vector<Knoten::Zeiger>& kette, int64_t bytes, int64_t dateien) {
    for (const auto& k : kette) {
        k->bytes = std::max<int64_t>(0, addiere(k->bytes, bytes));
        k->dateien = std::max<int64_t>(0, addiere(k->dateien, dateien));
    }
}

}  // namespace

Knoten::Zeiger nachUmzug(const Knoten::Zeiger& wurzel, const std::vector<Umzug>& umzuege) {
    if (!wurzel || umzuege.empty()) return wurzel;
    Umbau umbau(wurzel);
    bool geaendert = false;
    // a tree of one folder knows nothing of paths outside it (a home scan and the temp folder)
    const auto drin = [&](const std::string& pfad) {
        const std::string& w = wurzel->pfad;
        return wurzel->istVirtuell() || pfad == w || (pfad.starts_with(w) && pfad.size() > w.size() && pfad[w.size()] == '/');
    };
    for (const auto& u : umzuege) {
        if (!drin(u.von)) continue;
        auto weg = umbau.kette(u.von);
        const Knoten::Zeiger ende = weg.back();
        int64_t bytes = 0, dateien = 0;
        if (ende->pfad == u.von && weg.size() >= 2) {
            // a node of its own: it goes with what it held
            bytes = ende->bytes;
            dateien = ende->dateien;
            auto& geschwister = weg[weg.size() - 2]->kinder;
            std::erase(geschwister, ende);
            weg.pop_back();
        } else {
            // part of the small things of the nearest node above it
            bytes = std::min(std::max<int64_t>(u.bytes, 0), ende->kleinkram());
        }
        if (bytes == 0 && dateien == 0 && !(ende->pfad == u.von)) continue;
        aendere(weg, -bytes, -dateien);
        if (u.nach && drin(*u.nach)) aendere(umbau.kette(*u.nach), bytes, dateien);
        geaendert = true;
    }
    if (!geaendert) return wurzel;
    umbau.sortiereAlle();
    return umbau.wurzel();
}

}  // namespace Tiefenscan

}  // namespace hainbrem

size_t std::hash<hainbrem::DateiInfo>::operator()(const hainbrem::DateiInfo& d) const noexcept {
    return std::hash<std::string>{}(d.pfad) ^ (std::hash<uint64_t>{}(d.inode) << 1);
}
