#include "settings/expertsettings.h"

#include "settings/latin1.h"

#include <algorithm>
#include <string>

namespace VortaQt {

namespace {

/// Calls `action` with the description of the internal setting of that path, if there is one.
template <class Action>
void withInternalSetting(const QString& path, Action&& action) {
    const auto catalogue = Vorta::SettingsInternal::catalogue();
    const auto found = std::ranges::find_if(
        catalogue, [&](const Vorta::SettingDescription& setting) { return path == latin1(setting.path); });
    if (found != catalogue.end())
        action(*found);
}

} // namespace

QMap<QString, QString> collectExpertSettings(const Vorta::Settings& settings) {
    QMap<QString, QString> result;
    for (const Vorta::SettingDescription& setting : Vorta::SettingsInternal::catalogue()) {
        const std::string text = settings.getString(setting.path);
        if (text != setting.defaultText)
            result.insert(latin1(setting.path), QString::fromLocal8Bit(text.c_str()));
    }
    return result;
}

void applyExpertSettings(Vorta::Settings& settings, const QMap<QString, QString>& expertSettings) {
    for (auto entry = expertSettings.cbegin(); entry != expertSettings.cend(); ++entry)
        withInternalSetting(entry.key(), [&](const Vorta::SettingDescription& setting) {
            settings.set(setting.path, entry.value().toLocal8Bit().toStdString());
        });
}

void resetToDefaults(Vorta::Settings& settings, const QStringList& paths) {
    for (const QString& path : paths)
        withInternalSetting(
            path, [&](const Vorta::SettingDescription& setting) { settings.set(setting.path, setting.defaultText); });
}

} // namespace VortaQt
