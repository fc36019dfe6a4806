#pragma once

#include "vorta/common/pointcloud.h"

#include <string>

/// Writers for the interchange formats of point clouds.
///
/// Coordinates are written in millimetres as the cloud holds them; a point is invalid exactly when its z is NaN.
/// Contrast and alpha are not written. `path` is in the local 8-bit encoding; an existing file is replaced. Any thread;
/// nobody may change the cloud meanwhile.
namespace Vorta::Export {

/// Writes one line "x y z red green blue" per point in row-major order, invalid points included: coordinates with one
/// decimal, rounded as printf rounds, always with a decimal point; colours 0 to 255. The file is opened in text mode,
/// so lines end as the platform ends them. Large clouds are formatted on several threads.
///
/// Returns false when the file cannot be opened or written; what was written until then stays on disk.
[[nodiscard]] bool writeXyz(const std::string& path, const PointCloud& cloud);

/// Writes a binary little-endian PLY 1.0 with x, y, z as floats and red, green, blue as bytes, 15 bytes per point, in
/// row-major order. `unordered` leaves invalid points out; otherwise the grid is kept and invalid points stand at the
/// origin with their colour.
///
/// Returns false when the file cannot be opened or written; what was written until then stays on disk.
[[nodiscard]] bool writePly(const std::string& path, const PointCloud& cloud, bool unordered);

/// Writes a binary PCD 0.7 with x, y, z and packed colour, 16 bytes per point. All points of the grid, invalid ones
/// with their NaN, follow each other in row-major order; the header declares them as one unorganised row.
///
/// Returns false when the file cannot be created or written; what was written until then stays on disk.
bool writePcd(const std::string& path, const PointCloud& cloud);

} // namespace Vorta::Export
