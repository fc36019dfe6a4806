#include "repairingcode.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <random>

namespace {

using Vorta::Reconstruction::RepairingCode;

std::vector<std::uint32_t> wordsOf(const RepairingCode& code, std::size_t numberBits) {
    std::vector<std::uint32_t> words;
    for (std::size_t number = 0; number < std::size_t{1} << numberBits; ++number)
        words.push_back(code.word(number));
    return words;
}

class RepairingCodes : public testing::TestWithParam<std::size_t> {
protected:
    RepairingCode code_{GetParam()};
    std::vector<std::uint32_t> words_ = wordsOf(code_, GetParam());
};

INSTANTIATE_TEST_SUITE_P(NumberBits, RepairingCodes, testing::Range(std::size_t{1}, std::size_t{13}));

// The shortest linear codes of distance 5 (M. Grassl's tables of linear codes) for these numbers of bits.
TEST_P(RepairingCodes, AreAsShortAsCanBe) {
    constexpr std::size_t shortest[] = {5, 8, 10, 11, 13, 14, 15, 16, 17, 19, 20, 21};
    EXPECT_EQ(code_.bitCount(), shortest[GetParam() - 1]);
    for (const std::uint32_t word : words_)
        EXPECT_EQ(word >> code_.bitCount(), 0U);
}

TEST_P(RepairingCodes, AnyTwoWordsDifferInFiveBits) {
    std::mt19937 random(1);
    for (std::size_t i = 0; i < words_.size(); ++i) {
        // All pairs of the smaller codes, of the larger ones each word with 100 others.
        for (std::size_t k = 0; k < std::min<std::size_t>(i, 100); ++k) {
            const std::size_t other = i <= 100 ? k : random() % i;
            ASSERT_GE(std::popcount(words_[i] ^ words_[other]), 5) << i << ' ' << other;
        }
        // The words of a linear code are the differences of all pairs.
        ASSERT_TRUE(i == 0 || std::popcount(words_[i]) >= 5);
    }
}

TEST_P(RepairingCodes, NeighboursDifferInFiveBits) {
    for (std::size_t i = 0; i + 1 < words_.size(); ++i) {
        ASSERT_EQ(std::popcount(words_[i] ^ words_[i + 1]), 5) << i;
        ASSERT_EQ(code_.edgeAfter(i), words_[i] ^ words_[i + 1]);
    }
    EXPECT_EQ(code_.edgeAfter(words_.size() - 1), 0U);
}

TEST_P(RepairingCodes, RepairsUpToTwoWrongBits) {
    for (std::size_t number = 0; number < words_.size(); ++number) {
        const auto expectRead = [&](std::uint32_t error) {
            const RepairingCode::Reading reading = code_.read(words_[number] ^ error);
            ASSERT_TRUE(reading.isRepairable) << number << " error " << error;
            ASSERT_EQ(reading.number, number) << error;
        };
        expectRead(0);
        for (std::size_t a = 0; a < code_.bitCount(); ++a)
            for (std::size_t b = 0; b <= a; ++b)
                expectRead(1U << a | 1U << b);
    }
}

TEST_P(RepairingCodes, AnyReadingOfAnEdgeIsOneOfTheNeighbours) {
    for (std::size_t number = 0; number + 1 < words_.size(); ++number) {
        const std::uint32_t edge = words_[number] ^ words_[number + 1];
        for (std::uint32_t part = edge;; part = (part - 1) & edge) {
            const RepairingCode::Reading reading = code_.read(words_[number] ^ part);
            ASSERT_TRUE(reading.isRepairable);
            ASSERT_EQ(reading.number, std::popcount(part) > 2 ? number + 1 : number);
            if (part == 0)
                break;
        }
    }
}

// Readings that are more than two bits away from every word, found by comparing with all of them.
TEST(RepairingCode, TellsWhatItCannotRepair) {
    for (std::size_t numberBits = 1; numberBits <= 8; ++numberBits) {
        const RepairingCode code(numberBits);
        const std::vector<std::uint32_t> words = wordsOf(code, numberBits);
        std::size_t hopeless = 0;
        for (std::uint32_t reading = 0; reading < 1U << code.bitCount(); ++reading) {
            const auto nearest = std::ranges::min_element(
                words, {}, [reading](std::uint32_t word) { return std::popcount(word ^ reading); });
            const bool isRepairable = std::popcount(*nearest ^ reading) <= 2;
            const RepairingCode::Reading read = code.read(reading);
            ASSERT_EQ(read.isRepairable, isRepairable) << reading;
            if (isRepairable)
                ASSERT_EQ(read.number, static_cast<std::size_t>(nearest - words.begin())) << reading;
            else
                ++hopeless;
        }
        // Words x (1 + n + n (n - 1) / 2) readings can be repaired.
        const std::size_t n = code.bitCount();
        EXPECT_EQ(hopeless, (std::size_t{1} << n) - words.size() * (1 + n + n * (n - 1) / 2));
    }
}

TEST(RepairingCode, RefusesOtherSizes) {
    EXPECT_THROW(RepairingCode(0), Vorta::ArgumentInvalidException);
    EXPECT_THROW(RepairingCode(13), Vorta::ArgumentInvalidException);
}

} // namespace
