#include "framebudget.h"

#include <gtest/gtest.h>

namespace {

using Vorta::FrameBudget;

TEST(FrameBudget, ShowsAllThatFitsIntoAFrame) {
    FrameBudget budget(100.0);
    EXPECT_EQ(budget.stride(250'000), 1U);
    EXPECT_EQ(budget.stride(0), 1U);
}

TEST(FrameBudget, CoarsensByTheSquareRootOfWhatIsTooMuch) {
    // 1 M points at 100 ns take 100 ms, four times the budget.
    EXPECT_EQ(FrameBudget(100.0).stride(1'000'000), 2U);
    // 2.3 M take 9.2 times the budget.
    EXPECT_EQ(FrameBudget(100.0).stride(2'300'000), 4U);
    // In 12 ms fits an eighth of 1 M.
    EXPECT_EQ(FrameBudget(100.0).stride(1'000'000, FrameBudget::streamedFrameMs), 3U);
    EXPECT_EQ(FrameBudget(1e9).stride(2'300'000), FrameBudget::coarsestStride);
}

TEST(FrameBudget, TrustsAFastRenderer) {
    EXPECT_EQ(FrameBudget(0.0).stride(2'300'000), 1U);
}

TEST(FrameBudget, LearnsFromFrames) {
    FrameBudget budget(100.0);
    for (int i = 0; i < 60; ++i)
        budget.measured(2'000'000, 20.0);
    EXPECT_NEAR(budget.pointNs(), 10.0, 0.01);
    EXPECT_EQ(budget.stride(2'000'000), 1U);
    for (int i = 0; i < 60; ++i)
        budget.measured(2'000'000, 2000.0);
    // 2 s against 25 ms: a factor 80, of which the root is 8.94.
    EXPECT_EQ(budget.stride(2'000'000), 9U);
}

TEST(FrameBudget, LearnsNothingFromFramesOfFewPoints) {
    FrameBudget budget(100.0);
    budget.measured(99'999, 1000.0);
    EXPECT_EQ(budget.pointNs(), 100.0);
}

TEST(FrameBudget, HoldsItsStrideAgainstSmallChanges) {
    FrameBudget budget(100.0);
    EXPECT_EQ(budget.stride(900'000), 2U);   // root of 3.6: 1.90
    EXPECT_EQ(budget.stride(1'300'000), 2U); // root of 5.2: 2.28
    EXPECT_EQ(budget.stride(1'500'000), 3U); // root of 6.0: 2.45
    EXPECT_EQ(budget.stride(900'000), 3U);
    EXPECT_EQ(budget.stride(600'000), 2U); // root of 2.4: 1.55
}

} // namespace
