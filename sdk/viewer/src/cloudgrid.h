#pragma once

#include "vorta/common/point.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace Vorta {

/// A point as it lies in the graphics memory.
struct CloudVertex {
    float x;
    float y;
    float z;
    std::uint8_t blue;
    std::uint8_t green;
    std::uint8_t red;
    std::uint8_t alpha;
};
static_assert(sizeof(CloudVertex) == 16);

/// The drawable points of a cloud, closely packed in the order of the grid, and who is whose neighbour.
///
/// A grid is refilled for each cloud so that its memory is reused.
class CloudGrid {
public:
    static constexpr std::uint32_t noVertex = std::numeric_limits<std::uint32_t>::max();

    /// Takes the finite points of `points`, which lie row by row in a grid of `width` columns; with width 0, or one
    /// that does not divide the number of points, they have no neighbours.
    void assign(std::span<const Point> points, std::size_t width);

    /// Takes one point of every stride x stride block of `points`, which have `width` columns, as `subsample` would of
    /// a grid of all of them. `width` divides the number of points.
    void sample(std::span<const Point> points, std::size_t width, std::size_t stride);

    /// Takes one point of every stride x stride block of `source`: its first, or where that is missing another one of
    /// the block. Of points without neighbours every stride x stride-th.
    void subsample(const CloudGrid& source, std::size_t stride);

    [[nodiscard]] std::span<const CloudVertex> vertices() const noexcept { return {vertices_.data(), count_}; }
    [[nodiscard]] bool organised() const noexcept { return width_ != 0; }
    /// Columns and rows; 0 without neighbours.
    [[nodiscard]] std::size_t width() const noexcept { return width_; }
    [[nodiscard]] std::size_t height() const noexcept { return height_; }
    /// Index into vertices() for every grid position, row by row, or noVertex; empty without neighbours.
    [[nodiscard]] std::span<const std::uint32_t> cells() const noexcept { return {cells_.data(), width_ * height_}; }

private:
    void reserve(std::size_t points, std::size_t width);
    template <class Vertex>
    void takeBlocks(std::size_t height, std::size_t width, std::size_t stride, const Vertex& vertexAt);

    /// Only the first count_ hold points: shrinking and growing would write the memory each time.
    std::vector<CloudVertex> vertices_;
    std::size_t count_ = 0;
    std::vector<std::uint32_t> cells_;
    std::size_t width_ = 0;
    std::size_t height_ = 0;
};

/// Extent of a cloud, for choosing views.
struct CloudBounds {
    using Vector = std::array<double, 3>;

    /// All points.
    Vector minimum{};
    Vector maximum{};
    /// All but outliers: per axis the range that holds 98 % of the points, widened by a twentieth on each side, as far
    /// as there are points.
    Vector robustMinimum{};
    Vector robustMaximum{};
    /// Usual distance between neighbours, mm.
    double spacing = 1.0;

    [[nodiscard]] Vector centre() const noexcept;
    /// Of the sphere about centre() through the corners of the robust box; at least a millionth of the distance from
    /// the origin, and never 0.
    [[nodiscard]] double robustRadius() const noexcept;
    /// Of the sphere about centre() that holds all points.
    [[nodiscard]] double fullRadius() const noexcept;
};

/// Bounds of a cloud with at least one point; estimated from a sample but for minimum and maximum.
[[nodiscard]] CloudBounds boundsOf(const CloudGrid& grid);

} // namespace Vorta
