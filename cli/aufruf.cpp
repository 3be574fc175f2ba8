#include "cli/aufruf.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <regex>
#include <sstream>

#include "basis/systemfehler.hpp"
#include "kern/format.hpp"

namespace hainbrem::cli {

namespace {

std::string zitiert(std::string_view wert) { return "„" + gekuerzt(wert, 60) + "“"; }

// "1.000.000", "2,5": as the help and the messages write figures.
std::string zahlText(double x) {
    if (std::trunc(x) == x && std::fabs(x) < 9e15) return alsZahl(static_cast<int64_t>(x));
    std::string t = fmt::format("{}", x);
    std::replace(t.begin(), t.end(), '.', ',');
    return t;
}

// "macos und linux", "a, b oder c"
std::string aufgezaehlt(const std::vector<std::string>& werte, const char* letztes) {
    std::string text;
    for (size_t i = 0; i < werte.size(); ++i) {
        if (i > 0) text += i + 1 == werte.size() ? letztes : ", ";
        text += werte[i];
    }
    return text;
}

// The subcommand the parse got into, if any.
const CLI::App* unterbefehl(const CLI::App& app) {
    const auto unter = app.get_subcommands();
    return unter.empty() ? nullptr : unter.front();
}

std::string befehlsname(const CLI::App& app) {
    const CLI::App* u = unterbefehl(app);
    return u ? app.get_name() + " " + u->get_name() : app.get_name();
}

// The option or argument of that name, in the subcommand first.
const CLI::Option* option(const CLI::App& app, const std::string& name) {
    if (const CLI::App* u = unterbefehl(app))
        if (const CLI::Option* o = u->get_option_no_throw(name)) return o;
    return app.get_option_no_throw(name);
}

// ": Datei oder Ordner" from the option's help line, or nothing.
std::string wozu(const CLI::App& app, const std::string& name) {
    const CLI::Option* o = option(app, name);
    return o && !o->get_description().empty() ? ": " + o->get_description() : std::string();
}

bool istSchalter(const CLI::App& app, const std::string& name) {
    const CLI::Option* o = option(app, name);
    return o && o->get_expected_max() == 0;
}

std::string schalterOhneWert(const std::string& name) { return name + " ist ein Schalter und nimmt keinen Wert."; }

// Says what an option excludes after its description, where it reads as a sentence, instead of
// between the option's name and its description.
class Formatierer : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option* o) const override {
        std::string text = CLI::Formatter::make_option_opts(o);
        if (const auto stelle = text.find(" " + get_label("Excludes") + ":"); stelle != std::string::npos)
            text.erase(stelle);
        return text;
    }
    std::string make_option_desc(const CLI::Option* o) const override {
        std::string text = CLI::Formatter::make_option_desc(o);
        std::string nicht;
        for (const CLI::Option* x : o->get_excludes()) nicht += (nicht.empty() ? "" : ", ") + x->get_name();
        if (!nicht.empty()) text += " (nicht mit " + nicht + ")";
        return text;
    }
};

}  // namespace

void deutscheHilfe(CLI::App& app) {
    app.option_defaults()->group("Optionen");
    app.set_help_flag("-h,--help,--hilfe", "Diese Hilfe zeigen");
    app.formatter(std::make_shared<Formatierer>());
    const auto formatter = app.get_formatter();
    formatter->label("Usage", "Aufruf");
    formatter->label("OPTIONS", "OPTIONEN");
    formatter->label("SUBCOMMAND", "BEFEHL");
    formatter->label("SUBCOMMANDS", "BEFEHLE");
    formatter->label("Positionals", "Argumente");
    formatter->label("REQUIRED", "NÖTIG");
    formatter->label("Needs", "Braucht");
    formatter->label("Excludes", "Nicht mit");
    formatter->label("Env", "Umgebung");
}

CLI::Validator ganzzahl(int64_t von, int64_t bis) {
    return CLI::Validator(
        [von, bis](std::string& wert) -> std::string {
            int64_t zahl = 0;
            const char* ende = wert.data() + wert.size();
            const auto [bis_hier, fehler] = std::from_chars(wert.data(), ende, zahl);
            if (wert.empty() || fehler != std::errc() || bis_hier != ende)
                return zitiert(wert) + " ist keine ganze Zahl – erlaubt sind " + alsZahl(von) + " bis " + alsZahl(bis);
            if (zahl < von || zahl > bis)
                return zitiert(wert) + " liegt nicht zwischen " + alsZahl(von) + " und " + alsZahl(bis);
            return {};
        },
        "", "ganzzahl");
}

CLI::Validator kommazahl(double von, double bis) {
    return CLI::Validator(
        [von, bis](std::string& wert) -> std::string {
            std::string punkt = wert;
            std::replace(punkt.begin(), punkt.end(), ',', '.');
            double zahl = 0;
            const char* ende = punkt.data() + punkt.size();
            const auto [bis_hier, fehler] = std::from_chars(punkt.data(), ende, zahl);
            if (punkt.empty() || fehler != std::errc() || bis_hier != ende || !std::isfinite(zahl))
                return zitiert(wert) + " ist keine Zahl (etwa 10 oder 2,5) – erlaubt sind " + zahlText(von) + " bis " +
                       zahlText(bis);
            if (zahl < von || zahl > bis)
                return zitiert(wert) + " liegt nicht zwischen " + zahlText(von) + " und " + zahlText(bis);
            // CLI11 reads the number back in the process locale; write it so
            char puffer[64];
            std::snprintf(puffer, sizeof puffer, "%.17g", zahl);
            wert = puffer;
            return {};
        },
        "", "kommazahl");
}

CLI::Validator einesVon(std::vector<std::string> werte) {
    return CLI::Validator(
        [werte](std::string& wert) -> std::string {
            if (std::find(werte.begin(), werte.end(), wert) != werte.end()) return {};
            return zitiert(wert) + " – möglich " + (werte.size() == 1 ? "ist " : "sind ") +
                   aufgezaehlt(werte, werte.size() == 2 ? " und " : " oder ");
        },
        "", "einesVon");
}

std::string aufDeutsch(const CLI::ParseError& e, const CLI::App& app) {
    const std::string w = e.what();
    const std::string befehl = "„" + befehlsname(app) + "“";
    std::smatch m;
    const auto passt = [&](const char* muster) { return std::regex_match(w, m, std::regex(muster)); };

    if (dynamic_cast<const CLI::RequiredError*>(&e)) {
        if (passt("A subcommand.*"))
            return "Es fehlt der Befehl, etwa „hainbrem pruefen“.";
        if (passt("(.+) is required")) return befehl + " braucht " + m[1].str() + wozu(app, m[1]) + ".";
        return befehl + " braucht noch eine Angabe.";
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&e)) {
        std::vector<std::string> zuviel;
        if (passt("The following arguments? (?:was|were) not expected: (.*)")) {
            // CLI11 names them last first
            std::istringstream worte(m[1].str());
            for (std::string wort; worte >> wort;) zuviel.insert(zuviel.begin(), wort);
        }
        if (zuviel.empty()) return befehl + " nimmt keine weiteren Angaben.";
        if (zuviel.front().starts_with('-'))
            return "Die Option " + zitiert(zuviel.front()) + " gibt es bei " + befehl + " nicht.";
        std::vector<std::string> genannt;
        for (const auto& z : zuviel) genannt.push_back(zitiert(z));
        return aufgezaehlt(genannt, " und ") + (zuviel.size() == 1 ? " ist" : " sind") + " zu viel: " + befehl +
               " nimmt keine weitere Angabe.";
    }
    if (dynamic_cast<const CLI::ValidationError*>(&e)) {
        // our own checks write German after "NAME: "
        if (passt("(\\S+): (.*)")) return "Ungültiger Wert für " + m[1].str() + ": " + m[2].str() + ".";
        return "Ungültiger Wert.";
    }
    if (dynamic_cast<const CLI::ConversionError*>(&e)) {
        if (passt("(.+): too many inputs for a flag") || passt("(.+): Should be true/false or a number"))
            return schalterOhneWert(m[1]);
        if (passt("Could not convert: (.+) = (.*)")) {
            const std::string name = m[1], wert = m[2];
            if (istSchalter(app, name)) return schalterOhneWert(name);
            return "Ungültiger Wert für " + name + ": " + zitiert(wert) + ".";
        }
        if (passt("The value (.*) is not an allowed value for (.+)"))
            return "Ungültiger Wert für " + m[2].str() + ": " + zitiert(m[1].str()) + ".";
        return "Ein Wert ließ sich nicht lesen.";
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&e)) {
        if (passt("(.+): \\d+ required (.*) missing"))
            return "Bei " + m[1].str() + " fehlt der Wert" + (m[2].length() ? ": " + m[2].str() : wozu(app, m[1])) +
                   ".";
        if (passt("(.+): At Most (\\d+) required but received (\\d+)") ||
            passt("Expected exactly (\\d+) arguments to (.+), got (\\d+)")) {
            const bool vorn = !std::isdigit(static_cast<unsigned char>(m[1].str().front()));
            const std::string name = vorn ? m[1].str() : m[2].str();
            const std::string erlaubt = vorn ? m[2].str() : m[1].str();
            if (erlaubt == "1") return name + " nimmt nur einen Wert; gib es nur einmal an.";
            return name + " nimmt " + erlaubt + " Werte, nicht " + m[3].str() + ".";
        }
        if (passt("(.+): At least (\\d+) required but received (\\d+)") ||
            passt("Expected at least (\\d+) arguments to (.+), got (\\d+)")) {
            const bool vorn = !std::isdigit(static_cast<unsigned char>(m[1].str().front()));
            const std::string name = vorn ? m[1].str() : m[2].str();
            const std::string mindestens = vorn ? m[2].str() : m[1].str();
            return "Bei " + name + " fehlt der Wert" + (mindestens == "1" ? "" : ": es braucht " + mindestens) +
                   wozu(app, name) + ".";
        }
        if (passt("(.+) was given a disallowed flag override")) return schalterOhneWert(m[1]);
        return "Eine Angabe hat zu viele oder zu wenige Werte.";
    }
    if (dynamic_cast<const CLI::ExcludesError*>(&e)) {
        if (passt("(.+) excludes (.+)"))
            return m[1].str() + " und " + m[2].str() + " gehen nicht zusammen: gib nur eines davon an.";
        return "Zwei Angaben schließen sich aus.";
    }
    if (dynamic_cast<const CLI::RequiresError*>(&e)) {
        if (passt("(.+) requires (.+)")) return m[1].str() + " gilt nur zusammen mit " + m[2].str() + ".";
        return "Eine Angabe gilt nur zusammen mit einer anderen.";
    }
    return "Der Aufruf ist so nicht zu verstehen.";
}

std::string hilfeHinweis(const CLI::ParseError& e, const CLI::App& app) {
    const CLI::App* u = unterbefehl(app);
    if (!u) return "Mehr dazu: " + app.get_name() + " --help";
    // a main option that failed while a subcommand was parsed (--profil) is the main command's
    const std::string w = e.what();
    const auto doppelpunkt = w.find(':');
    if (dynamic_cast<const CLI::ValidationError*>(&e) && doppelpunkt != std::string::npos) {
        const std::string name = w.substr(0, doppelpunkt);
        if (!u->get_option_no_throw(name) && app.get_option_no_throw(name))
            return "Mehr dazu: " + app.get_name() + " --help";
    }
    return "Mehr dazu: " + app.get_name() + " " + u->get_name() + " --help";
}

std::string aehnlichstes(std::string_view wort, const std::vector<std::string>& bekannt) {
    // edit distance, letters as bytes: command names are ASCII
    const auto abstand = [](std::string_view a, std::string_view b) {
        std::vector<size_t> zeile(b.size() + 1);
        for (size_t j = 0; j <= b.size(); ++j) zeile[j] = j;
        for (size_t i = 1; i <= a.size(); ++i) {
            size_t diagonal = zeile[0];
            zeile[0] = i;
            for (size_t j = 1; j <= b.size(); ++j) {
                const size_t oben = zeile[j];
                zeile[j] = std::min({zeile[j] + 1, zeile[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
                diagonal = oben;
            }
        }
        return zeile[b.size()];
    };
    std::string bestes;
    size_t bester = 3;
    for (const auto& b : bekannt)
        if (const size_t d = abstand(wort, b); d < bester) {
            bester = d;
            bestes = b;
        }
    return bestes;
}

}  // namespace hainbrem::cli
