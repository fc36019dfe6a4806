#include "terminal.h"

#include <unistd.h>

namespace Vorta::Tool {

bool isErrorStreamTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

} // namespace Vorta::Tool
