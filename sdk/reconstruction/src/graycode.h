#pragma once

#include <cstddef>

namespace Vorta::Reconstruction {

/// The reflected binary code, in which neighbouring numbers differ in one bit (F. Gray, US patent 2632058).
[[nodiscard]] constexpr std::size_t grayFromBinary(std::size_t binary) noexcept {
    return binary ^ binary >> 1U;
}

/// The inverse, for codes of up to 16 bits.
[[nodiscard]] constexpr unsigned binaryFromGray(unsigned gray) noexcept {
    for (unsigned shift = 1; shift < 16; shift *= 2)
        gray ^= gray >> shift;
    return gray;
}

} // namespace Vorta::Reconstruction
