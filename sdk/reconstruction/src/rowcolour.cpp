#include "rowcolour.h"

#include "vorta/common/exceptions.h"

#include <cmath>

namespace Vorta::Reconstruction {

namespace {

/// Luma of ITU-R BT.601 in 1/256 of a grey level, for all three channels.
void makeGrey(std::uint8_t* bgra, std::size_t width) {
    for (std::size_t i = 0; i < 4 * width; i += 4) {
        const unsigned luma = 29U * bgra[i] + 150U * bgra[i + 1] + 77U * bgra[i + 2];
        bgra[i] = bgra[i + 1] = bgra[i + 2] = static_cast<std::uint8_t>((luma + 128U) >> 8U);
    }
}

} // namespace

RowColour::Buffers::Buffers(std::size_t width) : width_(width), bgra_(4 * width) {
    mosaic_.fill(std::vector<std::uint8_t>(width + 2));
    linear_.fill(std::vector<std::uint8_t>(width));
}

RowColour::RowColour(Driver::BayerLayout layout, const Kernels::Set& kernels) : kernels_(kernels) {
    switch (layout) {
    case Driver::BayerLayout::GRBG:
        greenFirst_ = true;
        redFirst_ = true;
        return;
    case Driver::BayerLayout::RGGB:
        redFirst_ = true;
        return;
    case Driver::BayerLayout::BGGR:
        return;
    case Driver::BayerLayout::GBRG:
        greenFirst_ = true;
        return;
    }
    throw ArgumentInvalidException("There is no such Bayer layout.", "bayerLayout");
}

void RowColour::prepare(const Capture& capture, std::size_t row, Buffers& buffers) const {
    const auto fixedPoint = [](double gain) { return static_cast<std::uint16_t>(std::lround(gain * 512.0)); };
    const Parameters& parameters = capture.parameters;
    const std::uint16_t colour = fixedPoint(isRed(row) ? parameters.redBalance : parameters.blueBalance);
    const std::uint16_t green = fixedPoint(1.0);
    Kernels::MosaicRow in{.saturationLevel = capture.tone.saturationLevel(),
                          .blackSum = static_cast<std::uint16_t>(std::lround(4.0 * capture.tone.blackLevel())),
                          .gain = {isGreenFirst(row) ? green : colour, isGreenFirst(row) ? colour : green}};
    for (std::size_t step = 0; step < in.phase.size(); ++step)
        in.phase[step] = capture.tone.apply(capture.images.row(step, row), buffers.linear_[step].data());
    std::uint8_t* const white = buffers.mosaic(row);
    const std::size_t width = buffers.width_;
    kernels_.mosaic(in, white, 0, width);
    // Mirrored at the border pixel, which keeps the mosaic's colours in step.
    *(white - 1) = white[width > 1 ? 1 : 0];
    white[width] = white[width > 1 ? width - 2 : 0];
}

void RowColour::make(const Capture& capture, std::size_t row, const std::uint8_t* saturated, Buffers& buffers) const {
    const std::size_t height = capture.images.height();
    const std::size_t inner = height > 1 ? 1 : 0;
    const std::size_t above = row > 0 ? row - 1 : inner;
    const std::size_t below = row + 1 < height ? row + 1 : row - inner;
    kernels_.demosaic({.above = buffers.mosaic(above),
                       .current = buffers.mosaic(row),
                       .below = buffers.mosaic(below),
                       .saturated = saturated,
                       .greenFirst = isGreenFirst(row),
                       .red = isRed(row)},
                      buffers.bgra_.data(), 0, buffers.width_);
    if (capture.parameters.colourMode == Parameters::ColourMode::Gray)
        makeGrey(buffers.bgra_.data(), buffers.width_);
}

} // namespace Vorta::Reconstruction
