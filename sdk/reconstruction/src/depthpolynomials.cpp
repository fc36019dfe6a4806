#include "depthpolynomials.h"

#include "vorta/common/exceptions.h"
#include "vorta/reconstruction/projection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <optional>
#include <utility>

namespace Vorta::Reconstruction {

namespace {

using PolynomialKernel::maxTerms;

constexpr std::size_t minTerms = 3;
constexpr double referenceMm = 700.0;
constexpr double acceptedReprojectionPx = 0.01;

/// Inverse depths, 1 / mm.
struct Interval {
    double first;
    double last;
};

using Polynomial = std::array<double, maxTerms>; // of t, from the constant term on

/// The part of the projector's undistorted image plane that holds its area.
struct Box {
    double left, right, top, bottom;
};

Box areaOf(const Driver::PinholeModel& projector) {
    constexpr std::size_t samples = 32;
    const auto width = static_cast<double>(projector.width);
    const double height = static_cast<double>(projector.height) + 2.0 * rowMargin;
    Box box{.left = 1e300, .right = -1e300, .top = 1e300, .bottom = -1e300};
    for (std::size_t i = 0; i <= samples; ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(samples);
        for (const double end : {0.0, 1.0}) {
            for (const auto& [across, down] : {std::array{part, end}, std::array{end, part}}) {
                const ImagePoint p =
                    unproject(projector, {.x = across * width - 0.5, .y = down * height - 0.5 - rowMargin});
                box = {.left = std::min(box.left, p.x),
                       .right = std::max(box.right, p.x),
                       .top = std::min(box.top, p.y),
                       .bottom = std::max(box.bottom, p.y)};
            }
        }
    }
    const double margin = 0.002 * (box.right - box.left); // for the borders between the samples
    return {
        .left = box.left - margin, .right = box.right + margin, .top = box.top - margin, .bottom = box.bottom + margin};
}

/// One ray in the projector: its point at the inverse depth s lies in the direction D + s t.
class ProjectedRay {
public:
    ProjectedRay(const Driver::Calibration& calibration, double a, double b)
        : projector_(calibration.projector),
          t_(calibration.translationMm),
          columnScale_(2.0 / static_cast<double>(projector_.width)) {
        const auto& r = calibration.rotation;
        for (std::size_t i = 0; i < 3; ++i)
            d_[i] = r[3 * i] * a + r[3 * i + 1] * b + r[3 * i + 2];
    }

    /// The inverse depths of an interval whose points the projector sees inside the box, if there are any.
    [[nodiscard]] std::optional<Interval> clip(Interval range, const Box& box) const {
        constexpr double minDepth = 1e-6;                      // of the direction along the projector's axis
        const auto keep = [&](double constant, double slope) { // where constant + slope * s >= 0
            if (slope > 0.0)
                range.first = std::max(range.first, -constant / slope);
            else if (slope < 0.0)
                range.last = std::min(range.last, -constant / slope);
            else if (constant < 0.0)
                range.last = range.first;
        };
        keep(d_[2] - minDepth, t_[2]);
        keep(d_[0] - box.left * d_[2], t_[0] - box.left * t_[2]);
        keep(box.right * d_[2] - d_[0], box.right * t_[2] - t_[0]);
        keep(d_[1] - box.top * d_[2], t_[1] - box.top * t_[2]);
        keep(box.bottom * d_[2] - d_[1], box.bottom * t_[2] - t_[1]);
        return range.last > range.first ? std::optional(range) : std::nullopt;
    }

    /// The point's x in the projector's undistorted image plane, and the other way round.
    [[nodiscard]] double across(double inverseDepth) const {
        return (d_[0] + inverseDepth * t_[0]) / (d_[2] + inverseDepth * t_[2]);
    }
    [[nodiscard]] double inverseDepth(double across) const {
        return (across * d_[2] - d_[0]) / (t_[0] - across * t_[2]);
    }

    /// The column that shows the point, -1 at the left edge of the projector's area and 1 at the right. Half of
    /// `project`, which sees every pixel several times here.
    [[nodiscard]] double column(double inverseDepth) const {
        const Driver::PinholeModel& m = projector_;
        const double scale = 1.0 / (d_[2] + inverseDepth * t_[2]);
        const double x = (d_[0] + inverseDepth * t_[0]) * scale;
        const double y = (d_[1] + inverseDepth * t_[1]) * scale;
        const double r2 = x * x + y * y;
        const double radial = 1.0 + r2 * (m.k1 + r2 * (m.k2 + r2 * m.k3));
        const double u = m.fx * (x * radial + 2.0 * m.p1 * x * y + m.p2 * (r2 + 2.0 * x * x)) + m.cx;
        return (u + 0.5) * columnScale_ - 1.0;
    }

private:
    const Driver::PinholeModel& projector_;
    const std::array<double, 3>& t_;
    std::array<double, 3> d_{};
    double columnScale_;
};

double evaluate(const Polynomial& polynomial, std::size_t terms, double t) {
    double sum = polynomial[terms - 1];
    for (std::size_t k = terms - 1; k-- > 0;)
        sum = sum * t + polynomial[k];
    return sum;
}

/// Interpolates the inverse depth over the column, by Newton's divided differences.
template <std::size_t terms>
Polynomial interpolate(const ProjectedRay& ray, Interval range, const double* nodes) {
    std::array<double, terms> t{};
    std::array<double, terms> difference{};
    const double first = ray.across(range.first);
    const double last = ray.across(range.last);
    for (std::size_t k = 0; k < terms; ++k) {
        difference[k] = ray.inverseDepth(0.5 * (first + last) + 0.5 * (last - first) * nodes[k]);
        t[k] = ray.column(difference[k]);
    }
    for (std::size_t order = 1; order < terms; ++order)
        for (std::size_t k = terms - 1; k >= order; --k)
            difference[k] = (difference[k] - difference[k - 1]) / (t[k] - t[k - order]);
    Polynomial polynomial{};
    polynomial[0] = difference[terms - 1];
    for (std::size_t k = terms - 1; k-- > 0;) { // times (t - t[k]), plus the difference
        for (std::size_t power = terms - 1; power > 0; --power)
            polynomial[power] = polynomial[power - 1] - t[k] * polynomial[power];
        polynomial[0] = difference[k] - t[k] * polynomial[0];
    }
    return polynomial;
}

using Interpolation = Polynomial (*)(const ProjectedRay&, Interval, const double* nodes);

/// By the number of terms, known when compiled so that the loops run unrolled.
Interpolation interpolationOf(std::size_t terms) {
    static constexpr auto all = []<std::size_t... more>(std::index_sequence<more...>) {
        return std::array{&interpolate<minTerms + more>...};
    }
    (std::make_index_sequence<maxTerms - minTerms + 1>{});
    return all[terms - minTerms];
}

std::vector<double> chebyshevNodes(std::size_t count) {
    std::vector<double> nodes(count);
    for (std::size_t k = 0; k < count; ++k)
        nodes[k] = std::cos(std::numbers::pi * (static_cast<double>(k) + 0.5) / static_cast<double>(count));
    return nodes;
}

/// The polynomials' common task.
struct Task {
    const Driver::Calibration& calibration;
    Interval range;
    Box box;
};

/// Largest deviation in mm at the reference distance of this pixel's polynomial.
double deviation(const Task& task, double a, double b, const std::vector<double>& nodes) {
    constexpr std::size_t samples = 40;
    const ProjectedRay ray(task.calibration, a, b);
    const std::optional<Interval> range = ray.clip(task.range, task.box);
    if (!range)
        return 0.0;
    const Polynomial polynomial = interpolationOf(nodes.size())(ray, *range, nodes.data());
    double largest = 0.0;
    for (std::size_t i = 0; i <= samples; ++i) {
        const double s = std::lerp(range->first, range->last, static_cast<double>(i) / static_cast<double>(samples));
        const double error = evaluate(polynomial, nodes.size(), ray.column(s)) - s;
        largest = std::max(largest, std::abs(error) * referenceMm * referenceMm);
    }
    return largest;
}

/// The fewest terms that suffice on a grid of pixels.
std::size_t termsFor(const Task& task, const std::vector<float>& rayX, const std::vector<float>& rayY) {
    constexpr std::size_t samples = 16;
    const std::size_t height = task.calibration.camera.height;
    const std::size_t width = task.calibration.camera.width;
    for (std::size_t terms = minTerms; terms <= maxTerms; ++terms) {
        const std::vector<double> nodes = chebyshevNodes(terms);
        double largest = 0.0;
        for (std::size_t i = 0; i <= samples; ++i) {
            for (std::size_t j = 0; j <= samples; ++j) {
                const std::size_t pixel = i * (height - 1) / samples * width + j * (width - 1) / samples;
                largest = std::max(largest, deviation(task, static_cast<double>(rayX[pixel]),
                                                      static_cast<double>(rayY[pixel]), nodes));
            }
        }
        if (largest <= DepthPolynomials::acceptedMm)
            return terms;
    }
    throw ArgumentInvalidException(
        "The lens models are too strong for a polynomial per pixel; choose triangulation instead.", "method");
}

} // namespace

DepthPolynomials::DepthPolynomials(const Driver::Calibration& calibration, const std::vector<float>& rayX,
                                   const std::vector<float>& rayY, double nearMm, double farMm, WorkerPool& pool)
    : width_(calibration.camera.width) {
    const Task task{.calibration = calibration,
                    .range = {.first = 1.0 / farMm, .last = 1.0 / nearMm},
                    .box = areaOf(calibration.projector)};
    const std::size_t terms = termsFor(task, rayX, rayY);
    const std::vector<double> nodes = chebyshevNodes(terms);
    coefficients_.assign(terms, std::vector<float>(rayX.size()));
    shape_ = {.terms = terms,
              .scale = static_cast<float>(2.0 / static_cast<double>(calibration.projector.width)),
              .nearMm = static_cast<float>(nearMm),
              .farMm = static_cast<float>(farMm),
              .residual = static_cast<float>(acceptedReprojectionPx / calibration.projector.fx)};
    const Interpolation interpolate = interpolationOf(terms);
    const auto work = [&](std::size_t row, std::size_t /*thread*/) {
        for (std::size_t pixel = row * width_; pixel < (row + 1) * width_; ++pixel) {
            const ProjectedRay ray(calibration, static_cast<double>(rayX[pixel]), static_cast<double>(rayY[pixel]));
            const std::optional<Interval> range = ray.clip(task.range, task.box);
            // Behind the camera, and hence no point, where there is nothing to interpolate.
            const Polynomial polynomial = range ? interpolate(ray, *range, nodes.data()) : Polynomial{-1.0};
            for (std::size_t k = 0; k < terms; ++k)
                coefficients_[k][pixel] = static_cast<float>(polynomial[k]);
        }
    };
    pool.forEachBlock(calibration.camera.height, std::cref(work));
}

PolynomialKernel::Row DepthPolynomials::row(std::size_t row) const {
    PolynomialKernel::Row result = shape_;
    for (std::size_t k = 0; k < coefficients_.size(); ++k)
        result.coefficients[k] = &coefficients_[k][row * width_];
    return result;
}

} // namespace Vorta::Reconstruction
