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

/// The same camera and lenses with the projector 200 mm away at 45 degrees to the rows, below on the right.
[[nodiscard]] Vorta::Driver::Calibration diagonalHead();

/// The sequence of a head's projector, with inverses unless the options say otherwise.
[[nodiscard]] Vorta::Reconstruction::SequenceLayout
sequenceFor(const Vorta::Driver::Calibration& head,
            const Vorta::Reconstruction::SequenceOptions& options = {.inverse = true});

/// Light that reaches a pixel by way of another surface: that of another projector pixel.
struct Echo {
    double share = 0.0; // of the direct light
    double columns = 0.0;
    double rows = 0.0;
};

struct Light {
    double black = 4.0;      // grey levels without any light
    double ambient = 3.0;    // grey levels of light that the projector does not give
    double white = 160.0;    // grey levels of the projector's full light
    double noise = 0.0;      // standard deviation in grey levels
    double blurPixels = 0.0; // Gaussian blur of the projected image, 0 = fringes are perfect cosines
    double gamma = 1.0;      // tone curve 255 (input / 255)^(1 / gamma), before the black level and the noise
    Echo echo = {};
    std::uint32_t seed = 1;
};

/// Where a pixel sees the projected image, in pixels from its top left corner.
struct Spot {
    double column = 0.0;
    double row = 0.0;
};

/// The raw images of pixels that see these spots, or no projected light. With blur the patterns of `generateSequence`
/// are projected as they are and blurred: each column or row an even strip, half columns linearly interpolated between
/// their centres, dark beyond. Without, the cosine is exact and code edges run over one pixel.
[[nodiscard]] Vorta::Driver::ImageStack expose(const Vorta::Reconstruction::SequenceLayout& layout,
                                               const std::vector<std::optional<Spot>>& spots, std::size_t height,
                                               std::size_t width, const Light& light);

/// The raw images of a sequence on a plane.
[[nodiscard]] Vorta::Driver::ImageStack render(const Vorta::Driver::Calibration& head,
                                               const Vorta::Reconstruction::SequenceLayout& layout, const Plane& plane,
                                               const Light& light);

} // namespace Simulation
