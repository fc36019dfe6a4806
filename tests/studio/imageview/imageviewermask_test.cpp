// Masking and cross sections in the viewer, by clicks and keys, and what the screen shows of it.
#include "studio/imageview/viewerfixture.h"

#include "imageview/crosssectionplot.h"

#include <QDockWidget>
#include <QRubberBand>
#include <QSignalSpy>
#include <QtTest>

#include <opencv2/core.hpp>
#include <qwt_plot.h>
#include <qwt_plot_item.h>

namespace {

using Vorta::Testing::grabFromScreen;
using Vorta::Testing::waitFor;
using Vorta::Testing::widgetPixels;

constexpr QRgb orangeColor = 0xffff8000;
// Half of each component and half of the mask's blue: alpha 128 of 255.
constexpr QRgb blueOnOrange = 0xff7f4080;

class MaskViewer : public ViewerFixture {
protected:
    void SetUp() override {
        show({690, 500});
        viewer_.setImage(orange());
        connect();
        ASSERT_TRUE(waitFor([this] { return label().height() > 100; }));
        ASSERT_TRUE(becomes(60, 40, orangeColor));
    }

    void connect() {
        QObject::connect(&viewer_, &ImageViewer::maskUpdated, &viewer_, [this](const cv::Mat_<uchar>& mask) {
            ++applied_;
            mask_ = mask;
        });
    }

    /// Where a pixel of the image stands in the label.
    QPoint at(int x, int y) const { return label().placement().toWidget({x, y}); }

    void click(int x, int y, Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseClick(&label(), button, Qt::NoModifier, at(x, y));
    }
    void moveTo(int x, int y) {
        QMouseEvent move(QEvent::MouseMove, at(x, y), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(&label(), &move);
    }
    void drag(QPoint from, QPoint to) {
        QTest::mousePress(&label(), Qt::LeftButton, Qt::NoModifier, at(from.x(), from.y()));
        moveTo(to.x(), to.y());
        QTest::mouseRelease(&label(), Qt::LeftButton, Qt::NoModifier, at(to.x(), to.y()));
    }
    void selectRectangle() {
        action("actionSelect_Rectangle").setChecked(true);
        drag({40, 20}, {80, 60});
    }

    /// What the screen shows in the middle of a pixel of the image.
    QRgb shown(int x, int y) { return grabFromScreen(label()).pixel(at(x, y) * label().devicePixelRatioF()); }
    bool becomes(int x, int y, QRgb color) {
        return waitFor([&] { return shown(x, y) == color; });
    }

    int applied_ = 0;
    cv::Mat_<uchar> mask_; // as last applied
};

TEST_F(MaskViewer, OneToolAtMostIsOn) {
    for (const char* tool : {"actionSelect_Rectangle", "actionSelect_Polygon", "actionCross_section"}) {
        action(tool).trigger();
        for (const char* other : {"actionSelect_Rectangle", "actionSelect_Polygon", "actionCross_section"})
            EXPECT_EQ(action(other).isChecked(), tool == other) << tool << ", " << other;
        EXPECT_EQ(label().cursor().shape(), Qt::CrossCursor);
    }
    action("actionCross_section").trigger();
    EXPECT_EQ(label().cursor().shape(), Qt::ArrowCursor);
}

TEST_F(MaskViewer, RectangleIsAppliedAndShown) {
    action("actionToggle_mask").trigger();
    selectRectangle();
    action("actionApply_mask").trigger();
    ASSERT_EQ(applied_, 1);
    ASSERT_EQ(mask_.size(), cv::Size(200, 100));
    EXPECT_EQ(mask_(40, 60), 5);
    EXPECT_EQ(mask_(10, 60), 0);
    action("actionSelect_Rectangle").trigger(); // the rubber band is transparent
    EXPECT_TRUE(becomes(60, 40, blueOnOrange)) << std::hex << shown(60, 40);
    EXPECT_EQ(shown(10, 10), orangeColor);
    viewer_.updateMousePosition(60, 40);
    EXPECT_EQ(message(), QStringLiteral("X:60 Y:40 R:255 G:128 B:0 Irrelevant"));
    action("actionToggle_mask").trigger();
    EXPECT_TRUE(becomes(60, 40, orangeColor));
}

TEST_F(MaskViewer, MasksAccumulateUntilDeleted) {
    selectRectangle();
    action("actionApply_mask").trigger();
    drag({120, 20}, {150, 40});
    action("actionApply_mask").trigger();
    action("actionSelect_Rectangle").trigger();
    EXPECT_EQ(applied_, 2);
    EXPECT_EQ(mask_(40, 60), 5);
    EXPECT_EQ(mask_(30, 130), 5);
    action("actionToggle_mask").trigger();
    ASSERT_TRUE(becomes(60, 40, blueOnOrange));
    action("actionDelete_Mask").trigger();
    EXPECT_TRUE(becomes(60, 40, orangeColor));
    EXPECT_EQ(applied_, 2);
    viewer_.updateMousePosition(60, 40);
    EXPECT_EQ(message(), QStringLiteral("X:60 Y:40 R:255 G:128 B:0 "));
}

TEST_F(MaskViewer, InvertMasksTheOutside) {
    action("actionInvert").trigger();
    selectRectangle();
    action("actionApply_mask").trigger();
    EXPECT_EQ(mask_(40, 60), 0);
    EXPECT_EQ(mask_(10, 60), 5);
    EXPECT_EQ(mask_(99, 199), 5);
}

TEST_F(MaskViewer, PolygonIsClosedByTheRightButtonAndApplied) {
    action("actionSelect_Polygon").trigger();
    click(40, 20);
    moveTo(100, 20);
    click(100, 20);
    click(100, 80);
    click(40, 80, Qt::RightButton);
    action("actionApply_mask").trigger();
    EXPECT_EQ(mask_(50, 70), 5);
    EXPECT_EQ(mask_(50, 120), 0);
    EXPECT_NEAR(cv::countNonZero(mask_), 61 * 61, 250);
}

TEST_F(MaskViewer, LineMasksNothingButWithInvertAll) {
    action("actionCross_section").trigger();
    action("actionApply_mask").trigger();
    ASSERT_EQ(applied_, 1);
    EXPECT_EQ(mask_.size(), cv::Size(200, 100));
    EXPECT_EQ(cv::countNonZero(mask_), 0);
    action("actionInvert").trigger();
    action("actionApply_mask").trigger();
    ASSERT_EQ(applied_, 2);
    EXPECT_EQ(cv::countNonZero(mask_ == 5), 200 * 100);
}

TEST_F(MaskViewer, GivenMaskStaysItsOwners) {
    const cv::Mat_<uchar> given(100, 200, uchar{0});
    viewer_.setMask(given);
    selectRectangle();
    action("actionApply_mask").trigger();
    EXPECT_EQ(cv::countNonZero(given), 0);
    EXPECT_GT(cv::countNonZero(mask_), 0);
}

TEST_F(MaskViewer, UpdatingAddsCodesAndZeroesChangeNothing) {
    cv::Mat_<uchar> first(100, 200, uchar{0});
    first(10, 20) = 1;
    viewer_.setMask(first);
    cv::Mat_<uchar> more(100, 200, uchar{0});
    viewer_.updateMask(more);
    viewer_.updateMousePosition(20, 10);
    EXPECT_EQ(message(), QStringLiteral("X:20 Y:10 R:255 G:128 B:0 Low contrast"));
    more(10, 20) = 3;
    more(11, 20) = 4;
    viewer_.updateMask(more);
    viewer_.updateMousePosition(20, 10);
    EXPECT_EQ(message(), QStringLiteral("X:20 Y:10 R:255 G:128 B:0 Out of range"));
    viewer_.updateMousePosition(20, 11);
    EXPECT_EQ(message(), QStringLiteral("X:20 Y:11 R:255 G:128 B:0 Disconnected"));
    EXPECT_EQ(applied_, 0);
}

TEST_F(MaskViewer, SaturatedPixelsAreBlueInTheMaskAndMagentaByThemselves) {
    viewer_.setMask(cv::Mat_<uchar>(100, 200, uchar{2}));
    action("actionToggle_mask").trigger();
    EXPECT_TRUE(becomes(60, 40, blueOnOrange));
    action("actionMask_Saturated_Pixels").trigger();
    EXPECT_TRUE(becomes(60, 40, 0xffff00ff));
    action("actionToggle_mask").trigger();
    EXPECT_TRUE(becomes(60, 40, 0xffff00ff));
    action("actionMask_Saturated_Pixels").trigger();
    EXPECT_TRUE(becomes(60, 40, orangeColor));
}

TEST_F(MaskViewer, MaskKeepsItsPlaceWhenTheWindowIsResizedOrZoomed) {
    cv::Mat_<uchar> left(100, 200, uchar{0});
    left.colRange(0, 100).setTo(5);
    viewer_.setMask(left);
    action("actionToggle_mask").trigger();
    ASSERT_TRUE(becomes(50, 50, blueOnOrange));
    viewer_.resize(500, 420);
    EXPECT_TRUE(becomes(90, 50, blueOnOrange));
    EXPECT_TRUE(becomes(110, 50, orangeColor));
    viewer_.zoomIn();
    EXPECT_TRUE(becomes(90, 50, blueOnOrange));
    EXPECT_TRUE(becomes(110, 50, orangeColor));
}

TEST_F(MaskViewer, RubberBandFollowsTheRectangleAndTheWindow) {
    auto& band = part<QRubberBand>("rubberBand");
    EXPECT_FALSE(band.isVisible());
    selectRectangle();
    EXPECT_TRUE(band.isVisible());
    EXPECT_EQ(band.geometry(), QRect(at(40, 20), at(80, 60)));
    viewer_.resize(400, 400);
    EXPECT_TRUE(waitFor([&] { return band.geometry() == QRect(at(40, 20), at(80, 60)); }));
    viewer_.setImage(orange(100, 100));
    EXPECT_EQ(band.geometry(), QRect(at(40, 20), at(80, 60))) << "on another image";
    action("actionSelect_Rectangle").trigger();
    EXPECT_FALSE(band.isVisible());
}

TEST_F(MaskViewer, PolygonIsDrawnOverThePicture) {
    action("actionSelect_Polygon").trigger();
    click(40, 20);
    moveTo(100, 20);
    EXPECT_TRUE(waitFor([&] { return shown(70, 20) != orangeColor; }));
    action("actionSelect_Polygon").trigger();
    EXPECT_TRUE(becomes(70, 20, orangeColor));
}

TEST_F(MaskViewer, LineIsDrawnOverThePicture) {
    action("actionCross_section").trigger();
    click(40, 20);
    moveTo(100, 20);
    EXPECT_TRUE(waitFor([&] { return shown(70, 20) != orangeColor; })) << "while it is drawn";
    moveTo(100, 80);
    EXPECT_TRUE(waitFor([&] { return shown(70, 50) != orangeColor; })) << "it follows the mouse";
    EXPECT_TRUE(becomes(70, 20, orangeColor));
    click(100, 80);
    EXPECT_TRUE(waitFor([&] { return shown(70, 50) != orangeColor && shown(70, 20) == orangeColor; })) << "it stays";
    action("actionCross_section").trigger();
    EXPECT_TRUE(becomes(70, 50, orangeColor));
}

TEST_F(MaskViewer, EscapeGivesUpTheSelectionAndThenTheTool) {
    action("actionSelect_Polygon").trigger();
    click(40, 20);
    click(100, 20);
    QTest::keyClick(&viewer_, Qt::Key_Escape);
    EXPECT_TRUE(action("actionSelect_Polygon").isChecked());
    EXPECT_TRUE(becomes(70, 20, orangeColor));
    QTest::keyClick(&viewer_, Qt::Key_Escape);
    EXPECT_FALSE(action("actionSelect_Polygon").isChecked());
}

TEST_F(MaskViewer, LineShowsItsCrossSection) {
    auto& dock = part<QDockWidget>("crossSectionDock");
    EXPECT_FALSE(dock.isVisible());
    EXPECT_EQ(dock.windowTitle(), QStringLiteral("Cross section"));
    action("actionCross_section").trigger();
    click(20, 50);
    moveTo(60, 50);
    click(60, 50);
    EXPECT_TRUE(dock.isVisible());
    EXPECT_TRUE(action("actionToggle_cross_section").isChecked());
    const auto& plot = part<QwtPlot>("crossSectionPlot");
    const QwtPlotItemList curves = plot.itemList(QwtPlotItem::Rtti_PlotCurve);
    ASSERT_EQ(curves.size(), 1);
    EXPECT_EQ(curves.front()->title().text(), QStringLiteral("Points"));
    // From column 20 to 60, each (0 + 128 + 255) / 3; the click may miss a pixel by rounding.
    const QRectF range = curves.front()->boundingRect();
    EXPECT_NEAR(range.left(), 20.0, 1.0);
    EXPECT_NEAR(range.right(), 60.0, 1.0);
    EXPECT_DOUBLE_EQ(range.top(), 383.0 / 3.0);
    EXPECT_DOUBLE_EQ(range.bottom(), 383.0 / 3.0);
    EXPECT_EQ(plot.minimumHeight(), 150);
    EXPECT_EQ(plot.canvasBackground(), QBrush(Qt::white));
}

TEST_F(MaskViewer, CrossSectionHasAGapWhereTheImageIsMasked) {
    cv::Mat_<uchar> mask(100, 200, uchar{0});
    mask(cv::Rect(30, 0, 20, 100)).setTo(5);
    viewer_.setMask(mask);
    action("actionCross_section").trigger();
    click(20, 50);
    click(60, 50);
    auto& plot = part<QwtPlot>("crossSectionPlot");
    ASSERT_TRUE(waitFor([&] { return plot.canvas()->isVisible() && !plot.canvas()->grab().isNull(); }));
    const auto drawnAt = [&](double abscissa) {
        const QImage canvas = widgetPixels(plot.canvas()->grab().toImage());
        const int column = static_cast<int>(plot.transform(QwtPlot::xBottom, abscissa));
        for (int row = 0; row < canvas.height(); ++row)
            if (const QColor color = canvas.pixelColor(column, row); color.blue() > color.red() + 50)
                return true;
        return false;
    };
    EXPECT_TRUE(drawnAt(25.0));
    EXPECT_FALSE(drawnAt(40.0));
    EXPECT_TRUE(drawnAt(55.0));
}

TEST_F(MaskViewer, CrossSectionLeavesThePictureItsRoom) {
    action("actionToggle_cross_section").trigger();
    const auto& dock = part<QDockWidget>("crossSectionDock");
    EXPECT_TRUE(waitFor([&] { return dock.height() > 100 && dock.height() < viewer_.height() / 2; }))
        << dock.height() << " of " << viewer_.height();
}

TEST_F(MaskViewer, CrossSectionDockFollowsItsActionAndItsOwnButton) {
    viewer_.createPlot(); // there is one already
    auto& dock = part<QDockWidget>("crossSectionDock");
    action("actionToggle_cross_section").trigger();
    EXPECT_TRUE(dock.isVisible());
    dock.close();
    EXPECT_FALSE(action("actionToggle_cross_section").isChecked());
    action("actionToggle_cross_section").trigger();
    EXPECT_TRUE(dock.isVisible());
    action("actionToggle_cross_section").trigger();
    EXPECT_FALSE(dock.isVisible());
}

TEST_F(MaskViewer, CrossSectionComesBackWithTheWindowAroundIt) {
    auto& dock = part<QDockWidget>("crossSectionDock");
    action("actionToggle_cross_section").trigger();
    viewer_.hide();
    EXPECT_FALSE(dock.isVisible());
    EXPECT_TRUE(action("actionToggle_cross_section").isChecked());
    viewer_.show();
    EXPECT_TRUE(dock.isVisible());
    EXPECT_TRUE(action("actionToggle_cross_section").isChecked());
}

TEST(EmptyViewer, HasNothingToSelect) {
    ImageViewer viewer;
    for (const char* name : {"actionSelect_Rectangle", "actionCross_section", "actionSelect_Polygon",
                             "actionToggle_mask", "actionDelete_Mask", "actionInvert", "actionApply_mask"})
        EXPECT_FALSE(Vorta::Testing::find<QAction>(viewer, QLatin1String(name)).isEnabled()) << name;
}

} // namespace
