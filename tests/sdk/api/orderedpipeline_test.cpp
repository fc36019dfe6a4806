#include "orderedpipeline.h"

#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Vorta {
namespace {

TEST(OrderedPipeline, FetchesAndStoresInOrderAndWorksOnEverything) {
    for (const std::size_t threads : {1U, 2U, 5U}) {
        std::vector<std::size_t> fetched;
        std::vector<std::size_t> stored;
        std::vector<int> worked(200, 0);
        runPipeline(worked.size(), threads,
                    {.fetch = [&](std::size_t task, std::size_t) { fetched.push_back(task); },
                     .work =
                         [&](std::size_t task, std::size_t thread) {
                             EXPECT_LT(thread, threads);
                             ++worked[task];
                         },
                     .store = [&](std::size_t task) { stored.push_back(task); }});
        std::vector<std::size_t> expected(worked.size());
        std::iota(expected.begin(), expected.end(), 0U);
        EXPECT_EQ(fetched, expected);
        EXPECT_EQ(stored, expected);
        EXPECT_EQ(worked, std::vector<int>(worked.size(), 1));
    }
}

TEST(OrderedPipeline, HasNothingToDoWithoutTasks) {
    runPipeline(0, 1, {.fetch = {}, .work = [](std::size_t, std::size_t) { FAIL(); }, .store = {}});
}

TEST(OrderedPipeline, RethrowsTheFailureOfAnyStepAndEnds) {
    const auto reason = [](int failing) {
        std::atomic<int> after = 0;
        const auto step = [&](int number) {
            return [&after, number, failing](std::size_t task, std::size_t) {
                if (number == failing && task == 17)
                    throw std::runtime_error("step " + std::to_string(number));
                if (task > 100)
                    ++after;
            };
        };
        try {
            runPipeline(1'000'000, 3, {.fetch = step(0), .work = step(1), .store = [last = step(2)](std::size_t task) {
                                           last(task, 0);
                                       }});
        } catch (const std::runtime_error& error) {
            return std::string(error.what()) + (after == 0 ? "" : " but went on");
        }
        return std::string("no failure");
    };
    EXPECT_EQ(reason(0), "step 0");
    EXPECT_EQ(reason(1), "step 1");
    EXPECT_EQ(reason(2), "step 2");
}

TEST(OrderedPipeline, EndsWhenWorkFailsWhileOthersWaitForTheirTurn) {
    EXPECT_THROW(runPipeline(1'000, 4,
                             {.fetch = {},
                              .work =
                                  [](std::size_t task, std::size_t) {
                                      if (task == 3)
                                          throw std::runtime_error("no");
                                  },
                              .store = [](std::size_t) {}}),
                 std::runtime_error);
}

// The first task ends after all others that the window has room for: whoever works on them does not wait for it.
TEST(OrderedPipeline, GoesOnWhileAnEarlierTaskLasts) {
    constexpr std::size_t threads = 2;
    constexpr std::size_t window = pipelineWindow(threads);
    std::atomic<std::size_t> others = 0;
    std::vector<std::size_t> results(window);
    std::vector<std::size_t> stored;
    runPipeline(50, threads,
                {.fetch = {},
                 .work =
                     [&](std::size_t task, std::size_t) {
                         if (task == 0)
                             while (others < window - 1)
                                 std::this_thread::yield();
                         results[task % window] = task;
                         ++others;
                     },
                 .store =
                     [&](std::size_t task) {
                         EXPECT_EQ(results[task % window], task);
                         stored.push_back(task);
                     }});
    std::vector<std::size_t> expected(50);
    std::iota(expected.begin(), expected.end(), 0U);
    EXPECT_EQ(stored, expected);
}

TEST(OrderedPipeline, UsesNoMoreThreadsThanThereAreTasks) {
    EXPECT_EQ(pipelineThreads(3, 8), 3U);
    EXPECT_EQ(pipelineThreads(30, 8), 8U);
    EXPECT_EQ(pipelineThreads(0, 0), 1U);
    EXPECT_GE(pipelineThreads(1'000'000, 0), 1U);
}

} // namespace
} // namespace Vorta
