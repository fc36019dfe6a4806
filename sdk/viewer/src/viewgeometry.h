#pragma once

#include "cloudgrid.h"
#include "vorta/viewer/vtrackball.h"

#include <array>
#include <optional>
#include <span>

namespace Vorta {

/// Column-major, as OpenGL takes it.
using GlMatrix = std::array<float, 16>;

struct ClipPlanes {
    double nearest = 1.0;
    double farthest = 2.0;
};

/// Distance of `centre` at which the points of `sample` but for 1 % of them, seen along the camera's axis, fill the
/// window up to a small margin. `sample` is not empty.
[[nodiscard]] double fittingDistance(std::span<const CloudVertex> sample, const VTrackBall::Vector& centre,
                                     const VTrackBall& view);

/// Planes in front of and behind everything, as far as a 24-bit depth buffer can resolve the cloud between them:
/// outliers far away are cut off rather than the cloud made to flicker.
[[nodiscard]] ClipPlanes clipPlanes(const CloudBounds& bounds, const VTrackBall& view);

/// From object points to the eye frame.
[[nodiscard]] GlMatrix eyeMatrix(const VTrackBall& view);

/// From the eye frame to OpenGL's clip space, with y turned over.
[[nodiscard]] GlMatrix projectionMatrix(const ClipPlanes& planes, const VTrackBall& view);

/// Depth in the eye frame of the point that shows nearest to a pixel, of those within a few pixels of it; `grid` has
/// the given spacing between points.
[[nodiscard]] std::optional<double> depthAt(const CloudGrid& grid, double spacing, const VTrackBall& view, double x,
                                            double y);

} // namespace Vorta
