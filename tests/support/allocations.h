#pragma once

#include <cstddef>

/// How many times the program has allocated memory by now, on all threads and in all of its libraries.
[[nodiscard]] std::size_t allocationCount();

/// From this size on, in bytes, memory is large: that of images, clouds and whatever else has a value per pixel.
inline constexpr std::size_t largeAllocation = 65'536;

/// The same as `allocationCount`, of large memory only.
[[nodiscard]] std::size_t largeAllocationCount();
