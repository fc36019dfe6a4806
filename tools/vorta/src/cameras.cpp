#include "cameras.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <boost/dll/runtime_symbol_info.hpp>

namespace Vorta::Tool {

std::filesystem::path findDriver(const Settings& settings) {
    const std::filesystem::path folder = boost::dll::program_location().parent_path();
    const std::string name =
        "VortaCamera" + settings.getSettingsInternal().get<SettingsInternal::Camera::Driver>().toString() + ".dll";
    for (const std::filesystem::path& candidate : {folder / name, folder / "bin" / name})
        if (std::filesystem::exists(candidate))
            return candidate;
    throw IOException("Camera driver '" + name + "' was not found, neither in '" + folder.string() + "' nor in '" +
                      (folder / "bin").string() + "'.");
}

Found findCameras(Application& application, const Settings& settings) {
    Found found;
    ApplicationImpl& library = application.getImpl();
    library.setCameraDriver(findDriver(settings).string(), settings);
    library.setLogCallback([&found](const Log::Event& event) {
        if (event.getSeverity() <= Log::Severity::Warning)
            found.warnings.push_back(event.getMessage());
    });
    try {
        found.cameras = application.cameras();
    } catch (...) {
        library.setLogCallback({}); // before what it refers to is gone
        throw;
    }
    library.setLogCallback({});
    return found;
}

Camera chooseCamera(const Found& found, const std::string& serialNumber) {
    const SerialNumber wanted(serialNumber);
    const auto chosen = std::ranges::find_if(
        found.cameras, [&](const Camera& camera) { return serialNumber.empty() || camera.serialNumber() == wanted; });
    if (chosen != found.cameras.end())
        return *chosen;
    std::string message = serialNumber.empty() ? "No camera was found."
                                               : "No camera with the serial number '" + serialNumber + "' was found.";
    for (const Camera& camera : found.cameras)
        message += " Camera '" + camera.serialNumber().toString() + "' was.";
    for (const std::string& warning : found.warnings)
        message += ' ' + warning;
    throw RuntimeException(message);
}

} // namespace Vorta::Tool
