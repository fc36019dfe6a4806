#pragma once

#include "services/platform/versiontexts.h"

namespace VortaQt::Platform {

/// The version resource of a file on Windows, in the system's ANSI code page as the path is; empty for a file without.
[[nodiscard]] VersionTexts readVersionResource(const char* path);

} // namespace VortaQt::Platform
