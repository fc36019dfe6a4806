#include "camera/recordbuilder.h"

#include "camera/imagememory.h"
#include "camera/recordkernels.h"
#include "vorta/common/exceptions.h"

namespace Vorta {

std::shared_ptr<CloudWithImagesAndMask> buildRecord(const PointCloud& cloud, const ClassificationLimits& limits) {
    if (cloud.empty())
        throw ArgumentNullException("cloud");
    const auto rows = static_cast<int>(cloud.height());
    const auto columns = static_cast<int>(cloud.width());
    ImageMemory& memory = ImageMemory::instance();
    auto depth = memory.makeImage<float>(rows, columns);
    auto mask = memory.makeImage<uchar>(rows, columns);
    auto color = memory.makeImage<cv::Vec3b>(rows, columns);
    // One pass over the points; new images hold their rows without gaps, as the cloud does.
    const DepthRange range = RecordKernels::vectorised().build(
        cloud.points(), limits, {.depth = depth.ptr<float>(), .mask = mask.ptr(), .color = color.ptr()});

    auto record = std::make_shared<CloudWithImagesAndMask>();
    record->setPointCloud(cloud, range);
    record->setDepthImage(depth);
    record->setColorImage(color);
    record->setMask(mask);
    return record;
}

} // namespace Vorta
