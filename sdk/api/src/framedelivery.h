#pragma once

#include "vorta/api/frame.h"

#include <functional>
#include <memory>

namespace Vorta {

/// Hands frames to a function on a thread of its own, always the newest one: a frame that arrives while the function
/// runs replaces the one that waits.
///
/// The function may wait for the thread that calls `stop` or the destructor, so neither waits for it; a function that
/// still runs then ends by itself, on a thread that touches nothing but the frame and the function.
class FrameDelivery {
public:
    using Callback = std::function<void(Frame)>;

    explicit FrameDelivery(Callback callback);
    FrameDelivery(const FrameDelivery&) = delete;
    FrameDelivery& operator=(const FrameDelivery&) = delete;
    ~FrameDelivery();

    /// The function for the frames that are handed out from now on; an empty one drops them.
    void setCallback(Callback callback);

    /// Makes `frame` the next one to hand out.
    void offer(Frame frame);

    /// No further call of the function starts.
    void stop();

private:
    struct State;
    static void run(State& state);

    std::shared_ptr<State> state_;
};

} // namespace Vorta
