#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>
#include <vector>

/// Compares our code with a reference that does the same job, both measured in turn in the same run.
///
/// Figures with a bar: the counter `<figure>` has it in the counter `<figure>_at_most` or `<figure>_at_least`; the bar
/// of a benchmark's own time is `time_at_most`, in the benchmark's unit. bench/run makes one table of them all.
namespace VortaBench {

/// Seconds that one call took: processor time of all threads, and on the wall.
struct Duration {
    double cpu;
    double wall;
};

inline Duration measure(const std::function<void()>& work) {
    const std::clock_t cpuStart = std::clock();
    const auto wallStart = std::chrono::steady_clock::now();
    work();
    return {.cpu = static_cast<double>(std::clock() - cpuStart) / static_cast<double>(CLOCKS_PER_SEC),
            .wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count()};
}

inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

/// Registers a benchmark whose time is ours and whose counters hold the reference's time and the ratios ours /
/// reference, as medians over all iterations. `cpuLimit` and `wallLimit` (0: none) are the ratios' bars. `prepare` runs
/// before each of the two and is not measured.
inline benchmark::internal::Benchmark* compare(
    const char* name, const std::function<void()>& ours, const std::function<void()>& reference, double cpuLimit,
    double wallLimit = 0, const std::function<void()>& prepare = [] {}) {
    const auto run = [=](benchmark::State& state) {
        reference();
        ours();
        std::vector<double> ourCpu;
        std::vector<double> ourWall;
        std::vector<double> referenceCpu;
        std::vector<double> referenceWall;
        for ([[maybe_unused]] auto iteration : state) {
            prepare();
            const Duration theirTime = measure(reference);
            prepare();
            const Duration ourTime = measure(ours);
            referenceCpu.push_back(theirTime.cpu);
            referenceWall.push_back(theirTime.wall);
            ourCpu.push_back(ourTime.cpu);
            ourWall.push_back(ourTime.wall);
            state.SetIterationTime(ourTime.wall);
        }
        state.counters["cpu_ms"] = median(ourCpu) * 1e3;
        state.counters["reference_cpu_ms"] = median(referenceCpu) * 1e3;
        state.counters["cpu_ratio"] = median(ourCpu) / median(referenceCpu);
        if (cpuLimit > 0)
            state.counters["cpu_ratio_at_most"] = cpuLimit;
        state.counters["wall_ms"] = median(ourWall) * 1e3;
        state.counters["reference_wall_ms"] = median(referenceWall) * 1e3;
        state.counters["wall_ratio"] = median(ourWall) / median(referenceWall);
        if (wallLimit > 0)
            state.counters["wall_ratio_at_most"] = wallLimit;
    };
    return benchmark::RegisterBenchmark(name, run)->UseManualTime()->Unit(benchmark::kMillisecond);
}

} // namespace VortaBench
