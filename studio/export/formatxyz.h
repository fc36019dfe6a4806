#pragma once

#include "vorta/common/point.h"

#include <cstddef>

namespace Vorta::Export {

/// Longest "%.1f %.1f %.1f %i %i %i\n" of a point: three times FLT_MAX with sign, three colours.
inline constexpr std::size_t maxXyzLineLength = 3 * 43 + 3 * 4;

/// Bytes that formatXyzLine may scribble on beyond its line.
inline constexpr std::size_t xyzLineSlack = 8;

/// Writes the text that printf("%.1f %.1f %.1f %i %i %i\n") gives for x, y, z, red, green, blue in the "C" locale,
/// exactly, and returns its end. `out` has room for maxXyzLineLength + xyzLineSlack characters.
char* formatXyzLine(const Point& point, char* out) noexcept;

} // namespace Vorta::Export
