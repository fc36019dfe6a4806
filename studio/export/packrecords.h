#pragma once

#include "vorta/common/point.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// Packs points into the binary records of PLY and PCD.
namespace Vorta::Export {

inline constexpr std::size_t plyRecordSize = 15;
inline constexpr std::size_t pcdRecordSize = 16;

/// Bytes that a packing function may scribble on beyond its last record.
inline constexpr std::size_t packingSlack = 1;

/// Points packed at a time: small enough for the block to stay in the cache until it is written.
inline constexpr std::size_t packedBlockSize = 8192;

/// x, y, z, red, green, blue of every point, the coordinates of invalid points replaced by 0. Returns the end of the
/// records. `out` has room for all points and the slack.
char* packPlyOrdered(std::span<const Point> points, char* out) noexcept;

/// x, y, z, red, green, blue of every valid point. Returns the end of the records. `out` has room for all points and
/// the slack.
char* packPlyUnordered(std::span<const Point> points, char* out) noexcept;

/// x, y, z, blue, green, red, 1 of every point. Returns the end of the records.
char* packPcd(std::span<const Point> points, char* out) noexcept;

} // namespace Vorta::Export
