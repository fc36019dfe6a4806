#pragma once

#include "vorta/api/camerastate.h"
#include "vorta/api/export.h"
#include "vorta/api/frame.h"
#include "vorta/common/settings.h"
#include "vorta/compute/computedevice.h"
#include "vorta/driver/driver.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace Vorta {

class DriverLibrary;
class LiveSession;
class MeasuringHead;

/// What the handles on one camera share. Behaves as `Camera` describes; any thread.
///
/// Two locks, taken in this order: `operation_` is held for as long as the head is busy, `mutex_` for moments.
class VORTA_API_EXPORT CameraImpl {
public:
    /// Cameras are made by `ApplicationImpl`, which sees to it that each head has one.
    CameraImpl(std::shared_ptr<DriverLibrary> driver, Driver::HeadIdentity identity, Settings settings);
    CameraImpl(const CameraImpl&) = delete;
    CameraImpl& operator=(const CameraImpl&) = delete;
    ~CameraImpl();

    [[nodiscard]] Driver::HeadIdentity identity() const;
    /// Takes over what the head says of itself now, for instance after a firmware update.
    void setIdentity(Driver::HeadIdentity identity);

    void connect();
    void disconnect();

    void setComputeDevice(const ComputeDevice& device);
    void setFrameCallback(std::function<void(Frame)> callback);

    [[nodiscard]] Settings settings() const;
    void setSettings(const Settings& settings);

    [[nodiscard]] Frame capture();
    void startLive();
    void stopLive();

    [[nodiscard]] CameraState state() const noexcept;

    /// Writes the calibration that a capture with the present settings uses to a calibration file. Throws
    /// LogicException when not connected, RuntimeException when there is no calibration, IOException when the file
    /// cannot be written.
    void saveCalibration(const std::string& path) const;

    /// What was really there in the latest capture; only virtual heads know. Empty when not connected.
    [[nodiscard]] std::optional<Driver::GroundTruth> groundTruth() const;

private:
    [[nodiscard]] Frame measure();
    [[nodiscard]] std::chrono::microseconds livePeriod() const;
    /// Ends what the head is busy with, on whatever thread, and waits for live acquisition to end.
    void interrupt();

    const std::shared_ptr<DriverLibrary> driver_;
    const std::string serialNumber_;

    mutable std::mutex operation_;
    mutable std::mutex mutex_;
    std::unique_ptr<MeasuringHead> head_; ///< changed under both locks, so read under either
    Driver::HeadIdentity identity_;
    Settings settings_;
    ComputeDevice device_;
    std::function<void(Frame)> callback_;
    mutable Driver::Temperatures temperatures_; ///< as last read
    std::unique_ptr<LiveSession> live_;
};

} // namespace Vorta
