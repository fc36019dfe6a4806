#include "pointsplatter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using Vorta::CloudVertex;
using Vorta::FrameSettings;
using Vorta::PointSplatter;

constexpr std::uint32_t background = 0xff336699;

/// A picture of 100 x 60 pixels, seen from the origin along z with a focal length of 100 pixels.
class Splatter : public testing::Test {
protected:
    Splatter() {
        frame_.background = {0.2F, 0.4F, 0.6F, 0.0F};
        frame_.eye = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        setDepthRange(10.0F, 1000.0F);
        frame_.pointScale = 100.0F; // a point at 100 is one pixel wide
        frame_.nearestZ = 100.0F;
        frame_.farthestZ = 200.0F;
    }

    void setDepthRange(float nearest, float farthest) {
        const float depth = farthest - nearest;
        frame_.projection = {};
        frame_.projection[0] = 2.0F * 100.0F / width;
        frame_.projection[5] = -2.0F * 100.0F / height;
        frame_.projection[10] = (farthest + nearest) / depth;
        frame_.projection[11] = 1.0F;
        frame_.projection[14] = -2.0F * farthest * nearest / depth;
    }

    void draw(const std::vector<CloudVertex>& vertices) {
        pixels_.assign(pitch * height, 0x12345678);
        splatter_.draw(vertices, frame_, {.pixels = pixels_.data(), .width = width, .height = height, .pitch = pitch});
    }

    [[nodiscard]] std::uint32_t pixel(std::size_t column, std::size_t row) const {
        return pixels_.at(row * pitch + column);
    }

    [[nodiscard]] std::size_t coveredPixels() const {
        std::size_t covered = 0;
        for (std::size_t row = 0; row < height; ++row)
            for (std::size_t column = 0; column < width; ++column)
                covered += pixel(column, row) != background ? 1U : 0U;
        return covered;
    }

    /// A point whose middle shows at that place, in pixels from the top left corner.
    static CloudVertex at(float column, float row, float depth, std::uint8_t red = 255) {
        return {
            (column - 0.5F * width) * depth / 100.0F, (row - 0.5F * height) * depth / 100.0F, depth, 20, 10, red, 0};
    }

    static constexpr std::size_t width = 100;
    static constexpr std::size_t height = 60;
    static constexpr std::size_t pitch = 104;
    FrameSettings frame_;
    PointSplatter splatter_;
    std::vector<std::uint32_t> pixels_;
};

TEST_F(Splatter, FillsThePictureAndNothingBesideIt) {
    draw({});
    EXPECT_EQ(coveredPixels(), 0U);
    for (std::size_t row = 0; row < height; ++row)
        for (std::size_t column = width; column < pitch; ++column)
            EXPECT_EQ(pixel(column, row), 0x12345678U);
}

TEST_F(Splatter, CoversThePixelsWhoseMiddlesItCovers) {
    // 4 pixels wide at a depth of 25, about (20.3, 10.6): from 18.3 to 22.3 and from 8.6 to 12.6.
    draw({at(20.3F, 10.6F, 25.0F)});
    EXPECT_EQ(coveredPixels(), 16U);
    EXPECT_EQ(pixel(18, 9), 0xffff0a14);
    EXPECT_EQ(pixel(21, 12), 0xffff0a14);
    EXPECT_EQ(pixel(17, 9), background);
    EXPECT_EQ(pixel(22, 9), background);
    EXPECT_EQ(pixel(18, 8), background);
    EXPECT_EQ(pixel(18, 13), background);
}

TEST_F(Splatter, PointsAreNoSmallerThanAPixelAndNoWiderThanTheLimit) {
    draw({at(50.5F, 30.5F, 900.0F)});
    EXPECT_EQ(coveredPixels(), 1U);
    EXPECT_EQ(pixel(50, 30), 0xffff0a14);
    frame_.pointScale = 1e6F;
    draw({at(50.0F, 30.0F, 900.0F)});
    EXPECT_EQ(coveredPixels(), 48U * 48U);
}

TEST_F(Splatter, PointsAtTheBorderShowInPart) {
    draw({at(0.0F, 0.0F, 25.0F), at(100.0F, 60.0F, 25.0F), at(-1.9F, 30.0F, 25.0F)});
    EXPECT_EQ(pixel(0, 0), 0xffff0a14);
    EXPECT_EQ(pixel(1, 1), 0xffff0a14);
    EXPECT_EQ(pixel(99, 59), 0xffff0a14);
    EXPECT_EQ(coveredPixels(), 8U);
}

TEST_F(Splatter, TheNearestPointIsSeenWhateverTheOrder) {
    const CloudVertex front = at(50.5F, 30.5F, 50.0F, 1);
    const CloudVertex middle = at(50.5F, 30.5F, 60.0F, 2);
    const CloudVertex back = at(50.5F, 30.5F, 70.0F, 3);
    std::vector<CloudVertex> vertices{front, middle, back};
    for (int order = 0; order < 6; ++order) {
        draw(vertices);
        EXPECT_EQ(pixel(50, 30), 0xff010a14);
        std::next_permutation(vertices.begin(), vertices.end(),
                              [](const CloudVertex& a, const CloudVertex& b) { return a.z < b.z; });
    }
}

TEST_F(Splatter, OnlyWhatLiesBetweenThePlanesShows) {
    setDepthRange(50.0F, 80.0F);
    draw({at(10.0F, 10.0F, 49.0F), at(30.0F, 10.0F, 81.0F), at(50.0F, 10.0F, -60.0F), at(70.0F, 10.0F, 0.0F),
          CloudVertex{0, 0, 0, 1, 1, 1, 0}});
    EXPECT_EQ(coveredPixels(), 0U);
    draw({at(10.0F, 10.0F, 51.0F), at(30.0F, 10.0F, 79.0F)});
    EXPECT_EQ(coveredPixels(), 4U + 4U);
}

TEST_F(Splatter, DepthColorsRunFromNearToFar) {
    frame_.colored = false;
    draw({at(10.5F, 10.5F, 100.0F), at(30.5F, 10.5F, 150.0F), at(50.5F, 10.5F, 200.0F), at(70.5F, 10.5F, 90.0F),
          at(90.5F, 10.5F, 999.0F)});
    EXPECT_EQ(pixel(10, 10), 0xfffaed9e); // 0.98, 0.93, 0.62
    EXPECT_EQ(pixel(70, 10), 0xfffaed9e);
    EXPECT_EQ(pixel(50, 10), 0xff453370); // 0.27, 0.20, 0.44
    EXPECT_EQ(pixel(90, 10), 0xff453370);
    // Halfway 0.16, 0.65, 0.55, to a step of the table.
    EXPECT_NEAR((pixel(30, 10) >> 16U) & 0xffU, 41, 1);
    EXPECT_NEAR((pixel(30, 10) >> 8U) & 0xffU, 166, 1);
    EXPECT_NEAR(pixel(30, 10) & 0xffU, 140, 1);
}

TEST_F(Splatter, KeepsNothingOfTheFrameBefore) {
    draw({at(50.5F, 30.5F, 20.0F)});
    EXPECT_EQ(coveredPixels(), 25U);
    draw({at(10.5F, 10.5F, 500.0F)});
    EXPECT_EQ(coveredPixels(), 1U);
    EXPECT_EQ(pixel(50, 30), background);
}

TEST_F(Splatter, ManyPointsOnAllThreadsMakeTheSamePictureAsOneByOne) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> column(-5.0F, 105.0F);
    std::uniform_real_distribution<float> row(-5.0F, 65.0F);
    std::uniform_real_distribution<float> depth(12.0F, 600.0F);
    std::vector<CloudVertex> vertices;
    for (int i = 0; i < 100'000; ++i) {
        vertices.push_back(at(column(random), row(random), depth(random), static_cast<std::uint8_t>(i % 256)));
        vertices.back().green = static_cast<std::uint8_t>(i / 256 % 256);
        vertices.back().blue = static_cast<std::uint8_t>(i / 65536);
    }
    std::vector<double> nearest(width * height, 1e9);
    std::vector<std::uint32_t> expected(width * height, background);
    std::vector<bool> doubtful(width * height, false);
    for (const CloudVertex& v : vertices) {
        const auto z = static_cast<double>(v.z);
        const double x = 50.0 + 100.0 * static_cast<double>(v.x) / z;
        const double y = 30.0 + 100.0 * static_cast<double>(v.y) / z;
        const double half = 0.5 * std::clamp(100.0 / z, 1.0, 48.0);
        for (std::size_t r = 0; r < height; ++r) {
            const double offY = std::abs(static_cast<double>(r) + 0.5 - y) - half;
            if (offY > 1e-3)
                continue;
            for (std::size_t c = 0; c < width; ++c) {
                const double offX = std::abs(static_cast<double>(c) + 0.5 - x) - half;
                const std::size_t i = r * width + c;
                if (offX > 1e-3 || z > nearest[i] * (1.0 + 1e-6))
                    continue;
                // At the very edge of a square, and between points at the same depth, rounding decides.
                doubtful[i] = std::max(offX, offY) > -1e-3 || z > nearest[i] * (1.0 - 1e-6);
                nearest[i] = z;
                expected[i] = 0xff000000U | std::uint32_t{v.red} << 16U | std::uint32_t{v.green} << 8U | v.blue;
            }
        }
    }
    draw(vertices);
    std::size_t compared = 0;
    for (std::size_t r = 0; r < height; ++r) {
        for (std::size_t c = 0; c < width; ++c) {
            if (doubtful[r * width + c])
                continue;
            ++compared;
            ASSERT_EQ(pixel(c, r), expected[r * width + c]) << c << ", " << r;
        }
    }
    EXPECT_GT(compared, width * height * 9 / 10);
}

} // namespace
