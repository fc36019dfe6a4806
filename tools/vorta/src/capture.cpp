#include "commands.h"
#include "measurementoptions.h"
#include "outputs.h"
#include "progress.h"

#include "vorta/api/application.h"
#include "vorta/api/cameraimpl.h"
#include "vorta/api/frameimpl.h"
#include "vorta/api/groundtruth.h"
#include "vorta/api/hdr.h"
#include "vorta/common/exceptions.h"

#include <memory>

namespace Vorta::Tool {

namespace {

struct Arguments {
    std::vector<std::string> outputs;
    MeasurementOptions measurement;
    std::vector<std::string> hdrIrises;
    bool saveImages = false;
    bool unordered = false;
    std::string truth;
};

void saveTruth(const Camera& camera, const std::string& path) {
    const auto truth = camera.getImpl().groundTruth();
    if (!truth)
        throw RuntimeException("File '" + path + "' cannot be written: camera '" + camera.serialNumber().toString() +
                               "' is not virtual and does not know the truth.");
    saveGroundTruth(*truth, path);
}

/// The settings of each capture: one, or one for each iris of a high-dynamic-range measurement.
std::vector<Settings> captures(const Arguments& arguments) {
    Settings settings = arguments.measurement.settings();
    if (arguments.saveImages)
        settings.getSettingsInternal().set(SettingsInternal::Camera::SaveImages(true));
    if (arguments.hdrIrises.empty())
        return {settings};
    if (arguments.hdrIrises.size() == 1)
        throw UsageError("--hdr: one iris makes no high dynamic range; give at least two, for instance 8,20,50.");
    std::vector<Settings> all;
    for (const std::string& iris : arguments.hdrIrises) {
        setFromOption(settings, "--hdr", std::string(Settings::Iris::path), iris);
        all.push_back(settings);
    }
    return all;
}

bool keepsChildren(const Settings& settings) {
    const SettingsInternal& internal = settings.getSettingsInternal();
    return internal.get<SettingsInternal::Camera::SaveChildMeasurements>().value() ||
           internal.get<SettingsInternal::Camera::SaveImages>().value();
}

Frame measure(Camera& camera, const std::vector<Settings>& captures, Progress& progress) {
    std::vector<Frame> frames;
    for (const Settings& settings : captures) {
        const std::string count = captures.size() > 1 ? " (" + std::to_string(frames.size() + 1) + " of " +
                                                            std::to_string(captures.size()) + ")"
                                                      : "";
        progress.show("Capturing with " + camera.modelName() + " " + camera.serialNumber().toString() + count);
        camera.setSettings(settings);
        frames.push_back(camera.capture());
    }
    if (frames.size() == 1)
        return frames.front();
    Frame combined = HDR::Detail::combineFrames({frames.begin(), frames.end()});
    if (keepsChildren(captures.front()))
        combined.getImpl().setChildFrames(frames);
    return combined;
}

void capture(const Arguments& arguments) {
    const std::vector<Output> outputs = parseOutputs(arguments.outputs);
    const std::vector<Settings> settings = captures(arguments);
    Application application;
    Frame frame;
    Camera camera;
    {
        Progress progress;
        progress.show("Connecting");
        camera = arguments.measurement.connect(application, settings.front());
        frame = measure(camera, settings, progress);
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
    arguments->measurement.addTo(*command);
    command
        ->add_option("--hdr", arguments->hdrIrises,
                     "N,N,...: capture with each of these irises and combine them to one measurement.")
        ->delimiter(',')
        ->allow_extra_args(false);
    command->add_flag("--save-images", arguments->saveImages,
                      "Keep the raw images in a .vdf, so that it can be decoded afresh.");
    command->add_flag("--unordered", arguments->unordered, "Leave invalid points out of .ply files.");
    command->add_option("--truth", arguments->truth, "Write the true depth of a virtual camera's scene (netCDF).");
    command->callback([arguments] { capture(*arguments); });
}

} // namespace Vorta::Tool
