#include "kern/projekte.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "basis/pfade.hpp"
#include "kern/arbeiter.hpp"
#include "kern/dienste.hpp"
#include "kern/groesse.hpp"
#include "kern/namen.hpp"
#include "kern/pakete.hpp"
#include "kern/safetyguard.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::Projekte {

namespace {

Zeitpunkt alsZeitpunkt(const struct timespec& t) {
    return Zeitpunkt(std::chrono::duration_cast<Zeitpunkt::duration>(std::chrono::seconds(t.tv_sec) +
                                                                     std::chrono::nanoseconds(t.tv_nsec)));
}

}  // namespace

std::vector<std::pair<fs::path, fs::path>> sammle(int tiefe, const Umgebung& umgebung, Steuerung* steuerung) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    std::vector<std::pair<fs::path, fs::path>> paare;
    const SafetyGuard waechter(umgebung.home, umgebung.temp);
    bool abgebrochen = false;
    for (std::string_view wurzelName : wurzeln) {
        const fs::path wurzel = umgebung.home / wurzelName;
        struct stat st;
        if (::stat(wurzel.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) continue;
        Groesse::durchlaufe(wurzel, [&](const Groesse::Eintrag& e) {
            if (s.angehalten()) {
                abgebrochen = true;
                return Groesse::Weiter::abbrechen;
            }
            if (e.art != Groesse::EintragArt::ordnerAnfang) return Groesse::Weiter::ja;
            if (e.ebene == 0) return Groesse::Weiter::ja;
            // a cloud placeholder would be downloaded by listing it
            if (e.statt && plattform::istDatenlos(*e.statt)) return Groesse::Weiter::ueberspringen;
            const std::string_view name(e.name);
            if (e.ebene > tiefe || name == ".git") return Groesse::Weiter::ueberspringen;
            if (Namen::bauordnerFuer(name)) {
                const fs::path ordner(e.pfad);
                // the guard holds the marker rule; its verdict is the only one that counts
                if (waechter.pruefe(ordner, Entsorgung::loeschen).istErlaubt())
                    paare.emplace_back(ordner, ordner.parent_path());
                return Groesse::Weiter::ueberspringen;
            }
            if (name.starts_with(".") || istPaketName(name)) return Groesse::Weiter::ueberspringen;
            return Groesse::Weiter::ja;
        });
        if (abgebrochen) return {};
    }
    return paare;
}

std::vector<std::string> dienstPfade(const Umgebung& umgebung) { return Dienste::pfade(umgebung.home); }

std::optional<Zeitpunkt> juengsteAenderung(const fs::path& projekt, std::string_view ohne) {
    const int fd = ::open(projekt.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    DIR* d = ::fdopendir(fd);
    if (!d) {
        ::close(fd);
        return std::nullopt;
    }
    std::optional<Zeitpunkt> neueste;
    while (const dirent* e = ::readdir(d)) {
        const std::string_view name(e->d_name);
        if (name == "." || name == ".." || name == ohne) continue;
        struct stat st;
        if (::fstatat(fd, e->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
        const Zeitpunkt t = alsZeitpunkt(st.st_mtim);
        if (!neueste || t > *neueste) neueste = t;
    }
    ::closedir(d);
    return neueste;
}

std::vector<std::pair<fs::path, fs::path>> ohneVerschachtelte(std::vector<std::pair<fs::path, fs::path>> kandidaten) {
    std::vector<std::string> sortiert;
    sortiert.reserve(kandidaten.size());
    for (const auto& k : kandidaten) sortiert.push_back(k.first.native());
    std::sort(sortiert.begin(), sortiert.end());
    // A candidate lies inside another exactly when one of its prefixes ending before a "/" is
    // itself a candidate.
    auto liegtInAnderem = [&](const std::string& p) {
        for (size_t schnitt = p.find('/', 1); schnitt != std::string::npos; schnitt = p.find('/', schnitt + 1))
            if (std::binary_search(sortiert.begin(), sortiert.end(), p.substr(0, schnitt))) return true;
        return false;
    };
    std::erase_if(kandidaten, [&](const auto& k) { return liegtInAnderem(k.first.native()); });
    return kandidaten;
}

std::vector<Bauabfall> finde(const Umgebung& umgebung, int tiefe, Steuerung* steuerung, Zeitpunkt jetzt) {
    Steuerung ersatz;  // when the caller passed none
    Steuerung& s = steuerung ? *steuerung : ersatz;
    const std::vector<std::string> dienste = dienstPfade(umgebung);
    const auto kandidaten = ohneVerschachtelte(sammle(tiefe, umgebung, &s));
    if (kandidaten.empty() || s.angehalten()) return {};
    s.gesamt.store(static_cast<int64_t>(kandidaten.size()), std::memory_order_relaxed);

    std::vector<Bauabfall> ergebnis(kandidaten.size());
    std::vector<char> fertig(kandidaten.size(), 0);
    // every candidate is its own piece of work for a bounded set of threads
    Arbeiter arbeiter(static_cast<unsigned>(std::min<size_t>(kandidaten.size(), Arbeiter::kerne(2, 8))));
    arbeiter.fuerAlle(kandidaten.size(), [&](size_t i) {
        if (s.angehalten()) return;
        const auto& [ordner, projekt] = kandidaten[i];
        Bauabfall& b = ergebnis[i];
        b.projekt = projekt;
        b.zuletzt = juengsteAenderung(projekt, ordner.filename().native());
        const bool genutzt = std::any_of(dienste.begin(), dienste.end(),
                                         [&](const std::string& d) { return liegtInOderIst(d, projekt.native()); });
        b.fund.url = ordner;
        b.fund.art = Entsorgung::loeschen;
        Steuerung innen(s.halt);  // counts entries, which are no candidates
        const Groesse::Messung m = Groesse::miss(ordner, 1, &innen);
        if (m.angehalten) return;
        b.fund.bytes = m.bytes;
        if (b.zuletzt && jetzt - *b.zuletzt > ruhezeit && !genutzt) {
            b.fund.vorgewaehlt = true;
        } else if (genutzt) {
            b.fund.titel = ordner.filename().native() + std::string(dienstHinweis);
        }
        fertig[i] = 1;
        s.dazu(1, m.bytes);
    });
    // stopped: only the candidates looked at in full
    std::vector<Bauabfall> aus;
    for (size_t i = 0; i < ergebnis.size(); ++i)
        if (fertig[i]) aus.push_back(std::move(ergebnis[i]));
    std::stable_sort(aus.begin(), aus.end(),
                     [](const Bauabfall& a, const Bauabfall& b) { return a.fund.bytes > b.fund.bytes; });
    return aus;
}

}  // namespace hainbrem::Projekte
