#include "imageview/colormaplegend.h"

#include "imageview/colormap.h"
#include "support/imagecompare.h"
#include "support/widgets.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPixmap>
#include <gtest/gtest.h>

namespace {

using Vorta::Testing::grabFromScreen;
using Vorta::Testing::showAndActivate;
using Vorta::Testing::widgetPixels;

constexpr int shownHeight = 201;

class Legend : public testing::Test {
protected:
    Legend() { map_.setup(0.0F, 100.0F, ColorMap::normal); }

    QImage shown() {
        legend_.resize(120, shownHeight);
        showAndActivate(legend_);
        return shownNow();
    }
    QImage shownNow() const { return widgetPixels(grabFromScreen(legend_)); }

    /// Ink of the labels between two rows.
    static bool hasText(const QImage& image, int top, int bottom) {
        return Vorta::Testing::countColours(image.copy(35, top, image.width() - 35, bottom - top)) > 1;
    }

    static int distance(QRgb a, QRgb b) {
        return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
    }

    ColorMap map_;
    ColorMapLegend legend_{map_};
};

TEST_F(Legend, HasRoomForBarTicksAndTheMinimum) {
    // The map went down to -1000 when the legend was made.
    EXPECT_EQ(legend_.minimumWidth(), 10 + 20 + 15 + legend_.fontMetrics().horizontalAdvance(QStringLiteral("-1000")));
    EXPECT_EQ(legend_.sizePolicy().horizontalPolicy(), QSizePolicy::Minimum);
    EXPECT_EQ(legend_.sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
}

TEST_F(Legend, BarRunsFromTheMinimumBelowToTheMaximumAbove) {
    const QImage image = shown();
    EXPECT_LE(distance(image.pixel(10, 1), qRgb(255, 0, 0)), 6);
    EXPECT_LE(distance(image.pixel(10, shownHeight - 2), qRgb(0, 0, 255)), 8);
    // Six segments of equal height: the starts of the third and fourth stand at 4/6 and 3/6 of the height.
    EXPECT_LE(distance(image.pixel(10, 133), qRgb(0, 255, 255)), 8);
    EXPECT_LE(distance(image.pixel(10, 100), qRgb(0, 255, 0)), 8);
}

TEST_F(Legend, BarIsFramedInBlack) {
    const QImage image = shown();
    for (const QPoint& corner :
         {QPoint(0, 0), QPoint(19, 0), QPoint(0, shownHeight - 1), QPoint(19, shownHeight - 1), QPoint(0, 100)})
        EXPECT_EQ(image.pixel(corner), qRgb(0, 0, 0)) << corner.x() << ' ' << corner.y();
    EXPECT_NE(image.pixel(20, 80), qRgb(0, 0, 0));
}

TEST_F(Legend, TicksAreLongAtTheEndsAndShortBetween) {
    const QImage image = shown();
    const auto length = [&](int y) {
        int x = 20;
        while (image.pixel(x, y) == qRgb(0, 0, 0))
            ++x;
        return x - 20;
    };
    EXPECT_EQ(length(0), 10);
    EXPECT_EQ(length(50), 5);
    EXPECT_EQ(length(100), 5);
    EXPECT_EQ(length(150), 5);
    EXPECT_EQ(length(200), 10);
    EXPECT_EQ(length(75), 0);
}

TEST_F(Legend, LabelsStandBesideTheTicks) {
    const QImage image = shown();
    const int fontHeight = legend_.fontMetrics().height();
    EXPECT_TRUE(hasText(image, 0, fontHeight));
    EXPECT_FALSE(hasText(image, fontHeight + 2, 50 - fontHeight));
    for (const int middle : {50, 100, 150})
        EXPECT_TRUE(hasText(image, middle - fontHeight / 2, middle + fontHeight / 2)) << middle;
    EXPECT_TRUE(hasText(image, shownHeight - fontHeight, shownHeight));
}

TEST_F(Legend, LabelsAreTheDepthsOfTheirTicks) {
    map_.setup(-12.34F, 387.66F, ColorMap::normal);
    shown();
    const QImage image = grabFromScreen(legend_);
    QPixmap expected(image.size());
    expected.setDevicePixelRatio(image.devicePixelRatio());
    expected.fill(legend_.palette().color(QPalette::Window));
    QPainter painter(&expected);
    painter.setFont(legend_.font());
    painter.setPen(legend_.palette().color(QPalette::WindowText));
    const double height = legend_.fontMetrics().height();
    painter.drawText(QPointF(35, 0.75 * height), QStringLiteral("387.7"));
    painter.drawText(QPointF(35, 50.25 + height / 4), QStringLiteral("287.7"));
    painter.drawText(QPointF(35, 100.5 + height / 4), QStringLiteral("187.7"));
    painter.drawText(QPointF(35, 150.75 + height / 4), QStringLiteral("87.7"));
    painter.drawText(QPointF(35, 200), QStringLiteral("-12.3"));
    painter.end();
    const QRect labels(QPoint(35, 0) * image.devicePixelRatio(), image.rect().bottomRight());
    EXPECT_TRUE(
        Vorta::Testing::sameImage(image.copy(labels), expected.toImage().copy(labels), QStringLiteral("legendLabels")));
}

TEST_F(Legend, LeavesOutLabelsThatWouldTouch) {
    const auto linesAt = [&](double fontHeights) {
        ColorMapLegend legend(map_);
        legend.resize(120, qRound(fontHeights * legend.fontMetrics().height()));
        showAndActivate(legend);
        const QImage image = widgetPixels(grabFromScreen(legend));
        EXPECT_EQ(image.height(), legend.height());
        int lines = 0;
        bool wasText = false;
        for (int y = 0; y < image.height(); ++y) {
            const bool isText = hasText(image, y, y + 1);
            lines += isText && !wasText ? 1 : 0;
            wasText = isText;
        }
        return lines;
    };
    EXPECT_EQ(linesAt(8.0), 5);
    EXPECT_EQ(linesAt(5.5), 5);
    EXPECT_EQ(linesAt(4.0), 3);
    EXPECT_EQ(linesAt(2.2), 2);
}

TEST_F(Legend, FollowsTheMap) {
    const QImage before = shown();
    map_.setup(500.0F, 600.0F, ColorMap::blackToWhite);
    legend_.update();
    ASSERT_TRUE(Vorta::Testing::waitFor([&] { return shownNow() != before; }));
    const QImage image = shownNow();
    EXPECT_LE(distance(image.pixel(10, 1), qRgb(255, 255, 255)), 6);
    EXPECT_LE(distance(image.pixel(10, shownHeight - 2), qRgb(0, 0, 0)), 6);
}

} // namespace
