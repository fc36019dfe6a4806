#include "initialcloud.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace {

using Vorta::makeInitialCloud;
using Vorta::Point;

TEST(InitialCloud, IsATableInFrontOfTheCamera) {
    const std::vector<Point> points = makeInitialCloud();
    ASSERT_FALSE(points.empty());
    for (const Point& p : points) {
        ASSERT_TRUE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z));
        ASSERT_GT(p.z, 400.0F);
        ASSERT_LT(p.z, 1000.0F);
    }
    const auto [left, right] =
        std::minmax_element(points.begin(), points.end(), [](const Point& a, const Point& b) { return a.x < b.x; });
    EXPECT_NEAR(right->x, 200.0F, 1e-3F);
    EXPECT_NEAR(left->x, -200.0F, 1.0F);
}

TEST(InitialCloud, ShowsTheAxesInTheirColours) {
    // The farthest point of each colour lies 70 mm along its axis from the near left corner of the table.
    const std::vector<Point> points = makeInitialCloud();
    const auto extent = [&](auto isColor, float Point::*axis) {
        float low = 1e9F;
        float high = -1e9F;
        for (const Point& p : points) {
            if (!isColor(p))
                continue;
            low = std::min(low, p.*axis);
            high = std::max(high, p.*axis);
        }
        return high - low;
    };
    const auto isRed = [](const Point& p) { return p.red > p.green + 60 && p.red > p.blue + 60; };
    const auto isGreen = [](const Point& p) { return p.green > p.red + 60 && p.green > p.blue + 60; };
    const auto isBlue = [](const Point& p) { return p.blue > p.red + 60 && p.blue > p.green + 60; };
    EXPECT_NEAR(extent(isRed, &Point::x), 70.0F, 1e-2F);
    EXPECT_NEAR(extent(isGreen, &Point::y), 70.0F, 1e-2F);
    EXPECT_NEAR(extent(isBlue, &Point::z), 70.0F, 1e-2F);
    EXPECT_LT(extent(isRed, &Point::z), 3.0F);
}

} // namespace
