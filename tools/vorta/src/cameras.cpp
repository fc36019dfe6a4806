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

std::vector<Camera> findCameras(Application& application, const Settings& settings) {
    application.getImpl().setCameraDriver(findDriver(settings).string(), settings);
    return application.cameras();
}

Camera chooseCamera(const std::vector<Camera>& cameras, const std::string& serialNumber) {
    if (cameras.empty())
        throw RuntimeException("No camera was found: plug one in.");
    if (serialNumber.empty())
        return cameras.front();
    const SerialNumber wanted(serialNumber);
    const auto found = std::ranges::find(cameras, wanted, &Camera::serialNumber);
    if (found != cameras.end())
        return *found;
    std::string others;
    for (const Camera& camera : cameras)
        others += (others.empty() ? "'" : ", '") + camera.serialNumber().toString() + "'";
    throw RuntimeException("No camera with the serial number '" + serialNumber + "' was found, only " + others + ".");
}

} // namespace Vorta::Tool
