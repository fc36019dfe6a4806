#pragma once

#include "depthpolynomials.h"
#include "geometry.h"
#include "kernels.h"
#include "workerpool.h"

#include "vorta/driver/calibration.h"
#include "vorta/reconstruction/reconstructor.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Vorta::Reconstruction {

/// Turns rows of projector columns into points, by the geometry of one calibration and the method of the options.
class Triangulator {
public:
    /// Throws ArgumentOutOfRangeException for a range of depths that is none.
    explicit Triangulator(const ReconstructorOptions& options);

    /// Takes a calibration; the one that it has already costs nothing. Throws as the Reconstructor does, and then keeps
    /// the earlier one.
    void setCalibration(const Driver::Calibration& calibration, WorkerPool& pool);
    [[nodiscard]] bool isCalibrated() const noexcept { return calibration_.has_value(); }

    // The following need a calibration.
    void computeRow(std::size_t row, const Kernels::DecodedRow& decoded, const Kernels::CoordinateRow& out) const;
    [[nodiscard]] const ColumnGeometry<float>& geometry() const noexcept { return geometry_; }
    [[nodiscard]] Kernels::RayRow rays(std::size_t row) const noexcept;

private:
    ReconstructorOptions options_;
    std::optional<Driver::Calibration> calibration_;
    ColumnGeometry<float> geometry_;
    std::vector<float> rayX_, rayY_; // one per camera pixel
    DepthPolynomials polynomials_;   // for the method that uses them
};

/// Raw projector coordinates of one row in pixels: the column and, as only columns are measured, row 0, with z = 1; all
/// NaN where nothing was decoded or the column lies outside the projector.
void rawRow(std::size_t columns, std::size_t width, const Kernels::DecodedRow& decoded,
            const Kernels::CoordinateRow& out);

} // namespace Vorta::Reconstruction
