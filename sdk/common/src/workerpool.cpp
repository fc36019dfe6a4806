#include "vorta/common/workerpool.h"

#include <algorithm>
#include <system_error>

namespace Vorta {

WorkerPool::WorkerPool(std::size_t threads) {
    const std::size_t count = threads > 0 ? threads : std::max<std::size_t>(1, std::thread::hardware_concurrency());
    workers_.reserve(count - 1);
    try {
        for (std::size_t thread = 1; thread < count; ++thread)
            workers_.emplace_back([this, thread] { serve(thread); });
    } catch (const std::system_error&) {
        // The system gives no more threads: those that run do the same work, only later.
    }
}

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    started_.notify_all();
    for (std::thread& worker : workers_)
        worker.join();
}

void WorkerPool::forEachBlock(std::size_t blocks,
                              const std::function<void(std::size_t block, std::size_t thread)>& work) {
    std::unique_lock lock(mutex_);
    work_ = &work;
    blocks_ = blocks;
    next_ = 0;
    started_.notify_all();
    takeBlocks(lock, 0);
    finished_.wait(lock, [this] { return running_ == 0; });
    work_ = nullptr;
}

void WorkerPool::serve(std::size_t thread) {
    std::unique_lock lock(mutex_);
    for (;;) {
        started_.wait(lock, [this] { return stopping_ || next_ < blocks_; });
        if (stopping_)
            return;
        takeBlocks(lock, thread);
        if (running_ == 0)
            finished_.notify_one();
    }
}

void WorkerPool::takeBlocks(std::unique_lock<std::mutex>& lock, std::size_t thread) {
    while (next_ < blocks_) {
        const std::size_t block = next_++;
        ++running_;
        const auto& work = *work_;
        lock.unlock();
        work(block, thread);
        lock.lock();
        --running_;
    }
}

} // namespace Vorta
