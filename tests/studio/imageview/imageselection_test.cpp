#include "imageview/imageselection.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <vector>

namespace {

using Mode = ImageSelection::Mode;

class Selection : public testing::Test {
protected:
    void drawTriangle() {
        selection_.choose(Mode::Polygon);
        selection_.press({10, 10});
        selection_.move({30, 10});
        selection_.press({30, 10});
        selection_.move({10, 30});
        selection_.pressRight({10, 30});
    }

    [[nodiscard]] int maskedPixels(bool invert = false) const {
        return cv::countNonZero(selection_.mask({50, 40}, invert));
    }

    ImageSelection selection_;
};

TEST_F(Selection, WithoutAToolNothingIsDrawn) {
    EXPECT_FALSE(selection_.mode());
    EXPECT_FALSE(selection_.press({1, 1}));
    selection_.move({5, 5});
    selection_.release({5, 5});
    selection_.pressRight({5, 5});
    EXPECT_FALSE(selection_.isDrawing());
    EXPECT_EQ(maskedPixels(), 0);
}

TEST_F(Selection, LineIsMadeWithTwoClicks) {
    selection_.choose(Mode::Line);
    EXPECT_FALSE(selection_.press({3, 4}));
    EXPECT_EQ(selection_.line(), QLine(3, 4, 3, 4));
    selection_.release({3, 4});
    selection_.move({20, 9});
    EXPECT_EQ(selection_.line(), QLine(3, 4, 20, 9));
    const auto line = selection_.press({21, 10});
    ASSERT_TRUE(line);
    EXPECT_EQ(*line, QLine(3, 4, 21, 10));
    selection_.move({40, 40});
    EXPECT_EQ(selection_.line(), QLine(3, 4, 21, 10)) << "it is finished";
}

TEST_F(Selection, RectangleIsDraggedInAnyDirection) {
    selection_.choose(Mode::Rectangle);
    selection_.press({20, 30});
    EXPECT_EQ(selection_.rectangle(), QRect(20, 30, 1, 1));
    selection_.move({15, 25});
    EXPECT_EQ(selection_.rectangle(), QRect(QPoint(15, 25), QPoint(20, 30)));
    selection_.release({10, 35});
    EXPECT_EQ(selection_.rectangle(), QRect(QPoint(10, 30), QPoint(20, 35)));
    EXPECT_FALSE(selection_.isDrawing());
    selection_.move({0, 0});
    EXPECT_EQ(selection_.rectangle(), QRect(QPoint(10, 30), QPoint(20, 35)));
}

TEST_F(Selection, PolygonIsClosedByTheRightButton) {
    drawTriangle();
    EXPECT_FALSE(selection_.isDrawing());
    EXPECT_EQ(selection_.polygon(), QPolygon(QVector<QPoint>{{10, 10}, {30, 10}, {10, 30}, {10, 10}}));
}

TEST_F(Selection, RightClickWithoutAPolygonInProgressChangesNothing) {
    drawTriangle();
    selection_.pressRight({40, 35});
    EXPECT_EQ(selection_.polygon(), QPolygon(QVector<QPoint>{{10, 10}, {30, 10}, {10, 30}, {10, 10}}));
    selection_.choose(Mode::Polygon);
    selection_.pressRight({40, 35});
    EXPECT_TRUE(selection_.polygon().isEmpty());
    EXPECT_FALSE(selection_.isDrawing());
}

TEST_F(Selection, PolygonsLastPointFollowsTheMouse) {
    selection_.choose(Mode::Polygon);
    selection_.press({1, 1});
    EXPECT_EQ(selection_.polygon(), QPolygon(QVector<QPoint>{{1, 1}, {1, 1}}));
    selection_.move({7, 2});
    EXPECT_EQ(selection_.polygon(), QPolygon(QVector<QPoint>{{1, 1}, {7, 2}}));
    selection_.press({8, 3});
    EXPECT_EQ(selection_.polygon(), QPolygon(QVector<QPoint>{{1, 1}, {8, 3}, {8, 3}}));
}

TEST_F(Selection, PolygonOfOnePointRestartsAtTheRightClick) {
    selection_.choose(Mode::Polygon);
    selection_.press({1, 1});
    selection_.pressRight({5, 6});
    EXPECT_TRUE(selection_.isDrawing());
    EXPECT_EQ(selection_.polygon(), QPolygon(QVector<QPoint>{{5, 6}, {5, 6}}));
}

TEST_F(Selection, NextPressStartsAnotherOne) {
    drawTriangle();
    selection_.press({2, 2});
    EXPECT_EQ(selection_.polygon(), QPolygon(QVector<QPoint>{{2, 2}, {2, 2}}));
    selection_.choose(Mode::Rectangle);
    selection_.press({1, 1});
    selection_.release({9, 9});
    selection_.press({3, 3});
    EXPECT_EQ(selection_.rectangle(), QRect(3, 3, 1, 1));
}

TEST_F(Selection, CancellingKeepsTheToolAndWhatIsFinished) {
    drawTriangle();
    EXPECT_FALSE(selection_.cancel());
    EXPECT_EQ(selection_.polygon().size(), 4);
    selection_.press({2, 2});
    EXPECT_TRUE(selection_.cancel());
    EXPECT_TRUE(selection_.polygon().isEmpty());
    EXPECT_EQ(selection_.mode(), Mode::Polygon);
    EXPECT_FALSE(selection_.isDrawing());
}

TEST_F(Selection, AnotherToolForgetsWhatWasDrawn) {
    drawTriangle();
    selection_.choose(Mode::Rectangle);
    EXPECT_EQ(maskedPixels(), 0);
    selection_.clear();
    EXPECT_FALSE(selection_.mode());
}

TEST_F(Selection, RectangleMasksItsPixelsWithCodeFive) {
    selection_.choose(Mode::Rectangle);
    selection_.press({10, 5});
    selection_.release({19, 9});
    const cv::Mat_<uchar> mask = selection_.mask({50, 40}, false);
    ASSERT_EQ(mask.size(), cv::Size(50, 40));
    EXPECT_EQ(mask(5, 10), 5);
    EXPECT_EQ(mask(9, 19), 5);
    EXPECT_EQ(mask(4, 10), 0);
    EXPECT_EQ(mask(5, 9), 0);
    // The pen goes along the rectangle's outside at its right and lower edge.
    EXPECT_EQ(mask(10, 20), 5);
    EXPECT_EQ(mask(11, 20), 0);
    EXPECT_EQ(mask(10, 21), 0);
    EXPECT_EQ(cv::countNonZero(mask), 11 * 6);
}

TEST_F(Selection, InvertMasksTheOutside) {
    selection_.choose(Mode::Rectangle);
    selection_.press({10, 5});
    selection_.release({19, 9});
    const cv::Mat_<uchar> mask = selection_.mask({50, 40}, true);
    EXPECT_EQ(mask(5, 10), 0);
    EXPECT_EQ(mask(4, 10), 5);
    EXPECT_EQ(cv::countNonZero(mask), 50 * 40 - 11 * 6);
}

TEST_F(Selection, CrossingPolygonLeavesItsMiddleByOddAndEven) {
    selection_.choose(Mode::Polygon);
    // A square twice around, the second time smaller: the inner one lies inside twice.
    for (const QPoint& point : std::vector<QPoint>{
             {5, 5}, {35, 5}, {35, 35}, {5, 35}, {5, 5}, {15, 15}, {25, 15}, {25, 25}, {15, 25}, {15, 15}})
        selection_.press(point);
    selection_.pressRight({5, 5});
    const cv::Mat_<uchar> mask = selection_.mask({50, 40}, false);
    EXPECT_EQ(mask(10, 20), 5);
    EXPECT_EQ(mask(20, 20), 0);
}

TEST_F(Selection, WhatLiesOutsideTheImageIsCutOff) {
    selection_.choose(Mode::Rectangle);
    selection_.press({-100, -100});
    selection_.release({4, 1});
    EXPECT_EQ(maskedPixels(), 6 * 3);
}

TEST_F(Selection, LineEnclosesNothing) {
    selection_.choose(Mode::Line);
    selection_.press({0, 0});
    selection_.press({30, 30});
    EXPECT_EQ(maskedPixels(), 0);
    EXPECT_EQ(maskedPixels(true), 50 * 40);
}

} // namespace
