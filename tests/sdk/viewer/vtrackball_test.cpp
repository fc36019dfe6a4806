#include "vorta/viewer/vtrackball.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace {

using Vorta::VMouseAction;
using Vorta::VTrackBall;

using Vector = VTrackBall::Vector;
using Matrix = VTrackBall::Matrix;

constexpr Vector centre{10.0, -20.0, 600.0};

class TrackBall : public testing::Test {
protected:
    TrackBall() {
        ball_.setViewport(640.0, 480.0);
        ball_.setView(centre, 300.0);
    }

    void act(VMouseAction action, double x, double y, std::int32_t delta = 0) {
        ball_.MouseAction(
            {.x = static_cast<float>(x), .y = static_cast<float>(y), .wheelDelta = delta, .action = action});
    }

    [[nodiscard]] std::array<double, 2> pixelOf(const Vector& point) const {
        const Vector eye = ball_.toEye(point);
        return {320.0 + ball_.focalLength() * eye[0] / eye[2], 240.0 + ball_.focalLength() * eye[1] / eye[2]};
    }

    /// The picker of a scene that consists of one point, seen wherever one looks.
    void seeOnly(const Vector& point) {
        ball_.setDepthPicker([this, point](double, double) { return ball_.toEye(point)[2]; });
    }

    VTrackBall ball_;
};

void expectNear(const Vector& actual, const Vector& expected, double tolerance) {
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "component " << i;
}

Vector rotated(const Matrix& m, const Vector& v) {
    return {m[0] * v[0] + m[1] * v[1] + m[2] * v[2], m[3] * v[0] + m[4] * v[1] + m[5] * v[2],
            m[6] * v[0] + m[7] * v[1] + m[8] * v[2]};
}

double determinant(const Matrix& m) {
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

TEST(MouseState, CarriesTheAgreedActionCodes) {
    const std::vector<std::int32_t> codes{
        static_cast<std::int32_t>(VMouseAction::None),          static_cast<std::int32_t>(VMouseAction::Move),
        static_cast<std::int32_t>(VMouseAction::LeftPressed),   static_cast<std::int32_t>(VMouseAction::LeftReleased),
        static_cast<std::int32_t>(VMouseAction::RightPressed),  static_cast<std::int32_t>(VMouseAction::RightReleased),
        static_cast<std::int32_t>(VMouseAction::MiddlePressed), static_cast<std::int32_t>(VMouseAction::MiddleReleased),
        static_cast<std::int32_t>(VMouseAction::Wheel)};
    EXPECT_EQ(codes, (std::vector<std::int32_t>{0, 1, 2, 3, 5, 6, 8, 9, 11}));
}

TEST_F(TrackBall, LooksStraightAtTheCentreFirst) {
    expectNear(ball_.toEye(centre), {0.0, 0.0, 300.0}, 1e-12);
    EXPECT_EQ(ball_.rotation(), (Matrix{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    EXPECT_FALSE(ball_.movedSinceSetView());
    // 30 degrees span the 480 rows: 240 / tan(15 degrees).
    EXPECT_NEAR(ball_.focalLength(), 895.692194, 1e-6);
}

TEST_F(TrackBall, TurnsTheFrontOfTheBallWithTheCursor) {
    // The ball's radius is 240 pixels: half of it to the right is an angle of 30 degrees.
    act(VMouseAction::LeftPressed, 320, 240);
    act(VMouseAction::Move, 440, 240);
    expectNear(rotated(ball_.rotation(), {0, 0, -1}), {0.5, 0.0, -0.8660254037844386}, 1e-12);
    act(VMouseAction::Move, 320, 360);
    expectNear(rotated(ball_.rotation(), {0, 0, -1}), {0.0, 0.5, -0.8660254037844386}, 1e-12);
    expectNear(ball_.toEye(centre), {0.0, 0.0, 300.0}, 1e-12);
}

TEST_F(TrackBall, TurnsAnUnmovedHandNowhere) {
    act(VMouseAction::LeftPressed, 100, 50);
    act(VMouseAction::Move, 100, 50);
    EXPECT_EQ(ball_.rotation(), (Matrix{1, 0, 0, 0, 1, 0, 0, 0, 1}));
}

TEST_F(TrackBall, GoesOnTurningFarOutsideTheWindow) {
    act(VMouseAction::LeftPressed, 320, 240);
    act(VMouseAction::Move, 1e6, 240);
    // Towards a quarter turn, never beyond it.
    const Vector front = rotated(ball_.rotation(), {0, 0, -1});
    expectNear(front, {1.0, 0.0, 0.0}, 1e-3);
    EXPECT_LT(front[2], 0.0);
}

TEST_F(TrackBall, ReturnsWithTheCursor) {
    for (const VMouseAction button :
         {VMouseAction::LeftPressed, VMouseAction::RightPressed, VMouseAction::MiddlePressed}) {
        ball_.setView(centre, 300.0);
        act(button, 300, 200);
        act(VMouseAction::Move, 500, 30);
        const Vector away = ball_.toEye({0, 0, 500});
        act(VMouseAction::Move, 20, 470);
        act(VMouseAction::Move, 300, 200);
        expectNear(ball_.toEye({0, 0, 500}), {-10.0, 20.0, 200.0}, 1e-10);
        EXPECT_GT(std::hypot(away[0] + 10.0, away[1] - 20.0, away[2] - 200.0), 1.0);
        act(static_cast<VMouseAction>(static_cast<std::int32_t>(button) + 1), 300, 200);
    }
}

TEST_F(TrackBall, InverseDragsReturn) {
    const Matrix before = ball_.rotation();
    act(VMouseAction::LeftPressed, 200, 100);
    act(VMouseAction::Move, 350, 330);
    act(VMouseAction::LeftReleased, 350, 330);
    act(VMouseAction::LeftPressed, 350, 330);
    act(VMouseAction::Move, 200, 100);
    act(VMouseAction::LeftReleased, 200, 100);
    const Matrix after = ball_.rotation();
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(after[i], before[i], 1e-14);
}

TEST_F(TrackBall, StaysARotationAfterAMillionMoves) {
    std::uint32_t random = 1;
    const auto next = [&random](double range) {
        random = random * 1664525U + 1013904223U;
        return range * static_cast<double>(random >> 8) / 16777216.0;
    };
    for (int drag = 0; drag < 100'000; ++drag) {
        act(VMouseAction::LeftPressed, next(640), next(480));
        for (int i = 0; i < 10; ++i)
            act(VMouseAction::Move, next(640), next(480));
        act(VMouseAction::LeftReleased, 0, 0);
    }
    EXPECT_EQ(ball_.movements(), 1'000'000U);
    const Matrix m = ball_.rotation();
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            const double dot = m[3 * i] * m[3 * j] + m[3 * i + 1] * m[3 * j + 1] + m[3 * i + 2] * m[3 * j + 2];
            EXPECT_NEAR(dot, i == j ? 1.0 : 0.0, 1e-13);
        }
    EXPECT_NEAR(determinant(m), 1.0, 1e-13);
    expectNear(ball_.toEye(centre), {0.0, 0.0, 300.0}, 1e-12);
}

TEST_F(TrackBall, PanKeepsTheGrabbedPointUnderTheCursor) {
    const Vector point{40.0, -50.0, 530.0};
    seeOnly(point);
    const auto start = pixelOf(point);
    act(VMouseAction::RightPressed, start[0], start[1]);
    act(VMouseAction::Move, start[0] + 50.0, start[1] - 30.0);
    const auto moved = pixelOf(point);
    EXPECT_NEAR(moved[0], start[0] + 50.0, 1e-3);
    EXPECT_NEAR(moved[1], start[1] - 30.0, 1e-3);
    EXPECT_NEAR(ball_.toEye(point)[2], 230.0, 1e-12);
    EXPECT_EQ(ball_.rotation(), (Matrix{1, 0, 0, 0, 1, 0, 0, 0, 1}));
}

TEST_F(TrackBall, PanTakesTheCentresDepthOverTheBackground) {
    ball_.setDepthPicker([](double, double) { return std::nullopt; });
    act(VMouseAction::RightPressed, 100, 100);
    act(VMouseAction::Move, 160, 120);
    const auto pixel = pixelOf(centre);
    EXPECT_NEAR(pixel[0], 380.0, 1e-9);
    EXPECT_NEAR(pixel[1], 260.0, 1e-9);
}

TEST_F(TrackBall, WheelZoomsTowardsTheCursor) {
    const Vector point{40.0, -50.0, 530.0};
    seeOnly(point);
    const auto start = pixelOf(point);
    act(VMouseAction::Wheel, start[0], start[1], 120);
    EXPECT_NEAR(ball_.toEye(point)[2], 0.88 * 230.0, 1e-9);
    EXPECT_NEAR(pixelOf(point)[0], start[0], 1e-3);
    EXPECT_NEAR(pixelOf(point)[1], start[1], 1e-3);
    act(VMouseAction::Wheel, start[0], start[1], -120);
    expectNear(ball_.toEye(point), {30.0, -30.0, 230.0}, 1e-9);
}

TEST_F(TrackBall, WheelTakesPartsOfANotch) {
    for (int i = 0; i < 8; ++i)
        act(VMouseAction::Wheel, 320, 240, 15);
    EXPECT_NEAR(ball_.offset()[2], 0.88 * 300.0, 1e-9);
    EXPECT_EQ(ball_.movements(), 8U);
    act(VMouseAction::Wheel, 320, 240, 0);
    EXPECT_EQ(ball_.movements(), 8U);
}

TEST_F(TrackBall, ZoomStaysWithinReach) {
    for (int i = 0; i < 5000; ++i)
        act(VMouseAction::Wheel, 320, 240, 120);
    EXPECT_NEAR(ball_.offset()[2], 0.03, 1e-6);
    for (int i = 0; i < 5000; ++i)
        act(VMouseAction::Wheel, 320, 240, -120);
    EXPECT_NEAR(ball_.offset()[2], 300'000.0, 1.0);
    act(VMouseAction::Wheel, 320, 240, 120);
    EXPECT_NEAR(ball_.offset()[2], 264'000.0, 1.0);
}

TEST_F(TrackBall, MiddleDragZooms) {
    act(VMouseAction::MiddlePressed, 320, 240);
    // A quarter of the shorter side upwards halves the distance.
    act(VMouseAction::Move, 320, 120);
    EXPECT_NEAR(ball_.offset()[2], 150.0, 1e-9);
    act(VMouseAction::Move, 320, 360);
    EXPECT_NEAR(ball_.offset()[2], 600.0, 1e-9);
}

TEST_F(TrackBall, FirstButtonDecides) {
    act(VMouseAction::LeftPressed, 320, 240);
    act(VMouseAction::RightPressed, 320, 240);
    act(VMouseAction::Move, 440, 240);
    expectNear(rotated(ball_.rotation(), {0, 0, -1}), {0.5, 0.0, -0.8660254037844386}, 1e-12);
    expectNear(ball_.offset(), {0, 0, 300}, 1e-12);
    act(VMouseAction::RightReleased, 440, 240);
    act(VMouseAction::Move, 320, 360);
    expectNear(rotated(ball_.rotation(), {0, 0, -1}), {0.0, 0.5, -0.8660254037844386}, 1e-12);
    act(VMouseAction::LeftReleased, 320, 360);
    act(VMouseAction::Move, 0, 0);
    expectNear(rotated(ball_.rotation(), {0, 0, -1}), {0.0, 0.5, -0.8660254037844386}, 1e-12);
}

TEST_F(TrackBall, OtherButtonsAndIdleMovesDoNothing) {
    act(VMouseAction::None, 10, 10);
    act(VMouseAction::Move, 500, 400);
    act(VMouseAction::LeftReleased, 10, 10);
    EXPECT_EQ(ball_.movements(), 0U);
    EXPECT_FALSE(ball_.movedSinceSetView());
    expectNear(ball_.toEye({0, 0, 0}), {-10.0, 20.0, -300.0}, 1e-12);
}

TEST_F(TrackBall, DragGoesOnFromAViewSetAnew) {
    act(VMouseAction::LeftPressed, 320, 240);
    act(VMouseAction::Move, 440, 240);
    ball_.setView(centre, 300.0);
    act(VMouseAction::Move, 320, 240);
    EXPECT_EQ(ball_.rotation(), (Matrix{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    EXPECT_FALSE(ball_.movedSinceSetView());
    act(VMouseAction::Move, 440, 240);
    expectNear(rotated(ball_.rotation(), {0, 0, -1}), {0.5, 0.0, -0.8660254037844386}, 1e-12);
    EXPECT_TRUE(ball_.movedSinceSetView());
}

TEST_F(TrackBall, WheelBelowAHeldButtonIsKeptByTheDrag) {
    act(VMouseAction::RightPressed, 320, 240);
    act(VMouseAction::Wheel, 320, 240, 120);
    act(VMouseAction::Move, 320, 240);
    EXPECT_NEAR(ball_.offset()[2], 264.0, 1e-9);
}

TEST_F(TrackBall, NewCentreMovesNothingAndIsTurnedAboutFromTheNextPress) {
    act(VMouseAction::LeftPressed, 320, 240);
    act(VMouseAction::Move, 400, 300);
    const Vector probe{100.0, 50.0, 700.0};
    const Vector other{-30.0, 15.0, 640.0};
    const Vector before = ball_.toEye(probe);
    ball_.setCentre(other);
    expectNear(ball_.toEye(probe), before, 1e-12);
    act(VMouseAction::LeftReleased, 400, 300);
    act(VMouseAction::LeftPressed, 320, 240);
    expectNear(ball_.toEye(probe), before, 1e-10);
    const Vector pivot = ball_.toEye(other);
    act(VMouseAction::Move, 250, 100);
    expectNear(ball_.toEye(other), pivot, 1e-10);
    EXPECT_GT(std::abs(ball_.toEye(probe)[0] - before[0]), 1.0);
}

TEST(TrackBallViewport, ScalesWithTheShorterSide) {
    VTrackBall ball;
    ball.setViewport(1000, 500);
    const double wide = ball.focalLength();
    ball.setViewport(250, 500);
    EXPECT_NEAR(ball.focalLength(), wide / 2.0, 1e-9);
    ball.setViewport(0, -3);
    EXPECT_EQ(ball.width(), 1.0);
    EXPECT_EQ(ball.height(), 1.0);
}

} // namespace
