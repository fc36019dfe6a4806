// Times the reconstruction of one full-size capture (1944 x 1200 camera, 1024 x 768 projector, both lenses distorting)
// against a plain loop that decodes and triangulates, and against merely reading the images and writing the points.
// Ours makes the colours as well.

#include "plainreconstruction.h"
#include "ratio.h"

#include "vorta/reconstruction/projection.h"
#include "vorta/reconstruction/reconstructor.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>

using namespace Vorta;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::cerr << "bench_reconstruction: " << what << '\n';
        std::exit(1);
    }
}

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

/// A waved surface about 700 mm away, with dark patches and 1.5 grey levels of noise.
Driver::ImageStack makeImages(const Driver::Calibration& head, const Reconstruction::SequenceLayout& layout) {
    const std::vector<Driver::Pattern> patterns = Reconstruction::generateSequence(layout).patterns;
    Driver::ImageStack images;
    images.resize(layout.imageCount, head.camera.height, head.camera.width);
    std::mt19937 random{1};
    std::normal_distribution<float> noise{0.0F, 1.5F};
    const auto& r = head.rotation;
    const auto& t = head.translationMm;
    for (std::size_t row = 0; row < head.camera.height; ++row) {
        for (std::size_t column = 0; column < head.camera.width; ++column) {
            const auto [a, b] = Reconstruction::unproject(
                head.camera, {.x = static_cast<double>(column), .y = static_cast<double>(row)});
            const double z = 700.0 + 20.0 * std::sin(15.0 * a) * std::cos(12.0 * b);
            const double qz = z * (r[6] * a + r[7] * b + r[8]) + t[2];
            const Reconstruction::ImagePoint p =
                Reconstruction::project(head.projector, {.x = (z * (r[0] * a + r[1] * b + r[2]) + t[0]) / qz,
                                                         .y = (z * (r[3] * a + r[4] * b + r[5]) + t[1]) / qz});
            const double place = std::clamp(p.x, 0.0, static_cast<double>(head.projector.width) - 1.001);
            const auto line = static_cast<std::size_t>(place);
            const auto part = static_cast<float>(place - static_cast<double>(line));
            const float white = (row / 100 + column / 100) % 5 == 0 ? 6.0F : 170.0F;
            for (std::size_t image = 0; image < layout.imageCount; ++image) {
                const std::vector<float>& levels = patterns[image].levels;
                const float grey = 6.0F + white * std::lerp(levels[line], levels[line + 1], part) + noise(random);
                images.row(image, row)[column] = static_cast<std::uint8_t>(std::clamp(grey, 0.0F, 255.0F));
            }
        }
    }
    return images;
}

/// Both must find the same points: a difference beyond rounding would make the comparison worthless.
void compareClouds(const PointCloud& ours, const PointCloud& plain) {
    std::size_t valid = 0;
    std::size_t different = 0;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        valid += plain[i].isValid() ? 1U : 0U;
        if (ours[i].isValid() != plain[i].isValid() || std::abs(ours[i].z - plain[i].z) > 0.01F)
            ++different;
    }
    std::cout << valid << " of " << plain.size() << " points valid, " << different << " differ\n";
    require(valid > plain.size() / 2, "the plain loop finds too few points");
    require(different < plain.size() / 10'000, "the plain loop and ours disagree");
}

/// Reads every byte of the images once and writes every byte of the points once.
void touch(const Driver::ImageStack& images, PointCloud& out) {
    std::uint64_t sum = 0;
    const std::span<const std::uint8_t> first = images.image(0);
    const std::size_t words = images.count() * first.size() / sizeof(sum);
    for (std::size_t i = 0; i < words; ++i) {
        std::uint64_t word = 0;
        std::memcpy(&word, first.data() + i * sizeof(word), sizeof(word));
        sum += word;
    }
    std::memset(static_cast<void*>(out.data()), static_cast<int>(sum & 0xFFU), out.size() * sizeof(Point));
    benchmark::ClobberMemory();
}

} // namespace

int main(int argc, char** argv) {
    const Driver::Calibration head = makeHead();
    const Reconstruction::SequenceLayout layout = Reconstruction::planSequence(head.projector);
    const Driver::ImageStack images = makeImages(head, layout);
    const PlainReconstruction plain(head, layout.axes.front());
    Reconstruction::Reconstructor oneThread(head, layout, {.threads = 1});
    Reconstruction::Reconstructor twoThreads(head, layout, {.threads = 2});
    PointCloud ours(head.camera.height, head.camera.width);
    PointCloud theirs(head.camera.height, head.camera.width);

    // The plain loop does not look for outliers.
    const Reconstruction::Parameters unfiltered{.rejectOutliers = false};
    oneThread.reconstruct(images, unfiltered, ours);
    plain.reconstruct(images, theirs);
    compareClouds(ours, theirs);

    const auto plainLoop = [&] { plain.reconstruct(images, theirs); };
    VortaBench::compare(
        "one thread / plain loop", [&] { oneThread.reconstruct(images, unfiltered, ours); }, plainLoop, 0.2);
    VortaBench::compare(
        "two threads / plain loop", [&] { twoThreads.reconstruct(images, unfiltered, ours); }, plainLoop, 0.2, 0.11);
    VortaBench::compare(
        "one thread / reading images and writing points", [&] { oneThread.reconstruct(images, unfiltered, ours); },
        [&] { touch(images, theirs); }, 5.0);
    VortaBench::compare(
        "with outlier filter / without", [&] { oneThread.reconstruct(images, {}, ours); },
        [&] { oneThread.reconstruct(images, unfiltered, theirs); }, 1.15);
    benchmark::RegisterBenchmark("new calibration", [&](benchmark::State& state) {
        for ([[maybe_unused]] auto iteration : state)
            twoThreads.setCalibration(head);
    })->Unit(benchmark::kMillisecond);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
