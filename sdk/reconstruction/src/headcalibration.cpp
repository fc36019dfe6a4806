#include "vorta/reconstruction/headcalibration.h"

#include "defect.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace Vorta::Reconstruction {

namespace {

using Matrix = std::array<double, 9>; // row-major
using Vector = std::array<double, 3>;
using Stages = std::vector<Driver::CalibrationStage>;

constexpr double allowedSkew = 1e-6;

Matrix product(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result[3 * i + j] = a[3 * i] * b[j] + a[3 * i + 1] * b[3 + j] + a[3 * i + 2] * b[6 + j];
    return result;
}

Matrix transposed(const Matrix& m) {
    return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]};
}

double determinant(const Matrix& m) {
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

/// Largest element of |R^T R - 1|.
double skew(const Matrix& rotation) {
    const Matrix square = product(transposed(rotation), rotation);
    double largest = 0.0;
    for (std::size_t i = 0; i < 9; ++i)
        largest = std::max(largest, std::abs(square[i] - (i % 4 == 0 ? 1.0 : 0.0)));
    return largest;
}

/// The nearest rotation of a matrix that almost is one, by the iteration R <- R (3 - R^T R) / 2 (A. Bjorck and
/// C. Bowie, "An iterative algorithm for computing the best estimate of an orthogonal matrix", 1971).
Matrix orthonormal(Matrix rotation) {
    constexpr int maxSteps = 10;
    for (int step = 0; step < maxSteps && skew(rotation) > 1e-14; ++step) {
        Matrix factor = product(transposed(rotation), rotation);
        for (std::size_t i = 0; i < 9; ++i)
            factor[i] = 0.5 * ((i % 4 == 0 ? 3.0 : 0.0) - factor[i]);
        rotation = product(rotation, factor);
    }
    return rotation;
}

/// The rotation's axis, as long as its angle. By the unit quaternion, whose largest component is found first (S. W.
/// Shepperd, "Quaternion from rotation matrix", 1978).
Vector rotationVector(const Matrix& m) {
    const double trace = m[0] + m[4] + m[8];
    const std::array<double, 4> squares{1.0 + trace, 1.0 + 2.0 * m[0] - trace, 1.0 + 2.0 * m[4] - trace,
                                        1.0 + 2.0 * m[8] - trace}; // four times w^2, x^2, y^2, z^2
    const std::array<std::array<double, 4>, 4> products{{{squares[0], m[7] - m[5], m[2] - m[6], m[3] - m[1]},
                                                         {m[7] - m[5], squares[1], m[1] + m[3], m[2] + m[6]},
                                                         {m[2] - m[6], m[1] + m[3], squares[2], m[5] + m[7]},
                                                         {m[3] - m[1], m[2] + m[6], m[5] + m[7], squares[3]}}};
    const auto largest = static_cast<std::size_t>(std::ranges::max_element(squares) - squares.begin());
    std::array<double, 4> q = products[largest];
    const double scale = (q[0] < 0.0 ? -0.5 : 0.5) / std::sqrt(squares[largest]);
    std::ranges::transform(q, q.begin(), [scale](double value) { return value * scale; });
    const double sine = std::hypot(q[1], q[2], q[3]); // of half the angle
    const double stretch = sine < 1e-12 ? 2.0 : 2.0 * std::atan2(sine, q[0]) / sine;
    return {stretch * q[1], stretch * q[2], stretch * q[3]};
}

/// Rodrigues' formula.
Matrix rotationOf(const Vector& v) {
    const double angle = std::hypot(v[0], v[1], v[2]);
    const double a = angle < 1e-12 ? 1.0 : std::sin(angle) / angle;
    const double b = angle < 1e-12 ? 0.5 : (1.0 - std::cos(angle)) / (angle * angle);
    const Matrix cross{0.0, -v[2], v[1], v[2], 0.0, -v[0], -v[1], v[0], 0.0};
    const Matrix square = product(cross, cross);
    Matrix result{};
    for (std::size_t i = 0; i < 9; ++i)
        result[i] = (i % 4 == 0 ? 1.0 : 0.0) + a * cross[i] + b * square[i];
    return result;
}

Matrix interpolated(const Matrix& from, const Matrix& to, double weight) {
    const Matrix start = orthonormal(from);
    Vector turn = rotationVector(product(transposed(start), orthonormal(to)));
    std::ranges::transform(turn, turn.begin(), [weight](double value) { return value * weight; });
    return orthonormal(product(start, rotationOf(turn)));
}

Driver::PinholeModel interpolated(const Driver::PinholeModel& from, const Driver::PinholeModel& to, double weight) {
    using Model = Driver::PinholeModel;
    static constexpr std::array members{&Model::fx, &Model::fy, &Model::cx, &Model::cy, &Model::k1,
                                        &Model::k2, &Model::p1, &Model::p2, &Model::k3};
    Model result = from;
    for (const auto member : members)
        result.*member = from.*member + weight * (to.*member - from.*member);
    return result;
}

Driver::Calibration interpolated(const Driver::Calibration& from, const Driver::Calibration& to, double weight) {
    Driver::Calibration result{.camera = interpolated(from.camera, to.camera, weight),
                               .projector = interpolated(from.projector, to.projector, weight),
                               .rotation = interpolated(from.rotation, to.rotation, weight)};
    for (std::size_t i = 0; i < 3; ++i)
        result.translationMm[i] = from.translationMm[i] + weight * (to.translationMm[i] - from.translationMm[i]);
    return result;
}

bool sameSize(const Driver::PinholeModel& a, const Driver::PinholeModel& b) {
    return a.width == b.width && a.height == b.height;
}

std::optional<Defect> findDefect(const Stages& stages) {
    if (stages.empty())
        return Defect{.member = "stages", .words = "The calibration holds no geometry."};
    for (std::size_t i = 0; i < stages.size(); ++i) {
        if (!std::isfinite(stages[i].temperature))
            return Defect{.member = "temperature", .words = "A calibration's temperature is no number.", .stage = i};
        if (i > 0 && !(stages[i].temperature > stages[i - 1].temperature))
            return Defect{.member = "temperature",
                          .words = "The calibration's temperatures must rise from stage to stage.",
                          .stage = i};
        if (!sameSize(stages[i].geometry.camera, stages[0].geometry.camera))
            return Defect{
                .member = "camera", .words = "The calibration's stages have different sensor sizes.", .stage = i};
        if (!sameSize(stages[i].geometry.projector, stages[0].geometry.projector))
            return Defect{
                .member = "projector", .words = "The calibration's stages have different projector sizes.", .stage = i};
    }
    return {};
}

void refuse(const std::optional<Defect>& defect) {
    if (!defect)
        return;
    std::string place;
    if (defect->stage)
        place =
            "stages[" + std::to_string(*defect->stage) + "]." + (defect->member == "temperature" ? "" : "geometry.");
    throw ArgumentInvalidException(defect->words, place.append(defect->member));
}

} // namespace

std::optional<Defect> findDefect(const Driver::HeadCalibration& calibration) {
    if (!std::isfinite(calibration.referenceTemperature))
        return Defect{.member = "referenceTemperature", .words = "The calibration's temperature is no number."};
    if (const std::optional<Defect> defect = findDefect(calibration.stages))
        return defect;
    for (std::size_t i = 0; i < calibration.stages.size(); ++i) {
        const Driver::Calibration& geometry = calibration.stages[i].geometry;
        if (const std::optional<Defect> defect = findDefect(geometry))
            return Defect{.member = defect->member, .words = defect->words, .stage = i};
        if (skew(geometry.rotation) > allowedSkew || determinant(geometry.rotation) < 0.0)
            return Defect{.member = "rotation",
                          .words = "The calibration's rotation is none: its rows must be orthonormal and right-handed.",
                          .stage = i};
    }
    return {};
}

void check(const Driver::HeadCalibration& calibration) {
    refuse(findDefect(calibration));
}

Driver::Calibration calibrationAt(const Driver::HeadCalibration& calibration, double temperature) {
    const Stages& stages = calibration.stages;
    refuse(findDefect(stages));
    if (!std::isfinite(temperature))
        throw ArgumentInvalidException("There is no calibration for a temperature that is no number.", "temperature",
                                       std::to_string(temperature));
    // The first stage that is warmer, or the last: the temperature lies between it and the one before, or outside.
    const auto warmer = std::ranges::upper_bound(stages, temperature, {}, &Driver::CalibrationStage::temperature);
    const auto index = static_cast<std::size_t>(warmer - stages.begin());
    const std::size_t last = stages.size() - 1;
    const Driver::CalibrationStage& to = stages[std::clamp<std::size_t>(index, std::min<std::size_t>(1, last), last)];
    const Driver::CalibrationStage& from = *(&to - (last > 0 ? 1 : 0));
    const double weight =
        last == 0 ? 0.0 : std::clamp((temperature - from.temperature) / (to.temperature - from.temperature), -1.0, 2.0);
    // A stage's own geometry to the last bit.
    if (weight == 0.0 || weight == 1.0) {
        Driver::Calibration geometry = weight == 0.0 ? from.geometry : to.geometry;
        geometry.rotation = orthonormal(geometry.rotation);
        return geometry;
    }
    return interpolated(from.geometry, to.geometry, weight);
}

} // namespace Vorta::Reconstruction
