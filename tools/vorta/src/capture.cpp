#include "cameras.h"
#include "commands.h"
#include "outputs.h"
#include "progress.h"

#include "vorta/api/cameraimpl.h"
#include "vorta/api/groundtruth.h"
#include "vorta/common/exceptions.h"

#include <iostream>
#include <memory>
#include <optional>

namespace Vorta::Tool {

namespace {

struct Arguments {
    std::vector<std::string> outputs;
    std::string camera;
    std::string settingsFile;
    std::vector<std::string> assignments; ///< PATH=VALUE
    std::optional<std::string> exposure;
    std::optional<std::string> iris;
    std::optional<std::string> brightness;
    bool unordered = false;
    std::string truth;
};

void set(Settings& settings, const std::string& option, const std::string& path, const std::string& text) {
    try {
        settings.set(path, text);
    } catch (const ArgumentException& error) {
        throw UsageError(option + ": " + error.what());
    }
}

/// From the general to the particular: the file, then single settings, then the options of their own.
Settings settingsFrom(const Arguments& arguments) {
    Settings settings;
    if (!arguments.settingsFile.empty())
        settings = Settings(arguments.settingsFile);
    for (const std::string& assignment : arguments.assignments) {
        const auto equals = assignment.find('=');
        if (equals == std::string::npos)
            throw UsageError("--set: '" + assignment + "' has no '='; write PATH=VALUE.");
        set(settings, "--set", assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    if (arguments.exposure)
        set(settings, "--exposure", std::string(Settings::ExposureTime::path), *arguments.exposure);
    if (arguments.iris)
        set(settings, "--iris", std::string(Settings::Iris::path), *arguments.iris);
    if (arguments.brightness)
        set(settings, "--brightness", std::string(Settings::Brightness::path), *arguments.brightness);
    return settings;
}

void saveTruth(const Camera& camera, const std::string& path) {
    const auto truth = camera.getImpl().groundTruth();
    if (!truth)
        throw RuntimeException("File '" + path + "' cannot be written: camera '" + camera.serialNumber().toString() +
                               "' is not virtual and does not know the truth.");
    saveGroundTruth(*truth, path);
}

void capture(const Arguments& arguments) {
    const std::vector<Output> outputs = parseOutputs(arguments.outputs);
    const Settings settings = settingsFrom(arguments);
    Application application;
    Camera camera = chooseCamera(findCameras(application, settings), arguments.camera);
    if (settings.getSettingsInternal().get<SettingsInternal::Global::DebugMessages>().value())
        application.getImpl().setLogCallback(
            [](const Log::Event& event) { std::cerr << "vorta: " << event.getMessage() << '\n'; });
    Frame frame;
    {
        Progress progress;
        progress.show("Capturing with " + camera.modelName() + " " + camera.serialNumber().toString());
        camera.setSettings(settings);
        camera.connect();
        frame = camera.capture();
    }
    if (!arguments.truth.empty())
        saveTruth(camera, arguments.truth);
    writeAll(outputs, frame, arguments.unordered);
}

} // namespace

void addCaptureCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("capture", "Takes one measurement and writes it to files.");
    const auto arguments = std::make_shared<Arguments>();
    command
        ->add_option("OUTPUT", arguments->outputs,
                     "Files to write; the ending says what: .vdf .xyz .ply .pcd, or .png for the colour image.")
        ->required();
    command->add_option("--camera", arguments->camera, "Serial number of the camera; otherwise the first one.");
    command->add_option("--exposure", arguments->exposure, "Exposure time of each image in microseconds.");
    command->add_option("--iris", arguments->iris, "Opening of the lens in steps.");
    command->add_option("--brightness", arguments->brightness, "Brightness of the projector, 0 to 1.");
    command->add_option("--settings", arguments->settingsFile, "Settings file to begin with.");
    command
        ->add_option("--set", arguments->assignments,
                     "PATH=VALUE: one setting, for instance Camera/Gain=2; may be repeated.")
        ->allow_extra_args(false);
    command->add_flag("--unordered", arguments->unordered, "Leave invalid points out of .ply files.");
    command->add_option("--truth", arguments->truth, "Write the true depth of a virtual camera's scene (netCDF).");
    command->callback([arguments] { capture(*arguments); });
}

} // namespace Vorta::Tool
