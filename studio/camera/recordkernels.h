#pragma once

#include "camera/cloudwithimagesandmask.h"
#include "camera/recordbuilder.h"
#include "vorta/common/point.h"

#include <cstdint>
#include <span>

/// The inner loops of building a record and of masking its cloud.
namespace Vorta::RecordKernels {

/// Where the images go: one float, one byte and three bytes for each point.
struct Images {
    float* depth = nullptr;
    std::uint8_t* mask = nullptr;
    std::uint8_t* color = nullptr;
};

struct Kernels {
    /// Writes the images of all points and returns the range of their depths.
    DepthRange (*build)(std::span<const Point> points, const ClassificationLimits& limits, const Images& out);
    /// Copies the points to `to`, those whose byte in `mask` is not 0 with NaN (0x7FC00000) for x, y and z.
    void (*hide)(std::span<const Point> points, const std::uint8_t* mask, Point* to);
};

/// Plain C++, written for reading.
[[nodiscard]] Kernels reference() noexcept;

/// The best vector code for this processor; bit for bit the results of `reference`.
[[nodiscard]] Kernels vectorised() noexcept;

} // namespace Vorta::RecordKernels
