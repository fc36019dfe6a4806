#include "vorta/reconstruction/hdr.h"

#include "tonemap.h"
#include "vorta/common/workerpool.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Vorta::Reconstruction {

namespace {

constexpr float gateMm = 1.0F;         // up to this distance:
constexpr float gateDistance = 700.0F; // mm
constexpr float fadeLevels = 32.0F;    // below 256
constexpr float brightest = 254.0F;
constexpr std::size_t blockRows = 16;

bool isSaturated(const Point& point) {
    return point.green == 255; // see Reconstructor
}

/// What the pixels have in common.
struct Series {
    std::vector<const Point*> clouds;
    std::vector<float> exposures; // by the longest
    ToneMap tone;
};

void checkChildren(std::span<const HdrChild> children) {
    if (children.size() < 2)
        throw ArgumentInvalidException("It takes at least two captures to combine.", "children",
                                       std::to_string(children.size()));
    for (std::size_t i = 0; i < children.size(); ++i) {
        const PointCloud& cloud = children[i].cloud;
        const std::string name = "children[" + std::to_string(i) + "].";
        if (cloud.empty())
            throw ArgumentInvalidException("A capture to combine has no points.", name + "cloud");
        if (cloud.height() != children[0].cloud.height() || cloud.width() != children[0].cloud.width())
            throw ArgumentInvalidException("The captures to combine have different sizes.", name + "cloud",
                                           std::to_string(cloud.width()) + " x " + std::to_string(cloud.height()));
        if (!(children[i].exposure > 0.0 && std::isfinite(children[i].exposure)))
            throw ArgumentInvalidException("An exposure must be a positive number.", name + "exposure",
                                           std::to_string(children[i].exposure));
    }
}

/// The pixel's point of the strongest contrast: of the valid unsaturated ones, else of the valid ones, else of the
/// unsaturated ones, else of all.
std::size_t findLeader(const Series& series, std::size_t pixel) {
    std::size_t leader = 0;
    int bestRank = -1;
    float bestContrast = 0.0F;
    for (std::size_t c = 0; c < series.clouds.size(); ++c) {
        const Point& point = series.clouds[c][pixel];
        const int rank = (point.isValid() ? 2 : 0) + (isSaturated(point) ? 0 : 1);
        if (rank > bestRank || (rank == bestRank && point.contrast > bestContrast)) {
            leader = c;
            bestRank = rank;
            bestContrast = point.contrast;
        }
    }
    return leader;
}

/// The leader, averaged with the points that agree with it.
Point combinePoints(const Series& series, std::size_t pixel) {
    const Point leader = series.clouds[findLeader(series, pixel)][pixel];
    const float distance = leader.z / gateDistance;
    const float gate = gateMm * std::max(1.0F, distance * distance);
    const bool saturated = isSaturated(leader);
    float weights = 0.0F;
    float x = 0.0F, y = 0.0F, z = 0.0F; // of the differences from the leader, which keeps their rounding small
    for (const Point* cloud : series.clouds) {
        const Point& point = cloud[pixel];
        const float dx = point.x - leader.x;
        const float dy = point.y - leader.y;
        const float dz = point.z - leader.z;
        // Never true of a point that is invalid.
        const bool agrees =
            std::abs(dx) <= gate && std::abs(dy) <= gate && std::abs(dz) <= gate && isSaturated(point) == saturated;
        const float weight = agrees ? point.contrast * point.contrast : 0.0F;
        weights += weight;
        x += agrees ? weight * dx : 0.0F;
        y += agrees ? weight * dy : 0.0F;
        z += agrees ? weight * dz : 0.0F;
    }
    Point result = leader;
    if (weights > 0.0F) {
        result.x += x / weights;
        result.y += y / weights;
        result.z += z / weights;
    }
    return result;
}

/// Blue, green and red of the unsaturated children on the scale of the longest exposure, through the tone curve.
void combineColours(const Series& series, std::size_t pixel, Point& result) {
    std::array<float, 3> light{};
    float exposures = 0.0F;
    for (std::size_t c = 0; c < series.clouds.size(); ++c) {
        const Point& point = series.clouds[c][pixel];
        if (isSaturated(point))
            continue;
        const auto highest = static_cast<float>(std::max({point.blue, point.green, point.red}));
        const float fade = std::min((256.0F - highest) / fadeLevels, 1.0F);
        light[0] += fade * static_cast<float>(point.blue);
        light[1] += fade * static_cast<float>(point.green);
        light[2] += fade * static_cast<float>(point.red);
        exposures += fade * series.exposures[c];
    }
    std::array<std::uint8_t, 3> colour{255, 255, 255};
    if (exposures > 0.0F) {
        const float scale = 1.0F / exposures;
        const float gain = scale * series.tone.gain(std::max({light[0], light[1], light[2]}) * scale);
        std::ranges::transform(light, colour.begin(), [gain](float value) {
            const float level = 0.5F + std::min(value * gain, brightest); // cut off below: rounded
            return static_cast<std::uint8_t>(level);
        });
    }
    result.blue = colour[0];
    result.green = colour[1];
    result.red = colour[2];
    result.alpha = 255;
}

Series seriesOf(std::span<const HdrChild> children) {
    const auto [shortest, longest] = std::ranges::minmax(children, {}, &HdrChild::exposure);
    Series series{.clouds = {}, .exposures = {}, .tone = ToneMap(longest.exposure / shortest.exposure)};
    for (const HdrChild& child : children) {
        series.clouds.push_back(child.cloud.data());
        series.exposures.push_back(static_cast<float>(child.exposure / longest.exposure));
    }
    return series;
}

} // namespace

PointCloud combineClouds(std::span<const HdrChild> children, std::size_t threads) {
    checkChildren(children);
    const Series series = seriesOf(children);
    PointCloud result = PointCloud::uninitialized(children[0].cloud.height(), children[0].cloud.width());
    const std::size_t blockSize = blockRows * result.width();
    const auto work = [&](std::size_t block, std::size_t /*thread*/) {
        const std::size_t last = std::min((block + 1) * blockSize, result.size());
        for (std::size_t pixel = block * blockSize; pixel < last; ++pixel) {
            result[pixel] = combinePoints(series, pixel);
            combineColours(series, pixel, result[pixel]);
        }
    };
    WorkerPool(threads).forEachBlock((result.height() + blockRows - 1) / blockRows, std::cref(work));
    return result;
}

} // namespace Vorta::Reconstruction
