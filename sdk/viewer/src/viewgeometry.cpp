#include "viewgeometry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace Vorta {

namespace {

/// Share of the window that a fitted cloud fills.
constexpr double fitShare = 0.92;
/// The near plane stands no nearer than this share of the farthest robust point, and the far plane no farther than the
/// inverse ratio beyond it, so that depths at the cloud resolve to better than a ten-thousandth.
constexpr double nearShare = 1e-3;
constexpr double farRatio = 1e4;
/// Cursor tolerance of depthAt, widget pixels.
constexpr double pickRadius = 12.0;

} // namespace

double fittingDistance(std::span<const CloudVertex> sample, const VTrackBall::Vector& centre, const VTrackBall& view) {
    const double perX = view.focalLength() / (0.5 * fitShare * view.width());
    const double perY = view.focalLength() / (0.5 * fitShare * view.height());
    std::vector<double> distances;
    distances.reserve(sample.size());
    for (const CloudVertex& v : sample) {
        const double x = std::abs(static_cast<double>(v.x) - centre[0]);
        const double y = std::abs(static_cast<double>(v.y) - centre[1]);
        // With the centre this far away, the point stands at the margin.
        distances.push_back(std::max(x * perX, y * perY) - (static_cast<double>(v.z) - centre[2]));
    }
    const auto index = static_cast<std::ptrdiff_t>(0.99 * static_cast<double>(distances.size() - 1));
    std::nth_element(distances.begin(), distances.begin() + index, distances.end());
    return distances[static_cast<std::size_t>(index)];
}

ClipPlanes clipPlanes(const CloudBounds& bounds, const VTrackBall& view) {
    const double depth = view.toEye(bounds.centre())[2];
    const double robustFar = std::max(depth + bounds.robustRadius(), bounds.robustRadius() * nearShare);
    const double nearest = std::max(depth - bounds.fullRadius(), robustFar * nearShare);
    const double farthest = std::clamp(depth + bounds.fullRadius(), nearest * 1.001, nearest * farRatio);
    return {.nearest = nearest * 0.99, .farthest = farthest * 1.01};
}

GlMatrix eyeMatrix(const VTrackBall& view) {
    const VTrackBall::Matrix r = view.rotation();
    const VTrackBall::Vector t = view.toEye({0.0, 0.0, 0.0});
    GlMatrix m{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            m[4 * column + row] = static_cast<float>(r[3 * row + column]);
        m[12 + row] = static_cast<float>(t[row]);
    }
    m[15] = 1.0F;
    return m;
}

GlMatrix projectionMatrix(const ClipPlanes& planes, const VTrackBall& view) {
    const double depth = planes.farthest - planes.nearest;
    GlMatrix m{};
    m[0] = static_cast<float>(2.0 * view.focalLength() / view.width());
    m[5] = static_cast<float>(-2.0 * view.focalLength() / view.height());
    m[10] = static_cast<float>((planes.farthest + planes.nearest) / depth);
    m[11] = 1.0F;
    m[14] = static_cast<float>(-2.0 * planes.farthest * planes.nearest / depth);
    return m;
}

std::optional<double> depthAt(const CloudGrid& grid, double spacing, const VTrackBall& view, double x, double y) {
    const GlMatrix m = eyeMatrix(view);
    const auto f = static_cast<float>(view.focalLength());
    const auto cx = static_cast<float>(x - 0.5 * view.width());
    const auto cy = static_cast<float>(y - 0.5 * view.height());
    // Close up, neighbours stand farther apart on screen than the tolerance.
    const auto spread = f * static_cast<float>(spacing);
    float best = std::numeric_limits<float>::infinity();
    float depth = 0.0F;
    for (const CloudVertex& v : grid.vertices()) {
        const float z = m[2] * v.x + m[6] * v.y + m[10] * v.z + m[14];
        if (!(z > 0.0F))
            continue;
        const float dx = f * (m[0] * v.x + m[4] * v.y + m[8] * v.z + m[12]) / z - cx;
        const float dy = f * (m[1] * v.x + m[5] * v.y + m[9] * v.z + m[13]) / z - cy;
        const float radius = std::max(static_cast<float>(pickRadius), spread / z);
        const float off = (dx * dx + dy * dy) / (radius * radius);
        if (off > 1.0F)
            continue;
        // Of points about as near to the cursor the one in front is seen: a tolerance counts like a depth of the same
        // share.
        const float cost = z * (1.0F + 4.0F * off);
        if (cost < best) {
            best = cost;
            depth = z;
        }
    }
    if (depth > 0.0F)
        return static_cast<double>(depth);
    return std::nullopt;
}

} // namespace Vorta
