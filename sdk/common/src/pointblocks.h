#pragma once

#include "vorta/common/point.h"

#include <cstddef>
#include <memory>

namespace Vorta {

/// Memory for `size` points of arbitrary value; throws std::bad_alloc. Large blocks that nobody holds any more are kept
/// for the next of the same size, up to four: having the system map fresh memory takes longer than filling it, and
/// live acquisition would do so with every frame. Any thread.
[[nodiscard]] std::shared_ptr<Point[]> takePointBlock(std::size_t size);

} // namespace Vorta
