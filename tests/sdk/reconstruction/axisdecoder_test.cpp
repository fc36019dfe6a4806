// Patterns as projected, exposed by pixels at known places, and what decoding makes of them.

#include "axisdecoder.h"

#include "simulatedhead.h"
#include "support/allocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <random>

namespace {

using namespace Vorta;
using Driver::Lattice;
using Reconstruction::AxisDecoder;
using Reconstruction::Parameters;
using Reconstruction::planSequence;
using Reconstruction::SequenceLayout;
using Reconstruction::SequenceOptions;
using Simulation::Light;
using enum Reconstruction::SequenceOptions::Code;
namespace Kernels = Reconstruction::Kernels;

struct Decoded {
    std::vector<float> position;
    std::vector<std::uint16_t> halfPeriod;
    std::vector<bool> accepted;
};

Decoded decode(const SequenceLayout& layout, std::size_t axis, const Driver::ImageStack& images,
               const Parameters& parameters = {}) {
    const AxisDecoder decoder(layout.options, layout.axes[axis], Kernels::decodeVectorised());
    AxisDecoder::Buffers buffers(decoder, images.width());
    decoder.decode({.images = images, .parameters = parameters}, 0, buffers);
    const Kernels::DecodedRow row = buffers.decoded();
    const std::size_t width = images.width();
    return {.position = std::vector<float>(row.position, row.position + width),
            .halfPeriod = std::vector<std::uint16_t>(row.halfPeriod, row.halfPeriod + width),
            .accepted = std::vector<bool>(row.accepted, row.accepted + width)};
}

/// Places along both axes, from `margin` to as far before the end, 0.61 pixels apart.
std::vector<double> placesAlong(std::size_t length, double margin) {
    constexpr double step = 0.61;
    std::vector<double> places(static_cast<std::size_t>((static_cast<double>(length) - 2.0 * margin) / step) + 1);
    for (std::size_t i = 0; i < places.size(); ++i)
        places[i] = margin + step * static_cast<double>(i);
    return places;
}

Driver::ImageStack exposeRow(const SequenceLayout& layout, const std::vector<double>& places, const Light& light) {
    std::vector<std::optional<Simulation::Spot>> spots(places.size());
    std::ranges::transform(places, spots.begin(),
                           [](double place) { return Simulation::Spot{.column = place, .row = place}; });
    return Simulation::expose(layout, spots, 1, places.size(), light);
}

std::vector<SequenceOptions> everyOption(std::size_t period = 8) {
    std::vector<SequenceOptions> all;
    for (const Lattice lattice : {Lattice::Plain, Lattice::Diamond})
        for (const auto code : {Gray, ErrorCorrecting})
            for (const bool inverse : {false, true})
                all.push_back(
                    {.lattice = lattice, .code = code, .inverse = inverse, .rows = true, .periodColumns = period});
    return all;
}

std::string describe(const SequenceOptions& options) {
    return std::string(options.lattice == Lattice::Diamond ? "diamond " : "plain ") +
           (options.code == Gray ? "Gray" : "error-correcting") + (options.inverse ? " with inverses" : "");
}

// Whole grey levels of 80 leave about 0.7 / 80 radians: 0.012 pixels.
TEST(AxisDecoder, FindsEveryPlaceOfEveryProjector) {
    for (const std::size_t length : {2U, 4U, 5U, 8U, 9U, 17U, 100U, 243U, 640U, 1025U, 1280U}) {
        for (const SequenceOptions& options : everyOption()) {
            const SequenceLayout layout = planSequence(length, length, options);
            const std::vector<double> places = placesAlong(length, 0.05);
            const Driver::ImageStack images = exposeRow(layout, places, {});
            for (std::size_t axis = 0; axis < 2; ++axis) {
                const Decoded decoded = decode(layout, axis, images);
                for (std::size_t i = 0; i < places.size(); ++i) {
                    ASSERT_TRUE(decoded.accepted[i])
                        << describe(options) << ", axis " << axis << " of " << length << " at " << places[i];
                    ASSERT_NEAR(decoded.position[i], places[i], 0.015) << describe(options) << ", axis " << axis;
                }
            }
        }
    }
}

TEST(AxisDecoder, OtherPeriods) {
    for (const std::size_t period : {4U, 6U, 10U, 16U, 64U}) {
        for (const SequenceOptions& options : everyOption(period)) {
            const SequenceLayout layout = planSequence(300, 300, options);
            const std::vector<double> places = placesAlong(300, 0.05);
            const Driver::ImageStack images = exposeRow(layout, places, {});
            for (std::size_t axis = 0; axis < 2; ++axis) {
                const Decoded decoded = decode(layout, axis, images);
                for (std::size_t i = 0; i < places.size(); ++i) {
                    ASSERT_TRUE(decoded.accepted[i]) << describe(options) << ", period " << period;
                    ASSERT_NEAR(decoded.position[i], places[i], 0.0019 * static_cast<double>(period));
                }
            }
        }
    }
}

// As the projector shows them: strips of even light, or interpolated half columns, under blur, with noise of 1.5 grey
// levels; the fringes keep 0.75 to 0.9 of their 80 levels, so the noise is 8 / (2 pi) * 1.5 / (60 sqrt 2) = 0.023
// pixels.
TEST(AxisDecoder, EdgesUnderBlurAndNoise) {
    for (const SequenceOptions& options : everyOption()) {
        const SequenceLayout layout = planSequence(1024, 768, options);
        for (const double blur : {0.5, 0.9}) {
            const std::vector<double> places = placesAlong(768, 3.0);
            const Driver::ImageStack images = exposeRow(layout, places, {.noise = 1.5, .blurPixels = blur});
            for (std::size_t axis = 0; axis < 2; ++axis) {
                const Decoded decoded = decode(layout, axis, images);
                double squares = 0.0;
                for (std::size_t i = 0; i < places.size(); ++i) {
                    ASSERT_TRUE(decoded.accepted[i]) << describe(options) << ", blur " << blur << " at " << places[i];
                    const double error = static_cast<double>(decoded.position[i]) - places[i];
                    ASSERT_LT(std::abs(error), 0.16) << describe(options) << ", blur " << blur << " at " << places[i];
                    squares += error * error;
                }
                EXPECT_LT(std::sqrt(squares / static_cast<double>(places.size())), 0.03) << describe(options);
            }
        }
    }
}

/// Turns the reading of a code bit at a pixel round, clearly.
void flip(const SequenceLayout& layout, std::size_t bit, std::size_t pixel, Driver::ImageStack& images) {
    const Reconstruction::AxisLayout& axis = layout.axes.front();
    const std::size_t images_per_bit = layout.options.inverse ? 2 : 1;
    std::uint8_t& level = images.image(axis.firstBit + images_per_bit * bit)[pixel];
    const bool wasLit = level > 85;
    level = wasLit ? 10 : 160;
    if (layout.options.inverse)
        images.image(axis.firstBit + 2 * bit + 1)[pixel] = wasLit ? 160 : 10;
}

TEST(AxisDecoder, OneOrTwoWrongBitsAreRepaired) {
    for (const bool inverse : {false, true}) {
        const SequenceLayout layout = planSequence(1024, 1, {.code = ErrorCorrecting, .inverse = inverse});
        std::vector<double> places;
        std::vector<std::pair<std::size_t, std::size_t>> wrong;
        for (std::size_t a = 0; a < 16; ++a)
            for (std::size_t b = 0; b <= a; ++b) {
                places.push_back(2.0 + 4.0 * static_cast<double>((places.size() * 37) % 256));
                wrong.emplace_back(a, b);
            }
        Driver::ImageStack images = exposeRow(layout, places, {});
        for (std::size_t i = 0; i < wrong.size(); ++i) {
            flip(layout, wrong[i].first, i, images);
            if (wrong[i].second != wrong[i].first)
                flip(layout, wrong[i].second, i, images);
        }
        const Decoded decoded = decode(layout, 0, images);
        for (std::size_t i = 0; i < places.size(); ++i) {
            ASSERT_TRUE(decoded.accepted[i]) << wrong[i].first << ' ' << wrong[i].second;
            ASSERT_NEAR(decoded.position[i], places[i], 0.02) << wrong[i].first << ' ' << wrong[i].second;
        }
    }
}

// Three wrong bits can lead to a word that differs from the right one in five; but words at an odd distance have
// numbers of the other parity, and the phase tells these apart.
TEST(AxisDecoder, ThreeWrongBitsAreRecognised) {
    const SequenceLayout layout = planSequence(1024, 1, {.code = ErrorCorrecting});
    const std::vector<double> places(560, 402.0); // the middle of half period 100
    Driver::ImageStack images = exposeRow(layout, places, {});
    std::size_t pixel = 0;
    for (std::size_t a = 0; a < 16; ++a)
        for (std::size_t b = 0; b < a; ++b)
            for (std::size_t c = 0; c < b; ++c, ++pixel)
                for (const std::size_t bit : {a, b, c})
                    flip(layout, bit, pixel, images);
    const Decoded decoded = decode(layout, 0, images);
    for (std::size_t i = 0; i < places.size(); ++i)
        EXPECT_FALSE(decoded.accepted[i]) << i;
}

TEST(AxisDecoder, OneWrongBitOfAGrayCodeGoesUnseenUnlessThePhaseContradicts) {
    const SequenceLayout layout = planSequence(1024, 1, {});
    const std::vector<double> places(8, 402.0); // the middle of half period 100
    Driver::ImageStack images = exposeRow(layout, places, {});
    for (std::size_t bit = 0; bit < 8; ++bit)
        flip(layout, bit, bit, images);
    const Decoded decoded = decode(layout, 0, images);
    for (std::size_t bit = 0; bit < 8; ++bit) {
        // Flipping Gray bit 7 - bit mirrors the number in blocks of 2^(8 - bit).
        EXPECT_EQ(decoded.halfPeriod[bit], 100U ^ ((1U << (8 - bit)) - 1)) << bit;
        // Mirroring swaps odd and even half periods, and the phase tells these apart.
        EXPECT_FALSE(decoded.accepted[bit]);
    }
}

// Bits that are all undecided, as where two paths of light carry opposite codes, must not be taken for some word.
TEST(AxisDecoder, UndecidedBitsAreNotGuessed) {
    const SequenceLayout layout = planSequence(1024, 1, {.code = ErrorCorrecting});
    std::mt19937 random(3);
    const std::vector<double> places(2000, 402.0);
    Driver::ImageStack images = exposeRow(layout, places, {});
    std::size_t accepted = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        // Phase images at 7 + 80 on average.
        for (std::size_t bit = 0; bit < 16; ++bit)
            images.image(4 + bit)[i] = static_cast<std::uint8_t>(86 + random() % 3);
    }
    const Decoded decoded = decode(layout, 0, images);
    for (std::size_t i = 0; i < places.size(); ++i)
        accepted += decoded.accepted[i] ? 1U : 0U;
    EXPECT_LT(accepted, 5U);
}

TEST(AxisDecoder, AllocatesNothing) {
    for (const SequenceOptions& options : everyOption()) {
        const SequenceLayout layout = planSequence(64, 48, options);
        const Driver::ImageStack images = exposeRow(layout, placesAlong(48, 1.0), {});
        const AxisDecoder decoder(layout.options, layout.axes[1], Kernels::decodeVectorised());
        AxisDecoder::Buffers buffers(decoder, images.width());
        const Parameters parameters{.rejectReflections = true, .gamma = 1.8};
        const std::size_t count = allocationCount();
        decoder.decode({.images = images, .parameters = parameters}, 0, buffers);
        EXPECT_EQ(allocationCount() - count, 0U) << describe(options);
    }
}

struct Shares {
    double wrong = 0.0;
    double invalid = 0.0;
};

Shares measure(const SequenceOptions& options, const Light& light) {
    const SequenceLayout layout = planSequence(1024, 1, options);
    std::vector<double> places;
    for (int repetition = 0; repetition < 12; ++repetition)
        for (const double place : placesAlong(1024, 4.0))
            places.push_back(place);
    const Decoded decoded = decode(layout, 0, exposeRow(layout, places, light));
    Shares shares;
    for (std::size_t i = 0; i < places.size(); ++i) {
        shares.invalid += decoded.accepted[i] ? 0.0 : 1.0;
        // Half a half period: noise of the phase is no wrong code.
        shares.wrong +=
            decoded.accepted[i] && std::abs(static_cast<double>(decoded.position[i]) - places[i]) > 2.0 ? 1.0 : 0.0;
    }
    shares.wrong /= static_cast<double>(places.size());
    shares.invalid /= static_cast<double>(places.size());
    return shares;
}

// What the redundant bits are good for, in shares of all pixels.
TEST(AxisDecoder, BenefitOfTheErrorCorrectingCode) {
    const std::pair<const char*, Light> lights[] = {
        {"noise 3 of 20", {.white = 20.0, .noise = 3.0, .blurPixels = 0.6}},
        {"noise 4 of 20", {.white = 20.0, .noise = 4.0, .blurPixels = 0.6}},
        {"gloss of 0.4", {.white = 60.0, .noise = 4.0, .blurPixels = 0.6, .echo = {.share = 0.4, .columns = 171.0}}},
        {"gloss of 0.6", {.white = 60.0, .noise = 4.0, .blurPixels = 0.6, .echo = {.share = 0.6, .columns = 171.0}}},
        {"gloss of 0.8", {.white = 60.0, .noise = 4.0, .blurPixels = 0.6, .echo = {.share = 0.8, .columns = 171.0}}}};
    for (const auto& [name, light] : lights) {
        const Shares gray = measure({}, light);
        const Shares pairs = measure({.inverse = true}, light);
        const Shares repaired = measure({.code = ErrorCorrecting}, light);
        const Shares repairedPairs = measure({.code = ErrorCorrecting, .inverse = true}, light);
        const auto print = [](const char* code, const Shares& shares) {
            std::cout << "  " << code << ' ' << std::setprecision(3) << 100.0 * shares.wrong << " / "
                      << 100.0 * shares.invalid;
        };
        std::cout << name << ", % wrong / invalid:";
        print("Gray", gray);
        print("Gray with inverses", pairs);
        print("error-correcting", repaired);
        print("error-correcting with inverses", repairedPairs);
        std::cout << '\n';
        EXPECT_LE(repaired.wrong, gray.wrong) << name;
        EXPECT_LT(repaired.wrong + repaired.invalid, gray.wrong + gray.invalid) << name;
        EXPECT_LE(repairedPairs.wrong, pairs.wrong) << name;
    }
}

} // namespace
