#include "cameras.h"
#include "commands.h"
#include "json.h"

#include <iomanip>
#include <iostream>
#include <memory>

namespace Vorta::Tool {

namespace {

void listCameras(bool asJson) {
    Application application;
    const auto [cameras, warnings] = findCameras(application, Settings{});
    for (const std::string& warning : warnings)
        std::cerr << "vorta: " << warning << '\n';
    if (asJson) {
        auto list = Json::array();
        for (const Camera& camera : cameras)
            list.push_back({{"model", camera.modelName()},
                            {"serialNumber", camera.serialNumber().toString()},
                            {"firmware", camera.firmwareVersion()}});
        return print(list);
    }
    if (cameras.empty())
        std::cout << "No camera was found.\n";
    for (const Camera& camera : cameras)
        std::cout << std::left << std::setw(20) << camera.serialNumber().toString() << ' ' << std::setw(30)
                  << camera.modelName() << ' ' << camera.firmwareVersion() << '\n';
}

} // namespace

void addListCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("list", "Lists the cameras that are plugged in.");
    const auto asJson = std::make_shared<bool>(false);
    command->add_flag("--json", *asJson, "Print JSON.");
    command->callback([asJson] { listCameras(*asJson); });
}

} // namespace Vorta::Tool
