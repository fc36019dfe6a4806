#include "tonecurve.h"

#include "simulatedhead.h"

#include "vorta/reconstruction/reconstructor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

using namespace Vorta;
using Reconstruction::Parameters;
using Reconstruction::ToneCurve;

std::vector<std::uint8_t> everyLevel() {
    std::vector<std::uint8_t> levels(256);
    std::iota(levels.begin(), levels.end(), std::uint8_t{0});
    return levels;
}

TEST(ToneCurve, LinearLevelsAreNotTouched) {
    const std::vector<std::uint8_t> levels = everyLevel();
    const ToneCurve curve(Parameters{.saturationLevel = 200, .blackLevel = 12.0});
    EXPECT_EQ(curve.apply(levels, nullptr), levels.data());
    EXPECT_EQ(curve.saturationLevel(), 200);
    EXPECT_EQ(curve.blackLevel(), 12.0);
}

// By hand: level 132 less 4 is 128, (128 / 255)^2 * 255 = 64.25; (129 / 255)^2 * 255 = 65.3.
TEST(ToneCurve, LevelsByHand) {
    const std::vector<std::uint8_t> levels = everyLevel();
    std::vector<std::uint8_t> linear(256);
    const ToneCurve curve(Parameters{.blackLevel = 4.0, .gamma = 2.0});
    EXPECT_EQ(curve.apply(levels, linear.data()), linear.data());
    EXPECT_EQ(linear[0], 0);
    EXPECT_EQ(linear[4], 0);
    EXPECT_EQ(linear[132], 64);
    EXPECT_EQ(linear[133], 65);
    EXPECT_EQ(linear[254], 245); // (250 / 255)^2 * 255 = 245.1
    EXPECT_EQ(linear[255], 255); // saturated
    EXPECT_EQ(curve.saturationLevel(), 255);
    EXPECT_EQ(curve.blackLevel(), 0.0);
}

TEST(ToneCurve, SaturationIsJudgedOnRawLevels) {
    const std::vector<std::uint8_t> levels = everyLevel();
    std::vector<std::uint8_t> linear(256);
    for (const double gamma : {0.25, 0.5, 0.9, 1.1, 2.2, 4.0}) {
        for (const std::uint8_t saturation : {std::uint8_t{180}, std::uint8_t{255}}) {
            const ToneCurve curve(Parameters{.saturationLevel = saturation, .gamma = gamma});
            (void)curve.apply(levels, linear.data());
            for (std::size_t level = 0; level < 256; ++level)
                ASSERT_EQ(linear[level] >= curve.saturationLevel(), level >= saturation) << gamma << ' ' << level;
            ASSERT_TRUE(std::ranges::is_sorted(linear));
        }
    }
}

/// The largest depth error on a plane, and how many points there are.
std::pair<double, std::ptrdiff_t> planeError(double sensorGamma, double gamma) {
    const Driver::Calibration head = Simulation::smallHead(true);
    const Reconstruction::SequenceLayout layout = Simulation::sequenceFor(head);
    const Simulation::Plane plane{.normal = {0.1, 0.05, 0.99}};
    const Simulation::Light light{.ambient = 30.0, .gamma = sensorGamma};
    PointCloud cloud;
    Reconstruction::Reconstructor(head, layout)
        .reconstruct(Simulation::render(head, layout, plane, light), {.blackLevel = 4.0, .gamma = gamma}, cloud);
    double largest = 0.0;
    for (std::size_t row = 0; row < cloud.height(); ++row)
        for (std::size_t column = 0; column < cloud.width(); ++column)
            if (cloud(row, column).isValid())
                largest = std::max(largest, std::abs(static_cast<double>(cloud(row, column).z) -
                                                     Simulation::see(head, plane, row, column).value().point[2]));
    return {largest, std::ranges::count_if(cloud.points(), &Point::isValid)};
}

// Four steps let a tone curve's second harmonic pass but not its third, which bends the phase.
TEST(ToneCurve, GivesThePlaneBack) {
    const auto [linear, linearCount] = planeError(1.0, 1.0);
    EXPECT_LT(linear, 0.06);
    for (const double gamma : {0.6, 2.2}) {
        const auto [corrected, count] = planeError(gamma, gamma);
        EXPECT_LT(corrected, 0.1) << gamma;
        EXPECT_NEAR(static_cast<double>(count), static_cast<double>(linearCount), 20.0) << gamma;
    }
    EXPECT_GT(planeError(2.2, 1.0).first, 0.1);
}

} // namespace
