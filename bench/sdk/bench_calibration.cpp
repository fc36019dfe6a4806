// Times what a calibration costs at full size (1944 x 1200 camera, 1024 x 768 projector, both lenses distorting):
// taking one, with and without polynomials, and decoding with polynomials against decoding with triangulation. Times
// the combination of three captures against copying their clouds.

#include "ratio.h"

#include "vorta/reconstruction/hdr.h"
#include "vorta/reconstruction/projection.h"
#include "vorta/reconstruction/reconstructor.h"

#include <algorithm>
#include <cmath>
#include <iostream>

using namespace Vorta;
using Reconstruction::Reconstructor;
using Reconstruction::ReconstructorOptions;

namespace {

Driver::Calibration makeHead() {
    Driver::Calibration head;
    head.camera = {.width = 1944,
                   .height = 1200,
                   .fx = 2400.0,
                   .fy = 2400.0,
                   .cx = 975.0,
                   .cy = 596.0,
                   .k1 = -0.1,
                   .k2 = 0.05,
                   .p1 = 0.0005,
                   .p2 = -0.0003};
    head.projector = {.width = 1024,
                      .height = 768,
                      .fx = 1200.0,
                      .fy = 1200.0,
                      .cx = 513.0,
                      .cy = 380.0,
                      .k1 = -0.08,
                      .k2 = 0.03,
                      .p1 = -0.0004,
                      .p2 = 0.0006};
    const double turn = std::atan2(200.0, 700.0);
    head.rotation = {std::cos(turn), 0.0, std::sin(turn), 0.0, 1.0, 0.0, -std::sin(turn), 0.0, std::cos(turn)};
    head.translationMm = {-200.0 * std::cos(turn), 0.0, 200.0 * std::sin(turn)};
    return head;
}

/// A plane 700 mm away, without noise.
Driver::ImageStack makeImages(const Driver::Calibration& head, const Reconstruction::SequenceLayout& layout) {
    constexpr double z = 700.0;
    const std::vector<Driver::Pattern> patterns = Reconstruction::generateSequence(layout).patterns;
    Driver::ImageStack images;
    images.resize(layout.imageCount, head.camera.height, head.camera.width);
    const auto& r = head.rotation;
    const auto& t = head.translationMm;
    for (std::size_t row = 0; row < head.camera.height; ++row) {
        for (std::size_t column = 0; column < head.camera.width; ++column) {
            const auto [a, b] = Reconstruction::unproject(
                head.camera, {.x = static_cast<double>(column), .y = static_cast<double>(row)});
            const double qz = z * (r[6] * a + r[7] * b + r[8]) + t[2];
            const double u =
                Reconstruction::project(head.projector, {.x = (z * (r[0] * a + r[1] * b + r[2]) + t[0]) / qz,
                                                         .y = (z * (r[3] * a + r[4] * b + r[5]) + t[1]) / qz})
                    .x;
            const double place = std::clamp(u, 0.0, static_cast<double>(head.projector.width) - 1.001);
            const auto line = static_cast<std::size_t>(place);
            const auto part = static_cast<float>(place - static_cast<double>(line));
            for (std::size_t image = 0; image < layout.imageCount; ++image) {
                const std::vector<float>& levels = patterns[image].levels;
                images.row(image, row)[column] =
                    static_cast<std::uint8_t>(6.5F + 170.0F * std::lerp(levels[line], levels[line + 1], part));
            }
        }
    }
    return images;
}

void compareClouds(const PointCloud& exact, const PointCloud& fitted) {
    std::size_t valid = 0;
    std::size_t different = 0;
    double largest = 0.0;
    for (std::size_t i = 0; i < exact.size(); ++i) {
        valid += exact[i].isValid() ? 1U : 0U;
        different += exact[i].isValid() != fitted[i].isValid() ? 1U : 0U;
        if (exact[i].isValid() && fitted[i].isValid())
            largest = std::max(largest, static_cast<double>(std::abs(exact[i].z - fitted[i].z)));
    }
    std::cout << valid << " points; polynomials differ from triangulation in " << different << " and by at most "
              << 1000.0 * largest << " um at 700 mm\n";
}

/// Three captures in which bright pixels saturate and dark ones have no point, differently in each.
std::vector<Reconstruction::HdrChild> makeChildren(const PointCloud& cloud) {
    std::vector<Reconstruction::HdrChild> children;
    for (const double exposure : {16.0, 4.0, 1.0}) {
        children.push_back({.cloud = cloud.clone(), .exposure = exposure});
        PointCloud& child = children.back().cloud;
        for (std::size_t i = 0; i < child.size(); ++i) {
            const double light = exposure * std::pow(2.0, static_cast<double>(i % 1944) / 243.0);
            Point& point = child[i];
            point.contrast = static_cast<float>(std::min(light / 2.0, 120.0));
            point.blue = point.green = point.red = static_cast<std::uint8_t>(std::min(light, 255.0));
            if (light < 8.0 || light >= 255.0)
                point.x = point.y = point.z = std::nanf("");
        }
    }
    return children;
}

} // namespace

int main(int argc, char** argv) {
    const Driver::Calibration head = makeHead();
    Driver::Calibration warmer = head;
    warmer.camera.fx += 0.5;
    const Reconstruction::SequenceLayout layout =
        Reconstruction::planSequence(head.projector.width, head.projector.height, {.inverse = true});
    const Driver::ImageStack images = makeImages(head, layout);
    constexpr auto polynomial = ReconstructorOptions::Method::Polynomial;
    Reconstructor exact(head, layout);
    Reconstructor fitted(head, layout, {.method = polynomial});
    const Reconstruction::Parameters unfiltered{.rejectOutliers = false};
    PointCloud points, fittedPoints;
    exact.reconstruct(images, unfiltered, points);
    fitted.reconstruct(images, unfiltered, fittedPoints);
    compareClouds(points, fittedPoints);

    const auto takeCalibrations = [&](const char* name, Reconstructor& reconstructor) {
        benchmark::RegisterBenchmark(name,
                                     [&](benchmark::State& state) {
                                         bool isWarm = false;
                                         for ([[maybe_unused]] auto iteration : state)
                                             reconstructor.setCalibration((isWarm = !isWarm) ? warmer : head);
                                     })
            ->Unit(benchmark::kMillisecond)
            ->MeasureProcessCPUTime()
            ->UseRealTime();
    };
    takeCalibrations("new calibration, triangulation", exact);
    takeCalibrations("new calibration, polynomials", fitted);
    VortaBench::compare(
        "decoding with polynomials / with triangulation", [&] { fitted.reconstruct(images, unfiltered, fittedPoints); },
        [&] { exact.reconstruct(images, unfiltered, points); }, 1.5);

    const std::vector<Reconstruction::HdrChild> children = makeChildren(points);
    std::vector<PointCloud> copies(3);
    VortaBench::compare(
        "combining three captures / copying their clouds",
        [&] { benchmark::DoNotOptimize(Reconstruction::combineClouds(children).data()); },
        [&] {
            for (std::size_t i = 0; i < copies.size(); ++i)
                copies[i] = children[i].cloud.clone();
        },
        4.0);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
