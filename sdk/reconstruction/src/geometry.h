#pragma once

#include "vorta/driver/calibration.h"

namespace Vorta::Reconstruction {

/// What triangulating against projector columns needs of a calibration, in the arithmetic T of the pixel loops.
///
/// With the camera ray d = (a, b, 1), a point at depth Z is Z d in the camera and Z D + t in the projector, D = R d.
/// Its image in the projector's normalised plane runs along the epipolar line l . (x, y, 1) = 0, l = t x D (Hartley and
/// Zisserman, "Multiple View Geometry in Computer Vision", 2nd edition, section 9.2), hence
///
///     y = -(l1 x + l3) / l2,    Z = (tx - x tz) / (x D3 - D1).
///
/// The measured column gives the distorted coordinate x', and x solves distort(x, y(x)).x = x' along the line. One
/// Newton step from x = x' and `refinements` more with its slope find x; `residual` bounds what the last one meets.
///
/// The plane of the undistorted column has the normal (1, 0, -x) in the projector, so its angle with the ray is
///
///     asin(|x D3 - D1| / (sqrt(1 + x^2) |d|)),    |d|^2 = 1 + a^2 + b^2.
template <typename T>
struct ColumnGeometry {
    T r[9]{};                       // rotation, row-major
    T t[3]{};                       // translation in mm
    T k1{}, k2{}, k3{}, p1{}, p2{}; // of the projector
    T scale{}, offset{};            // x' = position * scale + offset, position counted from the left edge of column 0
    T rowScale{}, rowOffset{};      // row = y' * rowScale + rowOffset, counted from the top edge of row 0
    T rowMinimum{}, rowMaximum{};
    T firstPosition{}; // columns from the edge of the first one, between which points are valid
    T lastPosition{};
    T residual{};        // largest accepted |distort(x, y).x - x'| before the last step
    T minMeetingSine2{}; // square of the sine of the least accepted angle between ray and plane
    int refinements = 0;
};

/// Rows by which a point may miss the projector's area: epipolar errors of a real calibration stay well below.
inline constexpr double rowMargin = 1.0;

/// Columns at either side of the projector that give no points: defocus mixes the dark beyond into the pattern there,
/// which shifts its phase.
inline constexpr double columnMargin = 1.0;

/// Degrees at which a ray and a column's plane must meet. At 1 degree they do so 57 baselines away, and a tenth of a
/// column (of a focal length of 1200) moves the crossing by a quarter of the baseline: a depth farther off says
/// nothing.
inline constexpr double minMeetingAngleDeg = 1.0;

/// Pixels by which a measured column and row may lie beside the ray's epipolar line. Across the line lies the noise of
/// one position: period / (2 pi) * s / (sqrt(2) A) for four phase steps of modulation A and noise s, both in grey
/// levels (C. Rathjen, "Statistical properties of phase-shift algorithms", J. Opt. Soc. Am. A 12, 1995), at 1.5 in 5
/// grey levels 0.034 periods. Four times that, and 0.4 pixels for the epipolar errors of a real calibration.
[[nodiscard]] constexpr double epipolarTolerance(double periodPixels) noexcept {
    return 0.4 + 0.136 * periodPixels;
}

/// Depth in mm from which a crossing counts as none.
inline constexpr double maxDepthMm = 1.0e6;

/// The geometry of a calibration. Throws ArgumentInvalidException as the Reconstructor's constructor does.
[[nodiscard]] ColumnGeometry<float> columnGeometry(const Driver::Calibration& calibration);

} // namespace Vorta::Reconstruction
