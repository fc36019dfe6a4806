#pragma once

#include "vorta/driver/calibration.h"

namespace Vorta::Reconstruction {

/// Throws ArgumentInvalidException, whose parameter is the member it is about, unless the calibration can be used: it
/// has stages, by rising temperature and all for the same sensor and projector size; its numbers are finite; each
/// stage's geometry is one that a Reconstructor takes, with a rotation that is orthonormal and right-handed to 1e-6.
void check(const Driver::HeadCalibration& calibration);

/// The geometry at a temperature of the optics in degrees Celsius.
///
/// Every parameter is interpolated linearly between the two stages around the temperature, the rotation along the
/// rotation vector that turns one stage's into the other's. Below the first and above the last stage the nearest two
/// are extrapolated, at most by as much as they lie apart: farther out the geometry stays what it is there. With one
/// stage it is that stage's at any temperature. The rotation is orthonormal to 1e-12.
///
/// Throws ArgumentInvalidException when the temperature is not finite, and when the stages are missing, not by rising
/// temperature or of different sizes; the geometry itself is taken as `check` accepts it.
[[nodiscard]] Driver::Calibration calibrationAt(const Driver::HeadCalibration& calibration, double temperature);

} // namespace Vorta::Reconstruction
