#pragma once

#include "vorta/driver/calibration.h"

#include <cstddef>

namespace Vorta::Reconstruction {

/// The directions (x, y, 1) that a camera's pixels see. Computed anew for every row, in double precision and with the
/// same bits on every processor.
class CameraRays {
public:
    explicit CameraRays(const Driver::PinholeModel& camera);

    /// Fills one row, `camera.width` values each.
    void row(std::size_t row, float* x, float* y) const;

private:
    Driver::PinholeModel camera_;
    int iterations_; // of Newton's method, for all pixels alike
};

} // namespace Vorta::Reconstruction
