#include "imageview/maskimages.h"

#include <gtest/gtest.h>

namespace {

cv::Mat_<uchar> codes() {
    return (cv::Mat_<uchar>(2, 4) << 0, 1, 2, 3, 4, 5, 6, 255);
}

TEST(MaskImages, ClassesHaveTheirColours) {
    const QImage image = MaskImages::classes(codes());
    EXPECT_EQ(image.size(), QSize(4, 2));
    EXPECT_EQ(image.format(), QImage::Format_ARGB32);
    EXPECT_EQ(image.pixel(0, 0), 0x00000000U);
    EXPECT_EQ(image.pixel(1, 0), 0x80500000U);
    EXPECT_EQ(image.pixel(2, 0), 0x800000FFU);
    EXPECT_EQ(image.pixel(3, 0), 0x80005000U);
    for (int x = 0; x < 4; ++x)
        EXPECT_EQ(image.pixel(x, 1), 0x800000FFU);
}

TEST(MaskImages, SaturatedPixelsAreMagenta) {
    const QImage image = MaskImages::saturated(codes());
    EXPECT_EQ(image.format(), QImage::Format_ARGB32);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(image.pixel(x, y), x == 2 && y == 0 ? 0xFFFF00FFU : 0U);
}

TEST(MaskImages, OfNoMaskIsNoImage) {
    EXPECT_TRUE(MaskImages::classes({}).isNull());
    EXPECT_TRUE(MaskImages::saturated({}).isNull());
}

} // namespace
