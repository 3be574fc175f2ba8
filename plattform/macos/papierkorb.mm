// macOS: the file manager's Trash. The system picks the name in ~/.Trash and tells it only
// after the move, so nothing can be reserved beforehand; the move is asked for by path, right
// after checking that the path still leads to the folder the caller opened. Not built or
// tested on Linux.
#import <Foundation/Foundation.h>

#include "basis/pfade.hpp"
#include "plattform/papierkorb.hpp"

#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "plattform/plattform.hpp"

namespace hainbrem::plattform {

namespace {
std::string grund(NSError* fehler) {
    NSString* t = fehler.localizedFailureReason ?: fehler.localizedDescription;
    return t ? std::string(t.UTF8String) : std::string("Unbekannter Fehler");
}
NSURL* url(const std::string& p) {
    return [NSURL fileURLWithFileSystemRepresentation:p.c_str() isDirectory:NO relativeToURL:nil];
}
}  // namespace

Ergebnis<Papierkorbplatz> reservierePapierkorb(const Ort& ort, const fs::path&) {
    struct stat st;
    if (::fstatat(ort.eltern.fd(), ort.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) return Fehlschlag{"Schon weg"};
    Papierkorbplatz platz;
    platz.kennung = kennungVon(st);
    return platz;
}

Ergebnis<ImPapierkorb> verschiebeInPapierkorb(const Ort& ort, Papierkorbplatz& platz) {
    @autoreleasepool {
        struct stat st;
        if (::stat(ort.elternPfad.c_str(), &st) != 0 || st.st_dev != ort.geraet || st.st_ino != ort.inode)
            return Fehlschlag{"Ein Ordner auf dem Weg wurde ausgetauscht"};
        NSURL* ergebnis = nil;
        NSError* fehler = nil;
        if (![NSFileManager.defaultManager trashItemAtURL:url(ort.pfad()) resultingItemURL:&ergebnis error:&fehler])
            return Fehlschlag{grund(fehler)};
        if (!ergebnis) return ImPapierkorb{fs::path{}, platz.kennung};
        return ImPapierkorb{fs::path(ergebnis.fileSystemRepresentation), platz.kennung};
    }
}

Ergebnis<PapierkorbEintrag> oeffnePapierkorbEintrag(const fs::path& imPapierkorb, const fs::path& home) {
    char trash[PATH_MAX], ordner[PATH_MAX];
    const std::string roh = imPapierkorb.native();
    if (!::realpath((home / ".Trash").c_str(), trash) || !::realpath(elternVon(roh).c_str(), ordner) ||
        std::string(trash) != ordner)
        return Fehlschlag{keinPapierkorbText};
    PapierkorbEintrag e;
    e.dateien = Griff(oeffneKanonisch(ordner));
    e.name = nameVon(roh);
    struct stat st;
    if (!e.dateien || ::fstatat(e.dateien.fd(), e.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return Fehlschlag{nichtImPapierkorbText};
    e.kennung = kennungVon(st);
    return e;
}

Ergebnis<void> ausDemPapierkorb(PapierkorbEintrag& eintrag, const Ort& ziel) {
    if (::renameatx_np(eintrag.dateien.fd(), eintrag.name.c_str(), ziel.eltern.fd(), ziel.name.c_str(), RENAME_EXCL) ==
        0)
        return {};
    if (errno == EEXIST) return Fehlschlag{zielBelegtText};
    return Fehlschlag{nichtImPapierkorbText};
}

void papierkorbEintragVergessen(const fs::path&, const fs::path&) {}

fs::path trashinfoZu(const fs::path&) { return {}; }

}  // namespace hainbrem::plattform
