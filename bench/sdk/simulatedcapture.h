#pragma once

#include "vorta/driver/calibration.h"
#include "vorta/driver/imagestack.h"
#include "vorta/driver/pattern.h"
#include "vorta/reconstruction/projection.h"

#include <cstddef>
#include <vector>

/// Captures for the benchmarks: cheap to compute, with what makes decoding work for its points.
namespace VortaBench {

struct Size {
    std::size_t width;
    std::size_t height;
};

inline constexpr Size fullSensor{.width = 1944, .height = 1200};

/// A head whose lenses distort, of any resolution: it always covers the same field of view.
[[nodiscard]] Vorta::Driver::Calibration makeHead(Size sensor, Size projector);

/// The projector pixel that each camera pixel sees of a surface 700 mm away that waves by so much.
[[nodiscard]] std::vector<Vorta::Reconstruction::ImagePoint> makeSights(const Vorta::Driver::Calibration& head,
                                                                        double waveMm);

struct Light {
    float noise = 1.5F;      ///< standard deviation in grey levels
    bool darkPatches = true; ///< whether there are patches too dark to decode
};

/// What the camera sees of these patterns.
[[nodiscard]] Vorta::Driver::ImageStack makeImages(const Vorta::Driver::PinholeModel& camera,
                                                   const Vorta::Driver::PatternSequence& sequence,
                                                   const std::vector<Vorta::Reconstruction::ImagePoint>& sights,
                                                   const Light& light = {});

} // namespace VortaBench
