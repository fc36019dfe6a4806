// Times what a calibration costs at full size (1944 x 1200 camera, 1024 x 768 projector, both lenses distorting):
// taking one, with and without polynomials, and decoding with polynomials against decoding with triangulation. Times
// the combination of three captures against copying their clouds.

#include "ratio.h"
#include "simulatedcapture.h"

#include "vorta/reconstruction/hdr.h"
#include "vorta/reconstruction/reconstructor.h"

#include <algorithm>
#include <cmath>
#include <iostream>

using namespace Vorta;
using Reconstruction::Reconstructor;
using Reconstruction::ReconstructorOptions;

namespace {

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
    const Driver::Calibration head = VortaBench::makeHead(VortaBench::fullSensor, {.width = 1024, .height = 768});
    Driver::Calibration warmer = head;
    warmer.camera.fx += 0.5;
    const Reconstruction::SequenceLayout layout =
        Reconstruction::planSequence(head.projector.width, head.projector.height, {.inverse = true});
    // A plane, without noise.
    const Driver::ImageStack images =
        VortaBench::makeImages(head.camera, Reconstruction::generateSequence(layout), VortaBench::makeSights(head, 0.0),
                               {.noise = 0.0F, .darkPatches = false});
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
        0, 4.0);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
