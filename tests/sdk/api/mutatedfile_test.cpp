#include "sdk/api/completeframe.h"
#include "sdk/api/testtools.h"

#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace Vorta {
namespace {

using ::testing::HasSubstr;
using Testing::readFile;
using Testing::TemporaryFolder;

using Mutation = std::function<void(std::string&, std::minstd_rand&)>;

std::size_t placeIn(const std::string& content, std::minstd_rand& random) {
    return random() % content.size();
}

/// Changes `count` copies of a complete file and loads them: they are refused by name, unless a change changed nothing.
/// Returns how many were refused.
std::size_t refusals(std::size_t count, std::uint32_t seed, const Mutation& mutate) {
    const TemporaryFolder folder;
    Testing::completeFrame().save(folder.file("good.vdf"));
    const std::string good = readFile(folder.file("good.vdf"));
    std::minstd_rand random(seed);
    std::size_t refused = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::string content = good;
        mutate(content, random);
        Testing::writeFile(folder.file("a.vdf"), content);
        try {
            const Frame frame(folder.file("a.vdf"), ComputeDevice{});
            EXPECT_EQ(content, good) << "mutation " << i << " was not noticed";
        } catch (const IOException& error) {
            EXPECT_THAT(error.what(), HasSubstr("a.vdf' cannot be read: ")) << "mutation " << i;
            ++refused;
        }
    }
    return refused;
}

TEST(MutatedFile, SurvivesFlippedBits) {
    const auto flip = [](std::string& content, std::minstd_rand& random) {
        for (std::size_t flips = 1 + random() % 32; flips > 0; --flips) {
            char& byte = content[placeIn(content, random)];
            byte = static_cast<char>(byte ^ static_cast<char>(1U << (random() % 8)));
        }
    };
    EXPECT_GT(refusals(300, 1, flip), 290U);
}

TEST(MutatedFile, SurvivesRunsOfOneByte) {
    const auto overwrite = [](std::string& content, std::minstd_rand& random) {
        const std::size_t at = placeIn(content, random);
        const std::size_t length = std::min<std::size_t>(content.size() - at, 1 + random() % 32);
        constexpr std::array<char, 4> values{'\0', '\x01', '\x7F', '\xFF'};
        content.replace(at, length, length, values[random() % values.size()]);
    };
    EXPECT_GT(refusals(200, 2, overwrite), 50U);
}

TEST(MutatedFile, SurvivesBeingCut) {
    const auto cut = [](std::string& content, std::minstd_rand& random) { content.resize(placeIn(content, random)); };
    EXPECT_EQ(refusals(100, 3, cut), 100U);
}

TEST(MutatedFile, SurvivesMovedAndRepeatedParts) {
    const auto move = [](std::string& content, std::minstd_rand& random) {
        const std::size_t from = placeIn(content, random);
        const std::string part = content.substr(from, 1 + random() % 200);
        const std::size_t to = placeIn(content, random);
        if (random() % 2 == 0)
            content.insert(to, part);
        else
            content.replace(to, std::min(part.size(), content.size() - to), part);
    };
    EXPECT_GT(refusals(200, 4, move), 100U);
}

TEST(MutatedFile, SurvivesOddLengthsAndOffsets) {
    // Whole words of the header become what lengths and offsets must not be.
    const auto replaceWord = [](std::string& content, std::minstd_rand& random) {
        const std::size_t at = std::min(placeIn(content, random) & ~std::size_t{3}, content.size() - 8);
        constexpr std::array<std::uint64_t, 5> words{0, 1, 0x7FFF'FFFF'FFFF'FFFFU, 0xFFFF'FFFF'FFFF'FFFFU, 0x10000};
        const std::uint64_t word = words[random() % words.size()];
        for (std::size_t i = 0; i < 8; ++i)
            content[at + i] = static_cast<char>((word >> (8 * i)) & 0xFFU);
    };
    EXPECT_GT(refusals(200, 5, replaceWord), 50U);
}

} // namespace
} // namespace Vorta
