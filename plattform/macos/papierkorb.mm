// macOS: the file manager's Trash. The system picks the name in ~/.Trash and tells it only
// after the move, so nothing can be reserved beforehand. Not built or tested on Linux.
#import <Foundation/Foundation.h>

#include "plattform/papierkorb.hpp"

namespace hainbrem::plattform {

namespace {
std::string grund(NSError* fehler) {
    NSString* t = fehler.localizedFailureReason ?: fehler.localizedDescription;
    return t ? std::string(t.UTF8String) : std::string("Unbekannter Fehler");
}
NSURL* url(const fs::path& p) {
    return [NSURL fileURLWithFileSystemRepresentation:p.c_str() isDirectory:NO relativeToURL:nil];
}
}  // namespace

std::expected<Papierkorbplatz, std::string> reservierePapierkorb(const fs::path&, const fs::path&) {
    return Papierkorbplatz{};
}

std::expected<fs::path, std::string> verschiebeInPapierkorb(const fs::path& pfad, const Papierkorbplatz&) {
    @autoreleasepool {
        NSURL* ergebnis = nil;
        NSError* fehler = nil;
        if (![NSFileManager.defaultManager trashItemAtURL:url(pfad) resultingItemURL:&ergebnis error:&fehler])
            return std::unexpected(grund(fehler));
        if (!ergebnis) return fs::path{};
        return fs::path(ergebnis.fileSystemRepresentation);
    }
}

std::expected<fs::path, std::string> inDenPapierkorb(const fs::path& pfad, const fs::path& home) {
    return verschiebeInPapierkorb(pfad, *reservierePapierkorb(pfad, home));
}

std::expected<void, std::string> ausDemPapierkorb(const fs::path& imPapierkorb, const fs::path& ziel) {
    @autoreleasepool {
        if ([NSFileManager.defaultManager fileExistsAtPath:@(ziel.c_str())]) return std::unexpected(zielBelegtText);
        NSError* fehler = nil;
        if (![NSFileManager.defaultManager moveItemAtURL:url(imPapierkorb) toURL:url(ziel) error:&fehler])
            return std::unexpected(fehler.localizedDescription ? std::string(fehler.localizedDescription.UTF8String)
                                                               : std::string(nichtImPapierkorbText));
        return {};
    }
}

fs::path trashinfoZu(const fs::path&) { return {}; }
void papierkorbEintragVergessen(const fs::path&) {}

}  // namespace hainbrem::plattform
