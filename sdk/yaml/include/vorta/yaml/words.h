#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Vorta {

[[nodiscard]] inline std::string inQuotes(std::string_view text) {
    std::string result(1, '\'');
    return result.append(text).append(1, '\'');
}

/// "'<file>', line <line>: <words>"
[[nodiscard]] inline std::string atLine(const std::filesystem::path& file, std::size_t line, std::string_view words) {
    return inQuotes(file.string()).append(", line ").append(std::to_string(line)).append(": ").append(words);
}

} // namespace Vorta
