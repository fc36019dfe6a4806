#include "camera/cameradetectionthread.h"

#include "camera/cameraselection.h"

namespace Vorta {

namespace {

constexpr std::chrono::milliseconds searchInterval{500};

} // namespace

VortaCameraDetectionThread::VortaCameraDetectionThread(Application& application, QObject* parent)
    : QThread(parent), application_(application) {}

VortaCameraDetectionThread::~VortaCameraDetectionThread() {
    requestStop();
    wait();
}

void VortaCameraDetectionThread::requestStop() {
    {
        const std::lock_guard lock(mutex_);
        stopRequested_ = true;
    }
    stopping_.notify_all();
}

bool VortaCameraDetectionThread::stopsWithin(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return stopping_.wait_for(lock, time, [this] { return stopRequested_; });
}

void VortaCameraDetectionThread::run() {
    for (std::chrono::milliseconds pause{0}; !stopsWithin(pause); pause = searchInterval) {
        if (CameraSelection::find(application_).empty())
            continue;
        if (!stopsWithin(std::chrono::milliseconds{0}))
            Q_EMIT cameraAvailable();
        return;
    }
}

} // namespace Vorta
