// hainbrem projekte: build folders of developer projects, and removing the old ones.
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "basis/ergebnis.hpp"
#include "basis/pfade.hpp"
#include "basis/systemfehler.hpp"
#include "cli/aufruf.hpp"
#include "cli/ausgabe.hpp"
#include "cli/kommando.hpp"
#include "cli/runde.hpp"
#include "kern/format.hpp"
#include "kern/projekte.hpp"
#include "kern/ueberlauf.hpp"

namespace hainbrem::cli {
namespace {

struct {
    int tiefe = Projekte::standardTiefe;
    bool aufraeumen = false, ja = false, probelauf = false;
    std::string pfad;
} projekteOpt;

// The folder given, resolved, spelled from the home folder: it must be a folder inside home, where
// alone the guard lets build folders go, and not inside a build folder, whose dependencies look
// like projects.
Ergebnis<fs::path> gegebenerOrdner(const std::string& pfad, const Umgebung& u) {
    if (istZuLang(pfad)) return Fehlschlag{pfadFehler(pfad, ENAMETOOLONG)};
    std::error_code fehler;
    const fs::path echt = fs::canonical(pfad, fehler);
    if (fehler) return Fehlschlag{pfadFehler(pfad, fehler.value())};
    if (!fs::is_directory(echt, fehler)) return Fehlschlag{fmt::format("„{}“ ist kein Ordner.", pfad)};
    const fs::path echtesHome = fs::canonical(u.home, fehler);
    if (fehler || !liegtInOderIst(echt.native(), echtesHome.native()))
        return Fehlschlag{
            fmt::format("„{}“ liegt außerhalb deines Home-Ordners. Bauordner löscht Hainbrem nur dort.", pfad)};
    const fs::path ordner = (u.home / echt.lexically_relative(echtesHome)).lexically_normal();
    if (const auto bau = Projekte::bauordnerUeber(ordner, u))
        return Fehlschlag{fmt::format("„{}“ liegt in einem Bauordner ({}). Gib den Ordner mit deinen Projekten an.",
                                      pfad, kurzerPfad(*bau, u.home))};
    return fs::path(ohneSchraegstrichAmEnde(ordner.native()));
}

std::string gesuchtIn(const std::vector<fs::path>& wurzeln, const fs::path& home) {
    std::string text;
    for (const auto& w : wurzeln) (text += text.empty() ? "" : ", ") += kurzerPfad(w, home);
    return text;
}

int projekte(const Kontext& k) {
    if ((projekteOpt.ja || projekteOpt.probelauf) && !projekteOpt.aufraeumen)
        return fehler("--ja und --probelauf gelten nur zusammen mit --aufraeumen.");
    Umgebung u{k.home, k.temp, false, nullptr, {}};
    u.profil = k.profil;
    std::vector<fs::path> wurzeln;
    if (projekteOpt.pfad.empty()) {
        wurzeln = Projekte::standardWurzeln(u);
    } else {
        auto ordner = gegebenerOrdner(projekteOpt.pfad, u);
        if (!ordner) return fehler(ordner.error());
        wurzeln = {*ordner};
    }
    Fortschritt fortschritt;
    fortschritt.zeige("Suche Bauordner …");
    const auto funde = Projekte::findeIn(wurzeln, u, projekteOpt.tiefe);
    fortschritt.fertig();

    if (projekteOpt.aufraeumen) {
        std::vector<Fund> auswahl;
        for (const auto& b : funde)
            if (b.fund.vorgewaehlt) auswahl.push_back(b.fund);
        if (auswahl.empty()) {
            if (k.json) druckeJson(json::object({{"posten", json::array()}}));
            else std::printf("Nichts vorgewählt: kein Projekt ist seit mehr als 30 Tagen unberührt.\n");
            return 0;
        }
        return fuehreRundeAus(auswahl, "Bauordner", {projekteOpt.probelauf, projekteOpt.ja}, k);
    }

    if (k.json) {
        json liste = json::array();
        for (const auto& b : funde) {
            json j = alsJson(b.fund);
            j["projekt"] = b.projekt.native();
            j["zuletzt"] = datumOderNull(b.zuletzt);
            liste.push_back(std::move(j));
        }
        druckeJson(liste);
        return 0;
    }
    const bool linux = k.profil == Katalogprofil::linuxDesktop;
    std::printf("Bauordner in deinen Entwicklerprojekten: node_modules, .build, target, .venv%s … Ein Befehl baut sie "
                "wieder auf.\n\n",
                linux ? ", CMake-Bauordner, __pycache__" : "");
    if (funde.empty()) {
        if (wurzeln.empty())
            std::printf("Keine Bauordner gefunden: Es gibt keinen der Ordner, in denen Hainbrem sucht (%s). Nenne "
                        "den Ordner mit deinen Projekten: hainbrem projekte PFAD\n",
                        Projekte::wurzelnText(k.profil).c_str());
        else
            std::printf("Keine Bauordner gefunden (gesucht in %s, bis %s tief).\n", gesuchtIn(wurzeln, k.home).c_str(),
                        anzahl(projekteOpt.tiefe, "Ebene", "Ebenen").c_str());
        return 0;
    }
    int64_t summe = 0, vorgewaehlt = 0;
    // a __pycache__ deep in a project is named by its way from the project
    const auto name = [](const Bauabfall& b) { return b.fund.url.lexically_relative(b.projekt).native(); };
    int breite = 14;
    for (const auto& b : funde) breite = std::clamp(static_cast<int>(name(b).size()), breite, 32);
    for (const auto& b : funde) {
        summe = addiere(summe, b.fund.bytes);
        if (b.fund.vorgewaehlt) vorgewaehlt = addiere(vorgewaehlt, b.fund.bytes);
        std::printf("[%s] %10s  %-*s %s  (zuletzt geändert %s)\n", b.fund.vorgewaehlt ? "x" : " ",
                    alsBytes(b.fund.bytes).c_str(), breite, name(b).c_str(), kurzerPfad(b.projekt, k.home).c_str(),
                    tagesDatum(b.zuletzt).c_str());
        if (b.fund.titel) std::printf("      %s\n", b.fund.titel->c_str());
    }
    std::printf("\nZusammen %s, vorgewählt %s.\n", alsBytes(summe).c_str(), alsBytes(vorgewaehlt).c_str());
    if (linux)
        std::printf("Vorgewählt ist nur, was zu Projekten gehört, die seit 30 Tagen niemand angefasst hat. Gelöscht "
                    "wird nur, wenn die passende Projektdatei daneben liegt (package.json, Cargo.toml, CMakeLists.txt "
                    "…), ein __pycache__ nur mit nichts als kompilierten Python-Dateien darin, und nie, wenn ein "
                    "Hintergrunddienst das Projekt nutzt.\n");
    else
        std::printf("Vorgewählt ist nur, was zu Projekten gehört, die seit 30 Tagen niemand angefasst hat. Gelöscht "
                    "wird nur, wenn die passende Projektdatei daneben liegt (package.json, Package.swift, Cargo.toml "
                    "…), und nie, wenn ein Hintergrunddienst das Projekt nutzt.\n");
    if (vorgewaehlt > 0)
        std::printf("Löschen: hainbrem %sprojekte --aufraeumen%s\n", profilVorsatz(k.profil).c_str(),
                    projekteOpt.pfad.empty() ? "" : " PFAD");
    return 0;
}

const bool projekteRegistriert = registriere({
    .name = "projekte",
    .beschreibung = "Bauordner in Entwicklerprojekten finden und die alten löschen",
    .reihenfolge = 50,
    .optionen =
        [](CLI::App& a, Katalogprofil profil) {
            a.add_option("PFAD", projekteOpt.pfad,
                         "Ordner mit deinen Projekten (ohne: " + Projekte::wurzelnText(profil) + ")")
                ->type_name("");
            a.add_option("--tiefe", projekteOpt.tiefe, "Wie tief unter den Projektordnern gesucht wird, 1 bis 64 (Vorgabe 6)")
                ->type_name("ZAHL")
                ->check(ganzzahl(1, 64));
            a.add_flag("--aufraeumen", projekteOpt.aufraeumen, "Die vorgewählten Bauordner endgültig löschen");
            a.add_flag("--probelauf", projekteOpt.probelauf, "Nur zeigen, was geschähe; nichts anfassen");
            a.add_flag("--ja", projekteOpt.ja, "Ohne Rückfrage ausführen");
        },
    .ausfuehren = projekte,
});

}  // namespace
}  // namespace hainbrem::cli
