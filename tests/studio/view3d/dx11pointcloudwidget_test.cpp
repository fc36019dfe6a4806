#include "view3d/dx11pointcloudwidget.h"

#include "input.h"
#include "scene.h"
#include "support/imagecompare.h"
#include "vorta/viewer/vtrackball.h"

#include <QMainWindow>
#include <gtest/gtest.h>

namespace {

using namespace Vorta::Testing;
using Vorta::DX11PointCloudWidget;
using Vorta::PointCloud;

class View : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(view_.initialise()); }

    void load(const PointCloud& cloud, bool reset) {
        view_.loadPoints(cloud.data(), cloud.size(), reset);
        view_.render();
    }

    Scene scene_;
    DX11PointCloudWidget& view_ = scene_.view();
};

TEST(ViewWithoutWindow, IsSetUpForDrawingByOthers) {
    const DX11PointCloudWidget view;
    EXPECT_TRUE(view.testAttribute(Qt::WA_PaintOnScreen));
    EXPECT_TRUE(view.testAttribute(Qt::WA_NoSystemBackground));
    EXPECT_TRUE(view.testAttribute(Qt::WA_NativeWindow));
    EXPECT_EQ(view.focusPolicy(), Qt::ClickFocus);
    EXPECT_EQ(view.paintEngine(), nullptr);
}

TEST(ViewWithoutWindow, RendersNothingBeforeItHasItsWindow) {
    Scene scene;
    EXPECT_FALSE(scene.view().render());
    EXPECT_FALSE(static_cast<Vorta::TrackBallWidget&>(scene.view()).resize(100U, 100U));
    const PointCloud cloud = makeFlag();
    scene.view().loadPoints(cloud, true);
    EXPECT_EQ(scene.view().computeDevice(), Vorta::ComputeDevice());
    ASSERT_TRUE(scene.view().initialise());
    EXPECT_FALSE(scene.view().computeDevice() == Vorta::ComputeDevice());
    EXPECT_FALSE(scene.view().computeDevice().name().empty());
    EXPECT_TRUE(scene.comesToShow(150, 200, red));
}

TEST_F(View, ShowsTheCloudAsTheCameraSawIt) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    const QImage screen = scene_.screen();
    EXPECT_EQ(screen.size(), QSize(600, 400));
    EXPECT_EQ(screen.pixel(450, 200), green);
    for (const QPoint corner : {QPoint(2, 2), QPoint(597, 2), QPoint(2, 397), QPoint(597, 397)})
        EXPECT_EQ(screen.pixel(corner), grey);
    // No holes: within the red half every pixel is red.
    for (int y = 40; y < 360; ++y)
        for (int x = 60; x < 290; ++x)
            ASSERT_EQ(screen.pixel(x, y), red) << x << ", " << y;
}

TEST_F(View, YPointsDown) {
    PointCloud cloud = makeFlag();
    for (std::size_t column = 0; column < cloud.width(); ++column)
        for (std::size_t row = 0; row < 50; ++row)
            cloud(row, column).z = std::numeric_limits<float>::quiet_NaN();
    load(makeFlag(), true);
    load(cloud, false);
    ASSERT_TRUE(scene_.comesToShow(150, 60, grey));
    EXPECT_EQ(scene_.screen().pixel(150, 340), red);
}

TEST_F(View, EscapeRestoresTheInitialView) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    const QImage initial = scene_.screen();
    drag(view_, Qt::LeftButton, {300, 200}, {420, 260});
    drag(view_, Qt::RightButton, {300, 200}, {240, 260});
    turnWheel(view_, {300, 200}, {0, 480});
    EXPECT_TRUE(waitFor([&] { return scene_.screen() != initial; }));
    EXPECT_TRUE(pressKey(view_, Qt::Key_Escape));
    EXPECT_TRUE(scene_.comesToShow(initial));
}

TEST_F(View, LoadingWithoutResetKeepsTheView) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    const QImage initial = scene_.screen();
    drag(view_, Qt::LeftButton, {300, 200}, {400, 230});
    ASSERT_TRUE(waitFor([&] { return differingPixels(scene_.screen(), initial) > 10'000; }));
    const QImage turned = scene_.screen();
    load(makeFlag(), false);
    EXPECT_TRUE(scene_.comesToShow(turned));
    view_.updatePoints(makeFlag().data(), makeFlag().size());
    view_.render();
    EXPECT_TRUE(scene_.comesToShow(turned));
    view_.setDeviceCloud(Vorta::DeviceCloud(view_.computeDevice(), makeFlag()));
    view_.render();
    // With its grid known, points are a trace wider: the borders move by less than a pixel.
    EXPECT_TRUE(scene_.comesToShow(turned, 1500));
    load(makeFlag(), true);
    EXPECT_TRUE(scene_.comesToShow(initial));
}

TEST_F(View, ACloudWithItsGridKeepsTheViewToo) {
    view_.loadPoints(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    const QImage initial = scene_.screen();
    drag(view_, Qt::LeftButton, {300, 200}, {400, 230});
    ASSERT_TRUE(waitFor([&] { return differingPixels(scene_.screen(), initial) > 10'000; }));
    const QImage turned = scene_.screen();
    view_.loadPoints(makeFlag(), false);
    view_.render();
    EXPECT_TRUE(scene_.comesToShow(turned));
    view_.loadPoints(makeFlag(), true);
    EXPECT_TRUE(scene_.comesToShow(initial));
}

TEST_F(View, UpdatedPointsAreShown) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    PointCloud blue = makeFlag();
    for (Vorta::Point& p : blue.points()) {
        p.red = p.green = 0;
        p.blue = 255;
    }
    view_.updatePoints(blue.data(), blue.size());
    view_.render();
    EXPECT_TRUE(scene_.comesToShow(150, 200, 0xFF0000FF));
    view_.setDeviceCloud(Vorta::DeviceCloud());
    view_.render();
    EXPECT_TRUE(scene_.comesToShow(150, 200, grey));
}

TEST_F(View, DeviceCloudsAreShown) {
    view_.setDeviceCloud(Vorta::DeviceCloud(view_.computeDevice(), makeFlag()));
    view_.resetView();
    EXPECT_TRUE(scene_.comesToShow(150, 200, red));
}

TEST_F(View, CloudsWithoutValidPointsShowBackground) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    load(PointCloud(100, 100), true);
    EXPECT_TRUE(scene_.comesToShow(150, 200, grey));
    view_.loadPoints(nullptr, 0, true);
    EXPECT_TRUE(view_.render());
}

TEST_F(View, BackgroundIsWhatWasChosen) {
    EXPECT_EQ(DX11PointCloudWidget().backgroundColor().rgba(), qRgba(32, 34, 38, 255));
    view_.setBackgroundColor(QColor(10, 200, 90, 128));
    view_.render();
    EXPECT_TRUE(scene_.comesToShow(5, 5, qRgb(10, 200, 90)));
    EXPECT_EQ(view_.backgroundColor().rgba(), qRgba(10, 200, 90, 255));
}

TEST_F(View, WithoutColoursDepthIsShown) {
    load(makeFlag(150, 243, 60.0F), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    view_.enableColors(false);
    view_.render();
    ASSERT_TRUE(waitFor([&] { return scene_.screen().pixel(150, 200) != red; }));
    // The ends of the scale: light for near, dark for far.
    const QImage screen = scene_.screen();
    EXPECT_EQ(screen.pixel(150, 200), qRgb(250, 237, 158));
    EXPECT_EQ(screen.pixel(450, 200), qRgb(69, 51, 112));
    view_.enableColors(true);
    view_.render();
    EXPECT_TRUE(scene_.comesToShow(150, 200, red));
}

TEST_F(View, MeshIsLitByItsSlope) {
    view_.loadPoints(makeFlag(), true);
    view_.enableColors(false);
    view_.enableMeshing(true);
    view_.render();
    // All at one depth, seen straight on.
    ASSERT_TRUE(scene_.comesToShow(300, 200, qRgb(250, 237, 158)));
    // Half of the ball's radius of 200 pixels turns by 30 degrees: light falls to 0.25 + 0.75 cos 30 degrees = 0.8995.
    drag(view_, Qt::LeftButton, {300, 200}, {400, 200});
    ASSERT_TRUE(waitFor([&] { return scene_.screen().pixel(300, 200) != qRgb(250, 237, 158); }));
    const QRgb lit = scene_.screen().pixel(300, 200);
    EXPECT_NEAR(qRed(lit), 225, 2);
    EXPECT_NEAR(qGreen(lit), 213, 2);
    EXPECT_NEAR(qBlue(lit), 142, 2);
    view_.enableMeshing(false);
    view_.render();
    EXPECT_TRUE(scene_.comesToShow(300, 200, qRgb(250, 237, 158)));
}

TEST_F(View, MeshShowsThePointsOwnColours) {
    view_.enableMeshing(true);
    view_.loadPoints(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    EXPECT_EQ(scene_.screen().pixel(450, 200), green);
    // Points without a grid stay points.
    const PointCloud cloud = makeFlag(10, 10);
    view_.loadPoints(cloud.data(), 97, true);
    EXPECT_TRUE(scene_.comesToShow(300, 60, red) || scene_.comesToShow(280, 60, red));
}

TEST_F(View, InitialCloudShowsAnEmptyTable) {
    view_.setupInitialCloud();
    view_.render();
    ASSERT_TRUE(waitFor([&] { return countColours(scene_.screen()) > 3; }));
    const QImage screen = scene_.screen();
    int lines = 0;
    for (int y = 0; y < screen.height(); ++y)
        for (int x = 0; x < screen.width(); ++x)
            lines += screen.pixel(x, y) != grey ? 1 : 0;
    // Ruled, not filled.
    EXPECT_GT(lines, 600 * 400 / 100);
    EXPECT_LT(lines, 600 * 400 / 4);
    drag(view_, Qt::LeftButton, {300, 200}, {400, 230});
    ASSERT_TRUE(waitFor([&] { return scene_.screen() != screen; }));
    view_.setupInitialCloud();
    EXPECT_TRUE(scene_.comesToShow(screen)) << "in the initial view, whatever the user's was";
}

TEST_F(View, ResizeAnsweredFalseDoesNotRender) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    const QImage before = scene_.screen();
    view_.setBackgroundColor(Qt::blue);
    auto& base = static_cast<Vorta::TrackBallWidget&>(view_);
    EXPECT_FALSE(base.resize(0U, 400U));
    EXPECT_FALSE(base.resize(600U, 0U));
    EXPECT_EQ(scene_.screen(), before);
    EXPECT_TRUE(base.resize(600U, 400U));
    EXPECT_TRUE(scene_.comesToShow(2, 2, qRgb(0, 0, 255)));
}

TEST_F(View, UnmovedViewFitsANewSize) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    scene_.window().setFixedSize(300, 500);
    ASSERT_TRUE(waitFor([&] { return scene_.screen().size() == QSize(300, 500); }));
    EXPECT_TRUE(scene_.comesToShow(40, 250, red));
    EXPECT_TRUE(scene_.comesToShow(260, 250, green));
    EXPECT_TRUE(scene_.comesToShow(3, 250, grey));
}

TEST_F(View, GrabGivesWhatTheWindowShows) {
    load(makeFlag(150, 243, 30.0F), true);
    const QImage initial = view_.grab().toImage();
    drag(view_, Qt::LeftButton, {300, 200}, {350, 230});
    // Points whose edge falls on the middle of a pixel may count to either side.
    EXPECT_TRUE(waitFor([&] { return differingPixels(scene_.screen(), view_.grab().toImage()) < 60; }));
    EXPECT_EQ(view_.grab().toImage().pixel(150, 200), red);
    EXPECT_GT(differingPixels(view_.grab().toImage(), initial), 10'000);
}

TEST_F(View, AnUncoveredWindowShowsItsPictureAgain) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    const QImage before = scene_.screen();
    {
        QWidget cover;
        cover.setFixedSize(700, 500);
        cover.move(scene_.window().pos() - QPoint(20, 20));
        showAndActivate(cover);
        ASSERT_TRUE(waitFor([&] { return scene_.screen() != before; }));
    }
    EXPECT_TRUE(scene_.comesToShow(before));
}

TEST_F(View, HidingAndShowingKeepsThePicture) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    const QImage before = scene_.screen();
    scene_.window().hide();
    EXPECT_TRUE(waitFor([&] { return !view_.render(); }));
    showAndActivate(scene_.window());
    EXPECT_TRUE(scene_.comesToShow(before));
}

TEST_F(View, MovesToAnotherWindow) {
    load(makeFlag(), true);
    ASSERT_TRUE(scene_.comesToShow(150, 200, red));
    QMainWindow other;
    other.setFixedSize(600, 400);
    other.setCentralWidget(&view_);
    showAndActivate(other);
    EXPECT_TRUE(scene_.comesToShow(150, 200, red));
    view_.setBackgroundColor(Qt::blue);
    EXPECT_TRUE(view_.render());
    EXPECT_TRUE(scene_.comesToShow(2, 2, qRgb(0, 0, 255)));
    view_.setParent(&scene_.window());
}

} // namespace
