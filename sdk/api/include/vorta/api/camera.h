#pragma once

#include "vorta/api/camerastate.h"
#include "vorta/api/export.h"
#include "vorta/api/frame.h"
#include "vorta/common/settings.h"
#include "vorta/compute/computedevice.h"

#include <functional>
#include <memory>
#include <string>

namespace Vorta {

class CameraImpl;

/// A camera's serial number.
class VORTA_API_EXPORT SerialNumber {
public:
    explicit SerialNumber(std::string text);
    [[nodiscard]] const std::string& toString() const noexcept { return text_; }
    [[nodiscard]] bool operator==(const SerialNumber&) const = default;

private:
    std::string text_;
};

/// Handle on one camera; copies refer to the same camera. A default-constructed handle refers to none, and every
/// operation but `state()` and `isNull()` then throws LogicException. Calls are serialised inside and may come from
/// any thread.
class VORTA_API_EXPORT Camera {
public:
    Camera() = default;
    explicit Camera(std::shared_ptr<CameraImpl> impl);

    [[nodiscard]] bool isNull() const noexcept { return impl_ == nullptr; }

    /// Facts that are known without a connection.
    [[nodiscard]] std::string modelName() const;
    [[nodiscard]] SerialNumber serialNumber() const;
    [[nodiscard]] std::string firmwareVersion() const;

    /// Opens the head; no effect when connected already. Throws RuntimeException when it does not answer.
    void connect();
    /// Closes the head; no effect when not connected.
    void disconnect();

    /// Where the device clouds of coming frames are to live.
    void setComputeDevice(const ComputeDevice& device);
    /// Called with every frame of live acquisition, on a thread of the library; it may wait for the thread that calls
    /// `stopLive`. Frames that arrive while it runs are dropped but for the newest. An empty function removes it.
    void setFrameCallback(std::function<void(Frame)> callback);

    /// A copy of the camera's settings; kept also while it is not connected.
    [[nodiscard]] Settings settings() const;
    /// Replaces the settings as a whole; the next capture uses them.
    void setSettings(const Settings& settings);

    /// Takes one measurement with the present settings and waits for it (the exposures and the computation). Throws
    /// LogicException when not connected or live, and RuntimeException that names the serial number when the head has
    /// vanished or cannot capture.
    [[nodiscard]] Frame capture();

    /// Starts continuous captures; each goes to the frame callback. Throws LogicException when not connected or live.
    void startLive();
    /// Ends live acquisition; no effect when it does not run. No callback starts after this has returned, but one may
    /// still be ending: this never waits for a callback that waits for the caller.
    void stopLive();

    /// Never throws: a camera that cannot be reached is reported as not connected.
    [[nodiscard]] CameraState state() const noexcept;

    [[nodiscard]] CameraImpl& getImpl() const;

private:
    std::shared_ptr<CameraImpl> impl_;
};

} // namespace Vorta
