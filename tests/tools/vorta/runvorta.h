#pragma once

#include "sdk/api/testtools.h"
#include "support/runprogram.h"
#include "support/virtualhead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Vorta::Testing {

/// Runs the real program.
inline Result vorta(const std::vector<std::string>& arguments) {
    return runProgram(VORTA_BIN_DIR "/vorta", arguments);
}

/// For assertions: whether the program does what these arguments ask for. A failure shows what it said.
inline ::testing::AssertionResult vortaSucceeds(const std::vector<std::string>& arguments) {
    const Result result = vorta(arguments);
    if (result.status == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << ::testing::PrintToString(arguments) << " ends with status " << result.status
                                         << ": " << result.err;
}

/// Whether the text is exactly one line.
inline bool isOneLine(const std::string& text) {
    return text.size() > 1 && text.ends_with('\n') && std::ranges::count(text, '\n') == 1;
}

} // namespace Vorta::Testing
