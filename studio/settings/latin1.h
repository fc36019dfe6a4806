#pragma once

#include <QLatin1String>

#include <string_view>

namespace VortaQt {

/// A path or name of the settings catalogue, which are plain ASCII, as Qt compares and joins it.
inline QLatin1String latin1(std::string_view text) {
    return QLatin1String(text.data(), static_cast<int>(text.size()));
}

} // namespace VortaQt
