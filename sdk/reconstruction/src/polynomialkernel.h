#pragma once

#include "kernels.h"

#include <array>
#include <cstddef>

/// Depth by a polynomial of the projector column for each pixel; see DepthPolynomials.
namespace Vorta::Reconstruction::PolynomialKernel {

inline constexpr std::size_t maxTerms = 12;

/// The polynomials of one row of pixels, and what a point must fulfil.
struct Row {
    std::array<const float*, maxTerms> coefficients{}; // of t^0, t^1, ...; one value per pixel
    std::size_t terms = 0;
    float scale = 0.0F; // t = position * scale - 1
    float nearMm = 0.0F;
    float farMm = 0.0F;
    float residual = 0.0F; // largest |x' of the point in the projector - x' of the measured column|
};

using Loop = void (*)(const ColumnGeometry<float>&, const Row&, const Kernels::RayRow&, const Kernels::DecodedRow&,
                      const Kernels::CoordinateRow&, std::size_t begin, std::size_t end);

/// Plain C++, written for reading.
[[nodiscard]] Loop reference() noexcept;

/// The best vector code for this processor; bit for bit the results of `reference`.
[[nodiscard]] Loop vectorised() noexcept;

} // namespace Vorta::Reconstruction::PolynomialKernel
