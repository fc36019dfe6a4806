#include "vorta/reconstruction/sequence.h"

#include "graycode.h"
#include "repairingcode.h"

#include "vorta/common/exceptions.h"

#include <bit>
#include <cmath>
#include <numbers>
#include <string>

namespace Vorta::Reconstruction {

namespace {

constexpr std::size_t maxGrayBits = 16;

AxisLayout planAxis(Driver::Axis axis, std::size_t pixels, std::size_t firstImage, const SequenceOptions& options) {
    const bool isErrorCorrecting = options.code == SequenceOptions::Code::ErrorCorrecting;
    const std::size_t halfPixels = options.periodColumns / 2;
    const std::size_t halfPeriods = (pixels + halfPixels - 1) / halfPixels;
    // At least one bit, so that a projector narrower than a half period still has its code images.
    const std::size_t numberBits = halfPeriods < 2 ? 1 : std::bit_width(halfPeriods - 1);
    if (numberBits > (isErrorCorrecting ? RepairingCode::maxNumberBits : maxGrayBits))
        throw ArgumentInvalidException("The projector has too many pixels for this code and fringe period.",
                                       "periodColumns", std::to_string(options.periodColumns));
    const bool isHalved = axis == Driver::Axis::Columns && options.lattice == Driver::Lattice::Diamond;
    const std::size_t linesPerPixel = isHalved ? 2 : 1;
    return {.axis = axis,
            .lineCount = linesPerPixel * pixels,
            .linesPerPixel = linesPerPixel,
            .periodLines = linesPerPixel * options.periodColumns,
            .firstPhase = firstImage,
            .numberBits = numberBits,
            .bitCount = isErrorCorrecting ? RepairingCode(numberBits).bitCount() : numberBits,
            .firstBit = firstImage + AxisLayout::phaseSteps};
}

Driver::Pattern phasePattern(const AxisLayout& axis, std::size_t step) {
    Driver::Pattern pattern{.axis = axis.axis, .levels = {}};
    pattern.levels.reserve(axis.lineCount);
    for (std::size_t line = 0; line < axis.lineCount; ++line) {
        const double turns = (static_cast<double>(line) + 0.5) / static_cast<double>(axis.periodLines) +
                             static_cast<double>(step) / static_cast<double>(AxisLayout::phaseSteps);
        pattern.levels.push_back(static_cast<float>(0.5 + 0.5 * std::cos(2.0 * std::numbers::pi * turns)));
    }
    return pattern;
}

/// The code words of all lines.
std::vector<std::uint32_t> lineWords(const AxisLayout& axis, SequenceOptions::Code code) {
    std::vector<std::uint32_t> words(axis.lineCount);
    const std::size_t halfLines = axis.periodLines / 2;
    if (code == SequenceOptions::Code::ErrorCorrecting) {
        const RepairingCode repairing(axis.numberBits);
        for (std::size_t line = 0; line < words.size(); ++line)
            words[line] = repairing.word(line / halfLines);
    } else {
        for (std::size_t line = 0; line < words.size(); ++line)
            words[line] = static_cast<std::uint32_t>(grayFromBinary(line / halfLines));
    }
    return words;
}

Driver::Pattern bitPattern(const AxisLayout& axis, const std::vector<std::uint32_t>& words, std::size_t bit,
                           bool inverse) {
    Driver::Pattern pattern{.axis = axis.axis, .levels = {}};
    pattern.levels.reserve(axis.lineCount);
    for (const std::uint32_t word : words)
        pattern.levels.push_back((word >> bit & 1U) != (inverse ? 1U : 0U) ? 1.0F : 0.0F);
    return pattern;
}

} // namespace

SequenceLayout planSequence(std::size_t projectorWidth, std::size_t projectorHeight, const SequenceOptions& options) {
    if (projectorWidth == 0 || projectorHeight == 0)
        throw ArgumentInvalidException("The projector has no pixels.", "projector",
                                       std::to_string(projectorWidth) + " x " + std::to_string(projectorHeight));
    if (options.periodColumns < 4 || options.periodColumns % 2 != 0)
        throw ArgumentInvalidException("The fringe period must be an even number of columns, at least 4.",
                                       "periodColumns", std::to_string(options.periodColumns));
    SequenceLayout layout{.options = options,
                          .projectorWidth = projectorWidth,
                          .projectorHeight = projectorHeight,
                          .axes = {},
                          .imageCount = 0};
    const auto add = [&layout](Driver::Axis axis, std::size_t pixels) {
        const AxisLayout added = planAxis(axis, pixels, layout.imageCount, layout.options);
        layout.imageCount = added.firstBit + (layout.options.inverse ? 2 : 1) * added.bitCount;
        layout.axes.push_back(added);
    };
    add(Driver::Axis::Columns, projectorWidth);
    if (options.rows)
        add(Driver::Axis::Rows, projectorHeight);
    return layout;
}

Driver::PatternSequence generateSequence(const SequenceLayout& layout) {
    Driver::PatternSequence sequence{.lattice = layout.options.lattice, .patterns = {}};
    for (const AxisLayout& axis : layout.axes) {
        for (std::size_t step = 0; step < AxisLayout::phaseSteps; ++step)
            sequence.patterns.push_back(phasePattern(axis, step));
        const std::vector<std::uint32_t> words = lineWords(axis, layout.options.code);
        for (std::size_t bit = axis.bitCount; bit-- > 0;) {
            sequence.patterns.push_back(bitPattern(axis, words, bit, false));
            if (layout.options.inverse)
                sequence.patterns.push_back(bitPattern(axis, words, bit, true));
        }
    }
    return sequence;
}

} // namespace Vorta::Reconstruction
