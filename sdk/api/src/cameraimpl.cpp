#include "vorta/api/cameraimpl.h"

#include "driverlibrary.h"
#include "livesession.h"
#include "measuringhead.h"

#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"

#include <utility>

namespace Vorta {

namespace {

constexpr const char* source = "VortaAPI/Camera";

} // namespace

CameraImpl::CameraImpl(std::shared_ptr<DriverLibrary> driver, Driver::HeadIdentity identity, Settings settings)
    : driver_(std::move(driver)),
      serialNumber_(identity.serialNumber),
      identity_(std::move(identity)),
      settings_(std::move(settings)) {}

CameraImpl::~CameraImpl() {
    interrupt();
}

Driver::HeadIdentity CameraImpl::identity() const {
    const std::lock_guard lock(mutex_);
    return identity_;
}

void CameraImpl::setIdentity(Driver::HeadIdentity identity) {
    const std::lock_guard lock(mutex_);
    identity_ = std::move(identity);
}

void CameraImpl::connect() {
    const std::lock_guard operation(operation_);
    if (head_ && head_->isPresent())
        return;
    {
        const std::lock_guard lock(mutex_);
        head_.reset(); // one that is gone: a driver may open a head only once
    }
    auto head = std::make_unique<MeasuringHead>(driver_, serialNumber_);
    const std::lock_guard lock(mutex_);
    temperatures_ = head->temperatures();
    head_ = std::move(head);
    Log::info(source, __LINE__, "Connected to camera '%s'", serialNumber_);
}

void CameraImpl::interrupt() {
    std::unique_ptr<LiveSession> live; // destroyed without the lock, since that waits for a capture
    const std::lock_guard lock(mutex_);
    live = std::move(live_);
    if (live)
        live->stop();
    if (head_)
        head_->cancel();
}

void CameraImpl::disconnect() {
    interrupt();
    const std::lock_guard operation(operation_);
    const std::lock_guard lock(mutex_);
    if (!head_)
        return;
    head_.reset();
    Log::info(source, __LINE__, "Disconnected from camera '%s'", serialNumber_);
}

void CameraImpl::setComputeDevice(const ComputeDevice& device) {
    const std::lock_guard lock(mutex_);
    device_ = device;
}

void CameraImpl::setFrameCallback(std::function<void(Frame)> callback) {
    const std::lock_guard lock(mutex_);
    if (live_)
        live_->setCallback(callback);
    callback_.swap(callback);
    // Parameters outlive locals: the previous function, whose destructor is the user's code, goes without the lock.
}

Settings CameraImpl::settings() const {
    const std::lock_guard lock(mutex_);
    return settings_;
}

void CameraImpl::setSettings(const Settings& settings) {
    const std::lock_guard lock(mutex_);
    settings_ = settings;
}

Frame CameraImpl::capture() {
    {
        const std::lock_guard lock(mutex_);
        if (live_ && live_->isRunning())
            throw LogicException("Camera '" + serialNumber_ + "' acquires live: stop that before a single capture.");
    }
    return measure();
}

Frame CameraImpl::measure() {
    const std::lock_guard operation(operation_);
    if (!head_)
        throw LogicException("Camera '" + serialNumber_ + "' is not connected.");
    Measurement measurement = head_->measure(settings());
    const std::lock_guard lock(mutex_);
    temperatures_ = measurement.info.temperatures;
    return Frame(std::make_shared<FrameImpl>(std::move(measurement.cloud), std::move(measurement.settings),
                                             std::move(measurement.info), device_));
}

void CameraImpl::startLive() {
    std::unique_ptr<LiveSession> previous; // destroyed without the lock, since that may wait for a capture
    const std::lock_guard lock(mutex_);
    if (!head_)
        throw LogicException("Camera '" + serialNumber_ + "' is not connected.");
    if (live_ && live_->isRunning())
        throw LogicException("Camera '" + serialNumber_ + "' acquires live already.");
    auto session = std::make_unique<LiveSession>(
        LiveSession::Source{.capture = [this] { return measure(); }, .period = [this] { return livePeriod(); }},
        callback_);
    previous = std::exchange(live_, std::move(session));
}

void CameraImpl::stopLive() {
    const std::lock_guard lock(mutex_);
    if (live_)
        live_->stop();
}

std::chrono::microseconds CameraImpl::livePeriod() const {
    const double hertz = settings().getSettingsInternal().get<SettingsInternal::Camera::FrameRate>().value();
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::duration<double>(1.0 / hertz));
}

CameraState CameraImpl::state() const noexcept {
    CameraState state;
    try {
        // A head that is busy is not asked: what it said last will do.
        const std::unique_lock operation(operation_, std::try_to_lock);
        const std::lock_guard lock(mutex_);
        state.opened = head_ != nullptr;
        state.connected = head_ && head_->isPresent();
        // Without its head it is over, even before the capture that is under way has noticed.
        state.live = state.connected && live_ && live_->isRunning();
        if (state.connected && operation.owns_lock())
            temperatures_ = head_->temperatures();
        if (head_) {
            state.headTemperature = temperatures_.head;
            state.lensTemperature = temperatures_.lens.value_or(state.lensTemperature);
            state.ledTemperature = temperatures_.led.value_or(state.ledTemperature);
            state.pcbTemperature = temperatures_.pcb.value_or(state.pcbTemperature);
            state.dmdTemperature = temperatures_.dmd.value_or(state.dmdTemperature);
        }
    } catch (const std::exception& error) {
        // A head that fails to answer a question cannot be reached, which is a state and not a failure.
        Log::warning(source, __LINE__, "Camera '%s' does not answer: %s", serialNumber_, error.what());
        state.connected = false;
        state.live = false;
    }
    return state;
}

void CameraImpl::saveCalibration(const std::string& path) const {
    const std::lock_guard operation(operation_);
    if (!head_)
        throw LogicException("Camera '" + serialNumber_ + "' is not connected.");
    head_->saveCalibration(settings(), path);
}

std::optional<Driver::GroundTruth> CameraImpl::groundTruth() const {
    const std::lock_guard operation(operation_);
    return head_ ? head_->groundTruth() : std::nullopt;
}

} // namespace Vorta
