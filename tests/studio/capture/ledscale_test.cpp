#include "capture/ledscale.h"

#include <gtest/gtest.h>

namespace {

constexpr LedScale unit{.spinMinimum = 0.0, .spinMaximum = 1.0, .sliderMinimum = 0, .sliderMaximum = 200};
constexpr LedScale shifted{.spinMinimum = 2.0, .spinMaximum = 6.0, .sliderMinimum = 10, .sliderMaximum = 20};

TEST(LedScale, theSliderLiesOverTheWholeRange) {
    EXPECT_EQ(unit.toSpin(0), 0.0);
    EXPECT_EQ(unit.toSpin(100), 0.5);
    EXPECT_EQ(unit.toSpin(200), 1.0);
    EXPECT_EQ(shifted.toSpin(10), 2.0);
    EXPECT_EQ(shifted.toSpin(15), 4.0);
    EXPECT_EQ(shifted.toSpin(20), 6.0);
}

TEST(LedScale, aValueBetweenTwoStepsIsCutDown) {
    EXPECT_EQ(unit.toSlider(0.0), 0);
    EXPECT_EQ(unit.toSlider(0.333), 66) << "66.6 steps";
    EXPECT_EQ(unit.toSlider(0.5), 100);
    EXPECT_EQ(unit.toSlider(1.0), 200);
    EXPECT_EQ(shifted.toSlider(2.3), 10) << "0.75 steps";
    EXPECT_EQ(shifted.toSlider(5.5), 18) << "8.75 steps";
    EXPECT_EQ(shifted.toSlider(6.0), 20);
}

TEST(LedScale, aRangeOfOneValueHasItsMinimum) {
    constexpr LedScale oneValue{.spinMinimum = 1.0, .spinMaximum = 1.0, .sliderMinimum = 3, .sliderMaximum = 200};
    EXPECT_EQ(oneValue.toSlider(1.0), 3);
    EXPECT_EQ(oneValue.toSpin(50), 1.0);
    constexpr LedScale oneStep{.spinMinimum = 0.5, .spinMaximum = 1.0, .sliderMinimum = 7, .sliderMaximum = 7};
    EXPECT_EQ(oneStep.toSpin(7), 0.5);
    EXPECT_EQ(oneStep.toSlider(0.75), 7);
}

} // namespace
