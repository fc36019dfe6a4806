#pragma once

#include <cstddef>
#include <functional>

namespace Vorta {

/// What is to be done with each of a number of tasks. `fetch` and `store` run for one task at a time, in the order of
/// the tasks, and never both at once; `work` runs for several tasks at once. `fetch` and `store` may be empty.
/// `thread` tells which of the concurrent callers it is, so that each can have memory of its own. Any thread may store
/// what another has worked on: no thread waits for a slower one, so that results need memory by their task.
struct PipelineSteps {
    std::function<void(std::size_t task, std::size_t thread)> fetch;
    std::function<void(std::size_t task, std::size_t thread)> work;
    std::function<void(std::size_t task)> store;
};

/// So many tasks at most are fetched and not stored: the result of a task may lie at task % pipelineWindow(threads).
[[nodiscard]] constexpr std::size_t pipelineWindow(std::size_t threads) noexcept {
    return 4 * threads;
}

/// How many threads `runPipeline` uses, the caller's included: `wanted`, or one per core when that is 0, and never more
/// than there are tasks.
[[nodiscard]] std::size_t pipelineThreads(std::size_t tasks, std::size_t wanted) noexcept;

/// Takes each 0 <= task < tasks through the steps and returns when all are done; 0 <= thread < threads. The first
/// exception of a step stops the others and is rethrown.
void runPipeline(std::size_t tasks, std::size_t threads, const PipelineSteps& steps);

} // namespace Vorta
