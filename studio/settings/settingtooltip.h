#pragma once

#include <QString>

namespace VortaQt {

/// The words of a tool tip about a camera setting, from the catalogue of settings: its path, what it does, and what it
/// accepts, with unit, range and default. For a group of settings the path and what it is about; empty for any other
/// path. A value that is given stands behind the path, for views that may be too narrow to show it. Rich text, so that
/// a tool tip breaks it into lines. Any thread.
///
///     edit->setToolTip(settingToolTip(latin1(Vorta::Settings::Iris::path)));
[[nodiscard]] QString settingToolTip(const QString& path, const QString& value = {});

} // namespace VortaQt
