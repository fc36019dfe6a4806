#include "imageview/imagelabel.h"

#include "support/widgets.h"

#include <QMouseEvent>
#include <QSignalSpy>
#include <QtTest>
#include <gtest/gtest.h>

namespace {

using Vorta::Testing::grabFromScreen;
using Vorta::Testing::showAndActivate;
using Vorta::Testing::waitFor;
using Vorta::Testing::widgetPixels;

class Label : public testing::Test {
protected:
    Label() {
        label_.resize(300, 200);
        label_.setAutoFillBackground(true);
    }

    static QImage halves(QSize size) {
        QImage image(size, QImage::Format_RGB888);
        image.fill(Qt::red);
        for (int y = 0; y < size.height(); ++y)
            for (int x = size.width() / 2; x < size.width(); ++x)
                image.setPixel(x, y, qRgb(0, 0, 255));
        return image;
    }

    QImage shown() const { return widgetPixels(grabFromScreen(label_)); }

    void moveTo(QPoint point) {
        QMouseEvent event(QEvent::MouseMove, point, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(&label_, &event);
    }

    ImageLabel label_;
};

TEST_F(Label, StartsEmptyAndDoesNotFollowTheMouse) {
    EXPECT_EQ(label_.minimumSize(), QSize(1, 1));
    EXPECT_EQ(label_.backgroundRole(), QPalette::Base);
    EXPECT_FALSE(label_.hasMouseTracking());
    QSignalSpy over(&label_, &ImageLabel::mouseOver);
    moveTo({10, 10});
    EXPECT_EQ(over.count(), 0);
    label_.setImage(halves({10, 10}));
    EXPECT_TRUE(label_.hasMouseTracking());
}

TEST_F(Label, ShowsTheImageReducedAndCentred) {
    label_.setImage(halves({1200, 400})); // 300 x 100 in the middle of 300 x 200
    showAndActivate(label_);
    const QImage picture = shown();
    EXPECT_EQ(picture.pixel(10, 60), qRgb(255, 0, 0));
    EXPECT_EQ(picture.pixel(140, 140), qRgb(255, 0, 0));
    EXPECT_EQ(picture.pixel(160, 60), qRgb(0, 0, 255));
    EXPECT_EQ(picture.pixel(10, 48), label_.palette().color(QPalette::Base).rgb());
    EXPECT_EQ(picture.pixel(10, 152), label_.palette().color(QPalette::Base).rgb());
}

TEST_F(Label, ShowsTheImageEnlargedAndSmooth) {
    label_.setImage(halves({2, 2})); // 200 x 200 from x = 50
    showAndActivate(label_);
    const QImage picture = shown();
    EXPECT_EQ(picture.pixel(60, 100), qRgb(255, 0, 0));
    EXPECT_EQ(picture.pixel(240, 100), qRgb(0, 0, 255));
    const QRgb between = picture.pixel(150, 100);
    EXPECT_GT(qRed(between), 60);
    EXPECT_GT(qBlue(between), 60);
    EXPECT_EQ(picture.pixel(40, 100), label_.palette().color(QPalette::Base).rgb());
}

TEST_F(Label, FollowsItsSizeAndNewImages) {
    label_.setImage(halves({1200, 400}));
    showAndActivate(label_);
    label_.resize(150, 200); // now 150 x 50
    ASSERT_TRUE(waitFor([this] { return shown().pixel(10, 60) == qRgb(255, 255, 255); }));
    EXPECT_EQ(shown().pixel(10, 100), qRgb(255, 0, 0));
    QImage green(1200, 400, QImage::Format_RGB888);
    green.fill(qRgb(0, 255, 0));
    label_.setImage(green);
    EXPECT_TRUE(waitFor([this] { return shown().pixel(10, 100) == qRgb(0, 255, 0); }));
}

TEST_F(Label, TellsWhereTheMouseIsOnTheImage) {
    label_.setImage(halves({1200, 400}));
    QSignalSpy over(&label_, &ImageLabel::mouseOver);
    moveTo({150, 100});
    moveTo({0, 50});
    moveTo({10, 20});
    ASSERT_EQ(over.count(), 3);
    EXPECT_EQ(over[0], QVariantList({600, 200}));
    EXPECT_EQ(over[1], QVariantList({0, 0}));
    EXPECT_EQ(over[2], QVariantList({40, -120}));
}

TEST_F(Label, TellsWhenTheMouseLeaves) {
    label_.setImage(halves({1200, 400}));
    QSignalSpy over(&label_, &ImageLabel::mouseOver);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&label_, &leave);
    ASSERT_EQ(over.count(), 1);
    EXPECT_EQ(over[0], QVariantList({-1, -1}));
}

TEST_F(Label, IsAsLargeAsItsImageByItself) {
    label_.setImage(halves({1200, 400}));
    EXPECT_EQ(label_.sizeHint(), QSize(1200, 400));
}

} // namespace
