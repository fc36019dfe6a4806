#include "camera/firmwareupdate.h"

#include "camera/waitcursor.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QProcess>

namespace Vorta {

namespace {

constexpr const char* logSource = "VortaStudio/VortaInterface";

// The updater stands beside the application; elsewhere the search path decides.
QString updaterPath(const QString& program) {
    const QString beside = QDir(QCoreApplication::applicationDirPath()).filePath(program);
    return QFileInfo::exists(beside) ? beside : program;
}

// Nothing is drawn and no input handled meanwhile: the cursor says that the application is busy.
int runAndWait(const QString& program) {
    const WaitCursor waitCursor;
    Log::info(logSource, __LINE__, "Launching the firmware updater: %s", program.toStdString());
    return QProcess::execute(updaterPath(program), {});
}

} // namespace

void runFirmwareUpdate() {
    const auto answer = QMessageBox::question(
        QApplication::activeWindow(), QStringLiteral("Firmware out of date"),
        QStringLiteral("The firmware needs to be updated. If you do not want to update the firmware you need to close "
                       "the application."),
        QMessageBox::Ok | QMessageBox::Close, QMessageBox::Ok);
    // The quit takes effect in the event loop, so the updater runs once more before the application ends: a head is
    // never left behind with a firmware that nobody was asked about again.
    if (answer == QMessageBox::Close)
        QCoreApplication::quit();

    const int result = runAndWait(QStringLiteral("VortaFirmwareUpdater") + QStringLiteral(".exe"));
    if (result == -2)
        throw RuntimeException("Firmware updater cannot be started");
    if (result == -1)
        throw RuntimeException("Firmware updater crashed");
    if (result != 0)
        throw RuntimeException("Firmware updater exited with exit code: " + std::to_string(result));
    Log::info(logSource, __LINE__, "Firmware updater exited successfully");
    QMessageBox::information(
        QApplication::activeWindow(), QStringLiteral("Restart required"),
        QStringLiteral("To reload cameras using the new firmware this application needs to be restarted"),
        QMessageBox::Ok);
    QCoreApplication::quit();
}

} // namespace Vorta
