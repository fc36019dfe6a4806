// Times the reconstruction of full-size captures (1944 x 1200 camera, both lenses distorting): of 24 images of the
// columns against a plain loop that decodes and triangulates, and against merely reading the images and writing the
// points; of 42 images of columns and rows against OpenCV's decoding of as many. Ours makes points and colours as well.

#include "graycodeloop.h"
#include "plainreconstruction.h"
#include "ratio.h"

#include "vorta/reconstruction/projection.h"
#include "vorta/reconstruction/reconstructor.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <random>

using namespace Vorta;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::cerr << "bench_reconstruction: " << what << '\n';
        std::exit(1);
    }
}

/// A projector of this size that covers the same field of view.
Driver::Calibration makeHead(std::size_t projectorWidth, std::size_t projectorHeight) {
    const double pixels = static_cast<double>(projectorWidth) / 1024.0;
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
    head.projector = {.width = projectorWidth,
                      .height = projectorHeight,
                      .fx = 1200.0 * pixels,
                      .fy = 1200.0 * pixels,
                      .cx = 513.0 * pixels,
                      .cy = 0.495 * static_cast<double>(projectorHeight),
                      .k1 = -0.08,
                      .k2 = 0.03,
                      .p1 = -0.0004,
                      .p2 = 0.0006};
    const double turn = std::atan2(200.0, 700.0);
    head.rotation = {std::cos(turn), 0.0, std::sin(turn), 0.0, 1.0, 0.0, -std::sin(turn), 0.0, std::cos(turn)};
    head.translationMm = {-200.0 * std::cos(turn), 0.0, 200.0 * std::sin(turn)};
    return head;
}

/// The projector pixel that each camera pixel sees of a waved surface about 700 mm away.
std::vector<Reconstruction::ImagePoint> makeSights(const Driver::Calibration& head) {
    const auto& r = head.rotation;
    const auto& t = head.translationMm;
    std::vector<Reconstruction::ImagePoint> sights;
    for (std::size_t row = 0; row < head.camera.height; ++row) {
        for (std::size_t column = 0; column < head.camera.width; ++column) {
            const auto [a, b] = Reconstruction::unproject(
                head.camera, {.x = static_cast<double>(column), .y = static_cast<double>(row)});
            const double z = 700.0 + 20.0 * std::sin(15.0 * a) * std::cos(12.0 * b);
            const double qz = z * (r[6] * a + r[7] * b + r[8]) + t[2];
            sights.push_back(
                Reconstruction::project(head.projector, {.x = (z * (r[0] * a + r[1] * b + r[2]) + t[0]) / qz,
                                                         .y = (z * (r[3] * a + r[4] * b + r[5]) + t[1]) / qz}));
        }
    }
    return sights;
}

/// What the camera sees of these patterns, with dark patches and 1.5 grey levels of noise.
Driver::ImageStack makeImages(const Driver::PinholeModel& camera, const std::vector<Driver::Pattern>& patterns,
                              const std::vector<Reconstruction::ImagePoint>& sights) {
    Driver::ImageStack images;
    images.resize(patterns.size(), camera.height, camera.width);
    std::mt19937 random{1};
    std::normal_distribution<float> noise{0.0F, 1.5F};
    std::vector<float> someNoise(99'991);
    std::ranges::generate(someNoise, [&] { return noise(random); });
    std::size_t next = 0;
    for (std::size_t image = 0; image < patterns.size(); ++image) {
        const std::vector<float>& levels = patterns[image].levels;
        const bool isRows = patterns[image].axis == Driver::Axis::Rows;
        for (std::size_t pixel = 0; pixel < sights.size(); ++pixel) {
            const double seen = isRows ? sights[pixel].y : sights[pixel].x;
            const double place = std::clamp(seen, 0.0, static_cast<double>(levels.size()) - 1.001);
            const auto line = static_cast<std::size_t>(place);
            const auto part = static_cast<float>(place - static_cast<double>(line));
            const bool isDark = (pixel / camera.width / 100 + pixel % camera.width / 100) % 5 == 0;
            next = (next + 1) % someNoise.size();
            const float light = std::lerp(levels[line], levels[line + 1], part);
            const float grey = 6.0F + (isDark ? 6.0F : 170.0F) * light + someNoise[next];
            images.image(image)[pixel] = static_cast<std::uint8_t>(std::clamp(grey, 0.0F, 255.0F));
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

/// The loop must find the projector pixels that are seen, or its time says nothing.
void checkLoop(const GrayCodeLoop& loop, const std::vector<Reconstruction::ImagePoint>& sights) {
    std::size_t found = 0;
    std::size_t right = 0;
    for (std::size_t pixel = 0; pixel < sights.size(); ++pixel) {
        if (loop.columns()[pixel] < 0)
            continue;
        ++found;
        right += std::abs(loop.columns()[pixel] - sights[pixel].x) < 1.5 &&
                         std::abs(loop.rows()[pixel] - sights[pixel].y) < 1.5
                     ? 1U
                     : 0U;
    }
    std::cout << "OpenCV finds " << found << " of " << sights.size() << " pixels, " << right << " of them right\n";
    require(right > sights.size() / 2 && right > found / 10 * 9, "OpenCV's loop does not decode");
}

/// 24 images: 4 phase steps and 10 bits of 640 half periods with their inverses.
struct OneAxis {
    Driver::Calibration head = makeHead(2560, 1600);
    Reconstruction::SequenceLayout layout = Reconstruction::planSequence(2560, 1600, {.inverse = true});
    Driver::ImageStack images =
        makeImages(head.camera, Reconstruction::generateSequence(layout).patterns, makeSights(head));
    PlainReconstruction plain{head, layout.axes.front()};
    Reconstruction::Reconstructor oneThread{head, layout, {.threads = 1}};
    Reconstruction::Reconstructor twoThreads{head, layout, {.threads = 2}};
    PointCloud ours{head.camera.height, head.camera.width};
    PointCloud theirs{head.camera.height, head.camera.width};
};

void registerOneAxis() {
    const auto shared = std::make_shared<OneAxis>();
    require(shared->layout.imageCount == 24, "the sequence of one axis has another length");
    // The plain loop does not look for outliers.
    const Reconstruction::Parameters unfiltered{.rejectOutliers = false};
    shared->oneThread.reconstruct(shared->images, unfiltered, shared->ours);
    shared->plain.reconstruct(shared->images, shared->theirs);
    compareClouds(shared->ours, shared->theirs);

    const auto plainLoop = [shared] { shared->plain.reconstruct(shared->images, shared->theirs); };
    const auto one = [shared](const Reconstruction::Parameters& parameters) {
        return [shared, parameters] { shared->oneThread.reconstruct(shared->images, parameters, shared->ours); };
    };
    const auto two = [shared, unfiltered] { shared->twoThreads.reconstruct(shared->images, unfiltered, shared->ours); };
    VortaBench::compare("one thread / plain loop", one(unfiltered), plainLoop, 0.2);
    VortaBench::compare("two threads / plain loop", two, plainLoop, 0.2, 0.11);
    VortaBench::compare(
        "one thread / reading images and writing points", one(unfiltered),
        [shared] { touch(shared->images, shared->theirs); }, 4.0);
    const Reconstruction::Parameters none{.minModulation = 0.0, .rejectSaturated = false, .rejectOutliers = false};
    VortaBench::compare("default filters / none", one({}), one(none), 2.0);
    VortaBench::compare("default filters and reflections / none", one({.rejectReflections = true}), one(none), 2.0);
    benchmark::RegisterBenchmark("new calibration", [shared](benchmark::State& state) {
        for ([[maybe_unused]] auto iteration : state)
            shared->twoThreads.setCalibration(shared->head);
    })->Unit(benchmark::kMillisecond);
}

/// 42 images: 4 phase steps and 9 bits of 320 half periods, 4 and 8 of 192, with their inverses; OpenCV's are 11 and 10
/// bits of 1280 columns and 768 rows.
struct BothAxes {
    Driver::Calibration head = makeHead(1280, 768);
    Reconstruction::SequenceLayout layout = Reconstruction::planSequence(1280, 768, {.inverse = true, .rows = true});
    std::vector<Reconstruction::ImagePoint> sights = makeSights(head);
    Driver::ImageStack images = makeImages(head.camera, Reconstruction::generateSequence(layout).patterns, sights);
    Reconstruction::Reconstructor oneThread{head, layout, {.threads = 1}};
    PointCloud ours{head.camera.height, head.camera.width};
    GrayCodeLoop loop{1280, 768};
    Driver::ImageStack theirImages = makeImages(head.camera, loop.patterns(), sights);
};

void registerBothAxes() {
    const auto shared = std::make_shared<BothAxes>();
    const std::vector<Reconstruction::ImagePoint>& sights = shared->sights;
    require(shared->images.count() == 42 && shared->theirImages.count() == 42, "the sequences have another length");
    shared->loop.setImages(shared->theirImages);
    shared->loop.decode();
    checkLoop(shared->loop, sights);
    shared->oneThread.reconstruct(shared->images, {}, shared->ours);
    const auto valid = std::ranges::count_if(shared->ours.points(), &Point::isValid);
    std::cout << valid << " points valid from columns and rows\n";
    require(static_cast<std::size_t>(valid) > sights.size() / 2, "columns and rows give too few points");
    // Each takes seconds.
    VortaBench::compare(
        "columns and rows / OpenCV's loop",
        [shared] { shared->oneThread.reconstruct(shared->images, {}, shared->ours); },
        [shared] { shared->loop.decode(); }, 0.04)
        ->Iterations(2);
}

} // namespace

int main(int argc, char** argv) {
    registerOneAxis();
    registerBothAxes();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
