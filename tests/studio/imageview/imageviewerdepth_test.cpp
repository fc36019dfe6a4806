#include "studio/imageview/viewerfixture.h"
#include "support/imagecompare.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QTemporaryDir>

#include <limits>

namespace {

using Vorta::Testing::grabFromScreen;
using Vorta::Testing::waitFor;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr QRgb blue = 0xFF0000FF;
constexpr QRgb green = 0xFF00FF00;
constexpr QRgb red = 0xFFFF0000;

class DepthViewer : public ViewerFixture {
protected:
    QDoubleSpinBox& minimum() const { return part<QDoubleSpinBox>("minimumSpinBox"); }
    QDoubleSpinBox& maximum() const { return part<QDoubleSpinBox>("maximumSpinBox"); }
    QComboBox& depthMap() const { return part<QComboBox>("depthMapComboBox"); }
    QCheckBox& keep() const { return part<QCheckBox>("keepCheckBox"); }
    QPushButton& reset() const { return part<QPushButton>("resetButton"); }

    void expectRange(double least, double greatest) const {
        for (const QDoubleSpinBox* box : {&minimum(), &maximum()}) {
            EXPECT_EQ(box->minimum(), least);
            EXPECT_EQ(box->maximum(), greatest);
        }
        EXPECT_EQ(minimum().value(), least);
        EXPECT_EQ(maximum().value(), greatest);
    }

    /// Depths 600, 650, 700 and none.
    static cv::Mat_<float> depths() { return (cv::Mat_<float>(1, 4) << 600.0F, 650.0F, 700.0F, nan); }
};

TEST_F(DepthViewer, ControlsStandInOrderAndStartHidden) {
    show();
    auto& bar = part<QToolBar>("toolBarDepth");
    EXPECT_FALSE(bar.isVisible());
    EXPECT_FALSE(part("colorMapLegend").isVisible());
    QList<QWidget*> widgets;
    for (QAction* entry : bar.actions())
        widgets += bar.widgetForAction(entry);
    ASSERT_EQ(widgets.size(), 7);
    const auto& rangeLabel = dynamic_cast<QLabel&>(*widgets[0]);
    EXPECT_EQ(rangeLabel.text(), QStringLiteral("&Range:"));
    EXPECT_EQ(rangeLabel.buddy(), &minimum());
    EXPECT_EQ(widgets[1], &minimum());
    EXPECT_EQ(widgets[2], &maximum());
    EXPECT_EQ(widgets[3], &keep());
    EXPECT_EQ(keep().text(), QStringLiteral("&Keep"));
    EXPECT_FALSE(keep().isChecked());
    EXPECT_EQ(widgets[4], &reset());
    EXPECT_EQ(reset().text(), QStringLiteral("Re&set"));
    const auto& mapLabel = dynamic_cast<QLabel&>(*widgets[5]);
    EXPECT_EQ(mapLabel.text(), QStringLiteral("&Depth Map:"));
    EXPECT_EQ(mapLabel.buddy(), &depthMap());
    EXPECT_EQ(widgets[6], &depthMap());
    ASSERT_EQ(depthMap().count(), 3);
    EXPECT_EQ(depthMap().itemText(0), QStringLiteral("Normal"));
    EXPECT_EQ(depthMap().itemText(1), QStringLiteral("Black to white"));
    EXPECT_EQ(depthMap().itemText(2), QStringLiteral("Blue to red"));
    EXPECT_EQ(bar.layout()->spacing(), 5);
}

TEST_F(DepthViewer, FirstDepthImageBringsControlsAndLegend) {
    show();
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    EXPECT_TRUE(part("toolBarDepth").isVisible());
    EXPECT_TRUE(part("colorMapLegend").isVisible());
}

TEST_F(DepthViewer, AllControlsFitIntoANarrowDock) {
    show({500, 350});
    viewer_.setDepthImage(depths(), 612.34F, 1893.21F);
    QCoreApplication::processEvents();
    EXPECT_TRUE(depthMap().isVisible());
    EXPECT_LE(depthMap().mapTo(&viewer_, QPoint(depthMap().width(), 0)).x(), viewer_.width());
}

TEST_F(DepthViewer, NewRangeReachesThePixelsWithTheNextFrame) {
    // The map still runs from -1000 to 1000, where 700 is 85 %: between yellow (65 %) and orange (87.5 %).
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    expectRange(600.0, 700.0);
    EXPECT_EQ(qRed(pixel(2, 0)), 255);
    EXPECT_GT(qGreen(pixel(2, 0)), 128);
    EXPECT_EQ(pixel(3, 0), red);
    viewer_.setDepthImage(depths(), 500.0F, 900.0F);
    EXPECT_EQ(pixel(0, 0), blue) << "coloured with the first frame's range";
    EXPECT_EQ(pixel(1, 0), green);
    EXPECT_EQ(pixel(2, 0), red);
    EXPECT_EQ(pixel(3, 0), red);
    expectRange(500.0, 900.0);
}

TEST_F(DepthViewer, LegendShowsARangeAtOnce) {
    show();
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    const auto& legend = part("colorMapLegend");
    QImage before = grabFromScreen(legend);
    const auto becomesAnother = [&] {
        const bool changed = waitFor([&] { return grabFromScreen(legend) != before; });
        before = grabFromScreen(legend);
        return changed;
    };
    ASSERT_TRUE(waitFor([&] { return Vorta::Testing::countColours(before = grabFromScreen(legend)) > 100; }));
    viewer_.setDepthImage(depths(), 500.0F, 900.0F);
    EXPECT_TRUE(becomesAnother()) << "a frame's range";
    minimum().setValue(520.0);
    EXPECT_TRUE(becomesAnother()) << "the user's";
    depthMap().setCurrentIndex(1);
    EXPECT_TRUE(becomesAnother());
    EXPECT_EQ(qRed(before.pixel(before.devicePixelRatio() * QPoint(10, 20))),
              qBlue(before.pixel(before.devicePixelRatio() * QPoint(10, 20))))
        << "grey";
    viewer_.updateDepthRange(100.0F, 200.0F);
    EXPECT_TRUE(becomesAnother()) << "a caller's";
}

TEST_F(DepthViewer, FramesWithoutPositiveDepthLeaveTheRange) {
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    for (const auto& [least, greatest] :
         {std::pair(-5.0F, 0.0F), std::pair(-5.0F, -1.0F),
          std::pair(std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity())}) {
        viewer_.setDepthImage(depths(), least, greatest);
        expectRange(600.0, 700.0);
    }
}

TEST_F(DepthViewer, KeptRangeIsOnlyChangedByReset) {
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    keep().setChecked(true);
    viewer_.setDepthImage(depths(), 500.0F, 800.0F);
    expectRange(600.0, 700.0);
    EXPECT_EQ(pixel(1, 0), green);
    reset().click();
    expectRange(500.0, 800.0);
    EXPECT_EQ(pixel(1, 0), green) << "650 is the middle again";
    EXPECT_NE(pixel(0, 0), blue);
}

TEST_F(DepthViewer, ResetGoesBackToTheFramesRange) {
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    minimum().setValue(620.0);
    maximum().setValue(660.0);
    reset().click();
    expectRange(600.0, 700.0);
    EXPECT_EQ(pixel(0, 0), blue);
    EXPECT_EQ(pixel(1, 0), green);
}

TEST_F(DepthViewer, ResetWithoutAnyDepthKeepsTheRange) {
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    viewer_.setDepthImage(cv::Mat_<float>(1, 4, nan), std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity());
    reset().click();
    expectRange(600.0, 700.0);
}

TEST_F(DepthViewer, SpinBoxesRecolourAtOnce) {
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    minimum().setValue(650.0);
    EXPECT_EQ(pixel(0, 0), blue) << "below the range";
    EXPECT_EQ(pixel(1, 0), blue) << "its lower end";
    EXPECT_EQ(pixel(2, 0), red);
    maximum().setValue(650.0);
    EXPECT_EQ(pixel(2, 0), red) << "above the range";
}

TEST_F(DepthViewer, ComboBoxRecoloursAtOnce) {
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    depthMap().setCurrentIndex(1);
    EXPECT_EQ(pixel(0, 0), qRgb(0, 0, 0));
    EXPECT_EQ(pixel(1, 0), qRgb(127, 127, 127));
    EXPECT_EQ(pixel(2, 0), qRgb(255, 255, 255));
    EXPECT_EQ(pixel(3, 0), qRgb(255, 255, 255));
    depthMap().setCurrentIndex(2);
    EXPECT_EQ(pixel(1, 0), qRgb(127, 0, 128));
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    EXPECT_EQ(pixel(1, 0), qRgb(127, 0, 128)) << "the mode stays for the next frames";
}

TEST_F(DepthViewer, UpdatedRangeLeavesThePixelsAlone) {
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    viewer_.updateDepthRange(0.0F, 2000.0F);
    expectRange(0.0, 2000.0);
    EXPECT_EQ(pixel(1, 0), green);
}

TEST_F(DepthViewer, RecolouringKeepsTheUsersZoom) {
    show();
    viewer_.setDepthImage(cv::Mat_<float>(100, 200, 650.0F), 600.0F, 700.0F);
    viewer_.zoomIn();
    const QSize zoomed = label().size();
    depthMap().setCurrentIndex(1);
    viewer_.setDepthImage(cv::Mat_<float>(100, 200, 650.0F), 600.0F, 700.0F);
    QCoreApplication::processEvents();
    EXPECT_EQ(label().size(), zoomed);
}

TEST_F(DepthViewer, ReadsOutDepths) {
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    viewer_.setMask((cv::Mat_<uchar>(1, 4) << 0, 0, 3, 5));
    viewer_.updateMousePosition(1, 0);
    EXPECT_EQ(message(), QStringLiteral("X:1 Y:0 Z:650 "));
    viewer_.updateMousePosition(2, 0);
    EXPECT_EQ(message(), QStringLiteral("X:2 Y:0 Z:700 Out of range"));
    viewer_.updateMousePosition(3, 0);
    EXPECT_EQ(message(), QStringLiteral("X:3 Y:0 Z:nan Irrelevant"));
}

TEST_F(DepthViewer, SavesTheColoursAsShown) {
    const QTemporaryDir folder;
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    viewer_.setDepthImage(depths(), 600.0F, 700.0F);
    const QString file = folder.filePath(QString::fromUtf8("Tiefe ä.png"));
    viewer_.saveImage(file.toLocal8Bit().toStdString());
    const QImage saved(file);
    ASSERT_EQ(saved.size(), QSize(4, 1));
    EXPECT_EQ(saved.pixel(0, 0), blue);
    EXPECT_EQ(saved.pixel(1, 0), green);
}

} // namespace
