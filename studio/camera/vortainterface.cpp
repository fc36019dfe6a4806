#include "camera/vortainterface.h"

#include "camera/cameradetectionthread.h"
#include "camera/camerainitializerthread.h"
#include "camera/cameraselection.h"
#include "camera/firmwareupdate.h"
#include "camera/recordbuilder.h"
#include "camera/waitcursor.h"
#include "services/appsettings.h"
#include "vorta/api/application.h"
#include "vorta/api/frameimpl.h"
#include "vorta/api/hdr.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/common/requiredfirmware.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>

#include <iterator>
#include <utility>

namespace Vorta {

namespace {

constexpr const char* logSource = "VortaStudio/VortaInterface";
constexpr int pollIntervalMs = 3000;

std::string localPath(const QString& path) {
    return path.toLocal8Bit().toStdString();
}

} // namespace

VortaInterface::VortaInterface(Application& application, QObject* parent)
    : QObject(parent), application_(application), pollTimer_(this) {
    pollTimer_.setInterval(pollIntervalMs);
    connect(&pollTimer_, &QTimer::timeout, this, &VortaInterface::slotHandleCameraPollTimer);
    // The library's thread waits until the frame is stored: frames never pile up in the event queue.
    connect(this, &VortaInterface::measurementUpdated, this, &VortaInterface::slotHandleMeasurementUpdated,
            Qt::BlockingQueuedConnection);
    VortaQt::AppSettings::instance().loadCameraSettings(settings_);
}

VortaInterface::~VortaInterface() {
    detectionThread_.reset();
    awaitInitialization();
    lastLiveFrameWaits_ = false; // nobody is there to see it
    if (status_.live)
        stopLive();
    frameGate_->close([this] { QCoreApplication::removePostedEvents(this, QEvent::MetaCall); });
}

void VortaInterface::connectCamera(const ComputeDevice& device) {
    // Boxes that are shown on the way let the event loop go on, in which a later attempt may overtake this one.
    const unsigned attempt = ++connectAttempts_;
    const auto overtaken = [this, attempt] { return attempt != connectAttempts_; };
    pollTimer_.stop();
    detectionThread_.reset(); // this attempt looks for itself
    awaitInitialization();
    computeDevice_ = device;
    status_.connected = false;
    status_.stateFlag = false;
    Q_EMIT statusChanged(status_);

    chooseDriver();
    ensureCalibrationFile();
    if (overtaken())
        return;
    const std::vector<Camera> cameras = CameraSelection::find(application_);
    if (cameras.empty()) {
        Q_EMIT infoMessage(QStringLiteral("No camera connected"),
                           QStringLiteral("You need to connect a camera to do measurements."));
        if (!overtaken())
            startDetection();
        return;
    }
    const Camera chosen = chooseCamera(cameras);
    if (overtaken())
        return;
    camera_ = chosen;
    if (camera_.firmwareVersion() != requiredFirmware) {
        runFirmwareUpdate();
        return;
    }
    startInitialization();
}

void VortaInterface::chooseDriver() {
    const QString driver = CameraSelection::findDriver(QCoreApplication::applicationDirPath(), settings_);
    Log::info(logSource, __LINE__, "Using camera driver: '%s'", driver.toStdString());
    application_.getImpl().setCameraDriver(localPath(driver), settings_);
}

void VortaInterface::ensureCalibrationFile() {
    using CalibrationFile = SettingsInternal::Measurement::CalibrationFile;
    if (!CameraSelection::isBeforeRevision3(settings_))
        return;
    const QString known =
        QString::fromLocal8Bit(settings_.getSettingsInternal().get<CalibrationFile>().value().c_str());
    if (!known.isEmpty() && QFileInfo::exists(known))
        return;

    QString path = QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("calib_data.yml"));
    if (!QFileInfo::exists(path)) {
        Q_EMIT warningMessage(
            QStringLiteral("Calibration file"),
            QStringLiteral("No calibration file found. Please specify a calibration file in YML format now."));
        path = QFileDialog::getOpenFileName(nullptr, QStringLiteral("Load calibration file:"), QDir::currentPath(),
                                            QStringLiteral("Calibration file (*.yml);;"));
    }
    Settings settings = settings_;
    settings.getSettingsInternal().set(CalibrationFile(localPath(path)));
    VortaQt::AppSettings::instance().saveCameraSettings(settings);
    settings_ = settings;
    if (!camera_.isNull())
        camera_.setSettings(settings_);
    Q_EMIT settingsChanged(settings_);
}

Camera VortaInterface::chooseCamera(const std::vector<Camera>& cameras) {
    if (cameras.empty())
        throw LogicException("The camera selection list should never be empty.");
    if (cameras.size() == 1)
        return cameras.front();

    const std::map<std::string, Camera> byLabel = CameraSelection::labelled(cameras);
    QStringList labels;
    for (const auto& [label, camera] : byLabel)
        labels.append(QString::fromStdString(label));
    bool confirmed = false;
    const QString chosen = QInputDialog::getItem(nullptr, QStringLiteral("Multiple Cameras Detected"),
                                                 QStringLiteral("Select camera:"), labels, 0, false, &confirmed);
    // By its place: a label need not be the same after its way through the dialog.
    if (confirmed)
        return std::next(byLabel.begin(), labels.indexOf(chosen))->second;
    Q_EMIT infoMessage(QStringLiteral("Camera selection"),
                       QStringLiteral("No camera was explictly selected - using the first available camera."));
    return cameras.front();
}

void VortaInterface::startDetection() {
    detectionThread_ = std::make_unique<VortaCameraDetectionThread>(application_, nullptr);
    connect(detectionThread_.get(), &VortaCameraDetectionThread::cameraAvailable, this,
            &VortaInterface::slotHandleFirstCameraConnected);
    detectionThread_->start();
}

void VortaInterface::startInitialization() {
    initializerThread_ = new VortaCameraInitializerThread(*this);
    connect(initializerThread_, &VortaCameraInitializerThread::initialized, this,
            &VortaInterface::slotHandleCameraInitialized);
    connect(initializerThread_, &VortaCameraInitializerThread::initializationFailed, this,
            &VortaInterface::slotHandleCameraInitializationFailed);
    connect(initializerThread_, &QThread::finished, initializerThread_, &QObject::deleteLater);
    initializerThread_->start();
}

/// The camera, the settings and the device are the initializer thread's while that runs.
void VortaInterface::awaitInitialization() {
    if (initializerThread_)
        initializerThread_->wait();
}

bool VortaInterface::initializeCamera(QString& errorMessage) {
    try {
        using Revision = SettingsInternal::Global::ProductRevision;
        const Settings settings = settings_;
        camera_.setSettings(settings);
        if (CameraSelection::isBeforeRevision3(settings)) {
            const auto& revision = settings.getSettingsInternal().get<Revision>();
            errorMessage = QStringLiteral("Pre Rev3 camera is not supported (rev. %1)")
                               .arg(QString::fromStdString(revision.toString()));
            return false;
        }
        camera_.connect();
        camera_.setComputeDevice(computeDevice_);
        camera_.setFrameCallback(
            [this, gate = frameGate_](const Frame& frame) { gate->pass([&] { handleFrame(frame); }); });
        return true;
    } catch (const std::exception& e) {
        errorMessage = QString::fromLocal8Bit(e.what());
        return false;
    }
}

template <class Change>
void VortaInterface::changeCameraSettings(Change change) {
    Settings settings = camera_.settings();
    change(settings);
    camera_.setSettings(settings);
}

void VortaInterface::measure(const FrameSpec& spec) {
    const WaitCursor waitCursor;
    if (spec.raw)
        measureRaw(spec);
    else if (spec.live)
        startLive(spec);
    else if (spec.irisHDRValues.size() > 1)
        measureHdr(spec);
    else
        measureSingle(spec);
}

void VortaInterface::measureSingle(const FrameSpec& spec) {
    applyIris(spec.iris);
    applyExposure(spec);
    currentFrame_ = camera_.capture();
    publishCurrentFrame();
    firstMeasurementDone_ = true;
}

void VortaInterface::measureRaw(const FrameSpec& spec) {
    applyExposure(spec);
    applyCalibration(false);
    try {
        currentFrame_ = camera_.capture();
    } catch (...) {
        applyCalibration(true); // the next capture is not to pay for this one's failure
        throw;
    }
    applyCalibration(true);
    publishCurrentFrame();
}

/// Live and HDR are preceded by a single capture when there has been none: they rely on there being a record.
void VortaInterface::ensureFirstMeasurement(const FrameSpec& spec) {
    if (!firstMeasurementDone_)
        measureSingle(spec);
}

void VortaInterface::measureHdr(const FrameSpec& spec) {
    if (spec.irisHDRValues.size() < 2)
        throw ArgumentInvalidException("Not enough iris values for HDR measurement.", "spec.irisHDRValues");
    applyExposure(spec);
    ensureFirstMeasurement(spec);
    Log::info(logSource, __LINE__, "Initiating HDR measurement with %d iris values", spec.irisHDRValues.size());
    std::vector<Frame> frames;
    for (const std::uint64_t iris : spec.irisHDRValues) {
        applyIris(iris);
        Log::info(logSource, __LINE__, "Performing measurement with minimum iris: %d", iris);
        frames.push_back(camera_.capture());
    }
    currentFrame_ = HDR::Detail::combineFrames({frames.begin(), frames.end()});
    const PointCloud combined = currentFrame_.getPointCloud();
    // Whoever still holds the earlier record sees the points that everybody else sees.
    record_->setPointCloud(combined);
    publishRecord(combined);
    QList<DeviceCloud> clouds;
    for (const Frame& frame : frames)
        clouds.append(frame.deviceCloud());
    Q_EMIT deviceCloudsUpdatedHDR(clouds, combined);
    const SettingsInternal& internal = settings_.getSettingsInternal();
    if (internal.get<SettingsInternal::Camera::SaveChildMeasurements>().value() ||
        internal.get<SettingsInternal::Camera::SaveImages>().value())
        currentFrame_.getImpl().setChildFrames(frames);
}

void VortaInterface::startLive(const FrameSpec& spec) {
    ensureFirstMeasurement(spec);
    applyExposure(spec);
    Log::info(logSource, __LINE__, "Starting live acquisition");
    camera_.startLive();
    frameGate_->open();
    refreshStatus();
}

void VortaInterface::stopLive() {
    Log::info(logSource, __LINE__, "Stopping live acquisition");
    camera_.stopLive();
    refreshStatus();
    endFrames();
}

/// Brings the frame that may be on its way to its receivers now: later it would replace newer ones. The last frame is
/// the measurement then: views, masks and files all have the same.
void VortaInterface::endFrames() {
    const auto deliver = [] { QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall); };
    frameGate_->close(deliver);
    deliver();
    if (lastLiveFrameWaits_)
        publishCurrentFrame();
}

void VortaInterface::applyExposure(const FrameSpec& spec) {
    changeCameraSettings(
        [&](Settings& settings) { settings.set(Settings::Brightness(static_cast<double>(spec.brightness))); });
    changeCameraSettings([&](Settings& settings) { settings.set(Settings::ExposureTime(spec.exposureTime)); });
}

void VortaInterface::applyCalibration(bool on) {
    changeCameraSettings([on](Settings& settings) {
        settings.getSettingsInternal().set(SettingsInternal::Measurement::ApplyCalibration(on));
    });
}

void VortaInterface::applyIris(std::uint64_t iris) {
    changeCameraSettings([iris](Settings& settings) { settings.set(Settings::Iris(iris)); });
}

void VortaInterface::setSettings(const Settings& settings) {
    applySettings(settings);
    Q_EMIT settingsChanged(settings_);
}

void VortaInterface::setSettingsQuietly(const Settings& settings) {
    VortaQt::AppSettings::instance().saveCameraSettings(settings);
    applySettings(settings);
}

void VortaInterface::applySettings(const Settings& settings) {
    const WaitCursor waitCursor;
    awaitInitialization();
    settings_ = settings;
    if (!camera_.isNull())
        camera_.setSettings(settings_);
}

void VortaInterface::loadSettingsFile(const QString& path) {
    setSettings(Settings(localPath(path)));
}

void VortaInterface::saveSettings(const QString& path) const {
    settings_.save(localPath(path));
}

void VortaInterface::loadDataFile(const QString& path) {
    const WaitCursor waitCursor;
    currentFrame_ = Frame(localPath(path), computeDevice_);
    publishRecord(currentFrame_.getPointCloud());
    record_->updateMaskedCloud();
    Q_EMIT settingsLoaded(currentFrame_.settings());
}

void VortaInterface::saveDataFile(const QString& path) const {
    const WaitCursor waitCursor;
    currentFrame_.save(localPath(path));
}

void VortaInterface::publishCurrentFrame() {
    const DeviceCloud cloud = currentFrame_.deviceCloud();
    publishRecord(cloud.copyToCPU());
    Q_EMIT deviceCloudUpdated(cloud);
}

void VortaInterface::publishRecord(const PointCloud& cloud) {
    lastLiveFrameWaits_ = false;
    const SettingsInternal& internal = settings_.getSettingsInternal();
    record_ = buildRecord(
        cloud,
        ClassificationLimits{.contrastThreshold =
                                 static_cast<float>(settings_.get<Settings::Filters::Contrast::Threshold>().value()),
                             .minZ = static_cast<float>(internal.get<SettingsInternal::Measurement::MinZ>().value()),
                             .maxZ = static_cast<float>(internal.get<SettingsInternal::Measurement::MaxZ>().value())});
    Q_EMIT pointCloudDataUpdated(record_);
}

void VortaInterface::refreshStatus() {
    status_ = CameraStatus(camera_.state());
    live_ = status_.live;
    Q_EMIT statusChanged(status_);
}

void VortaInterface::handleFrame(const Frame& frame) {
    if (live_)
        Q_EMIT deviceCloudUpdated(frame.deviceCloud());
    Q_EMIT measurementUpdated(frame);
}

void VortaInterface::handleLossOfCamera() {
    Log::warning(logSource, __LINE__, "The camera does not answer any more");
    if (!status_.stateFlag)
        return;
    try {
        camera_.disconnect();
    } catch (const std::exception& e) {
        Q_EMIT warningMessage(QStringLiteral("Error"), QString::fromLocal8Bit(e.what()));
    }
}

void VortaInterface::slotHandleMaskUpdate(cv::Mat_<uchar>& mask) {
    if (!record_)
        return;
    record_->setMask(mask);
    record_->updateMaskedCloud();
    Q_EMIT pointCloudDataUpdated(record_);
}

void VortaInterface::slotHandleCameraInitialized() {
    refreshStatus();
    if (status_.connected)
        pollTimer_.start();
    else
        connectCamera(computeDevice_);
}

void VortaInterface::slotHandleCameraInitializationFailed(const QString& errorMessage) {
    QString text = QStringLiteral("Failed to initialize camera");
    if (!errorMessage.isEmpty())
        text += QStringLiteral(": \n") + errorMessage + QStringLiteral("\n");
    Q_EMIT infoMessage(QStringLiteral("No camera connected"), text);
    connectCamera(computeDevice_);
}

void VortaInterface::slotHandleFirstCameraConnected() {
    connectCamera(computeDevice_);
}

void VortaInterface::slotHandleCameraPollTimer() {
    const bool wasConnected = status_.connected;
    const bool wasLive = status_.live;
    refreshStatus();
    if (wasLive && !status_.live)
        endFrames();
    if (status_.connected)
        return;
    if (wasConnected)
        handleLossOfCamera();
    else
        connectCamera(computeDevice_);
}

void VortaInterface::slotHandleMeasurementUpdated(Frame frame) {
    currentFrame_ = std::move(frame);
    lastLiveFrameWaits_ = status_.live;
    if (!status_.live)
        publishCurrentFrame();
}

} // namespace Vorta
