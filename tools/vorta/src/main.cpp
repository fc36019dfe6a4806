#include "commands.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <string>

namespace {

constexpr int failure = 1;
constexpr int usageFailure = 2;

/// Exactly one line, whatever the message holds.
void report(std::string message) {
    std::ranges::replace(message, '\n', ' ');
    std::cerr << "vorta: " << message << '\n';
}

int run(int argc, char** argv) {
    CLI::App app("Takes measurements with Vorta cameras, and reads and converts their files.", "vorta");
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.set_version_flag("--version", "vorta " VORTA_VERSION);
    Vorta::Tool::addListCommand(app);
    Vorta::Tool::addCaptureCommand(app);
    Vorta::Tool::addLiveCommand(app);
    Vorta::Tool::addConvertCommand(app);
    Vorta::Tool::addInfoCommand(app);
    Vorta::Tool::addSettingsCommand(app);
    Vorta::Tool::addCalibrationCommand(app);
    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty())
            throw Vorta::Tool::UsageError("A subcommand is required (\"vorta --help\" lists what there is)");
    } catch (const CLI::Success& request) {
        return app.exit(request); // help or version
    } catch (const CLI::ParseError& error) {
        report(std::string(error.what()) + " (\"vorta --help\" lists what there is)");
        return usageFailure;
    } catch (const Vorta::Tool::UsageError& error) {
        report(error.what());
        return usageFailure;
    }
    if (!std::cout.flush()) {
        report("the output cannot be written.");
        return failure;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        report(error.what());
        return failure;
    }
}
