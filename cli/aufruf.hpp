#pragma once
// What the command line takes, in German: help labels, checks of option values that say what is
// allowed, and CLI11's parse errors turned into German sentences (CLI11 itself speaks English).
#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace hainbrem::cli {

// German help labels, "-h,--help,--hilfe" and the option group "Optionen" for `app` and every
// subcommand created after this call.
void deutscheHilfe(CLI::App& app);

// Whole numbers from `von` to `bis`: "„11“ – erlaubt sind ganze Zahlen von 1 bis 10".
CLI::Validator ganzzahl(int64_t von, int64_t bis);
// Numbers from `von` to `bis`, with a decimal point or comma ("2,5" and "2.5"). Give it with
// `transform`, not `check`: it rewrites the value in the process locale's notation for CLI11.
CLI::Validator kommazahl(double von, double bis);
// One of these words, exactly.
CLI::Validator einesVon(std::vector<std::string> werte);

// CLI11's error as one German sentence: which command, option or argument, which value, what is
// allowed. `app` is the top-level app of the failed parse.
std::string aufDeutsch(const CLI::ParseError& fehler, const CLI::App& app);
// Where more help is: "hainbrem pruefen --help", or "hainbrem --help" when the error is the main
// command's.
std::string hilfeHinweis(const CLI::ParseError& fehler, const CLI::App& app);

// The known word closest to `wort` (at most two letters off), for "Meintest du …?"; empty if none.
std::string aehnlichstes(std::string_view wort, const std::vector<std::string>& bekannt);

}  // namespace hainbrem::cli
