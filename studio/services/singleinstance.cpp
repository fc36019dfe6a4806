#include "services/singleinstance.h"

#include "services/platform/platform.h"

namespace VortaQt {

namespace {

constexpr int segmentSizeBytes = 512;

bool takeKey(QSharedMemory& segment) {
    Platform::clearStaleSharedMemory(segment.key());
    return segment.create(segmentSizeBytes, QSharedMemory::ReadWrite);
}

} // namespace

SingleInstance::SingleInstance(const QString& key) : segment_(key), isFirst_(takeKey(segment_)) {}

} // namespace VortaQt
