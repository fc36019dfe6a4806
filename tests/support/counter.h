#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace Vorta::Testing {

/// Counts what other threads do, for a test that waits for it.
class Counter {
public:
    void add() {
        const std::lock_guard lock(mutex_);
        ++count_;
        grown_.notify_all();
    }

    [[nodiscard]] int count() {
        const std::lock_guard lock(mutex_);
        return count_;
    }

    /// Whether it got that far within a minute.
    [[nodiscard]] bool waitFor(int count) {
        std::unique_lock lock(mutex_);
        return grown_.wait_for(lock, std::chrono::minutes(1), [&] { return count_ >= count; });
    }

private:
    std::mutex mutex_;
    std::condition_variable grown_;
    int count_ = 0;
};

} // namespace Vorta::Testing
