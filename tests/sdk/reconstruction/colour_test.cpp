#include "vorta/reconstruction/reconstructor.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace Vorta;
using Driver::BayerLayout;
using Reconstruction::Parameters;
using Reconstruction::Reconstructor;

enum Channel : std::uint8_t { Red, Green, Blue };

Driver::Calibration headOf(std::size_t width, std::size_t height) {
    Driver::Calibration head;
    head.camera = {.width = width, .height = height, .fx = 100.0, .fy = 100.0, .cx = 0.0, .cy = 0.0};
    head.projector = {.width = 8, .height = 8, .fx = 10.0, .fy = 10.0, .cx = 3.5, .cy = 3.5};
    head.translationMm = {-50.0, 0.0, 0.0};
    return head;
}

/// The colour of a pixel of the mosaic, as its layout's name spells the cell.
Channel channelAt(BayerLayout layout, std::size_t row, std::size_t column) {
    const char* const cell = layout == BayerLayout::GRBG   ? "GRBG"
                             : layout == BayerLayout::RGGB ? "RGGB"
                             : layout == BayerLayout::BGGR ? "BGGR"
                                                           : "GBRG";
    const char letter = cell[2 * (row % 2) + column % 2];
    return letter == 'R' ? Red : letter == 'G' ? Green : Blue;
}

constexpr std::array allLayouts{BayerLayout::GRBG, BayerLayout::RGGB, BayerLayout::BGGR, BayerLayout::GBRG};

/// Colours of a capture whose phase images all hold `level(row, column)` / 2, so that full light reads that level.
template <typename Level>
PointCloud colours(std::size_t width, std::size_t height, BayerLayout layout, Level level,
                   const Parameters& parameters = {}) {
    const Driver::Calibration head = headOf(width, height);
    const Reconstruction::SequenceLayout sequence = Reconstruction::planSequence(8, 8);
    Driver::ImageStack images;
    images.resize(sequence.imageCount, height, width);
    for (std::size_t image = 0; image < 4; ++image)
        for (std::size_t row = 0; row < height; ++row)
            for (std::size_t column = 0; column < width; ++column)
                images.row(image, row)[column] = static_cast<std::uint8_t>(level(row, column) / 2);
    PointCloud cloud;
    Reconstructor(head, sequence, {.bayerLayout = layout}).reconstruct(images, parameters, cloud);
    return cloud;
}

std::array<int, 3> bgr(const Point& p) {
    return {p.blue, p.green, p.red};
}

TEST(Colour, EvenColourIsTheSameEverywhereForEveryLayout) {
    for (const BayerLayout layout : allLayouts) {
        for (const std::size_t width : {2U, 3U, 17U, 64U, 243U}) {
            const PointCloud cloud = colours(width, 5, layout, [&](std::size_t row, std::size_t column) {
                return std::array{200, 120, 60}[channelAt(layout, row, column)];
            });
            for (const Point& point : cloud.points()) {
                ASSERT_EQ(bgr(point), (std::array{60, 120, 200}));
                ASSERT_EQ(point.alpha, 255);
            }
        }
    }
}

// Bilinear by hand, RGGB 4 x 4, levels:
//   R 20  G 40  R 60  G 80
//   G 100 B 120 G 140 B 160
//   R 30  G 50  R 70  G 90
//   G 110 B 130 G 150 B 170
TEST(Colour, BilinearByHand) {
    constexpr int levels[4][4] = {{20, 40, 60, 80}, {100, 120, 140, 160}, {30, 50, 70, 90}, {110, 130, 150, 170}};
    const PointCloud cloud =
        colours(4, 4, BayerLayout::RGGB, [&](std::size_t row, std::size_t column) { return levels[row][column]; });
    // Blue site: green (40 + 100 + 140 + 50) / 4 = 82.5, red (20 + 60 + 30 + 70) / 4 = 45.
    EXPECT_EQ(bgr(cloud(1, 1)), (std::array{120, 83, 45}));
    // Red site: green (50 + 140 + 90 + 150) / 4 = 107.5, blue (120 + 160 + 130 + 170) / 4 = 145.
    EXPECT_EQ(bgr(cloud(2, 2)), (std::array{145, 108, 70}));
    // Green in a blue row: blue (120 + 160) / 2, red (60 + 70) / 2.
    EXPECT_EQ(bgr(cloud(1, 2)), (std::array{140, 140, 65}));
    // Green in a red row: red (30 + 70) / 2, blue (120 + 130) / 2.
    EXPECT_EQ(bgr(cloud(2, 1)), (std::array{125, 50, 50}));
    // Corners mirror: red site (0, 0): green (40 + 40 + 100 + 100) / 4, blue 120; blue site (3, 3): red 70.
    EXPECT_EQ(bgr(cloud(0, 0)), (std::array{120, 70, 20}));
    EXPECT_EQ(bgr(cloud(3, 3)), (std::array{170, 120, 70}));
}

TEST(Colour, SinglePixelsAndLines) {
    const auto grey = [](std::size_t, std::size_t) { return 100; };
    for (const BayerLayout layout : allLayouts) {
        EXPECT_EQ(bgr(colours(1, 1, layout, grey)(0, 0)), (std::array{100, 100, 100}));
        for (const PointCloud& line : {colours(1, 7, layout, grey), colours(37, 1, layout, grey)})
            for (const Point& point : line.points())
                EXPECT_EQ(bgr(point), (std::array{100, 100, 100}));
    }
}

TEST(Colour, BalanceScalesRedAndBlue) {
    const auto grey = [](std::size_t, std::size_t) { return 100; };
    for (const BayerLayout layout : allLayouts) {
        const PointCloud cloud = colours(35, 6, layout, grey, {.redBalance = 1.5, .blueBalance = 0.25});
        for (const Point& point : cloud.points())
            ASSERT_EQ(bgr(point), (std::array{25, 100, 150}));
        const PointCloud strong = colours(35, 6, layout, grey, {.redBalance = 100.0, .blueBalance = 0.0});
        for (const Point& point : strong.points())
            ASSERT_EQ(bgr(point), (std::array{0, 100, 255}));
    }
}

// All four images at 50: the light's mean is 50 - 4, its full reading 2 * 46.
TEST(Colour, BlackLevelIsTakenOff) {
    const auto grey = [](std::size_t, std::size_t) { return 100; };
    EXPECT_EQ(bgr(colours(3, 3, BayerLayout::RGGB, grey, {.blackLevel = 4.0})(1, 1)), (std::array{92, 92, 92}));
    EXPECT_EQ(bgr(colours(3, 3, BayerLayout::RGGB, grey, {.blackLevel = 200.0})(1, 1)), (std::array{0, 0, 0}));
}

// ITU-R BT.601: 0.299 * 200 + 0.587 * 120 + 0.114 * 60 = 137.08.
TEST(Colour, GrayIsTheLuma) {
    const auto coloured = [](std::size_t row, std::size_t column) {
        return std::array{200, 120, 60}[channelAt(BayerLayout::RGGB, row, column)];
    };
    for (const auto mode : {Parameters::ColourMode::Raw, Parameters::ColourMode::Gray, Parameters::ColourMode::Color}) {
        const PointCloud cloud = colours(37, 5, BayerLayout::RGGB, coloured, {.colourMode = mode});
        const bool isGray = mode == Parameters::ColourMode::Gray;
        for (const Point& point : cloud.points()) {
            ASSERT_EQ(bgr(point), isGray ? (std::array{137, 137, 137}) : (std::array{60, 120, 200}));
            ASSERT_EQ(point.alpha, 255);
        }
    }
}

// With gamma 2 and a black level of 10, levels of 110 hold (100 / 255)^2 * 255 = 39.2 of light: 39, doubled.
TEST(Colour, IsLinearised) {
    const auto grey = [](std::size_t, std::size_t) { return 220; };
    EXPECT_EQ(bgr(colours(3, 3, BayerLayout::RGGB, grey, {.blackLevel = 10.0, .gamma = 2.0})(1, 1)),
              (std::array{78, 78, 78}));
}

TEST(Colour, SaturatedPixelsAreWhiteAndNoOthers) {
    for (const BayerLayout layout : allLayouts) {
        const Driver::Calibration head = headOf(40, 9);
        const Reconstruction::SequenceLayout sequence = Reconstruction::planSequence(8, 8);
        Driver::ImageStack images;
        images.resize(sequence.imageCount, 9, 40);
        for (std::size_t image = 0; image < 4; ++image)
            std::ranges::fill(images.image(image), std::uint8_t{254});
        images.row(2, 4)[17] = 255; // one image is enough
        images.row(0, 0)[39] = 255;
        PointCloud cloud;
        Reconstructor(head, sequence, {.bayerLayout = layout}).reconstruct(images, {}, cloud);
        for (std::size_t row = 0; row < 9; ++row)
            for (std::size_t column = 0; column < 40; ++column) {
                const bool white = bgr(cloud(row, column)) == std::array{255, 255, 255};
                EXPECT_EQ(white, (row == 4 && column == 17) || (row == 0 && column == 39)) << row << " " << column;
            }
    }
}

} // namespace
