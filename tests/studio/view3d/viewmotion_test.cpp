#include "input.h"
#include "scene.h"

#include <gtest/gtest.h>

namespace {

using namespace Vorta::Testing;
using Vorta::PointCloud;

/// Enough points that a renderer on the processor shows fewer while they move.
PointCloud makeLargeFlag() {
    return makeFlag(900, 1458, 40.0F);
}

TEST(ViewMotion, ComesToRestInTheWholePicture) {
    Scene scene;
    ASSERT_TRUE(scene.view().initialise());
    scene.view().loadPoints(makeLargeFlag(), true);
    ASSERT_TRUE(scene.comesToShow(150, 200, red));
    const QImage whole = scene.view().grab().toImage();
    EXPECT_TRUE(scene.comesToShow(whole, 60));
    press(scene.view(), {300, 200}, Qt::LeftButton, Qt::LeftButton);
    move(scene.view(), {380, 230}, Qt::LeftButton);
    EXPECT_GT(differingPixels(scene.screen(), whole), 10'000);
    move(scene.view(), {300, 200}, Qt::LeftButton);
    // The hand rests with the button held down.
    EXPECT_TRUE(scene.comesToShow(whole, 60));
}

TEST(ViewMotion, AMovingPictureHasNoHoles) {
    Scene scene;
    ASSERT_TRUE(scene.view().initialise());
    scene.view().loadPoints(makeLargeFlag(), true);
    for (const bool meshed : {false, true}) {
        scene.view().enableMeshing(meshed);
        press(scene.view(), {300, 200}, Qt::LeftButton, Qt::LeftButton);
        move(scene.view(), {330, 200}, Qt::LeftButton);
        move(scene.view(), {300, 200}, Qt::LeftButton);
        const QImage screen = scene.screen();
        for (int y = 60; y < 340; ++y)
            for (int x = 60; x < 280; ++x)
                ASSERT_EQ(screen.pixel(x, y), red) << x << ", " << y << (meshed ? " meshed" : "");
        release(scene.view(), {300, 200}, Qt::LeftButton, Qt::NoButton);
    }
}

TEST(ViewMotion, EndOfAStreamShowsItsLastCloudWhole) {
    Scene scene;
    ASSERT_TRUE(scene.view().initialise());
    const PointCloud cloud = makeLargeFlag();
    scene.view().loadPoints(cloud, true);
    ASSERT_TRUE(scene.comesToShow(150, 200, red));
    const QImage whole = scene.view().grab().toImage();

    scene.view().setStreaming(true);
    for (const float nearLeft : {10.0F, 40.0F}) {
        scene.view().setDeviceCloud(Vorta::DeviceCloud(scene.view().computeDevice(), makeFlag(900, 1458, nearLeft)));
        EXPECT_TRUE(scene.view().render());
        EXPECT_EQ(scene.screen().pixel(150, 200), red) << "each cloud is shown at once";
    }
    scene.view().setStreaming(false);
    EXPECT_TRUE(scene.comesToShow(whole, 60));
}

TEST(ViewMotion, ZoomKeepsWhatIsBelowTheCursor) {
    Scene scene;
    ASSERT_TRUE(scene.view().initialise());
    scene.view().loadPoints(makeFlag(150, 243, 40.0F), true);
    ASSERT_TRUE(scene.comesToShow(150, 200, red));
    // The left edge of the red half, found on the middle row.
    const QImage initial = scene.screen();
    int edge = 0;
    while (initial.pixel(edge, 200) != red)
        ++edge;
    for (int i = 0; i < 8; ++i)
        turnWheel(scene.view(), {edge + 0.0, 200}, {0, 120});
    ASSERT_TRUE(scene.comesToShow(edge + 60, 200, red));
    const QImage zoomed = scene.screen();
    EXPECT_EQ(zoomed.pixel(edge + 6, 200), red);
    EXPECT_EQ(zoomed.pixel(edge - 6, 200), grey);
}

TEST(ViewMotion, PanMovesThePictureByWhatTheHandMoved) {
    Scene scene;
    ASSERT_TRUE(scene.view().initialise());
    scene.view().loadPoints(makeFlag(), true);
    ASSERT_TRUE(scene.comesToShow(150, 200, red));
    const QImage initial = scene.screen();
    drag(scene.view(), Qt::RightButton, {150, 200}, {250, 230});
    ASSERT_TRUE(scene.comesToShow(100, 215, grey));
    const QImage moved = scene.screen();
    int differences = 0;
    for (int y = 40; y < 400; ++y)
        for (int x = 110; x < 600; ++x)
            differences += moved.pixel(x, y) != initial.pixel(x - 100, y - 30) ? 1 : 0;
    // Borders may fall a pixel to either side.
    EXPECT_LT(differences, 1500);
}

} // namespace
