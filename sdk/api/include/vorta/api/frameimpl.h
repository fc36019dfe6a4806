#pragma once

#include "vorta/api/export.h"
#include "vorta/api/frameinfo.h"
#include "vorta/common/pointcloud.h"
#include "vorta/common/settings.h"
#include "vorta/compute/devicecloud.h"

namespace Vorta {

/// What frames share: never changed once made, so any number of threads may read it.
class VORTA_API_EXPORT FrameImpl {
public:
    /// Throws ArgumentNullException when the cloud is empty. `cloud` must not be written to any more.
    FrameImpl(PointCloud cloud, Settings settings, FrameInfo info, const ComputeDevice& device);

    [[nodiscard]] const PointCloud& cloud() const noexcept { return cloud_; }
    [[nodiscard]] const Settings& settings() const noexcept { return settings_; }
    [[nodiscard]] const FrameInfo& info() const noexcept { return info_; }
    [[nodiscard]] const DeviceCloud& deviceCloud() const noexcept { return deviceCloud_; }

private:
    PointCloud cloud_;
    Settings settings_;
    FrameInfo info_;
    DeviceCloud deviceCloud_;
};

} // namespace Vorta
