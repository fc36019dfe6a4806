#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

namespace Vorta {

/// Stands between the library's thread and an object that it calls: once closed, nobody is inside any more and nobody
/// gets in, so the object may change or go. Closed at first; may be opened again. Any thread.
class CallbackGate {
public:
    void open();

    /// Returns once nobody is inside. A call inside may be waiting for this very thread: `deliver` is called meanwhile
    /// for what it waits for.
    void close(const std::function<void()>& deliver);

    /// Makes the call, unless the gate is closed.
    void pass(const std::function<void()>& call);

private:
    std::mutex mutex_;
    std::condition_variable left_;
    bool open_ = false;
    int inside_ = 0;
};

} // namespace Vorta
