#pragma once

#include "vorta/common/export.h"
#include "vorta/common/point.h"

#include <cstddef>
#include <memory>
#include <span>

namespace Vorta {

/// Handle on an organised grid of `height` rows x `width` columns of points, row-major, contiguous.
///
/// Copies share the points: a change made through one handle is seen through all. `clone()` makes an independent
/// grid. The handle itself may be copied and destroyed on any thread; whoever writes points while other threads read
/// them must synchronise.
class VORTA_COMMON_EXPORT PointCloud {
public:
    /// No grid: width, height and size are 0.
    PointCloud() = default;
    PointCloud(const PointCloud&) = default;
    PointCloud& operator=(const PointCloud&) = default;
    /// A handle that was moved from holds no grid.
    PointCloud(PointCloud&& other) noexcept;
    PointCloud& operator=(PointCloud&& other) noexcept;
    ~PointCloud() = default;

    /// A grid of invalid black points (x = y = z = NaN, contrast 0). A height or width of 0 gives an empty grid. Throws
    /// ArgumentOutOfRangeException when no memory could ever hold so many points.
    PointCloud(std::size_t height, std::size_t width);

    /// Like the constructor, but the points hold arbitrary values, for callers that write every point.
    [[nodiscard]] static PointCloud uninitialized(std::size_t height, std::size_t width);

    [[nodiscard]] std::size_t height() const noexcept { return height_; }
    [[nodiscard]] std::size_t width() const noexcept { return width_; }
    [[nodiscard]] std::size_t size() const noexcept { return height_ * width_; }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    [[nodiscard]] const Point* data() const noexcept { return points_.get(); }
    [[nodiscard]] Point* data() noexcept { return points_.get(); }
    [[nodiscard]] std::span<const Point> points() const noexcept { return {data(), size()}; }
    [[nodiscard]] std::span<Point> points() noexcept { return {data(), size()}; }

    /// The points of one row, 0 <= row < height().
    [[nodiscard]] std::span<const Point> row(std::size_t row) const noexcept { return {data() + row * width_, width_}; }
    [[nodiscard]] std::span<Point> row(std::size_t row) noexcept { return {data() + row * width_, width_}; }

    /// Point by linear (row-major) index, 0 <= index < size().
    [[nodiscard]] const Point& operator[](std::size_t index) const noexcept { return data()[index]; }
    [[nodiscard]] Point& operator[](std::size_t index) noexcept { return data()[index]; }

    /// Point by grid position, 0 <= row < height(), 0 <= column < width().
    [[nodiscard]] const Point& operator()(std::size_t row, std::size_t column) const noexcept {
        return data()[row * width_ + column];
    }
    [[nodiscard]] Point& operator()(std::size_t row, std::size_t column) noexcept {
        return data()[row * width_ + column];
    }

    /// An independent copy of the grid.
    [[nodiscard]] PointCloud clone() const;

    /// Whether both handles refer to the same grid.
    [[nodiscard]] bool sharesDataWith(const PointCloud& other) const noexcept { return points_ == other.points_; }

private:
    std::size_t height_ = 0;
    std::size_t width_ = 0;
    std::shared_ptr<Point[]> points_;
};

} // namespace Vorta
