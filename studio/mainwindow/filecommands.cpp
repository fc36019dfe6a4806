#include "mainwindow/filecommands.h"

#include "camera/vortainterface.h"
#include "camera/waitcursor.h"
#include "export/pointcloudwriters.h"
#include "services/appsettings.h"
#include "services/messagebox.h"
#include "vorta/common/exceptions.h"

#include <QFileDialog>
#include <QFileInfo>

#include <exception>
#include <string>

namespace {

constexpr const char* openFolderKey = "GUI/LastFileOpenFolder";
constexpr const char* saveFolderKey = "GUI/LastFileSaveFolder";

QString dataFileFilter() {
    return QStringLiteral("Vorta Data File (*.vdf)");
}
QString settingsFilter() {
    return QStringLiteral("Vorta Settings File (*.yml)");
}

bool hasEnding(const QString& fileName, const char* ending) {
    return fileName.endsWith(QLatin1String(ending), Qt::CaseInsensitive);
}

QString rememberedFolder(const char* key) {
    return VortaQt::AppSettings::instance().getString(key, QString());
}

void rememberFolderOf(const char* key, const QString& fileName) {
    VortaQt::AppSettings::instance().setString(key, QFileInfo(fileName).absolutePath());
}

} // namespace

FileCommands::FileCommands(Vorta::VortaInterface& controller, QWidget& window)
    : controller_(controller), window_(window) {}

void FileCommands::openFile(const QString& fileName) {
    if (!QFileInfo::exists(fileName)) {
        reportError(QStringLiteral("File Open Error"), QStringLiteral("File does not exist: %1").arg(fileName));
        return;
    }
    if (!hasEnding(fileName, ".vdf"))
        throw Vorta::ArgumentInvalidException("Unsupported file type", "fileName", fileName.toStdString());
    controller_.loadDataFile(fileName);
    rememberFolderOf(openFolderKey, fileName);
    Q_EMIT fileOpened(fileName);
}

void FileCommands::loadPointCloud() {
    const QString fileName = QFileDialog::getOpenFileName(&window_, QStringLiteral("Load Point Cloud"),
                                                          rememberedFolder(openFolderKey), dataFileFilter());
    if (!fileName.isEmpty())
        openFile(fileName);
}

void FileCommands::saveMeasurement() {
    if (!controller_.record())
        return;
    // A dialog object, because the selected filter decides between the two kinds of PLY.
    QFileDialog dialog(&window_, QStringLiteral("Save Measurement"), rememberedFolder(saveFolderKey),
                       QStringLiteral("Vorta Data File (*.vdf);;ASCII points (*.xyz);;PLY File - Unordered points "
                                      "(*.ply);;PLY File - Ordered points (*.ply);;Point Cloud Data File (*.pcd)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString fileName = dialog.selectedFiles().value(0);
    if (fileName.isEmpty())
        return;
    saveAs(fileName, dialog.selectedNameFilter());
    if (QFileInfo::exists(fileName))
        rememberFolderOf(saveFolderKey, fileName);
}

void FileCommands::saveAs(const QString& fileName, const QString& selectedFilter) {
    // What is masked is meant for nobody; the data file alone keeps all that was measured.
    const Vorta::PointCloud cloud = controller_.record()->maskedPointCloud();
    const std::string path = fileName.toLocal8Bit().toStdString();
    if (hasEnding(fileName, ".vdf")) {
        controller_.saveDataFile(fileName);
    } else if (hasEnding(fileName, ".xyz")) {
        const bool written = [&] {
            const Vorta::WaitCursor waitCursor;
            return Vorta::Export::writeXyz(path, cloud);
        }();
        if (!written)
            reportError(QStringLiteral("Save ASCII"), QStringLiteral("Error saving to ASCII file '%1'.").arg(fileName));
    } else if (hasEnding(fileName, ".ply")) {
        const bool written = [&] {
            const Vorta::WaitCursor waitCursor;
            return Vorta::Export::writePly(path, cloud, selectedFilter.contains(QStringLiteral("Unordered points")));
        }();
        if (!written)
            reportError(QStringLiteral("Save PLY"), QStringLiteral("Error saving to PLY file '%1'.").arg(fileName));
    } else if (hasEnding(fileName, ".pcd")) {
        try {
            const bool written = [&] {
                const Vorta::WaitCursor waitCursor;
                return Vorta::Export::writePcd(path, cloud);
            }();
            if (!written)
                reportError(QStringLiteral("Save PCD"), QStringLiteral("Error saving to PCD file '%1'.").arg(fileName));
        } catch (const std::exception& e) {
            reportError(QStringLiteral("Save PCD"), QStringLiteral("Error saving to PCD file '%1'.\n").arg(fileName) +
                                                        QString::fromLocal8Bit(e.what()));
        }
    } else {
        reportError(QStringLiteral("Save"),
                    QStringLiteral("Please specify a filename with one of the valid filename extensions."));
    }
}

void FileCommands::loadSettings() {
    const QString fileName = QFileDialog::getOpenFileName(&window_, QStringLiteral("Load Settings"),
                                                          rememberedFolder(openFolderKey), settingsFilter());
    if (fileName.isEmpty())
        return;
    controller_.loadSettingsFile(fileName);
    if (QFileInfo::exists(fileName))
        rememberFolderOf(openFolderKey, fileName);
}

void FileCommands::saveSettings() {
    const QString fileName = QFileDialog::getSaveFileName(&window_, QStringLiteral("Save Settings"),
                                                          rememberedFolder(saveFolderKey), settingsFilter());
    if (fileName.isEmpty())
        return;
    controller_.saveSettings(fileName);
    // The open folder, so that the next "Load Settings" starts where these settings are.
    if (QFileInfo::exists(fileName))
        rememberFolderOf(openFolderKey, fileName);
}

void FileCommands::reportError(const QString& title, const QString& text) {
    VortaQt::showMessage(QMessageBox::Critical, &window_, title, text);
}
