#include "sdk/api/testtools.h"
#include "support/counter.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"
#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace Vorta {
namespace {

using std::chrono::seconds;
using Testing::driverPath;
using Testing::VirtualHeads;

constexpr seconds patience{60};

/// Frames as they arrive.
class Collector {
public:
    void add(const Frame& frame) {
        const std::lock_guard lock(mutex_);
        frames_.push_back(frame);
        arrived_.notify_all();
    }

    /// Whether that many frames have arrived in good time.
    bool waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        return arrived_.wait_for(lock, patience, [&] { return frames_.size() >= count; });
    }

    std::vector<Frame> frames() {
        const std::lock_guard lock(mutex_);
        return frames_;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Frame> frames_;
};

/// Opens once, for any number of waiters.
class Gate {
public:
    void open() { promise_.set_value(); }
    void wait() const { opened_.wait(); }
    [[nodiscard]] bool waitPatiently() const { return opened_.wait_for(patience) == std::future_status::ready; }

private:
    std::promise<void> promise_;
    std::shared_future<void> opened_{promise_.get_future()};
};

class LiveTest : public ::testing::Test {
protected:
    LiveTest() {
        heads.plug({.serialNumber = "T-1"});
        Settings settings;
        settings.set("Camera/FrameRate", "1000"); // as fast as the head can
        settings.set("Global/DebugMessages", "true");
        application.getImpl().setLogCallback([this](const Log::Event& event) {
            if (event.getMessage().find(" images in ") != std::string::npos)
                captures.add();
        });
        application.getImpl().setCameraDriver(driverPath(), settings);
        camera = application.cameras().at(0);
        camera.connect();
    }

    ~LiveTest() override { application.getImpl().setLogCallback({}); }

    bool waitUntilNotLive() {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (camera.state().live && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        return !camera.state().live;
    }

    Testing::Counter captures; // of a camera that logs its steps, whether or not a frame is delivered
    VirtualHeads heads;
    Application application;
    Camera camera;
};

TEST_F(LiveTest, DeliversFramesUntilItIsStopped) {
    Collector collector;
    camera.setFrameCallback([&](const Frame& frame) { collector.add(frame); });
    EXPECT_FALSE(camera.state().live);
    camera.startLive();
    EXPECT_TRUE(camera.state().live);
    ASSERT_TRUE(collector.waitFor(3));
    EXPECT_TRUE(camera.state().connected);
    camera.stopLive();
    EXPECT_FALSE(camera.state().live);
    EXPECT_TRUE(camera.state().connected);
    const std::vector<Frame> frames = collector.frames();
    for (std::size_t i = 1; i < frames.size(); ++i)
        EXPECT_LT(frames[i - 1].getImpl().info().time, frames[i].getImpl().info().time);
    EXPECT_EQ(frames.front().getPointCloud().size(), 243U * 150U);
    EXPECT_FALSE(camera.capture().isNull());
    camera.setFrameCallback({});
    camera.disconnect();
}

TEST_F(LiveTest, RefusesWhatDoesNotFit) {
    camera.startLive();
    EXPECT_THROW(camera.startLive(), LogicException);
    EXPECT_THROW(static_cast<void>(camera.capture()), LogicException);
    camera.stopLive();
    camera.stopLive(); // no effect
    camera.startLive();
    EXPECT_TRUE(camera.state().live);
    camera.disconnect();
    EXPECT_FALSE(camera.state().live);
    EXPECT_THROW(camera.startLive(), LogicException);
}

TEST_F(LiveTest, NewSettingsTakeEffectWithoutARestart) {
    Collector collector;
    camera.setFrameCallback([&](const Frame& frame) { collector.add(frame); });
    camera.startLive();
    ASSERT_TRUE(collector.waitFor(1));
    Settings settings = camera.settings();
    settings.set(Settings::Iris(5));
    camera.setSettings(settings);
    std::size_t seen = 0;
    bool found = false;
    while (!found && collector.waitFor(seen + 1)) {
        const std::vector<Frame> frames = collector.frames();
        seen = frames.size();
        found = frames.back().settings().get<Settings::Iris>().value() == 5;
    }
    EXPECT_TRUE(found);
    camera.setFrameCallback({});
    camera.disconnect();
}

// The caller is the window's thread, and the callback hands its frame to that thread and waits.
TEST_F(LiveTest, StoppingNeverWaitsForACallbackThatWaitsForTheCaller) {
    Gate entered;
    Gate callerIsDone;
    Gate left;
    std::atomic<int> calls = 0;
    camera.setFrameCallback([&](const Frame&) {
        ++calls;
        entered.open();
        callerIsDone.wait();
        left.open();
    });
    camera.startLive();
    ASSERT_TRUE(entered.waitPatiently());
    camera.stopLive();
    EXPECT_FALSE(camera.state().live);
    EXPECT_FALSE(camera.capture().isNull()); // the head is free although the callback still waits
    camera.disconnect();
    camera = Camera();
    callerIsDone.open();
    ASSERT_TRUE(left.waitPatiently());
    EXPECT_EQ(calls, 1);
}

TEST_F(LiveTest, DroppingACameraNeverWaitsForACallback) {
    Gate entered;
    Gate callerIsDone;
    Gate left;
    camera.setFrameCallback([&](const Frame&) {
        entered.open();
        callerIsDone.wait();
        left.open();
    });
    camera.startLive();
    ASSERT_TRUE(entered.waitPatiently());
    camera = Camera();
    callerIsDone.open();
    EXPECT_TRUE(left.waitPatiently());
}

/// Opens a gate when the last function that holds it is gone.
struct Token {
    explicit Token(Gate& gate) : end(gate) {}
    Token(const Token&) = delete;
    Token& operator=(const Token&) = delete;
    ~Token() { end.open(); }
    Gate& end;
};

TEST_F(LiveTest, NoCallbackStartsAfterStoppingThoughFramesWait) {
    Gate entered;
    Gate goOn;
    Gate functionIsGone;
    std::atomic<int> calls = 0;
    camera.setFrameCallback([&, token = std::make_shared<Token>(functionIsGone)](const Frame&) {
        if (++calls == 1)
            entered.open();
        goOn.wait();
    });
    camera.startLive();
    ASSERT_TRUE(entered.waitPatiently());
    // While the function is held up, the head goes on: a later frame is waiting when live is stopped.
    ASSERT_TRUE(captures.waitFor(captures.count() + 3));
    camera.stopLive();
    camera.setFrameCallback({});
    goOn.open();
    // The delivering thread gives up its share in the function when it has ended its loop.
    ASSERT_TRUE(functionIsGone.waitPatiently());
    EXPECT_EQ(calls, 1);
}

TEST_F(LiveTest, ASlowCallbackGetsTheNewestFrame) {
    Collector collector;
    Gate entered;
    Gate goOn;
    std::atomic<bool> isFirst = true;
    camera.setFrameCallback([&](const Frame& frame) {
        if (isFirst.exchange(false)) {
            entered.open();
            goOn.wait();
        }
        collector.add(frame);
    });
    camera.startLive();
    ASSERT_TRUE(entered.waitPatiently());
    ASSERT_TRUE(captures.waitFor(captures.count() + 3));
    const auto third = std::chrono::system_clock::now();
    ASSERT_TRUE(captures.waitFor(captures.count() + 3));
    goOn.open();
    ASSERT_TRUE(collector.waitFor(2));
    camera.stopLive();
    camera.setFrameCallback({});
    camera.disconnect();
    const std::vector<Frame> frames = collector.frames();
    EXPECT_GE(frames[1].getImpl().info().time, std::chrono::floor<std::chrono::microseconds>(third))
        << "the second frame is not the newest";
}

TEST_F(LiveTest, MayBeStoppedFromTheCallback) {
    std::promise<void> stopped;
    camera.setFrameCallback([&](const Frame&) {
        camera.stopLive();
        camera.disconnect();
        stopped.set_value();
    });
    camera.startLive();
    ASSERT_EQ(stopped.get_future().wait_for(patience), std::future_status::ready);
    EXPECT_FALSE(camera.state().live);
    EXPECT_FALSE(camera.state().opened);
    camera.setFrameCallback({});
}

TEST_F(LiveTest, AFailingCallbackDoesNotEndIt) {
    Collector collector;
    camera.setFrameCallback([&](const Frame& frame) {
        collector.add(frame);
        throw std::runtime_error("the view is gone");
    });
    std::mutex mutex;
    std::vector<std::string> messages;
    application.getImpl().setLogCallback([&](const Log::Event& event) {
        const std::lock_guard lock(mutex);
        if (event.getSeverity() == Log::Severity::Error)
            messages.push_back(event.getMessage());
    });
    camera.startLive();
    ASSERT_TRUE(collector.waitFor(2));
    camera.stopLive();
    application.getImpl().setLogCallback({});
    camera.setFrameCallback({});
    camera.disconnect();
    const std::lock_guard lock(mutex);
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front(), "The frame callback failed: the view is gone");
}

TEST_F(LiveTest, AnotherCallbackTakesOver) {
    Collector first;
    Collector second;
    camera.setFrameCallback([&](const Frame& frame) { first.add(frame); });
    camera.startLive();
    ASSERT_TRUE(first.waitFor(1));
    camera.setFrameCallback([&](const Frame& frame) { second.add(frame); });
    EXPECT_TRUE(second.waitFor(2));
    camera.setFrameCallback({});
    EXPECT_TRUE(camera.state().live);
    camera.stopLive();
    camera.disconnect();
}

TEST_F(LiveTest, EndsWhenTheHeadVanishes) {
    Collector collector;
    camera.setFrameCallback([&](const Frame& frame) { collector.add(frame); });
    camera.startLive();
    ASSERT_TRUE(collector.waitFor(1));
    heads.unplug("T-1");
    EXPECT_TRUE(waitUntilNotLive());
    EXPECT_FALSE(camera.state().connected);
    EXPECT_TRUE(camera.state().opened);
    camera.stopLive();
    camera.disconnect();
    heads.plug({.serialNumber = "T-1"});
    camera.connect();
    const std::size_t before = collector.frames().size();
    camera.startLive();
    EXPECT_TRUE(collector.waitFor(before + 1));
    camera.stopLive();
    camera.setFrameCallback({});
    camera.disconnect();
}

TEST_F(LiveTest, IsNoFasterThanTheFrameRate) {
    Settings settings = camera.settings();
    settings.set("Camera/FrameRate", "4");
    camera.setSettings(settings);
    Collector collector;
    camera.setFrameCallback([&](const Frame& frame) { collector.add(frame); });
    const auto before = std::chrono::steady_clock::now();
    camera.startLive();
    ASSERT_TRUE(collector.waitFor(4));
    const auto span = std::chrono::steady_clock::now() - before;
    camera.stopLive();
    camera.setFrameCallback({});
    camera.disconnect();
    EXPECT_GE(span, std::chrono::milliseconds(750)); // three periods of 250 ms
}

} // namespace
} // namespace Vorta
