#pragma once

#include "vorta/common/pointcloud.h"

#include <cstddef>
#include <span>

namespace Vorta::Reconstruction {

/// One capture of a series that differs in exposure.
struct HdrChild {
    PointCloud cloud;      ///< from a Reconstructor: colour 255, 255, 255 marks saturated pixels
    double exposure = 1.0; ///< light that it gathered relative to the others: time * (iris opening)^2 * brightness, > 0
};

/// Combines captures of a scene that did not move into one cloud, pixel by pixel. The children are only read.
///
/// - Point: of the valid, unsaturated points the one of the strongest contrast leads. The noise of a point falls with
///   its contrast, its variance with the square of it, so the points that agree with the leader are averaged with the
///   squares of their contrasts as weights. They agree when no coordinate differs by more than 1 mm, from 700 mm on
///   growing with the square of z, as the noise does. Points that do not agree are left out. Saturated points (which
///   are valid when saturation is allowed) serve only where there are no others.
/// - Contrast: that of the leader; where no child has a point, the strongest, saturated ones last.
/// - Colour: the light per exposure, averaged over the unsaturated children by their exposures; a child fades out over
///   the last 32 grey levels, so that no edge shows where it saturates. One tone curve serves the whole image: a power
///   law by which grey level 16 of the longest exposure stays 16 and grey level 254 of the shortest stays 254, the same
///   for all three channels, so that hues stay. With equal exposures that is the average itself. Saturated in every
///   child, a pixel stays 255, 255, 255; green is below 255 otherwise.
///
/// Throws ArgumentInvalidException for fewer than two children, empty clouds, clouds of different sizes, and exposures
/// that are not positive numbers. `threads` compute, the caller included; 0 = one per core. The result does not depend
/// on their number.
[[nodiscard]] PointCloud combineClouds(std::span<const HdrChild> children, std::size_t threads = 0);

} // namespace Vorta::Reconstruction
