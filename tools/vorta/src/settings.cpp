#include "commands.h"

#include "vorta/api/settingstext.h"
#include "vorta/common/settings.h"

#include <iostream>
#include <memory>
#include <optional>
#include <string>

namespace Vorta::Tool {

namespace {

void describe(std::span<const SettingDescription> catalogue) {
    for (const SettingDescription& setting : catalogue)
        std::cout << setting.path << " = " << setting.defaultText << "\n    " << setting.meaning << "\n    Accepts "
                  << setting.accepted << ".\n";
}

} // namespace

void addSettingsCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "settings", "Lists every setting with its default, what it accepts and what it means; or prints or checks a "
                    "settings file.");
    const auto defaults = std::make_shared<bool>(false);
    const auto file = std::make_shared<std::optional<std::string>>();
    CLI::Option* print = command->add_flag("--defaults", *defaults, "Print a settings file with every default.");
    command->add_option("--check", *file, "Check a settings file: say what is wrong with it, if anything.")
        ->excludes(print);
    command->callback([defaults, file] {
        if (*file) {
            const Settings settings(**file); // throws what is wrong
            std::cout << **file << ": valid\n";
        } else if (*defaults) {
            std::cout << settingsText(Settings{});
        } else {
            describe(Settings::catalogue());
            describe(SettingsInternal::catalogue());
        }
    });
}

} // namespace Vorta::Tool
