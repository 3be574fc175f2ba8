#include "cli/pfadangabe.hpp"

#include <cerrno>
#include <system_error>

#include "basis/systemfehler.hpp"

namespace hainbrem::cli {

namespace fs = std::filesystem;

Ergebnis<Pfadangabe> wieDieShell(const std::string& gegeben, const std::string& genannt) {
    const std::string& wort = genannt.empty() ? gegeben : genannt;
    // a name too long can't be there, a path too long can't be named: say that, not "missing"
    if (istZuLang(gegeben)) return Fehlschlag{pfadFehler(wort, ENAMETOOLONG)};
    std::string text = gegeben;
    while (text.size() > 1 && text.back() == '/') text.pop_back();
    const fs::path pfad(text);
    const std::string name = pfad.filename().native();
    if (text.empty()) return Fehlschlag{std::string("Ein leerer Pfad nennt keine Datei und keinen Ordner.")};
    if (text == "/") return Fehlschlag{std::string("„/“ ist die Wurzel des ganzen Systems, keine Datei und kein Ordner darin.")};
    if (name == "." || name == "..")
        return Fehlschlag{"„" + gekuerzt(wort) + "“ endet mit „" + name +
                          "“ und nennt so keinen Eintrag in einem Ordner. Nenne den Ordner selbst, etwa mit seinem "
                          "ganzen Pfad."};
    std::error_code fehler;
    const fs::path eltern = fs::canonical(pfad.has_parent_path() ? pfad.parent_path() : fs::path("."), fehler);
    if (fehler) return Fehlschlag{pfadFehler(wort, fehler.value())};
    Pfadangabe angabe;
    angabe.pfad = eltern / name;
    std::error_code ec;
    const fs::path wortwoertlich = fs::absolute(pfad, ec).lexically_normal();
    angabe.woandersHin = !ec && wortwoertlich != angabe.pfad;
    return angabe;
}

}  // namespace hainbrem::cli
