#include "kern/schluesseldatei.hpp"

#include "kern/zeilen.hpp"

namespace hainbrem {

namespace {

std::string_view ohneRand(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

std::string entschluesselt(std::string_view roh) {
    std::string aus;
    aus.reserve(roh.size());
    for (size_t i = 0; i < roh.size(); ++i) {
        if (roh[i] != '\\' || i + 1 == roh.size()) {
            aus += roh[i];
            continue;
        }
        switch (roh[++i]) {
            case 's': aus += ' '; break;
            case 'n': aus += '\n'; break;
            case 't': aus += '\t'; break;
            case 'r': aus += '\r'; break;
            case '\\': aus += '\\'; break;
            default:  // "\;" belongs to the list reader
                aus += '\\';
                aus += roh[i];
        }
    }
    return aus;
}

}  // namespace

Schluesseldatei Schluesseldatei::aus(std::string_view text) {
    Schluesseldatei d;
    Gruppe* aktuell = nullptr;
    for (std::string_view z : zeilen(text)) {
        z = ohneRand(z);
        if (z.empty() || z.front() == '#') continue;
        if (z.front() == '[') {
            const size_t ende = z.find(']');
            if (ende == std::string_view::npos) {
                aktuell = nullptr;  // what follows a broken header belongs to no group
                continue;
            }
            d.gruppen_.push_back({std::string(z.substr(1, ende - 1)), {}});
            aktuell = &d.gruppen_.back();
            continue;
        }
        const size_t gleich = z.find('=');
        if (!aktuell || gleich == std::string_view::npos) continue;
        const std::string_view schluessel = ohneRand(z.substr(0, gleich));
        if (schluessel.empty()) continue;
        aktuell->werte.emplace_back(std::string(schluessel), entschluesselt(ohneRand(z.substr(gleich + 1))));
    }
    return d;
}

std::optional<std::string> Schluesseldatei::wert(std::string_view gruppe, std::string_view schluessel) const {
    for (const auto& g : gruppen_) {
        if (g.name != gruppe) continue;
        for (const auto& [k, v] : g.werte)
            if (k == schluessel) return v;
    }
    return std::nullopt;
}

std::optional<std::string> Schluesseldatei::lokalisiert(std::string_view gruppe, std::string_view schluessel,
                                                        std::string_view sprache) const {
    std::vector<std::string> versuche;
    std::string_view s = sprache.substr(0, sprache.find('.'));  // de_DE.UTF-8 → de_DE
    if (!s.empty()) versuche.push_back(std::string(schluessel) + "[" + std::string(s) + "]");
    if (const size_t u = s.find('_'); u != std::string_view::npos)
        versuche.push_back(std::string(schluessel) + "[" + std::string(s.substr(0, u)) + "]");
    versuche.emplace_back(schluessel);
    for (const auto& k : versuche)
        if (auto v = wert(gruppe, k); v && !v->empty()) return v;
    return std::nullopt;
}

bool Schluesseldatei::hatSchluesselMit(std::string_view gruppe, std::string_view anfang) const {
    for (const auto& g : gruppen_)
        if (g.name == gruppe)
            for (const auto& [k, _] : g.werte)
                if (k.starts_with(anfang)) return true;
    return false;
}

std::vector<std::string> Schluesseldatei::gruppen() const {
    std::vector<std::string> namen;
    for (const auto& g : gruppen_) namen.push_back(g.name);
    return namen;
}

std::vector<std::string> listenWerte(std::string_view wert) {
    std::vector<std::string> aus;
    std::string teil;
    for (size_t i = 0; i < wert.size(); ++i) {
        if (wert[i] == '\\' && i + 1 < wert.size() && wert[i + 1] == ';') {
            teil += ';';
            ++i;
        } else if (wert[i] == ';') {
            if (!teil.empty()) aus.push_back(std::move(teil));
            teil.clear();
        } else {
            teil += wert[i];
        }
    }
    if (!teil.empty()) aus.push_back(std::move(teil));
    return aus;
}

}  // namespace hainbrem
