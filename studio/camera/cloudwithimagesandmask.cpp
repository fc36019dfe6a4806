#include "camera/cloudwithimagesandmask.h"

#include "camera/recordkernels.h"
#include "vorta/common/exceptions.h"

#include <string>

namespace Vorta {

namespace {

std::string sizeText(std::size_t width, std::size_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

} // namespace

DepthRange depthRange(const PointCloud& cloud) {
    float minimum = std::numeric_limits<float>::infinity();
    float maximum = -minimum;
    for (const Point& point : cloud.points()) {
        minimum = point.z < minimum ? point.z : minimum;
        maximum = point.z > maximum ? point.z : maximum;
    }
    return {.minimum = static_cast<double>(minimum) + 0.0, .maximum = static_cast<double>(maximum) + 0.0};
}

void CloudWithImagesAndMask::setPointCloud(const PointCloud& cloud) {
    setPointCloud(cloud, depthRange(cloud));
}

void CloudWithImagesAndMask::setPointCloud(const PointCloud& cloud, const DepthRange& range) {
    if (cloud.empty())
        throw ArgumentNullException("cloud");
    pointCloud_ = cloud;
    maskedPointCloud_ = cloud;
    range_ = range;
}

void CloudWithImagesAndMask::updateMaskedCloud() {
    const PointCloud& cloud = pointCloud_;
    if (mask_.empty()) {
        maskedPointCloud_ = cloud.clone();
        return;
    }
    const auto maskWidth = static_cast<std::size_t>(mask_.cols);
    const auto maskHeight = static_cast<std::size_t>(mask_.rows);
    if (maskWidth != cloud.width() || maskHeight != cloud.height())
        throw ArgumentInvalidException("The mask must have the point cloud's size, " +
                                           sizeText(cloud.width(), cloud.height()),
                                       "mask", sizeText(maskWidth, maskHeight));
    PointCloud masked = PointCloud::uninitialized(cloud.height(), cloud.width());
    const auto hide = RecordKernels::vectorised().hide;
    if (mask_.isContinuous()) {
        hide(cloud.points(), mask_.ptr(), masked.data());
    } else {
        for (std::size_t row = 0; row < cloud.height(); ++row)
            hide(cloud.row(row), mask_.ptr(static_cast<int>(row)), masked.row(row).data());
    }
    maskedPointCloud_ = masked;
}

} // namespace Vorta
