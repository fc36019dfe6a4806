#include "camera/recordkernels.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
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
    expected.range = RecordKernels::reference().build(points, limits, expected.images());
    actual.range = RecordKernels::vectorised().build(points, limits, actual.images());
    EXPECT_EQ(bits(actual.depth), bits(expected.depth));
    EXPECT_EQ(actual.mask, expected.mask);
    EXPECT_EQ(actual.color, expected.color);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(actual.range.minimum), std::bit_cast<std::uint64_t>(expected.range.minimum));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(actual.range.maximum), std::bit_cast<std::uint64_t>(expected.range.maximum));
    EXPECT_EQ(actual.mask.back(), 0xA5) << "written beyond the end";
    EXPECT_EQ(actual.color.back(), 0x5A) << "written beyond the end";
    EXPECT_EQ(actual.depth.back(), -77.0F) << "written beyond the end";
}

std::vector<std::uint32_t> words(const std::vector<Point>& points) {
    std::vector<std::uint32_t> result(5 * points.size());
    std::memcpy(result.data(), points.data(), points.size() * sizeof(Point));
    return result;
}

/// Masks `size` points into memory that begins `shift` points behind an aligned one.
std::vector<std::uint32_t> hide(const RecordKernels::Kernels& kernels, std::size_t size, std::size_t shift) {
    const std::vector<Point> points = awkwardPoints(size, static_cast<unsigned>(size));
    std::mt19937 random(static_cast<unsigned>(size));
    std::vector<std::uint8_t> mask(size);
    for (std::uint8_t& byte : mask)
        byte = static_cast<std::uint8_t>(random() % 2 == 0 ? 0 : random() % 256);
    std::vector<Point> masked(shift + size + 1, Point{.x = -7.0F, .y = -7.0F, .z = -7.0F, .contrast = -7.0F});
    kernels.hide(points, mask.data(), masked.data() + shift);
    return words(masked);
}

TEST(RecordKernels, HidesWhatTheMaskMarks) {
    const std::vector<Point> points(3, Point{.x = 1.0F, .y = 2.0F, .z = 3.0F, .contrast = 4.0F, .blue = 5, .alpha = 6});
    std::vector<Point> masked(3);
    constexpr std::array<std::uint8_t, 3> mask{0, 5, 255};
    RecordKernels::reference().hide(points, mask.data(), masked.data());
    const std::vector<std::uint32_t> visible{0x3F800000U, 0x40000000U, 0x40400000U, 0x40800000U, 0x06000005U};
    const std::vector<std::uint32_t> hidden{0x7FC00000U, 0x7FC00000U, 0x7FC00000U, 0x40800000U, 0x06000005U};
    std::vector<std::uint32_t> expected = visible;
    expected.insert(expected.end(), hidden.begin(), hidden.end());
    expected.insert(expected.end(), hidden.begin(), hidden.end());
    EXPECT_EQ(words(masked), expected);
}

TEST(RecordKernels, VectorCodeHidesTheSameForEveryLengthAndPlace) {
    for (std::size_t size = 0; size <= 70; ++size)
        for (const std::size_t shift : {0U, 1U, 4U})
            EXPECT_EQ(hide(RecordKernels::vectorised(), size, shift), hide(RecordKernels::reference(), size, shift))
                << size << " points, " << shift << " behind";
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
        EXPECT_EQ(hide(RecordKernels::vectorised(), 1003, 0), hide(RecordKernels::reference(), 1003, 0));
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
    const DepthRange range = RecordKernels::vectorised().build(points, {}, out.images());
    EXPECT_EQ(std::bit_cast<std::uint64_t>(range.minimum), 0U);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(range.maximum), 0U);
}

} // namespace
