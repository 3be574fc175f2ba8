#pragma once
// A model on a fixture home: own settings file, own history, a watcher rung by hand, a disk
// whose free space the test sets, and notifications collected instead of shown.
#include <QCoreApplication>
#include <QTest>
#include <functional>
#include <memory>
#include <vector>

#include "../fixture_home.hpp"
#include "../testordner.hpp"
#include "app/modell/appmodell.hpp"

namespace hainbrem::test {

class HandWecker : public Wecker {
public:
    void stellen(std::chrono::milliseconds d, std::function<void()> k) override {
        dauer = d;
        klingeln_ = std::move(k);
    }
    void abstellen() override { klingeln_ = nullptr; }
    bool gestellt() const { return static_cast<bool>(klingeln_); }
    // One pass of the watcher.
    void klingeln() {
        if (auto k = std::move(klingeln_)) k();
    }
    std::chrono::milliseconds dauer{};

private:
    std::function<void()> klingeln_;
};

inline constexpr int64_t GB = 1'000'000'000;

struct FreierPlatz {
    int64_t frei = 50 * GB;
    Plattenstand lies() const { return Plattenstand{.gesamt = 500 * GB, .echtFrei = frei, .mitLoeschbarem = frei}; }
};

inline Fund fund(const fs::path& url, int64_t bytes = 100, Entsorgung art = Entsorgung::papierkorb,
                 std::optional<std::string> besitzer = std::nullopt) {
    Fund f;
    f.url = url;
    f.bytes = bytes;
    f.art = art;
    f.besitzer = std::move(besitzer);
    return f;
}

// Waits for `bis` while the event loop runs; false after 60 s.
inline bool warte(const std::function<bool()>& bis) { return QTest::qWaitFor(bis, 60'000); }

struct Welt {
    Testordner ordner;
    MacHome mac{ordner};
    std::shared_ptr<HandWecker> wecker = std::make_shared<HandWecker>();
    std::shared_ptr<FreierPlatz> platz = std::make_shared<FreierPlatz>();
    std::shared_ptr<std::vector<plattform::Benachrichtigung>> meldungen =
        std::make_shared<std::vector<plattform::Benachrichtigung>>();

    QString einstellungen() const { return QString::fromStdString((ordner / "einstellungen.ini").native()); }

    Umfeld umfeld(QStringList argumente = {}) const {
        Umfeld u;
        u.home = mac.home();
        u.temp = mac.temp();
        u.programme = mac.programme();
        u.programmOrdner = {mac.programme(), mac.home() / "Applications"};
        u.verlaufDatei = ordner / "verlauf.json";
        u.einstellungsDatei = einstellungen();
        u.argumente = std::move(argumente);
        u.ganzePlatte = false;
        u.profil = Katalogprofil::macos;  // the fixture is a Mac home
        u.wecker = wecker;
        u.plattenstand = [p = platz](const fs::path&) { return p->lies(); };
        u.platte = [] { return std::optional<Platte>(); };
        u.vollzugriff = [](const fs::path&) { return true; };
        u.melden = [m = meldungen](const plattform::Benachrichtigung& b) { m->push_back(b); };
        u.laeuft = [](const std::string&) { return false; };
        return u;
    }
};

}  // namespace hainbrem::test
