#include "app/metatypes.h"

#include "camera/metatypes.h"
#include "services/logevent.h"

#include <QMetaType>

namespace Vorta {

void registerMetaTypes() {
    qRegisterMetaType<PointCloud>("PointCloud");
    qRegisterMetaType<DeviceCloud>("Vorta::DeviceCloud");
    qRegisterMetaType<std::shared_ptr<CloudWithImagesAndMask>>("std::shared_ptr<CloudWithImagesAndMask>");
    // The reference form is an alias, so that signals declared with a cv::Mat& argument can be queued.
    qRegisterMetaType<cv::Mat>("cv::Mat&");
    qRegisterMetaType<std::string>("std::string");
    qRegisterMetaType<CameraStatus>("Vorta::CameraStatus");
    qRegisterMetaType<VortaQt::LogEvent>("VortaQt::LogEvent");
}

} // namespace Vorta
