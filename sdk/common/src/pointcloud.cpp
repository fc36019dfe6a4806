#include "vorta/common/pointcloud.h"

#include "pointblocks.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace Vorta {

namespace {

std::size_t checkedSize(std::size_t height, std::size_t width) {
    constexpr std::size_t mostPoints = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(Point);
    if (width != 0 && height > mostPoints / width)
        throw ArgumentOutOfRangeException("A point cloud cannot have that many points", "height x width",
                                          std::to_string(height) + " x " + std::to_string(width));
    return height * width;
}

} // namespace

PointCloud::PointCloud(std::size_t height, std::size_t width) : PointCloud(uninitialized(height, width)) {
    std::ranges::fill(points(), Point{});
}

PointCloud::PointCloud(PointCloud&& other) noexcept
    : height_(std::exchange(other.height_, 0)),
      width_(std::exchange(other.width_, 0)),
      points_(std::move(other.points_)) {}

PointCloud& PointCloud::operator=(PointCloud&& other) noexcept {
    PointCloud taken{std::move(other)};
    std::swap(height_, taken.height_);
    std::swap(width_, taken.width_);
    points_.swap(taken.points_);
    return *this;
}

PointCloud PointCloud::uninitialized(std::size_t height, std::size_t width) {
    const std::size_t size = checkedSize(height, width);
    PointCloud cloud;
    cloud.height_ = height;
    cloud.width_ = width;
    // Plain storage: Point's default member values would be written a first time only to be overwritten.
    cloud.points_ = takePointBlock(size);
    return cloud;
}

PointCloud PointCloud::clone() const {
    PointCloud copy = uninitialized(height_, width_);
    std::ranges::copy(points(), copy.data());
    return copy;
}

} // namespace Vorta
