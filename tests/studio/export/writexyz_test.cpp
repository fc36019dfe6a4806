#include "export/pointcloudwriters.h"
#include "studio/export/exportfixture.h"

#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <random>
#include <span>
#include <vector>

using namespace Vorta;

namespace {

/// What the runtime library prints for the values, three to a line.
std::string printed(const PointCloud& cloud) {
    std::string text;
    std::array<char, 256> line{};
    for (const Point& point : cloud.points()) {
        const int length = std::snprintf(line.data(), line.size(), "%.1f %.1f %.1f %i %i %i\n",
                                         static_cast<double>(point.x), static_cast<double>(point.y),
                                         static_cast<double>(point.z), point.red, point.green, point.blue);
        text.append(line.data(), static_cast<std::size_t>(length));
    }
    return text;
}

/// The values, three to a point, padded with zeros.
PointCloud cloudOf(std::span<const float> values) {
    PointCloud cloud{1, (values.size() + 2) / 3};
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        const auto value = [&](std::size_t index) { return index < values.size() ? values[index] : 0.0F; };
        cloud[i] = {.x = value(3 * i), .y = value(3 * i + 1), .z = value(3 * i + 2), .red = 1};
    }
    return cloud;
}

class WriteXyz : public ExportTest {
protected:
    [[nodiscard]] std::string written(const PointCloud& cloud) const {
        EXPECT_TRUE(Export::writeXyz(path("a.xyz"), cloud));
        return readText(path("a.xyz"));
    }

    [[nodiscard]] std::string line(float x, float y, float z) const {
        PointCloud cloud{1, 1};
        cloud[0] = point(x, y, z);
        return written(cloud);
    }
};

TEST_F(WriteXyz, roundsToOneDecimal) {
    PointCloud cloud{1, 1};
    cloud[0] = point(1.26F, -3, 700.04F, 255, 128, 0);
    EXPECT_EQ(written(cloud), "1.3 -3.0 700.0 255 128 0\n");
}

TEST_F(WriteXyz, writesEveryPointInRowOrder) {
    PointCloud cloud = twoByTwo();
    cloud(1, 0) = point(4, 5, 6, 10, 20, 30);
    EXPECT_EQ(written(cloud), "1.0 2.0 3.0 1 2 3\n"
                              "-1.0 0.0 0.5 255 128 0\n"
                              "4.0 5.0 6.0 10 20 30\n"
                              "8.0 16.0 32.0 0 0 255\n");
}

TEST_F(WriteXyz, roundsTiesToEven) {
    // These are exact in binary, so the sixth decimal place decides nothing: the even neighbour wins.
    EXPECT_EQ(line(0.25F, 0.75F, 1.25F), "0.2 0.8 1.2 0 0 0\n");
    EXPECT_EQ(line(-0.25F, -0.75F, 9999.75F), "-0.2 -0.8 9999.8 0 0 0\n");
    // The nearest floats to 0.15, 0.35 and 0.05 lie above, below and above.
    EXPECT_EQ(line(0.15F, 0.35F, 0.05F), "0.2 0.3 0.1 0 0 0\n");
}

TEST_F(WriteXyz, keepsTheSignOfWhatRoundsToZero) {
    EXPECT_EQ(line(-0.0F, -0.04F, 0.04F), "-0.0 -0.0 0.0 0 0 0\n");
    EXPECT_EQ(line(-FLT_TRUE_MIN, FLT_TRUE_MIN, -FLT_MIN), "-0.0 0.0 -0.0 0 0 0\n");
}

TEST_F(WriteXyz, carriesIntoTheNextDigit) {
    EXPECT_EQ(line(9.96F, 99.96F, 999.96F), "10.0 100.0 1000.0 0 0 0\n");
    EXPECT_EQ(line(9999.96F, -99999.96F, 0.96F), "10000.0 -100000.0 1.0 0 0 0\n");
}

TEST_F(WriteXyz, writesHugeValuesExactly) {
    EXPECT_EQ(line(1.0e8F, -16777216.0F, 4294967296.0F), "100000000.0 -16777216.0 4294967296.0 0 0 0\n");
    EXPECT_EQ(line(FLT_MAX, -FLT_MAX, 99999992.0F), "340282346638528859811704183484516925440.0 "
                                                    "-340282346638528859811704183484516925440.0 99999992.0 0 0 0\n");
}

TEST_F(WriteXyz, writesTheLongestPossibleLines) {
    PointCloud cloud{64, 64};
    for (Point& each : cloud.points())
        each = point(-FLT_MAX, -FLT_MAX, -FLT_MAX, 255, 255, 255);
    std::string expected;
    for (std::size_t i = 0; i < cloud.size(); ++i)
        expected += "-340282346638528859811704183484516925440.0 -340282346638528859811704183484516925440.0 "
                    "-340282346638528859811704183484516925440.0 255 255 255\n";
    EXPECT_TRUE(sameBytes(written(cloud), expected));
}

TEST_F(WriteXyz, writesInvalidPointsAsTheRuntimeLibraryPrintsNan) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const std::vector<float> values{nan,
                                    std::copysign(nan, -1.0F),
                                    infinity,
                                    -infinity,
                                    std::bit_cast<float>(0x7F800001U),
                                    std::bit_cast<float>(0xFFFFFFFFU),
                                    nan,
                                    1.0F,
                                    nan};
    const PointCloud cloud = cloudOf(values);
    EXPECT_EQ(written(cloud), printed(cloud));
#ifdef __GLIBC__
    EXPECT_EQ(line(nan, std::copysign(nan, -1.0F), infinity), "nan -nan inf 0 0 0\n");
    EXPECT_EQ(line(-infinity, 0, nan), "-inf 0.0 nan 0 0 0\n");
#endif
}

TEST_F(WriteXyz, writesEveryColourValue) {
    PointCloud cloud{16, 16};
    std::string expected;
    for (std::size_t i = 0; i < 256; ++i) {
        cloud[i] = point(0, 0, 0, static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(255 - i), 7);
        expected += "0.0 0.0 0.0 " + std::to_string(i) + " " + std::to_string(255 - i) + " 7\n";
    }
    EXPECT_EQ(written(cloud), expected);
}

TEST_F(WriteXyz, everyTenthUpToTwoHundredThousand) {
    // Covers every number of digits and every digit in every place, on both sides of the short path's end.
    PointCloud cloud{2000, 1000};
    std::string expected;
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        // The nearest float to i / 10 is off by less than 0.01 and rounds back to it.
        cloud[i] = point(0, static_cast<float>(static_cast<double>(i) / 10.0), 0);
        expected += "0.0 " + std::to_string(i / 10) + "." + std::to_string(i % 10) + " 0.0 0 0 0\n";
    }
    EXPECT_TRUE(sameBytes(written(cloud), expected));
}

TEST_F(WriteXyz, agreesWithPrintfOnRandomBitPatterns) {
    std::mt19937 random{20}; // fixed, so that every run sees the same values
    std::vector<float> values(1'200'000);
    for (float& value : values)
        value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    const PointCloud cloud = cloudOf(values);
    EXPECT_TRUE(sameBytes(written(cloud), printed(cloud)));
}

TEST_F(WriteXyz, agreesWithPrintfOnTiesAndTheirNeighbours) {
    // Multiples of 0.05 are the ties or lie next to them.
    std::vector<float> values;
    for (int i = -60'000; i <= 60'000; ++i) {
        const auto tie = static_cast<float>(i * 0.05);
        values.insert(values.end(), {tie, std::nextafter(tie, -FLT_MAX), std::nextafter(tie, FLT_MAX)});
    }
    const PointCloud cloud = cloudOf(values);
    EXPECT_TRUE(sameBytes(written(cloud), printed(cloud)));
}

TEST_F(WriteXyz, agreesWithPrintfAroundPowersOfTenAndTwo) {
    std::vector<float> values;
    const auto add = [&](float value) {
        for (const float each : {value, std::nextafter(value, 0.0F), std::nextafter(value, FLT_MAX)})
            values.insert(values.end(), {each, -each});
    };
    for (int exponent = -45; exponent <= 38; ++exponent)
        add(std::pow(10.0F, static_cast<float>(exponent)));
    for (int exponent = -149; exponent <= 127; ++exponent)
        add(std::ldexp(1.0F, exponent));
    const PointCloud cloud = cloudOf(values);
    EXPECT_EQ(written(cloud), printed(cloud));
}

TEST_F(WriteXyz, emptyCloudGivesAnEmptyFile) {
    EXPECT_EQ(written(PointCloud{}), "");
}

TEST_F(WriteXyz, reportsAFileThatCannotBeOpened) {
    EXPECT_FALSE(Export::writeXyz(path("missing/a.xyz"), twoByTwo()));
    EXPECT_FALSE(Export::writeXyz(path(""), PointCloud{}));
}

TEST_F(WriteXyz, reportsAFullDisk) {
    const std::string device = fullDevice();
    if (device.empty())
        GTEST_SKIP() << "no full device on this system";
    EXPECT_FALSE(Export::writeXyz(device, twoByTwo())) << "less than one buffer";
    EXPECT_FALSE(Export::writeXyz(device, PointCloud(1000, 1000))) << "several threads";
}

} // namespace
