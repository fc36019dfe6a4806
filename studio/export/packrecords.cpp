#include "export/packrecords.h"

#include <array>
#include <bit>
#include <cstring>

namespace Vorta::Export {

// The formats are little-endian and so are the machines that we build for; the words below rely on it.
static_assert(std::endian::native == std::endian::little);

namespace {

/// A point as two 64-bit words and the colour: writing whole words is what makes packing as fast as copying.
struct Words {
    std::uint64_t xy;
    std::uint32_t z;
    std::uint32_t bgra;
};

Words load(const Point& point) noexcept {
    const auto words = std::bit_cast<std::array<std::uint32_t, 5>>(point);
    return {.xy = words[0] | (std::uint64_t{words[1]} << 32), .z = words[2], .bgra = words[4]};
}

bool isNan(std::uint32_t floatBits) noexcept {
    return (floatBits & 0x7FFFFFFFU) > 0x7F800000U;
}

/// Memory order red, green, blue, 0.
std::uint32_t rgbOf(std::uint32_t bgra) noexcept {
    return ((bgra >> 16) & 0xFFU) | (bgra & 0xFF00U) | ((bgra & 0xFFU) << 16);
}

void store(char* out, std::uint64_t first, std::uint32_t second, std::uint32_t third) noexcept {
    const std::uint64_t last = second | (std::uint64_t{third} << 32);
    std::memcpy(out, &first, sizeof first);
    std::memcpy(out + sizeof first, &last, sizeof last);
}

} // namespace

char* packPlyOrdered(std::span<const Point> points, char* out) noexcept {
    for (const Point& point : points) {
        const Words words = load(point);
        const std::uint32_t keep = isNan(words.z) ? 0U : ~0U;
        store(out, words.xy & (keep | (std::uint64_t{keep} << 32)), words.z & keep, rgbOf(words.bgra));
        out += plyRecordSize;
    }
    return out;
}

char* packPlyUnordered(std::span<const Point> points, char* out) noexcept {
    for (const Point& point : points) {
        const Words words = load(point);
        store(out, words.xy, words.z, rgbOf(words.bgra));
        out += isNan(words.z) ? 0 : plyRecordSize;
    }
    return out;
}

char* packPcd(std::span<const Point> points, char* out) noexcept {
    for (const Point& point : points) {
        const Words words = load(point);
        store(out, words.xy, words.z, (words.bgra & 0x00FFFFFFU) | 0x01000000U);
        out += pcdRecordSize;
    }
    return out;
}

} // namespace Vorta::Export
