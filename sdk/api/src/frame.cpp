#include "vorta/api/frame.h"

#include "vdf.h"

#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"

#include <utility>

namespace Vorta {

FrameImpl::FrameImpl(PointCloud cloud, Settings settings, FrameInfo info, const ComputeDevice& device)
    : cloud_(std::move(cloud)), settings_(std::move(settings)), info_(std::move(info)) {
    if (cloud_.empty())
        throw ArgumentNullException("cloud");
    deviceCloud_ = DeviceCloud(device, cloud_);
}

Frame::Frame(std::shared_ptr<FrameImpl> impl) : impl_(std::move(impl)) {}

Frame::Frame(const std::string& path, const ComputeDevice& device) : impl_(Vdf::load(path, device)) {}

void Frame::save(const std::string& path) const {
    if (!impl_)
        throw LogicException("There is no measurement to save to '" + path + "': this frame is empty.");
    Vdf::save(*impl_, path);
}

Settings Frame::settings() const {
    return getImpl().settings();
}

PointCloud Frame::getPointCloud() const {
    return impl_ ? impl_->cloud() : PointCloud{};
}

DeviceCloud Frame::deviceCloud() const {
    return impl_ ? impl_->deviceCloud() : DeviceCloud{};
}

FrameImpl& Frame::getImpl() const {
    if (!impl_)
        throw LogicException("This frame is empty: it holds no measurement.");
    return *impl_;
}

} // namespace Vorta
