// `hainbrem`: the scriptable front end to everything the core can do.
#include <clocale>
#include <algorithm>
#include <vector>

#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::cli {

namespace {
std::vector<Kommando>& tabelle() {
    static std::vector<Kommando> t;
    return t;
}
}  // namespace

bool registriere(Kommando kommando) {
    tabelle().push_back(std::move(kommando));
    return true;
}

}  // namespace hainbrem::cli

int main(int argc, char** argv) {
    using namespace hainbrem;
    std::setlocale(LC_ALL, "");
    CLI::App app{"Hainbrem – schafft Platz auf deiner Platte.", "hainbrem"};
    app.set_help_flag("-h,--hilfe", "Diese Hilfe zeigen");
    app.require_subcommand(1);
    app.fallthrough();
    cli::Kontext kontext;
    app.add_flag("--json", kontext.json, "Maschinenlesbare Ausgabe (JSON) auf stdout");

    auto& kommandos = cli::tabelle();
    std::stable_sort(kommandos.begin(), kommandos.end(),
                     [](const auto& a, const auto& b) { return a.reihenfolge < b.reihenfolge; });
    std::vector<std::pair<CLI::App*, const cli::Kommando*>> unter;
    for (const auto& k : kommandos) {
        CLI::App* sub = app.add_subcommand(k.name, k.beschreibung);
        sub->set_help_flag("-h,--hilfe", "Diese Hilfe zeigen");
        if (k.optionen) k.optionen(*sub);
        unter.emplace_back(sub, &k);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        cli::fehler(e.what());
        std::fprintf(stderr, "Mehr dazu: hainbrem --hilfe\n");
        return 2;
    }
    kontext.home = plattform::heimOrdner();
    kontext.temp = plattform::benutzerTemp();
    for (const auto& [sub, k] : unter)
        if (sub->parsed()) return k->ausfuehren(kontext);
    return 2;
}
