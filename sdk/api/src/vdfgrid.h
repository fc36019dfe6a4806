#pragma once

#include "netcdffile.h"
#include "vdf.h"

#include "vorta/common/pointcloud.h"
#include "vorta/driver/imagestack.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

/// The large arrays of a data file: points and raw images.
namespace Vorta::Vdf {

/// Where the arrays of one measurement are, once everything about them has been checked.
struct Grid {
    std::string group; ///< whole name with a slash at the end
    std::size_t height = 0;
    std::size_t width = 0;
    std::array<NetCdf::VariableInfo, channels.size()> floats{}; ///< in the order of `channels`
    NetCdf::VariableInfo colour;
    std::optional<NetCdf::VariableInfo> image; ///< exposure x row x column; missing without raw images
    std::size_t imageCount = 0;
};

/// Writes every point, with `threads` compressing (0: one per core).
void writeCloud(const NetCdf::File& file, const Grid& grid, const PointCloud& cloud, std::size_t threads);
void writeImages(const NetCdf::File& file, const Grid& grid, const Driver::ImageStack& images, std::size_t threads);

/// Reads every point, in parallel where the arrays are stored as this library stores them, otherwise as netCDF does.
[[nodiscard]] PointCloud readCloud(const NetCdf::File& file, const Grid& grid, std::size_t threads);
[[nodiscard]] Driver::ImageStack readImages(const NetCdf::File& file, const Grid& grid, std::size_t threads);

} // namespace Vorta::Vdf
