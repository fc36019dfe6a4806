#pragma once

#include "services/platform/versiontexts.h"

#include <filesystem>
#include <string_view>

namespace VortaQt::Platform {

/// What a version section says: key and value in turn, each ended by a zero byte. Of a key that stands there twice the
/// first counts; an empty key, or a text without an end, ends the record.
[[nodiscard]] VersionTexts parseVersionSection(std::string_view bytes);

/// The version record that our build puts into each program, library and plug-in; empty for any other file.
[[nodiscard]] VersionTexts readVersionSection(const std::filesystem::path& file);

} // namespace VortaQt::Platform
