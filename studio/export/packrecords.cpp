#include "export/packrecords.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace Vorta::Export {

// The formats are little-endian and so are the machines that we build for; the words below rely on it.
static_assert(std::endian::native == std::endian::little);

namespace {

constexpr std::size_t plyRecordSize = 15;
constexpr std::size_t pcdRecordSize = 16;

/// Far enough ahead for the memory to answer in time, in points.
constexpr std::size_t prefetchDistance = 100;

/// A point's words: x and y, z, and the colour as blue, green, red, alpha from the lowest byte on. Whole words are what
/// makes packing as fast as copying.
struct Words {
    std::uint64_t xy = 0;
    std::uint32_t z = 0;
    std::uint32_t bgra = 0;

    explicit Words(const Point& point) noexcept {
        const auto* bytes = reinterpret_cast<const char*>(&point);
        std::memcpy(&xy, bytes + offsetof(Point, x), sizeof xy);
        std::memcpy(&z, bytes + offsetof(Point, z), sizeof z);
        std::memcpy(&bgra, bytes + offsetof(Point, blue), sizeof bgra);
    }

    [[nodiscard]] bool isValid() const noexcept { return (z & 0x7FFFFFFFU) <= 0x7F800000U; }

    /// Red, green, blue, 0. Written so that compilers see a reversal of all bytes, one instruction.
    [[nodiscard]] std::uint32_t rgb() const noexcept {
        const std::uint32_t abgr = bgra << 24 | (bgra << 8 & 0xFF0000U) | (bgra >> 8 & 0xFF00U) | bgra >> 24;
        return abgr >> 8;
    }
};

/// A record, or one and the first byte of the next.
void store(char* out, std::uint64_t first, std::uint32_t second, std::uint32_t third) noexcept {
    const std::uint64_t rest = second | std::uint64_t{third} << 32;
    std::memcpy(out, &first, sizeof first);
    std::memcpy(out + sizeof first, &rest, sizeof rest);
}

/// Calls `packOne(point, out)`, which returns the end of its record, for every point, and the memory ahead of time.
template <class PackOne>
char* packAll(std::span<const Point> points, char* out, PackOne packOne) noexcept {
    constexpr std::size_t groupSize = 16;
    constexpr std::size_t cacheLine = 64;
    static_assert(groupSize * sizeof(Point) % cacheLine == 0);
    while (points.size() >= prefetchDistance + groupSize) {
        const auto* ahead = reinterpret_cast<const char*>(&points[prefetchDistance]);
        for (std::size_t line = 0; line < groupSize * sizeof(Point); line += cacheLine)
            hwy::Prefetch(ahead + line);
        for (const Point& point : points.first<groupSize>())
            out = packOne(point, out);
        points = points.subspan(groupSize);
    }
    for (const Point& point : points)
        out = packOne(point, out);
    return out;
}

char* packPlyOrdered(std::span<const Point> points, char* out) noexcept {
    return packAll(points, out, [](const Point& point, char* record) {
        const Words words{point};
        const std::uint64_t keep = words.isValid() ? ~std::uint64_t{0} : 0;
        store(record, words.xy & keep, words.z & static_cast<std::uint32_t>(keep), words.rgb());
        return record + plyRecordSize;
    });
}

char* packPlyUnordered(std::span<const Point> points, char* out) noexcept {
    return packAll(points, out, [](const Point& point, char* record) {
        const Words words{point};
        store(record, words.xy, words.z, words.rgb());
        return record + (words.isValid() ? plyRecordSize : 0);
    });
}

char* packPcd(std::span<const Point> points, char* out) noexcept {
    return packAll(points, out, [](const Point& point, char* record) {
        const Words words{point};
        store(record, words.xy, words.z, (words.bgra & 0x00FFFFFFU) | 0x01000000U);
        return record + pcdRecordSize;
    });
}

} // namespace

const RecordFormat plyOrdered{.pack = packPlyOrdered, .recordSize = plyRecordSize};
const RecordFormat plyUnordered{.pack = packPlyUnordered, .recordSize = plyRecordSize};
const RecordFormat pcd{.pack = packPcd, .recordSize = pcdRecordSize};

bool writeRecords(std::string_view header, std::span<const Point> points, const RecordFormat& format,
                  const Sink& sink) {
    // Large enough for file systems to keep the file in their largest pages, small enough to stay in the cache.
    constexpr std::size_t blockSize = std::size_t{2} << 20;
    const auto buffer = std::make_unique_for_overwrite<char[]>(blockSize + format.recordSize + packingSlack);
    std::size_t used = header.copy(buffer.get(), blockSize);
    for (std::size_t first = 0; first < points.size();) {
        // Enough to reach the end of the block, with at most one record across it.
        const std::size_t count = std::min(points.size() - first, (blockSize - used) / format.recordSize + 1);
        const char* end = format.pack(points.subspan(first, count), buffer.get() + used);
        first += count;
        used = static_cast<std::size_t>(end - buffer.get());
        if (used < blockSize)
            continue;
        if (!sink(buffer.get(), blockSize))
            return false;
        used -= blockSize;
        std::memcpy(buffer.get(), buffer.get() + blockSize, used);
    }
    return sink(buffer.get(), used);
}

} // namespace Vorta::Export
