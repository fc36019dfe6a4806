#include "terminal.h"

#include <cstdio>
#include <io.h>

namespace Vorta::Tool {

bool isErrorStreamTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

} // namespace Vorta::Tool
