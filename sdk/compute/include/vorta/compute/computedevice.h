#pragma once

#include "vorta/compute/export.h"

#include <memory>
#include <string>

namespace Vorta {

/// Handle on the device whose memory holds device clouds and on which they are drawn. Copies refer to the same device.
class VORTA_COMPUTE_EXPORT ComputeDevice {
public:
    /// The host: clouds stay in main memory.
    ComputeDevice();

    /// A named device, for instance the renderer of the 3D view.
    explicit ComputeDevice(std::string name);

    /// What draws here, for people to read: "Host memory" or the renderer's own name.
    [[nodiscard]] const std::string& name() const noexcept;

    [[nodiscard]] bool operator==(const ComputeDevice& other) const noexcept { return impl_ == other.impl_; }

private:
    struct Impl;
    std::shared_ptr<const Impl> impl_;
};

} // namespace Vorta
