#include "services/platform/platform.h"

#include <QSharedMemory>

namespace VortaQt::Platform {

void clearStaleSharedMemory(const QString& key) {
    // The last one to detach removes the segment: after a crash that is us, beside a living owner it is not.
    QSharedMemory segment{key};
    if (segment.attach(QSharedMemory::ReadOnly))
        segment.detach();
}

} // namespace VortaQt::Platform
