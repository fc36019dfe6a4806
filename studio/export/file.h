#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace Vorta::Export {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { static_cast<void>(std::fclose(file)); }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

/// Null when the file cannot be opened.
[[nodiscard]] inline File openFile(const std::string& path, const char* mode) {
    return File{std::fopen(path.c_str(), mode)};
}

/// Whether everything written so far, buffers included, reached the system. Closes the file.
[[nodiscard]] inline bool finish(File file) {
    return std::fclose(file.release()) == 0;
}

} // namespace Vorta::Export
