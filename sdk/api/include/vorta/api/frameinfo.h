#pragma once

#include "vorta/driver/driver.h"

#include <chrono>
#include <memory>
#include <string>

namespace Vorta {

/// What a measurement was computed from.
struct RawImages {
    std::shared_ptr<const Driver::ImageStack> images{}; ///< rows x columns of the cloud; null: none were kept
    Driver::BayerLayout bayerLayout = Driver::BayerLayout::BGGR;
    Driver::HeadDimensions dimensions{}; ///< of the head that took them, each at most 16384
};

/// How a frame came about, beside its settings.
struct FrameInfo {
    Driver::HeadIdentity head;
    std::chrono::sys_time<std::chrono::microseconds> time; ///< start of the first exposure
    Driver::Temperatures temperatures;                     ///< at the end of the last exposure
    std::string calibrationText{};                         ///< YAML, at most 1 MiB; empty when nothing was calibrated
    RawImages raw{};
};

} // namespace Vorta
