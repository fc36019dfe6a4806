#pragma once

#include "vorta/api/application.h"
#include "vorta/common/settings.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Vorta::Tool {

/// The file of the driver that the settings choose: beside this program, or in the folder "bin" below that. Throws
/// IOException when it is in neither place.
[[nodiscard]] std::filesystem::path findDriver(const Settings& settings);

/// What looking for cameras brought.
struct Found {
    std::vector<Camera> cameras;       ///< ordered by serial number
    std::vector<std::string> warnings; ///< why others that are plugged in cannot be used
};

/// Asks the driver that the settings choose.
[[nodiscard]] Found findCameras(Application& application, const Settings& settings);

/// The camera of that serial number, or the first one when it is empty. Throws RuntimeException when there is none.
[[nodiscard]] Camera chooseCamera(const Found& found, const std::string& serialNumber);

} // namespace Vorta::Tool
