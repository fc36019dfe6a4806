#include "camera/recordkernels.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace Vorta;

struct Output {
    explicit Output(std::size_t size) : depth(size + 1, -77.0F), mask(size + 1, 0xA5), color(3 * size + 1, 0x5A) {}

    RecordKernels::Images images() { return {.depth = depth.data(), .mask = mask.data(), .color = color.data()}; }

    std::vector<float> depth; // each with one guard behind it
    std::vector<std::uint8_t> mask;
    std::vector<std::uint8_t> color;
    DepthRange range;
};

std::vector<std::uint32_t> bits(const std::vector<float>& values) {
    std::vector<std::uint32_t> result;
    for (const float value : values)
        result.push_back(std::bit_cast<std::uint32_t>(value));
    return result;
}

/// Points whose numbers are drawn from the awkward ones: limits and their neighbours, zeros, denormals, infinities,
/// quiet and signalling NaN.
std::vector<Point> awkwardPoints(std::size_t size, unsigned seed) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::vector<float> values{0.0F,
                                    -0.0F,
                                    std::numeric_limits<float>::denorm_min(),
                                    -std::numeric_limits<float>::denorm_min(),
                                    infinity,
                                    -infinity,
                                    std::numeric_limits<float>::quiet_NaN(),
                                    std::bit_cast<float>(0xFFC00001U),
                                    std::bit_cast<float>(0x7F800001U),
                                    5.0F,
                                    std::nextafter(5.0F, 0.0F),
                                    std::nextafter(5.0F, 6.0F),
                                    1500.0F,
                                    std::nextafter(1500.0F, infinity),
                                    -1.0F,
                                    700.0F};
    std::mt19937 random(seed);
    const auto value = [&] { return values[random() % values.size()]; };
    const auto byte = [&] { return static_cast<std::uint8_t>(random() % 3 == 0 ? random() % 256 : 255); };
    std::vector<Point> points(size);
    for (Point& point : points)
        point = {.x = value(),
                 .y = value(),
                 .z = value(),
                 .contrast = value(),
                 .blue = byte(),
                 .green = byte(),
                 .red = byte(),
                 .alpha = byte()};
    return points;
}

void expectSameBits(const std::vector<Point>& points, const ClassificationLimits& limits) {
    Output expected(points.size());
    Output actual(points.size());
    expected.range = RecordKernels::reference()(points, limits, expected.images());
    actual.range = RecordKernels::vectorised()(points, limits, actual.images());
    EXPECT_EQ(bits(actual.depth), bits(expected.depth));
    EXPECT_EQ(actual.mask, expected.mask);
    EXPECT_EQ(actual.color, expected.color);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(actual.range.minimum), std::bit_cast<std::uint64_t>(expected.range.minimum));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(actual.range.maximum), std::bit_cast<std::uint64_t>(expected.range.maximum));
    EXPECT_EQ(actual.mask.back(), 0xA5) << "written beyond the end";
    EXPECT_EQ(actual.color.back(), 0x5A) << "written beyond the end";
    EXPECT_EQ(actual.depth.back(), -77.0F) << "written beyond the end";
}

TEST(RecordKernels, VectorCodeGivesTheReferencesBitsForEveryLength) {
    for (std::size_t size = 0; size <= 70; ++size) {
        SCOPED_TRACE(size);
        expectSameBits(awkwardPoints(size, static_cast<unsigned>(size)),
                       {.contrastThreshold = 5.0F, .minZ = 0.0F, .maxZ = 1500.0F});
    }
}

TEST(RecordKernels, VectorCodeGivesTheReferencesBitsForAwkwardLimits) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const ClassificationLimits& limits :
         {ClassificationLimits{.contrastThreshold = nan, .minZ = nan, .maxZ = nan},
          ClassificationLimits{.contrastThreshold = infinity, .minZ = -infinity, .maxZ = infinity},
          ClassificationLimits{.contrastThreshold = -0.0F, .minZ = -0.0F, .maxZ = 0.0F},
          ClassificationLimits{.contrastThreshold = 0.0F, .minZ = 2000.0F, .maxZ = 100.0F}})
        expectSameBits(awkwardPoints(5000, 7), limits);
}

TEST(RecordKernels, EveryInstructionSetOfThisProcessorGivesTheReferencesBits) {
    const auto targets = static_cast<std::uint64_t>(hwy::SupportedTargets());
    int tried = 0;
    for (std::uint64_t rest = targets; rest != 0; rest &= rest - 1) {
        hwy::SetSupportedTargetsForTest(static_cast<std::int64_t>(rest & (~rest + 1)));
        expectSameBits(awkwardPoints(1003, 3), {.contrastThreshold = 5.0F, .minZ = 0.0F, .maxZ = 1500.0F});
        ++tried;
    }
    hwy::SetSupportedTargetsForTest(0);
    EXPECT_GT(tried, 0);
}

TEST(RecordKernels, ZerosOfEitherSignMakeAPositiveZero) {
    std::vector<Point> points(24);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i].z = i % 2 == 0 ? 0.0F : -0.0F;
    Output out(points.size());
    const DepthRange range = RecordKernels::vectorised()(points, {}, out.images());
    EXPECT_EQ(std::bit_cast<std::uint64_t>(range.minimum), 0U);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(range.maximum), 0U);
}

} // namespace
