#pragma once

#include "vorta/driver/pattern.h"

#include <cstddef>
#include <span>
#include <vector>

namespace Vorta::Virtual {

/// A pattern's luminance along its axis, ready for look-up at any position and blur: each projector line is a box one
/// pixel wide, blurred by Gaussians of 20 widths from 0.2 to 8 pixels, tabulated at four nodes per pixel.
class LevelTable {
public:
    static constexpr std::size_t nodesPerLine = 4;
    static constexpr std::size_t blurs = 20;

    /// `contrast` is full white to full black. Columns of a diamond lattice lie in turn a quarter of a pixel to either
    /// side of their coordinate; its rows are so close together that both kinds blend.
    LevelTable(const Driver::Pattern& pattern, Driver::Lattice lattice, double contrast);

    /// Number of the width that fits a variance (pixels^2) best.
    [[nodiscard]] static std::size_t blurFor(float variance) noexcept;

    /// Nodes of one blur; node i lies at projector coordinate i / 4 - 0.5.
    [[nodiscard]] static constexpr std::size_t nodes(std::size_t lines) noexcept { return lines * nodesPerLine + 2; }

    /// All nodes, blur after blur.
    [[nodiscard]] std::span<const float> values() const noexcept { return values_; }

private:
    std::vector<float> values_;
};

} // namespace Vorta::Virtual
