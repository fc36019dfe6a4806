#include "framebudget.h"

#include <algorithm>
#include <cmath>

namespace Vorta {

namespace {

/// Below this the fixed cost of a frame hides what its points cost.
constexpr std::size_t fewPoints = 100'000;
/// Weight of the newest frame.
constexpr double smoothing = 0.2;
/// How far a stride may be off before it is changed.
constexpr double tolerance = 0.35;

} // namespace

void FrameBudget::measured(std::size_t points, double frameMs) noexcept {
    if (points < fewPoints)
        return;
    const double ns = frameMs * 1e6 / static_cast<double>(points);
    pointNs_ += smoothing * (ns - pointNs_);
}

std::size_t FrameBudget::stride(std::size_t points, double frameMs) noexcept {
    const double fullMs = static_cast<double>(points) * pointNs_ * 1e-6;
    const double wanted = std::sqrt(fullMs / frameMs);
    const auto current = static_cast<double>(stride_);
    if (wanted > current + tolerance || wanted < current - 1.0 - tolerance)
        stride_ = static_cast<std::size_t>(std::clamp(std::ceil(wanted), 1.0, static_cast<double>(coarsestStride)));
    return stride_;
}

} // namespace Vorta
