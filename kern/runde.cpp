#include "kern/runde.hpp"

#include <algorithm>
#include <map>
#include <numeric>

namespace hainbrem {

namespace {

// A path given twice, or one inside a folder that goes the same way or into the Trash, is taken
// once: the folder holds it, and the confirmation would count its bytes twice and report the
// inner one as skipped. Only what goes for good inside a folder bound for the Trash stays its own.
std::vector<Fund> ohneEingeschlossene(std::vector<Fund> funde) {
    std::vector<size_t> reihe(funde.size());
    std::iota(reihe.begin(), reihe.end(), size_t{0});
    std::stable_sort(reihe.begin(), reihe.end(),
                     [&](size_t a, size_t b) { return funde[a].url.native().size() < funde[b].url.native().size(); });
    std::map<std::string, Entsorgung, std::less<>> ganze;
    std::vector<bool> weg(funde.size(), false);
    for (const size_t i : reihe) {
        const Fund& f = funde[i];
        for (std::filesystem::path p = f.url; !weg[i]; p = p.parent_path()) {
            const auto treffer = ganze.find(p.native());
            if (treffer != ganze.end() && (treffer->second == f.art || treffer->second == Entsorgung::papierkorb))
                weg[i] = true;
            if (p == p.parent_path() || p.empty()) break;
        }
        if (!weg[i]) ganze.emplace(f.url.native(), f.art);
    }
    std::vector<Fund> bleiben;
    for (size_t i = 0; i < funde.size(); ++i)
        if (!weg[i]) bleiben.push_back(std::move(funde[i]));
    return bleiben;
}

}  // namespace

Rundengang::Rundengang(Entsorger& entsorger, std::vector<Fund> funde, std::string titel)
    : entsorger_(entsorger), funde_(ohneEingeschlossene(std::move(funde))), titel_(std::move(titel)) {}

const Bestaetigung& Rundengang::bestaetigung() const {
    std::call_once(einmal_,
                   [this] { bestaetigung_ = hainbrem::bestaetigung(funde_, entsorger_.laeuft, entsorger_.waechter.home()); });
    return bestaetigung_;
}

RundenErgebnis Rundengang::fuehreAus(const std::filesystem::path& ort, Steuerung* steuerung) const {
    RundenErgebnis e;
    e.runde = entsorger_.entsorge(funde_, titel_, ort, steuerung);
    e.hinweis = entsorger_.verlauf.hinweis();
    e.angehalten = e.runde.posten.size() < funde_.size() || (steuerung && steuerung->angehalten());
    e.erklaerung = erklaerung(e.runde, ort);
    return e;
}

}  // namespace hainbrem
