// macOS: Spotlight's record of a program's last use. Not built or tested here (no Mac).
#include <CoreServices/CoreServices.h>
#include <Foundation/Foundation.h>

#include "plattform/programme.hpp"

namespace hainbrem::plattform {

std::optional<std::chrono::system_clock::time_point> zuletztBenutzt(const std::filesystem::path& programm) {
    @autoreleasepool {
        NSString* pfad = [NSString stringWithUTF8String:programm.c_str()];
        if (!pfad) return std::nullopt;
        MDItemRef item = MDItemCreate(kCFAllocatorDefault, (__bridge CFStringRef)pfad);
        if (!item) return std::nullopt;
        CFTypeRef wert = MDItemCopyAttribute(item, kMDItemLastUsedDate);
        CFRelease(item);
        if (!wert) return std::nullopt;
        std::optional<std::chrono::system_clock::time_point> aus;
        if (CFGetTypeID(wert) == CFDateGetTypeID()) {
            const double sekunden = [(__bridge NSDate*)wert timeIntervalSince1970];
            aus = std::chrono::system_clock::time_point(std::chrono::duration_cast<std::chrono::system_clock::duration>(
                std::chrono::duration<double>(sekunden)));
        }
        CFRelease(wert);
        return aus;
    }
}

bool hatLaunchctl() { return true; }

}  // namespace hainbrem::plattform
