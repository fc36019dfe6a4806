#pragma once

#include <cstddef>

namespace Vorta::Testing {

/// What this process holds of the system at the moment. Linux only.
struct ProcessUsage {
    std::size_t residentBytes = 0; ///< memory that is in RAM, after freed memory was given back
    std::size_t heapBytes = 0;     ///< memory that was allocated and not freed
    std::size_t threads = 0;
    std::size_t openFiles = 0; ///< handles of any kind: files, sockets, pipes, folders that are watched
};

[[nodiscard]] ProcessUsage processUsage();

} // namespace Vorta::Testing
