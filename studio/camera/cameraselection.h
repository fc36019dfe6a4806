#pragma once

#include "vorta/api/application.h"
#include "vorta/api/camera.h"
#include "vorta/common/settings.h"

#include <QString>

#include <map>
#include <string>
#include <vector>

/// What the controller decides before it connects a camera, apart from any window.
namespace Vorta::CameraSelection {

/// Path of the driver plug-in that the settings name: beside the program in `applicationFolder`, else in its "bin"
/// folder. Throws IOException when it is in neither place.
[[nodiscard]] QString findDriver(const QString& applicationFolder, const Settings& settings);

/// Whether the settings speak of a head that is older than revision 3 and so needs a calibration file.
[[nodiscard]] bool isBeforeRevision3(const Settings& settings);

/// The cameras that are found now. A driver that stumbles over a search is told in the log, and has found none: the
/// search must not end for good.
[[nodiscard]] std::vector<Camera> find(Application& application);

/// The cameras by the label under which the user chooses, "model: serial number", in string order.
[[nodiscard]] std::map<std::string, Camera> labelled(const std::vector<Camera>& cameras);

} // namespace Vorta::CameraSelection
