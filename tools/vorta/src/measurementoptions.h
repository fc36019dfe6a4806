#pragma once

#include "vorta/api/application.h"
#include "vorta/common/settings.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Vorta::Tool {

/// The options of every command that measures: which camera, and with which settings.
class MeasurementOptions {
public:
    /// Adds them to the command; this object must stay where it is until the command line is parsed.
    void addTo(CLI::App& command);

    /// From the general to the particular: the file, then single settings, then the options of their own. Throws
    /// UsageError for what is no setting or no value of it.
    [[nodiscard]] Settings settings() const;

    /// Finds the camera and connects it with these settings. Throws as `chooseCamera` does.
    [[nodiscard]] Camera connect(Application& application, const Settings& settings) const;

private:
    std::string camera_;
    std::string settingsFile_;
    std::vector<std::string> assignments_; ///< PATH=VALUE
    std::optional<std::string> exposure_;
    std::optional<std::string> iris_;
    std::optional<std::string> brightness_;
};

/// A message of the library, as one line on the standard error stream.
void printMessage(const Log::Event& event);

/// Sets one value; throws UsageError that begins with the option's name.
void setFromOption(Settings& settings, const std::string& option, const std::string& path, const std::string& text);

} // namespace Vorta::Tool
