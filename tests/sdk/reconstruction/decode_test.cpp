#include "codedpixels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

namespace {

namespace Kernels = Vorta::Reconstruction::Kernels;

constexpr double pi = std::numbers::pi;

/// Both implementations must pass everything.
class Decode : public testing::TestWithParam<bool> {
protected:
    [[nodiscard]] static const Kernels::DecodeSet& kernels() {
        return GetParam() ? Kernels::decodeVectorised() : Kernels::decodeReference();
    }
};

INSTANTIATE_TEST_SUITE_P(Implementations, Decode, testing::Bool(),
                         [](const auto& test) { return test.param ? "Vectorised" : "Reference"; });

/// The four steps of a fringe at `turns` of its period around grey level 100.
std::array<int, 4> fringe(double turns, double amplitude) {
    std::array<int, 4> levels{};
    for (std::size_t k = 0; k < 4; ++k)
        levels[k] = static_cast<int>(
            std::lround(100.0 + amplitude * std::cos(2.0 * pi * turns + 0.5 * pi * static_cast<double>(k))));
    return levels;
}

TEST_P(Decode, QuartersOfAPeriodByHand) {
    CodedPixels pixels(5, 3);
    pixels.setPhases(0, {150, 100, 50, 100}); // crest: 0 turns
    pixels.setCode(0, 2);
    pixels.setPhases(1, {100, 50, 100, 150}); // a quarter
    pixels.setCode(1, 2);
    pixels.setPhases(2, {50, 100, 150, 100}); // a half
    pixels.setCode(2, 3);
    pixels.setPhases(3, {100, 150, 100, 50}); // three quarters
    pixels.setCode(3, 3);
    pixels.setPhases(4, {140, 60, 60, 140}); // an eighth, 80 / 2 * sqrt 2
    pixels.setCode(4, 2);
    pixels.decode(kernels());
    EXPECT_EQ(pixels.accepted, std::vector<std::uint8_t>(5, 255));
    EXPECT_EQ(pixels.halfPeriod, (std::vector<std::uint16_t>{2, 2, 3, 3, 2}));
    EXPECT_NEAR(pixels.position[0], 8.0F, 1e-5F);
    EXPECT_NEAR(pixels.position[1], 10.0F, 1e-5F);
    EXPECT_NEAR(pixels.position[2], 12.0F, 1e-5F);
    EXPECT_NEAR(pixels.position[3], 14.0F, 1e-5F);
    EXPECT_NEAR(pixels.position[4], 9.0F, 1e-5F);
    EXPECT_FLOAT_EQ(pixels.modulation[0], 50.0F);
    EXPECT_FLOAT_EQ(pixels.modulation[4], 56.568542F);
}

// Every pair of differences that four bytes can have, against the library's arc tangent.
TEST_P(Decode, PhaseOfEveryDifference) {
    constexpr int extent = 255;
    const auto indexOf = [](std::ptrdiff_t cosine) { return static_cast<std::size_t>(cosine + extent); };
    for (int sine = -extent; sine <= extent; ++sine) {
        CodedPixels pixels(2 * extent + 1, 2);
        for (int cosine = -extent; cosine <= extent; ++cosine) {
            const auto pixel = indexOf(cosine);
            pixels.setPhases(pixel, {std::max(cosine, 0), std::max(-sine, 0), std::max(-cosine, 0), std::max(sine, 0)});
            pixels.setCode(pixel, 2);
        }
        pixels.decode(kernels());
        for (int cosine = -extent; cosine <= extent; ++cosine) {
            const auto pixel = indexOf(cosine);
            const double turns = std::atan2(sine, cosine) / (2.0 * pi);
            const double error = static_cast<double>(pixels.position[pixel]) / 8.0 - turns;
            ASSERT_NEAR(error, std::round(error), 4e-7) << sine << " " << cosine;
            ASSERT_NEAR(pixels.modulation[pixel], 0.5 * std::hypot(sine, cosine), 2e-5) << sine << " " << cosine;
        }
    }
}

// All positions over all half periods of the default projector, with the right code and, within 0.9 columns of an edge,
// with the code of the neighbour.
TEST_P(Decode, NoPeriodIsLostAtAnyCodeEdge) {
    constexpr std::size_t halves = 256;
    constexpr std::size_t steps = 40; // per half period of 4 columns
    for (std::size_t half = 0; half < halves; ++half) {
        CodedPixels pixels(3 * steps, 8);
        std::vector<double> expected(3 * steps);
        std::vector<bool> asked(3 * steps, true);
        for (std::size_t step = 0; step < steps; ++step) {
            const double inside = 4.0 * (static_cast<double>(step) + 0.5) / static_cast<double>(steps);
            const double position = 4.0 * static_cast<double>(half) + inside;
            for (std::size_t reading = 0; reading < 3; ++reading) {
                const std::size_t pixel = 3 * step + reading;
                expected[pixel] = position;
                std::size_t code = half;
                if (reading == 1 && half > 0) {
                    code = half - 1;
                    asked[pixel] = inside < 0.9;
                } else if (reading == 2 && half + 1 < halves) {
                    code = half + 1;
                    asked[pixel] = inside > 3.1;
                }
                pixels.setPhases(pixel, fringe(position / 8.0, 60.0));
                pixels.setCode(pixel, code);
            }
        }
        pixels.decode(kernels());
        for (std::size_t pixel = 0; pixel < expected.size(); ++pixel) {
            if (!asked[pixel])
                continue;
            // Rounding to whole grey levels is worth at most 0.7 / 60 of a radian: 0.015 columns.
            ASSERT_NEAR(pixels.position[pixel], expected[pixel], 0.016) << "half period " << half;
            ASSERT_EQ(pixels.accepted[pixel], 255) << "half period " << half << " at " << expected[pixel];
        }
    }
}

TEST_P(Decode, CodeThatContradictsThePhaseIsRejected) {
    CodedPixels pixels(4, 8);
    for (std::size_t pixel = 0; pixel < 4; ++pixel)
        pixels.setPhases(pixel, fringe(42.0 / 8.0, 60.0)); // the middle of half period 10
    pixels.setCode(0, 10);
    pixels.setCode(1, 9);
    pixels.setCode(2, 11);
    pixels.setCode(3, 13);
    pixels.decode(kernels());
    EXPECT_EQ(pixels.accepted, (std::vector<std::uint8_t>{255, 0, 0, 0}));
}

TEST_P(Decode, OneUndecidedBitIsFineAtItsOwnEdgeOnly) {
    CodedPixels pixels(5, 3);
    for (std::size_t pixel = 0; pixel < 5; ++pixel)
        pixels.setPhases(pixel, fringe(0.02, 60.0));
    // Half period 4 is 110 in Gray code, 3 is 010: the first bit decides between them.
    pixels.setCode(0, 4);
    pixels.setBit(0, 0, 41, 40);
    pixels.setCode(1, 4);
    pixels.setBit(1, 0, 40, 40);
    // The last bit undecided says 4 or 7.. 110 or 111 = 5: a neighbour as well. The middle one, 110 or 100 = 7, is not.
    pixels.setCode(2, 4);
    pixels.setBit(2, 2, 39, 41);
    pixels.setCode(3, 4);
    pixels.setBit(3, 1, 41, 39);
    // Two undecided bits.
    pixels.setCode(4, 4);
    pixels.setBit(4, 0, 41, 40);
    pixels.setBit(4, 2, 40, 41);
    pixels.decode(kernels());
    EXPECT_EQ(pixels.accepted, (std::vector<std::uint8_t>{255, 255, 255, 0, 0}));
    EXPECT_NEAR(pixels.position[0], 16.16F, 0.02F); // the edge between the half periods 3 and 4 is at 16
    EXPECT_NEAR(pixels.position[1], 16.16F, 0.02F);
}

TEST_P(Decode, SmallestDifferenceThatMakesABit) {
    CodedPixels pixels(2, 3);
    for (std::size_t pixel = 0; pixel < 2; ++pixel) {
        pixels.setPhases(pixel, fringe(0.25, 60.0));
        pixels.setCode(pixel, 4);
    }
    pixels.setBit(0, 1, 43, 40);
    pixels.setBit(1, 1, 42, 40);
    pixels.decode(kernels());
    EXPECT_EQ(pixels.accepted, (std::vector<std::uint8_t>{255, 0}));
}

// Without inverses: the mean of the phases is 100, so a bit at 98 differs by 4 and one at 99 by 2.
TEST_P(Decode, BitsAgainstTheMeanOfThePhases) {
    CodedPixels pixels(6, 3);
    pixels.parameters.hasInverses = false;
    for (std::size_t pixel = 0; pixel < 6; ++pixel) {
        pixels.setPhases(pixel, {140, 60, 60, 140}); // an eighth of a period
        pixels.setBit(pixel, 0, 180, 255);           // 110 in Gray code is half period 4; the inverse says otherwise
        pixels.setBit(pixel, 1, 180, 255);
        pixels.setBit(pixel, 2, 20, 0);
    }
    pixels.setBit(1, 2, 98, 0);
    pixels.setBit(2, 2, 99, 0);  // undecided between 4 and 5
    pixels.setBit(3, 1, 101, 0); // undecided between 4 and 7
    pixels.setBit(4, 1, 102, 0);
    pixels.setPhases(5, {140, 61, 60, 141}); // mean 100.5: 102 differs by 3
    pixels.setBit(5, 1, 102, 0);
    pixels.decode(kernels());
    EXPECT_EQ(pixels.halfPeriod, std::vector<std::uint16_t>(6, 4));
    EXPECT_EQ(pixels.undecided[0], (std::vector<std::uint8_t>{0, 0, 1, 2, 0, 0}));
    EXPECT_EQ(pixels.accepted, (std::vector<std::uint8_t>{255, 255, 255, 0, 255, 255}));
    for (std::size_t pixel = 0; pixel < 5; ++pixel)
        EXPECT_FLOAT_EQ(pixels.position[pixel], 17.0F);
    pixels.parameters.minDifferenceHalves = 7; // 3.5 grey levels
    pixels.decode(kernels());
    EXPECT_EQ(pixels.undecided[0], (std::vector<std::uint8_t>{0, 0, 1, 2, 0, 2}));
}

// Every level of a bit against every sum of four phases that whole thresholds can meet, in plain arithmetic.
TEST_P(Decode, EveryLevelAgainstEveryMean) {
    for (const int least : {1, 2, 6, 7, 100, 510}) {
        for (int sum = 0; sum <= 1020; ++sum) {
            CodedPixels pixels(256, 1);
            pixels.parameters.hasInverses = false;
            pixels.parameters.minDifferenceHalves = static_cast<std::uint16_t>(least);
            for (std::size_t level = 0; level < 256; ++level) {
                pixels.setPhases(level, {sum / 4, (sum + 1) / 4, (sum + 2) / 4, (sum + 3) / 4});
                pixels.setBit(level, 0, static_cast<int>(level), 0);
            }
            kernels().readBits(pixels.in(), pixels.read(), 0, 256);
            for (int level = 0; level < 256; ++level) {
                const auto pixel = static_cast<std::size_t>(level);
                ASSERT_EQ(pixels.set[0][pixel], 4 * level > sum ? 1 : 0) << sum << ' ' << level;
                ASSERT_EQ(pixels.undecided[0][pixel], std::abs(4 * level - sum) < least ? 1 : 0) << sum << ' ' << level;
            }
        }
    }
}

// The modulation promises differences of at least 2 * 40 grey levels; half of that is too little.
TEST_P(Decode, AmbiguousBits) {
    CodedPixels pixels(4, 9);
    for (std::size_t pixel = 0; pixel < 4; ++pixel)
        pixels.setPhases(pixel, {140, 100, 60, 100});
    for (std::size_t bit = 0; bit < 9; ++bit) {
        pixels.setBit(0, bit, 140, 60);
        pixels.setBit(1, bit, 120, 80);
        pixels.setBit(2, bit, 80, 119);
        pixels.setBit(3, bit, bit < 2 ? 100 : 0, bit < 2 ? 100 : 255);
    }
    pixels.decode(kernels());
    const std::vector<float> modulation{40.0F, 40.0F, 40.0F, 40.9F};
    for (const bool hasInverses : {true, false}) {
        pixels.parameters.hasInverses = hasInverses;
        kernels().findAmbiguous(pixels.in(), modulation.data(), pixels.read().undecided, 0, 4);
        // Against the mean of 100, 120 and 80 differ by 40 just so.
        const std::uint8_t low = hasInverses ? 255 : 0;
        const std::uint8_t high = hasInverses ? 1 : 0;
        EXPECT_EQ(pixels.undecided[0], (std::vector<std::uint8_t>{0, 0, low, 128}));
        EXPECT_EQ(pixels.undecided[1], (std::vector<std::uint8_t>{0, 0, high, 1}));
    }
}

TEST_P(Decode, DarkPixelsAreRejected) {
    CodedPixels pixels(2, 3);
    pixels.setPhases(0, {7, 7, 7, 7});
    pixels.decode(kernels());
    EXPECT_EQ(pixels.accepted, (std::vector<std::uint8_t>{0, 0}));
    EXPECT_EQ(pixels.modulation, (std::vector<float>{0.0F, 0.0F}));
}

TEST_P(Decode, ModulationEqualToTheThresholdIsKept) {
    CodedPixels pixels(3, 3);
    pixels.setPhases(0, {105, 100, 95, 100}); // 5.0
    pixels.setPhases(1, {105, 100, 96, 100}); // 4.5
    pixels.setPhases(2, {103, 96, 97, 104});  // half the hypotenuse of 6 and 8: 5.0
    for (std::size_t pixel = 0; pixel < 3; ++pixel)
        pixels.setCode(pixel, 2);
    pixels.decode(kernels());
    EXPECT_EQ(pixels.accepted, (std::vector<std::uint8_t>{255, 0, 255}));
    EXPECT_EQ(pixels.modulation, (std::vector<float>{5.0F, 4.5F, 5.0F}));
}

TEST_P(Decode, SaturationInAnyPhaseImage) {
    CodedPixels pixels(5, 3);
    for (std::size_t pixel = 0; pixel < 5; ++pixel) {
        pixels.setPhases(pixel, {254, 154, 54, 154});
        pixels.setCode(pixel, 2);
    }
    for (std::size_t k = 0; k < 4; ++k)
        pixels.phaseImage(k)[k + 1] = 255;
    pixels.decode(kernels());
    EXPECT_EQ(pixels.saturated, (std::vector<std::uint8_t>{0, 255, 255, 255, 255}));
    EXPECT_EQ(pixels.accepted[0], 255);
    EXPECT_EQ(pixels.accepted[1], 0);
    EXPECT_EQ(pixels.accepted[2], 0);
    EXPECT_GT(pixels.modulation[1], 100.0F);

    pixels.parameters.rejectSaturated = false;
    pixels.decode(kernels());
    EXPECT_EQ(pixels.saturated[1], 255);
    EXPECT_EQ(pixels.accepted[1], 255);

    pixels.parameters.rejectSaturated = true;
    pixels.parameters.saturationLevel = 254;
    pixels.decode(kernels());
    EXPECT_EQ(pixels.saturated[0], 255);
    EXPECT_EQ(pixels.accepted[0], 0);
}

TEST_P(Decode, CodesOfOneToSixteenBits) {
    for (std::size_t bits = 1; bits <= 16; ++bits) {
        CodedPixels pixels(200, bits);
        const std::size_t halves = std::size_t{1} << bits;
        std::vector<std::uint16_t> expected(200);
        for (std::size_t pixel = 0; pixel < 200; ++pixel) {
            const std::size_t half = (pixel * 327) % halves;
            expected[pixel] = static_cast<std::uint16_t>(half);
            pixels.setCode(pixel, half);
            pixels.setPhases(pixel, fringe(half % 2 == 0 ? 0.25 : 0.75, 60.0));
        }
        pixels.decode(kernels());
        EXPECT_EQ(pixels.halfPeriod, expected) << bits;
        EXPECT_EQ(pixels.accepted, std::vector<std::uint8_t>(200, 255)) << bits;
        for (std::size_t pixel = 0; pixel < 200; ++pixel)
            ASSERT_FLOAT_EQ(pixels.position[pixel], 4.0F * static_cast<float>(expected[pixel]) + 2.0F) << bits;
    }
}

} // namespace
