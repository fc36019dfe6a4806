#pragma once

#include "vorta/common/settings.h"

#include <QMap>
#include <QString>
#include <QStringList>

/// Expert settings: internal settings that were set away from their defaults, as texts by path. Any thread.
///
/// Paths and values are in the local 8-bit encoding inside a settings object.
namespace VortaQt {

/// The internal settings whose text differs from that of their default.
[[nodiscard]] QMap<QString, QString> collectExpertSettings(const Vorta::Settings& settings);

/// Sets every entry, in the order of the paths; a path that names no internal setting is passed over. A value that the
/// setting refuses throws ArgumentInvalidException or ArgumentOutOfRangeException; the entries before it are set then.
void applyExpertSettings(Vorta::Settings& settings, const QMap<QString, QString>& expertSettings);

/// Gives the internal settings with these paths their defaults; a path that names none is passed over.
void resetToDefaults(Vorta::Settings& settings, const QStringList& paths);

} // namespace VortaQt
