#pragma once

namespace Vorta::Tool {

/// Whether somebody watches the standard error stream, rather than a file or another program.
[[nodiscard]] bool isErrorStreamTerminal();

} // namespace Vorta::Tool
