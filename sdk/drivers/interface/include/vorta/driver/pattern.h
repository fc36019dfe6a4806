#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vorta::Driver {

/// How the projector's mirrors are arranged: on a square grid, or on a diamond grid whose odd rows are shifted by
/// half a mirror. On the diamond grid a column's coordinate is the mean of its even rows, a quarter of a mirror to the
/// left of it, and its odd rows, a quarter to the right.
enum class Lattice : std::uint8_t { Plain, Diamond };

/// Along which projector coordinate a pattern varies.
enum class Axis : std::uint8_t { Columns, Rows };

/// One projected image: constant across one axis, so a level for each line of the other is all there is.
struct Pattern {
    Axis axis = Axis::Columns;
    /// Relative luminance 0 (dark) to 1 (full) for each projector column (or row), index 0 at the left (top).
    std::vector<float> levels;
};

/// The images that one capture projects, in order; the camera takes one exposure of each.
struct PatternSequence {
    Lattice lattice = Lattice::Plain;
    std::vector<Pattern> patterns;
};

} // namespace Vorta::Driver
