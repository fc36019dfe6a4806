#include "simulatedhead.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
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

/// A pattern as light over the positions along its axis, counted in pixels from the first one's edge.
class ProjectedPattern {
public:
    ProjectedPattern(const Driver::Pattern& pattern, std::size_t linesPerPixel, double blurPixels)
        : rows_(pattern.axis == Driver::Axis::Rows),
          levels_(pattern.levels),
          linesPerPixel_(static_cast<double>(linesPerPixel)) {
        if (blurPixels > 0.0)
            blur(linesPerPixel == 2, blurPixels);
    }
    /// The pattern as an exact fringe.
    void setFringe(double periodPixels, double turns) {
        periodPixels_ = periodPixels;
        turns_ = turns;
    }
    [[nodiscard]] double at(double column, double row) const {
        const double position = rows_ ? row : column;
        if (!samples_.empty()) {
            const double place = position * perPixel;
            if (!(place >= 0.0 && place < static_cast<double>(samples_.size()) - 1.0))
                return 0.0;
            const auto index = static_cast<std::size_t>(place);
            return std::lerp(samples_[index], samples_[index + 1], place - static_cast<double>(index));
        }
        if (periodPixels_ > 0.0)
            return 0.5 + 0.5 * std::cos(2.0 * pi * (position / periodPixels_ + turns_));
        double sum = 0.0;
        constexpr int samples = 10;
        for (int i = 0; i < samples; ++i)
            sum += level(std::floor((position - 0.45 + 0.1 * i) * linesPerPixel_));
        return sum / samples;
    }

private:
    static constexpr std::ptrdiff_t perPixel = 16;

    /// Of a line, the first and last going on beyond the image.
    [[nodiscard]] double level(double line) const {
        const double inside = std::clamp(line, 0.0, static_cast<double>(levels_.size()) - 1.0);
        return static_cast<double>(levels_[static_cast<std::size_t>(inside)]);
    }
    [[nodiscard]] double darkBeyond(double line) const {
        return line < 0.0 || line > static_cast<double>(levels_.size()) - 1.0 ? 0.0 : level(line);
    }
    void blur(bool interpolated, double sigma) {
        const auto cells = static_cast<std::ptrdiff_t>(static_cast<double>(levels_.size()) / linesPerPixel_) * perPixel;
        const auto reach = static_cast<std::ptrdiff_t>(std::ceil(6.0 * sigma)) * perPixel;
        std::vector<double> light(static_cast<std::size_t>(cells + 2 * reach));
        for (std::size_t i = 0; i < light.size(); ++i) {
            const double position = (static_cast<double>(i) + 0.5) / perPixel - static_cast<double>(reach) / perPixel;
            const double line = position * linesPerPixel_ - 0.5; // of line centres
            light[i] = interpolated ? std::lerp(darkBeyond(std::floor(line)), darkBeyond(std::floor(line) + 1.0),
                                                line - std::floor(line))
                                    : darkBeyond(std::round(line));
        }
        const auto below = [sigma](std::ptrdiff_t cell) {
            return 0.5 * std::erf(static_cast<double>(cell) / (perPixel * sigma * std::numbers::sqrt2));
        };
        std::vector<double> weights;
        for (std::ptrdiff_t cell = -reach; cell < reach; ++cell)
            weights.push_back(below(cell + 1) - below(cell));
        for (std::ptrdiff_t i = 0; i <= cells; ++i)
            samples_.push_back(std::inner_product(weights.begin(), weights.end(), light.begin() + i, 0.0));
    }

    bool rows_;
    std::vector<float> levels_;
    double linesPerPixel_;
    double periodPixels_ = 0.0;
    double turns_ = 0.0;
    std::vector<double> samples_;
};

std::vector<ProjectedPattern> project(const Reconstruction::SequenceLayout& layout, double blurPixels) {
    const std::vector<Driver::Pattern> sequence = Reconstruction::generateSequence(layout).patterns;
    std::vector<ProjectedPattern> projected;
    for (const Reconstruction::AxisLayout& axis : layout.axes) {
        for (std::size_t image = axis.firstPhase; image < layout.imageCount && image == projected.size(); ++image) {
            if (sequence[image].axis != axis.axis)
                break;
            projected.emplace_back(sequence[image], axis.linesPerPixel, blurPixels);
            if (image < axis.firstPhase + 4)
                projected.back().setFringe(static_cast<double>(layout.options.periodColumns),
                                           0.25 * static_cast<double>(image - axis.firstPhase));
        }
    }
    return projected;
}

} // namespace

std::array<double, 3> ray(const Driver::PinholeModel& m, double u, double v) {
    const double xd = (u - m.cx) / m.fx;
    const double yd = (v - m.cy) / m.fy;
    double x = xd;
    double y = yd;
    for (int i = 0; i < 200; ++i) {
        const auto [px, py] = distort(m, x, y);
        if (px == xd && py == yd)
            break;
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

namespace {

/// Cameras and lenses of the small heads.
Driver::Calibration smallDevices(bool distorted) {
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
    return head;
}

/// translation = -rotation * position.
void placeProjector(Driver::Calibration& head, const std::array<double, 3>& position) {
    for (std::size_t i = 0; i < 3; ++i)
        head.translationMm[i] = -(head.rotation[3 * i] * position[0] + head.rotation[3 * i + 1] * position[1] +
                                  head.rotation[3 * i + 2] * position[2]);
}

} // namespace

Driver::Calibration smallHead(bool distorted) {
    Driver::Calibration head = smallDevices(distorted);
    // The projector stands 200 mm to the right of the camera and looks back at the axis 700 mm away; its y axis is
    // tilted a little as well. Rotation = Rx(tilt) * Ry(turn).
    const double turn = std::atan2(200.0, 700.0);
    const double tilt = 0.01;
    const double c = std::cos(turn), s = std::sin(turn), ct = std::cos(tilt), st = std::sin(tilt);
    head.rotation = {c, 0.0, s, st * s, ct, -st * c, -ct * s, st, ct * c};
    placeProjector(head, {200.0, 4.0, -6.0});
    return head;
}

Driver::Calibration diagonalHead() {
    Driver::Calibration head = smallDevices(true);
    // A turn about the axis (1, -1, 0) / sqrt 2 by atan(200 / 700), which brings the working point onto the projector's
    // axis (O. Rodrigues' formula).
    const double turn = std::atan2(200.0, 700.0);
    const double c = std::cos(turn), s = std::sin(turn), h = std::numbers::sqrt2 / 2.0;
    head.rotation = {0.5 + 0.5 * c, 0.5 * c - 0.5, h * s, 0.5 * c - 0.5, 0.5 + 0.5 * c, h * s, -h * s, -h * s, c};
    placeProjector(head, {200.0 * h, 200.0 * h, 0.0});
    return head;
}

Reconstruction::SequenceLayout sequenceFor(const Driver::Calibration& head,
                                           const Reconstruction::SequenceOptions& options) {
    return Reconstruction::planSequence(head.projector.width, head.projector.height, options);
}

Driver::ImageStack expose(const Reconstruction::SequenceLayout& layout, const std::vector<std::optional<Spot>>& spots,
                          std::size_t height, std::size_t width, const Light& light) {
    const std::vector<ProjectedPattern> patterns = project(layout, light.blurPixels);
    Driver::ImageStack images;
    images.resize(layout.imageCount, height, width);
    std::mt19937 random(light.seed);
    std::normal_distribution<double> noise(0.0, 1.0);
    for (std::size_t pixel = 0; pixel < spots.size(); ++pixel) {
        const std::optional<Spot>& spot = spots[pixel];
        for (std::size_t image = 0; image < layout.imageCount; ++image) {
            double level = 0.0;
            if (spot) {
                level = patterns[image].at(spot->column, spot->row);
                if (light.echo.share > 0.0)
                    level += light.echo.share *
                             patterns[image].at(spot->column + light.echo.columns, spot->row + light.echo.rows);
            }
            const double shone = (light.ambient + light.white * level) / 255.0;
            const double grey = light.black + 255.0 * std::pow(shone, 1.0 / light.gamma) +
                                (light.noise > 0.0 ? light.noise * noise(random) : 0.0);
            images.image(image)[pixel] = static_cast<std::uint8_t>(std::clamp(std::round(grey), 0.0, 255.0));
        }
    }
    return images;
}

Driver::ImageStack render(const Driver::Calibration& head, const Reconstruction::SequenceLayout& layout,
                          const Plane& plane, const Light& light) {
    const Driver::PinholeModel& projector = head.projector;
    std::vector<std::optional<Spot>> spots;
    for (std::size_t row = 0; row < head.camera.height; ++row) {
        for (std::size_t column = 0; column < head.camera.width; ++column) {
            const std::optional<Sight> sight = see(head, plane, row, column);
            const bool lit = sight && sight->projectorDepth > 0.0 && sight->projectorColumn > -0.5 &&
                             sight->projectorColumn < static_cast<double>(projector.width) - 0.5 &&
                             sight->projectorRow > -0.5 &&
                             sight->projectorRow < static_cast<double>(projector.height) - 0.5;
            spots.push_back(
                lit ? std::optional(Spot{.column = sight->projectorColumn + 0.5, .row = sight->projectorRow + 0.5})
                    : std::nullopt);
        }
    }
    return expose(layout, spots, head.camera.height, head.camera.width, light);
}

} // namespace Simulation
