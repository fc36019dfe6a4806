#include "settings/settingtooltip.h"

#include "settings/latin1.h"
#include "vorta/common/settings.h"

#include <QStringList>

#include <algorithm>

namespace VortaQt {

namespace {

QString utf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

template <class Description>
const Description* find(std::span<const Description> descriptions, const QString& path) {
    const auto found = std::ranges::find_if(
        descriptions, [&](const Description& description) { return path == latin1(description.path); });
    return found == descriptions.end() ? nullptr : &*found;
}

QStringList linesOf(const Vorta::SettingDescription& setting) {
    const QString standard = setting.defaultText.empty() ? QStringLiteral("empty") : utf8(setting.defaultText);
    return {utf8(setting.meaning), QStringLiteral("Accepts %1. Default: %2.").arg(utf8(setting.accepted), standard)};
}

/// Nothing for a path that is neither a setting nor a group.
QStringList linesOf(const QString& path) {
    using Vorta::Settings;
    using Vorta::SettingsInternal;
    for (const auto catalogue : {Settings::catalogue(), SettingsInternal::catalogue()})
        if (const auto* setting = find(catalogue, path))
            return linesOf(*setting);
    for (const auto groups : {Settings::groups(), SettingsInternal::groups()})
        if (const auto* group = find(groups, path))
            return {utf8(group->meaning)};
    return {};
}

} // namespace

QString settingToolTip(const QString& path, const QString& value) {
    const QStringList lines = linesOf(path);
    if (lines.isEmpty())
        return {};
    QString text = QStringLiteral("<b>") + path + QStringLiteral("</b>");
    if (!value.isEmpty())
        text += QStringLiteral(": ") + value.toHtmlEscaped();
    for (const QString& line : lines)
        text += QStringLiteral("<br>") + line.toHtmlEscaped();
    return text;
}

} // namespace VortaQt
