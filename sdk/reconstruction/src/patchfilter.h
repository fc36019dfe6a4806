#pragma once

#include "vorta/common/pointcloud.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Vorta::Reconstruction {

/// How many points a patch must have to stay in a grid of `pixels` points: 0.01 % of them, at least 10.
[[nodiscard]] constexpr std::size_t minPatchPoints(std::size_t pixels) noexcept {
    constexpr std::size_t pixelsPerPoint = 10'000;
    constexpr std::size_t least = 10;
    return std::max(least, (pixels + pixelsPerPoint - 1) / pixelsPerPoint);
}

/// Removes patches of a cloud that hang together with nothing else.
///
/// Two valid points next to each other in a row or column are connected when their depths differ by at most a
/// threshold. The connected components are found over runs, the maximal stretches of connected points of a row: runs
/// that touch in neighbouring rows are united in a disjoint-set forest (Tarjan, "Efficiency of a good but not linear
/// set union algorithm", Journal of the ACM 22, 1975) by size.
///
///     findRuns     every row, at the same time if need be
///     joinRows     every pair of neighbouring rows, at the same time only where no component can be shared
///     removeSmall  every row, at the same time if need be
///
/// What is removed depends on the cloud alone, not on the order of the calls. All memory is taken by the constructor;
/// of it, only as much is touched as there are runs.
class PatchFilter {
public:
    /// For clouds of `height` x `width` points. Throws ArgumentInvalidException for more than 2^32 - 1 points.
    PatchFilter(std::size_t height, std::size_t width);

    /// Finds the runs of a row and forgets those of the cloud before; `thresholdMm` is not negative.
    void findRuns(const PointCloud& cloud, std::size_t row, float thresholdMm);

    /// Unites the components of row - 1 and row where they touch, 0 < row < height.
    void joinRows(const PointCloud& cloud, std::size_t row, float thresholdMm);

    /// Makes the points of a row invalid (x = y = z = NaN, the rest is kept) whose component has fewer than `minPoints`
    /// points.
    void removeSmall(PointCloud& cloud, std::size_t row, std::size_t minPoints) const;

private:
    struct Run {
        std::uint32_t begin;  // column of the first point
        std::uint32_t end;    // column after the last
        std::uint32_t parent; // in the forest; a root is its own
        std::uint32_t size;   // points of the component, for a root
    };
    [[nodiscard]] std::uint32_t shortenedRoot(std::uint32_t run);
    [[nodiscard]] std::uint32_t root(std::uint32_t run) const;
    void unite(std::uint32_t a, std::uint32_t b);

    std::size_t width_;
    std::unique_ptr<Run[]> runs_; // row r's runs from r * width on
    std::vector<std::uint32_t> runCounts_;
};

} // namespace Vorta::Reconstruction
