#include "mainwindow/mainwindow.h"

#include "imageview/imagelabel.h"
#include "imageview/imageplacement.h"
#include "imageview/imageviewer.h"
#include "studio/mainwindow/windowfixture.h"
#include "view3d/dx11pointcloudwidget.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <QToolBar>

#include <gmock/gmock.h>

#include <atomic>
#include <cmath>
#include <opencv2/core.hpp>

namespace {

using namespace Vorta;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::waitFor;
using Vorta::Testing::Window;

TEST_F(Window, HasItsMenusInOrder) {
    QStringList menus;
    for (const QAction* menu : window_.menuBar()->actions()) {
        QStringList entries;
        for (const QAction* entry : menu->menu()->actions())
            entries += entry->text();
        menus += menu->text() + QStringLiteral(": ") + entries.join(QLatin1Char('|'));
    }
    EXPECT_EQ(menus,
              (QStringList{QStringLiteral("&File: &Load...|&Save...|L&oad Settings...|Sa&ve Settings...|&Recent "
                                          "Files|&Exit\tAlt, F4"),
                           QStringLiteral("&Edit: &Preferences..."), QStringLiteral("&Image: &Capture..."),
                           QStringLiteral("&View: &Camera Image|&Depth Image|&Log Window|&Settings|&Toolbar|&Reset "
                                          "Layout|Reset 3D Point Cloud &View"),
                           QStringLiteral("&Help: &About...|&Update...")}));
}

TEST_F(Window, HasItsDocksInTheirAreas) {
    const auto area = [this](const char* name) {
        return window_.dockWidgetArea(&Vorta::Testing::find<QDockWidget>(window_, QLatin1String(name)));
    };
    EXPECT_EQ(area("camDockWidget"), Qt::RightDockWidgetArea);
    EXPECT_EQ(area("depthDockWidget"), Qt::RightDockWidgetArea);
    EXPECT_EQ(area("logDockWidget_"), Qt::BottomDockWidgetArea);
    EXPECT_EQ(Vorta::Testing::find<QDockWidget>(window_, QStringLiteral("camDockWidget")).windowTitle(),
              QStringLiteral("Camera Image"));
    EXPECT_EQ(window_.centralWidget()->objectName(), QStringLiteral("PointCloudWidget"));
}

TEST_F(Window, ToolBarCarriesItsGroups) {
    const auto& toolBar = Vorta::Testing::find<QToolBar>(window_, QStringLiteral("ToolBar"));
    QStringList texts;
    for (const QAction* entry : toolBar.actions())
        texts += entry->isSeparator() ? QStringLiteral("|") : entry->text();
    EXPECT_EQ(texts.mid(0, 16).join(QLatin1Char(' ')),
              QStringLiteral("&Load... &Save... | &Grab &HDR | &Live &Stop | &DisplayRGB &Toggle Mesh Set &Background "
                             "Color Reset 3D Point Cloud &View | &Capture... &Preferences..."));
    EXPECT_EQ(toolBar.iconSize(), QSize(45, 32));
    EXPECT_EQ(toolBar.toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
    ASSERT_EQ(texts.size(), 18);
    EXPECT_EQ(toolBar.widgetForAction(toolBar.actions().at(16))->sizePolicy(),
              QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred))
        << "what pushes the logo to the far end";
    const auto* logo = qobject_cast<QLabel*>(toolBar.widgetForAction(toolBar.actions().at(17)));
    ASSERT_TRUE(logo);
    EXPECT_FALSE(logo->pixmap(Qt::ReturnByValue).isNull());
}

TEST_F(Window, WithoutACameraNothingCanBeMeasuredOrSaved) {
    for (const char* name : {"actionGrab", "actionHDR", "actionLive", "actionStop", "actionSave"})
        EXPECT_FALSE(action(name).isEnabled()) << name;
}

TEST_F(Window, GrabFillsAllThreeViews) {
    show();
    auto& cameraImage = Vorta::Testing::find<ImageViewer>(window_, QStringLiteral("CameraImageWidget"));
    const QImage before = Vorta::Testing::grabFromScreen(cameraImage);
    const QImage viewBefore = Vorta::Testing::grabFromScreen(*window_.centralWidget());
    grab();
    QCoreApplication::processEvents();
    EXPECT_TRUE(action("actionSave").isEnabled());
    EXPECT_TRUE(waitFor([&] { return Vorta::Testing::grabFromScreen(cameraImage) != before; }));
    EXPECT_TRUE(waitFor([&] { return Vorta::Testing::grabFromScreen(*window_.centralWidget()) != viewBefore; }));
    EXPECT_TRUE(Vorta::Testing::find<QToolBar>(window_, QStringLiteral("DepthImageWidget/toolBarDepth")).isVisible());
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
    EXPECT_ANY_THROW(controller_.measure(spec()));
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
    auto& cameraImage = Vorta::Testing::find<ImageViewer>(window_, QStringLiteral("CameraImageWidget"));
    const QImage before = Vorta::Testing::grabFromScreen(cameraImage);
    const QImage viewBefore = Vorta::Testing::grabFromScreen(*window_.centralWidget());
    FrameSpec request = spec();
    request.irisHDRValues = {31, 12};
    controller_.measure(request);
    EXPECT_TRUE(action("actionSave").isEnabled());
    EXPECT_TRUE(waitFor([&] { return Vorta::Testing::grabFromScreen(cameraImage) != before; }));
    EXPECT_TRUE(waitFor([&] { return Vorta::Testing::grabFromScreen(*window_.centralWidget()) != viewBefore; }));
}

TEST_F(Window, MaskOfTheCameraImageReachesTheRecord) {
    show();
    grab();
    auto& viewer = Vorta::Testing::find<ImageViewer>(window_, QStringLiteral("CameraImageWidget"));
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionInvert")).trigger();
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionApply_mask")).trigger();
    const auto record = controller_.record();
    EXPECT_EQ(cv::countNonZero(record->mask() == 5), 243 * 150) << "nothing is selected, so all lies outside";
    EXPECT_TRUE(std::isnan(record->maskedPointCloud()(75, 121).z));
    EXPECT_FALSE(std::isnan(record->pointCloud()(75, 121).z));
}

TEST_F(Window, MasksKeepTheirPlaceInAFloatingDockAndBack) {
    show();
    grab();
    auto& dock = Vorta::Testing::find<QDockWidget>(window_, QStringLiteral("camDockWidget"));
    auto& viewer = Vorta::Testing::find<ImageViewer>(window_, QStringLiteral("CameraImageWidget"));
    auto& label = Vorta::Testing::find<ImageLabel>(viewer, QStringLiteral("imageLabel"));
    const auto at = [&](int x, int y) { return ImagePlacement({243, 150}, label.size()).toWidget({x, y}); };
    const auto color = [&](int x, int y) { return QColor(Vorta::Testing::grabFromScreen(label).pixel(at(x, y))); };
    dock.setFloating(true);
    dock.resize(500, 420);
    ASSERT_TRUE(waitFor([&] { return dock.isFloating() && label.width() > 450; }));
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionSelect_Rectangle")).trigger();
    QTest::mousePress(&label, Qt::LeftButton, {}, at(60, 40));
    QTest::mouseMove(&label, at(120, 80));
    QTest::mouseRelease(&label, Qt::LeftButton, {}, at(180, 110));
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionApply_mask")).trigger();
    const cv::Mat_<uchar> mask = controller_.record()->mask();
    EXPECT_EQ(cv::countNonZero(mask(cv::Rect(62, 42, 116, 66)) == 5), 116 * 66);
    for (const cv::Point outside : {cv::Point(120, 36), cv::Point(56, 75), cv::Point(184, 75), cv::Point(120, 114)})
        EXPECT_EQ(mask(outside), 0) << outside;

    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionSelect_Rectangle")).trigger();
    const auto looksMasked = [&] {
        return color(120, 75).blue() > color(120, 75).red() + 60 && color(120, 120).blue() < color(120, 120).red() + 30;
    };
    EXPECT_TRUE(waitFor([&] { return !looksMasked(); }));
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionToggle_mask")).trigger();
    EXPECT_TRUE(waitFor(looksMasked));
    dock.setFloating(false);
    EXPECT_TRUE(waitFor([&] { return !dock.isFloating() && looksMasked(); }));
}

TEST_F(Window, MaskedPointsLeaveTheView) {
    show();
    grab();
    EXPECT_TRUE(waitFor([&] { return !viewIsPlain(window_); }));
    auto& viewer = Vorta::Testing::find<ImageViewer>(window_, QStringLiteral("CameraImageWidget"));
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionInvert")).trigger();
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionApply_mask")).trigger();
    EXPECT_TRUE(waitFor([&] { return viewIsPlain(window_); })) << "all is masked";
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionDelete_Mask")).trigger();
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionInvert")).trigger();
    Vorta::Testing::find<QAction>(viewer, QStringLiteral("actionApply_mask")).trigger();
    EXPECT_TRUE(waitFor([&] { return !viewIsPlain(window_); })) << "an empty mask hides nothing";
}

TEST_F(Window, SlotsKeptForCallersByNameMeasureNothing) {
    show();
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    EXPECT_TRUE(QMetaObject::invokeMethod(&window_, "grab"));
    EXPECT_TRUE(QMetaObject::invokeMethod(&window_, "startContinuous"));
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].title, QStringLiteral("Grab"));
    EXPECT_EQ(boxes.seen()[0].text, QStringLiteral("Test grabbing"));
    EXPECT_FALSE(controller_.record());
    EXPECT_FALSE(controller_.status().live);
}

TEST_F(Window, ControllersMessagesComeAsBoxesOfTheWindow) {
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK")).thenClick(QStringLiteral("OK"));
    Q_EMIT controller_.infoMessage(QStringLiteral("Title"), QStringLiteral("Text"));
    // As of a file of that name, which nobody wrote as HTML.
    Q_EMIT controller_.warningMessage(QStringLiteral("Other"), QStringLiteral("'<b>&lt;.yml' cannot be read"));
    ASSERT_EQ(boxes.seen().size(), 2U);
    EXPECT_EQ(boxes.seen()[0].icon, QMessageBox::Information);
    EXPECT_EQ(boxes.seen()[0].title, QStringLiteral("Title"));
    EXPECT_EQ(boxes.seen()[0].text, QStringLiteral("Text"));
    EXPECT_EQ(boxes.seen()[1].icon, QMessageBox::Warning);
    EXPECT_EQ(boxes.seen()[1].title, QStringLiteral("Other"));
    EXPECT_EQ(boxes.seen()[1].text, QStringLiteral("'<b>&lt;.yml' cannot be read"));
    for (const ModalDriver::Box& box : boxes.seen()) {
        EXPECT_EQ(box.parent, &window_);
        EXPECT_EQ(box.buttons, QStringList{QStringLiteral("OK")});
    }
}

TEST_F(Window, StatusBarTellsWhatTheControllerSays) {
    const auto& connection = Vorta::Testing::find<QLabel>(window_, QStringLiteral("connectionLabel"));
    EXPECT_THAT(connection.text().toStdString(), testing::HasSubstr("[NO CONNECTION]"));
    show();
    EXPECT_THAT(connection.text().toStdString(), testing::HasSubstr("[Connected]"));
    heads_.unplug("T-1");
    controller_.slotHandleCameraPollTimer();
    EXPECT_THAT(connection.text().toStdString(), testing::HasSubstr("[NO CONNECTION]"));
    Q_EMIT controller_.temporaryStatusMessage(QStringLiteral("Warming up"));
    EXPECT_EQ(window_.statusBar()->currentMessage(), QStringLiteral("Warming up"));
}

TEST_F(Window, AltAndThenF4IsExit) {
    show();
    int exits = 0;
    QObject::connect(&action("actionExit"), &QAction::triggered, [&exits] { ++exits; });
    QTest::keyClick(&window_, Qt::Key_F4);
    QTest::keyClick(&window_, Qt::Key_Alt);
    QTest::keyClick(&window_, Qt::Key_F5);
    QTest::keyClick(&window_, Qt::Key_F4);
    QTest::keyClick(&window_, Qt::Key_Alt, Qt::ControlModifier);
    QTest::keyClick(&window_, Qt::Key_F4);
    EXPECT_EQ(exits, 0);
    QTest::keyClick(&window_, Qt::Key_Alt);
    QTest::keyClick(&window_, Qt::Key_F4);
    EXPECT_EQ(exits, 1);
}

TEST_F(Window, ExitEndsTheProgram) {
    constexpr int tooLate = 99;
    QTimer::singleShot(0, &action("actionExit"), &QAction::trigger);
    QTimer::singleShot(20'000, &window_, [] { QCoreApplication::exit(tooLate); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
}

} // namespace
