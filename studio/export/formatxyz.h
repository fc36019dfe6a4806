#pragma once

#include "vorta/common/point.h"

#include <cstddef>
#include <span>

namespace Vorta::Export {

/// Longest "%.1f %.1f %.1f %i %i %i\n" of a point: three times FLT_MAX with sign, three colours.
inline constexpr std::size_t maxXyzLineLength = 3 * 43 + 3 * 4;

/// Bytes that formatXyz may scribble on beyond its last line.
inline constexpr std::size_t xyzSlack = 8;

/// Writes the text that printf("%.1f %.1f %.1f %i %i %i\n") gives for x, y, z, red, green, blue of each point in the
/// "C" locale, exactly, and returns its end. `out` has room for a longest line per point and the slack.
char* formatXyz(std::span<const Point> points, char* out) noexcept;

} // namespace Vorta::Export
