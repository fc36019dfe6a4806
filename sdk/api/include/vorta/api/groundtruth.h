#pragma once

#include "vorta/api/export.h"
#include "vorta/driver/driver.h"

#include <string>

namespace Vorta {

/// Writes what a virtual head knows of its scene as netCDF-4: `z_true` (float, mm, NaN where the pixel's ray hits
/// nothing) and `visible` (unsigned byte, 1 where the surface is seen by the camera and lit by the projector), each
/// rows x columns. The earlier file of that name stays whole until the new one is complete. Throws IOException that
/// names the file and why it could not be written.
VORTA_API_EXPORT void saveGroundTruth(const Driver::GroundTruth& truth, const std::string& path);

} // namespace Vorta
