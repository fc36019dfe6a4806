#include "vorta/viewer/vortaviewer.h"

#include "glrenderer.h"
#include "viewerimpl.h"
#include "vorta/viewer/vtrackball.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QSurfaceFormat>

#include <algorithm>
#include <utility>

namespace Vorta {

VortaViewer::VortaViewer() : impl_(std::make_unique<Impl>()) {}

VortaViewer::~VortaViewer() = default;

void VortaViewer::setDefaultSurfaceFormat() {
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    format.setSwapBehavior(QSurfaceFormat::DoubleBuffer);
    // A frame is drawn when something has changed and waits for nothing.
    format.setSwapInterval(0);
    QSurfaceFormat::setDefaultFormat(format);
}

bool VortaViewer::initialize(WId window) {
    const QWindowList windows = QGuiApplication::allWindows();
    const auto found = std::find_if(windows.begin(), windows.end(), [&](const QWindow* candidate) {
        return candidate->handle() != nullptr && candidate->winId() == window;
    });
    return impl_->attach(found != windows.end() ? *found : nullptr);
}

const std::string& VortaViewer::errorText() const noexcept {
    return impl_->errorText();
}

void VortaViewer::initializeView() {
    impl_->initializeView();
}

bool VortaViewer::render() {
    return impl_->render();
}

bool VortaViewer::resize(unsigned width, unsigned height) {
    return impl_->resize(width, height);
}

void VortaViewer::setTrackBall(std::shared_ptr<VTrackBall> trackball) {
    if (trackball)
        impl_->setTrackBall(std::move(trackball));
}

void VortaViewer::setDeviceCloud(const DeviceCloud& cloud) {
    impl_->setDeviceCloud(cloud.copyToCPU());
}

void VortaViewer::loadPoints(const Point* points, std::size_t count, std::size_t width) {
    impl_->setPoints({points, count}, width);
}

void VortaViewer::loadPoints(const PointCloud& cloud) {
    impl_->setCloud(cloud);
}

void VortaViewer::updatePoints(const Point* points, std::size_t count, std::size_t width) {
    impl_->setPoints({points, count}, width);
}

void VortaViewer::setStreaming(bool streaming) {
    impl_->setStreaming(streaming);
}

void VortaViewer::setupInitialCloud() {
    impl_->setInitialCloud();
}

void VortaViewer::enableColors(bool enabled) {
    impl_->enableColors(enabled);
}

void VortaViewer::enableMeshing(bool enabled) {
    impl_->enableMeshing(enabled);
}

VortaViewer::Color VortaViewer::backgroundColor() const noexcept {
    return impl_->background();
}

void VortaViewer::setBackgroundColor(const Color& color) {
    Color clamped = color;
    for (float& component : clamped)
        component = std::clamp(component, 0.0F, 1.0F);
    impl_->setBackground(clamped);
}

ComputeDevice VortaViewer::computeDevice() const {
    return impl_->computeDevice();
}

QImage VortaViewer::image() {
    return impl_->image();
}

} // namespace Vorta
