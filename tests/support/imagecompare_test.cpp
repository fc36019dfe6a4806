#include "support/imagecompare.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using Vorta::Testing::sameImage;

class SameImage : public testing::Test {
public:
    SameImage() { qputenv("VORTA_TEST_IMAGES", folder_.path().toLocal8Bit()); }
    ~SameImage() override { qunsetenv("VORTA_TEST_IMAGES"); }
    SameImage(const SameImage&) = delete;
    SameImage& operator=(const SameImage&) = delete;

protected:
    QString saved(const char* suffix) const { return folder_.filePath(QStringLiteral("case") + QLatin1String(suffix)); }

    static QImage grey(int level) {
        QImage image(10, 5, QImage::Format_ARGB32);
        image.fill(qRgb(level, level, level));
        return image;
    }

    QTemporaryDir folder_;
};

TEST_F(SameImage, AcceptsEqualImagesAndSavesNothing) {
    EXPECT_TRUE(sameImage(grey(100), grey(100), QStringLiteral("case")));
    EXPECT_FALSE(QFileInfo::exists(saved("-difference.png")));
}

TEST_F(SameImage, SavesTheStretchedDifference) {
    QImage actual = grey(100);
    actual.setPixel(3, 2, qRgb(100, 105, 100));
    const auto result = sameImage(actual, grey(100), QStringLiteral("case"));
    EXPECT_FALSE(result);
    EXPECT_THAT(result.message(),
                HasSubstr("case: 1 of 50 pixels differ by more than 0, at most by 5, the first at (3, 2)"));
    const QImage difference(saved("-difference.png"));
    ASSERT_EQ(difference.size(), QSize(10, 5));
    EXPECT_EQ(difference.pixel(3, 2), qRgb(0, 255, 0));
    EXPECT_EQ(difference.pixel(0, 0), qRgb(0, 0, 0));
    EXPECT_EQ(QImage(saved("-actual.png")).pixel(3, 2), qRgb(100, 105, 100));
    EXPECT_EQ(QImage(saved("-expected.png")).pixel(3, 2), qRgb(100, 100, 100));
}

TEST_F(SameImage, TakesBothTolerances) {
    QImage actual = grey(100);
    actual.setPixel(0, 0, qRgb(103, 100, 100));
    EXPECT_TRUE(sameImage(actual, grey(100), QStringLiteral("case"), {.channel = 3}));
    EXPECT_FALSE(sameImage(actual, grey(100), QStringLiteral("case"), {.channel = 2}));
    EXPECT_TRUE(sameImage(actual, grey(100), QStringLiteral("case"), {.fraction = 0.02}));
    EXPECT_FALSE(sameImage(actual, grey(100), QStringLiteral("case"), {.fraction = 0.019}));
}

TEST_F(SameImage, SeesADifferenceInOpacityAlone) {
    QImage actual = grey(0);
    actual.setPixel(1, 1, qRgba(0, 0, 0, 0));
    EXPECT_FALSE(sameImage(actual, grey(0), QStringLiteral("case")));
    EXPECT_EQ(QImage(saved("-difference.png")).pixel(1, 1), qRgb(255, 255, 255));
}

TEST_F(SameImage, RefusesAnotherSizeAndAnEmptyImage) {
    const auto result = sameImage(grey(1).copy(0, 0, 4, 4), grey(1), QStringLiteral("case"));
    EXPECT_THAT(result.message(), HasSubstr("case is 4 x 4 pixels, not 10 x 5"));
    EXPECT_FALSE(sameImage(QImage(), QImage(), QStringLiteral("case")));
}

TEST(CountColours, CountsUpToTheLimit) {
    QImage image(4, 1, QImage::Format_ARGB32);
    image.fill(Qt::black);
    EXPECT_EQ(Vorta::Testing::countColours(image), 1);
    image.setPixel(0, 0, qRgb(1, 0, 0));
    image.setPixel(1, 0, qRgb(2, 0, 0));
    EXPECT_EQ(Vorta::Testing::countColours(image), 3);
    EXPECT_EQ(Vorta::Testing::countColours(image, 2), 2);
}

} // namespace
