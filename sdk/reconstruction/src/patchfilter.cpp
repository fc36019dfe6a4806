#include "patchfilter.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <utility>

namespace Vorta::Reconstruction {

namespace {

/// False where a point is invalid.
bool isConnected(const Point& a, const Point& b, float thresholdMm) {
    return std::abs(a.z - b.z) <= thresholdMm;
}

std::size_t checkedSize(std::size_t height, std::size_t width) {
    constexpr std::size_t limit = std::numeric_limits<std::uint32_t>::max();
    if (width > 0 && height > limit / width)
        throw ArgumentInvalidException("The camera has more pixels than the outlier filter can number.", "camera",
                                       std::to_string(width) + " x " + std::to_string(height));
    return height * width;
}

} // namespace

PatchFilter::PatchFilter(std::size_t height, std::size_t width)
    : width_(width), runs_(std::make_unique_for_overwrite<Run[]>(checkedSize(height, width))), runCounts_(height) {}

void PatchFilter::findRuns(const PointCloud& cloud, std::size_t row, float thresholdMm) {
    const std::span<const Point> points = cloud.row(row);
    const std::size_t first = row * width_;
    std::size_t run = first;
    std::size_t column = 0;
    while (column < width_) {
        if (!points[column].isValid()) {
            ++column;
            continue;
        }
        const std::size_t begin = column++;
        while (column < width_ && isConnected(points[column - 1], points[column], thresholdMm))
            ++column;
        runs_[run] = {.begin = static_cast<std::uint32_t>(begin),
                      .end = static_cast<std::uint32_t>(column),
                      .parent = static_cast<std::uint32_t>(run),
                      .size = static_cast<std::uint32_t>(column - begin)};
        ++run;
    }
    runCounts_[row] = static_cast<std::uint32_t>(run - first);
}

void PatchFilter::joinRows(const PointCloud& cloud, std::size_t row, float thresholdMm) {
    const std::span<const Point> abovePoints = cloud.row(row - 1);
    const std::span<const Point> points = cloud.row(row);
    std::size_t above = (row - 1) * width_;
    std::size_t below = row * width_;
    const std::size_t aboveEnd = above + runCounts_[row - 1];
    const std::size_t belowEnd = below + runCounts_[row];
    while (above < aboveEnd && below < belowEnd) {
        const Run& upper = runs_[above];
        const Run& lower = runs_[below];
        const std::size_t last = std::min(upper.end, lower.end);
        for (std::size_t column = std::max(upper.begin, lower.begin); column < last; ++column) {
            if (isConnected(abovePoints[column], points[column], thresholdMm)) {
                unite(static_cast<std::uint32_t>(above), static_cast<std::uint32_t>(below));
                break;
            }
        }
        if (upper.end < lower.end)
            ++above;
        else
            ++below;
    }
}

void PatchFilter::removeSmall(PointCloud& cloud, std::size_t row, std::size_t minPoints) const {
    constexpr float invalid = std::numeric_limits<float>::quiet_NaN();
    const std::span<Point> points = cloud.row(row);
    const std::span<const Run> runs(runs_.get() + row * width_, runCounts_[row]);
    for (const Run& run : runs) {
        if (runs_[root(run.parent)].size >= minPoints)
            continue;
        for (Point& point : points.subspan(run.begin, run.end - run.begin))
            point.x = point.y = point.z = invalid;
    }
}

/// Brings every other run of the path closer to the root on the way.
std::uint32_t PatchFilter::shortenedRoot(std::uint32_t run) {
    while (runs_[run].parent != run) {
        runs_[run].parent = runs_[runs_[run].parent].parent;
        run = runs_[run].parent;
    }
    return run;
}

std::uint32_t PatchFilter::root(std::uint32_t run) const {
    while (runs_[run].parent != run)
        run = runs_[run].parent;
    return run;
}

void PatchFilter::unite(std::uint32_t a, std::uint32_t b) {
    a = shortenedRoot(a);
    b = shortenedRoot(b);
    if (a == b)
        return;
    if (runs_[a].size < runs_[b].size)
        std::swap(a, b);
    runs_[b].parent = a;
    runs_[a].size += runs_[b].size;
}

} // namespace Vorta::Reconstruction
