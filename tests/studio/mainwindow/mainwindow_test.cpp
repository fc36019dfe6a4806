#include "mainwindow/mainwindow.h"

#include "imageview/imageviewer.h"
#include "studio/mainwindow/world.h"
#include "support/modaldriver.h"
#include "support/virtualhead.h"
#include "support/widgets.h"
#include "view3d/dx11pointcloudwidget.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QToolBar>

#include <gmock/gmock.h>

#include <atomic>

namespace {

using namespace Vorta;
using Vorta::Test::ModalDriver;
using Vorta::Test::waitFor;
using Vorta::Test::World;

class Window : public testing::Test {
protected:
    Window() : controller_(World::instance().application, nullptr), window_(controller_) {}
    ~Window() override { World::instance().preferences.clear(); }

    void show() {
        window_.show();
        ASSERT_TRUE(waitFor([this] { return action("actionGrab").isEnabled(); }, 20'000)) << "the head connects";
    }

    void grab() {
        action("actionGrab").trigger();
        ASSERT_TRUE(controller_.record());
    }

    QAction& action(const char* name) { return Vorta::Test::find<QAction>(window_, QLatin1String(name)); }
    QString path(const char* name) const { return folder_.filePath(QString::fromUtf8(name)); }

    /// Types `name` into the save dialog, under the filter that contains `filter`.
    static std::function<void(QWidget&)> saveAs(const QString& name, const QString& filter) {
        return [=](QWidget& box) {
            auto& dialog = dynamic_cast<QFileDialog&>(box);
            for (const QString& candidate : dialog.nameFilters())
                if (candidate.contains(filter))
                    dialog.selectNameFilter(candidate);
            Vorta::Test::find<QLineEdit>(dialog, QStringLiteral("fileNameEdit")).setText(name);
            QMetaObject::invokeMethod(&dialog, "accept", Qt::QueuedConnection);
        };
    }

    Testing::VirtualHeads heads_{{.serialNumber = "T-1"}};
    QTemporaryDir folder_;
    VortaInterface controller_;
    MainWindow window_;
};

TEST_F(Window, HasItsMenusInOrder) {
    QStringList menus;
    for (const QAction* menu : window_.menuBar()->actions())
        menus += menu->text();
    EXPECT_EQ(menus.join(QLatin1Char(' ')), QStringLiteral("&File &Edit &Image &View &Help"));

    QStringList file;
    for (const QAction* entry : window_.menuBar()->actions().constFirst()->menu()->actions())
        file += entry->text();
    EXPECT_EQ(file.join(QLatin1Char('|')),
              QStringLiteral("&Load...|&Save...|L&oad Settings...|Sa&ve Settings...|&Recent Files|&Exit\tAlt, F4"));
}

TEST_F(Window, HasItsDocksInTheirAreas) {
    const auto area = [this](const char* name) {
        return window_.dockWidgetArea(&Vorta::Test::find<QDockWidget>(window_, QLatin1String(name)));
    };
    EXPECT_EQ(area("camDockWidget"), Qt::RightDockWidgetArea);
    EXPECT_EQ(area("depthDockWidget"), Qt::RightDockWidgetArea);
    EXPECT_EQ(area("logDockWidget_"), Qt::BottomDockWidgetArea);
    EXPECT_EQ(Vorta::Test::find<QDockWidget>(window_, QStringLiteral("camDockWidget")).windowTitle(),
              QStringLiteral("Camera Image"));
    EXPECT_EQ(window_.centralWidget()->objectName(), QStringLiteral("PointCloudWidget"));
}

TEST_F(Window, ToolBarCarriesItsGroups) {
    QStringList texts;
    for (const QAction* entry : Vorta::Test::find<QToolBar>(window_, QStringLiteral("ToolBar")).actions())
        texts += entry->isSeparator() ? QStringLiteral("|") : entry->text();
    EXPECT_EQ(texts.mid(0, 16).join(QLatin1Char(' ')),
              QStringLiteral("&Load... &Save... | &Grab &HDR | &Live &Stop | &DisplayRGB &Toggle Mesh Set &Background "
                             "Color Reset 3D Point Cloud &View | &Capture... &Preferences..."));
}

TEST_F(Window, WithoutACameraNothingCanBeMeasuredOrSaved) {
    for (const char* name : {"actionGrab", "actionHDR", "actionLive", "actionStop", "actionSave"})
        EXPECT_FALSE(action(name).isEnabled()) << name;
}

TEST_F(Window, GrabFillsAllThreeViews) {
    show();
    auto& cameraImage = Vorta::Test::find<ImageViewer>(window_, QStringLiteral("CameraImageWidget"));
    const QImage before = Vorta::Test::grabFromScreen(cameraImage);
    const QImage viewBefore = Vorta::Test::grabFromScreen(*window_.centralWidget());
    grab();
    QCoreApplication::processEvents();
    EXPECT_TRUE(action("actionSave").isEnabled());
    EXPECT_TRUE(waitFor([&] { return Vorta::Test::grabFromScreen(cameraImage) != before; }));
    EXPECT_TRUE(waitFor([&] { return Vorta::Test::grabFromScreen(*window_.centralWidget()) != viewBefore; }));
    EXPECT_TRUE(Vorta::Test::find<QToolBar>(window_, QStringLiteral("DepthImageWidget/toolBarDepth")).isVisible());
}

TEST_F(Window, CaptureShowsAWaitCursorOnlyWhileItRuns) {
    show();
    bool waiting = false;
    QObject::connect(&controller_, &VortaInterface::pointCloudDataUpdated, [&waiting] {
        waiting = QGuiApplication::overrideCursor() && QGuiApplication::overrideCursor()->shape() == Qt::WaitCursor;
    });
    grab();
    EXPECT_TRUE(waiting);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(Window, FailedCaptureLeavesTheCursorAndTheRecordAlone) {
    show();
    grab();
    const auto record = controller_.record();
    heads_.unplug("T-1");
    EXPECT_ANY_THROW(controller_.measure(FrameSpec{}));
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(controller_.record(), record);
}

TEST_F(Window, LiveLeavesStopAloneAndKeepsTheViewsSize) {
    show();
    EXPECT_TRUE(action("actionLive").isEnabled());
    EXPECT_FALSE(action("actionStop").isEnabled());
    std::atomic<int> frames{0};
    QObject::connect(
        &controller_, &VortaInterface::measurementUpdated, &controller_, [&frames] { ++frames; }, Qt::DirectConnection);
    action("actionLive").trigger();
    EXPECT_TRUE(action("actionStop").isEnabled());
    for (const char* name : {"actionGrab", "actionHDR", "actionLive"})
        EXPECT_FALSE(action(name).isEnabled()) << name;
    QWidget& view = *window_.centralWidget();
    EXPECT_EQ(view.minimumSize(), view.size());
    EXPECT_EQ(view.maximumSize(), view.size());
    EXPECT_TRUE(waitFor([&] { return frames >= 3; }, 60'000));

    action("actionStop").trigger();
    EXPECT_FALSE(action("actionStop").isEnabled());
    EXPECT_TRUE(action("actionGrab").isEnabled());
    EXPECT_TRUE(action("actionLive").isEnabled());
    EXPECT_EQ(view.minimumSize(), QSize(0, 0));
    EXPECT_EQ(view.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
}

TEST_F(Window, LostHeadEndsLiveInTheWindowToo) {
    show();
    action("actionLive").trigger();
    heads_.unplug("T-1");
    controller_.slotHandleCameraPollTimer();
    for (const char* name : {"actionGrab", "actionHDR", "actionLive", "actionStop"})
        EXPECT_FALSE(action(name).isEnabled()) << name;
    EXPECT_EQ(window_.centralWidget()->minimumSize(), QSize(0, 0));
}

TEST_F(Window, HdrFillsTheViews) {
    show();
    auto& cameraImage = Vorta::Test::find<ImageViewer>(window_, QStringLiteral("CameraImageWidget"));
    const QImage before = Vorta::Test::grabFromScreen(cameraImage);
    const QImage viewBefore = Vorta::Test::grabFromScreen(*window_.centralWidget());
    FrameSpec spec;
    spec.irisHDRValues = {31, 12};
    controller_.measure(spec);
    EXPECT_TRUE(action("actionSave").isEnabled());
    EXPECT_TRUE(waitFor([&] { return Vorta::Test::grabFromScreen(cameraImage) != before; }));
    EXPECT_TRUE(waitFor([&] { return Vorta::Test::grabFromScreen(*window_.centralWidget()) != viewBefore; }));
}

TEST_F(Window, ViewMenuHidesAndShowsADock) {
    show();
    auto& dock = Vorta::Test::find<QDockWidget>(window_, QStringLiteral("logDockWidget_"));
    ASSERT_TRUE(dock.isVisible());
    action("actionLogWindow").trigger();
    EXPECT_FALSE(dock.isVisible());
    dock.show();
    EXPECT_TRUE(action("actionLogWindow").isChecked()) << "the menu follows the dock";
}

TEST_F(Window, ClosingKeepsTheLayoutForTheNextStart) {
    show();
    action("actionLogWindow").trigger();
    window_.close();
    MainWindow next(controller_);
    next.show();
    EXPECT_TRUE(waitFor([&] { return next.isVisible(); }));
    EXPECT_FALSE(Vorta::Test::find<QDockWidget>(next, QStringLiteral("logDockWidget_")).isVisible());
}

TEST_F(Window, SaveWithoutAMeasurementShowsNoDialog) {
    const ModalDriver boxes;
    window_.slotFileSave();
    EXPECT_TRUE(boxes.seen().empty());
}

struct SaveCase {
    const char* name;
    const char* filter;
    const char* firstBytes;
    qint64 size; ///< -1: not looked at
};

void PrintTo(const SaveCase& save, std::ostream* stream) {
    *stream << save.name << " as " << save.filter;
}

class SaveMeasurement : public Window, public testing::WithParamInterface<SaveCase> {};

TEST_P(SaveMeasurement, WritesTheFormatThatTheNameEndsIn) {
    show();
    grab();
    ModalDriver boxes;
    boxes.then(saveAs(path(GetParam().name), QString::fromLatin1(GetParam().filter)));
    window_.slotFileSave();
    QFile file(path(GetParam().name));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray expected = GetParam().firstBytes;
    const QByteArray content = file.readAll();
    EXPECT_EQ(content.left(expected.size()), expected);
    if (GetParam().size >= 0) {
        EXPECT_EQ(content.size(), GetParam().size);
    }
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileSaveFolder", {}), folder_.path());
}

// 243 x 150 points; an ordered PLY has 15 bytes for each and 205 bytes of header, a PCD 16 bytes for each.
INSTANTIATE_TEST_SUITE_P(
    Endings, SaveMeasurement,
    testing::Values(SaveCase{"a.vdf", "Data File (*.vdf)", "\x89HDF", -1}, SaveCase{"a.xyz", "ASCII", "", -1},
                    SaveCase{"a.ply", "Ordered", "ply\nformat binary_little_endian 1.0\n", 243 * 150 * 15 + 205},
                    SaveCase{"b.PLY", "Data File (*.vdf)", "ply\n", 243 * 150 * 15 + 205},
                    SaveCase{"c.ply", "Unordered", "ply\n", -1}, SaveCase{"a.pcd", "Point Cloud", "# .PCD v0.7", -1}));

TEST_F(Window, SaveUnderANameWithoutEndingWritesNothing) {
    show();
    grab();
    ModalDriver boxes;
    boxes.then(saveAs(path("name"), QStringLiteral("Point Cloud Data"))).thenClick(QStringLiteral("OK"));
    window_.slotFileSave();
    ASSERT_EQ(boxes.seen().size(), 2U);
    EXPECT_EQ(boxes.seen()[1].title, QStringLiteral("Save"));
    EXPECT_EQ(boxes.seen()[1].text,
              QStringLiteral("Please specify a filename with one of the valid filename extensions."));
    EXPECT_FALSE(QFile::exists(path("name")));
}

TEST_F(Window, FailedSavesSayWhichFile) {
    show();
    grab();
    const QString missing = QStringLiteral("/no such folder/a");
    for (const auto& [ending, title, text] : {std::tuple{".xyz", "Save ASCII", "Error saving to ASCII file '%1'."},
                                              std::tuple{".ply", "Save PLY", "Error saving to PLY file '%1'."}}) {
        const QString name = missing + QLatin1String(ending);
        ModalDriver boxes;
        boxes.then(saveAs(name, QStringLiteral("Data File (*.vdf)"))).thenClick(QStringLiteral("OK"));
        window_.slotFileSave();
        ASSERT_EQ(boxes.seen().size(), 2U);
        EXPECT_EQ(boxes.seen()[1].title, QString::fromLatin1(title));
        EXPECT_EQ(boxes.seen()[1].text, QString::fromLatin1(text).arg(name));
    }
}

TEST_F(Window, OpenedFileIsRememberedAndListed) {
    show();
    grab();
    controller_.saveDataFile(path("scene.vdf"));
    ModalDriver boxes;
    boxes.thenChooseFile(path("scene.vdf"));
    window_.slotOpenFile();
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), folder_.path());
    window_.close();
    EXPECT_EQ(World::instance().preferences.recentFiles(), QStringList{path("scene.vdf")});
}

TEST_F(Window, SettingsRoundTripStartsWhereTheyWereSaved) {
    show();
    ModalDriver boxes;
    boxes.thenChooseFile(path("camera.yml"));
    window_.slotSaveSettings();
    EXPECT_TRUE(QFile::exists(path("camera.yml")));
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), folder_.path());
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileSaveFolder", {}), QString());
}

TEST_F(Window, MessagesComeAsBoxesOfTheWindow) {
    show();
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK")).thenClick(QStringLiteral("OK"));
    window_.slotShowMessage(QStringLiteral("Title"), QStringLiteral("Text"));
    window_.slotShowWarning(QStringLiteral("Other"), QStringLiteral("Words"));
    ASSERT_EQ(boxes.seen().size(), 2U);
    EXPECT_EQ(boxes.seen()[0].title, QStringLiteral("Title"));
    EXPECT_EQ(boxes.seen()[0].text, QStringLiteral("Text"));
    EXPECT_EQ(boxes.seen()[0].parent, &window_);
    EXPECT_EQ(boxes.seen()[1].title, QStringLiteral("Other"));
}

} // namespace
