#pragma once

#include "mainwindow/actions.h"
#include "mainwindow/filecommands.h"
#include "vorta/compute/devicecloud.h"

#include <QByteArray>
#include <QList>
#include <QMainWindow>

#include <array>
#include <memory>

class GcpsDialog;
class ImageViewer;
class PrefsDialog;

namespace Ui {
class StatusBar;
}

namespace Vorta {
class CameraStatus;
class CloudWithImagesAndMask;
class DX11PointCloudWidget;
class PointCloud;
class VortaInterface;
} // namespace Vorta

namespace VortaQt {
class LogWidget;
class RecentFilesMenu;
class SettingsWidget;
} // namespace VortaQt

/// The program's window: owns the views, docks, menus and the toolbar and wires them to the camera controller. It
/// computes nothing itself. GUI thread.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// `controller` outlives the window.
    explicit MainWindow(Vorta::VortaInterface& controller, QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~MainWindow() override;

    /// See FileCommands::openFile.
    void openFile(const QString& fileName);

public Q_SLOTS:
    /// Shows the window; the work that needs it on the screen follows a moment later.
    void show();
    void slotOpenFile();
    void slotFileSave();
    void slotLoadSettings();
    void slotSaveSettings();
    void slotExit();
    void slotShowHelpAbout();
    void slotShowHelpUpdate();
    void slotDeviceCloudUpdated(const Vorta::DeviceCloud& cloud);
    void slotDeviceCloudsUpdatedHDR(const QList<Vorta::DeviceCloud>& clouds, const Vorta::PointCloud& pointCloud);
    void slotHandlePointCloudDataUpdate(const std::shared_ptr<Vorta::CloudWithImagesAndMask>& record);
    void slotUpdateMeasurementActionsFromState(const Vorta::CameraStatus& status);
    /// The same for the present status.
    void slotUpdateMeasurementActions();
    /// Keeps the 3D view at its size while live acquisition runs, and the preferences closed to changes.
    void slotHandleStateChange(const Vorta::CameraStatus& status);
    /// Kept for whoever calls slots by name: captures go through the controller.
    void grab();
    void startContinuous();
    void showMeasureDialog();
    void showPrefsDialog();
    void restoreGeometryAndState();
    void toggleRgb();
    void toggleMeshing();
    void slotSetBackgroundColor();
    void slotHandleInitialShow();
    void slotShowMessage(const QString& title, const QString& text);
    void slotShowWarning(const QString& title, const QString& text);

protected:
    void closeEvent(QCloseEvent* event) override;
    /// A data file that is dropped on the window is opened.
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void createViews();
    void createCaptureDialog();
    void createActions();
    void createMenus();
    void createToolBar();
    void connectController();
    void keepLayoutAndFiles() const;
    void resetLayout();
    void fillScreen();
    void widenImages();
    /// In the image views and among the settings.
    void showRecord(const std::shared_ptr<Vorta::CloudWithImagesAndMask>& record);
    void refreshImages(const Vorta::CloudWithImagesAndMask& record);
    [[nodiscard]] QAction& action(Actions::Id id) const { return *actions_[static_cast<std::size_t>(id)]; }

    Vorta::VortaInterface& controller_;
    FileCommands fileCommands_;
    Vorta::DX11PointCloudWidget* pointCloudView_ = nullptr;
    ImageViewer* cameraImage_ = nullptr;
    ImageViewer* depthImage_ = nullptr;
    VortaQt::SettingsWidget* settings_ = nullptr;
    VortaQt::LogWidget* log_ = nullptr;
    GcpsDialog* captureDialog_ = nullptr;
    PrefsDialog* preferences_ = nullptr;
    Ui::StatusBar* statusBar_ = nullptr;
    QDockWidget* cameraDock_ = nullptr;
    QDockWidget* depthDock_ = nullptr;
    QDockWidget* settingsDock_ = nullptr;
    QDockWidget* logDock_ = nullptr;
    QToolBar* toolBar_ = nullptr;
    VortaQt::RecentFilesMenu* recentFiles_ = nullptr;
    std::array<QAction*, static_cast<std::size_t>(Actions::Id::Count)> actions_{};
    QByteArray defaultGeometry_;
    QByteArray defaultState_;
    bool firstCloud_ = true;
    /// Whose settings are shown; a mask brings the same record again.
    std::weak_ptr<Vorta::CloudWithImagesAndMask> shownRecord_;
};
