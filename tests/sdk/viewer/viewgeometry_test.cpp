#include "sdk/viewer/points.h"
#include "viewgeometry.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace {

using Vorta::boundsOf;
using Vorta::clipPlanes;
using Vorta::ClipPlanes;
using Vorta::CloudBounds;
using Vorta::CloudGrid;
using Vorta::GlMatrix;
using Vorta::Point;
using Vorta::VMouseAction;
using Vorta::VTrackBall;
using Vorta::Testing::at;

/// A square of 200 x 200 mm at a depth of 500 mm, points every 2 mm.
CloudGrid squareGrid() {
    std::vector<Point> points;
    for (int row = -50; row <= 50; ++row)
        for (int column = -50; column <= 50; ++column)
            points.push_back(at(2.0 * column, 2.0 * row, 500.0));
    CloudGrid grid;
    grid.assign(points, 101);
    return grid;
}

VTrackBall viewOf(const CloudGrid& grid, double width, double height) {
    VTrackBall view;
    view.setViewport(width, height);
    const auto centre = boundsOf(grid).centre();
    view.setView(centre, fittingDistance(grid.vertices(), centre, view));
    return view;
}

std::array<double, 4> applied(const GlMatrix& m, const std::array<double, 4>& v) {
    std::array<double, 4> result{};
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 4; ++column)
            result[row] += static_cast<double>(m[4 * column + row]) * v[column];
    return result;
}

TEST(FittingDistance, FillsTheShorterSideOfTheWindow) {
    const CloudGrid grid = squareGrid();
    for (const auto& [width, height] : {std::pair{800.0, 600.0}, std::pair{600.0, 900.0}, std::pair{50.0, 50.0}}) {
        const VTrackBall view = viewOf(grid, width, height);
        const auto corner = view.toEye({100.0, 100.0, 500.0});
        const double half = view.focalLength() * corner[0] / corner[2];
        const double share = half / (0.5 * std::min(width, height));
        EXPECT_GT(share, 0.90) << width << " x " << height;
        EXPECT_LT(share, 0.96) << width << " x " << height;
    }
}

TEST(FittingDistance, MindsPointsTowardsTheEye) {
    std::vector<Point> points;
    for (int i = 0; i < 200; ++i) {
        points.push_back(at(100, 0, 400));
        points.push_back(at(-100, 0, 600));
    }
    CloudGrid grid;
    grid.assign(points, 0);
    VTrackBall view;
    view.setViewport(600, 600);
    // f / (0.92 * 300) = 1 / (0.92 tan 15 degrees) = 4.056577: 405.6577 mm for the distance of the nearer one, which is
    // 100 mm before the centre.
    EXPECT_NEAR(fittingDistance(grid.vertices(), {0, 0, 500}, view), 505.6577, 1e-3);
}

TEST(ClipPlanes, EncloseTheCloud) {
    const CloudGrid grid = squareGrid();
    VTrackBall view = viewOf(grid, 800, 600);
    const CloudBounds bounds = boundsOf(grid);
    const double depth = view.offset()[2];
    const ClipPlanes planes = clipPlanes(bounds, view);
    EXPECT_LT(planes.nearest, depth - 141.0);
    EXPECT_GT(planes.nearest, 0.5 * (depth - 142.0));
    EXPECT_GT(planes.farthest, depth + 141.0);
}

TEST(ClipPlanes, StayUsableInsideTheCloudAndWithOutliers) {
    std::vector<Point> points;
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 10; ++x)
            points.push_back(at(x * 10, y, 500));
    points.push_back(at(0, 0, 1e9));
    CloudGrid grid;
    grid.assign(points, 0);
    const CloudBounds bounds = boundsOf(grid);
    VTrackBall view;
    view.setViewport(600, 600);
    for (const double distance : {0.01, 1.0, 50.0, 400.0, 1e5}) {
        view.setView(bounds.centre(), distance);
        const ClipPlanes planes = clipPlanes(bounds, view);
        EXPECT_GT(planes.nearest, 0.0) << distance;
        EXPECT_GT(planes.farthest, planes.nearest) << distance;
        EXPECT_LE(planes.farthest / planes.nearest, 10500.0) << distance;
        EXPECT_GT(planes.farthest, distance + 70.0) << distance;
        EXPECT_LT(planes.nearest, std::max(distance, 1.0)) << distance;
    }
}

TEST(ProjectionMatrix, PutsPointsWhereTheTrackBallSaysWithYUp) {
    VTrackBall view;
    view.setViewport(640, 480);
    view.setView({0, 0, 500}, 500);
    const GlMatrix projection = projectionMatrix({.nearest = 400, .farthest = 600}, view);
    const GlMatrix eye = eyeMatrix(view);
    // 100 mm right, 50 mm down: f / Z is 895.692194 / 500 pixels per mm.
    const auto clip = applied(projection, applied(eye, {100, 50, 500, 1}));
    EXPECT_NEAR(clip[3], 500.0, 1e-3);
    EXPECT_NEAR(320.0 + 320.0 * clip[0] / clip[3], 320.0 + 179.138439, 1e-3);
    EXPECT_NEAR(240.0 - 240.0 * clip[1] / clip[3], 240.0 + 89.569219, 1e-3);
    EXPECT_NEAR(applied(projection, {0, 0, 400, 1})[2], -400.0, 1e-3);
    EXPECT_NEAR(applied(projection, {0, 0, 600, 1})[2], 600.0, 1e-3);
}

TEST(EyeMatrix, AgreesWithTheTrackBall) {
    VTrackBall view;
    view.setViewport(640, 480);
    view.setView({10, 20, 500}, 300);
    view.MouseAction({.x = 100, .y = 100, .wheelDelta = 0, .action = VMouseAction::LeftPressed});
    view.MouseAction({.x = 300, .y = 150, .wheelDelta = 0, .action = VMouseAction::Move});
    const auto expected = view.toEye({30, -40, 450});
    const auto eye = applied(eyeMatrix(view), {30, -40, 450, 1});
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(eye[i], expected[i], 1e-3);
}

TEST(DepthAt, FindsTheSurfaceBelowTheCursor) {
    const CloudGrid grid = squareGrid();
    const VTrackBall view = viewOf(grid, 800, 600);
    const auto depth = depthAt(grid, 2.0, view, 400, 300);
    ASSERT_TRUE(depth.has_value());
    EXPECT_NEAR(*depth, view.offset()[2], 1e-3);
    EXPECT_FALSE(depthAt(grid, 2.0, view, 20, 300).has_value());
}

TEST(DepthAt, TakesTheFrontOfTwoSurfaces) {
    std::vector<Point> points{at(0, 0, 500), at(0.1, 0, 600), at(0, 0, -100)};
    CloudGrid grid;
    grid.assign(points, 0);
    VTrackBall view;
    view.setViewport(600, 600);
    view.setView({0, 0, 550}, 550);
    EXPECT_NEAR(depthAt(grid, 1.0, view, 300, 300).value_or(0.0), 500.0, 1e-3);
}

TEST(DepthAt, FindsASurfaceCloseUpBetweenItsPoints) {
    const CloudGrid grid = squareGrid();
    VTrackBall view;
    view.setViewport(600, 600);
    view.setView({1.0, 1.0, 500}, 5);
    // Neighbours stand 448 pixels apart; the middle of the window is between four of them.
    EXPECT_NEAR(depthAt(grid, 2.0, view, 300, 300).value_or(0.0), 5.0, 1e-3);
}

} // namespace
