#pragma once

#include <cstdint>

namespace Vorta {

/// What happened to the mouse. The numbers are part of the interface; the gaps belong to double clicks, which the
/// trackball does not use.
enum class VMouseAction : std::int32_t {
    None = 0,
    Move = 1,
    LeftPressed = 2,
    LeftReleased = 3,
    RightPressed = 5,
    RightReleased = 6,
    MiddlePressed = 8,
    MiddleReleased = 9,
    Wheel = 11,
};

/// One mouse event as the trackball takes it.
struct VMouseState {
    /// Position in widget (device-independent) pixels, from the top left.
    float x = 0.0F;
    float y = 0.0F;
    /// 120 per notch, positive away from the user; 0 except for the wheel.
    std::int32_t wheelDelta = 0;
    VMouseAction action = VMouseAction::None;
};

static_assert(sizeof(VMouseState) == 16);

} // namespace Vorta
