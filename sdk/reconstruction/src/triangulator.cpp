#include "triangulator.h"

#include "rays.h"

#include "vorta/common/exceptions.h"

#include <array>
#include <functional>
#include <limits>
#include <string>
#include <utility>

namespace Vorta::Reconstruction {

namespace {

using Method = ReconstructorOptions::Method;

bool equal(const Driver::PinholeModel& a, const Driver::PinholeModel& b) {
    const auto numbers = [](const Driver::PinholeModel& m) {
        return std::array{m.fx, m.fy, m.cx, m.cy, m.k1, m.k2, m.p1, m.p2, m.k3};
    };
    return a.width == b.width && a.height == b.height && numbers(a) == numbers(b);
}

bool equal(const Driver::Calibration& a, const Driver::Calibration& b) {
    return equal(a.camera, b.camera) && equal(a.projector, b.projector) && a.rotation == b.rotation &&
           a.translationMm == b.translationMm;
}

} // namespace

Triangulator::Triangulator(const ReconstructorOptions& options) : options_(options) {
    if (!(options.nearMm > 0.0 && options.nearMm < maxDepthMm))
        throw ArgumentOutOfRangeException("The nearest depth must be above 0 and below 1e6 mm.", "nearMm",
                                          std::to_string(options.nearMm));
    if (!(options.farMm > options.nearMm && options.farMm <= maxDepthMm))
        throw ArgumentOutOfRangeException("The farthest depth must be above the nearest and at most 1e6 mm.", "farMm",
                                          std::to_string(options.farMm));
}

void Triangulator::setCalibration(const Driver::Calibration& calibration, WorkerPool& pool) {
    if (calibration_ && equal(*calibration_, calibration))
        return;
    const ColumnGeometry<float> geometry = columnGeometry(calibration);
    const Driver::PinholeModel& camera = calibration.camera;
    const bool newRays = !calibration_ || !equal(calibration_->camera, camera);
    std::vector<float> rayX, rayY;
    if (newRays) {
        rayX.resize(camera.height * camera.width);
        rayY.resize(rayX.size());
        const CameraRays rays(camera);
        const auto work = [&](std::size_t row, std::size_t /*thread*/) {
            rays.row(row, &rayX[row * camera.width], &rayY[row * camera.width]);
        };
        pool.forEachBlock(camera.height, std::cref(work));
    }
    if (options_.method == Method::Polynomial)
        polynomials_ = DepthPolynomials(calibration, newRays ? rayX : rayX_, newRays ? rayY : rayY_, options_.nearMm,
                                        options_.farMm, pool);
    if (newRays) {
        rayX_ = std::move(rayX);
        rayY_ = std::move(rayY);
    }
    geometry_ = geometry;
    calibration_ = calibration;
}

Kernels::RayRow Triangulator::rays(std::size_t row) const noexcept {
    const std::size_t first = row * calibration_->camera.width;
    return {.x = &rayX_[first], .y = &rayY_[first]};
}

void Triangulator::computeRow(std::size_t row, const Kernels::DecodedRow& columns,
                              const Kernels::CoordinateRow& out) const {
    const std::size_t width = calibration_->camera.width;
    if (options_.method == Method::Polynomial) {
        const PolynomialKernel::Loop loop =
            isReference() ? PolynomialKernel::reference() : PolynomialKernel::vectorised();
        loop(geometry_, polynomials_.row(row), rays(row), columns, out, 0, width);
    } else {
        kernels().triangulate(geometry_, rays(row), columns, out, 0, width);
    }
}

void Triangulator::computeRow(std::size_t row, const Kernels::DecodedRow& columns, const Kernels::CrossRow& rows,
                              const Kernels::CoordinateRow& out) const {
    kernels().triangulateBoth(geometry_, rays(row), columns, rows, out, 0, calibration_->camera.width);
}

void rawRow(const SequenceLayout& layout, std::size_t width, const Kernels::DecodedRow& columns,
            const Kernels::DecodedRow* rows, const Kernels::CoordinateRow& out) {
    constexpr float invalid = std::numeric_limits<float>::quiet_NaN();
    // Positions count from the edge of pixel 0, whose centre is the coordinate 0.
    const auto isWithin = [](const Kernels::DecodedRow& decoded, std::size_t i, std::size_t pixels) {
        return decoded.accepted[i] != 0 && decoded.position[i] >= 0.0F &&
               decoded.position[i] <= static_cast<float>(pixels);
    };
    for (std::size_t i = 0; i < width; ++i) {
        const bool valid =
            isWithin(columns, i, layout.projectorWidth) && (!rows || isWithin(*rows, i, layout.projectorHeight));
        const float row = rows ? rows->position[i] - 0.5F : 0.0F;
        out.x[i] = valid ? columns.position[i] - 0.5F : invalid;
        out.y[i] = valid ? row : invalid;
        out.z[i] = valid ? 1.0F : invalid;
    }
}

} // namespace Vorta::Reconstruction
