#pragma once

#include "vorta/driver/calibration.h"

namespace Vorta::Reconstruction {

/// A point of the normalised image plane z = 1, or a pixel position.
struct ImagePoint {
    double x = 0.0;
    double y = 0.0;
};

/// Pixel position of the direction (x, y, 1), by the lens model that `PinholeModel` states.
[[nodiscard]] ImagePoint project(const Driver::PinholeModel& model, ImagePoint normalised) noexcept;

/// Direction (x, y, 1) that is seen at a pixel position: the inverse of `project`, found by Newton's method to better
/// than 1e-9 of a focal length for distortions that leave the lens model invertible.
[[nodiscard]] ImagePoint unproject(const Driver::PinholeModel& model, ImagePoint pixel) noexcept;

} // namespace Vorta::Reconstruction
