#pragma once

#include "sdk/api/testtools.h"
#include "support/runprogram.h"

#include <string>
#include <vector>

namespace Vorta::Testing {

/// Runs the real program under the name by which the studio looks for it.
inline Result update(const std::vector<std::string>& arguments = {}) {
    return runProgram(VORTA_BIN_DIR "/VortaFirmwareUpdater.exe", arguments);
}

} // namespace Vorta::Testing
