#include "cloudgrid.h"
#include "sdk/viewer/points.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using Vorta::boundsOf;
using Vorta::CloudBounds;
using Vorta::CloudGrid;
using Vorta::Point;
using Vorta::Testing::at;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// Column number as x, row number as y.
std::vector<Point> plane(std::size_t height, std::size_t width, float z) {
    std::vector<Point> points;
    for (std::size_t row = 0; row < height; ++row)
        for (std::size_t column = 0; column < width; ++column)
            points.push_back(at(static_cast<float>(column), static_cast<float>(row), z));
    return points;
}

TEST(CloudGrid, PacksFinitePointsInGridOrder) {
    std::vector<Point> points = plane(2, 3, 5.0F);
    points[1].z = nan;
    points[3].x = infinity;
    points[4].red = 7;
    points[4].green = 8;
    points[4].blue = 9;
    CloudGrid grid;
    grid.assign(points, 3);
    ASSERT_EQ(grid.vertices().size(), 4U);
    EXPECT_EQ(grid.width(), 3U);
    EXPECT_EQ(grid.height(), 2U);
    const std::vector<std::uint32_t> cells(grid.cells().begin(), grid.cells().end());
    EXPECT_EQ(cells, (std::vector<std::uint32_t>{0, CloudGrid::noVertex, 1, CloudGrid::noVertex, 2, 3}));
    const auto& v = grid.vertices()[2];
    EXPECT_EQ(v.x, 1.0F);
    EXPECT_EQ(v.y, 1.0F);
    EXPECT_EQ(v.z, 5.0F);
    EXPECT_EQ(v.red, 7);
    EXPECT_EQ(v.green, 8);
    EXPECT_EQ(v.blue, 9);
}

TEST(CloudGrid, HasNoNeighboursWithoutAFittingWidth) {
    const std::vector<Point> points = plane(2, 3, 5.0F);
    CloudGrid grid;
    for (const std::size_t width : {0U, 4U, 7U}) {
        grid.assign(points, width);
        EXPECT_FALSE(grid.organised()) << width;
        EXPECT_TRUE(grid.cells().empty()) << width;
        EXPECT_EQ(grid.vertices().size(), 6U) << width;
    }
    grid.assign({}, 3);
    EXPECT_TRUE(grid.vertices().empty());
}

TEST(CloudGrid, ForgetsTheCloudBefore) {
    CloudGrid grid;
    grid.assign(plane(4, 4, 1.0F), 4);
    grid.assign(plane(1, 2, 2.0F), 2);
    EXPECT_EQ(grid.vertices().size(), 2U);
    EXPECT_EQ(grid.cells().size(), 2U);
}

TEST(CloudGrid, SubsamplesOnePointOfEveryBlock) {
    std::vector<Point> points = plane(5, 4, 1.0F);
    points[0].z = nan;                                  // replaced by its right neighbour
    for (const std::size_t gone : {10U, 11U, 14U, 15U}) // a whole block
        points[gone].z = nan;
    CloudGrid full;
    full.assign(points, 4);
    for (const bool ofTheGrid : {true, false}) {
        CloudGrid coarse;
        if (ofTheGrid)
            coarse.subsample(full, 2);
        else
            coarse.sample(points, 4, 2);
        EXPECT_EQ(coarse.width(), 2U);
        EXPECT_EQ(coarse.height(), 3U);
        const std::vector<std::uint32_t> cells(coarse.cells().begin(), coarse.cells().end());
        EXPECT_EQ(cells, (std::vector<std::uint32_t>{0, 1, 2, CloudGrid::noVertex, 3, 4}));
        EXPECT_EQ(coarse.vertices()[0].x, 1.0F);
        EXPECT_EQ(coarse.vertices()[0].y, 0.0F);
        EXPECT_EQ(coarse.vertices()[2].x, 0.0F);
        EXPECT_EQ(coarse.vertices()[2].y, 2.0F);
        EXPECT_EQ(coarse.vertices()[4].x, 2.0F);
        EXPECT_EQ(coarse.vertices()[4].y, 4.0F);
    }
}

TEST(CloudGrid, SubsamplesPointsWithoutNeighboursEvenly) {
    CloudGrid full;
    full.assign(plane(1, 10, 1.0F), 0);
    CloudGrid coarse;
    coarse.subsample(full, 2);
    ASSERT_EQ(coarse.vertices().size(), 3U);
    EXPECT_FALSE(coarse.organised());
    EXPECT_EQ(coarse.vertices()[1].x, 4.0F);
    EXPECT_EQ(coarse.vertices()[2].x, 8.0F);
}

TEST(CloudBounds, LeaveOutliersOut) {
    std::vector<Point> points = plane(100, 101, 500.0F);
    points[5000] = at(0.0F, 0.0F, 90000.0F);
    points[77] = at(-70000.0F, 3.0F, 500.0F);
    CloudGrid grid;
    grid.assign(points, 101);
    const CloudBounds bounds = boundsOf(grid);
    EXPECT_EQ(bounds.maximum[2], 90000.0);
    EXPECT_EQ(bounds.minimum[0], -70000.0);
    EXPECT_EQ(bounds.robustMinimum[2], 500.0);
    EXPECT_EQ(bounds.robustMaximum[2], 500.0);
    // Of the 10100 values in ascending order, -70000 and then 101 zeros first, the 101st is 0 and the 9999th 99. A
    // twentieth of that more on each side: on the left there is the outlier's room, on the right the points end at 100.
    EXPECT_NEAR(bounds.robustMinimum[0], -4.95, 1e-9);
    EXPECT_EQ(bounds.robustMaximum[0], 100.0);
    EXPECT_NEAR(bounds.centre()[2], 500.0, 1e-9);
    EXPECT_GT(bounds.fullRadius(), 89000.0);
    EXPECT_LT(bounds.robustRadius(), 80.0);
}

TEST(CloudBounds, MeasureTheDistanceOfNeighbours) {
    std::vector<Point> points = plane(40, 50, 500.0F);
    for (Point& p : points)
        p.x *= 0.25F;
    for (Point& p : points)
        p.y *= 0.25F;
    CloudGrid grid;
    grid.assign(points, 50);
    EXPECT_NEAR(boundsOf(grid).spacing, 0.25, 1e-6);
    // The same points without their grid: 12.25 x 9.75 mm shared by 2000 points, sqrt(12.25 * 9.75 / 2000).
    grid.assign(points, 0);
    EXPECT_NEAR(boundsOf(grid).spacing, 0.2443742, 1e-6);
}

TEST(CloudBounds, HoldForASinglePoint) {
    CloudGrid grid;
    grid.assign(std::vector<Point>{at(1.0F, 2.0F, 300.0F)}, 1);
    const CloudBounds bounds = boundsOf(grid);
    EXPECT_EQ(bounds.centre(), (CloudBounds::Vector{1.0, 2.0, 300.0}));
    EXPECT_GT(bounds.robustRadius(), 0.0);
    grid.assign(std::vector<Point>{at(0.0F, 0.0F, 0.0F)}, 1);
    EXPECT_GT(boundsOf(grid).robustRadius(), 0.0);
}

} // namespace
