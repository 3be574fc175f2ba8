#include "basis/pfade.hpp"

namespace hainbrem {

std::string_view ohneSchraegstrichAmEnde(std::string_view pfad) {
    while (pfad.size() > 1 && pfad.back() == '/') pfad.remove_suffix(1);
    return pfad;
}

std::string_view relativ(std::string_view pfad, std::string_view ordner) {
    pfad = ohneSchraegstrichAmEnde(pfad);
    ordner = ohneSchraegstrichAmEnde(ordner);
    if (ordner.empty() || pfad.size() <= ordner.size() || !pfad.starts_with(ordner)) return {};
    if (ordner == "/") return pfad.substr(1);
    if (pfad[ordner.size()] != '/') return {};
    return pfad.substr(ordner.size() + 1);
}

bool liegtIn(std::string_view pfad, std::string_view ordner) { return !relativ(pfad, ordner).empty(); }

bool liegtInOderIst(std::string_view pfad, std::string_view ordner) {
    return (!pfad.empty() && ohneSchraegstrichAmEnde(pfad) == ohneSchraegstrichAmEnde(ordner)) || liegtIn(pfad, ordner);
}

std::string klein(std::string_view text) {
    std::string aus(text);
    for (char& c : aus) c = klein(c);
    return aus;
}

bool gleichOhneFall(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (klein(a[i]) != klein(b[i])) return false;
    return true;
}

}  // namespace hainbrem
