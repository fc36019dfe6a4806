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
    VirtualHeads heads({.serialNumber = "T-1"});
    // More frames than anybody waits for: only the unplugging can end it. The head goes as soon as it has been opened,
    // or even before; both are failures that name it.
    std::jthread unplug([&heads] {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        heads.unplug("T-1");
    });
    const Result result = vorta({"live", "--frames", "1000000000", "--camera", "T-1"});
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
