#pragma once

#include "vorta/api/export.h"
#include "vorta/common/pointcloud.h"
#include "vorta/common/settings.h"
#include "vorta/compute/computedevice.h"
#include "vorta/compute/devicecloud.h"

#include <memory>
#include <string>

namespace Vorta {

class FrameImpl;

/// Handle on one measurement; copies share it. A default-constructed handle holds none: `isNull()` is true, the cloud
/// is empty, and saving throws LogicException.
class VORTA_API_EXPORT Frame {
public:
    Frame() = default;
    explicit Frame(std::shared_ptr<FrameImpl> impl);

    /// Reads a data file (".vdf"; narrow path in the system's encoding) and places its cloud on `device`. Throws
    /// IOException that names the file and says what is wrong with it.
    Frame(const std::string& path, const ComputeDevice& device);

    [[nodiscard]] bool isNull() const noexcept { return impl_ == nullptr; }

    /// Writes a data file. The earlier file of that name stays whole until the new one is complete. Throws
    /// IOException that names the file and why it could not be written.
    void save(const std::string& path) const;

    /// The settings that the frame was captured with.
    [[nodiscard]] Settings settings() const;
    [[nodiscard]] PointCloud getPointCloud() const;
    [[nodiscard]] DeviceCloud deviceCloud() const;

    [[nodiscard]] FrameImpl& getImpl() const;

private:
    std::shared_ptr<FrameImpl> impl_;
};

} // namespace Vorta
