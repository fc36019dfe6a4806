#pragma once

#include "vorta/common/pointcloud.h"

#include <string>

namespace VortaBench {

/// Writes the points with netCDF's own calls alone: one array for x, y, z and contrast each and one for the colours, in
/// blocks of `blockRows` whole rows, shuffled, deflated at level 1.
void plainSave(const Vorta::PointCloud& cloud, std::size_t blockRows, const std::string& path);

/// Reads them back.
[[nodiscard]] Vorta::PointCloud plainLoad(const std::string& path);

} // namespace VortaBench
