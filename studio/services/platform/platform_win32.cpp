#include "services/platform/platform.h"

#include "services/platform/versionresource.h"

#include <QByteArray>
#include <QDir>

#include <memory>
#include <windows.h>

#include <shellapi.h>

namespace VortaQt::Platform {

namespace {

// What the shell returns is a number in a handle's clothes: up to this one it names a failure.
constexpr INT_PTR lastShellFailure = 32;

QString describeError(DWORD error) {
    char* text = nullptr;
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, error, 0, reinterpret_cast<char*>(&text), 0, nullptr);
    const std::unique_ptr<char, decltype(&LocalFree)> owner(text, &LocalFree);
    if (length == 0)
        return QStringLiteral("Error %1").arg(error);
    return QString::fromLocal8Bit(text, static_cast<int>(length)).trimmed();
}

} // namespace

// The system frees a segment with the last handle on it, which a crash closes too.
void clearStaleSharedMemory(const QString& /*key*/) {}

std::optional<QString> openWithShell(const QString& path) {
    const QByteArray file = QDir::toNativeSeparators(path).toLocal8Bit();
    const HINSTANCE result = ShellExecuteA(nullptr, "open", file.constData(), nullptr, nullptr, SW_SHOWNORMAL);
    const DWORD error = GetLastError();
    if (reinterpret_cast<INT_PTR>(result) > lastShellFailure)
        return std::nullopt;
    return describeError(error);
}

QString nativeFile(const QString& folder, const QString& name) {
    return QDir(folder).filePath(name);
}

// The end of a session and the task manager send messages to the windows, which close.
void onRequestToEnd(QObject& /*context*/, const std::function<void()>& /*end*/) {}

FileVersionRecord fileVersionRecord(const QString& path) {
    const VersionTexts texts = readVersionResource(QDir::toNativeSeparators(path).toLocal8Bit().constData());
    const auto toText = [](const std::string& text) { return QString::fromLocal8Bit(text.c_str()); };
    return {toText(texts.description), toText(texts.comments), toText(texts.fileVersion), toText(texts.productVersion)};
}

} // namespace VortaQt::Platform
