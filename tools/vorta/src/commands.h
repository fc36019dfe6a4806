#pragma once

#include <CLI/CLI.hpp>

#include <stdexcept>

/// The subcommands of `vorta`. Each adds itself to the command line, with what it does as its callback; failures of
/// that are exceptions.
namespace Vorta::Tool {

/// The command line asks for something that cannot be meant: exit status 2, where other failures give 1.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

void addListCommand(CLI::App& app);
void addCaptureCommand(CLI::App& app);
void addLiveCommand(CLI::App& app);
void addConvertCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);
void addSettingsCommand(CLI::App& app);
void addCalibrationCommand(CLI::App& app);

} // namespace Vorta::Tool
