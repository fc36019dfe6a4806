#include "imageview/imageplacement.h"

#include <gtest/gtest.h>

namespace {

TEST(ImagePlacement, CentresTheImageInItsProportions) {
    EXPECT_EQ(ImagePlacement(QSize(2000, 1000), QSize(500, 500)).picture(), QRect(0, 125, 500, 250));
    EXPECT_EQ(ImagePlacement(QSize(100, 200), QSize(301, 100)).picture(), QRect(125, 0, 50, 100));
    EXPECT_EQ(ImagePlacement(QSize(10, 10), QSize(40, 30)).picture(), QRect(5, 0, 30, 30));
}

TEST(ImagePlacement, RoundsHalvesAwayFromZero) {
    const ImagePlacement placement(QSize(4, 2), QSize(6, 3));
    EXPECT_EQ(placement.toWidget({1, 1}), QPoint(2, 2));
    EXPECT_EQ(placement.toWidget({-1, 0}), QPoint(-2, 0));
    EXPECT_EQ(placement.toImage({3, 3}), QPoint(2, 2));
}

TEST(ImagePlacement, GoesBackAndForthWhenEnlarged) {
    const ImagePlacement placement(QSize(243, 150), QSize(700, 271));
    for (int x = 0; x < 243; ++x)
        ASSERT_EQ(placement.toImage(placement.toWidget({x, 7})), QPoint(x, 7));
}

TEST(ImagePlacement, PointsBesideThePictureLieOutsideTheImage) {
    const ImagePlacement placement(QSize(100, 100), QSize(300, 100));
    EXPECT_EQ(placement.toImage({100, 0}), QPoint(0, 0));
    EXPECT_EQ(placement.toImage({90, 50}), QPoint(-10, 50));
    EXPECT_EQ(placement.toImage({205, 50}), QPoint(105, 50));
}

TEST(ImagePlacement, WithoutAnImageEverythingIsAtTheOrigin) {
    EXPECT_TRUE(ImagePlacement(QSize(), QSize(300, 100)).picture().isEmpty());
    EXPECT_EQ(ImagePlacement().toImage({5, 5}), QPoint(0, 0));
    EXPECT_EQ(ImagePlacement().toWidget({5, 5}), QPoint(0, 0));
}

TEST(ImagePlacement, NeverVanishes) {
    EXPECT_EQ(ImagePlacement(QSize(1000, 1), QSize(10, 10)).picture().size(), QSize(10, 1));
    EXPECT_EQ(ImagePlacement(QSize(1000, 1000), QSize(1, 1)).picture().size(), QSize(1, 1));
}

} // namespace
