#pragma once

#include <array>
#include <string>

namespace VortaQt::Platform {

/// What a file's version record says, in the bytes that the file or the system has it in. Empty where there is nothing.
struct VersionTexts {
    std::string description;
    std::string comments;
    std::string fileVersion;
    std::string productVersion;
};

struct VersionKey {
    const char* name;
    std::string VersionTexts::*text;
};

/// Under which keys a version record has its texts.
inline constexpr std::array versionKeys{
    VersionKey{"FileDescription", &VersionTexts::description},
    VersionKey{"Comments", &VersionTexts::comments},
    VersionKey{"FileVersion", &VersionTexts::fileVersion},
    VersionKey{"ProductVersion", &VersionTexts::productVersion},
};

} // namespace VortaQt::Platform
