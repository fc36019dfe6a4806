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
    std::vector<std::vector<ExtraPath>> extra; ///< by image row: mirrored light, and finer samples along edges
    Driver::GroundTruth truth;
};

/// Traces a head's view of a scene on `threads` threads (0: one per processor). The result does not depend on their
/// number. Pixels on the edge of an object or a shadow mix five rays, all others have one through the centre.
[[nodiscard]] View traceView(const HeadDescription& head, const Scene& scene, unsigned threads = 0);

} // namespace Vorta::Virtual
