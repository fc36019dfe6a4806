#include "view3d/trackballwidget.h"

#include "input.h"
#include "support/widgets.h"
#include "vorta/viewer/vtrackball.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace Vorta::Testing;

/// Writes down what the input handling asks for.
class RecordingWidget : public Vorta::TrackBallWidget {
public:
    using TrackBallWidget::render;
    using TrackBallWidget::resize;
    using TrackBallWidget::trackball;

    bool render() override {
        calls.emplace_back("render");
        return true;
    }
    bool resize(unsigned width, unsigned height) override {
        calls.push_back("resize " + std::to_string(width) + " x " + std::to_string(height));
        return true;
    }
    void resetView() override { calls.emplace_back("reset"); }

    std::vector<std::string> calls;
};

class TrackBallWidgetTest : public testing::Test {
protected:
    TrackBallWidgetTest() {
        widget_.setFixedSize(640, 480);
        showAndActivate(widget_);
        widget_.trackball()->setViewport(640, 480);
        widget_.trackball()->setView({0, 0, 500}, 300);
        widget_.calls.clear();
    }

    RecordingWidget widget_;
};

using Calls = std::vector<std::string>;

TEST_F(TrackBallWidgetTest, PressAndReleaseDoNotRender) {
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton, Qt::BackButton}) {
        press(widget_, {100, 100}, button, button);
        release(widget_, {100, 100}, button, Qt::NoButton);
    }
    EXPECT_EQ(widget_.calls, Calls());
    EXPECT_EQ(widget_.trackball()->movements(), 0U);
}

TEST_F(TrackBallWidgetTest, EveryMoveAndWheelTurnRendersOnce) {
    press(widget_, {320, 240}, Qt::LeftButton, Qt::LeftButton);
    for (int i = 1; i <= 3; ++i) {
        move(widget_, {320.0 + 10 * i, 240}, Qt::LeftButton);
        EXPECT_EQ(widget_.calls, Calls(static_cast<std::size_t>(i), "render"));
    }
    release(widget_, {350, 240}, Qt::LeftButton, Qt::NoButton);
    turnWheel(widget_, {320, 240}, {0, 120});
    EXPECT_EQ(widget_.calls, Calls(4, "render"));
    EXPECT_EQ(widget_.trackball()->movements(), 4U);
}

TEST_F(TrackBallWidgetTest, LeftTurnsRightMovesMiddleZooms) {
    const auto& ball = *widget_.trackball();
    drag(widget_, Qt::LeftButton, {320, 240}, {440, 240});
    // Half of the ball's radius of 240 pixels: 30 degrees.
    EXPECT_NEAR(ball.rotation()[0], 0.8660254037844386, 1e-6);
    widget_.trackball()->setView({0, 0, 500}, 300);
    drag(widget_, Qt::RightButton, {320, 240}, {420, 140});
    // 300 mm away, a pixel is 300 / 895.692194 mm wide.
    EXPECT_NEAR(ball.offset()[0], 33.493649, 1e-5);
    EXPECT_NEAR(ball.offset()[1], -33.493649, 1e-5);
    widget_.trackball()->setView({0, 0, 500}, 300);
    drag(widget_, Qt::MiddleButton, {320, 240}, {320, 120});
    EXPECT_NEAR(ball.offset()[2], 150.0, 1e-6);
}

TEST_F(TrackBallWidgetTest, DragThatLostItsReleaseEndsWithTheNextPress) {
    press(widget_, {320, 240}, Qt::LeftButton, Qt::LeftButton);
    // A box took the release with it.
    drag(widget_, Qt::RightButton, {320, 240}, {420, 140});
    const auto& ball = *widget_.trackball();
    EXPECT_EQ(ball.rotation()[0], 1.0);
    EXPECT_NEAR(ball.offset()[0], 33.493649, 1e-5);
}

TEST_F(TrackBallWidgetTest, WheelZoomsByItsDelta) {
    turnWheel(widget_, {320, 240}, {0, 240});
    EXPECT_NEAR(widget_.trackball()->offset()[2], 300.0 * 0.88 * 0.88, 1e-6);
    turnWheel(widget_, {320, 240}, {-240, 0});
    EXPECT_NEAR(widget_.trackball()->offset()[2], 300.0, 1e-6);
}

TEST_F(TrackBallWidgetTest, CursorTellsWhatADragDoes) {
    press(widget_, {100, 100}, Qt::RightButton, Qt::RightButton);
    EXPECT_EQ(widget_.cursor().shape(), Qt::OpenHandCursor);
    move(widget_, {120, 100}, Qt::RightButton);
    EXPECT_EQ(widget_.cursor().shape(), Qt::OpenHandCursor);
    release(widget_, {120, 100}, Qt::RightButton, Qt::NoButton);
    EXPECT_EQ(widget_.cursor().shape(), Qt::ArrowCursor);
    press(widget_, {100, 100}, Qt::MiddleButton, Qt::MiddleButton);
    EXPECT_EQ(widget_.cursor().shape(), Qt::SizeAllCursor);
    press(widget_, {100, 100}, Qt::RightButton, Qt::MiddleButton | Qt::RightButton);
    EXPECT_EQ(widget_.cursor().shape(), Qt::SizeAllCursor);
    release(widget_, {100, 100}, Qt::MiddleButton, Qt::RightButton);
    EXPECT_EQ(widget_.cursor().shape(), Qt::SizeAllCursor);
    release(widget_, {100, 100}, Qt::RightButton, Qt::NoButton);
    EXPECT_EQ(widget_.cursor().shape(), Qt::ArrowCursor);
}

TEST_F(TrackBallWidgetTest, OtherButtonsChangeNoCursor) {
    press(widget_, {100, 100}, Qt::BackButton, Qt::BackButton);
    EXPECT_EQ(widget_.cursor().shape(), Qt::ArrowCursor);
    move(widget_, {300, 300}, Qt::BackButton);
    EXPECT_EQ(widget_.trackball()->movements(), 0U);
}

TEST_F(TrackBallWidgetTest, EscapeResetsRendersAndIsTaken) {
    EXPECT_TRUE(pressKey(widget_, Qt::Key_Escape));
    EXPECT_EQ(widget_.calls, (Calls{"reset", "render"}));
}

TEST_F(TrackBallWidgetTest, OtherKeysGoOn) {
    EXPECT_FALSE(pressKey(widget_, Qt::Key_Space));
    EXPECT_EQ(widget_.calls, Calls());
}

TEST_F(TrackBallWidgetTest, ResizeIsPassedOnInWidgetPixels) {
    widget_.setFixedSize(500, 310);
    ASSERT_TRUE(waitFor([&] { return !widget_.calls.empty(); }));
    EXPECT_EQ(widget_.calls.back(), "resize 500 x 310");
}

} // namespace
