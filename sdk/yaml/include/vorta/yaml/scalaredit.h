#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Vorta {

/// The YAML `text` with another value for a key of its root map, and every other byte as it was: comments, order, line
/// endings, quotes. `name` stands for the file in what is thrown.
///
/// `value` is letters, digits, spaces, '.', '-' and '_', from a letter to anything but a space; no such text can change
/// what stands around it. Throws ArgumentInvalidException for any other, and IOException where the present value is
/// missing, shared with another key or written over several lines.
[[nodiscard]] std::string withScalar(const std::string& text, const std::filesystem::path& name, std::string_view key,
                                     std::string_view value);

} // namespace Vorta
