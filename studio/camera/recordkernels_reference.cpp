#include "camera/recordkernels.h"

#include <algorithm>
#include <cmath>

namespace Vorta::RecordKernels {

namespace {

std::uint8_t classify(const Point& point, const ClassificationLimits& limits) {
    if (point.blue == 255 && point.green == 255 && point.red == 255)
        return MaskCode::saturated;
    if (limits.contrastThreshold > point.contrast)
        return MaskCode::lowContrast;
    if (limits.minZ > point.z || point.z > limits.maxZ)
        return MaskCode::outOfRange;
    if (std::isnan(point.z))
        return MaskCode::irrelevant;
    return MaskCode::valid;
}

DepthRange build(std::span<const Point> points, const ClassificationLimits& limits, const Images& out) {
    float minimum = std::numeric_limits<float>::infinity();
    float maximum = -minimum;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Point& point = points[i];
        out.depth[i] = point.z;
        out.mask[i] = classify(point, limits);
        out.color[3 * i] = point.blue;
        out.color[3 * i + 1] = point.green;
        out.color[3 * i + 2] = point.red;
        minimum = point.z < minimum ? point.z : minimum;
        maximum = point.z > maximum ? point.z : maximum;
    }
    // Adding zero makes -0.0, of which the order of comparisons would decide, +0.0.
    return {.minimum = static_cast<double>(minimum) + 0.0, .maximum = static_cast<double>(maximum) + 0.0};
}

void hide(std::span<const Point> points, const std::uint8_t* mask, Point* to) {
    std::ranges::copy(points, to);
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (mask[i] == MaskCode::valid)
            continue;
        to[i].x = nan;
        to[i].y = nan;
        to[i].z = nan;
    }
}

} // namespace

Kernels reference() noexcept {
    return {.build = build, .hide = hide};
}

} // namespace Vorta::RecordKernels
