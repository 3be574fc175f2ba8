#include "kern/datensaetze.hpp"

#include "plattform/plattform.hpp"

namespace hainbrem {

std::string_view rohwert(Entsorgung art) {
    return art == Entsorgung::loeschen ? "loeschen" : "papierkorb";
}

std::optional<Entsorgung> entsorgungAus(std::string_view roh) {
    if (roh == "loeschen") return Entsorgung::loeschen;
    if (roh == "papierkorb") return Entsorgung::papierkorb;
    return std::nullopt;
}

std::optional<Risiko> risikoAus(int roh) {
    if (roh < 0 || roh > 2) return std::nullopt;
    return static_cast<Risiko>(roh);
}

std::string_view name(Risiko r) {
    switch (r) {
        case Risiko::sicher: return "Sicher";
        case Risiko::pruefen: return "Kurz prüfen";
        case Risiko::vorsicht: return "Vorsicht";
    }
    return "";
}

namespace {
struct GruppenZeile {
    Gruppe gruppe;
    std::string_view titel;
    std::string_view symbol;
};
constexpr std::array<GruppenZeile, 6> gruppenTabelle{{
    {Gruppe::programme, "Programm-Caches", "square.stack.3d.up"},
    {Gruppe::browser, "Browser", "safari"},
    {Gruppe::entwicklung, "Entwicklung", "hammer"},
    {Gruppe::platzfresser, "Bekannte Platzfresser", "exclamationmark.triangle"},
    {Gruppe::protokolle, "Protokolle & Temporäres", "doc.text"},
    {Gruppe::papierkorb, "Papierkorb & Installer", "trash"},
}};
}  // namespace

std::string_view titel(Gruppe g) { return gruppenTabelle[static_cast<size_t>(g)].titel; }
std::string_view symbol(Gruppe g) { return gruppenTabelle[static_cast<size_t>(g)].symbol; }

std::optional<Gruppe> gruppeAus(std::string_view t) {
    for (const auto& z : gruppenTabelle)
        if (z.titel == t) return z.gruppe;
    return std::nullopt;
}

std::string Fund::name() const {
    if (titel) return *titel;
    return url.filename().string();
}

const std::string& Urteil::grund() const {
    static const std::string leer;
    return grund_ ? *grund_ : leer;
}

bool Zugriff::vollzugriff(const fs::path& home) { return plattform::vollzugriff(home); }

}  // namespace hainbrem

size_t std::hash<hainbrem::Fund>::operator()(const hainbrem::Fund& f) const noexcept {
    size_t h = std::hash<std::string>{}(f.url.native());
    auto misch = [&h](size_t v) { h ^= v + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2); };
    misch(std::hash<int64_t>{}(f.bytes));
    misch(static_cast<size_t>(f.art));
    misch(f.besitzer ? std::hash<std::string>{}(*f.besitzer) : 1);
    misch(f.datum ? std::hash<int64_t>{}(f.datum->time_since_epoch().count()) : 2);
    misch(f.vorgewaehlt ? 3 : 4);
    misch(f.titel ? std::hash<std::string>{}(*f.titel) : 5);
    return h;
}
