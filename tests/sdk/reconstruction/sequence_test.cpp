#include "vorta/reconstruction/sequence.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

#include <bit>

namespace {

using namespace Vorta;
using Driver::Axis;
using Driver::Lattice;
using Reconstruction::AxisLayout;
using Reconstruction::generateSequence;
using Reconstruction::planSequence;
using Reconstruction::SequenceLayout;
using Reconstruction::SequenceOptions;
using enum Reconstruction::SequenceOptions::Code;

TEST(Sequence, LayoutOfADefaultProjector) {
    const SequenceLayout layout = planSequence(1024, 768);
    ASSERT_EQ(layout.axes.size(), 1U);
    EXPECT_EQ(layout.options, SequenceOptions{});
    EXPECT_EQ(layout.projectorWidth, 1024U);
    EXPECT_EQ(layout.projectorHeight, 768U);
    // 256 half periods of 4 columns.
    EXPECT_EQ(layout.axes.front(), (AxisLayout{.axis = Axis::Columns,
                                               .lineCount = 1024,
                                               .linesPerPixel = 1,
                                               .periodLines = 8,
                                               .firstPhase = 0,
                                               .numberBits = 8,
                                               .bitCount = 8,
                                               .firstBit = 4}));
    EXPECT_EQ(layout.imageCount, 12U);
}

TEST(Sequence, HalfColumnsOfTheDiamondLattice) {
    const SequenceLayout layout = planSequence(1024, 768, {.lattice = Lattice::Diamond, .rows = true});
    ASSERT_EQ(layout.axes.size(), 2U);
    EXPECT_EQ(layout.axes[0], (AxisLayout{.axis = Axis::Columns,
                                          .lineCount = 2048,
                                          .linesPerPixel = 2,
                                          .periodLines = 16,
                                          .firstPhase = 0,
                                          .numberBits = 8,
                                          .bitCount = 8,
                                          .firstBit = 4}));
    // 192 half periods of 4 rows.
    EXPECT_EQ(layout.axes[1], (AxisLayout{.axis = Axis::Rows,
                                          .lineCount = 768,
                                          .linesPerPixel = 1,
                                          .periodLines = 8,
                                          .firstPhase = 12,
                                          .numberBits = 8,
                                          .bitCount = 8,
                                          .firstBit = 16}));
    EXPECT_EQ(layout.imageCount, 24U);
}

TEST(Sequence, ImagesOfEveryCombination) {
    const auto images = [](const SequenceOptions& options) { return planSequence(1024, 768, options).imageCount; };
    EXPECT_EQ(images({.inverse = true}), 20U);
    EXPECT_EQ(images({.lattice = Lattice::Diamond, .inverse = true}), 20U);
    EXPECT_EQ(images({.code = ErrorCorrecting}), 20U); // 16 bits for 8
    EXPECT_EQ(images({.code = ErrorCorrecting, .inverse = true}), 36U);
    EXPECT_EQ(images({.inverse = true, .rows = true}), 40U);
    EXPECT_EQ(images({.code = ErrorCorrecting, .inverse = true, .rows = true}), 72U);
    EXPECT_EQ(images({.periodColumns = 16}), 11U);
    EXPECT_EQ(images({.periodColumns = 4}), 13U);
}

TEST(Sequence, BitsCoverEveryHalfPeriod) {
    const auto bits = [](std::size_t width) { return planSequence(width, 1).axes.front().numberBits; };
    EXPECT_EQ(bits(1), 1U);
    EXPECT_EQ(bits(4), 1U);
    EXPECT_EQ(bits(8), 1U);
    EXPECT_EQ(bits(9), 2U); // 3 half periods
    EXPECT_EQ(bits(16), 2U);
    EXPECT_EQ(bits(17), 3U);
    EXPECT_EQ(bits(1025), 9U);
    EXPECT_EQ(bits(std::size_t{4} * 65536), 16U);
}

TEST(Sequence, EveryImageHasOneUse) {
    for (const bool inverse : {false, true}) {
        const SequenceLayout layout = planSequence(1280, 800, {.inverse = inverse, .rows = true});
        std::vector<int> uses(layout.imageCount, 0);
        for (const AxisLayout& axis : layout.axes) {
            for (std::size_t k = 0; k < AxisLayout::phaseSteps; ++k)
                ++uses.at(axis.firstPhase + k);
            for (std::size_t k = 0; k < (inverse ? 2 : 1) * axis.bitCount; ++k)
                ++uses.at(axis.firstBit + k);
        }
        EXPECT_EQ(uses, std::vector<int>(layout.imageCount, 1));
    }
}

TEST(Sequence, PhaseLevelsByHand) {
    const Driver::PatternSequence sequence = generateSequence(planSequence(16, 1));
    // Line 0's centre lies pi / 8 into the period: cos = 0.9238795, sin = 0.3826834.
    EXPECT_NEAR(sequence.patterns[0].levels[0], 0.96193977F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[1].levels[0], 0.30865828F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[2].levels[0], 0.03806023F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[3].levels[0], 0.69134172F, 1e-6F);
    // One period on the levels repeat; half a period on they are mirrored.
    for (std::size_t line = 0; line < 8; ++line)
        EXPECT_NEAR(sequence.patterns[0].levels[line], sequence.patterns[0].levels[line + 8], 1e-6F);
    EXPECT_NEAR(sequence.patterns[0].levels[4], 0.03806023F, 1e-6F);
}

// Half column 0's centre lies pi / 16 into the period of 16 half columns: cos = 0.9807853, sin = 0.1950903.
TEST(Sequence, PhaseLevelsOfHalfColumnsByHand) {
    const Driver::PatternSequence sequence = generateSequence(planSequence(16, 1, {.lattice = Lattice::Diamond}));
    ASSERT_EQ(sequence.patterns[0].levels.size(), 32U);
    EXPECT_NEAR(sequence.patterns[0].levels[0], 0.99039264F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[1].levels[0], 0.40245484F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[2].levels[0], 0.00960736F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[3].levels[0], 0.59754516F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[0].levels[8], 0.00960736F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[0].levels[16], 0.99039264F, 1e-6F);
}

/// A pattern as one character per half period.
std::string drawing(const Driver::Pattern& pattern, std::size_t halfLines) {
    std::string text;
    for (std::size_t line = 0; line < pattern.levels.size(); ++line) {
        const float level = pattern.levels[line];
        EXPECT_TRUE(level == 0.0F || level == 1.0F);
        if (line % halfLines == 0)
            text += level > 0.5F ? '1' : '0';
        EXPECT_EQ(level > 0.5F, text.back() == '1');
    }
    return text;
}

TEST(Sequence, BitsAreTheGrayCodeOfTheHalfPeriod) {
    for (const Lattice lattice : {Lattice::Plain, Lattice::Diamond}) {
        // 8 half periods of 4 columns, 3 bits, most significant first.
        const std::size_t halfLines = lattice == Lattice::Diamond ? 8 : 4;
        const Driver::PatternSequence sequence = generateSequence(planSequence(32, 1, {.lattice = lattice}));
        ASSERT_EQ(sequence.patterns.size(), 7U);
        EXPECT_EQ(drawing(sequence.patterns[4], halfLines), "00001111");
        EXPECT_EQ(drawing(sequence.patterns[5], halfLines), "00111100");
        EXPECT_EQ(drawing(sequence.patterns[6], halfLines), "01100110");
        const Driver::PatternSequence pairs =
            generateSequence(planSequence(32, 1, {.lattice = lattice, .inverse = true}));
        ASSERT_EQ(pairs.patterns.size(), 10U);
        EXPECT_EQ(drawing(pairs.patterns[4], halfLines), "00001111");
        EXPECT_EQ(drawing(pairs.patterns[5], halfLines), "11110000");
        EXPECT_EQ(drawing(pairs.patterns[8], halfLines), "01100110");
        EXPECT_EQ(drawing(pairs.patterns[9], halfLines), "10011001");
    }
}

// Any two half periods differ in 5 images at least, neighbours in just as many.
TEST(Sequence, ErrorCorrectingImagesKeepTheirDistance) {
    const SequenceLayout layout = planSequence(1024, 1, {.code = ErrorCorrecting});
    const Driver::PatternSequence sequence = generateSequence(layout);
    std::vector<std::uint32_t> words(256, 0);
    for (std::size_t image = 4; image < 20; ++image) {
        const std::string stripes = drawing(sequence.patterns[image], 4);
        for (std::size_t half = 0; half < 256; ++half)
            words[half] = 2 * words[half] + (stripes[half] == '1' ? 1U : 0U);
    }
    for (std::size_t half = 0; half < 256; ++half)
        for (std::size_t other = 0; other < half; ++other)
            ASSERT_GE(std::popcount(words[half] ^ words[other]), 5);
    for (std::size_t half = 1; half < 256; ++half)
        ASSERT_EQ(std::popcount(words[half] ^ words[half - 1]), 5);
}

TEST(Sequence, RowsFollowTheColumns) {
    for (const Lattice lattice : {Lattice::Plain, Lattice::Diamond}) {
        const Driver::PatternSequence sequence =
            generateSequence(planSequence(100, 75, {.lattice = lattice, .rows = true}));
        const Driver::PatternSequence columns = generateSequence(planSequence(100, 75, {.lattice = lattice}));
        const Driver::PatternSequence turned = generateSequence(planSequence(75, 100));
        EXPECT_EQ(sequence.lattice, lattice);
        ASSERT_EQ(sequence.patterns.size(), columns.patterns.size() + turned.patterns.size());
        for (std::size_t image = 0; image < sequence.patterns.size(); ++image) {
            const bool isColumns = image < columns.patterns.size();
            const Driver::Pattern& expected =
                isColumns ? columns.patterns[image] : turned.patterns[image - columns.patterns.size()];
            EXPECT_EQ(sequence.patterns[image].axis, isColumns ? Axis::Columns : Axis::Rows);
            EXPECT_EQ(sequence.patterns[image].levels, expected.levels);
        }
    }
}

TEST(Sequence, RefusesWhatCannotBeCoded) {
    const auto message = [](std::size_t width, std::size_t height, const SequenceOptions& options) -> std::string {
        try {
            (void)planSequence(width, height, options);
        } catch (const ArgumentInvalidException& error) {
            return error.what();
        }
        return "";
    };
    const auto expect = [](const std::string& text, const char* part) {
        EXPECT_NE(text.find(part), std::string::npos) << text;
    };
    expect(message(0, 10, {}), "The projector has no pixels.");
    expect(message(10, 0, {}), "The projector has no pixels.");
    for (const std::size_t period : {7U, 2U, 0U})
        expect(message(100, 10, {.periodColumns = period}), "The fringe period must be an even number of columns");
    const char* const tooMany = "The projector has too many pixels for this code and fringe period.";
    expect(message(std::size_t{4} * 65536 + 1U, 10, {}), tooMany);
    expect(message(std::size_t{4} * 4096 + 1U, 10, {.code = ErrorCorrecting}), tooMany);
    expect(message(10, std::size_t{4} * 65536 + 1U, {.rows = true}), tooMany);
    EXPECT_EQ(message(std::size_t{4} * 4096, std::size_t{4} * 65536 + 1U, {.code = ErrorCorrecting}), "");
}

} // namespace
