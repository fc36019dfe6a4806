#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace Vorta::Driver {

/// A pinhole with Brown-Conrady lens distortion, for the camera and, run backwards, for the projector.
///
/// Pixel coordinates: (0, 0) is the centre of the top left pixel, u to the right, v down. Axes: x right, y down,
/// z forward. With x = X/Z, y = Y/Z, r^2 = x^2 + y^2 (D. C. Brown, "Close-range camera calibration", 1971):
///
///     x' = x (1 + k1 r^2 + k2 r^4 + k3 r^6) + 2 p1 x y + p2 (r^2 + 2 x^2)
///     y' = y (1 + k1 r^2 + k2 r^4 + k3 r^6) + p1 (r^2 + 2 y^2) + 2 p2 x y
///     u = fx x' + cx,  v = fy y' + cy
struct PinholeModel {
    std::size_t width = 0;  ///< pixels
    std::size_t height = 0; ///< pixels
    double fx = 0.0;        ///< focal length in pixels
    double fy = 0.0;
    double cx = 0.0; ///< principal point in pixels
    double cy = 0.0;
    double k1 = 0.0;
    double k2 = 0.0;
    double p1 = 0.0;
    double p2 = 0.0;
    double k3 = 0.0;
};

/// Geometry of one head. A point p in camera coordinates (mm) is rotation * p + translationMm in projector coordinates.
struct Calibration {
    PinholeModel camera;
    PinholeModel projector;
    std::array<double, 9> rotation{1, 0, 0, 0, 1, 0, 0, 0, 1}; ///< row-major, orthonormal
    std::array<double, 3> translationMm{};
};

/// The geometry that was measured at one temperature.
struct CalibrationStage {
    double temperature = 25.0; ///< of the optics, degrees Celsius
    Calibration geometry;
};

/// A head's calibration: its geometry at one or more temperatures, all for the same sensor and projector size.
struct HeadCalibration {
    double referenceTemperature = 25.0;   ///< at which methods work that do not follow the temperature
    std::vector<CalibrationStage> stages; ///< at least one, by rising temperature, no two at the same
};

} // namespace Vorta::Driver
