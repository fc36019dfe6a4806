#include "livesession.h"

#include "vorta/common/log.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace Vorta {

LiveSession::LiveSession(Source source, FrameDelivery::Callback callback)
    : source_(std::move(source)),
      delivery_(std::move(callback)),
      acquisition_([this](const std::stop_token& stop) { acquire(stop); }) {}

LiveSession::~LiveSession() {
    stop();
}

void LiveSession::stop() {
    running_ = false;
    delivery_.stop();
    acquisition_.request_stop();
}

void LiveSession::acquire(const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any pause;
    auto due = std::chrono::steady_clock::now();
    try {
        while (!stop.stop_requested()) {
            delivery_.offer(source_.capture());
            // A head that is slower than the rate sets its own pace: missed beats are not caught up with.
            due = std::max(due + source_.period(), std::chrono::steady_clock::now());
            std::unique_lock lock(mutex);
            pause.wait_until(lock, stop, due, [] { return false; });
        }
    } catch (const std::exception& error) {
        if (stop.stop_requested())
            return; // closing the head ends a capture by failing it
        Log::error("VortaAPI/LiveSession", __LINE__, "Live acquisition has ended: %s", error.what());
        running_ = false;
    }
}

} // namespace Vorta
