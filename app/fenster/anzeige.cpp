#include "app/fenster/anzeige.hpp"

#include <algorithm>
#include <cctype>
#include <chrono>

#include "basis/pfade.hpp"
#include "kern/ueberlauf.hpp"

namespace hainbrem::anzeige {

std::string kurzpfad(const std::string& pfad, const std::filesystem::path& home) {
    const std::string_view h = ohneSchraegstrichAmEnde(home.native());
    if (h.empty() || h == "/") return pfad;
    if (pfad == h) return "~";
    if (liegtInOderIst(pfad, h)) return "~" + pfad.substr(h.size());
    return pfad;
}

std::string vorWann(std::optional<Zeitpunkt> t, Zeitpunkt jetzt) {
    if (!t) return "–";
    using namespace std::chrono;
    const int64_t s = std::max<int64_t>(0, duration_cast<seconds>(jetzt - *t).count());
    auto mal = [](int64_t n, const char* eins, const char* viele) {
        return "vor " + std::to_string(n) + " " + (n == 1 ? eins : viele);
    };
    constexpr int64_t minute = 60, stunde = 3600, tag = 86'400;
    if (s < minute) return "gerade eben";
    if (s < stunde) return mal(s / minute, "Minute", "Minuten");
    if (s < tag) return mal(s / stunde, "Stunde", "Stunden");
    if (s < 2 * tag) return "gestern";
    if (s < 14 * tag) return mal(s / tag, "Tag", "Tagen");
    if (s < 60 * tag) return mal(s / (7 * tag), "Woche", "Wochen");
    if (s < 365 * tag) return mal(s / (30 * tag), "Monat", "Monaten");
    return mal(s / (365 * tag), "Jahr", "Jahren");
}

int64_t summe(const std::vector<Fund>& funde) {
    int64_t s = 0;
    for (const auto& f : funde) s = addiere(s, f.bytes);
    return s;
}

namespace {
constexpr std::string_view festesLeerzeichen = "\u00A0";
constexpr std::string_view wortVerbinder = "\u2060";
constexpr std::string_view einheiten[] = {"Byte", "KB", "MB", "GB", "TB", "PB", "EB"};
}  // namespace

std::string ohneUmbruch(std::string_view text) {
    std::string r;
    r.reserve(text.size() + 8);
    for (size_t i = 0; i < text.size(); ++i) {
        const bool nachZahl = i > 0 && text[i - 1] >= '0' && text[i - 1] <= '9';
        if (text[i] == ' ' && nachZahl) {
            const std::string_view rest = text.substr(i + 1);
            const bool einheit = std::any_of(std::begin(einheiten), std::end(einheiten), [&](std::string_view e) {
                return rest.starts_with(e) && (rest.size() == e.size() || !std::isalpha(static_cast<unsigned char>(rest[e.size()])));
            });
            if (einheit) {
                r += festesLeerzeichen;
                continue;
            }
        }
        r += text[i];
    }
    return r;
}

std::string befehlAmStueck(std::string_view befehl) {
    std::string r;
    for (const char c : befehl) {
        if (c == ' ') {
            r += festesLeerzeichen;
        } else {
            r += c;
            if (c == '-') r += wortVerbinder;
        }
    }
    return r;
}

std::vector<Fund> gewaehlte(const std::vector<Fund>& funde, const std::set<std::string>& auswahl) {
    std::vector<Fund> r;
    for (const auto& f : funde)
        if (auswahl.contains(f.url.native())) r.push_back(f);
    return r;
}

}  // namespace hainbrem::anzeige
