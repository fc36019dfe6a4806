#include "vorta/common/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <clocale>
#include <cstdint>
#include <future>
#include <locale>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace Log = Vorta::Log;
using Log::Severity;
using testing::ElementsAre;
using testing::IsEmpty;

class LogTest : public testing::Test {
protected:
    void SetUp() override {
        Log::setLevel(Severity::Trace);
        Log::setCallback([this](const Log::Event& event) {
            const std::lock_guard lock{mutex_};
            events_.push_back(event);
        });
    }
    void TearDown() override {
        Log::setCallback({});
        Log::setLevel(Severity::Info);
    }

    std::vector<std::string> messages() {
        const std::lock_guard lock{mutex_};
        std::vector<std::string> texts;
        for (const Log::Event& event : events_)
            texts.push_back(event.getMessage());
        return texts;
    }

    std::string format(auto&&... formatAndArguments) {
        Log::info("source", 1, formatAndArguments...);
        return messages().back();
    }

    std::mutex mutex_;
    std::vector<Log::Event> events_;
};

TEST(LogSeverity, NamesAndNumbers) {
    EXPECT_EQ(Log::toString(Severity::Error), "Error");
    EXPECT_EQ(Log::toString(Severity::Warning), "Warning");
    EXPECT_EQ(Log::toString(Severity::Info), "Info");
    EXPECT_EQ(Log::toString(Severity::Debug), "Debug");
    EXPECT_EQ(Log::toString(Severity::Trace), "Trace");
    EXPECT_EQ(static_cast<std::int32_t>(Severity::Error), 0);
    EXPECT_EQ(static_cast<std::int32_t>(Severity::Warning), 1);
    EXPECT_EQ(static_cast<std::int32_t>(Severity::Info), 2);
    EXPECT_EQ(static_cast<std::int32_t>(Severity::Debug), 3);
    EXPECT_EQ(static_cast<std::int32_t>(Severity::Trace), 4);
}

TEST(LogLevel, IsInitiallyInfo) {
    EXPECT_EQ(Log::level(), Severity::Info); // every other test restores it
}

TEST_F(LogTest, EventCarriesWhatWasLogged) {
    Log::warning("VortaAPI/Camera", 42, "head '%s' is at %.1f degrees", "V-1", 61.26);
    ASSERT_EQ(events_.size(), 1U);
    EXPECT_EQ(events_[0].getSeverity(), Severity::Warning);
    EXPECT_EQ(events_[0].getSource(), "VortaAPI/Camera");
    EXPECT_EQ(events_[0].getLine(), 42);
    EXPECT_EQ(events_[0].getMessage(), "head 'V-1' is at 61.3 degrees");
}

TEST_F(LogTest, EachFunctionHasItsSeverity) {
    Log::error("s", 1, "e");
    Log::warning("s", 1, "w");
    Log::info("s", 1, "i");
    Log::debug("s", 1, "d");
    Log::trace("s", 1, "t");
    std::vector<Severity> severities;
    for (const Log::Event& event : events_)
        severities.push_back(event.getSeverity());
    EXPECT_THAT(severities,
                ElementsAre(Severity::Error, Severity::Warning, Severity::Info, Severity::Debug, Severity::Trace));
}

TEST_F(LogTest, LevelDropsWhatIsLessUrgent) {
    Log::setLevel(Severity::Warning);
    EXPECT_EQ(Log::level(), Severity::Warning);
    Log::error("s", 1, "error");
    Log::warning("s", 1, "warning");
    Log::info("s", 1, "info");
    Log::debug("s", 1, "debug");
    EXPECT_THAT(messages(), ElementsAre("error", "warning"));
}

/// Counts how often it is turned into text.
struct Counted {
    int* conversions;
    explicit operator std::string() const {
        ++*conversions;
        return "counted";
    }
};

TEST_F(LogTest, DroppedMessagesAreNotFormatted) {
    int conversions = 0;
    Log::setLevel(Severity::Info);
    Log::debug("s", 1, "%s", Counted{&conversions});
    EXPECT_EQ(conversions, 0);
    Log::info("s", 1, "%s", Counted{&conversions});
    EXPECT_EQ(conversions, 1);
    EXPECT_THAT(messages(), ElementsAre("counted"));
}

TEST_F(LogTest, FormatsEveryKindOfArgument) {
    enum class Colour : std::uint8_t { Red = 3 };
    EXPECT_EQ(format("%d %s", -5, std::string{"text"}), "-5 text");
    EXPECT_EQ(format("%d", std::uint64_t{18446744073709551615U}), "18446744073709551615");
    EXPECT_EQ(format("%d", std::int8_t{-3}), "-3");
    EXPECT_EQ(format("%c|", 'x'), "x|");
    EXPECT_EQ(format("%d", true), "1");
    EXPECT_EQ(format("%d", Colour::Red), "3");
    EXPECT_EQ(format("%.3f", 0.5F), "0.500");
    EXPECT_EQ(format("%s", std::string_view{"view"}), "view");
    EXPECT_EQ(format("%2% before %1%", "one", "two"), "two before one");
    EXPECT_EQ(format("%5d|%-5d|%05d", 7, 7, 7), "    7|7    |00007");
    EXPECT_EQ(format("%s", "100% %d"), "100% %d"); // an argument is no format
    EXPECT_EQ(format("%d", "not a number"), "not a number");
}

TEST_F(LogTest, MissingSurplusAndMalformedPlaceholdersAreNoError) {
    EXPECT_EQ(format("a %d b %d c", 1), "a 1 b  c");
    EXPECT_EQ(format("nothing to fill", 1, "two"), "nothing to fill");
    EXPECT_EQ(format("%d of %d", 1, 2, 3), "1 of 2");
    EXPECT_EQ(format("%s"), "");
    EXPECT_EQ(format("100%%"), "100%");
    EXPECT_EQ(format(""), "");
    EXPECT_NO_THROW(format("100%"));
    EXPECT_NO_THROW(format("%", 1));
    EXPECT_NO_THROW(format("%7$s %|", 1));
}

TEST_F(LogTest, NumbersDoNotFollowTheLocale) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
    Log::info("s", 1, "%d %.1f", 1234567, 2.5);
    std::locale::global(before);
    EXPECT_THAT(messages(), ElementsAre("1234567 2.5"));
}

TEST_F(LogTest, EmptyCallbackDropsMessages) {
    Log::setCallback({});
    Log::error("s", 1, "lost");
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LogTest, CallbackMayLog) {
    std::vector<std::string> seen;
    Log::setCallback([&](const Log::Event& event) {
        seen.push_back(event.getMessage());
        if (event.getMessage() == "outer")
            Log::info("s", 2, "inner");
    });
    Log::info("s", 1, "outer");
    EXPECT_THAT(seen, ElementsAre("outer", "inner"));
}

TEST_F(LogTest, CallbackMayReplaceItself) {
    int first = 0;
    int second = 0;
    Log::setCallback([&](const Log::Event&) {
        ++first;
        Log::setCallback([&](const Log::Event&) { ++second; });
    });
    Log::info("s", 1, "a");
    Log::info("s", 1, "b");
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST_F(LogTest, CallbackMayWaitForAThreadThatLogs) {
    std::atomic<int> inner = 0;
    Log::setCallback([&](const Log::Event& event) {
        if (event.getMessage() == "outer")
            std::thread([] { Log::info("s", 2, "inner"); }).join();
        else
            ++inner;
    });
    Log::info("s", 1, "outer");
    EXPECT_EQ(inner, 1);
}

TEST_F(LogTest, ExceptionOfTheCallbackReachesTheLoggerAndLeavesTheLogUsable) {
    Log::setCallback([](const Log::Event&) { throw std::runtime_error("callback"); });
    EXPECT_THROW(Log::info("s", 1, "x"), std::runtime_error);
    int calls = 0;
    Log::setCallback([&](const Log::Event&) { ++calls; }); // would wait for ever if the call above still counted
    Log::info("s", 1, "x");
    EXPECT_EQ(calls, 1);
}

TEST_F(LogTest, ReplacingWaitsUntilTheEarlierCallbackHasReturned) {
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> returned = false;
    Log::setCallback([&](const Log::Event&) {
        entered.set_value();
        release.get_future().wait();
        returned = true;
    });
    std::thread logger([] { Log::info("s", 1, "x"); });
    entered.get_future().wait();
    std::atomic<bool> replaced = false;
    std::thread replacer([&] {
        Log::setCallback({});
        EXPECT_TRUE(returned);
        replaced = true;
    });
    EXPECT_FALSE(replaced);
    release.set_value();
    logger.join();
    replacer.join();
    EXPECT_TRUE(replaced);
}

TEST_F(LogTest, CallbacksAreReplacedWhileOtherThreadsLog) {
    constexpr int threads = 3;
    constexpr int rounds = 300;
    // A callback that runs after its replacement returned finds its state gone.
    struct State {
        std::atomic<bool> alive = true;
        std::atomic<std::uint64_t> calls = 0;
    };
    std::atomic<bool> late = false;
    std::atomic<bool> stop = false;
    std::vector<std::thread> loggers;
    std::barrier start(threads + 1);
    loggers.reserve(threads);
    for (int i = 0; i < threads; ++i)
        loggers.emplace_back([&] {
            start.arrive_and_wait();
            while (!stop)
                Log::info("s", 1, "%d", 1);
        });
    start.arrive_and_wait();
    std::vector<std::unique_ptr<State>> states;
    for (int i = 0; i < rounds; ++i) {
        State& state = *states.emplace_back(std::make_unique<State>());
        Log::setCallback([&](const Log::Event&) {
            if (!state.alive)
                late = true;
            ++state.calls;
        });
        // Waits for the first message, so that every round has callbacks in flight.
        while (state.calls == 0)
            std::this_thread::yield();
        Log::setCallback({});
        state.alive = false;
    }
    stop = true;
    for (std::thread& logger : loggers)
        logger.join();
    EXPECT_FALSE(late);
}

} // namespace
