#include "vorta/reconstruction/sequence.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

namespace {

using namespace Vorta;
using Reconstruction::AxisLayout;
using Reconstruction::generateSequence;
using Reconstruction::planSequence;
using Reconstruction::SequenceLayout;

Driver::PinholeModel projector(std::size_t width) {
    return {.width = width, .height = 10, .fx = 1.0, .fy = 1.0};
}

TEST(Sequence, LayoutOfADefaultProjector) {
    const SequenceLayout layout = planSequence(projector(1024));
    ASSERT_EQ(layout.axes.size(), 1U);
    const AxisLayout& axis = layout.axes.front();
    EXPECT_EQ(layout.lattice, Driver::Lattice::Plain);
    EXPECT_EQ(axis.axis, Driver::Axis::Columns);
    EXPECT_EQ(axis.lineCount, 1024U);
    EXPECT_EQ(axis.periodLines, 8U);
    EXPECT_EQ(axis.phaseSteps, 4U);
    EXPECT_EQ(axis.bitCount, 8U); // 256 half periods
    EXPECT_EQ(layout.imageCount, 20U);
}

TEST(Sequence, BitsCoverEveryHalfPeriod) {
    const auto bits = [](std::size_t width) { return planSequence(projector(width)).axes.front().bitCount; };
    EXPECT_EQ(bits(1), 1U);
    EXPECT_EQ(bits(4), 1U);
    EXPECT_EQ(bits(8), 1U);
    EXPECT_EQ(bits(9), 2U); // 3 half periods
    EXPECT_EQ(bits(16), 2U);
    EXPECT_EQ(bits(17), 3U);
    EXPECT_EQ(bits(1025), 9U);
    EXPECT_EQ(bits(4U * 65536U), 16U);
}

TEST(Sequence, ImagesDoNotOverlap) {
    const SequenceLayout layout = planSequence(projector(1280));
    const AxisLayout& axis = layout.axes.front();
    std::vector<int> uses(layout.imageCount, 0);
    for (std::size_t k = 0; k < axis.phaseSteps; ++k)
        ++uses.at(axis.firstPhase + k);
    for (std::size_t k = 0; k < 2 * axis.bitCount; ++k)
        ++uses.at(axis.firstBit + k);
    EXPECT_EQ(uses, std::vector<int>(layout.imageCount, 1));
}

TEST(Sequence, PhaseLevelsByHand) {
    const SequenceLayout layout = planSequence(projector(16));
    const Driver::PatternSequence sequence = generateSequence(layout);
    ASSERT_EQ(sequence.patterns.size(), layout.imageCount);
    const std::size_t first = layout.axes.front().firstPhase;
    // Line 0's centre lies pi / 8 into the period: cos = 0.9238795, sin = 0.3826834.
    EXPECT_NEAR(sequence.patterns[first].levels[0], 0.96193977F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[first + 1].levels[0], 0.30865828F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[first + 2].levels[0], 0.03806023F, 1e-6F);
    EXPECT_NEAR(sequence.patterns[first + 3].levels[0], 0.69134172F, 1e-6F);
    // One period on the levels repeat; half a period on they are mirrored.
    for (std::size_t line = 0; line < 8; ++line)
        EXPECT_NEAR(sequence.patterns[first].levels[line], sequence.patterns[first].levels[line + 8], 1e-6F);
    EXPECT_NEAR(sequence.patterns[first].levels[4], 0.03806023F, 1e-6F);
}

TEST(Sequence, BitsAreTheGrayCodeOfTheHalfPeriod) {
    const SequenceLayout layout = planSequence(projector(32)); // 8 half periods of 4 columns, 3 bits
    const Driver::PatternSequence sequence = generateSequence(layout);
    const std::size_t first = layout.axes.front().firstBit;
    const char* const expected[] = {"00001111", "00111100", "01100110"}; // most significant first
    for (std::size_t bit = 0; bit < 3; ++bit) {
        for (std::size_t line = 0; line < 32; ++line) {
            const float level = expected[bit][line / 4] == '1' ? 1.0F : 0.0F;
            EXPECT_EQ(sequence.patterns[first + 2 * bit].levels[line], level) << bit << " " << line;
            EXPECT_EQ(sequence.patterns[first + 2 * bit + 1].levels[line], 1.0F - level) << bit << " " << line;
        }
    }
}

TEST(Sequence, EveryPatternHasOneLevelPerColumn) {
    const Driver::PatternSequence sequence = generateSequence(planSequence(projector(1001)));
    EXPECT_EQ(sequence.lattice, Driver::Lattice::Plain);
    for (const Driver::Pattern& pattern : sequence.patterns) {
        EXPECT_EQ(pattern.axis, Driver::Axis::Columns);
        EXPECT_EQ(pattern.levels.size(), 1001U);
    }
}

TEST(Sequence, RefusesWhatCannotBeCoded) {
    EXPECT_THROW((void)planSequence(projector(0)), ArgumentInvalidException);
    EXPECT_THROW((void)planSequence(projector(100), {.periodColumns = 7}), ArgumentInvalidException);
    EXPECT_THROW((void)planSequence(projector(100), {.periodColumns = 2}), ArgumentInvalidException);
    EXPECT_THROW((void)planSequence(projector(100), {.periodColumns = 0}), ArgumentInvalidException);
    EXPECT_THROW((void)planSequence(projector(4U * 65536U + 1U)), ArgumentInvalidException);
    EXPECT_THROW((void)planSequence(projector(100), {.lattice = Driver::Lattice::Diamond}), ArgumentInvalidException);
}

} // namespace
