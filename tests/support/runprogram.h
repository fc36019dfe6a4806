#pragma once

#include <string>
#include <vector>

namespace Vorta::Testing {

/// What a program left behind.
struct Result {
    int status = 0;
    std::string out;
    std::string err;
};

/// Runs a program, found on the search path unless its name has a slash, with nothing to read, and waits for it. The
/// status is -1 when it crashed or was killed. Throws std::runtime_error where it cannot be started.
[[nodiscard]] Result runProgram(const std::string& program, const std::vector<std::string>& arguments);

} // namespace Vorta::Testing
