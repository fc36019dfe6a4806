#include "vorta/api/frame.h"

#include "vdf.h"

#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"

#include <mutex>
#include <string>
#include <utility>

namespace Vorta {

namespace {

/// Guards who is whose child. One for all, since a change concerns several frames at once.
std::mutex& families() {
    static std::mutex mutex;
    return mutex;
}

void checkRawImages(const RawImages& raw, const PointCloud& cloud) {
    if (!raw.images)
        return;
    if (raw.images->empty())
        throw ArgumentNullException("info.raw.images");
    if (raw.images->height() != cloud.height() || raw.images->width() != cloud.width())
        throw ArgumentInvalidException("The raw images have another size than the points.", "info.raw.images",
                                       std::to_string(raw.images->height()) + " x " +
                                           std::to_string(raw.images->width()));
}

} // namespace

FrameImpl::FrameImpl(PointCloud cloud, Settings settings, FrameInfo info, const ComputeDevice& device)
    : cloud_(std::move(cloud)), settings_(std::move(settings)), info_(std::move(info)) {
    if (cloud_.empty())
        throw ArgumentNullException("cloud");
    checkRawImages(info_.raw, cloud_);
    deviceCloud_ = DeviceCloud(device, cloud_);
}

FrameImpl::~FrameImpl() { // NOLINT(bugprone-exception-escape): children are never null
    const std::lock_guard lock(families());
    for (const Frame& child : children_)
        --child.getImpl().parents_;
}

std::vector<Frame> FrameImpl::childFrames() const {
    const std::lock_guard lock(families());
    return children_;
}

void FrameImpl::setChildFrames(std::vector<Frame> children) {
    if (children.size() > Vdf::maximumChildren)
        throw ArgumentInvalidException("A frame has at most " + std::to_string(Vdf::maximumChildren) + " child frames.",
                                       "children", std::to_string(children.size()));
    const std::lock_guard lock(families());
    if (parents_ > 0 && !children.empty())
        throw ArgumentInvalidException("This frame is a child itself, and children have no children.", "children");
    for (const Frame& child : children) {
        if (child.isNull())
            throw ArgumentNullException("children");
        if (&child.getImpl() == this)
            throw ArgumentInvalidException("A frame cannot be its own child.", "children");
        if (!child.getImpl().children_.empty())
            throw ArgumentInvalidException("A child frame has children itself; only single captures can be children.",
                                           "children");
    }
    for (const Frame& child : children)
        ++child.getImpl().parents_;
    children_.swap(children);
    for (const Frame& former : children)
        --former.getImpl().parents_;
    // Parameters outlive locals: the former children, which may end here, go without the lock.
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
