#include "vorta/viewer/vtrackball.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace Vorta {

namespace {

constexpr double fieldOfView = 30.0 * std::numbers::pi / 180.0;
/// One notch of the wheel brings the surface below the cursor this much closer.
constexpr double zoomPerNotch = 0.88;
constexpr double deltaPerNotch = 120.0;
/// Vertical drag, in shares of the shorter side, that doubles the distance.
constexpr double dragPerDoubling = 0.25;
/// How near and how far zooming reaches, in initial distances.
constexpr double nearestZoom = 1e-4;
constexpr double farthestZoom = 1e3;

using Vector = VTrackBall::Vector;
using Quaternion = std::array<double, 4>;

Quaternion product(const Quaternion& a, const Quaternion& b) {
    return {
        a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3], a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
        a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1], a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0]};
}

Quaternion normalized(const Quaternion& q) {
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    return {q[0] / length, q[1] / length, q[2] / length, q[3] / length};
}

/// The shortest rotation from one unit vector to another that is not opposite.
Quaternion between(const Vector& from, const Vector& to) {
    return normalized({1.0 + from[0] * to[0] + from[1] * to[1] + from[2] * to[2], from[1] * to[2] - from[2] * to[1],
                       from[2] * to[0] - from[0] * to[2], from[0] * to[1] - from[1] * to[0]});
}

} // namespace

VTrackBall::VTrackBall() {
    setView({0.0, 0.0, 0.0}, 4.0);
}

void VTrackBall::setViewport(double width, double height) {
    width_ = std::max(width, 1.0);
    height_ = std::max(height, 1.0);
    anchorStale_ = true;
}

double VTrackBall::focalLength() const noexcept {
    return 0.5 * std::min(width_, height_) / std::tan(0.5 * fieldOfView);
}

void VTrackBall::setView(const Vector& centre, double distance) {
    orientation_ = {1.0, 0.0, 0.0, 0.0};
    centre_ = centre;
    nextCentre_.reset();
    offset_ = {0.0, 0.0, distance};
    scale_ = distance;
    moved_ = false;
    anchorStale_ = true;
}

void VTrackBall::MouseAction(const VMouseState& state) {
    const auto x = static_cast<double>(state.x);
    const auto y = static_cast<double>(state.y);
    switch (state.action) {
    case VMouseAction::LeftPressed:
        press(Mode::Rotate, x, y);
        break;
    case VMouseAction::RightPressed:
        press(Mode::Pan, x, y);
        break;
    case VMouseAction::MiddlePressed:
        press(Mode::Zoom, x, y);
        break;
    case VMouseAction::LeftReleased:
        release(Mode::Rotate);
        break;
    case VMouseAction::RightReleased:
        release(Mode::Pan);
        break;
    case VMouseAction::MiddleReleased:
        release(Mode::Zoom);
        break;
    case VMouseAction::Move:
        drag(x, y);
        break;
    case VMouseAction::Wheel:
        wheel(x, y, state.wheelDelta);
        break;
    case VMouseAction::None:
        break;
    }
}

VTrackBall::Matrix VTrackBall::rotation() const noexcept {
    const auto [w, x, y, z] = orientation_;
    return {1.0 - 2.0 * (y * y + z * z), 2.0 * (x * y - w * z),       2.0 * (x * z + w * y),
            2.0 * (x * y + w * z),       1.0 - 2.0 * (x * x + z * z), 2.0 * (y * z - w * x),
            2.0 * (x * z - w * y),       2.0 * (y * z + w * x),       1.0 - 2.0 * (x * x + y * y)};
}

Vector VTrackBall::toEye(const Vector& point) const noexcept {
    const Matrix r = rotation();
    const Vector d{point[0] - centre_[0], point[1] - centre_[1], point[2] - centre_[2]};
    return {r[0] * d[0] + r[1] * d[1] + r[2] * d[2] + offset_[0], r[3] * d[0] + r[4] * d[1] + r[5] * d[2] + offset_[1],
            r[6] * d[0] + r[7] * d[1] + r[8] * d[2] + offset_[2]};
}

void VTrackBall::press(Mode mode, double x, double y) {
    if (mode_ != Mode::None)
        return;
    mode_ = mode;
    applyCentre();
    anchorAt(x, y);
}

void VTrackBall::release(Mode mode) {
    if (mode_ == mode)
        mode_ = Mode::None;
}

void VTrackBall::drag(double x, double y) {
    if (mode_ == Mode::None)
        return;
    if (anchorStale_) {
        // The view was set anew below the held button: this position is where the drag now starts.
        anchorAt(x, y);
        return;
    }
    if (mode_ == Mode::Rotate) {
        orientation_ = normalized(product(between(onBall(anchor_.x, anchor_.y), onBall(x, y)), anchor_.orientation));
    } else if (mode_ == Mode::Pan) {
        const double perPixel = anchor_.grabbed[2] / focalLength();
        offset_[0] = anchor_.offset[0] + (x - anchor_.x) * perPixel;
        offset_[1] = anchor_.offset[1] + (y - anchor_.y) * perPixel;
    } else {
        const double shares = (y - anchor_.y) / (dragPerDoubling * std::min(width_, height_));
        const double step = limitedZoom(std::exp2(shares), anchor_.grabbed[2]) - 1.0;
        for (std::size_t i = 0; i < offset_.size(); ++i)
            offset_[i] = anchor_.offset[i] + step * anchor_.grabbed[i];
    }
    ++movements_;
    moved_ = true;
}

void VTrackBall::wheel(double x, double y, std::int32_t delta) {
    if (delta == 0)
        return;
    const Vector target = grabbedPoint(x, y);
    // Scaling the eye-frame position of the point below the cursor keeps it on its line of sight.
    const double step = limitedZoom(std::pow(zoomPerNotch, delta / deltaPerNotch), target[2]) - 1.0;
    for (std::size_t i = 0; i < offset_.size(); ++i)
        offset_[i] += step * target[i];
    if (mode_ != Mode::None)
        anchorAt(x, y);
    ++movements_;
    moved_ = true;
}

void VTrackBall::anchorAt(double x, double y) {
    anchor_ = {.x = x, .y = y, .orientation = orientation_, .offset = offset_, .grabbed = grabbedPoint(x, y)};
    anchorStale_ = false;
}

void VTrackBall::applyCentre() {
    if (!nextCentre_)
        return;
    offset_ = toEye(*nextCentre_);
    centre_ = *nextCentre_;
    nextCentre_.reset();
}

/// Where a pixel meets the ball, as a unit vector of the eye frame; the front of the ball is towards the eye, at -z.
Vector VTrackBall::onBall(double x, double y) const noexcept {
    const double radius = 0.5 * std::min(width_, height_);
    const double u = (x - 0.5 * width_) / radius;
    const double v = (y - 0.5 * height_) / radius;
    const double square = u * u + v * v;
    const double front = square < 0.5 ? std::sqrt(1.0 - square) : 0.5 / std::sqrt(square);
    const double length = std::sqrt(square + front * front);
    return {u / length, v / length, -front / length};
}

Vector VTrackBall::grabbedPoint(double x, double y) const {
    std::optional<double> depth;
    if (picker_)
        depth = picker_(x, y);
    if (!depth || !(*depth > 0.0))
        depth = offset_[2] > 0.0 ? offset_[2] : scale_;
    const double f = focalLength();
    return {(x - 0.5 * width_) / f * *depth, (y - 0.5 * height_) / f * *depth, *depth};
}

double VTrackBall::limitedZoom(double factor, double depth) const noexcept {
    // Whoever already stands outside the limits is never pushed further, only let back in.
    const double least = std::min(1.0, nearestZoom * scale_ / depth);
    const double most = std::max(1.0, farthestZoom * scale_ / depth);
    return std::clamp(factor, least, most);
}

} // namespace Vorta
