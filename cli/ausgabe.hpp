#pragma once
// Shared output helpers: German messages, JSON, short paths, progress on a terminal.
#include <fmt/core.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#include "kern/datensaetze.hpp"

namespace hainbrem::cli {

using json = nlohmann::ordered_json;

// "hainbrem: <text>" on stderr, control characters escaped; returns the exit status for errors (1).
int fehler(const std::string& text);
void warnung(const std::string& text);

// Pretty JSON on stdout. A string that is not valid UTF-8 (a file name may be any bytes) is
// written with its bad bytes replaced and, beside it, its exact bytes as "<key>Base64".
void druckeJson(const json& j);

// "~/…" for paths below home, with control characters escaped for the terminal.
std::string kurzerPfad(const std::filesystem::path& pfad, const std::filesystem::path& home);
// Any other text that may hold a name, escaped the same way.
std::string zeige(std::string_view text);

// Becomes the helper program `name` that lies beside this one (hainbrem-waechter, hainbrem-frage),
// with `argumente` after its name. Returns only when it could not start: the exit status, after
// saying why in German; a build without Qt has none, and `befehl` ("hainbrem waechter") is named
// with how to get it.
int werdeHilfsprogramm(const std::string& name, const std::vector<std::string>& argumente, const std::string& befehl);

// ISO 8601 in UTC, "2026-11-15T20:35:00Z".
std::string isoDatum(Zeitpunkt t);
json datumOderNull(const std::optional<Zeitpunkt>& t);
// "15.11.2026" in local time; "–" when unknown.
std::string tagesDatum(const std::optional<Zeitpunkt>& t);

json alsJson(const Fund& f);

// A German confirmation prompt "… [j/N]" on stderr; true only for j/ja. No terminal: false.
bool frage(const std::string& text);

// Runs `arbeit` on a thread of its own and calls `takt` about every 100 ms until it is done:
// there the command reads the work's control, shows it and may stop it. Without a thread to be
// had the work simply runs here.
template <typename F, typename T>
auto imHintergrund(F&& arbeit, T&& takt) -> std::invoke_result_t<F&> {
    std::future<std::invoke_result_t<F&>> aufgabe;
    try {
        aufgabe = std::async(std::launch::async, [&arbeit] { return arbeit(); });
    } catch (const std::system_error&) {
        return arbeit();
    }
    while (aufgabe.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready) takt();
    return aufgabe.get();
}

// One overwritten line on stderr while the work runs, only when stderr is a terminal.
class Fortschritt {
public:
    Fortschritt();
    ~Fortschritt();
    void zeige(const std::string& text);
    void fertig();

private:
    bool aktiv_;
    bool sichtbar_ = false;
    std::chrono::steady_clock::time_point zuletzt_{};
};

}  // namespace hainbrem::cli
