#pragma once

#include "vorta/api/export.h"
#include "vorta/api/frame.h"
#include "vorta/api/frameinfo.h"
#include "vorta/common/pointcloud.h"
#include "vorta/common/settings.h"
#include "vorta/compute/devicecloud.h"

#include <cstddef>
#include <vector>

namespace Vorta {

/// What frames share. Nothing but the child frames changes once it is made; any thread may use it.
class VORTA_API_EXPORT FrameImpl {
public:
    /// Throws ArgumentNullException when the cloud is empty, and ArgumentInvalidException when there are raw images
    /// whose size is not the cloud's. Cloud and images must not be written to any more.
    FrameImpl(PointCloud cloud, Settings settings, FrameInfo info, const ComputeDevice& device);
    FrameImpl(const FrameImpl&) = delete;
    FrameImpl& operator=(const FrameImpl&) = delete;
    ~FrameImpl(); // NOLINT(bugprone-exception-escape): children are never null

    [[nodiscard]] const PointCloud& cloud() const noexcept { return cloud_; }
    [[nodiscard]] const Settings& settings() const noexcept { return settings_; }
    [[nodiscard]] const FrameInfo& info() const noexcept { return info_; }
    [[nodiscard]] const DeviceCloud& deviceCloud() const noexcept { return deviceCloud_; }

    /// The measurements that this one was combined from, for instance the captures of a high-dynamic-range measurement;
    /// empty for a single capture.
    [[nodiscard]] std::vector<Frame> childFrames() const;

    /// Replaces the child frames. Throws ArgumentNullException when one of them is null, and ArgumentInvalidException
    /// when one is this frame or has children itself, when this frame is a child, or when there are more than 64:
    /// families have two generations, so that none is its own descendant. Nothing is changed then.
    void setChildFrames(std::vector<Frame> children);

private:
    PointCloud cloud_;
    Settings settings_;
    FrameInfo info_;
    DeviceCloud deviceCloud_;
    std::vector<Frame> children_; // this and the next are guarded by one lock for all frames
    std::size_t parents_ = 0;     ///< frames that have this one as a child
};

} // namespace Vorta
