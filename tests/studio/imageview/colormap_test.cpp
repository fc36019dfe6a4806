#include "imageview/colormap.h"

#include <bit>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <ostream>
#include <random>
#include <vector>

namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr QRgb black = 0xFF000000;
constexpr QRgb white = 0xFFFFFFFF;
constexpr QRgb blue = 0xFF0000FF;
constexpr QRgb red = 0xFFFF0000;

ColorMap mapOf(float minimum, float maximum, std::uint32_t mode) {
    ColorMap map;
    map.setup(minimum, maximum, mode);
    return map;
}

struct Depth {
    std::uint32_t mode;
    float value;
    QRgb colour;
};

void PrintTo(const Depth& depth, std::ostream* stream) {
    *stream << "mode " << depth.mode << ", depth " << depth.value;
}

/// Depths on a map from 0 to 100.
class ColourOfDepth : public testing::TestWithParam<Depth> {};

TEST_P(ColourOfDepth, IsOnTheRamp) {
    const auto& [mode, value, colour] = GetParam();
    EXPECT_EQ(mapOf(0.0F, 100.0F, mode).colourAt(value), colour);
}

INSTANTIATE_TEST_SUITE_P(Normal, ColourOfDepth,
                         testing::Values(Depth{0, 0.0F, blue},
                                         // Half of 128 and of 127, channels cut off towards the start.
                                         Depth{0, 6.25F, 0xFF0040FF}, Depth{0, 12.5F, 0xFF0080FF},
                                         Depth{0, 23.75F, 0xFF00BFFF}, Depth{0, 35.0F, 0xFF00FFFF},
                                         Depth{0, 42.5F, 0xFF00FF80}, Depth{0, 50.0F, 0xFF00FF00},
                                         Depth{0, 57.5F, 0xFF7FFF00}, Depth{0, 65.0F, 0xFFFFFF00},
                                         Depth{0, 76.25F, 0xFFFFC000}, Depth{0, 87.5F, 0xFFFF8000},
                                         Depth{0, 93.75F, 0xFFFF4000}, Depth{0, 100.0F, red}, Depth{0, -0.5F, blue},
                                         Depth{0, -infinity, blue}, Depth{0, 100.5F, red}, Depth{0, infinity, red},
                                         Depth{0, nan, red}));

INSTANTIATE_TEST_SUITE_P(BlackToWhite, ColourOfDepth,
                         testing::Values(Depth{1, 0.0F, black}, Depth{1, 25.0F, 0xFF3F3F3F},
                                         Depth{1, 50.0F, 0xFF7F7F7F}, Depth{1, 100.0F, white}, Depth{1, -1.0F, black},
                                         Depth{1, 101.0F, white}, Depth{1, nan, white}));

// A quarter of -255 is cut off to -63, so blue stays at 192.
INSTANTIATE_TEST_SUITE_P(BlueToRed, ColourOfDepth,
                         testing::Values(Depth{2, 0.0F, blue}, Depth{2, 25.0F, 0xFF3F00C0}, Depth{2, 50.0F, 0xFF7F0080},
                                         Depth{2, 100.0F, red}, Depth{2, -1.0F, blue}, Depth{2, 101.0F, red},
                                         Depth{2, nan, red}));

TEST(ColorMap, NamesItsModes) {
    EXPECT_EQ(ColorMap::modeName(0), QStringLiteral("Normal"));
    EXPECT_EQ(ColorMap::modeName(1), QStringLiteral("Black to white"));
    EXPECT_EQ(ColorMap::modeName(2), QStringLiteral("Blue to red"));
    EXPECT_EQ(ColorMap::modeName(3), QStringLiteral("Unknown"));
    EXPECT_EQ(ColorMap::modeName(0xFFFFFFFFU), QStringLiteral("Unknown"));
}

TEST(ColorMap, StartsNormalFromMinusToPlusThousand) {
    const ColorMap map;
    EXPECT_EQ(map.mode(), ColorMap::normal);
    EXPECT_EQ(map.minimum(), -1000.0F);
    EXPECT_EQ(map.maximum(), 1000.0F);
    EXPECT_EQ(map.range(), 2000.0F);
    EXPECT_EQ(map.colourAt(0.0F), 0xFF00FF00U);
}

TEST(ColorMap, ListsBothColoursOfEverySegment) {
    EXPECT_THAT(mapOf(0.0F, 100.0F, ColorMap::normal).colours(),
                testing::ElementsAre(blue, 0xFF0080FF, 0xFF0080FF, 0xFF00FFFF, 0xFF00FFFF, 0xFF00FF00, 0xFF00FF00,
                                     0xFFFFFF00, 0xFFFFFF00, 0xFFFF8000, 0xFFFF8000, red));
    EXPECT_THAT(mapOf(0.0F, 100.0F, ColorMap::blackToWhite).colours(), testing::ElementsAre(black, white));
    EXPECT_THAT(mapOf(0.0F, 100.0F, ColorMap::blueToRed).colours(), testing::ElementsAre(blue, red));
}

TEST(ColorMap, SetRangeKeepsTheMode) {
    ColorMap map = mapOf(0.0F, 100.0F, ColorMap::blackToWhite);
    map.setRange(100.0F, 200.0F);
    EXPECT_EQ(map.mode(), ColorMap::blackToWhite);
    EXPECT_EQ(map.colourAt(150.0F), 0xFF7F7F7FU);
}

TEST(ColorMap, UnknownModeIsColouredAsNormal) {
    const ColorMap map = mapOf(0.0F, 100.0F, 9);
    EXPECT_EQ(map.mode(), 9U);
    EXPECT_EQ(map.colourAt(12.5F), 0xFF0080FFU);
}

TEST(ColorMap, EmptyRangeGivesTheEndColour) {
    EXPECT_EQ(mapOf(5.0F, 5.0F, ColorMap::normal).colourAt(5.0F), red);
    EXPECT_EQ(mapOf(5.0F, 5.0F, ColorMap::blackToWhite).colourAt(5.0F), white);
    EXPECT_EQ(mapOf(5.0F, 5.0F, ColorMap::blueToRed).colourAt(5.0F), red);
    EXPECT_EQ(mapOf(5.0F, 5.0F, ColorMap::normal).colourAt(4.0F), blue);
    EXPECT_EQ(mapOf(5.0F, 5.0F, ColorMap::blackToWhite).colourAt(4.0F), black);
    EXPECT_EQ(mapOf(5.0F, 5.0F, ColorMap::blackToWhite).colourAt(6.0F), white);
}

TEST(ColorMap, RangeOfOneStepHasOneSegmentWhoseStartTheLastPointColours) {
    const float next = std::nextafter(1.0F, 2.0F);
    const ColorMap map = mapOf(1.0F, next, ColorMap::normal);
    EXPECT_THAT(map.colours(), testing::ElementsAre(red, red));
    EXPECT_EQ(map.colourAt(1.0F), red);
    EXPECT_EQ(map.colourAt(0.5F), blue);
}

TEST(ColorMap, ReversedRangeHoldsNoDepth) {
    const ColorMap map = mapOf(100.0F, 0.0F, ColorMap::normal);
    EXPECT_EQ(map.range(), -100.0F);
    EXPECT_EQ(map.colourAt(50.0F), blue);
    EXPECT_EQ(map.colourAt(150.0F), red);
}

TEST(ColorMap, RowsGetTheColoursOfTheirDepths) {
    std::mt19937 random(1);
    std::vector<float> values{nan, infinity, -infinity, 0.0F, -0.0F, 100.0F, 12.5F, 35.0F, 50.0F, 65.0F, 87.5F};
    for (const float end : {0.0F, 12.5F, 35.0F, 50.0F, 100.0F})
        for (const float towards : {-1000.0F, 1000.0F})
            values.push_back(std::nextafter(end, towards));
    for (int i = 0; i < 500'000; ++i) {
        values.push_back(static_cast<float>(random() % 14000) / 100.0F - 20.0F);
        values.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
    }
    std::ranges::shuffle(values, random);
    for (const ColorMap& map :
         {mapOf(0.0F, 100.0F, 0), mapOf(0.0F, 100.0F, 1), mapOf(0.0F, 100.0F, 2), mapOf(5.0F, 5.0F, 0),
          mapOf(100.0F, 0.0F, 0), mapOf(-infinity, 50.0F, 0), mapOf(1.0F, std::nextafter(1.0F, 2.0F), 0)}) {
        std::vector<std::uint8_t> rgb(3 * values.size());
        map.colourRow(values, rgb.data());
        for (std::size_t i = 0; i < values.size(); ++i)
            ASSERT_EQ(qRgb(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]), map.colourAt(values[i])) << values[i];
    }
}

} // namespace
