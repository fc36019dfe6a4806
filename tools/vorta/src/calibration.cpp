#include "commands.h"
#include "measurementoptions.h"

#include "vorta/api/application.h"
#include "vorta/api/cameraimpl.h"

#include <memory>

namespace Vorta::Tool {

namespace {

struct Arguments {
    MeasurementOptions measurement;
    std::string output;
};

void calibration(const Arguments& arguments) {
    Application application;
    Camera camera = arguments.measurement.connect(application, arguments.measurement.settings());
    camera.getImpl().saveCalibration(arguments.output);
}

} // namespace

void addCalibrationCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("calibration", "Writes a camera's calibration to a file.");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("OUTPUT", arguments->output, "Calibration file (.yml) to write.")->required();
    arguments->measurement.addTo(*command);
    command->callback([arguments] { calibration(*arguments); });
}

} // namespace Vorta::Tool
