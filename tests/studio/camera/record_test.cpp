#include "camera/recordbuilder.h"

#include "vorta/common/exceptions.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <vector>

namespace {

using namespace Vorta;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr ClassificationLimits limits{.contrastThreshold = 5.0F, .minZ = 100.0F, .maxZ = 2000.0F};

Point point(float z, float contrast = 50.0F, std::uint8_t blue = 10, std::uint8_t green = 20, std::uint8_t red = 30) {
    return {.x = 1.0F, .y = 2.0F, .z = z, .contrast = contrast, .blue = blue, .green = green, .red = red, .alpha = 77};
}

PointCloud cloudOf(std::size_t height, std::size_t width, const std::vector<Point>& points) {
    PointCloud cloud(height, width);
    std::copy(points.begin(), points.end(), cloud.data());
    return cloud;
}

struct Classified {
    const char* name;
    Point point;
    int code;
};

void PrintTo(const Classified& classified, std::ostream* stream) {
    *stream << classified.name;
}

class Classification : public testing::TestWithParam<Classified> {};

TEST_P(Classification, FirstTestThatHoldsDecides) {
    const auto record = buildRecord(cloudOf(1, 1, {GetParam().point}), limits);
    EXPECT_EQ(record->mask()(0, 0), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    Points, Classification,
    testing::Values(Classified{"valid", point(500.0F), 0}, Classified{"white", point(500.0F, 50, 255, 255, 255), 2},
                    Classified{"white without depth", point(nan, 50, 255, 255, 255), 2},
                    Classified{"white of low contrast", point(500.0F, 0, 255, 255, 255), 2},
                    Classified{"mean 254", point(500.0F, 50, 255, 255, 254), 0},
                    Classified{"mean 254, blue below", point(500.0F, 50, 254, 255, 255), 0},
                    Classified{"contrast below", point(500.0F, std::nextafter(5.0F, 0.0F)), 1},
                    Classified{"contrast below, no depth", point(nan, 4.0F), 1},
                    Classified{"contrast below, too far", point(2001.0F, 4.0F), 1},
                    Classified{"contrast at the threshold", point(500.0F, 5.0F), 0},
                    Classified{"contrast NaN", point(500.0F, nan), 0},
                    Classified{"contrast and depth NaN", point(nan, nan), 5},
                    Classified{"at the lower limit", point(100.0F), 0},
                    Classified{"below the lower limit", point(std::nextafter(100.0F, 0.0F)), 3},
                    Classified{"at the upper limit", point(2000.0F), 0},
                    Classified{"above the upper limit", point(std::nextafter(2000.0F, 3000.0F)), 3},
                    Classified{"infinitely far", point(infinity), 3},
                    Classified{"infinitely near", point(-infinity), 3}, Classified{"no depth", point(nan), 5},
                    Classified{"negative NaN", point(-nan), 5}),
    [](const auto& classified) {
        std::string name = classified.param.name;
        std::erase_if(name, [](char c) { return c == ',' || c == ' '; });
        return name;
    });

TEST(Record, StartsEmpty) {
    const CloudWithImagesAndMask record;
    EXPECT_TRUE(record.pointCloud().empty());
    EXPECT_TRUE(record.maskedPointCloud().empty());
    EXPECT_TRUE(record.depthImage().empty());
    EXPECT_TRUE(record.mask().empty());
    EXPECT_TRUE(record.colorImage().empty());
    EXPECT_EQ(record.minZ(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(record.maxZ(), -std::numeric_limits<double>::infinity());
}

TEST(Record, ImagesFollowTheCloudRowByRow) {
    const auto record =
        buildRecord(cloudOf(2, 3,
                            {point(300.0F, 9, 1, 2, 3), point(nan, 9, 4, 5, 6), point(400.0F, 9, 7, 8, 9),
                             point(500.0F, 9, 10, 11, 12), point(600.0F, 9, 13, 14, 15), point(700.0F, 1, 16, 17, 18)}),
                    limits);
    ASSERT_EQ(record->depthImage().size(), cv::Size(3, 2));
    ASSERT_EQ(record->mask().size(), cv::Size(3, 2));
    ASSERT_EQ(record->colorImage().size(), cv::Size(3, 2));
    ASSERT_EQ(record->colorImage().type(), CV_8UC3);
    EXPECT_EQ(record->depthImage()(0, 2), 400.0F);
    EXPECT_EQ(record->depthImage()(1, 0), 500.0F);
    EXPECT_TRUE(std::isnan(record->depthImage()(0, 1)));
    EXPECT_EQ(record->mask()(0, 1), 5);
    EXPECT_EQ(record->mask()(1, 2), 1);
    EXPECT_EQ(record->mask()(1, 1), 0);
    EXPECT_EQ(record->colorImage().at<cv::Vec3b>(1, 0), cv::Vec3b(10, 11, 12));
    EXPECT_EQ(record->colorImage().at<cv::Vec3b>(1, 2), cv::Vec3b(16, 17, 18));
    EXPECT_EQ(record->minZ(), 300.0);
    EXPECT_EQ(record->maxZ(), 700.0);
}

TEST(Record, DepthRangeIsOfAllPointsWhateverTheirMask) {
    const auto record =
        buildRecord(cloudOf(1, 4, {point(nan), point(5.0F), point(9000.0F, 0.0F), point(-3.0F)}), limits);
    EXPECT_EQ(record->minZ(), -3.0);
    EXPECT_EQ(record->maxZ(), 9000.0);
}

TEST(Record, WithoutADepthTheRangeIsReversed) {
    const auto record = buildRecord(cloudOf(1, 2, {point(nan), point(nan)}), limits);
    EXPECT_EQ(record->minZ(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(record->maxZ(), -std::numeric_limits<double>::infinity());
}

TEST(Record, NewRecordsMaskedCloudIsTheMeasuredOne) {
    const PointCloud cloud = cloudOf(1, 2, {point(500.0F), point(500.0F, 0.0F)});
    const auto record = buildRecord(cloud, limits);
    EXPECT_TRUE(record->pointCloud().sharesDataWith(cloud));
    EXPECT_TRUE(record->maskedPointCloud().sharesDataWith(cloud));
    EXPECT_EQ(record->mask()(0, 1), 1);
    EXPECT_EQ(record->maskedPointCloud()[1].z, 500.0F);
}

TEST(Record, UpdateHidesExactlyWhatTheMaskMarks) {
    const PointCloud cloud = cloudOf(2, 2, {point(500.0F), point(600.0F, 0.0F), point(nan), point(700.0F)});
    const auto record = buildRecord(cloud, limits);
    record->setMask((cv::Mat_<uchar>(2, 2) << 9, 0, 0, 5));
    record->updateMaskedCloud();
    const PointCloud& masked = record->maskedPointCloud();
    for (const std::size_t hidden : {0U, 3U}) {
        for (const float coordinate : {masked[hidden].x, masked[hidden].y, masked[hidden].z})
            EXPECT_EQ(std::bit_cast<std::uint32_t>(coordinate), 0x7FC00000U);
        EXPECT_EQ(masked[hidden].contrast, 50.0F);
        EXPECT_EQ(masked[hidden].red, 30);
        EXPECT_EQ(masked[hidden].alpha, 77);
    }
    for (const std::size_t kept : {1U, 2U})
        EXPECT_EQ(std::memcmp(&masked[kept], &cloud[kept], sizeof(Point)), 0) << kept;
    EXPECT_EQ(record->pointCloud()[0].z, 500.0F) << "the measured cloud never changes";
    EXPECT_FALSE(masked.sharesDataWith(cloud));
}

TEST(Record, MaskOfZerosAndNoMaskHideNothing) {
    const PointCloud cloud = cloudOf(1, 3, {point(500.0F), point(nan), point(700.0F)});
    const auto record = buildRecord(cloud, limits);
    for (const cv::Mat_<uchar>& mask : {cv::Mat_<uchar>(1, 3, uchar{0}), cv::Mat_<uchar>()}) {
        record->setMask(mask);
        record->updateMaskedCloud();
        EXPECT_EQ(std::memcmp(record->maskedPointCloud().data(), cloud.data(), 3 * sizeof(Point)), 0);
        EXPECT_FALSE(record->maskedPointCloud().sharesDataWith(cloud));
    }
}

TEST(Record, MaskWithGapsBetweenItsRowsIsReadRowByRow) {
    const auto record = buildRecord(cloudOf(2, 1, {point(500.0F), point(600.0F)}), limits);
    const cv::Mat_<uchar> wide = (cv::Mat_<uchar>(2, 2) << 0, 5, 5, 0);
    record->setMask(wide.col(0));
    record->updateMaskedCloud();
    EXPECT_EQ(record->maskedPointCloud()[0].z, 500.0F);
    EXPECT_TRUE(std::isnan(record->maskedPointCloud()[1].z));
}

TEST(Record, MaskOfAnotherSizeIsRefusedAndChangesNothing) {
    const PointCloud cloud = cloudOf(1, 2, {point(500.0F), point(600.0F)});
    const auto record = buildRecord(cloud, limits);
    record->setMask(cv::Mat_<uchar>(2, 1, uchar{5}));
    try {
        record->updateMaskedCloud();
        FAIL() << "accepted";
    } catch (const ArgumentInvalidException& e) {
        EXPECT_EQ(e.parameter(), "mask");
        EXPECT_THAT(e.what(), testing::HasSubstr("2 x 1"));
        EXPECT_THAT(e.what(), testing::HasSubstr("1 x 2"));
    }
    EXPECT_TRUE(record->maskedPointCloud().sharesDataWith(cloud));
}

TEST(Record, EmptyCloudIsRefusedByName) {
    CloudWithImagesAndMask record;
    const auto expectRefusal = [](const auto& operation) {
        try {
            operation();
            FAIL() << "accepted";
        } catch (const ArgumentNullException& e) {
            EXPECT_EQ(e.parameter(), "cloud");
        }
    };
    expectRefusal([&] { record.setPointCloud(PointCloud{}); });
    expectRefusal([&] { record.setPointCloud(PointCloud(0, 4), DepthRange{}); });
    expectRefusal([] { static_cast<void>(buildRecord(PointCloud{}, limits)); });
}

TEST(Record, SettingACloudFindsItsDepthRange) {
    CloudWithImagesAndMask record;
    const PointCloud cloud = cloudOf(1, 3, {point(7.5F), point(nan), point(-infinity)});
    record.setPointCloud(cloud);
    EXPECT_TRUE(record.maskedPointCloud().sharesDataWith(cloud));
    EXPECT_EQ(record.minZ(), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(record.maxZ(), 7.5);
}

TEST(Record, ImagesOutliveTheirRecord) {
    cv::Mat_<float> depth;
    {
        const auto record = buildRecord(cloudOf(1, 2, {point(500.0F), point(600.0F)}), limits);
        depth = record->depthImage();
    }
    const auto other = buildRecord(cloudOf(1, 2, {point(700.0F), point(800.0F)}), limits);
    EXPECT_EQ(depth(0, 1), 600.0F) << "memory in use is not given to the next record";
    EXPECT_EQ(other->depthImage()(0, 1), 800.0F);
}

} // namespace
