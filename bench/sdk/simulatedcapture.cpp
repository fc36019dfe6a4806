#include "simulatedcapture.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace VortaBench {

using Vorta::Reconstruction::ImagePoint;
namespace Driver = Vorta::Driver;

Driver::Calibration makeHead(Size sensor, Size projector) {
    const double pixels = static_cast<double>(sensor.width) / static_cast<double>(fullSensor.width);
    const double columns = static_cast<double>(projector.width) / 1024.0;
    Driver::Calibration head;
    head.camera = {.width = sensor.width,
                   .height = sensor.height,
                   .fx = 2400.0 * pixels,
                   .fy = 2400.0 * pixels,
                   .cx = 975.0 * pixels,
                   .cy = 596.0 * pixels,
                   .k1 = -0.1,
                   .k2 = 0.05,
                   .p1 = 0.0005,
                   .p2 = -0.0003};
    head.projector = {.width = projector.width,
                      .height = projector.height,
                      .fx = 1200.0 * columns,
                      .fy = 1200.0 * columns,
                      .cx = 513.0 * columns,
                      .cy = 0.495 * static_cast<double>(projector.height),
                      .k1 = -0.08,
                      .k2 = 0.03,
                      .p1 = -0.0004,
                      .p2 = 0.0006};
    const double turn = std::atan2(200.0, 700.0);
    head.rotation = {std::cos(turn), 0.0, std::sin(turn), 0.0, 1.0, 0.0, -std::sin(turn), 0.0, std::cos(turn)};
    head.translationMm = {-200.0 * std::cos(turn), 0.0, 200.0 * std::sin(turn)};
    return head;
}

std::vector<ImagePoint> makeSights(const Driver::Calibration& head, double waveMm) {
    const auto& r = head.rotation;
    const auto& t = head.translationMm;
    std::vector<ImagePoint> sights;
    for (std::size_t row = 0; row < head.camera.height; ++row) {
        for (std::size_t column = 0; column < head.camera.width; ++column) {
            const auto [a, b] = Vorta::Reconstruction::unproject(
                head.camera, {.x = static_cast<double>(column), .y = static_cast<double>(row)});
            const double z = 700.0 + waveMm * std::sin(15.0 * a) * std::cos(12.0 * b);
            const double qz = z * (r[6] * a + r[7] * b + r[8]) + t[2];
            sights.push_back(
                Vorta::Reconstruction::project(head.projector, {.x = (z * (r[0] * a + r[1] * b + r[2]) + t[0]) / qz,
                                                                .y = (z * (r[3] * a + r[4] * b + r[5]) + t[1]) / qz}));
        }
    }
    return sights;
}

Driver::ImageStack makeImages(const Driver::PinholeModel& camera, const Driver::PatternSequence& sequence,
                              const std::vector<ImagePoint>& sights, const Light& light) {
    Driver::ImageStack images;
    images.resize(sequence.patterns.size(), camera.height, camera.width);
    std::mt19937 random{1};
    std::normal_distribution<float> noise{0.0F, 1.0F};
    std::vector<float> someNoise(99'991);
    std::ranges::generate(someNoise, [&] { return light.noise * noise(random); });
    std::size_t next = 0;
    for (std::size_t image = 0; image < sequence.patterns.size(); ++image) {
        const std::vector<float>& levels = sequence.patterns[image].levels;
        const bool isRows = sequence.patterns[image].axis == Driver::Axis::Rows;
        // Half column h is centred at column (h - 0.5) / 2.
        const bool isHalves = !isRows && sequence.lattice == Driver::Lattice::Diamond;
        for (std::size_t pixel = 0; pixel < sights.size(); ++pixel) {
            const double seen = isRows ? sights[pixel].y : sights[pixel].x;
            const double place =
                std::clamp(isHalves ? 2.0 * seen + 0.5 : seen, 0.0, static_cast<double>(levels.size()) - 1.001);
            const auto line = static_cast<std::size_t>(place);
            const auto part = static_cast<float>(place - static_cast<double>(line));
            const bool isDark = light.darkPatches && (pixel / camera.width / 100 + pixel % camera.width / 100) % 5 == 0;
            next = (next + 1) % someNoise.size();
            const float lit = std::lerp(levels[line], levels[line + 1], part);
            const float grey = 6.0F + (isDark ? 6.0F : 170.0F) * lit + someNoise[next];
            images.image(image)[pixel] = static_cast<std::uint8_t>(std::clamp(grey, 0.0F, 255.0F));
        }
    }
    return images;
}

} // namespace VortaBench
