#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The inner loop of colouring depths.
namespace ColorMapLoop {

/// A ramp of up to eight segments, each beginning where the one before ends, none of them empty.
struct Ramp {
    static constexpr std::size_t maximumSegments = 8;

    std::size_t segments = 0; ///< 0: not a ramp of this kind
    float minimum = 0.0F;
    float maximum = 0.0F;
    std::uint32_t below = 0; ///< colours outside the range, 0x..RRGGBB
    std::uint32_t above = 0;
    // By segment.
    alignas(32) std::array<float, maximumSegments> from{};
    alignas(32) std::array<float, maximumSegments> length{};
    alignas(32) std::array<std::uint32_t, maximumSegments> start{}; ///< first colour
    alignas(32) std::array<float, maximumSegments> red{};           ///< last less first colour
    alignas(32) std::array<float, maximumSegments> green{};
    alignas(32) std::array<float, maximumSegments> blue{};
};

/// Writes the colours of the first values, as many as it likes, and returns their number. Bit for bit what
/// ColorMap::colourAt gives.
[[nodiscard]] std::size_t colour(const Ramp& ramp, std::span<const float> values, std::uint8_t* rgb);

} // namespace ColorMapLoop
