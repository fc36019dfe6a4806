#pragma once

#include "vorta/driver/driver.h"

#include <chrono>

namespace Vorta {

/// How a frame came about, beside its settings.
struct FrameInfo {
    Driver::HeadIdentity head;
    std::chrono::sys_time<std::chrono::microseconds> time; ///< start of the first exposure
    Driver::Temperatures temperatures;                     ///< at the end of the last exposure
};

} // namespace Vorta
