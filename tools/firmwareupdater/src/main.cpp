#include "update.h"

#include "vorta/common/requiredfirmware.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

namespace {

using Vorta::FirmwareUpdater::Outcome;
using Vorta::FirmwareUpdater::report;

Outcome run(int argc, char** argv) {
    CLI::App app("Brings the plugged-in heads to the firmware " + std::string(Vorta::requiredFirmware) + ".",
                 "VortaFirmwareUpdater");
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.set_version_flag("--version", "VortaFirmwareUpdater " VORTA_VERSION);
    app.footer("Ends with 0 when every head runs that firmware, 2 for a wrong command line, 3 when no head was found,\n"
               "4 for a head's file that cannot be used, 5 when a head could not be written, 6 when it does not run\n"
               "what was written, and 1 for anything else.");
    std::optional<std::string> serialNumber;
    app.add_option("--serial", serialNumber, "Only the head with this serial number.")->type_name("SERIAL");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        app.exit(request); // help or version
        return Outcome::UpToDate;
    } catch (const CLI::ParseError& error) {
        report(std::string(error.what()) + " (\"VortaFirmwareUpdater --help\" lists what there is)");
        return Outcome::Misused;
    }
    const Outcome outcome = Vorta::FirmwareUpdater::updateHeads(serialNumber);
    if (!std::cout.flush()) {
        report("the output cannot be written.");
        return std::max(outcome, Outcome::Failed);
    }
    return outcome;
}

} // namespace

int main(int argc, char** argv) {
    Outcome outcome = Outcome::Failed;
    try {
        outcome = run(argc, argv);
    } catch (const std::exception& error) {
        report(error.what());
    }
    return static_cast<int>(outcome);
}
