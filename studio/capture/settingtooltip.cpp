#include "capture/settingtooltip.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/settings.h"

#include <algorithm>
#include <string>

namespace {

QString utf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

const Vorta::SettingDescription& describe(std::string_view path) {
    for (const auto catalogue : {Vorta::Settings::catalogue(), Vorta::SettingsInternal::catalogue()}) {
        const auto found = std::ranges::find(catalogue, path, &Vorta::SettingDescription::path);
        if (found != catalogue.end())
            return *found;
    }
    throw Vorta::ArgumentInvalidException("There is no such setting: " + std::string(path), "path");
}

/// Switches, choices and texts show by themselves what they accept.
bool hasLimits(const Vorta::SettingDescription& setting) {
    return setting.type == "number" || setting.type == "whole number" || setting.type == "duration";
}

} // namespace

QString settingToolTip(std::string_view path) {
    const Vorta::SettingDescription& setting = describe(path);
    QString tip = utf8(setting.meaning);
    if (hasLimits(setting)) {
        QString accepted = utf8(setting.accepted);
        accepted[0] = accepted[0].toUpper();
        tip += QLatin1Char('\n') + accepted + QLatin1Char('.');
    }
    return tip;
}
