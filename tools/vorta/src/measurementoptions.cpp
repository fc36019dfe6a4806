#include "measurementoptions.h"

#include "cameras.h"
#include "commands.h"

#include "vorta/common/exceptions.h"

#include <iostream>

namespace Vorta::Tool {

void setFromOption(Settings& settings, const std::string& option, const std::string& path, const std::string& text) {
    try {
        settings.set(path, text);
    } catch (const ArgumentException& error) {
        throw UsageError(option + ": " + error.what());
    }
}

void printMessage(const Log::Event& event) {
    std::cerr << "vorta: " << event.getMessage() << '\n';
}

void MeasurementOptions::addTo(CLI::App& command) {
    command.add_option("--camera", camera_, "Serial number of the camera; otherwise the first one.");
    command.add_option("--exposure", exposure_, "Exposure time of each image in microseconds.");
    command.add_option("--iris", iris_, "Opening of the lens in steps.");
    command.add_option("--brightness", brightness_, "Brightness of the projector, 0 to 1.");
    command.add_option("--settings", settingsFile_, "Settings file to begin with.");
    command.add_option("--set", assignments_, "PATH=VALUE: one setting, for instance Camera/Gain=2; may be repeated.")
        ->allow_extra_args(false);
}

Settings MeasurementOptions::settings() const {
    Settings settings;
    if (!settingsFile_.empty())
        settings = Settings(settingsFile_);
    for (const std::string& assignment : assignments_) {
        const auto equals = assignment.find('=');
        if (equals == std::string::npos)
            throw UsageError("--set: '" + assignment + "' has no '='; write PATH=VALUE.");
        setFromOption(settings, "--set", assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    if (exposure_)
        setFromOption(settings, "--exposure", std::string(Settings::ExposureTime::path), *exposure_);
    if (iris_)
        setFromOption(settings, "--iris", std::string(Settings::Iris::path), *iris_);
    if (brightness_)
        setFromOption(settings, "--brightness", std::string(Settings::Brightness::path), *brightness_);
    return settings;
}

Camera MeasurementOptions::connect(Application& application, const Settings& settings) const {
    Camera camera = chooseCamera(findCameras(application, settings), camera_);
    if (settings.getSettingsInternal().get<SettingsInternal::Global::DebugMessages>().value())
        application.getImpl().setLogCallback(printMessage);
    camera.setSettings(settings);
    camera.connect();
    return camera;
}

} // namespace Vorta::Tool
