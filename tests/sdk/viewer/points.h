#pragma once

#include "vorta/common/point.h"

namespace Vorta::Testing {

/// A point without colour at a place in mm.
inline Point at(double x, double y, double z) {
    return {.x = static_cast<float>(x), .y = static_cast<float>(y), .z = static_cast<float>(z)};
}

} // namespace Vorta::Testing
