#include "services/platform/platform.h"

#include "services/platform/versionresource.h"

#include <QDir>

namespace VortaQt::Platform {

// The system frees a segment with the last handle on it, which a crash closes too.
void clearStaleSharedMemory(const QString& /*key*/) {}

QString nativeFile(const QString& folder, const QString& name) {
    return QDir(folder).filePath(name);
}

FileVersionRecord fileVersionRecord(const QString& path) {
    const VersionTexts texts = readVersionResource(QDir::toNativeSeparators(path).toLocal8Bit().constData());
    const auto toText = [](const std::string& text) { return QString::fromLocal8Bit(text.c_str()); };
    return {toText(texts.description), toText(texts.comments), toText(texts.fileVersion), toText(texts.productVersion)};
}

} // namespace VortaQt::Platform
