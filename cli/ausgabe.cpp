#include "cli/ausgabe.hpp"

#include "basis/pfade.hpp"
#include "basis/systemfehler.hpp"
#include "basis/zeichen.hpp"
#include "basis/zeit.hpp"
#include "kern/kodierung.hpp"
#include "kern/verlauf.hpp"
#include "plattform/plattform.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <iostream>

namespace hainbrem::cli {

int fehler(const std::string& text) {
    std::fprintf(stderr, "hainbrem: %s\n", sichtbar(text).c_str());
    return 1;
}

void warnung(const std::string& text) { std::fprintf(stderr, "hainbrem: %s\n", sichtbar(text).c_str()); }

namespace {

// Strings that are not UTF-8 (names may be any bytes) keep their exact bytes beside them in
// "<key>Base64"; in a list, "<key>Base64" is a list of the same length with null for the rest.
void genau(json& j) {
    if (j.is_array()) {
        for (auto& e : j) genau(e);
        return;
    }
    if (!j.is_object()) return;
    json zusatz = json::object();
    for (auto it = j.begin(); it != j.end(); ++it) {
        json& wert = it.value();
        if (wert.is_string()) {
            const std::string& t = wert.get_ref<const std::string&>();
            if (!istUtf8(t)) {
                zusatz[it.key() + "Base64"] = base64(t);
                wert = lesbar(t);
            }
        } else if (wert.is_array() && std::any_of(wert.begin(), wert.end(), [](const json& e) {
                       return e.is_string() && !istUtf8(e.get_ref<const std::string&>());
                   })) {
            json roh = json::array();
            for (auto& e : wert) {
                if (e.is_string() && !istUtf8(e.get_ref<const std::string&>())) {
                    roh.push_back(base64(e.get_ref<const std::string&>()));
                    e = lesbar(e.get_ref<const std::string&>());
                } else {
                    roh.push_back(nullptr);
                    genau(e);
                }
            }
            zusatz[it.key() + "Base64"] = std::move(roh);
        } else {
            genau(wert);
        }
    }
    for (auto it = zusatz.begin(); it != zusatz.end(); ++it) j[it.key()] = std::move(it.value());
}

}  // namespace

void druckeJson(const json& j) {
    json kopie = j;
    genau(kopie);
    std::cout << kopie.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
}

std::string kurzerPfad(const std::filesystem::path& pfad, const std::filesystem::path& home) {
    const std::string& p = pfad.native();
    const std::string_view h = ohneSchraegstrichAmEnde(home.native());
    if (h.size() <= 1 || !liegtInOderIst(p, h)) return sichtbar(p);
    return sichtbar("~" + p.substr(h.size()));  // written as given, a slash at the end too
}

std::string zeige(std::string_view text) { return sichtbar(text); }

namespace {

std::string hilfsprogrammFehlt(const std::string& befehl, const std::filesystem::path& programm, int nummer) {
    if (nummer == ENOENT)
        return "„" + befehl + "“ ist in diesem Build nicht dabei: „" + programm.native() +
               "“ fehlt. Das Programm braucht Qt und wird nur mit der Anwendung gebaut: „bash werkzeuge/einrichten.sh "
               "--alles“ baut es, danach ruf build/release/cli/hainbrem auf.";
    return "„" + programm.native() + "“ lässt sich nicht starten: " + systemFehler(nummer) + ".";
}

}  // namespace

int werdeHilfsprogramm(const std::string& name, const std::vector<std::string>& argumente, const std::string& befehl) {
    const std::filesystem::path selbst = plattform::eigenesProgramm();
    const std::filesystem::path programm = (selbst.empty() ? std::filesystem::path("hainbrem") : selbst).parent_path() / name;
    std::vector<std::string> alle{programm.native()};
    alle.insert(alle.end(), argumente.begin(), argumente.end());
    std::vector<char*> argv;
    for (auto& a : alle) argv.push_back(a.data());
    argv.push_back(nullptr);
    std::fflush(nullptr);
    ::execv(programm.c_str(), argv.data());
    return fehler(hilfsprogrammFehlt(befehl, programm, errno));
}

std::string isoDatum(Zeitpunkt t) { return isoZeit(t); }

json datumOderNull(const std::optional<Zeitpunkt>& t) { return t ? json(isoDatum(*t)) : json(nullptr); }

std::string tagesDatum(const std::optional<Zeitpunkt>& t) { return t ? zeitText(*t, "%d.%m.%Y", Zone::ort) : "–"; }

json alsJson(const Fund& f) {
    json j;
    j["pfad"] = f.url.native();
    j["name"] = f.name();
    j["bytes"] = f.bytes;
    j["art"] = std::string(rohwert(f.art));
    j["besitzer"] = f.besitzer ? json(*f.besitzer) : json(nullptr);
    j["datum"] = datumOderNull(f.datum);
    j["vorgewaehlt"] = f.vorgewaehlt;
    j["titel"] = f.titel ? json(*f.titel) : json(nullptr);
    return j;
}

bool frage(const std::string& text) {
    std::fprintf(stderr, "%s [j/N] ", text.c_str());
    std::fflush(stderr);
    std::string antwort;
    if (!std::getline(std::cin, antwort)) {
        std::fprintf(stderr, "\n");
        return false;
    }
    return antwort == "j" || antwort == "J" || antwort == "ja" || antwort == "Ja";
}

Fortschritt::Fortschritt() : aktiv_(::isatty(2) == 1) {}
Fortschritt::~Fortschritt() { fertig(); }

void Fortschritt::zeige(const std::string& text) {
    if (!aktiv_) return;
    const auto jetzt = std::chrono::steady_clock::now();
    if (sichtbar_ && jetzt - zuletzt_ < std::chrono::milliseconds(100)) return;
    zuletzt_ = jetzt;
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
    std::fflush(stderr);
    sichtbar_ = true;
}

void Fortschritt::fertig() {
    if (aktiv_ && sichtbar_) {
        std::fprintf(stderr, "\r\033[K");
        std::fflush(stderr);
    }
    sichtbar_ = false;
}

}  // namespace hainbrem::cli
