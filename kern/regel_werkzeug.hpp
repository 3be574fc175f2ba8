#pragma once
// What the rules of both catalog profiles share: building findings and the small questions
// about folders. Only the rule files include this.
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/katalog.hpp"

namespace hainbrem::Katalog::intern {

inline constexpr std::chrono::seconds dreiTage{259'200};
inline constexpr std::chrono::seconds eineWoche{604'800};
inline constexpr std::chrono::seconds dreissigTage{2'592'000};
inline constexpr std::chrono::seconds neunzigTage{7'776'000};
inline constexpr size_t hoechstensEintraege = 50'000;

Fund fund(const fs::path& url, Entsorgung art, std::optional<std::string> besitzer, bool vorgewaehlt,
          std::optional<Zeitpunkt> datum = std::nullopt, std::optional<std::string> titel = std::nullopt);

inline std::string name(const fs::path& p) { return p.filename().native(); }
bool istOrdner(const fs::path& p);
bool istDatei(const fs::path& p);
bool gibtEs(const fs::path& p);

// Where installers are left: Downloads, and the Desktop when it is another folder.
std::vector<fs::path> installerOrdner(const fs::path& home);

// Every entry of `ordner` as one finding with the same properties.
std::vector<Fund> jederEintrag(const fs::path& ordner, Entsorgung art, const std::optional<std::string>& besitzer,
                               bool vorgewaehlt, bool mitDatum = false);

// Entries of a tool folder, ticked when nothing inside changed for 30 days.
std::vector<Fund> unveraenderteEintraege(const std::vector<fs::path>& eintraege);

// Folders named in `cacheNamen` below `oben` (not `oben` itself), at most five levels deep,
// without entering packages or cloud placeholders; appended sorted by path.
void cacheOrdnerUnter(const fs::path& oben, const std::string& besitzer, std::vector<Fund>& funde);

// Rules that look in the same places on every system.
std::vector<Fund> findeHuggingface(const Umgebung& u);
std::vector<Fund> findeTemporaer(const Umgebung& u);
std::vector<Fund> findePapierkorb(const Umgebung& u);

}  // namespace hainbrem::Katalog::intern
