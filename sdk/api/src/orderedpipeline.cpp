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
    Run(std::size_t tasks, std::size_t threads, const PipelineSteps& steps)
        : tasks_(tasks), steps_(steps), isReady_(pipelineWindow(threads)) {}

    /// Takes tasks until none is left.
    void serve(std::size_t thread) noexcept {
        std::unique_lock lock(mutex_);
        try {
            for (;;) {
                changed_.wait(lock, [this] { return isOver() || mayTake(); });
                if (isOver())
                    return;
                take(lock, thread);
            }
        } catch (...) {
            // Which exception it is matters to the caller of runPipeline, who gets the first one.
            if (!lock.owns_lock())
                lock.lock();
            if (!failure_)
                failure_ = std::current_exception();
            changed_.notify_all();
        }
    }

    void rethrow() const {
        if (failure_)
            std::rethrow_exception(failure_);
    }

private:
    [[nodiscard]] bool isOver() const { return next_ == tasks_ || failure_; }

    [[nodiscard]] bool mayTake() const {
        const bool hasRoom = !steps_.store || next_ < stored_ + isReady_.size();
        return hasRoom && !(steps_.fetch && isStoring_);
    }

    void take(std::unique_lock<std::mutex>& lock, std::size_t thread) {
        const std::size_t task = next_++;
        if (steps_.fetch)
            steps_.fetch(task, thread);
        lock.unlock();
        steps_.work(task, thread);
        lock.lock();
        if (!steps_.store)
            return;
        isReady_[task % isReady_.size()] = true;
        if (!isStoring_)
            storeReady(lock);
    }

    /// Stores all whose turn it is, also those that become ready meanwhile.
    void storeReady(std::unique_lock<std::mutex>& lock) {
        isStoring_ = true;
        while (isReady_[stored_ % isReady_.size()] && !failure_) {
            const std::size_t task = stored_;
            lock.unlock();
            steps_.store(task);
            lock.lock();
            isReady_[task % isReady_.size()] = false;
            ++stored_;
            changed_.notify_all();
        }
        isStoring_ = false;
        changed_.notify_all();
    }

    const std::size_t tasks_;
    const PipelineSteps& steps_;
    std::mutex mutex_; // guards what follows, and is held by `fetch`
    std::condition_variable changed_;
    std::size_t next_ = 0;   // first task that nobody has taken
    std::size_t stored_ = 0; // first task that is not stored
    bool isStoring_ = false;
    std::vector<bool> isReady_; // for `store`, by the task's place in the window
    std::exception_ptr failure_;
};

} // namespace

std::size_t pipelineThreads(std::size_t tasks, std::size_t wanted) noexcept {
    const std::size_t cores = std::max<std::size_t>(1, std::thread::hardware_concurrency());
    return std::max<std::size_t>(1, std::min(tasks, wanted > 0 ? wanted : cores));
}

void runPipeline(std::size_t tasks, std::size_t threads, const PipelineSteps& steps) {
    Run run(tasks, threads, steps);
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
