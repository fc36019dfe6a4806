#pragma once

#include <cstddef>

/// How many times the program has allocated memory by now, on all threads and in all of its libraries;
/// on Windows, where each library has functions of its own, in the program alone.
[[nodiscard]] std::size_t allocationCount();

/// From this size on, in bytes, memory is large: that of images, clouds and whatever else has a value per pixel.
inline constexpr std::size_t largeAllocation = 65'536;

/// The same as `allocationCount`, of large memory only.
[[nodiscard]] std::size_t largeAllocationCount();
