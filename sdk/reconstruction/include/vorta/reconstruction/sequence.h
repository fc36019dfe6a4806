#pragma once

#include "vorta/driver/calibration.h"
#include "vorta/driver/pattern.h"

#include <cstddef>
#include <vector>

namespace Vorta::Reconstruction {

/// Which image of a capture means what, for the lines (columns or rows) of one projector axis.
///
/// Lines are counted by their edges: line n covers the positions n to n + 1, so its centre in pixel coordinates is
/// position - 0.5. Every fringe period is split into two halves that carry consecutive numbers, Gray coded.
///
/// - Image `firstPhase + k`, 0 <= k < `phaseSteps`, shows 0.5 + 0.5 cos(2 pi (position / period + k / phaseSteps)) at
///   each line's centre.
/// - Image `firstBit + 2 b` shows bit `bitCount` - 1 - b of the half period's Gray code (most significant first), and
///   image `firstBit + 2 b + 1` its inverse.
struct AxisLayout {
    Driver::Axis axis = Driver::Axis::Columns;
    std::size_t lineCount = 0;   ///< projector columns (or rows)
    std::size_t periodLines = 0; ///< fringe period in lines, even
    std::size_t phaseSteps = 0;  ///< always 4
    std::size_t firstPhase = 0;
    std::size_t bitCount = 0; ///< 1 to 16
    std::size_t firstBit = 0;

    [[nodiscard]] bool operator==(const AxisLayout&) const = default;
};

/// The one description of a capture that the generator of its patterns and the decoder of its images share.
struct SequenceLayout {
    Driver::Lattice lattice = Driver::Lattice::Plain;
    std::vector<AxisLayout> axes;
    std::size_t imageCount = 0;

    [[nodiscard]] bool operator==(const SequenceLayout&) const = default;
};

struct SequenceOptions {
    Driver::Lattice lattice = Driver::Lattice::Plain;
    /// Fringe period in projector columns, even, at least 4. Noise of the column grows in proportion to it; below about
    /// eight columns defocus takes the contrast away faster than the shorter period gains.
    std::size_t periodColumns = 8;
};

/// The images that measure all columns of this projector: four phase steps and as many Gray code pairs as the half
/// periods need. Throws ArgumentInvalidException for a projector without columns, a period that is odd or below 4, more
/// than 65536 half periods, and lattices other than `Plain`.
[[nodiscard]] SequenceLayout planSequence(const Driver::PinholeModel& projector, const SequenceOptions& options = {});

/// The patterns of a layout that `planSequence` made, in the order of its images.
[[nodiscard]] Driver::PatternSequence generateSequence(const SequenceLayout& layout);

} // namespace Vorta::Reconstruction
