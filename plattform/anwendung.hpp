#pragma once
// What the desktop application needs from the system beyond files: notifications and starting
// at login. Apart from plattform.hpp because Linux speaks D-Bus here through Qt, which the core
// never links (target hainbrem_plattform_app).
#include <filesystem>
#include <memory>
#include <string>

namespace hainbrem::plattform {

struct Benachrichtigung {
    std::string titel;
    std::string text;
    bool kritisch = false;  // only then with sound
};

// macOS files every warning under this identifier, so a newer one replaces the older.
inline constexpr const char* benachrichtigungsKennung = "hainbrem.platz";

// Posts the free-space warnings; each replaces the one before. Every failure (no bus, no
// notification service, refusal) is silent. Linux: org.freedesktop.Notifications on the
// session D-Bus; macOS: UserNotifications.
class Benachrichtiger {
public:
    // `bus`: a D-Bus address (Linux; tests start their own bus); empty means the session bus.
    explicit Benachrichtiger(std::string bus = {});
    ~Benachrichtiger();
    Benachrichtiger(const Benachrichtiger&) = delete;
    Benachrichtiger& operator=(const Benachrichtiger&) = delete;

    // Returns at once; call it on a thread with an event loop (the main thread).
    void zeige(const Benachrichtigung& b);

private:
    struct Innen;
    std::unique_ptr<Innen> innen_;
};

// Shows `pfad` selected in the file manager. Linux: org.freedesktop.FileManager1.ShowItems on
// the session bus, else the folder that holds it opened with xdg-open; macOS: the Finder.
// Returns at once; false when neither could be asked.
bool imDateimanagerZeigen(const std::filesystem::path& pfad);

// "Beim Anmelden starten". Linux: an XDG autostart entry for the running program in
// $XDG_CONFIG_HOME/autostart (XDG_CONFIG_HOME honoured only inside `home`, else ~/.config);
// macOS: the main application's login item (`home` unused). True when done.
namespace Anmeldung {
bool setzen(bool an, const std::filesystem::path& home);
bool setzen(bool an);
bool istAn(const std::filesystem::path& home);
bool istAn();
}  // namespace Anmeldung

}  // namespace hainbrem::plattform
