#pragma once

#include "vorta/virtual/headfile.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Vorta::Virtual {

/// The environment variable that names the folder of plugged-in heads.
inline constexpr const char* headsVariable = "VORTA_VIRTUAL_HEADS";

/// The folder of plugged-in heads as it is now.
struct HeadFolder {
    std::filesystem::path path;               ///< empty where the environment names none
    std::vector<std::filesystem::path> files; ///< the head files, `*.yml`, by name
    std::string failure;                      ///< why the folder cannot be read; empty when it can
};

/// Looks into the folder that VORTA_VIRTUAL_HEADS names. Nothing may set variables meanwhile.
[[nodiscard]] HeadFolder lookIntoHeadFolder();

/// Orders the heads, given by file name, by serial number and leaves out those that another hides: of several with one
/// serial number and driver the first by file name counts.
void keepHeadsThatCount(std::vector<HeadDescription>& heads);

} // namespace Vorta::Virtual
