#pragma once

#include "camera/callbackgate.h"
#include "camera/camerastatus.h"
#include "camera/cloudwithimagesandmask.h"
#include "camera/framespec.h"
#include "vorta/api/camera.h"
#include "vorta/common/settings.h"
#include "vorta/compute/computedevice.h"
#include "vorta/compute/devicecloud.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <atomic>
#include <memory>
#include <vector>

namespace Vorta {

class Application;
class VortaCameraDetectionThread;
class VortaCameraInitializerThread;

/// The application's one camera controller: finds and connects the camera, keeps its settings, measures, turns frames
/// into the shared record, and watches the connection.
///
/// It lives on the GUI thread, where all operations, slots and signals are, but for `measurementUpdated`, which comes
/// from the library's thread, and `initializeCamera`, which runs on the initializer thread.
class VortaInterface : public QObject {
    Q_OBJECT

public:
    /// `application` outlives the controller. Reads the last used camera settings from the preferences store.
    VortaInterface(Application& application, QObject* parent);
    ~VortaInterface() override;

    /// Chooses the driver, looks for cameras and starts connecting one; without a camera a search goes on in the
    /// background. Throws IOException when the driver is missing or unusable. The user may be asked which camera to
    /// take, for a calibration file, or about a firmware update.
    void connectCamera(const ComputeDevice& device);

    /// Does what the request asks for, under a wait cursor: a raw capture, the start of live acquisition, a measurement
    /// of high dynamic range, or a single capture. All but live publish the result as the current record. Failures of
    /// the camera are thrown to the caller.
    void measure(const FrameSpec& spec);
    /// Captures once with each iris of the request and combines the captures. Throws ArgumentInvalidException, before
    /// anything is captured, when the request names fewer than two.
    void measureHdr(const FrameSpec& spec);
    /// Ends live acquisition; the camera stays connected.
    void stopLive();

    /// Takes over new settings, applies them to the camera and announces them.
    void setSettings(const Settings& settings);
    /// Like `setSettings`, but keeps them in the preferences store and announces nothing.
    void setSettingsQuietly(const Settings& settings);
    /// Takes over the settings of a file, applies and announces them. Throws IOException when it cannot be used.
    void loadSettingsFile(const QString& path);
    /// Writes the settings to a file. Throws IOException when that fails.
    void saveSettings(const QString& path) const;

    /// Makes a data file the current frame and record. Throws IOException when it cannot be used.
    void loadDataFile(const QString& path);
    /// Writes the current frame as a data file. Throws IOException or, without a frame, LogicException.
    void saveDataFile(const QString& path) const;

    [[nodiscard]] const CameraStatus& status() const noexcept { return status_; }
    /// Those that the camera has at present, the iris, exposure time and brightness of the last capture among them;
    /// without a camera those that the next one will be given.
    [[nodiscard]] Settings settings() const { return status_.connected ? camera_.settings() : settings_; }
    /// Those with which the present frame was captured.
    [[nodiscard]] Settings frameSettings() const { return currentFrame_.settings(); }
    /// The current record; null before the first measurement.
    [[nodiscard]] std::shared_ptr<CloudWithImagesAndMask> record() const noexcept { return record_; }

    /// Initializer thread: applies the settings to the chosen camera and connects it. On failure returns false and says
    /// why in `errorMessage`.
    bool initializeCamera(QString& errorMessage);

Q_SIGNALS:
    void statusChanged(const Vorta::CameraStatus& status);
    void settingsChanged(Settings settings);
    void deviceCloudUpdated(Vorta::DeviceCloud cloud);
    void measurementUpdated(Vorta::Frame measurement);
    void deviceCloudsUpdatedHDR(QList<Vorta::DeviceCloud> deviceCloudList, PointCloud pointCloud);
    void pointCloudDataUpdated(std::shared_ptr<Vorta::CloudWithImagesAndMask> data);
    void infoMessage(const QString& title, const QString& text);
    void warningMessage(const QString& title, const QString& text);
    void temporaryStatusMessage(const QString& message);
    void settingsLoaded(Settings settings);

public Q_SLOTS:
    /// Replaces the current record's mask by the user's and rebuilds its masked cloud.
    void slotHandleMaskUpdate(cv::Mat_<uchar>& mask);
    void slotHandleCameraInitialized();
    void slotHandleCameraInitializationFailed(const QString& errorMessage);
    void slotHandleFirstCameraConnected();
    void slotHandleCameraPollTimer();
    void slotHandleMeasurementUpdated(Vorta::Frame frame);

private:
    void chooseDriver();
    void ensureCalibrationFile();
    [[nodiscard]] Camera chooseCamera(const std::vector<Camera>& cameras);
    void startDetection();
    void startInitialization();
    void awaitInitialization();
    void applySettings(const Settings& settings);
    void handleLossOfCamera();

    void measureSingle(const FrameSpec& spec);
    void measureRaw(const FrameSpec& spec);
    void startLive(const FrameSpec& spec);
    void ensureFirstMeasurement(const FrameSpec& spec);
    void applyExposure(const FrameSpec& spec);
    void applyIris(std::uint64_t iris);
    void applyCalibration(bool on);
    template <class Change>
    void changeCameraSettings(Change change);

    void handleFrame(const Frame& frame);
    void endFrames();
    void publishCurrentFrame();
    void publishRecord(const PointCloud& cloud);
    void refreshStatus();

    Application& application_;
    Camera camera_;
    CameraStatus status_;
    // The library's thread asks this when it delivers a frame.
    std::atomic<bool> live_{false};
    // Open while live acquisition runs; shared with the frame callback, which the camera may keep for longer.
    std::shared_ptr<CallbackGate> frameGate_ = std::make_shared<CallbackGate>();
    Settings settings_;
    ComputeDevice computeDevice_;
    unsigned connectAttempts_ = 0;
    bool firstMeasurementDone_ = false;
    std::shared_ptr<CloudWithImagesAndMask> record_;
    Frame currentFrame_;
    bool lastLiveFrameWaits_ = false; ///< the current frame came live, and has no record yet
    std::unique_ptr<VortaCameraDetectionThread> detectionThread_;
    QPointer<VortaCameraInitializerThread> initializerThread_;
    QTimer pollTimer_;
};

} // namespace Vorta
