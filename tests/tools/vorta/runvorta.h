#pragma once

#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include <algorithm>
#include <string>
#include <vector>

namespace Vorta::Testing {

/// Runs the real program.
inline Result vorta(const std::vector<std::string>& arguments) {
    return runProgram(VORTA_BIN_DIR "/vorta", arguments);
}

/// Whether the text is exactly one line.
inline bool isOneLine(const std::string& text) {
    return text.size() > 1 && text.ends_with('\n') && std::ranges::count(text, '\n') == 1;
}

} // namespace Vorta::Testing
