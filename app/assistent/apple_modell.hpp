#pragma once
// The system's on-device model (macOS only, through plattform/sprachmodell_c.h).
#include <memory>

#include "app/assistent/sprachmodell.hpp"

namespace hainbrem {
std::unique_ptr<Sprachmodell> appleModell();
}  // namespace hainbrem
