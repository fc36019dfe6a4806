#include "geometry.h"

#include "defect.h"
#include "epipolar.h"

#include "vorta/common/exceptions.h"
#include "vorta/reconstruction/projection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <string_view>

namespace Vorta::Reconstruction {

namespace {

constexpr int maxRefinements = 12;
constexpr double requiredErrorPx = 1e-4; // leaves room for single precision

std::optional<Defect> findDefect(const Driver::PinholeModel& model, std::string_view name) {
    if (model.width == 0 || model.height == 0)
        return Defect{.member = name, .words = "The calibration has a device without pixels."};
    if (model.width > maxSidePixels || model.height > maxSidePixels)
        return Defect{.member = name, .words = "The calibration has a device of more than 65535 pixels a side."};
    const std::array lens{model.fx, model.fy, model.cx, model.cy, model.k1, model.k2, model.p1, model.p2, model.k3};
    if (!std::ranges::all_of(lens, [](double value) { return std::isfinite(value); }))
        return Defect{.member = name, .words = "The calibration has a lens value that is no number."};
    if (model.fx <= 0.0 || model.fy <= 0.0)
        return Defect{.member = name, .words = "The calibration has a focal length that is not positive."};
    return {};
}

std::optional<Defect> findUnusableValue(const Driver::Calibration& calibration) {
    const auto finite = [](double value) { return std::isfinite(value); };
    if (const std::optional<Defect> defect = findDefect(calibration.camera, "camera"))
        return defect;
    if (const std::optional<Defect> defect = findDefect(calibration.projector, "projector"))
        return defect;
    if (!std::ranges::all_of(calibration.rotation, finite))
        return Defect{.member = "rotation", .words = "The calibration has a rotation that is no number."};
    if (!std::ranges::all_of(calibration.translationMm, finite) || calibration.translationMm[0] == 0.0)
        return Defect{.member = "translationMm",
                      .words = "The calibration has no baseline across the projector's columns."};
    return {};
}

constexpr Defect noInverse{.member = "projector",
                           .words = "The projector's lens model cannot be inverted over its area."};

template <typename T>
ColumnGeometry<T> makeGeometry(const Driver::Calibration& calibration, int refinements) {
    const Driver::PinholeModel& p = calibration.projector;
    ColumnGeometry<T> g;
    std::ranges::transform(calibration.rotation, g.r, [](double value) { return static_cast<T>(value); });
    std::ranges::transform(calibration.translationMm, g.t, [](double value) { return static_cast<T>(value); });
    g.k1 = static_cast<T>(p.k1);
    g.k2 = static_cast<T>(p.k2);
    g.k3 = static_cast<T>(p.k3);
    g.p1 = static_cast<T>(p.p1);
    g.p2 = static_cast<T>(p.p2);
    // The edge of line 0 is at pixel coordinate -0.5.
    g.scale = static_cast<T>(1.0 / p.fx);
    g.offset = static_cast<T>((-0.5 - p.cx) / p.fx);
    g.rowScale = static_cast<T>(p.fy);
    g.rowOffset = static_cast<T>(p.cy + 0.5);
    g.rowMinimum = static_cast<T>(-rowMargin);
    g.rowMaximum = static_cast<T>(static_cast<double>(p.height) + rowMargin);
    g.firstPosition = static_cast<T>(columnMargin);
    g.lastPosition = static_cast<T>(static_cast<double>(p.width) - columnMargin);
    const double minSine = std::sin(minMeetingAngleDeg * std::numbers::pi / 180.0);
    g.minMeetingSine2 = static_cast<T>(minSine * minSine);
    g.refinements = refinements;
    return g;
}

/// The largest error in x' before the last step of the search, over all columns on a grid of rays, wherever they meet
/// inside the projector's area; empty when the search does not converge everywhere.
std::optional<double> largestError(const Driver::Calibration& calibration, int refinements) {
    constexpr std::size_t samples = 16;
    const ColumnGeometry<double> g = makeGeometry<double>(calibration, refinements);
    const auto sample = [](std::size_t index, double extent) {
        return extent * static_cast<double>(index) / static_cast<double>(samples);
    };
    double largest = 0.0;
    for (std::size_t i = 0; i <= samples; ++i) {
        for (std::size_t j = 0; j <= samples; ++j) {
            // A point of the projector's area, seen by some camera pixel at depth 1: the ray is rotated back from it.
            const ImagePoint q = unproject(calibration.projector,
                                           {.x = sample(i, static_cast<double>(calibration.projector.width)) - 0.5,
                                            .y = sample(j, static_cast<double>(calibration.projector.height)) - 0.5});
            const double infinity = g.r[2] * q.x + g.r[5] * q.y + g.r[8];
            if (!(infinity > 0.0))
                continue;
            const double a = (g.r[0] * q.x + g.r[3] * q.y + g.r[6]) / infinity;
            const double b = (g.r[1] * q.x + g.r[4] * q.y + g.r[7]) / infinity;
            const EpipolarLine<double> line = epipolarLine(g, a, b);
            for (std::size_t c = 0; c <= samples; ++c) {
                const double position = sample(c, static_cast<double>(calibration.projector.width));
                const ColumnMeeting<double> meeting = meetColumn(g, line, position);
                const ProjectorPoint<double> found(g, line, meeting.x);
                if (!(found.row(g) >= g.rowMinimum && found.row(g) <= g.rowMaximum))
                    continue;
                const double error = std::abs(found.distortedX(g) - (position * g.scale + g.offset));
                if (!(error < requiredErrorPx * g.scale))
                    return std::nullopt;
                largest = std::max(largest, meeting.error);
            }
        }
    }
    return largest;
}

/// The least number of steps that makes the search converge, and the largest error that it then leaves; empty when none
/// does.
struct Convergence {
    int refinements = 0;
    double error = 0.0;
};

std::optional<Convergence> findConvergence(const Driver::Calibration& calibration) {
    for (int refinements = 0; refinements <= maxRefinements; ++refinements)
        if (const std::optional<double> error = largestError(calibration, refinements))
            return Convergence{.refinements = refinements, .error = *error};
    return {};
}

[[noreturn]] void refuse(const Defect& defect) {
    throw ArgumentInvalidException(defect.words, defect.member);
}

} // namespace

std::optional<Defect> findDefect(const Driver::Calibration& geometry) {
    if (const std::optional<Defect> defect = findUnusableValue(geometry))
        return defect;
    return findConvergence(geometry) ? std::nullopt : std::optional(noInverse);
}

ColumnGeometry<float> columnGeometry(const Driver::Calibration& calibration) {
    if (const std::optional<Defect> defect = findUnusableValue(calibration))
        refuse(*defect);
    const std::optional<Convergence> convergence = findConvergence(calibration);
    if (!convergence)
        refuse(noInverse);
    ColumnGeometry<float> geometry = makeGeometry<float>(calibration, convergence->refinements);
    // Twice, for what lies between the samples, and room for single precision.
    geometry.residual =
        static_cast<float>(2.0 * convergence->error + 10.0 * requiredErrorPx / calibration.projector.fx);
    return geometry;
}

} // namespace Vorta::Reconstruction
