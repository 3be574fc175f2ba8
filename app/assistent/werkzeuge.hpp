#pragma once
// The assistant's five tools: the only way the language model learns numbers, paths and findings,
// and the only way it can act – by proposing findings in `kiVorschlag`. Nothing here removes
// anything. Each text is built by a pure function of the state it is given, so it can be checked
// word for word; the tool objects around them fetch that state (file work on their own threads,
// the model's fields on the model's thread) and hand the text back on the model's thread.
#include <QJsonObject>
#include <QObject>
#include <QThreadPool>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kern/datensaetze.hpp"
#include "kern/erklaeren.hpp"
#include "kern/katalog.hpp"
#include "kern/plattenstand.hpp"
#include "kern/safetyguard.hpp"
#include "kern/tiefenscan.hpp"

namespace hainbrem {

class AppModell;

// ---- shared small helpers

// Paths and times as in "erklaere" (kern/erklaeren.hpp).
using Erklaeren::erweitere;
using Erklaeren::kurzpfad;
using Erklaeren::relativ;
// The first `n` characters (not bytes) of UTF-8 text.
std::string ersteZeichen(std::string_view text, size_t n);

// ---- the texts, as pure functions of what the tools read

// A Mac counts purgeable space as available; Linux has none, so its text speaks of what is free.
std::string plattenstandText(const Plattenstand& stand, Katalogprofil profil);

inline constexpr size_t maxRegeln = 14;
inline constexpr size_t maxBegruendung = 110;
std::string aufraeumFundeText(const std::vector<RegelErgebnis>& katalog);

inline constexpr size_t maxKinder = 10;
// `pfad` as the model gave it; `wurzel` may be null (no scan).
std::string groessteOrdnerText(const std::string& pfad, const fs::path& home, const Knoten::Zeiger& wurzel);

// "erklaere" is the core's use case (kern/erklaeren.hpp); the tool only runs it off the model's thread.
using ErklaerFakten = Erklaeren::Fakten;
using Erklaeren::maxBeispiele;

// Every finding the model's lists hold, by path; the first one met wins.
std::map<std::string, Fund> bekannteFunde(const AppModell& modell);

struct Vorschlag {
    std::vector<Fund> funde;  // each path once, every one allowed by the guard
    std::string text;
};
// Guard verdicts read the disk: call off the model's thread.
Vorschlag vorschlagen(const std::vector<RegelErgebnis>& katalog, const std::map<std::string, Fund>& bekannt,
                      const std::vector<std::string>& regelIDs, const std::vector<std::string>& pfade,
                      const SafetyGuard& guard, const fs::path& home);

// ---- the tools

struct Argument {
    std::string name;
    bool liste = false;  // a list of texts, else one text
    std::string fuehrung;
};

class Werkzeug : public QObject {
    Q_OBJECT
public:
    using Fertig = std::function<void(std::string)>;

    ~Werkzeug() override;
    virtual std::string_view name() const = 0;
    virtual std::string_view beschreibung() const = 0;
    virtual std::vector<Argument> argumente() const { return {}; }
    // Called on the model's thread with arguments already checked against `argumente`; `fertig`
    // runs later on the same thread, never inside this call's file work.
    virtual void call(const QJsonObject& argumente, Fertig fertig) = 0;

    // The arguments as the model wrote them (a JSON object in text). Broken JSON, a missing or
    // mistyped argument become an answer that tells the model so; nothing is run then.
    void rufe(const std::string& argumentText, Fertig fertig);

protected:
    // Runs `werk` on this tool's own thread and hands its text to `fertig` on the tool's thread.
    void imHintergrund(std::function<std::string()> werk, Fertig fertig);

private:
    QThreadPool faeden_;  // last: waited for before anything the jobs use is gone
};

// Unknown names are answered, not failed.
std::string unbekanntesWerkzeug(std::string_view name);

class PlattenWerkzeug : public Werkzeug {
public:
    // `lesen` empty: Plattenstand::jetzt. The profile words the texts (a Mac's Finder, Linux).
    explicit PlattenWerkzeug(fs::path home, Katalogprofil profil,
                             std::function<Plattenstand(const fs::path&)> lesen = {});
    std::string_view name() const override { return "plattenstand"; }
    std::string_view beschreibung() const override;
    void call(const QJsonObject& argumente, Fertig fertig) override;

private:
    fs::path home_;
    Katalogprofil profil_;
    std::function<Plattenstand(const fs::path&)> lesen_;
};

class FundeWerkzeug : public Werkzeug {
public:
    explicit FundeWerkzeug(AppModell& modell) : modell_(modell) {}
    std::string_view name() const override { return "aufraeumFunde"; }
    std::string_view beschreibung() const override;
    void call(const QJsonObject& argumente, Fertig fertig) override;

private:
    AppModell& modell_;
};

class OrdnerWerkzeug : public Werkzeug {
public:
    explicit OrdnerWerkzeug(AppModell& modell);
    std::string_view name() const override { return "groessteOrdner"; }
    std::string_view beschreibung() const override;
    std::vector<Argument> argumente() const override;
    void call(const QJsonObject& argumente, Fertig fertig) override;

private:
    AppModell& modell_;
    fs::path home_;
    Katalogprofil profil_;  // its examples are the profile's folders
};

class ErklaerWerkzeug : public Werkzeug {
public:
    // `umgebung` is asked on the tool's thread for every call.
    ErklaerWerkzeug(SafetyGuard guard, std::function<Umgebung()> umgebung);
    std::string_view name() const override { return "erklaere"; }
    std::string_view beschreibung() const override;
    std::vector<Argument> argumente() const override;
    void call(const QJsonObject& argumente, Fertig fertig) override;

private:
    SafetyGuard guard_;
    std::function<Umgebung()> umgebung_;
};

class AuswahlWerkzeug : public Werkzeug {
public:
    explicit AuswahlWerkzeug(AppModell& modell);
    std::string_view name() const override { return "auswaehlen"; }
    std::string_view beschreibung() const override;
    std::vector<Argument> argumente() const override;
    void call(const QJsonObject& argumente, Fertig fertig) override;

private:
    AppModell& modell_;
    fs::path home_;
};

// The five in the order the session registers them.
std::vector<std::unique_ptr<Werkzeug>> alleWerkzeuge(AppModell& modell);

}  // namespace hainbrem
