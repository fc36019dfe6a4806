#pragma once

#include "vorta/common/export.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace Vorta {

/// Threads that share the rows of one image after another. They sleep between the calls of `forEachBlock`.
class VORTA_COMMON_EXPORT WorkerPool {
public:
    /// `threads` counts the caller of `forEachBlock` too; 0 = one per core.
    explicit WorkerPool(std::size_t threads);
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool();

    [[nodiscard]] std::size_t size() const noexcept { return workers_.size() + 1; }

    /// Calls `work(block, thread)` once for each 0 <= block < blocks, with 0 <= thread < size() telling which of the
    /// concurrent callers it is, and returns when all have ended. `work` must not throw. One caller at a time.
    void forEachBlock(std::size_t blocks, const std::function<void(std::size_t block, std::size_t thread)>& work);

private:
    void serve(std::size_t thread);
    void takeBlocks(std::unique_lock<std::mutex>& lock, std::size_t thread);

    std::mutex mutex_;
    std::condition_variable started_;
    std::condition_variable finished_;
    const std::function<void(std::size_t, std::size_t)>* work_ = nullptr; // the rest is guarded by mutex_ too
    std::size_t blocks_ = 0;
    std::size_t next_ = 0;    // first block that nobody has taken
    std::size_t running_ = 0; // blocks taken and not ended
    bool stopping_ = false;
    std::vector<std::thread> workers_;
};

} // namespace Vorta
