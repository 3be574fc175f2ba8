#pragma once
// Every `hainbrem` subcommand lives in its own file and registers itself here, so adding a
// command never touches another command's file.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "kern/datensaetze.hpp"
#include "kern/safetyguard.hpp"

namespace hainbrem::cli {

struct Kontext {
    bool json = false;
    std::filesystem::path home;  // HOME (so a fixture home is just HOME=/dir hainbrem …)
    std::filesystem::path temp;  // TMPDIR when it is a real temp folder, else /tmp
    std::optional<std::string> tempHinweis;  // why TMPDIR was not used
    Katalogprofil profil = standardProfil;   // --profil: whose places catalog and guard know
};

// The guard for this home and temp folder, with the chosen profile.
inline SafetyGuard waechterFuer(const Kontext& k) {
    return SafetyGuard(k.home, k.temp, "/Applications", std::string(SafetyGuard::standardKennung), k.profil);
}

struct Kommando {
    std::string name;
    std::string beschreibung;
    std::string beschreibungMac = {};  // under the macOS profile, when it differs
    int reihenfolge = 100;             // position in the help text
    // Declares the subcommand's options, their help worded for the profile given with --profil;
    // bind them to state owned by the command's file.
    std::function<void(CLI::App&, Katalogprofil)> optionen;
    // Runs it; returns the exit status.
    std::function<int(const Kontext&)> ausfuehren;
};

// For use in a namespace-scope initializer: `const bool registriert = registriere({...});`
bool registriere(Kommando kommando);

// The profile's value for `--profil` and the command that repeats it where needed: "" under
// the system's own profile, else "--profil macos " (for "hainbrem --profil macos aufraeumen").
std::string profilWort(Katalogprofil profil);
std::string profilVorsatz(Katalogprofil profil);

}  // namespace hainbrem::cli
