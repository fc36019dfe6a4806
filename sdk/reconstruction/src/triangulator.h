#pragma once

#include "depthpolynomials.h"
#include "geometry.h"
#include "kernels.h"
#include "vorta/common/workerpool.h"

#include "vorta/driver/calibration.h"
#include "vorta/reconstruction/reconstructor.h"
#include "vorta/reconstruction/sequence.h"

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
    void computeRow(std::size_t row, const Kernels::DecodedRow& columns, const Kernels::CoordinateRow& out) const;
    /// From columns and rows together, which the polynomials do not know: exactly by either method.
    void computeRow(std::size_t row, const Kernels::DecodedRow& columns, const Kernels::CrossRow& rows,
                    const Kernels::CoordinateRow& out) const;
    [[nodiscard]] const ColumnGeometry<float>& geometry() const noexcept { return geometry_; }
    [[nodiscard]] Kernels::RayRow rays(std::size_t row) const noexcept;

private:
    [[nodiscard]] bool isReference() const noexcept {
        return options_.arithmetic == ReconstructorOptions::Arithmetic::Reference;
    }
    [[nodiscard]] const Kernels::Set& kernels() const noexcept {
        return isReference() ? Kernels::reference() : Kernels::vectorised();
    }

    ReconstructorOptions options_;
    std::optional<Driver::Calibration> calibration_;
    ColumnGeometry<float> geometry_;
    std::vector<float> rayX_, rayY_; // one per camera pixel
    DepthPolynomials polynomials_;   // for the method that uses them
};

/// Raw projector coordinates of one row in pixels: the column, the row (0 where `rows` is null, since only columns are
/// measured), and z = 1; all NaN where one of them was not decoded or lies outside the projector.
void rawRow(const SequenceLayout& layout, std::size_t width, const Kernels::DecodedRow& columns,
            const Kernels::DecodedRow* rows, const Kernels::CoordinateRow& out);

} // namespace Vorta::Reconstruction
