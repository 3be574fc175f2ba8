#include "kern/tempordner.hpp"

#include <climits>
#include <cstdlib>

#include "basis/pfade.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem {

namespace fs = std::filesystem;

namespace {

std::optional<fs::path> echt(const fs::path& p) {
    char puffer[PATH_MAX];
    if (!::realpath(p.c_str(), puffer)) return std::nullopt;
    return fs::path(puffer);
}

// Both resolved, so their text says where they are.
bool inOderGleich(const fs::path& pfad, const fs::path& ordner) {
    return liegtInOderIst(pfad.native(), ordner.native());
}

}  // namespace

TempRegel TempRegel::standard() {
    return TempRegel{plattform::tempWurzeln(), plattform::istFluechtig, plattform::tempErsatz()};
}

TempWahl waehleTemp(const fs::path& home, const fs::path& konfiguriert, const TempRegel& regel) {
    const fs::path ersatz = echt(regel.ersatz).value_or(regel.ersatz);
    const auto ablehnen = [&](const std::string& grund) {
        return TempWahl{ersatz, "Der Temp-Ordner „" + konfiguriert.native() + "“ wird nicht benutzt: " + grund +
                                    ". Hainbrem nimmt „" + ersatz.native() + "“."};
    };
    const auto ordner = echt(konfiguriert);
    if (!ordner) return ablehnen("den Ordner gibt es nicht");
    const fs::path heim = echt(home).value_or(home);

    if (*ordner == "/") return ablehnen("das ist die Wurzel des Dateisystems");
    if (*ordner == heim) return ablehnen("das ist dein Benutzerordner");
    if (inOderGleich(heim, *ordner)) return ablehnen("er enthält deinen Benutzerordner");
    // the guard judges everything in home by home's rules, where deleting for good needs a cache
    if (inOderGleich(*ordner, heim)) return ablehnen("er liegt in deinem Benutzerordner");

    for (const fs::path& w : regel.wurzeln)
        if (const auto wurzel = echt(w); wurzel && *wurzel != "/" && inOderGleich(*ordner, *wurzel))
            return TempWahl{*ordner, std::nullopt};
    if (regel.istFluechtig && regel.istFluechtig(*ordner)) return TempWahl{*ordner, std::nullopt};
    std::string wurzeln;
    for (const fs::path& w : regel.wurzeln) wurzeln += (wurzeln.empty() ? "" : ", ") + w.native();
    return ablehnen("er liegt in keinem Temp-Ordner des Systems (" + wurzeln +
                    ") und ist kein tmpfs, alte Einträge darin würden sonst endgültig gelöscht");
}

}  // namespace hainbrem
