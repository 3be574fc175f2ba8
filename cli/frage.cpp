// hainbrem frage: one question to the assistant in the terminal. It lives in its own program
// (hainbrem-frage, beside this one) because it speaks to the local model through Qt; so every
// other command keeps running where no Qt is installed.
#include <optional>
#include <string>
#include <vector>

#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"

namespace hainbrem::cli {
namespace {

struct {
    std::vector<std::string> text;
    std::optional<std::string> adresse, modell;
    bool ja = false, probelauf = false;
} opt;

int frage(const Kontext& k) {
    std::vector<std::string> argumente;
    if (k.json) argumente.emplace_back("--json");
    if (k.profil != standardProfil)
        argumente.insert(argumente.end(), {"--profil", k.profil == Katalogprofil::macos ? "macos" : "linux"});
    if (opt.adresse) argumente.insert(argumente.end(), {"--adresse", *opt.adresse});
    if (opt.modell) argumente.insert(argumente.end(), {"--modell", *opt.modell});
    if (opt.ja) argumente.emplace_back("--ja");
    if (opt.probelauf) argumente.emplace_back("--probelauf");
    argumente.emplace_back("--");
    std::string text;
    for (const auto& wort : opt.text) text += (text.empty() ? "" : " ") + wort;
    argumente.push_back(text);
    return werdeHilfsprogramm("hainbrem-frage", argumente, "hainbrem frage");
}

const bool registriert = registriere({
    .name = "frage",
    .beschreibung =
        "Den Assistenten auf einem lokalen Sprachmodell fragen; seine Vorschläge wie beim Aufräumen bestätigen",
    .reihenfolge = 80,
    .optionen =
        [](CLI::App& a, Katalogprofil) {
            a.add_option("TEXT", opt.text, "Die Frage (Anführungszeichen nicht nötig)")->type_name("")->required();
            a.add_option("--adresse", opt.adresse, "Adresse des Sprachmodells (sonst die Einstellung kiAdresse)")
                ->type_name("URL");
            a.add_option("--modell", opt.modell, "Name des Modells (sonst kiModell, sonst das erste dort)")
                ->type_name("NAME");
            a.add_flag("--probelauf", opt.probelauf, "Nur zeigen, was mit den Vorschlägen geschähe; nichts anfassen");
            a.add_flag("--ja", opt.ja, "Vorschläge ohne Rückfrage ausführen");
        },
    .ausfuehren = frage,
});

}  // namespace
}  // namespace hainbrem::cli
