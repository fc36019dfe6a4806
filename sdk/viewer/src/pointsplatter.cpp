#include "pointsplatter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <thread>

namespace Vorta {

namespace {

/// Each thread has a picture of its own, which all have to be brought together in the end.
constexpr std::size_t mostThreads = 4;
/// Vertices that a thread takes at a time, and that are projected before they are drawn.
constexpr std::size_t chunkSize = 16'384;
constexpr std::size_t batchSize = 512;
/// Rows that a thread brings together at a time.
constexpr std::size_t rowsAtATime = 16;

constexpr std::size_t depthSteps = 1024;
using DepthTable = std::array<std::uint32_t, depthSteps>;

std::uint32_t packed(float red, float green, float blue) {
    const auto byte = [](float value) {
        return static_cast<std::uint32_t>(std::lround(255.0F * std::clamp(value, 0.0F, 1.0F)));
    };
    return 0xff000000U | byte(red) << 16U | byte(green) << 8U | byte(blue);
}

DepthTable makeDepthTable() {
    DepthTable table{};
    for (std::size_t i = 0; i < depthSteps; ++i) {
        const float t =
            static_cast<float>(depthColors.size() - 1) * static_cast<float>(i) / static_cast<float>(depthSteps - 1);
        const std::size_t stop = std::min(static_cast<std::size_t>(t), depthColors.size() - 2);
        std::array<float, 3> color{};
        for (std::size_t channel = 0; channel < 3; ++channel)
            color[channel] =
                std::lerp(depthColors[stop][channel], depthColors[stop + 1][channel], t - static_cast<float>(stop));
        table[i] = packed(color[0], color[1], color[2]);
    }
    return table;
}

/// How points come to their pixels: matrices and window in one.
struct Projection {
    Projection(const FrameSettings& frame, const PixelGrid& picture)
        : eye(frame.eye),
          width(static_cast<float>(picture.width)),
          height(static_cast<float>(picture.height)),
          scaleX(0.5F * width * frame.projection[0]),
          scaleY(-0.5F * height * frame.projection[5]),
          nearest(-frame.projection[14] / (frame.projection[10] + 1.0F)),
          farthest(-frame.projection[14] / (frame.projection[10] - 1.0F)),
          pointScale(frame.pointScale) {}

    GlMatrix eye;
    float width;
    float height;
    float scaleX;
    float scaleY;
    float nearest;
    float farthest;
    float pointScale;
};

/// Pixels that points cover, from `left` and `top` to before `right` and `bottom`; none where the point does not show.
struct Batch {
    std::array<std::int32_t, batchSize> left;
    std::array<std::int32_t, batchSize> right;
    std::array<std::int32_t, batchSize> top;
    std::array<std::int32_t, batchSize> bottom;
    std::array<float, batchSize> closeness;
};

void project(std::span<const CloudVertex> vertices, const Projection& p, Batch& batch) {
    const GlMatrix m = p.eye;
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        const CloudVertex& v = vertices[i];
        const float x = m[0] * v.x + m[4] * v.y + m[8] * v.z + m[12];
        const float y = m[1] * v.x + m[5] * v.y + m[9] * v.z + m[13];
        const float z = m[2] * v.x + m[6] * v.y + m[10] * v.z + m[14];
        const bool shows = z >= p.nearest && z <= p.farthest;
        const float closeness = 1.0F / z;
        // A pixel is covered when its middle is.
        const float half = 0.5F * std::clamp(p.pointScale * closeness, 1.0F, FrameSettings::widestPoint);
        const float column = 0.5F * p.width + p.scaleX * x * closeness + 0.5F;
        const float row = 0.5F * p.height + p.scaleY * y * closeness + 0.5F;
        batch.closeness[i] = closeness;
        batch.left[i] = static_cast<std::int32_t>(std::clamp(column - half, 0.0F, p.width));
        batch.right[i] = shows ? static_cast<std::int32_t>(std::clamp(column + half, 0.0F, p.width)) : 0;
        batch.top[i] = static_cast<std::int32_t>(std::clamp(row - half, 0.0F, p.height));
        batch.bottom[i] = shows ? static_cast<std::int32_t>(std::clamp(row + half, 0.0F, p.height)) : 0;
    }
}

/// The colour of a point: its own, or what its depth stands for.
class Coloring {
public:
    explicit Coloring(const FrameSettings& frame)
        : own_(frame.colored),
          nearestZ_(frame.nearestZ),
          stepsPerMm_(static_cast<float>(depthSteps - 1) / (frame.farthestZ - frame.nearestZ)) {}

    [[nodiscard]] std::uint32_t operator()(const CloudVertex& v) const {
        static const DepthTable depthTable = makeDepthTable();
        if (own_)
            return 0xff000000U | std::uint32_t{v.red} << 16U | std::uint32_t{v.green} << 8U | v.blue;
        const float step = std::clamp((v.z - nearestZ_) * stepsPerMm_, 0.0F, static_cast<float>(depthSteps - 1));
        return depthTable[static_cast<std::size_t>(step)];
    }

private:
    bool own_;
    float nearestZ_;
    float stepsPerMm_;
};

void drawChunk(std::span<const CloudVertex> vertices, const Projection& projection, const Coloring& coloring,
               std::size_t width, std::uint64_t* nearest) {
    Batch batch; // NOLINT(cppcoreguidelines-pro-type-member-init): filled as far as it is used
    for (std::size_t begin = 0; begin < vertices.size(); begin += batchSize) {
        const auto part = vertices.subspan(begin, std::min(batchSize, vertices.size() - begin));
        project(part, projection, batch);
        for (std::size_t i = 0; i < part.size(); ++i) {
            const auto left = static_cast<std::size_t>(batch.left[i]);
            const auto right = static_cast<std::size_t>(batch.right[i]);
            const auto bottom = static_cast<std::size_t>(batch.bottom[i]);
            if (left >= right)
                continue;
            // Closeness is positive, so that its bits are in the order of its values.
            const std::uint64_t key =
                std::uint64_t{std::bit_cast<std::uint32_t>(batch.closeness[i])} << 32U | coloring(part[i]);
            for (auto row = static_cast<std::size_t>(batch.top[i]); row < bottom; ++row) {
                std::uint64_t* const pixels = nearest + row * width;
                for (std::size_t column = left; column < right; ++column)
                    pixels[column] = std::max(pixels[column], key);
            }
        }
    }
}

} // namespace

PointSplatter::PointSplatter()
    : pool_(std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, mostThreads)), nearest_(pool_.size()) {}

void PointSplatter::draw(std::span<const CloudVertex> vertices, const FrameSettings& frame, const PixelGrid& picture) {
    const std::size_t pixels = picture.width * picture.height;
    for (std::vector<std::uint64_t>& nearest : nearest_)
        if (nearest.size() != pixels)
            nearest.assign(pixels, 0);
    const Projection projection(frame, picture);
    const Coloring coloring(frame);
    pool_.forEachBlock((vertices.size() + chunkSize - 1) / chunkSize, [&](std::size_t chunk, std::size_t thread) {
        const std::size_t begin = chunk * chunkSize;
        drawChunk(vertices.subspan(begin, std::min(chunkSize, vertices.size() - begin)), projection, coloring,
                  picture.width, nearest_[thread].data());
    });

    const std::uint32_t background = packed(frame.background[0], frame.background[1], frame.background[2]);
    pool_.forEachBlock(
        (picture.height + rowsAtATime - 1) / rowsAtATime, [&](std::size_t block, std::size_t /*thread*/) {
            const std::size_t end = std::min((block + 1) * rowsAtATime, picture.height);
            for (std::size_t row = block * rowsAtATime; row < end; ++row) {
                std::uint64_t* const first = nearest_.front().data() + row * picture.width;
                for (std::size_t other = 1; other < nearest_.size(); ++other) {
                    std::uint64_t* const more = nearest_[other].data() + row * picture.width;
                    for (std::size_t column = 0; column < picture.width; ++column)
                        first[column] = std::max(first[column], more[column]);
                    std::memset(more, 0, picture.width * sizeof(*more));
                }
                std::uint32_t* const shown = picture.pixels + row * picture.pitch;
                for (std::size_t column = 0; column < picture.width; ++column)
                    shown[column] = first[column] != 0 ? static_cast<std::uint32_t>(first[column]) : background;
                std::memset(first, 0, picture.width * sizeof(*first));
            }
        });
}

} // namespace Vorta
