#include "vorta/reconstruction/hdr.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace Vorta;
using Reconstruction::combineClouds;
using Reconstruction::HdrChild;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

struct OnePixel {
    Point point;
    double exposure = 1.0;
};

/// Combines captures of one pixel.
Point combine(const std::vector<OnePixel>& captures) {
    std::vector<HdrChild> children;
    for (const OnePixel& capture : captures) {
        children.push_back({.cloud = PointCloud(1, 1), .exposure = capture.exposure});
        children.back().cloud[0] = capture.point;
    }
    const PointCloud result = combineClouds(children);
    EXPECT_EQ(result.size(), 1U);
    return result[0];
}

Point pointAt(float z, float contrast) {
    return {.x = 0.1F * z, .y = -0.2F * z, .z = z, .contrast = contrast, .blue = 50, .green = 60, .red = 70};
}

Point saturated(Point point) {
    point.blue = point.green = point.red = 255;
    return point;
}

Point grey(int blue, int green, int red) {
    return {.blue = static_cast<std::uint8_t>(blue),
            .green = static_cast<std::uint8_t>(green),
            .red = static_cast<std::uint8_t>(red)};
}

// Weights 80^2 = 6400 and 40^2 = 1600: a fifth of the way from the stronger to the weaker.
TEST(Hdr, AgreeingPointsAreAveragedByTheSquaresOfTheirContrasts) {
    const Point p = combine({{pointAt(700.3F, 40.0F)}, {pointAt(700.0F, 80.0F)}});
    EXPECT_NEAR(p.z, 700.06F, 1e-4F);
    EXPECT_NEAR(p.x, 70.006F, 1e-4F);
    EXPECT_NEAR(p.y, -140.012F, 1e-4F);
    EXPECT_EQ(p.contrast, 80.0F);
    EXPECT_EQ(p.alpha, 255);
}

// Weights 9, 4 and 1 at 700, 700.5 and 700.2: 700 + (4 * 0.5 + 0.2) / 14.
TEST(Hdr, AnyNumberIsAveraged) {
    const Point p = combine({{pointAt(700.5F, 20.0F)}, {pointAt(700.2F, 10.0F)}, {pointAt(700.0F, 30.0F)}});
    EXPECT_NEAR(p.z, 700.15714F, 1e-4F);
}

// 1 mm up to 700 mm; at 1400 mm four times that.
TEST(Hdr, PointsThatDisagreeAreLeftOut) {
    const auto depth = [](float leader, float other) {
        return combine({{pointAt(leader, 60.0F)}, {pointAt(other, 59.0F)}}).z;
    };
    EXPECT_GT(depth(700.0F, 700.9F), 700.4F);
    EXPECT_EQ(depth(700.0F, 701.1F), 700.0F);
    EXPECT_EQ(depth(350.0F, 351.1F), 350.0F);
    EXPECT_GT(depth(1400.0F, 1403.9F), 1401.0F);
    EXPECT_EQ(depth(1400.0F, 1404.1F), 1400.0F);
    // As far in depth, but not to the side.
    Point aside = pointAt(700.0F, 59.0F);
    aside.x += 1.1F;
    EXPECT_EQ(combine({{pointAt(700.0F, 60.0F)}, {aside}}).x, 70.0F);
}

TEST(Hdr, SaturatedPointsServeOnlyWhereThereAreNoOthers) {
    const Point strong = saturated(pointAt(700.4F, 110.0F));
    Point p = combine({{strong}, {pointAt(700.0F, 20.0F)}});
    EXPECT_EQ(p.z, 700.0F);
    EXPECT_EQ(p.contrast, 20.0F);
    p = combine({{strong}, {{.contrast = 20.0F, .blue = 1, .green = 2, .red = 3}}});
    EXPECT_EQ(p.z, 700.4F);
    EXPECT_EQ(p.contrast, 110.0F);
    EXPECT_EQ(p.green, 2);
}

TEST(Hdr, WithoutAPointTheStrongestContrastStays) {
    Point p = combine({{{.contrast = 3.0F, .green = 7}}, {{.contrast = 4.0F, .green = 9}}});
    EXPECT_TRUE(std::isnan(p.x) && std::isnan(p.y) && std::isnan(p.z));
    EXPECT_EQ(p.contrast, 4.0F);
    EXPECT_EQ(p.green, 8);
    p = combine({{saturated({.contrast = 90.0F})}, {{.contrast = 4.0F}}});
    EXPECT_EQ(p.contrast, 4.0F);
    p = combine({{{.x = 1.0F, .y = nan, .z = nan}}, {pointAt(700.0F, 0.0F)}});
    EXPECT_EQ(p.z, 700.0F);
}

TEST(Hdr, EqualExposuresAverageTheColours) {
    const Point p = combine({{grey(10, 21, 254)}, {grey(20, 21, 254)}, {grey(30, 21, 254)}});
    EXPECT_EQ(p.blue, 20);
    EXPECT_EQ(p.green, 21);
    EXPECT_EQ(p.red, 254);
}

// Both tell the light 40, 80, 120 on the scale of the longer. The exponent is ln(254 / 16) / ln(4 * 254 / 16) =
// 0.66604, so 120 becomes 254 (120 / 1016)^0.66604 = 61.23 and the others follow: 20.41 and 40.82.
TEST(Hdr, ColoursAreBroughtToOneExposure) {
    const Point p = combine({{grey(40, 80, 120), 4.0}, {grey(10, 20, 30), 1.0}});
    EXPECT_EQ(p.blue, 20);
    EXPECT_EQ(p.green, 41);
    EXPECT_EQ(p.red, 61);
    // The curve's two fixed points.
    EXPECT_EQ(combine({{grey(16, 16, 16), 4.0}, {grey(4, 4, 4), 1.0}}).green, 16);
    EXPECT_EQ(combine({{saturated({}), 4.0}, {grey(254, 254, 254), 1.0}}).green, 254);
    EXPECT_EQ(combine({{grey(0, 0, 0), 4.0}, {grey(0, 0, 0), 1.0}}).green, 0);
}

TEST(Hdr, ColourStaysWhiteOnlyWhereEveryChildIsSaturated) {
    Point p = combine({{saturated({}), 4.0}, {saturated({}), 1.0}});
    EXPECT_EQ(p.blue, 255);
    EXPECT_EQ(p.green, 255);
    EXPECT_EQ(p.red, 255);
    p = combine({{saturated({}), 4.0}, {grey(255, 254, 255), 1.0}});
    EXPECT_EQ(p.green, 254);
    EXPECT_EQ(p.red, 254);
}

// Light that grows evenly, over the level where the longer exposure saturates: no step is larger than what one grey
// level of the shorter is worth, 3.
TEST(Hdr, NoEdgeShowsWhereAChildSaturates) {
    int earlier = 0;
    for (int light = 0; light <= 16 * 254; ++light) {
        const int dim = static_cast<int>(std::lround(light / 16.0));
        const Point bright = light <= 254 ? grey(light, light, light) : saturated({});
        const int level = combine({{bright, 16.0}, {grey(dim, dim, dim), 1.0}}).green;
        EXPECT_LE(std::abs(level - earlier), 4) << light;
        EXPECT_GE(level, earlier - 1) << light;
        earlier = level;
    }
    EXPECT_EQ(earlier, 254);
}

PointCloud noisyCloud(std::size_t height, std::size_t width, unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<float> noise(700.0F, 0.1F);
    PointCloud cloud(height, width);
    for (Point& point : cloud.points())
        point = pointAt(noise(random), 50.0F);
    return cloud;
}

double deviation(const PointCloud& cloud) {
    double squares = 0.0;
    for (const Point& point : cloud.points())
        squares += (static_cast<double>(point.z) - 700.0) * (static_cast<double>(point.z) - 700.0);
    return std::sqrt(squares / static_cast<double>(cloud.size()));
}

// 20 000 samples tell a standard deviation to 0.5 %.
TEST(Hdr, EqualCapturesLowerTheNoiseByTheRootOfTheirNumber) {
    std::vector<HdrChild> children;
    for (unsigned i = 0; i < 9; ++i)
        children.push_back({.cloud = noisyCloud(100, 200, i + 1)});
    EXPECT_NEAR(deviation(children[0].cloud), 0.1, 0.002);
    EXPECT_NEAR(deviation(combineClouds(std::span(children).first(4))), 0.05, 0.001);
    EXPECT_NEAR(deviation(combineClouds(children)), 0.1 / 3.0, 0.0007);
}

TEST(Hdr, ThreadsDoNotChangeAByteNorAChild) {
    const std::vector<HdrChild> children{{.cloud = noisyCloud(50, 37, 1), .exposure = 3.0},
                                         {.cloud = noisyCloud(50, 37, 2), .exposure = 2.0}};
    const PointCloud first = children[0].cloud.clone();
    const PointCloud one = combineClouds(children, 1);
    for (const std::size_t threads : {0U, 2U, 5U}) {
        const PointCloud many = combineClouds(children, threads);
        ASSERT_EQ(many.size(), one.size());
        EXPECT_EQ(std::memcmp(many.data(), one.data(), one.size() * sizeof(Point)), 0);
    }
    EXPECT_FALSE(one.sharesDataWith(children[0].cloud));
    EXPECT_EQ(std::memcmp(first.data(), children[0].cloud.data(), first.size() * sizeof(Point)), 0);
}

std::string refusal(const std::vector<HdrChild>& children) {
    try {
        (void)combineClouds(children);
    } catch (const ArgumentInvalidException& error) {
        return error.what();
    }
    return "nothing was refused";
}

TEST(Hdr, RefusesWhatCannotBeCombined) {
    const HdrChild child{.cloud = PointCloud(4, 6)};
    EXPECT_EQ(refusal({}), "It takes at least two captures to combine. Invalid parameter: children = '0'");
    EXPECT_EQ(refusal({child}), "It takes at least two captures to combine. Invalid parameter: children = '1'");
    EXPECT_EQ(refusal({child, {}}), "A capture to combine has no points. Invalid parameter: children[1].cloud");
    for (const auto& [height, width] : {std::array<std::size_t, 2>{4, 5}, std::array<std::size_t, 2>{3, 8}})
        EXPECT_EQ(refusal({child, child, {.cloud = PointCloud(height, width)}}),
                  "The captures to combine have different sizes. Invalid parameter: children[2].cloud = '" +
                      std::to_string(width) + " x " + std::to_string(height) + "'");
    for (const double exposure : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(refusal({child, {.cloud = child.cloud, .exposure = exposure}}),
                  "An exposure must be a positive number. Invalid parameter: children[1].exposure = '" +
                      std::to_string(exposure) + "'");
}

} // namespace
