#pragma once

#include <cstddef>
#include <functional>

namespace Vorta::Virtual {

/// Calls `work(row)` once for each row 0 <= row < rows, on `threads` threads (0: one per processor), the calling one
/// among them. After the first exception no further row starts; it is thrown again here.
void forEachRow(std::size_t rows, unsigned threads, const std::function<void(std::size_t)>& work);

} // namespace Vorta::Virtual
