#include "kern/safetyguard.hpp"

#include "plattform/plattform.hpp"

namespace hainbrem {

SafetyGuard::SafetyGuard(const std::filesystem::path& home, const std::filesystem::path& temp,
                         std::filesystem::path programme, std::string eigeneKennung)
    : home_(home.native()), temp_(temp.native()), programme_(programme.native()),
      eigeneKennung_(std::move(eigeneKennung)) {}

std::filesystem::path SafetyGuard::benutzerTemp() { return plattform::benutzerTemp(); }

Urteil SafetyGuard::pruefe(const std::filesystem::path&, Entsorgung) const {
    return Urteil::abgelehnt("Noch nicht geprüft");
}

bool SafetyGuard::istVersionsOrdner(std::string_view) { return false; }
std::optional<std::string> SafetyGuard::neuesteAppVersion(const std::filesystem::path&) { return std::nullopt; }
std::optional<std::string> SafetyGuard::nameAufPlatte(std::string_view, const std::filesystem::path&) {
    return std::nullopt;
}

}  // namespace hainbrem
