#pragma once

#include "polynomialkernel.h"
#include "vorta/common/workerpool.h"

#include "vorta/driver/calibration.h"

#include <cstddef>
#include <vector>

namespace Vorta::Reconstruction {

/// For each camera pixel a polynomial of the projector column for the inverse depth 1 / z.
///
/// Along a pixel's ray 1 / z is a smooth, nearly straight function of the column, so few terms reproduce it: as many as
/// bring the deviation at 700 mm below `acceptedMm` everywhere between the nearest and the farthest depth. It is
/// interpolated where that range of depths lies inside the projector's area, at Chebyshev nodes of the undistorted
/// column, which is so close to the measured one that the nodes serve as well: their points are known without a search
/// (L. N. Trefethen, "Approximation Theory and Approximation Practice", 2013, chapters 2 and 4, on the nodes).
class DepthPolynomials {
public:
    /// Largest deviation at 700 mm; at z it is (z / 700 mm)^2 of that. Single precision makes as much again.
    static constexpr double acceptedMm = 0.4e-3;

    DepthPolynomials() = default;

    /// `rayX` and `rayY` hold the directions of all pixels. Throws ArgumentInvalidException when not even the highest
    /// degree suffices.
    DepthPolynomials(const Driver::Calibration& calibration, const std::vector<float>& rayX,
                     const std::vector<float>& rayY, double nearMm, double farMm, WorkerPool& pool);

    [[nodiscard]] std::size_t degree() const noexcept { return coefficients_.size() - 1; }
    [[nodiscard]] PolynomialKernel::Row row(std::size_t row) const;

private:
    std::size_t width_ = 0;
    PolynomialKernel::Row shape_; // what all rows have in common
    std::vector<std::vector<float>> coefficients_;
};

} // namespace Vorta::Reconstruction
