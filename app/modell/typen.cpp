#include "app/modell/typen.hpp"

#include <algorithm>

#include "kern/format.hpp"

namespace hainbrem {

namespace {
struct SeitenZeile {
    Seite seite;
    std::string_view id, titel, symbol;
};
constexpr std::array<SeitenZeile, 10> seitenTabelle{{
    {Seite::uebersicht, "uebersicht", "Übersicht", "sun.horizon"},
    {Seite::assistent, "assistent", "Assistent", "sparkles"},
    {Seite::aufraeumen, "aufraeumen", "Aufräumen", "leaf"},
    {Seite::karte, "karte", "Speicherkarte", "circle.circle"},
    {Seite::grosse, "grosse", "Große & alte Dateien", "doc.richtext"},
    {Seite::duplikate, "duplikate", "Duplikate", "square.on.square"},
    {Seite::programme, "programme", "Programme", "app.dashed"},
    {Seite::projekte, "projekte", "Projekte", "hammer"},
    {Seite::tricks, "tricks", "iCloud & System", "icloud"},
    {Seite::verlauf, "verlauf", "Verlauf", "clock.arrow.circlepath"},
}};
const SeitenZeile& zeile(Seite s) { return seitenTabelle[static_cast<size_t>(s)]; }
}  // namespace

std::string_view id(Seite s) { return zeile(s).id; }
std::string_view titel(Seite s) { return zeile(s).titel; }
std::string_view symbol(Seite s) { return zeile(s).symbol; }

std::string_view titel(Seite s, Katalogprofil profil) {
    return s == Seite::tricks && profil != Katalogprofil::macos ? "Systemdaten" : titel(s);
}
std::string_view symbol(Seite s, Katalogprofil profil) {
    return s == Seite::tricks && profil != Katalogprofil::macos ? "cpu" : symbol(s);
}

std::optional<Seite> seiteAus(std::string_view id) {
    for (const auto& z : seitenTabelle)
        if (z.id == id) return z.seite;
    return std::nullopt;
}

std::vector<Fund> Auftrag::endgueltig() const {
    std::vector<Fund> r;
    std::copy_if(funde.begin(), funde.end(), std::back_inserter(r),
                 [](const Fund& f) { return f.art == Entsorgung::loeschen; });
    return r;
}

std::vector<Fund> Auftrag::papierkorb() const {
    std::vector<Fund> r;
    std::copy_if(funde.begin(), funde.end(), std::back_inserter(r),
                 [](const Fund& f) { return f.art == Entsorgung::papierkorb; });
    return r;
}

Fund alsFund(const DateiInfo& datei, bool vorgewaehlt) {
    return Fund{datei.url(), datei.belegt, Entsorgung::papierkorb, std::nullopt, datei.geaendert,
                vorgewaehlt, std::nullopt};
}

std::vector<Fund> kopienAlsFunde(const DuplikatGruppe& gruppe) {
    std::vector<Fund> r;
    for (const auto& d : gruppe.dateien)
        if (d.pfad != gruppe.behalten) r.push_back(alsFund(d, true));
    return r;
}

}  // namespace hainbrem
