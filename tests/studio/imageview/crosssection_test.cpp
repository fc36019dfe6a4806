#include "imageview/crosssection.h"

#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <limits>

namespace {

/// 20 x 10 pixels, each 100 times its row and its column.
cv::Mat_<float> ramp() {
    cv::Mat_<float> image(10, 20);
    for (int row = 0; row < image.rows; ++row)
        for (int column = 0; column < image.cols; ++column)
            image(row, column) = static_cast<float>(100 * row + column);
    return image;
}

using Samples = QVector<QPointF>;

TEST(CrossSection, HorizontalLineWalksAlongTheColumns) {
    EXPECT_EQ(crossSection(ramp(), {}, QLine(3, 2, 6, 2)), (Samples{{3, 203}, {4, 204}, {5, 205}, {6, 206}}));
}

TEST(CrossSection, VerticalLineWalksAlongTheRows) {
    EXPECT_EQ(crossSection(ramp(), {}, QLine(3, 2, 3, 4)), (Samples{{2, 203}, {3, 303}, {4, 403}}));
}

TEST(CrossSection, PointIsOneSample) {
    EXPECT_EQ(crossSection(ramp(), {}, QLine(7, 5, 7, 5)), (Samples{{5, 507}}));
}

TEST(CrossSection, SlopesRoundToTheNearestPixel) {
    // Rows 1, 1.5, 2, 2.5, 3; halves go up.
    EXPECT_EQ(crossSection(ramp(), {}, QLine(0, 1, 4, 3)), (Samples{{0, 100}, {1, 201}, {2, 202}, {3, 303}, {4, 304}}));
    // Columns 4, 3.5, 3 on the way down the rows.
    EXPECT_EQ(crossSection(ramp(), {}, QLine(4, 1, 3, 3)), (Samples{{1, 104}, {2, 204}, {3, 303}}));
}

TEST(CrossSection, DiagonalWalksAlongTheRows) {
    EXPECT_EQ(crossSection(ramp(), {}, QLine(1, 0, 3, 2)), (Samples{{0, 1}, {1, 102}, {2, 203}}));
}

TEST(CrossSection, BackwardLinesHaveNoSamples) {
    EXPECT_TRUE(crossSection(ramp(), {}, QLine(3, 8, 2, 1)).isEmpty());
    EXPECT_TRUE(crossSection(ramp(), {}, QLine(9, 2, 3, 2)).size() == 1) << "a line to the left is one row high";
    EXPECT_TRUE(crossSection(ramp(), {}, QLine(9, 3, 3, 2)).isEmpty());
}

TEST(CrossSection, MaskedPixelsLeaveGaps) {
    cv::Mat_<uchar> mask(10, 20, uchar{0});
    mask(2, 4) = 5;
    EXPECT_EQ(crossSection(ramp(), mask, QLine(3, 2, 5, 2)), (Samples{{3, 203}, {5, 205}}));
}

TEST(CrossSection, PixelsWithoutDepthLeaveGaps) {
    cv::Mat_<float> image = ramp();
    image(2, 4) = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(crossSection(image, {}, QLine(3, 2, 5, 2)), (Samples{{3, 203}, {5, 205}}));
}

TEST(CrossSection, LinesMayLeaveTheImage) {
    EXPECT_EQ(crossSection(ramp(), {}, QLine(18, 9, 25, 9)), (Samples{{18, 918}, {19, 919}}));
    EXPECT_EQ(crossSection(ramp(), {}, QLine(-2, 0, 1, 0)), (Samples{{0, 0}, {1, 1}}));
    EXPECT_TRUE(crossSection(ramp(), {}, QLine(3, -9, 3, -2)).isEmpty());
}

TEST(CrossSection, MaskOfAnotherSizeIsReadAsFarAsItGoes) {
    EXPECT_EQ(crossSection(ramp(), cv::Mat_<uchar>(1, 1, uchar{5}), QLine(0, 0, 1, 0)), (Samples{{1, 1}}));
}

TEST(CrossSection, BytesAndColoursHaveTheirValues) {
    EXPECT_EQ(crossSection(cv::Mat_<uchar>(3, 3, uchar{200}), {}, QLine(1, 1, 1, 1)), (Samples{{1, 200}}));
    const cv::Mat_<cv::Vec3b> colours(3, 3, cv::Vec3b(10, 20, 31));
    EXPECT_EQ(crossSection(colours, {}, QLine(1, 1, 1, 1)), (Samples{{1, 61.0 / 3.0}}));
}

TEST(CrossSection, OtherTypesAreRefused) {
    try {
        static_cast<void>(crossSection(cv::Mat(3, 3, CV_16SC2), {}, QLine(0, 0, 1, 1)));
        FAIL() << "no exception";
    } catch (const Vorta::ArgumentInvalidException& e) {
        EXPECT_THAT(e.what(),
                    testing::AllOf(testing::HasSubstr("Could not update cross section. Unsupported image type."),
                                   testing::HasSubstr("m_mat"), testing::HasSubstr("CV_16SC2")));
    }
}

} // namespace
