#include "services/platform/platform.h"

#include "services/platform/versionsection.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSharedMemory>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace VortaQt::Platform {

namespace {

// A signal may come in the middle of anything: all that its handler may do is to write into a pipe.
std::array<int, 2> requestPipe{-1, -1};

void passRequestOn(int /*signal*/) {
    const int interrupted = errno;
    const char request = 0;
    [[maybe_unused]] const ssize_t written = write(requestPipe[1], &request, 1);
    errno = interrupted;
}

} // namespace

void clearStaleSharedMemory(const QString& key) {
    // The last one to detach removes the segment: after a crash that is us, beside a living owner it is not.
    QSharedMemory segment{key};
    if (segment.attach(QSharedMemory::ReadOnly))
        segment.detach();
}

// Started directly: desktops open documents, and refuse programs that come from elsewhere.
std::optional<QString> openWithShell(const QString& path) {
    QFile::setPermissions(path, QFile::permissions(path) | QFile::ReadOwner | QFile::ExeOwner);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A session of its own, so that the program does not go with our terminal, and signals as a shell hands them on:
    // the toolkit ignores those of broken pipes.
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    QByteArray file = QFile::encodeName(path);
    char* const arguments[] = {file.data(), nullptr};
    pid_t process = 0;
    const int error = posix_spawn(&process, file.constData(), nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    if (error == 0)
        return std::nullopt;
    return QString::fromLocal8Bit(std::system_category().message(error).c_str());
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

void onRequestToEnd(QObject& context, const std::function<void()>& end) {
    if (pipe2(requestPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return; // the program is then ended without being asked, as ever
    const auto* requests = new QSocketNotifier(requestPipe[0], QSocketNotifier::Read, &context);
    QObject::connect(requests, &QSocketNotifier::activated, &context, [end] {
        char request = 0;
        if (read(requestPipe[0], &request, 1) == 1)
            end();
    });
    struct sigaction action {};
    action.sa_handler = passRequestOn;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND); // a second one does what it does by itself
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction present {};
        sigaction(signal, nullptr, &present);
        if (present.sa_handler != SIG_IGN) // whoever started the program wants it to go on
            sigaction(signal, &action, nullptr);
    }
}

FileVersionRecord fileVersionRecord(const QString& path) {
    const VersionTexts texts = readVersionSection(QFile::encodeName(path).toStdString());
    return {QString::fromStdString(texts.description), QString::fromStdString(texts.comments),
            QString::fromStdString(texts.fileVersion), QString::fromStdString(texts.productVersion)};
}

} // namespace VortaQt::Platform
