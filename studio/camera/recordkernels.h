#pragma once

#include "camera/cloudwithimagesandmask.h"
#include "camera/recordbuilder.h"
#include "vorta/common/point.h"

#include <cstdint>
#include <span>

/// The inner loop of building a record.
namespace Vorta::RecordKernels {

/// Where the images go: one float, one byte and three bytes for each point.
struct Images {
    float* depth = nullptr;
    std::uint8_t* mask = nullptr;
    std::uint8_t* color = nullptr;
};

/// Writes the images of all points and returns the range of their depths.
using Loop = DepthRange (*)(std::span<const Point>, const ClassificationLimits&, const Images&);

/// Plain C++, written for reading.
[[nodiscard]] Loop reference() noexcept;

/// The best vector code for this processor; bit for bit the results of `reference`.
[[nodiscard]] Loop vectorised() noexcept;

} // namespace Vorta::RecordKernels
