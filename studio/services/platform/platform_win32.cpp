#include "services/platform/platform.h"

namespace VortaQt::Platform {

// The system frees a segment with the last handle on it, which a crash closes too.
void clearStaleSharedMemory(const QString& /*key*/) {}

} // namespace VortaQt::Platform
