#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace Vorta {

/// What the user asks the controller to measure.
struct FrameSpec {
    bool raw = false;                   ///< capture once without the camera's calibration
    bool live = false;                  ///< start live acquisition instead of a capture
    bool alwaysUseMaxBrightness = true; ///< already resolved into `brightness`; kept for whoever shows the choice
    float brightness = 1.0F;            ///< projector brightness, 0 to 1
    std::chrono::microseconds exposureTime{0};
    std::uint64_t iris = 0;                     ///< iris of a single capture
    std::vector<std::uint64_t> irisHDRValues{}; ///< one capture each, in this order; HDR needs at least two
};

} // namespace Vorta
