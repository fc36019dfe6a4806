#include "camera/cameraselection.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"

#include <QFileInfo>

#include <exception>

namespace Vorta::CameraSelection {

QString findDriver(const QString& applicationFolder, const Settings& settings) {
    const std::string driver = settings.getSettingsInternal().get<SettingsInternal::Camera::Driver>().toString();
    const QString suffix = QStringLiteral("%1%2").arg(QString::fromStdString(driver), QString());
    QString candidate = QStringLiteral("%1/VortaCamera%2.dll").arg(applicationFolder, suffix);
    if (!QFileInfo::exists(candidate))
        candidate = QStringLiteral("%1/bin/VortaCamera%2.dll").arg(applicationFolder, suffix);
    if (!QFileInfo::exists(candidate))
        throw IOException("Camera driver not found: " + candidate.toStdString() + " - fallback to VortaCameraFile");
    return candidate;
}

bool isBeforeRevision3(const Settings& settings) {
    using Revision = SettingsInternal::Global::ProductRevision;
    return settings.getSettingsInternal().get<Revision>().value() < Revision::Value::Rev3;
}

std::vector<Camera> find(Application& application) {
    try {
        return application.cameras();
    } catch (const std::exception& e) {
        Log::warning("VortaStudio/CameraSelection", __LINE__, "Searching for cameras failed: %s", e.what());
        return {};
    }
}

std::map<std::string, Camera> labelled(const std::vector<Camera>& cameras) {
    std::map<std::string, Camera> byLabel;
    for (const Camera& camera : cameras)
        byLabel.emplace(camera.modelName() + ": " + camera.serialNumber().toString(), camera);
    return byLabel;
}

} // namespace Vorta::CameraSelection
