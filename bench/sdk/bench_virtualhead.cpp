// Times one capture of heads/turntable (972 x 600 pixels, 20 patterns): while the turntable comes to new poses, when it
// comes round to poses that are kept, and the exposures alone.

#include "vorta/virtual/headfile.h"
#include "vorta/virtual/scene.h"
#include "vorta/virtual/simulation.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <vector>

using namespace Vorta;

namespace {

struct Bench {
    explicit Bench(double degreesPerCapture)
        : head(Virtual::loadHead(std::filesystem::path(VORTA_SOURCE_DIR) / "heads/turntable/turntable.yml")),
          scene(Virtual::loadScene(head.sceneFile)) {
        scene.turntable->degreesPerCapture = degreesPerCapture;
        for (int i = 0; i < 20; ++i)
            sequence.patterns.push_back(
                {.axis = Driver::Axis::Columns,
                 .levels = std::vector<float>(head.calibration.projector.width, 0.05F * static_cast<float>(i))});
    }

    void run(benchmark::State& state, int before) const {
        Virtual::Simulation simulation(head, scene);
        Driver::ImageStack images;
        const auto capture = [&] { simulation.acquire({.iris = 31, .maxIris = 63}, sequence, images); };
        for (int i = 0; i < before; ++i)
            capture();
        for ([[maybe_unused]] auto iteration : state)
            capture();
    }

    Virtual::HeadDescription head;
    Virtual::Scene scene;
    Driver::PatternSequence sequence;
};

void newPoses(benchmark::State& state) {
    Bench(1.41421356).run(state, 1);
}
void keptPoses(benchmark::State& state) {
    Bench(60.0).run(state, 7);
}
void exposures(benchmark::State& state) {
    Bench(0.0).run(state, 1);
}

BENCHMARK(newPoses)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(keptPoses)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(exposures)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
