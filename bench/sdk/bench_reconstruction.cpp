// Times the reconstruction of full-size captures (1944 x 1200 camera, both lenses distorting): of 24 images of the
// columns against a plain loop that decodes and triangulates, and against merely reading the images and writing the
// points; of 42 images of columns and rows against OpenCV's decoding of as many. Ours makes points and colours as well.
// Counts the frames per second that half the resolution gives with default settings.

#include "graycodeloop.h"
#include "plainreconstruction.h"
#include "ratio.h"
#include "simulatedcapture.h"

#include "vorta/reconstruction/reconstructor.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

using namespace Vorta;

namespace {

constexpr double waveMm = 20.0;

void require(bool condition, const char* what) {
    if (!condition)
        throw std::runtime_error(what);
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
    Driver::Calibration head = VortaBench::makeHead(VortaBench::fullSensor, {.width = 2560, .height = 1600});
    Reconstruction::SequenceLayout layout = Reconstruction::planSequence(2560, 1600, {.inverse = true});
    Driver::ImageStack images = VortaBench::makeImages(head.camera, Reconstruction::generateSequence(layout),
                                                       VortaBench::makeSights(head, waveMm));
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
    Driver::Calibration head = VortaBench::makeHead(VortaBench::fullSensor, {.width = 1280, .height = 768});
    Reconstruction::SequenceLayout layout = Reconstruction::planSequence(1280, 768, {.inverse = true, .rows = true});
    std::vector<Reconstruction::ImagePoint> sights = VortaBench::makeSights(head, waveMm);
    Driver::ImageStack images = VortaBench::makeImages(head.camera, Reconstruction::generateSequence(layout), sights);
    Reconstruction::Reconstructor oneThread{head, layout, {.threads = 1}};
    PointCloud ours{head.camera.height, head.camera.width};
    GrayCodeLoop loop{1280, 768};
    Driver::ImageStack theirImages = VortaBench::makeImages(head.camera, {.patterns = loop.patterns()}, sights);
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

/// What live shows by default: 972 x 600 pixels, the diamond lattice, the default filters, all cores.
struct Live {
    Driver::Calibration head = VortaBench::makeHead({.width = 972, .height = 600}, {.width = 1024, .height = 768});
    Reconstruction::SequenceLayout layout =
        Reconstruction::planSequence(1024, 768, {.lattice = Driver::Lattice::Diamond});
    Driver::ImageStack images = VortaBench::makeImages(head.camera, Reconstruction::generateSequence(layout),
                                                       VortaBench::makeSights(head, waveMm));
    Reconstruction::Reconstructor reconstructor{head, layout};
    PointCloud cloud;
};

void registerLive() {
    const auto shared = std::make_shared<Live>();
    shared->reconstructor.reconstruct(shared->images, {}, shared->cloud);
    const auto valid = std::ranges::count_if(shared->cloud.points(), &Point::isValid);
    std::cout << valid << " of " << shared->cloud.size() << " points valid at half the resolution\n";
    require(static_cast<std::size_t>(valid) > shared->cloud.size() / 2, "half the resolution gives too few points");
    benchmark::RegisterBenchmark("972 x 600 with default settings",
                                 [shared](benchmark::State& state) {
                                     for ([[maybe_unused]] auto iteration : state)
                                         shared->reconstructor.reconstruct(shared->images, {}, shared->cloud);
                                     state.counters["images"] = static_cast<double>(shared->images.count());
                                     state.counters["frames_per_second"] = benchmark::Counter(
                                         static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
                                     state.counters["frames_per_second_at_least"] = 60.0;
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

} // namespace

int main(int argc, char** argv) {
    registerOneAxis();
    registerBothAxes();
    registerLive();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
