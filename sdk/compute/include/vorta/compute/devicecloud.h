#pragma once

#include "vorta/common/pointcloud.h"
#include "vorta/compute/computedevice.h"
#include "vorta/compute/export.h"

namespace Vorta {

/// Handle on a point cloud in a device's reach. Copies share the points; the cloud is never changed once made, so a
/// handle may be passed between threads.
class VORTA_COMPUTE_EXPORT DeviceCloud {
public:
    /// No cloud.
    DeviceCloud() = default;

    /// Takes a share in `cloud`, which must not be written to any more.
    DeviceCloud(ComputeDevice device, PointCloud cloud);

    [[nodiscard]] bool empty() const noexcept { return cloud_.empty(); }
    [[nodiscard]] std::size_t width() const noexcept { return cloud_.width(); }
    [[nodiscard]] std::size_t height() const noexcept { return cloud_.height(); }
    [[nodiscard]] const ComputeDevice& device() const noexcept { return device_; }

    /// The points in host memory. Clouds that live there are handed out without copying and are read-only.
    [[nodiscard]] PointCloud copyToCPU() const { return cloud_; }

private:
    ComputeDevice device_;
    PointCloud cloud_;
};

} // namespace Vorta
