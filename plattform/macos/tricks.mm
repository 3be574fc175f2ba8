// macOS: iCloud items held locally, and eviction. Not built or tested here (no Mac).
#include <Foundation/Foundation.h>

#include "plattform/tricks.hpp"

namespace hainbrem::plattform {

namespace {
std::chrono::system_clock::time_point alsZeit(NSDate* d) {
    return std::chrono::system_clock::time_point(std::chrono::duration_cast<std::chrono::system_clock::duration>(
        std::chrono::duration<double>([d timeIntervalSince1970])));
}
}  // namespace

std::vector<CloudDatei> geladeneCloudDateien(const std::filesystem::path& wurzel) {
    std::vector<CloudDatei> aus;
    @autoreleasepool {
        NSURL* url = [NSURL fileURLWithFileSystemRepresentation:wurzel.c_str() isDirectory:YES relativeToURL:nil];
        NSArray<NSURLResourceKey>* schluessel = @[
            NSURLIsUbiquitousItemKey, NSURLUbiquitousItemDownloadingStatusKey, NSURLTotalFileAllocatedSizeKey,
            NSURLIsRegularFileKey, NSURLContentAccessDateKey
        ];
        NSDirectoryEnumerator* it = [NSFileManager.defaultManager enumeratorAtURL:url
                                                       includingPropertiesForKeys:schluessel
                                                                          options:0
                                                                     errorHandler:nil];
        for (NSURL* datei in it) {
            NSDictionary<NSURLResourceKey, id>* werte = [datei resourceValuesForKeys:schluessel error:nil];
            if (![werte[NSURLIsRegularFileKey] boolValue] || ![werte[NSURLIsUbiquitousItemKey] boolValue]) continue;
            if (![werte[NSURLUbiquitousItemDownloadingStatusKey]
                    isEqualToString:NSURLUbiquitousItemDownloadingStatusCurrent])
                continue;
            CloudDatei d;
            d.pfad = std::filesystem::path(datei.fileSystemRepresentation);
            d.bytes = [werte[NSURLTotalFileAllocatedSizeKey] longLongValue];
            if (NSDate* z = werte[NSURLContentAccessDateKey]) d.zugriff = alsZeit(z);
            aus.push_back(std::move(d));
        }
    }
    return aus;
}

bool cloudAuslagern(const std::filesystem::path& datei) {
    @autoreleasepool {
        NSURL* url = [NSURL fileURLWithFileSystemRepresentation:datei.c_str() isDirectory:NO relativeToURL:nil];
        return [NSFileManager.defaultManager evictUbiquitousItemAtURL:url error:nil];
    }
}

bool hatMacWerkzeuge() { return true; }

std::optional<std::vector<SwapBereich>> swapBereiche() { return std::nullopt; }
std::optional<std::vector<SwapBereich>> swapBereicheAus(const std::string&) { return std::nullopt; }

std::filesystem::path tempBereich(const std::filesystem::path& temp) {
    std::filesystem::path t = temp;
    if (!t.has_filename()) t = t.parent_path();  // ".../T/" → ".../T"
    return t.parent_path();
}

// the temp area lies on the data volume; not asked
std::optional<bool> imArbeitsspeicher(const std::filesystem::path&) { return std::nullopt; }

}  // namespace hainbrem::plattform
