#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vorta::Driver {

/// How a pattern addresses the projector's mirrors, which stand on a diamond grid: each column's even rows lie a
/// quarter of a column to the left of its coordinate, its odd rows a quarter to the right. `Plain` patterns have one
/// level for each column, which its even and odd rows share; `Diamond` patterns have one for each half column. Half
/// column h is centred at column (h - 0.5) / 2: even h are the even rows of column h / 2, odd h its odd rows. Rows are
/// addressed one by one in either case.
enum class Lattice : std::uint8_t { Plain, Diamond };

/// Along which projector coordinate a pattern varies.
enum class Axis : std::uint8_t { Columns, Rows };

/// One projected image: constant across one axis, so a level for each line of the other is all there is.
struct Pattern {
    Axis axis = Axis::Columns;
    /// Relative luminance 0 (dark) to 1 (full) for each projector column, half column or row, index 0 at the left
    /// (top).
    std::vector<float> levels;
};

/// The images that one capture projects, in order; the camera takes one exposure of each.
struct PatternSequence {
    Lattice lattice = Lattice::Plain;
    std::vector<Pattern> patterns;
};

} // namespace Vorta::Driver
