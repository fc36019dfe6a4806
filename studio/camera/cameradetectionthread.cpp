#include "camera/cameradetectionthread.h"

#include "vorta/api/application.h"
#include "vorta/common/log.h"

#include <QMutexLocker>

#include <exception>

namespace Vorta {

namespace {

constexpr unsigned long searchIntervalMs = 500;

// A driver that stumbles over one search must not end the search for good.
bool anyCamera(Application& application) {
    try {
        return !application.cameras().empty();
    } catch (const std::exception& e) {
        Log::warning("VortaStudio/VortaCameraDetectionThread", __LINE__, "Searching for cameras failed: %s", e.what());
        return false;
    }
}

} // namespace

VortaCameraDetectionThread::VortaCameraDetectionThread(Application& application, QObject* parent)
    : QThread(parent), application_(application) {}

VortaCameraDetectionThread::~VortaCameraDetectionThread() {
    requestStop();
    wait();
}

void VortaCameraDetectionThread::requestStop() {
    const QMutexLocker lock{&mutex_};
    stopRequested_ = true;
    stopping_.wakeAll();
}

void VortaCameraDetectionThread::run() {
    while (!stopRequested_) {
        if (anyCamera(application_)) {
            if (!stopRequested_)
                Q_EMIT cameraAvailable();
            return;
        }
        QMutexLocker lock{&mutex_};
        if (!stopRequested_)
            stopping_.wait(&mutex_, searchIntervalMs);
    }
}

} // namespace Vorta
