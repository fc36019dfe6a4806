#include "chunkcodec.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <libdeflate.h>
#include <new>
#include <utility>

namespace Vorta::NetCdf {

namespace {

constexpr int deflateLevel = 1; // higher levels take several times as long for a few percent
constexpr std::size_t checksumBytes = sizeof(std::uint32_t);

[[nodiscard]] constexpr std::uint32_t number(std::byte byte) noexcept {
    return std::to_integer<std::uint32_t>(byte);
}

/// Folds a sum to 16 bits without losing its value modulo 65535, nor that it is not 0.
[[nodiscard]] constexpr std::uint32_t folded(std::uint64_t sum) noexcept {
    while (sum > 0xFFFFU)
        sum = (sum & 0xFFFFU) + (sum >> 16U);
    return static_cast<std::uint32_t>(sum);
}

[[nodiscard]] std::array<std::byte, checksumBytes> littleEndian(std::uint32_t value) noexcept {
    return {static_cast<std::byte>(value & 0xFFU), static_cast<std::byte>((value >> 8U) & 0xFFU),
            static_cast<std::byte>((value >> 16U) & 0xFFU), static_cast<std::byte>(value >> 24U)};
}

/// Bytes behind the last whole element stay where they are.
template <std::size_t Size>
void shuffle(std::span<const std::byte> from, std::byte* to) noexcept {
    const std::size_t count = from.size() / Size;
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = 0; k < Size; ++k)
            to[k * count + i] = from[i * Size + k];
    std::ranges::copy(from.subspan(count * Size), to + count * Size);
}

template <std::size_t Size>
void unshuffle(std::span<const std::byte> from, std::byte* to) noexcept {
    const std::size_t count = from.size() / Size;
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = 0; k < Size; ++k)
            to[i * Size + k] = from[k * count + i];
    std::ranges::copy(from.subspan(count * Size), to + count * Size);
}

/// Of float arrays, where compilers do well with whole words.
template <>
void shuffle<4>(std::span<const std::byte> from, std::byte* to) noexcept {
    const std::size_t count = from.size() / 4;
    for (std::size_t i = 0; i < count; ++i) {
        std::array<std::byte, 4> element; // NOLINT(cppcoreguidelines-pro-type-member-init): written in whole
        std::memcpy(element.data(), from.data() + 4 * i, 4);
        to[i] = element[0];
        to[count + i] = element[1];
        to[2 * count + i] = element[2];
        to[3 * count + i] = element[3];
    }
    std::ranges::copy(from.subspan(count * 4), to + count * 4);
}

/// Length of the leading parts of shuffled elements that deflate hardly shortens, judged by a sample from the middle of
/// each: the lowest bytes of measured values come first, and are noise. `scratch` is overwritten.
std::size_t leadingNoise(libdeflate_compressor* compressor, std::span<const std::byte> bytes, std::size_t elementBytes,
                         std::span<std::byte> scratch) noexcept {
    constexpr std::size_t sampleBytes = 8192;
    constexpr std::size_t worthwhileBytes = sampleBytes * 9 / 10;
    const std::size_t part = bytes.size() / elementBytes;
    if (part < 2 * sampleBytes)
        return 0; // so little takes no longer than finding out
    std::size_t noise = 0;
    for (; noise + part < bytes.size(); noise += part) {
        const auto sample = bytes.subspan(noise + (part - sampleBytes) / 2, sampleBytes);
        if (libdeflate_deflate_compress(compressor, sample.data(), sampleBytes, scratch.data(), worthwhileBytes) > 0)
            break;
    }
    return noise;
}

/// Copies bytes to `out` and returns their end there.
std::byte* put(std::span<const std::byte> bytes, std::byte* out) noexcept {
    std::memcpy(out, bytes.data(), bytes.size());
    return out + bytes.size();
}

/// Writes deflate blocks that hold the bytes as they are, none of them the last of its stream (RFC 1951, 3.2.4), and
/// returns their end.
std::byte* storeBlocks(std::span<const std::byte> bytes, std::byte* out) noexcept {
    constexpr std::size_t longestBlock = 0xFFFF;
    while (!bytes.empty()) {
        const auto block = bytes.first(std::min(bytes.size(), longestBlock));
        const auto length = static_cast<std::uint32_t>(block.size());
        *out++ = std::byte{0};
        out = put(littleEndian(length | ~length << 16U), out);
        out = put(block, out);
        bytes = bytes.subspan(block.size());
    }
    return out;
}

/// Makes a zlib stream (RFC 1950) shorter than `bytes` and returns its length, or 0 when there is none. `out` has room
/// for ChunkFormat::maximumStoredBytes().
std::size_t compress(libdeflate_compressor* compressor, std::span<const std::byte> bytes, std::size_t elementBytes,
                     std::span<std::byte> out) noexcept {
    constexpr std::array header{std::byte{0x78}, std::byte{0x01}};
    const std::size_t noise = leadingNoise(compressor, bytes, elementBytes, out);
    std::byte* end = storeBlocks(bytes.first(noise), put(header, out.data()));
    const std::size_t before = static_cast<std::size_t>(end - out.data()) + checksumBytes;
    if (before >= bytes.size())
        return 0;
    const std::size_t length = libdeflate_deflate_compress(compressor, bytes.data() + noise, bytes.size() - noise, end,
                                                           bytes.size() - before - 1);
    if (length == 0)
        return 0;
    auto checksum = littleEndian(libdeflate_adler32(1, bytes.data(), bytes.size()));
    std::ranges::reverse(checksum);
    put(checksum, end + length);
    return before + length;
}

} // namespace

std::size_t ChunkFormat::maximumStoredBytes() const noexcept {
    // zlib's bound of what deflate makes of incompressible bytes
    constexpr std::size_t overhead = 64;
    return chunkBytes + chunkBytes / 1000 + filters.size() * checksumBytes + overhead;
}

std::uint32_t fletcher32(std::span<const std::byte> bytes) noexcept {
    // The second sum adds the first one up: a word that n words follow counts n + 1 times. 360 words of 65535 are
    // the most whose second sum fits 32 bits.
    constexpr std::size_t blockWords = 360;
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    const std::size_t words = bytes.size() / 2;
    for (std::size_t start = 0; start < words; start += blockWords) {
        const auto count = static_cast<std::uint32_t>(std::min(blockWords, words - start));
        const std::byte* const block = bytes.data() + 2 * start;
        std::uint32_t blockFirst = 0;
        std::uint32_t blockSecond = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::byte* const pair = block + 2 * std::size_t{i};
            const std::uint32_t word = (number(pair[0]) << 8U) | number(pair[1]);
            blockFirst += word;
            blockSecond += (count - i) * word;
        }
        second = folded(second + first * count + blockSecond);
        first = folded(first + blockFirst);
    }
    if (bytes.size() % 2 != 0) {
        first = folded(first + (number(bytes.back()) << 8U));
        second = folded(second + first);
    }
    return (static_cast<std::uint32_t>(second) << 16U) | static_cast<std::uint32_t>(first);
}

void ChunkCodec::Free::operator()(libdeflate_compressor* compressor) const noexcept {
    libdeflate_free_compressor(compressor);
}

void ChunkCodec::Free::operator()(libdeflate_decompressor* decompressor) const noexcept {
    libdeflate_free_decompressor(decompressor);
}

ChunkCodec::ChunkCodec(ChunkFormat format)
    : format_(std::move(format)), front_(format_.maximumStoredBytes()), back_(format_.maximumStoredBytes()) {}

ChunkCodec::ChunkCodec(ChunkCodec&&) noexcept = default;
ChunkCodec& ChunkCodec::operator=(ChunkCodec&&) noexcept = default;
ChunkCodec::~ChunkCodec() = default;

std::span<std::byte> ChunkCodec::values() noexcept {
    return std::span(front_).first(format_.chunkBytes);
}

std::span<std::byte> ChunkCodec::other(std::span<const std::byte> bytes) noexcept {
    return bytes.data() == front_.data() ? back_ : front_;
}

ChunkCodec::Packed ChunkCodec::pack() {
    if (!compressor_) {
        compressor_.reset(libdeflate_alloc_compressor(deflateLevel));
        if (!compressor_)
            throw std::bad_alloc();
    }
    std::span<std::byte> bytes = values();
    Packed packed;
    for (std::size_t i = 0; i < format_.filters.size(); ++i) {
        const std::span<std::byte> next = other(bytes);
        switch (format_.filters[i]) {
        case Filter::Checksum: {
            const auto sum = littleEndian(fletcher32(bytes));
            bytes = std::span(bytes.data(), bytes.size() + checksumBytes); // both buffers have room for every sum
            std::ranges::copy(sum, bytes.last(checksumBytes).begin());
            break;
        }
        case Filter::Shuffle:
            if (format_.elementBytes == 4)
                shuffle<4>(bytes, next.data());
            else if (format_.elementBytes == 8)
                shuffle<8>(bytes, next.data());
            else
                break; // single bytes are in their order already
            bytes = next.first(bytes.size());
            break;
        case Filter::Deflate:
            const std::size_t length = compress(compressor_.get(), bytes, format_.elementBytes, next);
            if (length > 0)
                bytes = next.first(length);
            else
                packed.skippedFilters |= 1U << i;
            break;
        }
    }
    packed.bytes = bytes;
    return packed;
}

bool ChunkCodec::undo(Filter filter, std::size_t expected, std::span<const std::byte>& bytes) {
    const std::span<std::byte> next = other(bytes);
    switch (filter) {
    case Filter::Checksum:
        if (bytes.size() < checksumBytes)
            return false;
        {
            const auto values = bytes.first(bytes.size() - checksumBytes);
            if (!std::ranges::equal(bytes.last(checksumBytes), littleEndian(fletcher32(values))))
                return false;
            bytes = values;
        }
        break;
    case Filter::Shuffle:
        if (format_.elementBytes == 4)
            unshuffle<4>(bytes, next.data());
        else if (format_.elementBytes == 8)
            unshuffle<8>(bytes, next.data());
        else
            break;
        bytes = next.first(bytes.size());
        break;
    case Filter::Deflate:
        // Exactly as many bytes must come out as the steps before it had put in.
        if (libdeflate_zlib_decompress(decompressor_.get(), bytes.data(), bytes.size(), next.data(), expected,
                                       nullptr) != LIBDEFLATE_SUCCESS)
            return false;
        bytes = next.first(expected);
        break;
    }
    return true;
}

std::span<const std::byte> ChunkCodec::unpack(std::span<const std::byte> stored, std::uint32_t skippedFilters) {
    if (!decompressor_) {
        decompressor_.reset(libdeflate_alloc_decompressor());
        if (!decompressor_)
            throw std::bad_alloc();
    }
    if (stored.size() > format_.maximumStoredBytes())
        return {};
    const auto isSkipped = [&](std::size_t filter) { return (skippedFilters >> filter & 1U) != 0; };
    for (std::size_t i = format_.filters.size(); i-- > 0;) {
        if (isSkipped(i))
            continue;
        std::size_t expected = format_.chunkBytes;
        for (std::size_t k = 0; k < i; ++k)
            if (format_.filters[k] == Filter::Checksum && !isSkipped(k))
                expected += checksumBytes;
        if (!undo(format_.filters[i], expected, stored))
            return {};
    }
    return stored.size() == format_.chunkBytes ? stored : std::span<const std::byte>{};
}

} // namespace Vorta::NetCdf
