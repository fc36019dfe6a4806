#pragma once

#include "vorta/driver/pattern.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vorta::Reconstruction {

/// What a capture projects. Together with the projector's size this says everything: `planSequence` gives the same
/// layout for the same options in every version of the library.
struct SequenceOptions {
    enum class Code : std::uint8_t {
        Gray,           ///< neighbouring half periods differ in one bit
        ErrorCorrecting ///< about twice the bits, of which any two may be wrong
    };

    Driver::Lattice lattice = Driver::Lattice::Plain;
    Code code = Code::Gray;
    bool inverse = false; ///< whether each code image is followed by its inverse
    bool rows = false;    ///< whether the projector's rows are coded as well
    /// Fringe period in projector pixels, even, at least 4. Noise of the position grows in proportion to it; below
    /// about eight pixels defocus takes the contrast away faster than the shorter period gains.
    std::size_t periodColumns = 8;

    [[nodiscard]] bool operator==(const SequenceOptions&) const = default;
};

/// Which image of a capture means what, for one projector axis. A line is what a pattern has a level for: a column, a
/// half column of the diamond lattice, or a row.
///
/// Lines are counted by their edges: line n covers the positions n to n + 1. As half column h is centred at column
/// (h - 0.5) / 2, a column's edges are the edges of two half columns, and a position in half columns is twice the one
/// in columns. Positions in pixels are counted from the edge of pixel 0, so pixel coordinates are position - 0.5.
///
/// Every fringe period is split into two halves that carry consecutive numbers, coded in `bitCount` bits.
///
/// - Image `firstPhase + k`, 0 <= k < 4, shows 0.5 + 0.5 cos(2 pi (position / period + k / 4)) at each line's centre.
/// - The image of bit b, 0 <= b < `bitCount`, most significant first, is `firstBit + b`; with inverses it is `firstBit
/// +
///   2 b`, and its inverse follows. Without, the four phase images take the inverse's place: their mean is the light
///   halfway between dark and lit.
struct AxisLayout {
    static constexpr std::size_t phaseSteps = 4;

    Driver::Axis axis = Driver::Axis::Columns;
    std::size_t lineCount = 0;
    std::size_t linesPerPixel = 1; ///< 2 for half columns, else 1
    std::size_t periodLines = 0;   ///< fringe period in lines, even
    std::size_t firstPhase = 0;
    std::size_t numberBits = 0; ///< binary digits of a half period's number
    std::size_t bitCount = 0;   ///< of the code: `numberBits` for Gray code, more for the error-correcting one
    std::size_t firstBit = 0;

    [[nodiscard]] bool operator==(const AxisLayout&) const = default;
};

/// The one description of a capture that the generator of its patterns and the decoder of its images share.
struct SequenceLayout {
    SequenceOptions options;
    std::size_t projectorWidth = 0;  ///< pixels
    std::size_t projectorHeight = 0; ///< pixels
    std::vector<AxisLayout> axes;    ///< the columns', then, if asked for, the rows'
    std::size_t imageCount = 0;

    [[nodiscard]] bool operator==(const SequenceLayout&) const = default;
};

/// The images that measure all columns, and if asked for all rows, of a projector: for each axis four phase steps and
/// the code images of its half periods. Rows are coded one by one on either lattice.
///
/// Throws ArgumentInvalidException for a projector without pixels, a period that is odd or below 4, and more half
/// periods than the code has numbers for: 65536 of the Gray code, 4096 of the error-correcting one.
[[nodiscard]] SequenceLayout planSequence(std::size_t projectorWidth, std::size_t projectorHeight,
                                          const SequenceOptions& options = {});

/// The patterns of a layout that `planSequence` made, in the order of its images.
[[nodiscard]] Driver::PatternSequence generateSequence(const SequenceLayout& layout);

} // namespace Vorta::Reconstruction
