#pragma once

#include "vorta/common/export.h"

#include <filesystem>

namespace Vorta {

/// A file that takes the place of another once it is complete: written under a name of its own in the same folder and
/// renamed by `commit`. Without `commit` the destructor removes it and the earlier file stays as it was.
class VORTA_COMMON_EXPORT ReplacingFile {
public:
    /// Creates the file under its temporary name, empty. Throws IOException when that cannot be done and when `target`
    /// exists and is no regular file.
    explicit ReplacingFile(const std::filesystem::path& target);
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;
    ~ReplacingFile();

    [[nodiscard]] const std::filesystem::path& temporaryPath() const noexcept { return temporary_; }

    /// Puts the complete file in place. Throws IOException that names the target.
    void commit();

private:
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    bool committed_ = false;
};

} // namespace Vorta
