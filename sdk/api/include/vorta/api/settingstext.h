#pragma once

#include "vorta/api/export.h"
#include "vorta/common/settings.h"

#include <string>

namespace Vorta {

/// What a settings file of these settings holds, byte for byte. Throws IOException when the system's folder for
/// temporary files cannot be used.
[[nodiscard]] VORTA_API_EXPORT std::string settingsText(const Settings& settings);

} // namespace Vorta
