#include "camera/callbackgate.h"

#include <chrono>

namespace Vorta {

void CallbackGate::open() {
    const std::scoped_lock lock{mutex_};
    open_ = true;
}

void CallbackGate::close(const std::function<void()>& deliver) {
    // A call comes to its waiting some time after it came in, so there is no single moment to deliver at.
    constexpr std::chrono::milliseconds interval{1};
    std::unique_lock lock{mutex_};
    open_ = false;
    while (!left_.wait_for(lock, interval, [this] { return inside_ == 0; })) {
        lock.unlock();
        deliver();
        lock.lock();
    }
}

void CallbackGate::pass(const std::function<void()>& call) {
    {
        const std::scoped_lock lock{mutex_};
        if (!open_)
            return;
        ++inside_;
    }
    const auto leave = [this] {
        const std::scoped_lock lock{mutex_};
        --inside_;
        left_.notify_all();
    };
    try {
        call();
    } catch (...) {
        leave();
        throw;
    }
    leave();
}

} // namespace Vorta
