#pragma once
// The free-space watcher: reads the real free space every 20 seconds, keeps the last warning
// level and notifies when the disk becomes tight or critical. The application model owns one;
// `hainbrem waechter` runs one on its own.
#include <QObject>
#include <QThreadPool>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

#include "kern/plattenstand.hpp"
#include "plattform/anwendung.hpp"

namespace hainbrem {

// What lets the watcher sleep between passes; tests ring it by hand.
class Wecker {
public:
    virtual ~Wecker() = default;
    // Calls `klingeln` once, `dauer` from now, on this thread; replaces an earlier call.
    virtual void stellen(std::chrono::milliseconds dauer, std::function<void()> klingeln) = 0;
    virtual void abstellen() = 0;
};

// A single-shot QTimer: Qt's timers run on the monotonic clock, so changing the wall clock
// neither hurries nor delays a pass.
class QtWecker : public Wecker {
public:
    QtWecker();
    void stellen(std::chrono::milliseconds dauer, std::function<void()> klingeln) override;
    void abstellen() override;

private:
    QTimer timer_;
    std::function<void()> klingeln_;
};

class Platzmelder : public QObject {
    Q_OBJECT

public:
    using Lage = Plattenstand::Lage;

    struct Teile {
        std::filesystem::path home;
        std::chrono::milliseconds takt{20'000};
        std::shared_ptr<Wecker> wecker;                                   // empty: QtWecker
        std::function<Plattenstand(const std::filesystem::path&)> lesen;  // empty: Plattenstand::jetzt
        std::function<bool(const std::filesystem::path&)> vollzugriff;    // empty: Zugriff::vollzugriff
        std::function<void(const plattform::Benachrichtigung&)> melden;   // empty: the system's notifications
        std::function<int64_t()> warnGrenze;                              // bytes
    };

    explicit Platzmelder(Teile teile, QObject* eltern = nullptr);
    ~Platzmelder() override;

    // The first reading: sets the level directly and warns at once only when it is critical.
    void anfangen();
    // One reading, then the notification rule.
    void aktualisieren();
    // Posts the notification for `lage` with the current free space.
    void warnen(Lage lage);
    // Starts the loop (once): sleep, read, and every third pass test full disk access.
    void beobachten();
    void anhalten();

    const Plattenstand& stand() const { return stand_; }
    Lage letzteLage() const { return letzteLage_; }

    // Critical at 1,999,999,999 bytes and below, whatever the threshold; tight under it.
    static Lage lageFuer(int64_t frei, int64_t grenze);
    // Entering critical always notifies, entering tight only from good; leaving critical for
    // tight and every return to good stay silent.
    static bool meldet(Lage vorher, Lage neu, int64_t frei, int64_t grenze);

    static constexpr const char* titelKritisch = "Platte fast voll";
    static constexpr const char* titelKnapp = "Speicher wird knapp";
    static std::string text(int64_t echtFrei);

signals:
    // Every reading, before the rule looks at it.
    void gelesen(const hainbrem::Plattenstand& stand);
    void vollzugriffGelesen(bool an);

private:
    void schlafen();
    void durchgang();
    Plattenstand lies();

    Teile teile_;
    std::unique_ptr<plattform::Benachrichtiger> eigenerMelder_;
    Plattenstand stand_;
    Lage letzteLage_ = Lage::gut;
    bool laeuft_ = false;
    int64_t durchgaenge_ = 0;
    QThreadPool pruefer_;  // the full-disk-access test, off the main thread
};

}  // namespace hainbrem
