#pragma once

#include "vorta/driver/driver.h"
#include "vorta/virtual/headfile.h"
#include "vorta/virtual/leveltable.h"
#include "vorta/virtual/view.h"

#include <cstdint>
#include <functional>
#include <span>

namespace Vorta::Virtual {

/// One capture's exposures.
struct ExposurePlan {
    Driver::HeadConfiguration configuration;
    std::span<const LevelTable> tables; ///< one per pattern
    std::span<const Driver::Pattern> patterns;
    std::uint64_t captureNumber = 0;       ///< the noise of each capture is another one
    unsigned threads = 0;                  ///< 0: one per processor
    std::function<void()> checkpoint = {}; ///< called often, on any of the threads; may throw to give up
};

/// Takes the images of all patterns. The same head, view, configuration, patterns and capture number give the same
/// images on any number of threads.
void expose(const HeadDescription& head, const View& view, const ExposurePlan& plan, Driver::ImageStack& images);

} // namespace Vorta::Virtual
