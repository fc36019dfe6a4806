#include "camera/callbackgate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Vorta::CallbackGate;

void nothing() {}

TEST(CallbackGate, IsClosedUntilItIsOpened) {
    CallbackGate gate;
    int calls = 0;
    gate.pass([&] { ++calls; });
    EXPECT_EQ(calls, 0);
    gate.open();
    gate.pass([&] { ++calls; });
    EXPECT_EQ(calls, 1);
    gate.close(nothing);
    gate.pass([&] { ++calls; });
    EXPECT_EQ(calls, 1);
    gate.open();
    gate.pass([&] { ++calls; });
    EXPECT_EQ(calls, 2);
}

TEST(CallbackGate, ClosingDeliversWhatACallInsideWaitsFor) {
    CallbackGate gate;
    gate.open();
    std::promise<void> inside;
    std::promise<void> delivered;
    std::atomic<bool> left{false};
    std::jthread caller([&] {
        gate.pass([&] {
            inside.set_value();
            delivered.get_future().wait();
            left = true;
        });
    });
    inside.get_future().wait();
    bool done = false;
    gate.close([&] {
        if (!std::exchange(done, true))
            delivered.set_value();
    });
    EXPECT_TRUE(left);
}

TEST(CallbackGate, CallThatThrowsHasLeft) {
    CallbackGate gate;
    gate.open();
    EXPECT_THROW(gate.pass([] { throw std::runtime_error("no"); }), std::runtime_error);
    gate.close([] { FAIL() << "nobody is inside"; });
}

TEST(CallbackGate, NobodyIsInsideOnceItIsClosed) {
    CallbackGate gate;
    std::atomic<bool> closed{true};
    std::atomic<int> calls{0};
    std::atomic<int> late{0};
    std::vector<std::jthread> callers;
    for (int i = 0; i < 3; ++i)
        callers.emplace_back([&](const std::stop_token& stop) {
            while (!stop.stop_requested())
                gate.pass([&] {
                    ++calls;
                    late += closed ? 1 : 0;
                });
        });
    for (int round = 0; round < 200; ++round) {
        closed = false;
        gate.open();
        const int before = calls;
        while (calls == before)
            std::this_thread::yield();
        gate.close(nothing);
        closed = true;
    }
    callers.clear();
    EXPECT_EQ(late, 0);
}

} // namespace
