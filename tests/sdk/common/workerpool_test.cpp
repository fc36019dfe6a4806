#include "vorta/common/workerpool.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

using Vorta::WorkerPool;

TEST(WorkerPool, OneThreadPerCoreByDefault) {
    EXPECT_EQ(WorkerPool(0).size(), std::max(1U, std::thread::hardware_concurrency()));
    EXPECT_EQ(WorkerPool(3).size(), 3U);
}

TEST(WorkerPool, DoesEveryBlockOnceAgainAndAgain) {
    for (std::size_t threads = 1; threads <= 5; ++threads) {
        WorkerPool pool(threads);
        for (const std::size_t blocks : {0U, 1U, 2U, 97U, 3U}) {
            std::vector<std::atomic<int>> calls(blocks);
            std::vector<std::atomic<int>> busy(threads);
            std::atomic<bool> shared = false;
            pool.forEachBlock(blocks, [&](std::size_t block, std::size_t thread) {
                if (busy.at(thread).fetch_add(1) != 0)
                    shared = true;
                ++calls.at(block);
                --busy.at(thread);
            });
            for (const auto& count : calls)
                EXPECT_EQ(count, 1);
            EXPECT_FALSE(shared) << "two blocks ran at once under one thread number";
        }
    }
}

TEST(WorkerPool, RunsBlocksAtTheSameTime) {
    WorkerPool pool(2);
    std::atomic<int> arrived = 0;
    // Each block waits for the other: this ends only when both run at once.
    pool.forEachBlock(2, [&](std::size_t, std::size_t) {
        ++arrived;
        while (arrived < 2)
            std::this_thread::yield();
    });
    EXPECT_EQ(arrived, 2);
}

} // namespace
