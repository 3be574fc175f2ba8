// macOS: the Finder's "date added" of the Trash entry. Not built or tested on Linux.
#import <Foundation/Foundation.h>

#include "plattform/papierkorb_datum.hpp"

namespace hainbrem::plattform {

std::optional<std::chrono::system_clock::time_point> imPapierkorbSeit(const std::filesystem::path& eintrag) {
    @autoreleasepool {
        NSURL* url = [NSURL fileURLWithFileSystemRepresentation:eintrag.c_str() isDirectory:NO relativeToURL:nil];
        NSDate* datum = nil;
        if (![url getResourceValue:&datum forKey:NSURLAddedToDirectoryDateKey error:nil] || !datum)
            return std::nullopt;
        const auto sekunden = std::chrono::duration<double>(datum.timeIntervalSince1970);
        return std::chrono::system_clock::time_point(
            std::chrono::duration_cast<std::chrono::system_clock::duration>(sekunden));
    }
}

}  // namespace hainbrem::plattform
