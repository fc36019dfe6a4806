#pragma once

#include <array>
#include <cstddef>

namespace Vorta::Reconstruction {

/// Maps grey levels on the scale of the longest exposure of a series to those of one image; see `combineClouds`.
class ToneMap {
public:
    /// `contrastRatio` is the longest exposure by the shortest, >= 1.
    explicit ToneMap(double contrastRatio);

    /// Factor for all channels of a pixel whose brightest one has this level, >= 0.
    [[nodiscard]] float gain(float level) const noexcept;

private:
    static constexpr std::size_t steps = 1024;

    float scale_; // of the square root of a level, which spreads the dark ones over the table
    std::array<float, steps + 2> gains_{};
};

} // namespace Vorta::Reconstruction
