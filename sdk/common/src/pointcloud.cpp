#include "vorta/common/pointcloud.h"

#include <cstring>

namespace Vorta {

PointCloud::PointCloud(std::size_t height, std::size_t width)
    : height_(height), width_(width), points_(std::make_shared<Point[]>(height * width)) {}

PointCloud PointCloud::uninitialized(std::size_t height, std::size_t width) {
    PointCloud cloud;
    cloud.height_ = height;
    cloud.width_ = width;
    // Raw storage: Point's default member values would be written a first time only to be overwritten.
    auto storage = std::make_shared_for_overwrite<std::byte[]>(height * width * sizeof(Point));
    cloud.points_ = std::shared_ptr<Point[]>(storage, reinterpret_cast<Point*>(storage.get()));
    return cloud;
}

PointCloud PointCloud::clone() const {
    PointCloud copy = uninitialized(height_, width_);
    if (!empty())
        std::memcpy(copy.data(), data(), size() * sizeof(Point));
    return copy;
}

} // namespace Vorta
