#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace VortaQt::Platform {

/// The content of the first section of that name in a 64-bit ELF file of this processor's byte order. The file is only
/// read, never loaded, and nothing in it is trusted.
///
/// @return nothing for what is no such file, is damaged on the way to the section, has no section of the name, or has
///         one of more than `mostBytes`.
[[nodiscard]] std::optional<std::string> elfSection(const std::filesystem::path& file, std::string_view name,
                                                    std::size_t mostBytes);

} // namespace VortaQt::Platform
