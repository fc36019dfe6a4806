#pragma once

#include "framedelivery.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <stop_token>
#include <thread>

namespace Vorta {

/// One run of live acquisition: captures at a steady rate on a thread of its own until it is stopped or a capture
/// fails. Only `FrameDelivery` runs the user's code, so the acquisition thread never waits for anybody but the head.
class LiveSession {
public:
    struct Source {
        std::function<Frame()> capture;
        /// Time from the start of one capture to the start of the next, asked before each.
        std::function<std::chrono::microseconds()> period;
    };

    LiveSession(Source source, FrameDelivery::Callback callback);
    LiveSession(const LiveSession&) = delete;
    LiveSession& operator=(const LiveSession&) = delete;
    /// Stops, and waits for the capture that is under way.
    ~LiveSession();

    /// False once stopped, and once a capture has failed.
    [[nodiscard]] bool isRunning() const noexcept { return running_; }
    void setCallback(FrameDelivery::Callback callback) { delivery_.setCallback(std::move(callback)); }

    /// Ends acquisition without waiting; no callback starts afterwards.
    void stop();

private:
    void acquire(const std::stop_token& stop);

    Source source_;
    std::atomic<bool> running_ = true;
    FrameDelivery delivery_;
    std::jthread acquisition_; // last, so that it ends first
};

} // namespace Vorta
