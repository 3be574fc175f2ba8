// macOS: the file manager's Trash. The system picks the name in ~/.Trash and tells it only
// after the move, so nothing can be reserved beforehand. Not built or tested on Linux.
#import <Foundation/Foundation.h>

#include "plattform/papierkorb.hpp"

#include <limits.h>
#include <stdlib.h>

namespace hainbrem::plattform {

namespace {
std::string grund(NSError* fehler) {
    NSString* t = fehler.localizedFailureReason ?: fehler.localizedDescription;
    return t ? std::string(t.UTF8String) : std::string("Unbekannter Fehler");
}
NSURL* url(const fs::path& p) {
    return [NSURL fileURLWithFileSystemRepresentation:p.c_str() isDirectory:NO relativeToURL:nil];
}
// The item with its parent resolved as the kernel does ("lnk/.." after following lnk), so the
// URL cannot be tidied into another place; empty when the parent is gone or the name is none.
fs::path aufgeloest(const fs::path& p) {
    const std::string& roh = p.native();
    const size_t schnitt = roh.rfind('/');
    if (schnitt == std::string::npos) return {};
    const std::string name = roh.substr(schnitt + 1);
    if (name.empty() || name == "." || name == "..") return {};
    char eltern[PATH_MAX];
    if (!::realpath(schnitt == 0 ? "/" : roh.substr(0, schnitt).c_str(), eltern)) return {};
    return fs::path(eltern) / name;
}
}  // namespace

Ergebnis<Papierkorbplatz> reservierePapierkorb(const fs::path&, const fs::path&) {
    return Papierkorbplatz{};
}

Ergebnis<fs::path> verschiebeInPapierkorb(const fs::path& pfad, const Papierkorbplatz&) {
    @autoreleasepool {
        NSURL* ergebnis = nil;
        NSError* fehler = nil;
        const fs::path echt = aufgeloest(pfad);
        if (echt.empty()) return Fehlschlag{"Kein gültiger Pfad"};
        if (![NSFileManager.defaultManager trashItemAtURL:url(echt) resultingItemURL:&ergebnis error:&fehler])
            return Fehlschlag{grund(fehler)};
        if (!ergebnis) return fs::path{};
        return fs::path(ergebnis.fileSystemRepresentation);
    }
}

Ergebnis<fs::path> inDenPapierkorb(const fs::path& pfad, const fs::path& home) {
    return verschiebeInPapierkorb(pfad, *reservierePapierkorb(pfad, home));
}

Ergebnis<void> ausDemPapierkorb(const fs::path& imPapierkorb, const fs::path& ziel) {
    @autoreleasepool {
        if ([NSFileManager.defaultManager fileExistsAtPath:@(ziel.c_str())]) return Fehlschlag{zielBelegtText};
        NSError* fehler = nil;
        if (![NSFileManager.defaultManager moveItemAtURL:url(imPapierkorb) toURL:url(ziel) error:&fehler])
            return Fehlschlag{fehler.localizedDescription ? std::string(fehler.localizedDescription.UTF8String)
                                                          : std::string(nichtImPapierkorbText)};
        return {};
    }
}

fs::path trashinfoZu(const fs::path&) { return {}; }
void papierkorbEintragVergessen(const fs::path&) {}

}  // namespace hainbrem::plattform
