// macOS: the workspace's running applications (not built or run on Linux).
#import <AppKit/AppKit.h>

#include "plattform/prozesse.hpp"

namespace hainbrem::plattform {

std::vector<LaufendesProgrammRoh> laufendeProgramme() {
    std::vector<LaufendesProgrammRoh> liste;
    @autoreleasepool {
        for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
            LaufendesProgrammRoh p;
            if (NSString* s = app.bundleIdentifier) p.kennung = s.UTF8String;
            if (NSString* s = app.localizedName) p.name = s.UTF8String;
            if (NSString* s = app.executableURL.path) p.programmdatei = s.UTF8String;
            p.pid = app.processIdentifier;
            p.eigenes = p.pid != NSProcessInfo.processInfo.processIdentifier;
            liste.push_back(std::move(p));
        }
    }
    return liste;
}

bool beenden(int pid) {
    @autoreleasepool {
        NSRunningApplication* app = [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
        return app != nil && [app terminate];
    }
}

}  // namespace hainbrem::plattform
