#pragma once

#include "vorta/common/point.h"

#include <vector>

namespace Vorta {

/// Distance between neighbouring points of the initial cloud, mm.
inline constexpr double initialCloudSpacing = 0.45;

/// What is shown before anything has been captured: the ruled top of an empty table, 400 x 400 mm, that the camera
/// looks down on, with axes along the camera's x (red), y (green) and z (blue) at its near left corner, drawn in
/// points.
[[nodiscard]] std::vector<Point> makeInitialCloud();

} // namespace Vorta
