#include "kern/erklaeren.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "basis/pfade.hpp"
#include "basis/systemfehler.hpp"
#include "kern/format.hpp"
#include "kern/groesse.hpp"

namespace hainbrem::Erklaeren {

namespace {


std::string einheit(int64_t n, const char* eins, const char* mehr) {
    return "vor " + anzahl(n, eins, mehr);
}

std::string urteilText(const Urteil& u) { return u.istErlaubt() ? "erlaubt" : "nein (" + u.grund() + ")"; }

}  // namespace

std::string relativ(Zeitpunkt dann, Zeitpunkt jetzt) {
    using namespace std::chrono;
    const int64_t s = duration_cast<seconds>(jetzt - dann).count();
    if (s < -60) return "in der Zukunft";  // a clock that was set back
    if (s < 60) return "gerade eben";
    if (s < 3600) return einheit(s / 60, "Minute", "Minuten");
    if (s < 86'400) return einheit(s / 3600, "Stunde", "Stunden");
    if (s < 2 * 86'400) return "gestern";
    const int64_t tage = s / 86'400;
    if (tage < 30) return einheit(tage, "Tag", "Tagen");
    if (tage < 365) return einheit(tage / 30, "Monat", "Monaten");
    return einheit(tage / 365, "Jahr", "Jahren");
}

std::string kurzpfad(const fs::path& pfad, const fs::path& home) {
    const std::string& p = pfad.native();
    const std::string_view h = ohneSchraegstrichAmEnde(home.native());
    if (h.size() > 1 && liegtInOderIst(p, h)) return "~" + p.substr(h.size());
    return p;
}

fs::path erweitere(std::string_view pfad, const fs::path& home) {
    while (!pfad.empty() && (pfad.front() == ' ' || pfad.front() == '\t')) pfad.remove_prefix(1);
    while (!pfad.empty() && (pfad.back() == ' ' || pfad.back() == '\t')) pfad.remove_suffix(1);
    fs::path p;
    if (pfad == "~")
        p = home;
    else if (pfad.starts_with("~/"))
        p = home / pfad.substr(2);
    else if (pfad.starts_with('/'))
        p = pfad;
    else
        p = home / pfad;  // "Library/Caches" means the one in the home folder
    std::string s = p.lexically_normal().native();
    while (s.size() > 1 && s.back() == '/') s.pop_back();
    return s;
}

Fakten fakten(std::string_view pfad, const Umgebung& u, const SafetyGuard& guard) {
    Fakten f;
    f.pfad = erweitere(pfad, u.home);
    struct stat st {};
    if (::lstat(f.pfad.c_str(), &st) != 0) {
        f.fehler = errno;
        return f;
    }
    f.gibtEs = true;
    CloudSchutz::aktivieren();  // measuring must never pull a cloud file down
    f.bytes = Groesse::belegt(f.pfad);
    if (st.st_mtim.tv_sec > 0)
        f.geaendert = std::chrono::system_clock::from_time_t(st.st_mtim.tv_sec) +
                      std::chrono::duration_cast<std::chrono::system_clock::duration>(
                          std::chrono::nanoseconds(st.st_mtim.tv_nsec));
    if (S_ISDIR(st.st_mode)) {
        std::error_code e;
        for (fs::directory_iterator it(f.pfad, e), ende; !e && it != ende; it.increment(e))
            f.beispiele.push_back(it->path().filename().native());
        std::sort(f.beispiele.begin(), f.beispiele.end());  // the listing's own order is no order
        if (f.beispiele.size() > maxBeispiele) f.beispiele.resize(maxBeispiele);
    }
    f.loeschen = guard.pruefe(f.pfad, Entsorgung::loeschen);
    f.papierkorb = guard.pruefe(f.pfad, Entsorgung::papierkorb);
    for (const Regel& r : Katalog::regeln(u.profil)) {
        if (!r.finde) continue;
        const auto funde = r.finde(u);
        if (std::any_of(funde.begin(), funde.end(), [&](const Fund& x) { return x.url == f.pfad; })) {
            f.regel = &r;
            break;
        }
    }
    return f;
}

std::string text(const std::string& pfad, const Fakten& f, const fs::path& home, Zeitpunkt jetzt) {
    // a path too long or behind a file is not simply missing
    if (!f.gibtEs) return f.fehler && f.fehler != ENOENT ? pfadFehler(pfad, f.fehler) : pfad + " gibt es nicht.";
    std::vector<std::string> zeilen;
    zeilen.push_back(kurzpfad(f.pfad, home) + ": " + alsBytes(f.bytes) + ", zuletzt geändert " +
                     (f.geaendert ? relativ(*f.geaendert, jetzt) : "unbekannt") + ".");
    if (!f.beispiele.empty()) zeilen.push_back("Enthält u. a.: " + verbinde(f.beispiele, ", "));
    if (f.regel)
        zeilen.push_back("Hainbrem kennt das als „" + f.regel->titel + "“: " + f.regel->warumSicher +
                         " Danach: " + f.regel->danach);
    zeilen.push_back("Endgültig löschen: " + urteilText(f.loeschen) + ". Papierkorb: " + urteilText(f.papierkorb) +
                     ".");
    return verbinde(zeilen, "\n");
}

}  // namespace hainbrem::Erklaeren
