#include "settingspage.h"

#include "vorta/common/settings.h"

#include <algorithm>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

namespace Vorta {

namespace {

std::string code(std::string_view text) {
    return '`' + std::string{text} + '`';
}

std::string_view groupOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view{} : path.substr(0, slash);
}

/// The settings that stand directly in one group; an empty path is the root.
void printTable(std::ostream& out, std::span<const SettingDescription> catalogue, std::string_view group) {
    const auto isInGroup = [&](const SettingDescription& setting) { return groupOf(setting.path) == group; };
    if (std::ranges::none_of(catalogue, isInGroup))
        return;
    out << "\n| Path | Type | Default | Accepted | Meaning |\n|---|---|---|---|---|\n";
    for (const SettingDescription& setting : catalogue)
        if (isInGroup(setting))
            out << "| " << code(setting.path) << " | " << setting.type << " | "
                << (setting.defaultText.empty() ? "empty" : code(setting.defaultText)) << " | " << setting.accepted
                << " | " << setting.meaning << " |\n";
}

void printGroups(std::ostream& out, std::span<const SettingDescription> catalogue,
                 std::span<const SettingGroupDescription> groups) {
    for (const SettingGroupDescription& group : groups) {
        out << "\n### " << group.path << "\n\n" << group.meaning << '\n';
        printTable(out, catalogue, group.path);
    }
}

} // namespace

void writeSettingsPage(std::ostream& out) {
    out << "# Camera settings\n\n"
           "Every setting of a camera, as settings files, the expert table and `Vorta::Settings` know it. This page\n"
           "is printed by `vorta_settings_reference` from the catalogue in `sdk/common`; do not edit it.\n\n"
           "Paths and texts are exact. Numbers are written with a decimal point. A settings file is a YAML tree\n"
           "of the paths; it holds the expert settings below `Internal`, and what it leaves out has its default.\n\n"
           "## Settings\n";
    printTable(out, Settings::catalogue(), {});
    printGroups(out, Settings::catalogue(), Settings::groups());
    out << "\n## Expert settings\n";
    printGroups(out, SettingsInternal::catalogue(), SettingsInternal::groups());
}

} // namespace Vorta
