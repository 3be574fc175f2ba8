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

bool hatPunktTeil(std::string_view pfad) {
    for (size_t anfang = 0; anfang <= pfad.size();) {
        size_t ende = pfad.find('/', anfang);
        if (ende == std::string_view::npos) ende = pfad.size();
        const std::string_view teil = pfad.substr(anfang, ende - anfang);
        if (teil == "." || teil == "..") return true;
        anfang = ende + 1;
    }
    return false;
}

std::string nameVon(std::string_view pfad) {
    const size_t schnitt = pfad.rfind('/');
    return std::string(schnitt == std::string_view::npos ? pfad : pfad.substr(schnitt + 1));
}

std::string elternVon(std::string_view pfad) {
    const size_t schnitt = pfad.rfind('/');
    if (schnitt == std::string_view::npos) return ".";
    return std::string(schnitt == 0 ? std::string_view("/") : pfad.substr(0, schnitt));
}

}  // namespace hainbrem
