#pragma once
// The last word before anything is removed: every deletion passes `pruefe` first.
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "kern/datensaetze.hpp"

namespace hainbrem {

class SafetyGuard {
public:
    // home/temp resolved with realpath (kept as given when that fails). `programme` is the system
    // Applications folder, `eigeneKennung` this program's own bundle identifier; both are
    // parameters so tests can use fixtures.
    SafetyGuard(const std::filesystem::path& home, const std::filesystem::path& temp,
                std::filesystem::path programme = "/Applications",
                std::string eigeneKennung = std::string(standardKennung));

    static constexpr std::string_view standardKennung = "de.hainbrem.Hainbrem";

    static std::filesystem::path benutzerTemp();  // = plattform::benutzerTemp()
    Urteil pruefe(const std::filesystem::path& url, Entsorgung art) const;

    // "1.2.3", "12.0": digits and dots, starting with a digit.
    static bool istVersionsOrdner(std::string_view name);
    // The newest "app-x.y.z" inside `ordner` (by numeric comparison), as its folder name.
    static std::optional<std::string> neuesteAppVersion(const std::filesystem::path& ordner);
    // The spelling of `name` as stored in `ordner` (case-insensitive match); absent when missing.
    static std::optional<std::string> nameAufPlatte(std::string_view name, const std::filesystem::path& ordner);

    const std::string& home() const { return home_; }
    const std::string& temp() const { return temp_; }

private:
    std::string home_;
    std::string temp_;
    std::string programme_;
    std::string eigeneKennung_;
};

}  // namespace hainbrem
