#pragma once

#include <cstddef>
#include <functional>

namespace Vorta {

/// What is to be done with each of a number of tasks. `fetch` and `store` run for one task at a time, in the order of
/// the tasks, and never both at once; `work` runs for several tasks at once. `fetch` and `store` may be empty.
/// `thread` tells which of the concurrent callers it is, so that each can have memory of its own.
struct PipelineSteps {
    using Step = std::function<void(std::size_t task, std::size_t thread)>;
    Step fetch;
    Step work;
    Step store;
};

/// How many threads `runPipeline` uses, the caller's included: `wanted`, or one per core when that is 0, and never more
/// than there are tasks.
[[nodiscard]] std::size_t pipelineThreads(std::size_t tasks, std::size_t wanted) noexcept;

/// Takes each 0 <= task < tasks through the steps and returns when all are done; 0 <= thread < threads. The first
/// exception of a step stops the others and is rethrown.
void runPipeline(std::size_t tasks, std::size_t threads, const PipelineSteps& steps);

} // namespace Vorta
