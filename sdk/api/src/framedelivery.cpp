#include "framedelivery.h"

#include "vorta/common/log.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace Vorta {

namespace {

constexpr const char* source = "VortaAPI/FrameDelivery";

void call(const FrameDelivery::Callback& callback, Frame frame) {
    try {
        callback(std::move(frame));
    } catch (const std::exception& error) {
        Log::error(source, __LINE__, "The frame callback failed: %s", error.what());
    } catch (...) {
        // Whatever a user's function throws, it must not end the program from a thread that nobody sees.
        Log::error(source, __LINE__, "The frame callback failed with an exception of an unknown kind");
    }
}

} // namespace

struct FrameDelivery::State {
    std::mutex mutex;
    std::condition_variable changed;
    Callback callback;
    std::optional<Frame> next;
    bool stopped = false;
};

FrameDelivery::FrameDelivery(Callback callback) : state_(std::make_shared<State>()) {
    state_->callback = std::move(callback);
    // Detached, because joining could wait for a function that waits for the joining thread.
    std::thread([state = state_] { run(*state); }).detach();
}

FrameDelivery::~FrameDelivery() {
    stop();
}

void FrameDelivery::setCallback(Callback callback) {
    {
        const std::lock_guard lock(state_->mutex);
        state_->callback.swap(callback);
    }
    // The previous function is destroyed here, outside the lock: its destructor is the user's code.
}

void FrameDelivery::offer(Frame frame) {
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->stopped)
            return;
        state_->next = std::move(frame);
    }
    state_->changed.notify_one();
}

void FrameDelivery::stop() {
    Callback dropped;
    {
        const std::lock_guard lock(state_->mutex);
        state_->stopped = true;
        state_->next.reset();
        state_->callback.swap(dropped);
    }
    state_->changed.notify_one();
}

void FrameDelivery::run(State& state) {
    std::unique_lock lock(state.mutex);
    for (;;) {
        state.changed.wait(lock, [&state] { return state.stopped || state.next.has_value(); });
        if (state.stopped)
            return;
        Frame frame = std::move(*state.next);
        state.next.reset();
        Callback callback = state.callback;
        lock.unlock();
        if (callback)
            call(callback, std::move(frame));
        callback = nullptr; // the last share may be this one, and its destructor is the user's code
        lock.lock();
    }
}

} // namespace Vorta
