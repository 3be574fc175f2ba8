// What every system's Trash does the same: what identifies an item in it and, once it can open
// an item, the ways in and out by path for tests and tools. Built on Linux and on macOS.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "basis/pfade.hpp"
#include "plattform/papierkorb.hpp"

namespace hainbrem::plattform {

PapierkorbKennung kennungVon(const struct stat& st) {
#ifdef __APPLE__
    const timespec& geaendert = st.st_mtimespec;
#else
    const timespec& geaendert = st.st_mtim;
#endif
    PapierkorbKennung k;
    k.geraet = static_cast<uint64_t>(st.st_dev);
    k.inode = static_cast<uint64_t>(st.st_ino);
    k.groesse = static_cast<int64_t>(st.st_size);
    int64_t ns = 0;
    if (__builtin_mul_overflow(static_cast<int64_t>(geaendert.tv_sec), int64_t{1'000'000'000}, &ns) ||
        __builtin_add_overflow(ns, static_cast<int64_t>(geaendert.tv_nsec), &ns))
        ns = INT64_MIN;  // a date no file has: compares equal only to itself
    k.geaendertNs = ns;
    return k;
}

Ergebnis<Ort> oeffneAufgeloest(const fs::path& pfad) {
    const std::string& roh = pfad.native();
    const std::string name = nameVon(roh);
    if (name.empty() || name == "." || name == "..") return Fehlschlag{"Kein gültiger Pfad"};
    std::unique_ptr<char, decltype(&std::free)> eltern(::realpath(elternVon(roh).c_str(), nullptr), &std::free);
    if (!eltern) return Fehlschlag{"Ordner existiert nicht"};
    Ort ort;
    ort.eltern = Griff(oeffneKanonisch(eltern.get()));
    struct stat st;
    if (!ort.eltern || ::fstat(ort.eltern.fd(), &st) != 0) return Fehlschlag{"Ordner existiert nicht"};
    ort.elternPfad = eltern.get();
    ort.name = name;
    ort.geraet = st.st_dev;
    ort.inode = st.st_ino;
    return ort;
}

Ergebnis<fs::path> inDenPapierkorb(const fs::path& pfad, const fs::path& home) {
    auto ort = oeffneAufgeloest(pfad);
    if (!ort) return Fehlschlag{ort.error()};
    struct stat st;
    if (::fstatat(ort->eltern.fd(), ort->name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return Fehlschlag{"Schon weg"};
    auto platz = reservierePapierkorb(*ort, home);
    if (!platz) return Fehlschlag{platz.error()};
    auto ziel = verschiebeInPapierkorb(*ort, *platz);
    if (!ziel) return Fehlschlag{ziel.error()};
    return ziel->datei;
}

Ergebnis<void> ausDemPapierkorb(const fs::path& imPapierkorb, const fs::path& ziel, const fs::path& home) {
    auto eintrag = oeffnePapierkorbEintrag(imPapierkorb, home);
    if (!eintrag) return Fehlschlag{eintrag.error()};
    auto ort = oeffneAufgeloest(ziel);
    if (!ort) return Fehlschlag{ort.error()};
    return ausDemPapierkorb(*eintrag, *ort);
}

}  // namespace hainbrem::plattform
