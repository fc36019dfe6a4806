// The vector code of every instruction set that this processor has, against the plain code: bit for bit.

#include "codedpixels.h"
#include "kernels.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstring>
#include <random>

namespace {

namespace Kernels = Vorta::Reconstruction::Kernels;
using Vorta::Point;
using Vorta::Reconstruction::ColumnGeometry;

class Agreement : public testing::TestWithParam<std::int64_t> {
protected:
    void SetUp() override {
        hwy::SetSupportedTargetsForTest(GetParam());
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }
    void TearDown() override {
        hwy::SetSupportedTargetsForTest(0);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }

    std::vector<std::uint8_t> bytes(std::size_t count) {
        std::vector<std::uint8_t> values(count);
        for (std::uint8_t& value : values)
            value = static_cast<std::uint8_t>(random_());
        return values;
    }
    std::vector<float> floats(std::size_t count, float minimum, float maximum) {
        std::uniform_real_distribution<float> distribution(minimum, maximum);
        std::vector<float> values(count);
        for (float& value : values)
            value = distribution(random_);
        return values;
    }
    std::mt19937 random_{12345};
};

INSTANTIATE_TEST_SUITE_P(Targets, Agreement, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& test) { return std::string(hwy::TargetName(test.param)); });

template <typename T>
::testing::AssertionResult sameBytes(const std::vector<T>& a, const std::vector<T>& b) {
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::memcmp(&a[i], &b[i], sizeof(T)) != 0)
            return ::testing::AssertionFailure() << "first difference at " << i;
    return ::testing::AssertionSuccess();
}

constexpr std::size_t widths[] = {1, 2, 3, 7, 15, 16, 31, 32, 33, 63, 64, 65, 130, 243, 1944};

TEST_P(Agreement, Decode) {
    for (const std::size_t width : widths) {
        for (const std::size_t bitCount : {1U, 8U, 9U, 16U, 17U, 24U}) {
            CodedPixels plain(width, bitCount);
            for (std::size_t k = 0; k < 4; ++k)
                plain.phaseImage(k) = bytes(width);
            for (std::size_t image = 0; image < 2 * bitCount; ++image)
                plain.bitImage(image) = bytes(width);
            // A code among neighbours as well, not only noise.
            for (std::size_t pixel = 0; pixel < width; pixel += 2)
                plain.setCode(pixel, pixel % (std::size_t{1} << bitCount));
            plain.parameters.hasInverses = (width + bitCount) % 2 == 0;
            plain.parameters.minDifferenceHalves = static_cast<std::uint16_t>(1 + width % 40);
            plain.parameters.rejectSaturated = width % 2 == 0;
            plain.parameters.saturationLevel = width % 3 == 0 ? 255 : 200;
            CodedPixels vector = plain;
            plain.decode(Kernels::decodeReference());
            vector.decode(Kernels::decodeVectorised());
            EXPECT_EQ(plain.set, vector.set) << width;
            EXPECT_EQ(plain.undecided, vector.undecided) << width;
            EXPECT_EQ(plain.halfPeriod, vector.halfPeriod) << width;
            EXPECT_EQ(plain.accepted, vector.accepted) << width;
            EXPECT_EQ(plain.saturated, vector.saturated) << width;
            EXPECT_TRUE(sameBytes(plain.modulation, vector.modulation)) << width;
            EXPECT_TRUE(sameBytes(plain.position, vector.position)) << width;
            Kernels::decodeReference().findAmbiguous(plain.in(), plain.modulation.data(), plain.read().undecided, 0,
                                                     width);
            Kernels::decodeVectorised().findAmbiguous(vector.in(), vector.modulation.data(), vector.read().undecided, 0,
                                                      width);
            EXPECT_EQ(plain.undecided, vector.undecided) << width;
        }
    }
}

TEST_P(Agreement, Triangulate) {
    for (const std::size_t width : widths) {
        ColumnGeometry<float> g;
        const std::vector<float> rotation = floats(9, -0.1F, 0.1F);
        for (std::size_t i = 0; i < 9; ++i)
            g.r[i] = rotation[i] + (i % 4 == 0 ? 1.0F : 0.0F);
        g.t[0] = -200.0F;
        g.t[1] = 3.0F;
        g.t[2] = 20.0F;
        const std::vector<float> lens = floats(5, -0.1F, 0.1F);
        g.k1 = lens[0];
        g.k2 = lens[1];
        g.k3 = lens[2];
        g.p1 = lens[3] / 50.0F;
        g.p2 = lens[4] / 50.0F;
        g.scale = 1.0F / 1200.0F;
        g.offset = -512.0F / 1200.0F;
        g.rowScale = 1200.0F;
        g.rowOffset = 384.0F;
        g.rowMinimum = -1.0F;
        g.rowMaximum = 769.0F;
        g.firstPosition = 1.0F;
        g.lastPosition = 1023.0F;
        g.residual = 1e-3F;
        g.minMeetingSine2 = width % 2 == 0 ? 0.01F : 0.0F;
        g.refinements = static_cast<int>(width % 4);
        const std::vector<float> rayX = floats(width, -0.5F, 0.5F);
        const std::vector<float> rayY = floats(width, -0.3F, 0.3F);
        CodedPixels decoded(width, 1);
        decoded.position = floats(width, -30.0F, 1060.0F);
        decoded.accepted = bytes(width);
        for (std::uint8_t& value : decoded.accepted)
            value = value < 30 ? 0 : 255;
        decoded.modulation = floats(width, 0.0F, 127.0F);
        CodedPixels decodedRows = decoded;
        decodedRows.position = floats(width, 0.0F, 768.0F);
        decodedRows.modulation = floats(width, 0.0F, 127.0F);
        const Kernels::CrossRow rows{.decoded = decodedRows.out(), .tolerance2 = 90'000.0F};
        std::vector<std::vector<float>> results;
        for (const Kernels::Set* set : {&Kernels::reference(), &Kernels::vectorised()}) {
            std::vector<float> x(width), y(width), z(width);
            const Kernels::CoordinateRow out{.x = x.data(), .y = y.data(), .z = z.data()};
            set->triangulate(g, {.x = rayX.data(), .y = rayY.data()}, decoded.out(), out, 0, width);
            results.insert(results.end(), {x, y, z});
            set->triangulateBoth(g, {.x = rayX.data(), .y = rayY.data()}, decoded.out(), rows, out, 0, width);
            results.insert(results.end(), {x, y, z});
        }
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_TRUE(sameBytes(results[i], results[i + 6])) << width << " coordinate " << i;
        if (width == 1944) {
            const auto valid = std::count_if(results[2].begin(), results[2].end(), [](float z) { return z == z; });
            EXPECT_GT(valid, 100);
            EXPECT_LT(valid, 1900);
            const auto both = std::count_if(results[5].begin(), results[5].end(), [](float z) { return z == z; });
            EXPECT_GT(both, 50);
            EXPECT_LT(both, valid);
        }
    }
}

TEST_P(Agreement, Mosaic) {
    for (const std::size_t width : widths) {
        std::vector<std::vector<std::uint8_t>> images;
        for (std::size_t k = 0; k < 4; ++k)
            images.push_back(bytes(width));
        const Kernels::MosaicRow in{.phase = {images[0].data(), images[1].data(), images[2].data(), images[3].data()},
                                    .saturationLevel = 250,
                                    .blackSum = static_cast<std::uint16_t>(width % 100),
                                    .gain = {static_cast<std::uint16_t>(512 + width), 51200}};
        std::vector<std::uint8_t> plain(width), vector(width);
        Kernels::reference().mosaic(in, plain.data(), 0, width);
        Kernels::vectorised().mosaic(in, vector.data(), 0, width);
        EXPECT_EQ(plain, vector) << width;
    }
}

TEST_P(Agreement, Demosaic) {
    for (const std::size_t width : widths) {
        const std::vector<std::uint8_t> above = bytes(width + 2), current = bytes(width + 2), below = bytes(width + 2);
        std::vector<std::uint8_t> saturated = bytes(width);
        for (std::uint8_t& value : saturated)
            value = value < 200 ? 0 : 255;
        for (const bool greenFirst : {false, true}) {
            for (const bool red : {false, true}) {
                const Kernels::DemosaicRow in{.above = above.data() + 1,
                                              .current = current.data() + 1,
                                              .below = below.data() + 1,
                                              .saturated = saturated.data(),
                                              .greenFirst = greenFirst,
                                              .red = red};
                std::vector<std::uint8_t> plain(4 * width), vector(4 * width);
                Kernels::reference().demosaic(in, plain.data(), 0, width);
                Kernels::vectorised().demosaic(in, vector.data(), 0, width);
                EXPECT_EQ(plain, vector) << width;
            }
        }
    }
}

TEST_P(Agreement, Pack) {
    for (const std::size_t width : widths) {
        std::vector<float> x = floats(width, -500.0F, 500.0F), y = floats(width, -500.0F, 500.0F),
                           z = floats(width, 300.0F, 900.0F);
        const std::vector<float> contrast = floats(width, 0.0F, 127.5F);
        const std::vector<std::uint8_t> bgra = bytes(4 * width);
        const Kernels::CoordinateRow in{.x = x.data(), .y = y.data(), .z = z.data()};
        std::vector<Point> plain(width), vector(width);
        Kernels::reference().pack(in, contrast.data(), bgra.data(), plain.data(), 0, width);
        Kernels::vectorised().pack(in, contrast.data(), bgra.data(), vector.data(), 0, width);
        EXPECT_TRUE(sameBytes(plain, vector)) << width;
        EXPECT_EQ(plain.back().x, x.back());
        EXPECT_EQ(plain.back().z, z.back());
        EXPECT_EQ(plain.back().contrast, contrast.back());
        EXPECT_EQ(plain.back().blue, bgra[4 * width - 4]);
        EXPECT_EQ(plain.back().green, bgra[4 * width - 3]);
        EXPECT_EQ(plain.back().red, bgra[4 * width - 2]);
    }
}

} // namespace
