// `hainbrem`: the scriptable front end to everything the core can do.
#include <clocale>
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "cli/aufruf.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "kern/heim.hpp"
#include "kern/safetyguard.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::cli {

namespace {
std::vector<Kommando>& tabelle() {
    static std::vector<Kommando> t;
    return t;
}
}  // namespace

std::string profilWort(Katalogprofil profil) { return profil == Katalogprofil::macos ? "macos" : "linux"; }

std::string profilVorsatz(Katalogprofil profil) {
    return profil == standardProfil ? std::string() : "--profil " + profilWort(profil) + " ";
}

bool registriere(Kommando kommando) {
    tabelle().push_back(std::move(kommando));
    return true;
}

}  // namespace hainbrem::cli

namespace {

// The profile named with --profil, read before the parse so the help speaks of its places; the
// parse itself checks the value.
hainbrem::Katalogprofil profilAusArgumenten(int argc, char** argv) {
    using hainbrem::Katalogprofil;
    for (int i = 1; i < argc; ++i) {
        const std::string_view a = argv[i];
        if (a == "--") break;
        std::string_view wert;
        if (a == "--profil" && i + 1 < argc) wert = argv[i + 1];
        else if (a.starts_with("--profil=")) wert = a.substr(9);
        if (wert == "macos") return Katalogprofil::macos;
        if (wert == "linux") return Katalogprofil::linuxDesktop;
    }
    return hainbrem::standardProfil;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace hainbrem;
    std::setlocale(LC_ALL, "");
    const Katalogprofil hilfeProfil = profilAusArgumenten(argc, argv);
    CLI::App app{"Hainbrem – schafft Platz auf deiner Platte.", "hainbrem"};
    cli::deutscheHilfe(app);
    app.footer("Mehr zu einem Befehl: hainbrem BEFEHL --help");
    app.require_subcommand(1);
    app.fallthrough();
    cli::Kontext kontext;
    app.add_flag("--json", kontext.json, "Maschinenlesbare Ausgabe (JSON) auf stdout");
    std::string profil = cli::profilWort(kontext.profil);
    app.add_option("--profil", profil, "Orte von Katalog und Wächter: macos oder linux (Vorgabe: dieses System)")
        ->type_name("macos|linux")
        ->check(cli::einesVon({"macos", "linux"}));

    auto& kommandos = cli::tabelle();
    std::stable_sort(kommandos.begin(), kommandos.end(),
                     [](const auto& a, const auto& b) { return a.reihenfolge < b.reihenfolge; });
    std::vector<std::pair<CLI::App*, const cli::Kommando*>> unter;
    std::vector<std::string> namen;
    for (const auto& k : kommandos) {
        const bool mac = hilfeProfil == Katalogprofil::macos && !k.beschreibungMac.empty();
        CLI::App* sub = app.add_subcommand(k.name, mac ? k.beschreibungMac : k.beschreibung);
        sub->group("Befehle");
        cli::deutscheHilfe(*sub);
        sub->footer("");  // the main command's pointer to the commands' help
        if (k.optionen) k.optionen(*sub, hilfeProfil);
        unter.emplace_back(sub, &k);
        namen.push_back(k.name);
    }
    // An unknown word where the command belongs gets its own clear message.
    for (int i = 1; i < argc; ++i) {
        const std::string_view wort = argv[i];
        if (wort == "--profil") ++i;  // its value is no command
        if (wort.starts_with("-")) continue;
        if (std::find(namen.begin(), namen.end(), wort) == namen.end()) {
            const std::string naechstes = cli::aehnlichstes(wort, namen);
            cli::fehler("Einen Befehl „" + std::string(wort) + "“ gibt es nicht." +
                        (naechstes.empty() ? std::string() : " Meintest du „" + naechstes + "“?"));
            std::fprintf(stderr, "Alle Befehle zeigt: hainbrem --help\n");
            return 2;
        }
        break;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        cli::fehler(cli::aufDeutsch(e, app));
        std::fprintf(stderr, "%s\n", cli::hilfeHinweis(e, app).c_str());
        return 2;
    }
    kontext.profil = profil == "macos" ? Katalogprofil::macos : Katalogprofil::linuxDesktop;
    auto heim = heimOrdner();
    if (!heim) return cli::fehler(heim.error()), 2;
    kontext.home = std::move(*heim);
    auto temp = SafetyGuard::benutzerTemp(kontext.home);
    kontext.temp = std::move(temp.ordner);
    kontext.tempHinweis = std::move(temp.hinweis);
    for (const auto& [sub, k] : unter)
        if (sub->parsed()) return k->ausfuehren(kontext);
    return 2;
}
