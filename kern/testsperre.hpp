#pragma once
// While tests run, nothing that deletes or writes may reach the real user's home folder.
#include <filesystem>

namespace hainbrem {

// While tests run (HAINBREM_TEST=1): true when `pfad` is the real user's home folder (from the
// password database, not HOME) or lies inside it, also through links. Everything that deletes,
// and the history before it writes, asks this first.
bool imEchtenHomeWaehrendTest(const std::filesystem::path& pfad);
inline constexpr const char* testSperreText = "Testlauf: der echte Benutzerordner wird nie angefasst";

}  // namespace hainbrem
