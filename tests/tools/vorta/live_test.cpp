#include "tools/vorta/runvorta.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <thread>

namespace Vorta::Testing {
namespace {

using ::testing::HasSubstr;

TEST(Live, PrintsFramesPerSecond) {
    const VirtualHeads heads({.serialNumber = "T-1"});
    const Result result = vorta({"live", "--frames", "5", "--set", "Camera/FrameRate=1000"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(result.out, match, std::regex("([0-9]+) frames, ([0-9.]+) frames per second\n")))
        << result.out;
    EXPECT_GE(std::stoi(match[1]), 5);
    EXPECT_GT(std::stod(match[2]), 0.0);
}

TEST(Live, EndsWithAnErrorWhenTheHeadIsUnplugged) {
    VirtualHeads heads;
    // A busy machine may not have found the head when it goes: then it stays for longer.
    Result result;
    for (const int seconds : {1, 4, 16}) {
        heads.plug({.serialNumber = "T-1"});
        const std::jthread unplug([&heads, seconds] {
            std::this_thread::sleep_for(std::chrono::seconds(seconds));
            heads.unplug("T-1");
        });
        // More frames than anybody waits for: only the unplugging can end it.
        result = vorta({"live", "--frames", "1000000000"});
        if (result.err != "vorta: No camera was found.\n")
            break;
    }
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
    EXPECT_THAT(result.err, HasSubstr("T-1"));
}

TEST(Live, NeedsToKnowHowManyFrames) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"live"}, {"live", "--frames", "0"}, {"live", "--frames", "many"}}) {
        const Result result = vorta(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.err, HasSubstr("--frames"));
    }
}

} // namespace
} // namespace Vorta::Testing
