#include "vorta/virtual/rows.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace Vorta::Virtual {
namespace {

TEST(ForEachRow, VisitsEachRowOnce) {
    for (const unsigned threads : {0U, 1U, 3U}) {
        std::vector<std::atomic<int>> visits(1003);
        forEachRow(visits.size(), threads, [&](std::size_t row) { ++visits[row]; });
        for (const auto& count : visits)
            ASSERT_EQ(count, 1);
    }
}

TEST(ForEachRow, HandsOnTheFirstFailureAndStops) {
    std::atomic<int> visits{0};
    EXPECT_THROW(forEachRow(100'000, 2,
                            [&](std::size_t) {
                                ++visits;
                                throw std::runtime_error("enough");
                            }),
                 std::runtime_error);
    EXPECT_LE(visits, 2);
}

TEST(ForEachRow, HasNothingToDoWithoutRows) {
    forEachRow(0, 0, [](std::size_t) { FAIL(); });
}

} // namespace
} // namespace Vorta::Virtual
