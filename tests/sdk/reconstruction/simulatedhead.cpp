#include "simulatedhead.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace Simulation {

namespace {

using namespace Vorta;

constexpr double pi = std::numbers::pi;

std::array<double, 2> distort(const Driver::PinholeModel& m, double x, double y) {
    const double r2 = x * x + y * y;
    const double radial = 1.0 + m.k1 * r2 + m.k2 * r2 * r2 + m.k3 * r2 * r2 * r2;
    return {x * radial + 2.0 * m.p1 * x * y + m.p2 * (r2 + 2.0 * x * x),
            y * radial + m.p1 * (r2 + 2.0 * y * y) + 2.0 * m.p2 * x * y};
}

/// A pattern as light over the projector's columns, averaged over the blur, tabulated in sixteenths of a column.
class BlurredPattern {
public:
    BlurredPattern(const std::vector<float>& levels, double sigma) : samples_(levels.size() * perColumn + 1) {
        const auto strip = [](double edge, double s) { return 0.5 * std::erf(edge / (s * std::numbers::sqrt2)); };
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            const double position = static_cast<double>(i) / perColumn;
            double sum = 0.0;
            const auto centre = static_cast<std::ptrdiff_t>(position);
            for (std::ptrdiff_t line = centre - 8; line <= centre + 8; ++line) {
                if (line < 0 || line >= static_cast<std::ptrdiff_t>(levels.size()))
                    continue;
                const double left = static_cast<double>(line) - position;
                sum += static_cast<double>(levels[static_cast<std::size_t>(line)]) *
                       (strip(left + 1.0, sigma) - strip(left, sigma));
            }
            samples_[i] = sum;
        }
    }
    [[nodiscard]] double at(double position) const {
        const double place = std::clamp(position * perColumn, 0.0, static_cast<double>(samples_.size()) - 1.001);
        const auto index = static_cast<std::size_t>(place);
        return std::lerp(samples_[index], samples_[index + 1], place - static_cast<double>(index));
    }

private:
    static constexpr std::size_t perColumn = 16;
    std::vector<double> samples_;
};

bool bitAt(const Reconstruction::AxisLayout& axis, std::size_t bit, double position) {
    const auto half = static_cast<std::size_t>(std::max(0.0, position) / (0.5 * static_cast<double>(axis.periodLines)));
    return (((half ^ (half >> 1U)) >> (axis.bitCount - 1 - bit)) & 1U) != 0;
}

/// Light of image `image` at a position, for perfect cosines and code edges one column wide.
double idealLevel(const Reconstruction::AxisLayout& axis, std::size_t image, double position) {
    if (image >= axis.firstPhase && image < axis.firstPhase + 4)
        return 0.5 + 0.5 * std::cos(2.0 * pi * position / static_cast<double>(axis.periodLines) +
                                    0.5 * pi * static_cast<double>(image - axis.firstPhase));
    const std::size_t bit = (image - axis.firstBit) / 2;
    const bool inverse = (image - axis.firstBit) % 2 == 1;
    constexpr int samples = 20;
    int lit = 0;
    for (int i = 0; i < samples; ++i)
        lit += bitAt(axis, bit, position - 0.475 + 0.05 * i) ? 1 : 0;
    const double level = static_cast<double>(lit) / samples;
    return inverse ? 1.0 - level : level;
}

} // namespace

std::array<double, 3> ray(const Driver::PinholeModel& m, double u, double v) {
    const double xd = (u - m.cx) / m.fx;
    const double yd = (v - m.cy) / m.fy;
    double x = xd;
    double y = yd;
    for (int i = 0; i < 200; ++i) {
        const auto [px, py] = distort(m, x, y);
        x += xd - px;
        y += yd - py;
    }
    return {x, y, 1.0};
}

std::array<double, 2> pixel(const Driver::PinholeModel& m, const std::array<double, 3>& point) {
    const auto [x, y] = distort(m, point[0] / point[2], point[1] / point[2]);
    return {m.fx * x + m.cx, m.fy * y + m.cy};
}

std::optional<Sight> see(const Driver::Calibration& head, const Plane& plane, std::size_t row, std::size_t column) {
    const std::array<double, 3> d = ray(head.camera, static_cast<double>(column), static_cast<double>(row));
    const double along = plane.normal[0] * d[0] + plane.normal[1] * d[1] + plane.normal[2] * d[2];
    const double depth = plane.distance / along;
    if (!(depth > 0.0))
        return std::nullopt;
    Sight sight{.point = {d[0] * depth, d[1] * depth, depth}};
    std::array<double, 3> q{};
    for (std::size_t i = 0; i < 3; ++i)
        q[i] = head.rotation[3 * i] * sight.point[0] + head.rotation[3 * i + 1] * sight.point[1] +
               head.rotation[3 * i + 2] * sight.point[2] + head.translationMm[i];
    const auto [u, v] = pixel(head.projector, q);
    sight.projectorColumn = u;
    sight.projectorRow = v;
    sight.projectorDepth = q[2];
    return sight;
}

Driver::Calibration smallHead(bool distorted) {
    Driver::Calibration head;
    head.camera = {.width = 243, .height = 150, .fx = 300.0, .fy = 300.5, .cx = 120.8, .cy = 74.2};
    head.projector = {.width = 1024, .height = 768, .fx = 1200.0, .fy = 1201.0, .cx = 515.0, .cy = 380.0};
    if (distorted) {
        head.camera.k1 = -0.12;
        head.camera.k2 = 0.07;
        head.camera.p1 = 0.0006;
        head.camera.p2 = -0.0005;
        head.camera.k3 = -0.01;
        head.projector.k1 = -0.15;
        head.projector.k2 = 0.05;
        head.projector.p1 = -0.0008;
        head.projector.p2 = 0.001;
        head.projector.k3 = 0.01;
    }
    // The projector stands 200 mm to the right of the camera and looks back at the axis 700 mm away; its y axis is
    // tilted a little as well. Rotation = Rx(tilt) * Ry(turn), translation = -Rotation * position.
    const double turn = std::atan2(200.0, 700.0);
    const double tilt = 0.01;
    const double c = std::cos(turn), s = std::sin(turn), ct = std::cos(tilt), st = std::sin(tilt);
    head.rotation = {c, 0.0, s, st * s, ct, -st * c, -ct * s, st, ct * c};
    const std::array<double, 3> position{200.0, 4.0, -6.0};
    for (std::size_t i = 0; i < 3; ++i)
        head.translationMm[i] = -(head.rotation[3 * i] * position[0] + head.rotation[3 * i + 1] * position[1] +
                                  head.rotation[3 * i + 2] * position[2]);
    return head;
}

Driver::ImageStack render(const Driver::Calibration& head, const Reconstruction::SequenceLayout& layout,
                          const Plane& plane, const Light& light) {
    const Reconstruction::AxisLayout& axis = layout.axes.front();
    std::vector<BlurredPattern> patterns;
    if (light.blurColumns > 0.0)
        for (const Driver::Pattern& pattern : Reconstruction::generateSequence(layout).patterns)
            patterns.emplace_back(pattern.levels, light.blurColumns);
    Driver::ImageStack images;
    images.resize(layout.imageCount, head.camera.height, head.camera.width);
    std::mt19937 random(light.seed);
    std::normal_distribution<double> noise(0.0, 1.0);
    for (std::size_t row = 0; row < head.camera.height; ++row) {
        for (std::size_t column = 0; column < head.camera.width; ++column) {
            const std::optional<Sight> sight = see(head, plane, row, column);
            const bool lit = sight && sight->projectorDepth > 0.0 && sight->projectorColumn > -0.5 &&
                             sight->projectorColumn < static_cast<double>(head.projector.width) - 0.5 &&
                             sight->projectorRow > -0.5 &&
                             sight->projectorRow < static_cast<double>(head.projector.height) - 0.5;
            for (std::size_t image = 0; image < layout.imageCount; ++image) {
                double level = 0.0;
                if (lit) {
                    const double position = sight->projectorColumn + 0.5;
                    level = patterns.empty() ? idealLevel(axis, image, position) : patterns[image].at(position);
                }
                const double grey = light.black + light.ambient + light.white * level + light.noise * noise(random);
                images.row(image, row)[column] = static_cast<std::uint8_t>(std::clamp(std::round(grey), 0.0, 255.0));
            }
        }
    }
    return images;
}

} // namespace Simulation
