// macOS: UserNotifications and the main application's login item. Not built or tested here.
#import <AppKit/AppKit.h>
#import <ServiceManagement/ServiceManagement.h>
#import <UserNotifications/UserNotifications.h>

#include "plattform/anwendung.hpp"

namespace hainbrem::plattform {

struct Benachrichtiger::Innen {};

Benachrichtiger::Benachrichtiger(std::string) : innen_(std::make_unique<Innen>()) {
    [[UNUserNotificationCenter currentNotificationCenter]
        requestAuthorizationWithOptions:(UNAuthorizationOptionAlert | UNAuthorizationOptionSound)
                      completionHandler:^(BOOL, NSError*) {}];
}

Benachrichtiger::~Benachrichtiger() = default;

void Benachrichtiger::zeige(const Benachrichtigung& b) {
    UNMutableNotificationContent* inhalt = [UNMutableNotificationContent new];
    inhalt.title = [NSString stringWithUTF8String:b.titel.c_str()];
    inhalt.body = [NSString stringWithUTF8String:b.text.c_str()];
    inhalt.sound = b.kritisch ? UNNotificationSound.defaultSound : nil;
    UNNotificationRequest* anfrage =
        [UNNotificationRequest requestWithIdentifier:@(benachrichtigungsKennung) content:inhalt trigger:nil];
    [[UNUserNotificationCenter currentNotificationCenter] addNotificationRequest:anfrage
                                                           withCompletionHandler:^(NSError*) {}];
}

bool imDateimanagerZeigen(const std::filesystem::path& pfad) {
    @autoreleasepool {
        NSURL* url = [NSURL fileURLWithPath:[NSString stringWithUTF8String:pfad.c_str()]];
        [NSWorkspace.sharedWorkspace activateFileViewerSelectingURLs:@[ url ]];
        return true;
    }
}

namespace Anmeldung {

bool setzen(bool an, const std::filesystem::path&) {
    SMAppService* dienst = SMAppService.mainAppService;
    return an ? [dienst registerAndReturnError:nil] : [dienst unregisterAndReturnError:nil];
}
bool setzen(bool an) { return setzen(an, {}); }
bool istAn(const std::filesystem::path&) { return SMAppService.mainAppService.status == SMAppServiceStatusEnabled; }
bool istAn() { return istAn({}); }

}  // namespace Anmeldung
}  // namespace hainbrem::plattform
