#pragma once

#include <string_view>

namespace Vorta {

/// The one firmware of the heads that this version works with, compared byte for byte.
inline constexpr std::string_view requiredFirmware = "VORTA 0.9.21";

} // namespace Vorta
