#pragma once

#include "camera/cloudwithimagesandmask.h"
#include "vorta/common/pointcloud.h"

#include <memory>

namespace Vorta {

/// Which points the automatic classification keeps.
struct ClassificationLimits {
    float contrastThreshold = 0.0F; ///< grey levels; a contrast strictly below is low
    float minZ = 0.0F;              ///< millimetres; the depth range includes both ends
    float maxZ = 0.0F;
};

/// Turns a measured cloud into the shared record: depth image, colour image and automatic mask.
///
/// A pixel's mask code is the first that applies: saturated (all three colour bytes 255), low contrast, out of range,
/// irrelevant (no depth), valid. Comparisons with NaN do not hold, so a point without a depth is irrelevant and never
/// out of range, and a NaN contrast is not low. The masked cloud of a new record is the measured cloud itself; the mask
/// takes effect on it when it is next rebuilt.
///
/// Throws ArgumentNullException ("cloud") for an empty cloud. Any thread.
[[nodiscard]] std::shared_ptr<CloudWithImagesAndMask> buildRecord(const PointCloud& cloud,
                                                                  const ClassificationLimits& limits);

} // namespace Vorta
