#pragma once

#include <cstddef>

/// How many times the program has allocated memory by now, on all threads.
[[nodiscard]] std::size_t allocationCount();
