#pragma once

#include "vorta/common/point.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>

/// Packs points into the binary records of PLY and PCD.
namespace Vorta::Export {

/// How points become records.
struct RecordFormat {
    /// Writes the records of the points and returns their end. `out` has room for all points and the slack.
    char* (*pack)(std::span<const Point> points, char* out) noexcept;
    std::size_t recordSize;
};

/// Bytes that `pack` may scribble on beyond its last record.
inline constexpr std::size_t packingSlack = 16;

/// x, y, z, red, green, blue of every point, the coordinates of invalid points replaced by 0.
extern const RecordFormat plyOrdered;

/// x, y, z, red, green, blue of every valid point.
extern const RecordFormat plyUnordered;

/// x, y, z, blue, green, red, 1 of every point.
extern const RecordFormat pcd;

/// Takes bytes for a file; false when they could not be written.
using Sink = std::function<bool(const char* bytes, std::size_t size)>;

/// Hands the header and the records of all points to `sink`, in large blocks that all but the last begin and end at
/// multiples of a memory page in the file, which is what systems take fastest. Stops at a false of the sink and returns
/// it.
bool writeRecords(std::string_view header, std::span<const Point> points, const RecordFormat& format, const Sink& sink);

} // namespace Vorta::Export
