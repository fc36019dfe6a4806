#pragma once

#include "services/platform/fileversion.h"

#include <QMap>
#include <QString>
#include <QStringList>

namespace VortaQt {

/// The version records of the files that an application consists of, by file name and in the order of the names. A
/// file that does not exist, or has no record, has empty texts.
using ComponentVersions = QMap<QString, Platform::FileVersionRecord>;

/// Reads the records of the files `names` in `folder`.
[[nodiscard]] ComponentVersions readComponentVersions(const QString& folder, const QStringList& names);

/// The records of Vorta Studio's own executable and libraries, which lie in the running program's folder.
[[nodiscard]] ComponentVersions studioComponents();

/// The records as text for a support request, three lines for each file.
[[nodiscard]] QString componentText(const ComponentVersions& components);

} // namespace VortaQt
