#include "vorta/common/settings.h"

#include "settingtable.h"
#include "vorta/common/exceptions.h"

namespace Vorta {

namespace {

using PublicTable = Detail::SettingTable<Settings>;
using InternalTable = Detail::SettingTable<SettingsInternal>;

std::string folded(std::string_view path) {
    while (path.ends_with('/'))
        path.remove_suffix(1);
    std::string text{path};
    std::ranges::transform(text, text.begin(),
                           [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

/// Throws, telling a group from an unknown path and pointing out a slip in case or a trailing slash.
[[noreturn]] void throwUnknown(std::string_view path, bool publicToo) {
    std::string reason = "No setting has this path";
    const auto consider = [&](const auto& table) {
        if (std::ranges::find(table.groups(), path, &SettingGroupDescription::path) != table.groups().end())
            reason = "This path is a group of settings and has no value";
        const auto similar = std::ranges::find(table.descriptions(), folded(path),
                                               [](const SettingDescription& each) { return folded(each.path); });
        if (similar != table.descriptions().end())
            reason += ", but '" + std::string{similar->path} + "' is one";
    };
    if (publicToo)
        consider(PublicTable::instance());
    consider(InternalTable::instance());
    throw ArgumentInvalidException(reason, "path", path);
}

} // namespace

void SettingsInternal::set(std::string_view path, std::string_view text) {
    const auto* const access = InternalTable::instance().find(path);
    if (access == nullptr)
        throwUnknown(path, false);
    access->set(*this, text);
}

std::string SettingsInternal::getString(std::string_view path) const {
    const auto* const access = InternalTable::instance().find(path);
    if (access == nullptr)
        throwUnknown(path, false);
    return access->text(*this);
}

std::span<const SettingDescription> SettingsInternal::catalogue() {
    return InternalTable::instance().descriptions();
}

std::span<const SettingGroupDescription> SettingsInternal::groups() {
    return InternalTable::instance().groups();
}

void Settings::set(std::string_view path, std::string_view text) {
    if (const auto* const access = PublicTable::instance().find(path))
        access->set(*this, text);
    else if (const auto* const internal = InternalTable::instance().find(path))
        internal->set(internal_, text);
    else
        throwUnknown(path, true);
}

std::string Settings::getString(std::string_view path) const {
    if (const auto* const access = PublicTable::instance().find(path))
        return access->text(*this);
    if (const auto* const internal = InternalTable::instance().find(path))
        return internal->text(internal_);
    throwUnknown(path, true);
}

std::span<const SettingDescription> Settings::catalogue() {
    return PublicTable::instance().descriptions();
}

std::span<const SettingGroupDescription> Settings::groups() {
    return PublicTable::instance().groups();
}

} // namespace Vorta
