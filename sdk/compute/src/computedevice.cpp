#include "vorta/compute/computedevice.h"

#include <utility>

namespace Vorta {

struct ComputeDevice::Impl {
    std::string name;
};

ComputeDevice::ComputeDevice() {
    static const auto host = std::make_shared<const Impl>(Impl{"Host memory"});
    impl_ = host;
}

ComputeDevice::ComputeDevice(std::string name) : impl_(std::make_shared<const Impl>(Impl{std::move(name)})) {}

const std::string& ComputeDevice::name() const noexcept {
    return impl_->name;
}

} // namespace Vorta
