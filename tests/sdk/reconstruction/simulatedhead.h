#pragma once

#include "vorta/driver/calibration.h"
#include "vorta/driver/imagestack.h"
#include "vorta/reconstruction/sequence.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

/// A structured-light head before a plane, in plain double arithmetic of its own: the truth that reconstructions are
/// measured against.
namespace Simulation {

/// Points p with normal . p = distance, in camera coordinates (mm).
struct Plane {
    std::array<double, 3> normal{0.0, 0.0, 1.0};
    double distance = 700.0;
};

/// What one camera pixel sees.
struct Sight {
    std::array<double, 3> point{}; // mm, camera coordinates
    double projectorColumn = 0.0;  // pixel coordinates
    double projectorRow = 0.0;
    double projectorDepth = 0.0;
};

/// Direction (x, y, 1) of a pixel, by fixed-point iteration of the lens model.
[[nodiscard]] std::array<double, 3> ray(const Vorta::Driver::PinholeModel& model, double u, double v);

/// Pixel of a point in the model's own coordinates.
[[nodiscard]] std::array<double, 2> pixel(const Vorta::Driver::PinholeModel& model, const std::array<double, 3>& point);

/// Empty where the pixel's ray misses the plane's front.
[[nodiscard]] std::optional<Sight> see(const Vorta::Driver::Calibration& head, const Plane& plane, std::size_t row,
                                       std::size_t column);

/// A 243 x 150 camera, 1024 x 768 projector head with the field of view of a 1944 x 1200 camera of focal length 2400,
/// baseline 200 mm, turned towards 700 mm; both lenses distort when asked.
[[nodiscard]] Vorta::Driver::Calibration smallHead(bool distorted);

struct Light {
    double black = 4.0;       // grey levels without any light
    double ambient = 3.0;     // grey levels of light that the projector does not give
    double white = 160.0;     // grey levels of the projector's full light
    double noise = 0.0;       // standard deviation in grey levels
    double blurColumns = 0.0; // Gaussian blur of the projected image, 0 = fringes are perfect cosines
    std::uint32_t seed = 1;
};

/// The raw images of a sequence on a plane. With blur the patterns of `generateSequence` are projected as they are,
/// each column an even strip, and blurred; without, the cosine is exact and code edges run over one column.
[[nodiscard]] Vorta::Driver::ImageStack render(const Vorta::Driver::Calibration& head,
                                               const Vorta::Reconstruction::SequenceLayout& layout, const Plane& plane,
                                               const Light& light);

} // namespace Simulation
