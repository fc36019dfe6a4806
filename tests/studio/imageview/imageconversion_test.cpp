#include "imageview/imageconversion.h"

#include "imageview/colormap.h"
#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace ImageConversion;

TEST(DisplayImage, SwapsBlueAndRed) {
    cv::Mat_<cv::Vec3b> mat(2, 3, cv::Vec3b(0, 0, 0));
    mat(1, 2) = cv::Vec3b(10, 20, 30);
    const QImage image = displayImage(mat);
    EXPECT_EQ(image.size(), QSize(3, 2));
    EXPECT_EQ(image.pixel(2, 1), qRgb(30, 20, 10));
    EXPECT_EQ(image.pixel(1, 1), qRgb(0, 0, 0));
}

TEST(DisplayImage, ShowsOneChannelAsGrey) {
    const cv::Mat_<uchar> mat = (cv::Mat_<uchar>(1, 3) << 0, 100, 255);
    const QImage image = displayImage(mat).convertToFormat(QImage::Format_RGB32);
    EXPECT_EQ(image.pixel(0, 0), qRgb(0, 0, 0));
    EXPECT_EQ(image.pixel(1, 0), qRgb(100, 100, 100));
    EXPECT_EQ(image.pixel(2, 0), qRgb(255, 255, 255));
}

TEST(DisplayImage, ReadsRowsWithGaps) {
    cv::Mat_<cv::Vec3b> whole(3, 5, cv::Vec3b(1, 1, 1));
    whole(2, 3) = cv::Vec3b(10, 20, 30);
    const QImage image = displayImage(whole(cv::Rect(2, 1, 2, 2)));
    EXPECT_EQ(image.size(), QSize(2, 2));
    EXPECT_EQ(image.pixel(1, 1), qRgb(30, 20, 10));
}

TEST(DisplayImage, HasItsOwnPixels) {
    cv::Mat_<cv::Vec3b> mat(1, 1, cv::Vec3b(10, 20, 30));
    const QImage image = displayImage(mat);
    mat(0, 0) = cv::Vec3b(0, 0, 0);
    EXPECT_EQ(image.pixel(0, 0), qRgb(30, 20, 10));
}

TEST(DisplayImage, RefusesOtherTypesByName) {
    const auto messageFor = [](int type) {
        try {
            static_cast<void>(displayImage(cv::Mat(1, 1, type, cv::Scalar(0))));
            return std::string("accepted");
        } catch (const Vorta::ArgumentInvalidException& e) {
            EXPECT_EQ(e.parameter(), "mat");
            return std::string(e.what());
        }
    };
    EXPECT_EQ(messageFor(CV_32FC1), "Image format not recognized. Invalid parameter: mat = 'CV_32FC1'");
    EXPECT_EQ(messageFor(CV_8UC4), "Image format not recognized. Invalid parameter: mat = 'CV_8UC4'");
    EXPECT_EQ(messageFor(CV_16UC1), "Image format not recognized. Invalid parameter: mat = 'CV_16UC1'");
}

TEST(DepthImage, ColoursEveryPixel) {
    ColorMap map;
    map.setup(0.0F, 100.0F, ColorMap::normal);
    const cv::Mat_<float> whole =
        (cv::Mat_<float>(2, 4) << 9, 0.0F, 50.0F, 9, 9, 100.0F, std::numeric_limits<float>::quiet_NaN(), 9);
    const QImage image = depthImage(whole.colRange(1, 3), map);
    EXPECT_EQ(image.format(), QImage::Format_RGB888);
    EXPECT_EQ(image.size(), QSize(2, 2));
    EXPECT_EQ(image.pixel(0, 0), qRgb(0, 0, 255));
    EXPECT_EQ(image.pixel(1, 0), qRgb(0, 255, 0));
    EXPECT_EQ(image.pixel(0, 1), qRgb(255, 0, 0));
    EXPECT_EQ(image.pixel(1, 1), qRgb(255, 0, 0));
}

TEST(PixelText, DependsOnTheType) {
    EXPECT_EQ(pixelText((cv::Mat_<uchar>(1, 2) << 7, 200), 1, 0), QStringLiteral("I: 200"));
    cv::Mat_<cv::Vec3b> colour(2, 1, cv::Vec3b(0, 0, 0));
    colour(1, 0) = cv::Vec3b(10, 20, 255);
    EXPECT_EQ(pixelText(colour, 0, 1), QStringLiteral("R:255 G:20 B:10"));
    EXPECT_EQ(pixelText((cv::Mat_<double>(1, 1) << 1234.56789), 0, 0), QStringLiteral("Z:1234.57"));
    EXPECT_EQ(pixelText(cv::Mat(1, 1, CV_16UC1, cv::Scalar(3)), 0, 0), QStringLiteral("Unknown data type"));
    EXPECT_EQ(pixelText(cv::Mat(1, 1, CV_32FC3, cv::Scalar(3)), 0, 0), QStringLiteral("Unknown data type"));
}

TEST(PixelText, DepthsHaveSixDigits) {
    const cv::Mat_<float> depths =
        (cv::Mat_<float>(1, 4) << 700.5F, 699.9876F, 1234567.0F, std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(pixelText(depths, 0, 0), QStringLiteral("Z:700.5"));
    EXPECT_EQ(pixelText(depths, 1, 0), QStringLiteral("Z:699.988"));
    EXPECT_EQ(pixelText(depths, 2, 0), QStringLiteral("Z:1.23457e+06"));
    EXPECT_EQ(pixelText(depths, 3, 0), QStringLiteral("Z:nan"));
}

TEST(MaskClassText, NamesTheKnownCodesOnly) {
    EXPECT_EQ(maskClassText(0), QString());
    EXPECT_EQ(maskClassText(1), QStringLiteral("Low contrast"));
    EXPECT_EQ(maskClassText(2), QStringLiteral("Saturated"));
    EXPECT_EQ(maskClassText(3), QStringLiteral("Out of range"));
    EXPECT_EQ(maskClassText(4), QStringLiteral("Disconnected"));
    EXPECT_EQ(maskClassText(5), QStringLiteral("Irrelevant"));
    EXPECT_EQ(maskClassText(6), QString());
    EXPECT_EQ(maskClassText(255), QString());
}

} // namespace
