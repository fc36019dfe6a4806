#include "plainreconstruction.h"

#include "vorta/reconstruction/projection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>

using namespace Vorta;

namespace {

constexpr float minModulation = 5.0F;
constexpr int minBitDifference = 3;

unsigned binaryFromGray(unsigned gray) {
    unsigned binary = gray;
    while ((gray >>= 1U) != 0)
        binary ^= gray;
    return binary;
}

} // namespace

PlainReconstruction::PlainReconstruction(const Driver::Calibration& head, const Reconstruction::AxisLayout& axis)
    : axis_(axis) {
    const auto single = [](double value) { return static_cast<float>(value); };
    const Driver::PinholeModel& m = head.projector;
    lens_ = {.fx = single(m.fx),
             .fy = single(m.fy),
             .cx = single(m.cx),
             .cy = single(m.cy),
             .k1 = single(m.k1),
             .k2 = single(m.k2),
             .k3 = single(m.k3),
             .p1 = single(m.p1),
             .p2 = single(m.p2)};
    width_ = static_cast<float>(m.width);
    height_ = static_cast<float>(m.height);
    std::ranges::transform(head.rotation, rotation_.begin(), single);
    std::ranges::transform(head.translationMm, translation_.begin(), single);
    for (std::size_t row = 0; row < head.camera.height; ++row) {
        for (std::size_t column = 0; column < head.camera.width; ++column) {
            const Reconstruction::ImagePoint ray = Reconstruction::unproject(
                head.camera, {.x = static_cast<double>(column), .y = static_cast<double>(row)});
            rayX_.push_back(static_cast<float>(ray.x));
            rayY_.push_back(static_cast<float>(ray.y));
        }
    }
}

PlainReconstruction::Column PlainReconstruction::decode(const Driver::ImageStack& images, std::size_t pixel) const {
    constexpr float twoPi = 2.0F * std::numbers::pi_v<float>;
    std::array<int, 4> level{};
    for (std::size_t k = 0; k < 4; ++k)
        level[k] = images.image(axis_.firstPhase + k)[pixel];
    const auto cosine = static_cast<float>(level[0] - level[2]);
    const auto sine = static_cast<float>(level[3] - level[1]);
    const float modulation = 0.5F * std::sqrt(sine * sine + cosine * cosine);
    float phase = std::atan2(sine, cosine);
    if (phase < 0.0F)
        phase += twoPi;

    unsigned gray = 0;
    unsigned undecided = 0;
    for (std::size_t bit = 0; bit < axis_.bitCount; ++bit) {
        const int difference =
            images.image(axis_.firstBit + 2 * bit)[pixel] - images.image(axis_.firstBit + 2 * bit + 1)[pixel];
        gray = gray << 1U | (difference > 0 ? 1U : 0U);
        undecided = undecided << 1U | (std::abs(difference) < minBitDifference ? 1U : 0U);
    }
    const auto code = static_cast<int>(binaryFromGray(gray));
    const auto other = static_cast<int>(binaryFromGray(gray ^ undecided));
    const float middle = 0.5F * static_cast<float>(code) + 0.25F;
    const float turns = phase / twoPi;
    const float periods = std::round(middle - turns) + turns;
    const bool saturated = std::max({level[0], level[1], level[2], level[3]}) == 255;
    return {.position = periods * static_cast<float>(axis_.periodLines),
            .modulation = modulation,
            .valid = modulation >= minModulation && std::abs(code - other) <= 1 &&
                     std::abs(periods - middle) <= 0.375F && !saturated};
}

/// Newton's method along the epipolar line y = slope x + intercept.
bool PlainReconstruction::undistort(float target, float slope, float intercept, float& x) const {
    const auto [k1, k2, k3, p1, p2] = std::array{lens_.k1, lens_.k2, lens_.k3, lens_.p1, lens_.p2};
    x = target;
    for (int step = 0; step < 10; ++step) {
        const float y = slope * x + intercept;
        const float r2 = x * x + y * y;
        const float radial = 1.0F + r2 * (k1 + r2 * (k2 + r2 * k3));
        const float error = x * radial + 2.0F * p1 * x * y + p2 * (r2 + 2.0F * x * x) - target;
        if (std::abs(error) < 1e-6F)
            return true;
        const float radialSlope = 2.0F * (k1 + r2 * (2.0F * k2 + 3.0F * r2 * k3));
        const float byX = radial + x * x * radialSlope + 2.0F * p1 * y + 6.0F * p2 * x;
        const float byY = x * y * radialSlope + 2.0F * p1 * x + 2.0F * p2 * y;
        x -= error / (byX + slope * byY);
    }
    return false;
}

void PlainReconstruction::triangulate(const Column& column, std::size_t pixel, Point& point) const {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    point = {.x = nan, .y = nan, .z = nan, .contrast = column.modulation};
    if (!column.valid || column.position < 0.0F || column.position > width_)
        return;
    const std::array<float, 9>& r = rotation_;
    const std::array<float, 3>& translation = translation_;
    const Lens& m = lens_;
    const float a = rayX_[pixel];
    const float b = rayY_[pixel];
    const float d1 = r[0] * a + r[1] * b + r[2];
    const float d2 = r[3] * a + r[4] * b + r[5];
    const float d3 = r[6] * a + r[7] * b + r[8];
    const float across = translation[0] * d3 - translation[2] * d1;
    const float slope = (translation[1] * d3 - translation[2] * d2) / across;
    const float intercept = (translation[0] * d2 - translation[1] * d1) / across;
    const float target = (column.position - 0.5F - m.cx) / m.fx;
    float x = 0.0F;
    if (!undistort(target, slope, intercept, x))
        return;
    const float y = slope * x + intercept;
    const float r2 = x * x + y * y;
    const float radial = 1.0F + r2 * (m.k1 + r2 * (m.k2 + r2 * m.k3));
    const float distorted = y * radial + m.p1 * (r2 + 2.0F * y * y) + 2.0F * m.p2 * x * y;
    const float row = distorted * m.fy + m.cy;
    const float z = (translation[0] - x * translation[2]) / (x * d3 - d1);
    if (row < -1.5F || row > height_ + 0.5F || !(z > 0.0F && z < 1e6F) || z * d3 + translation[2] <= 0.0F)
        return;
    point.x = a * z;
    point.y = b * z;
    point.z = z;
}

void PlainReconstruction::reconstruct(const Driver::ImageStack& images, PointCloud& out) const {
    for (std::size_t pixel = 0; pixel < out.size(); ++pixel)
        triangulate(decode(images, pixel), pixel, out[pixel]);
}
