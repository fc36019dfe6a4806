#pragma once

#include <cstdint>
#include <limits>

namespace Vorta {

/// One measured point: camera coordinates in millimetres (x right, y down, z away from the camera), the pattern
/// contrast (modulation amplitude in grey levels of the raw image, 0 to 127.5) and the colour.
///
/// A point is invalid exactly when z is NaN; its contrast and colour still hold what the camera saw.
struct Point {
    float x = std::numeric_limits<float>::quiet_NaN();
    float y = std::numeric_limits<float>::quiet_NaN();
    float z = std::numeric_limits<float>::quiet_NaN();
    float contrast = 0.0F;
    std::uint8_t blue = 0;
    std::uint8_t green = 0;
    std::uint8_t red = 0;
    std::uint8_t alpha = 255;

    [[nodiscard]] bool isValid() const noexcept { return z == z; }
};

// Data files, exports and the 3D view rely on this layout.
static_assert(sizeof(Point) == 20);

} // namespace Vorta
