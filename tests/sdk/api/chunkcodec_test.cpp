#include "chunkcodec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string_view>

namespace Vorta::NetCdf {
namespace {

std::vector<std::byte> bytesOf(std::string_view text) {
    std::vector<std::byte> bytes(text.size());
    std::ranges::transform(text, bytes.begin(), [](char c) { return static_cast<std::byte>(c); });
    return bytes;
}

/// `values` after packing and unpacking; empty when that fails.
std::vector<std::byte> throughCodec(const ChunkFormat& format, std::span<const std::byte> values) {
    ChunkCodec packer(format);
    ChunkCodec unpacker(format);
    std::ranges::copy(values, packer.values().begin());
    const ChunkCodec::Packed packed = packer.pack();
    const auto unpacked = unpacker.unpack(packed.bytes, packed.skippedFilters);
    return {unpacked.begin(), unpacked.end()};
}

std::vector<std::byte> randomBytes(std::size_t count) {
    std::minstd_rand random(5);
    std::vector<std::byte> bytes(count);
    for (std::byte& byte : bytes)
        byte = static_cast<std::byte>(random() >> 8U);
    return bytes;
}

/// Compressible, with different bytes in every place of an element.
std::vector<std::byte> smoothBytes(std::size_t count) {
    std::vector<std::byte> bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::byte>(i % 4 == 0 ? i / 64 : i % 4);
    return bytes;
}

// Computed with Python's whole numbers from the definition.
TEST(Fletcher32, AgreesWithItsDefinition) {
    EXPECT_EQ(fletcher32({}), 0U);
    EXPECT_EQ(fletcher32(bytesOf(std::string_view("\0\0\0\0", 4))), 0U);
    EXPECT_EQ(fletcher32(bytesOf("a")), 0x61006100U);
    EXPECT_EQ(fletcher32(bytesOf("abcde")), 0x4FF029C7U);
    EXPECT_EQ(fletcher32(std::vector<std::byte>(1500, std::byte{0xFF})), 0xFFFFFFFFU);
    std::vector<std::byte> pattern(10001);
    for (std::size_t i = 0; i < pattern.size(); ++i)
        pattern[i] = static_cast<std::byte>((i * 7 + 3) % 256);
    EXPECT_EQ(fletcher32(pattern), 0x6904CB23U);
}

TEST(ChunkCodec, ShufflesBytesOfEqualWeightTogether) {
    ChunkCodec codec({.filters = {Filter::Shuffle}, .elementBytes = 4, .chunkBytes = 12});
    std::ranges::copy(bytesOf("abcdefghijkl"), codec.values().begin());
    const ChunkCodec::Packed packed = codec.pack();
    EXPECT_THAT(std::vector(packed.bytes.begin(), packed.bytes.end()), ::testing::Eq(bytesOf("aeibfjcgkdhl")));
    EXPECT_EQ(packed.skippedFilters, 0U);
}

TEST(ChunkCodec, AppendsTheChecksumLowByteFirst) {
    ChunkCodec codec({.filters = {Filter::Checksum}, .elementBytes = 1, .chunkBytes = 3});
    std::ranges::copy(bytesOf("abc"), codec.values().begin());
    // words 0x6162 and 0x6300: first sum 0xC462, second 0x6162 + 0xC462 = 0x125C4 = 0x25C5 modulo 65535
    const auto packed = codec.pack().bytes;
    EXPECT_THAT(std::vector(packed.begin(), packed.end()), ::testing::Eq(bytesOf("abc\x62\xC4\xC5\x25")));
}

TEST(ChunkCodec, GivesBackWhatItPacked) {
    using enum Filter;
    for (const std::size_t elementBytes : {1U, 4U, 8U})
        for (const std::vector<Filter>& filters : {std::vector<Filter>{},
                                                   {Checksum},
                                                   {Shuffle},
                                                   {Deflate},
                                                   {Shuffle, Deflate},
                                                   {Checksum, Shuffle, Deflate},
                                                   {Shuffle, Deflate, Checksum},
                                                   {Deflate, Checksum},
                                                   {Deflate, Shuffle}}) {
            const ChunkFormat format{.filters = filters, .elementBytes = elementBytes, .chunkBytes = 4000};
            EXPECT_EQ(throughCodec(format, smoothBytes(4000)), smoothBytes(4000)) << filters.size();
            EXPECT_EQ(throughCodec(format, randomBytes(4000)), randomBytes(4000)) << filters.size();
        }
}

TEST(ChunkCodec, LeavesOutDeflateWhereItShortensNothing) {
    ChunkCodec codec({.filters = {Filter::Shuffle, Filter::Deflate}, .elementBytes = 1, .chunkBytes = 1000});
    std::ranges::copy(randomBytes(1000), codec.values().begin());
    const ChunkCodec::Packed packed = codec.pack();
    EXPECT_EQ(packed.skippedFilters, 2U);
    EXPECT_EQ(packed.bytes.size(), 1000U);
}

TEST(ChunkCodec, StoresTheNoiseOfLowestBytesAsItIs) {
    // 70,000 elements: two bytes of noise, two that are easy to compress.
    constexpr std::size_t count = 70'000;
    const std::vector<std::byte> noise = randomBytes(2 * count);
    std::vector<std::byte> values(4 * count);
    for (std::size_t i = 0; i < count; ++i) {
        values[4 * i] = noise[i];
        values[4 * i + 1] = noise[count + i];
        values[4 * i + 2] = static_cast<std::byte>(i / 1000);
        values[4 * i + 3] = std::byte{65};
    }
    const ChunkFormat format{
        .filters = {Filter::Shuffle, Filter::Deflate}, .elementBytes = 4, .chunkBytes = values.size()};
    EXPECT_EQ(throughCodec(format, values), values);
    ChunkCodec codec(format);
    std::ranges::copy(values, codec.values().begin());
    const ChunkCodec::Packed packed = codec.pack();
    EXPECT_EQ(packed.skippedFilters, 0U);
    EXPECT_LT(packed.bytes.size(), 2 * count + 2000);
    // The stream's header, then blocks with their kind, length and inverted length: 65535, 65535 and 8930 bytes.
    constexpr std::size_t block = 65535;
    constexpr std::size_t stored = block + 5;
    const auto part = [](std::span<const std::byte> bytes, std::size_t start, std::size_t length) {
        const auto found = bytes.subspan(start, length);
        return std::vector(found.begin(), found.end());
    };
    EXPECT_EQ(part(packed.bytes, 0, 7), bytesOf(std::string_view("\x78\x01\0\xFF\xFF\0\0", 7)));
    EXPECT_EQ(part(packed.bytes, 7, block), part(noise, 0, block));
    EXPECT_EQ(part(packed.bytes, 2 + stored, 5), bytesOf(std::string_view("\0\xFF\xFF\0\0", 5)));
    EXPECT_EQ(part(packed.bytes, 7 + stored, block), part(noise, block, block));
    EXPECT_EQ(part(packed.bytes, 2 + 2 * stored, 5), bytesOf(std::string_view("\0\xE2\x22\x1D\xDD", 5)));
    EXPECT_EQ(part(packed.bytes, 7 + 2 * stored, 8930), part(noise, 2 * block, 8930));
    std::vector<std::byte> damaged(packed.bytes.begin(), packed.bytes.end());
    damaged[1000] ^= std::byte{1};
    EXPECT_TRUE(ChunkCodec(format).unpack(damaged, 0).empty());
}

TEST(ChunkCodec, NoticesDamage) {
    const ChunkFormat format{
        .filters = {Filter::Checksum, Filter::Shuffle, Filter::Deflate}, .elementBytes = 4, .chunkBytes = 4000};
    ChunkCodec packer(format);
    std::ranges::copy(smoothBytes(4000), packer.values().begin());
    const ChunkCodec::Packed packed = packer.pack();
    const std::vector<std::byte> good(packed.bytes.begin(), packed.bytes.end());
    ChunkCodec codec(format);
    std::size_t refused = 0;
    for (std::size_t at = 0; at < good.size(); ++at) {
        std::vector<std::byte> damaged = good;
        damaged[at] ^= std::byte{0x10};
        const auto values = codec.unpack(damaged, 0); // the last bits of a deflate stream mean nothing
        EXPECT_TRUE(values.empty() || std::ranges::equal(values, smoothBytes(4000))) << "byte " << at;
        refused += values.empty() ? 1U : 0U;
    }
    EXPECT_GE(refused, good.size() - 1);
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_TRUE(codec.unpack(std::span(good).first(length), 0).empty()) << length << " bytes";
    EXPECT_TRUE(codec.unpack(std::vector<std::byte>(100'000), 0).empty());
    for (std::uint32_t skipped = 1; skipped < 8; ++skipped)
        EXPECT_TRUE(codec.unpack(good, skipped).empty()) << skipped;
    EXPECT_FALSE(codec.unpack(good, 0).empty());
}

} // namespace
} // namespace Vorta::NetCdf
