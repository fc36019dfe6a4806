#include "vorta/api/camera.h"

#include "vorta/api/cameraimpl.h"
#include "vorta/common/exceptions.h"

#include <utility>

namespace Vorta {

SerialNumber::SerialNumber(std::string text) : text_(std::move(text)) {}

Camera::Camera(std::shared_ptr<CameraImpl> impl) : impl_(std::move(impl)) {}

std::string Camera::modelName() const {
    return getImpl().identity().modelName;
}

SerialNumber Camera::serialNumber() const {
    return SerialNumber(getImpl().identity().serialNumber);
}

std::string Camera::firmwareVersion() const {
    return getImpl().identity().firmwareVersion;
}

// A handle, whose operations change the camera: they are not const though the handle stays the same.
// NOLINTBEGIN(readability-make-member-function-const)
void Camera::connect() {
    getImpl().connect();
}

void Camera::disconnect() {
    getImpl().disconnect();
}

void Camera::setComputeDevice(const ComputeDevice& device) {
    getImpl().setComputeDevice(device);
}

void Camera::setFrameCallback(std::function<void(Frame)> callback) {
    getImpl().setFrameCallback(std::move(callback));
}

Settings Camera::settings() const {
    return getImpl().settings();
}

void Camera::setSettings(const Settings& settings) {
    getImpl().setSettings(settings);
}

Frame Camera::capture() {
    return getImpl().capture();
}

void Camera::startLive() {
    getImpl().startLive();
}

void Camera::stopLive() {
    getImpl().stopLive();
}

// NOLINTEND(readability-make-member-function-const)

CameraState Camera::state() const noexcept {
    return impl_ ? impl_->state() : CameraState{};
}

CameraImpl& Camera::getImpl() const {
    if (!impl_)
        throw LogicException("No camera has been chosen: this handle refers to none.");
    return *impl_;
}

} // namespace Vorta
