#pragma once

#include "vorta/driver/driver.h"
#include "vorta/virtual/headfile.h"
#include "vorta/virtual/photometry.h"
#include "vorta/virtual/scene.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vorta::Virtual {

/// Colour (0 red, 1 green, 2 blue) of the pixel at an even or odd row and column of the mosaic.
[[nodiscard]] std::size_t bayerChannel(Driver::BayerLayout layout, std::size_t row, std::size_t column);

/// A light path that adds to a pixel beside its main one.
struct ExtraPath {
    std::uint32_t pixel = 0; ///< column in the camera image
    LightPath path;
};

/// All that each camera pixel sees of a scene, independent of patterns and exposure. Arrays are row-major over the
/// camera image; `truth` is that of the rays through the pixels' centres.
struct View {
    std::size_t height = 0;
    std::size_t width = 0;
    std::vector<float> ambient;
    std::vector<LightPath> direct;
    /// Mirrored light, and finer samples along edges: by image row, ordered by column.
    std::vector<std::vector<ExtraPath>> extra;
    Driver::GroundTruth truth;
};

} // namespace Vorta::Virtual
