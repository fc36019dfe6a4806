#include "orderedpipeline.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace Vorta {

namespace {

/// One run of a pipeline, shared by its threads.
class Run {
public:
    Run(std::size_t tasks, const PipelineSteps& steps) : tasks_(tasks), steps_(steps) {}

    /// Takes tasks until none is left.
    void serve(std::size_t thread) noexcept {
        std::unique_lock lock(mutex_);
        try {
            while (next_ < tasks_ && !failure_)
                take(lock, thread);
        } catch (...) {
            // Which exception it is matters to the caller of runPipeline, who gets the first one.
            if (!lock.owns_lock())
                lock.lock();
            if (!failure_)
                failure_ = std::current_exception();
            stored_.notify_all();
        }
    }

    void rethrow() const {
        if (failure_)
            std::rethrow_exception(failure_);
    }

private:
    void take(std::unique_lock<std::mutex>& lock, std::size_t thread) {
        const std::size_t task = next_++;
        if (steps_.fetch)
            steps_.fetch(task, thread);
        lock.unlock();
        steps_.work(task, thread);
        lock.lock();
        if (!steps_.store)
            return;
        stored_.wait(lock, [&] { return done_ == task || failure_; });
        if (failure_)
            return;
        steps_.store(task, thread);
        ++done_;
        stored_.notify_all();
    }

    const std::size_t tasks_;
    const PipelineSteps& steps_;
    std::mutex mutex_; // guards what follows, and is held by the steps that run one at a time
    std::condition_variable stored_;
    std::size_t next_ = 0; // first task that nobody has taken
    std::size_t done_ = 0; // first task that is not stored
    std::exception_ptr failure_;
};

} // namespace

std::size_t pipelineThreads(std::size_t tasks, std::size_t wanted) noexcept {
    const std::size_t cores = std::max<std::size_t>(1, std::thread::hardware_concurrency());
    return std::max<std::size_t>(1, std::min(tasks, wanted > 0 ? wanted : cores));
}

void runPipeline(std::size_t tasks, std::size_t threads, const PipelineSteps& steps) {
    Run run(tasks, steps);
    {
        std::vector<std::jthread> others;
        try {
            for (std::size_t thread = 1; thread < threads; ++thread)
                others.emplace_back([&run, thread] { run.serve(thread); });
        } catch (const std::system_error&) {
            // The system gives no more threads: those that run do the same work, only later.
        }
        run.serve(0);
    }
    run.rethrow();
}

} // namespace Vorta
