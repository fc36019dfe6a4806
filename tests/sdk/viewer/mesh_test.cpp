#include "mesh.h"
#include "sdk/viewer/points.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using Vorta::CloudGrid;
using Vorta::meshGrid;
using Vorta::Point;
using Vorta::Testing::at;

using Indices = std::vector<std::uint32_t>;

Point missing() {
    return at(0.0, 0.0, std::numeric_limits<double>::quiet_NaN());
}

Indices meshOf(const std::vector<Point>& points, std::size_t width) {
    CloudGrid grid;
    grid.assign(points, width);
    Indices indices{99};
    meshGrid(grid, indices);
    return indices;
}

/// Four points a millimetre apart at the depths given, half a metre from the camera: a b / c d.
std::vector<Point> square(double a, double b, double c, double d) {
    return {at(0, 0, 500 + a), at(1, 0, 500 + b), at(0, 1, 500 + c), at(1, 1, 500 + d)};
}

TEST(Mesh, JoinsFourNeighboursToTwoTriangles) {
    EXPECT_EQ(meshOf(square(0, 0, 0, 0), 2), (Indices{0, 2, 1, 1, 2, 3}));
}

TEST(Mesh, CutsAlongTheDiagonalThatBendsLess) {
    // a and d lie level, b stands out: a-d.
    EXPECT_EQ(meshOf(square(0, 2, 0, 0), 2), (Indices{0, 2, 3, 0, 3, 1}));
    // b and c lie level, d stands out: b-c.
    EXPECT_EQ(meshOf(square(0, 0, 0, 2), 2), (Indices{0, 2, 1, 1, 2, 3}));
}

TEST(Mesh, JoinsThreeNeighboursAroundAMissingOne) {
    const std::vector<Point> whole = square(0, 0, 0, 0);
    const std::vector<Indices> expected{{0, 1, 2}, {0, 1, 2}, {0, 2, 1}, {0, 2, 1}};
    for (std::size_t gone = 0; gone < 4; ++gone) {
        std::vector<Point> points = whole;
        points[gone] = missing();
        EXPECT_EQ(meshOf(points, 2), expected[gone]) << "point " << gone << " missing";
        points[(gone + 1) % 4] = missing();
        EXPECT_TRUE(meshOf(points, 2).empty());
    }
}

TEST(Mesh, LeavesDepthJumpsOpen) {
    // Four columns, a jump of 20 mm between the second and the third.
    std::vector<Point> points;
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 4; ++column)
            points.push_back(at(column, row, column < 2 ? 500 : 520));
    EXPECT_EQ(meshOf(points, 4), (Indices{0, 4, 1, 1, 4, 5, 2, 6, 3, 3, 6, 7}));
}

TEST(Mesh, LeavesGrazingSurfacesOut) {
    // A slope rising s mm per mm is seen at atan(s) off its normal: 79.9 degrees at 5.61, 80.1 degrees at 5.73.
    const auto slope = [](double s) {
        return std::vector<Point>{at(0, 0, 5000), at(1, 0, 5000 + s), at(0, 1, 5000), at(1, 1, 5000 + s)};
    };
    EXPECT_EQ(meshOf(slope(5.61), 2).size(), 6U);
    EXPECT_TRUE(meshOf(slope(5.73), 2).empty());
}

TEST(Mesh, LeavesBacksOut) {
    const std::vector<Point> mirrored{at(1, 0, 500), at(0, 0, 500), at(1, 1, 500), at(0, 1, 500)};
    EXPECT_TRUE(meshOf(mirrored, 2).empty());
}

TEST(Mesh, NeedsNeighbours) {
    EXPECT_TRUE(meshOf(square(0, 0, 0, 0), 0).empty());
    EXPECT_TRUE(meshOf(square(0, 0, 0, 0), 4).empty());
    EXPECT_TRUE(meshOf({}, 2).empty());
}

} // namespace
