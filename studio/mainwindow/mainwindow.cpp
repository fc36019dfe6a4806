#include "mainwindow/mainwindow.h"

#include "camera/statusbar.h"
#include "camera/vortainterface.h"
#include "capture/gcpsdialog.h"
#include "capture/prefsdialog.h"
#include "imageview/imageviewer.h"
#include "mainwindow/modifiershortcut.h"
#include "services/aboutdialog.h"
#include "services/appsettings.h"
#include "services/loghandler.h"
#include "services/logwidget.h"
#include "services/messagebox.h"
#include "services/recentfilesmenu.h"
#include "services/updaterwidget.h"
#include "settings/settingswidget.h"
#include "view3d/dx11pointcloudwidget.h"
#include "vorta/common/log.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QColorDialog>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QTimer>
#include <QToolBar>
#include <QUrl>

#include <utility>

namespace {

constexpr int initialShowDelayMs = 300;
constexpr int stateVersion = 0;
constexpr int imageWidth = 570; // pixels, of the images' docks at first
constexpr const char* logSource = "VortaStudio/MainWindow";
constexpr const char* geometryKey = "GUI/Geometry";
constexpr const char* stateKey = "GUI/State";

QDockWidget* addDock(QMainWindow& window, QWidget* content, const QString& name, const QString& title,
                     Qt::DockWidgetArea area) {
    auto* dock = new QDockWidget(title, &window);
    dock->setObjectName(name);
    dock->setWidget(content);
    window.addDockWidget(area, dock);
    return dock;
}

ImageViewer* makeViewer(const QString& name) {
    auto* viewer = new ImageViewer;
    viewer->setObjectName(name);
    // Inside a dock the viewer is a part of this window, not one of its own.
    viewer->setWindowFlags(Qt::Widget);
    return viewer;
}

/// The data file that is dragged; empty when it is something else.
QString draggedDataFile(const QMimeData& data) {
    const QList<QUrl> urls = data.urls();
    if (urls.size() != 1 || !urls.front().isLocalFile())
        return {};
    const QString fileName = urls.front().toLocalFile();
    return fileName.endsWith(QLatin1String(".vdf"), Qt::CaseInsensitive) ? fileName : QString();
}

} // namespace

MainWindow::MainWindow(Vorta::VortaInterface& controller, QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags), controller_(controller), fileCommands_(controller, *this) {
    setWindowTitle(QStringLiteral("Vorta Studio"));
    setAcceptDrops(true);
    createViews();
    createCaptureDialog();
    createActions();
    createMenus();
    createToolBar();
    connectController();

    defaultGeometry_ = saveGeometry();
    defaultState_ = saveState(stateVersion);
    restoreGeometryAndState();
    pointCloudView_->show();
    // The program may also be ended without the window being closed.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        if (isVisible())
            keepLayoutAndFiles();
    });
}

MainWindow::~MainWindow() = default;

void MainWindow::createViews() {
    pointCloudView_ = new Vorta::DX11PointCloudWidget(this);
    pointCloudView_->setObjectName(QStringLiteral("PointCloudWidget"));
    setCentralWidget(pointCloudView_);

    cameraImage_ = makeViewer(QStringLiteral("CameraImageWidget"));
    depthImage_ = makeViewer(QStringLiteral("DepthImageWidget"));
    settings_ = new VortaQt::SettingsWidget;
    settings_->setObjectName(QStringLiteral("SettingsWidget"));
    settings_->setCameraSettings(controller_.settings());
    log_ = new VortaQt::LogWidget(this);
    cameraDock_ = addDock(*this, cameraImage_, QStringLiteral("camDockWidget"), QStringLiteral("Camera Image"),
                          Qt::RightDockWidgetArea);
    depthDock_ = addDock(*this, depthImage_, QStringLiteral("depthDockWidget"), QStringLiteral("Depth Image"),
                         Qt::RightDockWidgetArea);
    settingsDock_ = addDock(*this, settings_, QStringLiteral("SettingsDockWidget"), QStringLiteral("Settings"),
                            Qt::LeftDockWidgetArea);
    settingsDock_->hide();
    logDock_ = addDock(*this, log_, QStringLiteral("logDockWidget_"), QStringLiteral("Log"), Qt::BottomDockWidgetArea);
    // The images keep the window's full height; the log lies below the 3D view alone.
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);

    statusBar_ = new Ui::StatusBar(this);
    setStatusBar(statusBar_);
    connect(&VortaQt::LogHandler::instance(), &VortaQt::LogHandler::logEvent, log_, &VortaQt::LogWidget::addToLog,
            Qt::QueuedConnection);
}

void MainWindow::createCaptureDialog() {
    captureDialog_ = new GcpsDialog(controller_, this);
    connect(captureDialog_, &GcpsDialog::measurementTriggered, &controller_, &Vorta::VortaInterface::measure);
    connect(captureDialog_, &GcpsDialog::stopLiveMeasure, &controller_, &Vorta::VortaInterface::stopLive);
    connect(captureDialog_, &GcpsDialog::irisCountChanged, this, &MainWindow::slotUpdateMeasurementActions);
}

void MainWindow::createActions() {
    toolBar_ = addToolBar(QStringLiteral("Toolbar"));
    toolBar_->setObjectName(QStringLiteral("ToolBar"));
    using Actions::Id;
    // Docks and the toolbar bring an action that always tells whether they are shown.
    const auto adopt = [this](Id id, QAction* existing) { actions_[static_cast<std::size_t>(id)] = existing; };
    adopt(Id::CameraImage, cameraDock_->toggleViewAction());
    adopt(Id::DepthImage, depthDock_->toggleViewAction());
    adopt(Id::Settings, settingsDock_->toggleViewAction());
    adopt(Id::LogWindow, logDock_->toggleViewAction());
    adopt(Id::Toolbar, toolBar_->toggleViewAction());
    for (const Actions::Description& description : Actions::all()) {
        QAction*& slot = actions_[static_cast<std::size_t>(description.id)];
        if (!slot)
            slot = new QAction(this);
        Actions::configure(*slot, description.id);
    }
    const auto onTrigger = [this](Actions::Id id, auto handler) {
        connect(&action(id), &QAction::triggered, this, handler);
    };
    onTrigger(Id::Load, &MainWindow::slotOpenFile);
    onTrigger(Id::Save, &MainWindow::slotFileSave);
    onTrigger(Id::LoadSettings, &MainWindow::slotLoadSettings);
    onTrigger(Id::SaveSettings, &MainWindow::slotSaveSettings);
    onTrigger(Id::Exit, &MainWindow::slotExit);
    onTrigger(Id::ResetLayout, &MainWindow::resetLayout);
    onTrigger(Id::ResetView, [this] { pointCloudView_->resetView(); });
    onTrigger(Id::Preferences, &MainWindow::showPrefsDialog);
    onTrigger(Id::Capture, &MainWindow::showMeasureDialog);
    onTrigger(Id::About, &MainWindow::slotShowHelpAbout);
    onTrigger(Id::Update, &MainWindow::slotShowHelpUpdate);
    onTrigger(Id::Grab, [this] { captureDialog_->slotGrab(); });
    onTrigger(Id::Hdr, [this] { captureDialog_->slotGrabHdr(); });
    onTrigger(Id::Live, [this] { captureDialog_->slotStartLive(); });
    onTrigger(Id::Stop, [this] { captureDialog_->slotStopLive(); });
    onTrigger(Id::DisplayRgb, &MainWindow::toggleRgb);
    onTrigger(Id::ToggleMesh, &MainWindow::toggleMeshing);
    onTrigger(Id::BackgroundColor, &MainWindow::slotSetBackgroundColor);
    action(Id::Save).setEnabled(false);
}

void MainWindow::createMenus() {
    using Actions::Menu;
    const std::pair<Menu, QMenu*> menus[] = {{Menu::File, menuBar()->addMenu(QStringLiteral("&File"))},
                                             {Menu::Edit, menuBar()->addMenu(QStringLiteral("&Edit"))},
                                             {Menu::Image, menuBar()->addMenu(QStringLiteral("&Image"))},
                                             {Menu::View, menuBar()->addMenu(QStringLiteral("&View"))},
                                             {Menu::Help, menuBar()->addMenu(QStringLiteral("&Help"))}};
    for (const auto& [id, menu] : menus)
        for (const Actions::Description& description : Actions::all())
            if (description.menu == id)
                menu->addAction(&action(description.id));

    // Qt has neither shortcuts that begin with a modifier by itself nor a name for it that the menu could show.
    new ModifierShortcut(action(Actions::Id::Exit), *this);
    action(Actions::Id::Exit).setText(action(Actions::Id::Exit).text() + QStringLiteral("\tAlt, F4"));
    recentFiles_ = new VortaQt::RecentFilesMenu(this, VortaQt::AppSettings::instance().recentFiles());
    menus[0].second->insertMenu(&action(Actions::Id::Exit), recentFiles_);
    connect(recentFiles_, &VortaQt::RecentFilesMenu::fileSelected, this, &MainWindow::openFile);
    connect(&fileCommands_, &FileCommands::fileOpened, this, [this](const QString& fileName) {
        // A data file's mask takes effect after its record was published.
        pointCloudView_->loadPoints(controller_.record()->maskedPointCloud(), true);
        pointCloudView_->render();
        // While live acquisition runs nothing else brings it to the images, whose masks go to its record.
        if (controller_.status().live)
            showRecord(controller_.record());
        recentFiles_->addFile(fileName);
    });
}

void MainWindow::createToolBar() {
    toolBar_->setIconSize(QSize(45, 32));
    toolBar_->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    for (const auto group : Actions::toolBarGroups()) {
        if (group.data() != Actions::toolBarGroups().front().data())
            toolBar_->addSeparator();
        for (const Actions::Id id : group)
            toolBar_->addAction(&action(id));
    }
    auto* spacer = new QWidget(toolBar_);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    toolBar_->addWidget(spacer);
    auto* logo = new QLabel(toolBar_);
    logo->setPixmap(QIcon(QStringLiteral(":/icons/VortaLogo.png")).pixmap(QSize(160, 40)));
    toolBar_->addWidget(logo);
}

void MainWindow::connectController() {
    using Vorta::VortaInterface;
    connect(&controller_, &VortaInterface::statusChanged, this, &MainWindow::slotUpdateMeasurementActionsFromState);
    connect(&controller_, &VortaInterface::statusChanged, this, &MainWindow::slotHandleStateChange);
    connect(&controller_, &VortaInterface::statusChanged, statusBar_, &Ui::StatusBar::slotSetStatus);
    connect(&controller_, &VortaInterface::temporaryStatusMessage, statusBar_, &Ui::StatusBar::slotSetTemporaryStatus);
    connect(&controller_, &VortaInterface::infoMessage, this, &MainWindow::slotShowMessage);
    connect(&controller_, &VortaInterface::warningMessage, this, &MainWindow::slotShowWarning);
    connect(&controller_, &VortaInterface::pointCloudDataUpdated, this, &MainWindow::slotHandlePointCloudDataUpdate);
    connect(&controller_, &VortaInterface::deviceCloudUpdated, this, &MainWindow::slotDeviceCloudUpdated);
    connect(&controller_, &VortaInterface::deviceCloudsUpdatedHDR, this, &MainWindow::slotDeviceCloudsUpdatedHDR);
    connect(cameraImage_, &ImageViewer::maskUpdated, &controller_, &VortaInterface::slotHandleMaskUpdate);
    connect(&controller_, &VortaInterface::settingsChanged, settings_, &VortaQt::SettingsWidget::setCameraSettings);
    connect(settings_, &VortaQt::SettingsWidget::settingsApplied, &controller_, &VortaInterface::setSettings);
    slotUpdateMeasurementActions();
}

void MainWindow::show() {
    QMainWindow::show();
    QTimer::singleShot(initialShowDelayMs, this, &MainWindow::slotHandleInitialShow);
}

void MainWindow::slotHandleInitialShow() {
    restoreGeometryAndState();
    pointCloudView_->initialise();
    if (firstCloud_)
        pointCloudView_->setupInitialCloud();
    controller_.connectCamera(pointCloudView_->computeDevice());
}

void MainWindow::restoreGeometryAndState() {
    auto& settings = VortaQt::AppSettings::instance();
    if (settings.contains(QLatin1String(geometryKey)) && settings.contains(QLatin1String(stateKey))) {
        if (restoreGeometry(settings.getByteArray(geometryKey, {})) &&
            restoreState(settings.getByteArray(stateKey, {}), stateVersion))
            return;
        Vorta::Log::warning(logSource, __LINE__, "The stored window layout cannot be read; the window starts without");
        settings.remove(QLatin1String(geometryKey));
        settings.remove(QLatin1String(stateKey));
    }
    fillScreen();
    widenImages();
    defaultGeometry_ = saveGeometry();
    defaultState_ = saveState(stateVersion);
}

void MainWindow::resetLayout() {
    restoreGeometry(defaultGeometry_);
    restoreState(defaultState_, stateVersion);
    fillScreen();
    // The default of a start with a stored layout was small; what fills the screen takes the system a moment.
    QTimer::singleShot(initialShowDelayMs, this, &MainWindow::widenImages);
}

void MainWindow::fillScreen() {
    // Both calls, in this order: a window that was full screen once maximises reliably.
    showFullScreen();
    showMaximized();
}

/// Enough for the images' tools, which appear with the first capture.
void MainWindow::widenImages() {
    resizeDocks({cameraDock_, depthDock_}, {imageWidth, imageWidth}, Qt::Horizontal);
}

void MainWindow::keepLayoutAndFiles() const {
    auto& settings = VortaQt::AppSettings::instance();
    settings.setByteArray(geometryKey, saveGeometry());
    settings.setByteArray(stateKey, saveState(stateVersion));
    settings.setRecentFiles(recentFiles_->files());
}

void MainWindow::closeEvent(QCloseEvent* event) {
    keepLayoutAndFiles();
    QMainWindow::closeEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!draggedDataFile(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    const QString fileName = draggedDataFile(*event->mimeData());
    if (fileName.isEmpty())
        return;
    event->acceptProposedAction();
    openFile(fileName);
}

void MainWindow::openFile(const QString& fileName) {
    fileCommands_.openFile(fileName);
}

void MainWindow::slotOpenFile() {
    fileCommands_.loadPointCloud();
}

void MainWindow::slotFileSave() {
    fileCommands_.saveMeasurement();
}

void MainWindow::slotLoadSettings() {
    fileCommands_.loadSettings();
}

void MainWindow::slotSaveSettings() {
    fileCommands_.saveSettings();
}

void MainWindow::slotExit() {
    QApplication::quit();
}

void MainWindow::slotShowHelpAbout() {
    VortaQt::AboutDialog(QStringLiteral("Vorta Studio"),
                         QStringLiteral("Graphical user interface for the Vorta 3D Camera"),
                         VortaQt::studioComponents(), this)
        .exec();
}

void MainWindow::slotShowHelpUpdate() {
    // With a check at once: the dialog starts on its page for downloading.
    VortaQt::UpdaterWidget(this, true).exec();
}

void MainWindow::showMeasureDialog() {
    captureDialog_->show();
    captureDialog_->raise();
    captureDialog_->activateWindow();
}

void MainWindow::showPrefsDialog() {
    // Made when it is first asked for: its many controls would cost a twentieth of every start.
    if (!preferences_) {
        preferences_ = new PrefsDialog(controller_, this);
        preferences_->setEnabled(!controller_.status().live);
        connect(preferences_, &PrefsDialog::preferencesApplied, &controller_,
                &Vorta::VortaInterface::setSettingsQuietly);
    }
    preferences_->show();
}

void MainWindow::slotUpdateMeasurementActionsFromState(const Vorta::CameraStatus& status) {
    action(Actions::Id::Grab).setEnabled(status.connected && !status.live);
    action(Actions::Id::Hdr).setEnabled(status.connected && !status.live && captureDialog_->isHdrPossible());
    action(Actions::Id::Live).setEnabled(status.connected && !status.live);
    action(Actions::Id::Stop).setEnabled(status.connected && status.live);
}

void MainWindow::slotUpdateMeasurementActions() {
    slotUpdateMeasurementActionsFromState(controller_.status());
}

void MainWindow::slotHandleStateChange(const Vorta::CameraStatus& status) {
    if (preferences_)
        preferences_->setEnabled(!status.live);
    pointCloudView_->setStreaming(status.live);
    if (status.live) {
        pointCloudView_->setFixedSize(pointCloudView_->size());
    } else {
        pointCloudView_->setMinimumSize(0, 0);
        pointCloudView_->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    }
}

void MainWindow::grab() {
    slotShowMessage(QStringLiteral("Grab"), QStringLiteral("Test grabbing"));
}

void MainWindow::startContinuous() {}

void MainWindow::slotHandlePointCloudDataUpdate(const std::shared_ptr<Vorta::CloudWithImagesAndMask>& record) {
    if (!controller_.status().live) {
        pointCloudView_->loadPoints(record->maskedPointCloud(), std::exchange(firstCloud_, false));
        pointCloudView_->render();
        showRecord(record);
    }
    action(Actions::Id::Save).setEnabled(true);
}

void MainWindow::showRecord(const std::shared_ptr<Vorta::CloudWithImagesAndMask>& record) {
    refreshImages(*record);
    if (shownRecord_.lock() != record)
        settings_->setFrameSettings(controller_.frameSettings());
    shownRecord_ = record;
}

void MainWindow::slotDeviceCloudUpdated(const Vorta::DeviceCloud& cloud) {
    pointCloudView_->setDeviceCloud(cloud);
    if (std::exchange(firstCloud_, false))
        pointCloudView_->resetView();
    pointCloudView_->render();
    if (!controller_.status().live && controller_.record())
        refreshImages(*controller_.record());
}

void MainWindow::slotDeviceCloudsUpdatedHDR(const QList<Vorta::DeviceCloud>& clouds,
                                            const Vorta::PointCloud& pointCloud) {
    if (controller_.status().live)
        return;
    if (std::exchange(firstCloud_, false)) {
        pointCloudView_->setDeviceCloud(clouds.constFirst());
        pointCloudView_->resetView();
    }
    pointCloudView_->updatePoints(pointCloud.points().data(), pointCloud.size());
    pointCloudView_->render();
    refreshImages(*controller_.record());
}

void MainWindow::refreshImages(const Vorta::CloudWithImagesAndMask& record) {
    cameraImage_->setImage(record.colorImage());
    cameraImage_->setMask(record.mask());
    depthImage_->setDepthImage(record.depthImage(), static_cast<float>(record.minZ()),
                               static_cast<float>(record.maxZ()));
    depthImage_->setMask(record.mask());
}

void MainWindow::toggleRgb() {
    pointCloudView_->enableColors(action(Actions::Id::DisplayRgb).isChecked());
    pointCloudView_->render();
}

void MainWindow::toggleMeshing() {
    pointCloudView_->enableMeshing(action(Actions::Id::ToggleMesh).isChecked());
    pointCloudView_->render();
}

void MainWindow::slotSetBackgroundColor() {
    const QColor color = QColorDialog::getColor(pointCloudView_->backgroundColor(), this);
    if (!color.isValid())
        return;
    pointCloudView_->setBackgroundColor(color);
    pointCloudView_->render();
}

void MainWindow::slotShowMessage(const QString& title, const QString& text) {
    VortaQt::showMessage(QMessageBox::Information, this, title, text);
}

void MainWindow::slotShowWarning(const QString& title, const QString& text) {
    VortaQt::showMessage(QMessageBox::Warning, this, title, text);
}
