#include "vorta/reconstruction/sequence.h"

#include "vorta/common/exceptions.h"

#include <bit>
#include <cmath>
#include <numbers>
#include <string>

namespace Vorta::Reconstruction {

namespace {

constexpr std::size_t phaseSteps = 4;
constexpr std::size_t maxHalfPeriods = 65536;

Driver::Pattern phasePattern(const AxisLayout& axis, std::size_t step) {
    Driver::Pattern pattern{.axis = axis.axis, .levels = {}};
    pattern.levels.reserve(axis.lineCount);
    for (std::size_t line = 0; line < axis.lineCount; ++line) {
        const double turns = (static_cast<double>(line) + 0.5) / static_cast<double>(axis.periodLines) +
                             static_cast<double>(step) / static_cast<double>(axis.phaseSteps);
        pattern.levels.push_back(static_cast<float>(0.5 + 0.5 * std::cos(2.0 * std::numbers::pi * turns)));
    }
    return pattern;
}

Driver::Pattern bitPattern(const AxisLayout& axis, std::size_t bit, bool inverse) {
    Driver::Pattern pattern{.axis = axis.axis, .levels = {}};
    pattern.levels.reserve(axis.lineCount);
    for (std::size_t line = 0; line < axis.lineCount; ++line) {
        const std::size_t half = line / (axis.periodLines / 2);
        const std::size_t gray = half ^ (half >> 1U);
        const bool lit = ((gray >> bit) & 1U) != 0;
        pattern.levels.push_back(lit != inverse ? 1.0F : 0.0F);
    }
    return pattern;
}

} // namespace

SequenceLayout planSequence(const Driver::PinholeModel& projector, const SequenceOptions& options) {
    if (projector.width == 0)
        throw ArgumentInvalidException("The projector has no columns.", "projector");
    if (options.lattice != Driver::Lattice::Plain)
        throw ArgumentInvalidException("Patterns for this mirror lattice are not available.", "lattice");
    if (options.periodColumns < 4 || options.periodColumns % 2 != 0)
        throw ArgumentInvalidException("The fringe period must be an even number of columns, at least 4.",
                                       "periodColumns", std::to_string(options.periodColumns));
    const std::size_t halfLines = options.periodColumns / 2;
    const std::size_t halfPeriods = (projector.width + halfLines - 1) / halfLines;
    if (halfPeriods > maxHalfPeriods)
        throw ArgumentInvalidException("The projector has too many columns for this fringe period.", "periodColumns",
                                       std::to_string(options.periodColumns));
    // At least one bit, so that a projector narrower than a half period still has its code images.
    const std::size_t bits = halfPeriods < 2 ? 1 : std::bit_width(halfPeriods - 1);
    return {.lattice = options.lattice,
            .axes = {{.axis = Driver::Axis::Columns,
                      .lineCount = projector.width,
                      .periodLines = options.periodColumns,
                      .phaseSteps = phaseSteps,
                      .firstPhase = 0,
                      .bitCount = bits,
                      .firstBit = phaseSteps}},
            .imageCount = phaseSteps + 2 * bits};
}

Driver::PatternSequence generateSequence(const SequenceLayout& layout) {
    Driver::PatternSequence sequence{.lattice = layout.lattice, .patterns = {}};
    sequence.patterns.resize(layout.imageCount);
    for (const AxisLayout& axis : layout.axes) {
        for (std::size_t step = 0; step < axis.phaseSteps; ++step)
            sequence.patterns.at(axis.firstPhase + step) = phasePattern(axis, step);
        for (std::size_t index = 0; index < axis.bitCount; ++index) {
            const std::size_t bit = axis.bitCount - 1 - index;
            sequence.patterns.at(axis.firstBit + 2 * index) = bitPattern(axis, bit, false);
            sequence.patterns.at(axis.firstBit + 2 * index + 1) = bitPattern(axis, bit, true);
        }
    }
    return sequence;
}

} // namespace Vorta::Reconstruction
