#pragma once

#include "vorta/driver/pattern.h"

#include <cstddef>
#include <span>
#include <vector>

namespace Vorta::Virtual {

/// A pattern's luminance along its axis, ready for look-up at any position and blur: the light of each projector line,
/// blurred by Gaussians of 20 widths from 0.2 to 8 pixels, tabulated at four nodes per pixel.
///
/// A row's light is a box one pixel high. A half column's is a triangle over half a column to either side of its
/// centre, the width of a diamond mirror at each height; neighbours overlap, so that an even level stays even and half
/// columns are interpolated linearly.
class LevelTable {
public:
    static constexpr std::size_t nodesPerLine = 4;
    static constexpr std::size_t blurs = 20;

    /// `contrast` is full white to full black. Column patterns of the diamond lattice have two levels for each column.
    LevelTable(const Driver::Pattern& pattern, Driver::Lattice lattice, double contrast);

    /// Number of the width that fits a variance (pixels^2) best.
    [[nodiscard]] static std::size_t blurFor(float variance) noexcept;

    /// Nodes of one blur for so many rows or (whole) columns; node i lies at projector coordinate i / 4 - 0.5.
    [[nodiscard]] static constexpr std::size_t nodes(std::size_t lines) noexcept { return lines * nodesPerLine + 2; }

    /// All nodes, blur after blur.
    [[nodiscard]] std::span<const float> values() const noexcept { return values_; }

private:
    std::vector<float> values_;
};

} // namespace Vorta::Virtual
