#include "services/platform/platform.h"

#include "services/platform/versionsection.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSharedMemory>

namespace VortaQt::Platform {

void clearStaleSharedMemory(const QString& key) {
    // The last one to detach removes the segment: after a crash that is us, beside a living owner it is not.
    QSharedMemory segment{key};
    if (segment.attach(QSharedMemory::ReadOnly))
        segment.detach();
}

QString nativeFile(const QString& folder, const QString& name) {
    const QDir directory(folder);
    // Plug-ins and the firmware updater have the same name on every system.
    if (directory.exists(name))
        return directory.filePath(name);
    const QString base = QFileInfo(name).completeBaseName();
    if (name.endsWith(QLatin1String(".exe")))
        return directory.filePath(base);
    if (name.endsWith(QLatin1String(".dll")))
        return directory.filePath(QLatin1String("lib") + base + QLatin1String(".so"));
    if (name.endsWith(QLatin1String(".pyd")))
        return directory.filePath(base + QLatin1String(".so"));
    return directory.filePath(name);
}

FileVersionRecord fileVersionRecord(const QString& path) {
    const VersionTexts texts = readVersionSection(QFile::encodeName(path).toStdString());
    return {QString::fromStdString(texts.description), QString::fromStdString(texts.comments),
            QString::fromStdString(texts.fileVersion), QString::fromStdString(texts.productVersion)};
}

} // namespace VortaQt::Platform
