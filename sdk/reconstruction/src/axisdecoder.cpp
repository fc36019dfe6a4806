#include "axisdecoder.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace Vorta::Reconstruction {

namespace {

template <typename Planes>
std::uint32_t wordAt(const Planes& planes, std::size_t i) {
    return planes[0][i] | std::uint32_t{planes[1][i]} << 8U | std::uint32_t{planes[2][i]} << 16U;
}

} // namespace

AxisDecoder::Buffers::Buffers(const AxisDecoder& decoder, std::size_t width)
    : width_(width),
      halfPeriod_(width),
      modulation_(width),
      position_(width),
      accepted_(width),
      saturated_(width),
      linear_(decoder.imageCount() * width) {
    set_.fill(std::vector<std::uint8_t>(width));
    undecided_.fill(std::vector<std::uint8_t>(width));
}

Kernels::ReadRow AxisDecoder::Buffers::read() noexcept {
    return {.set = {set_[0].data(), set_[1].data(), set_[2].data()},
            .undecided = {undecided_[0].data(), undecided_[1].data(), undecided_[2].data()},
            .saturated = saturated_.data()};
}

AxisDecoder::AxisDecoder(const SequenceOptions& options, const AxisLayout& axis, const Kernels::DecodeSet& kernels)
    : axis_(axis),
      hasInverses_(options.inverse),
      periodPixels_(static_cast<float>(options.periodColumns)),
      kernels_(kernels) {
    if (options.code == SequenceOptions::Code::ErrorCorrecting)
        code_.emplace(axis.numberBits);
}

std::size_t AxisDecoder::imageCount() const noexcept {
    return AxisLayout::phaseSteps + (hasInverses_ ? 2 : 1) * axis_.bitCount;
}

void AxisDecoder::decode(const Capture& capture, std::size_t row, Buffers& buffers) const {
    const Kernels::CodedRow coded = codedRow(capture, row, buffers);
    const Kernels::DecodedRow decoded = buffers.decoded();
    kernels_.readBits(coded, buffers.read(), 0, buffers.width_);
    if (code_)
        repair(coded.rejectSaturated, buffers);
    else
        kernels_.resolveGray(coded, buffers.read(), decoded, 0, buffers.width_);
    kernels_.locate(coded, decoded, 0, buffers.width_);
    if (capture.parameters.rejectReflections)
        rejectReflections(coded, buffers);
}

Kernels::CodedRow AxisDecoder::codedRow(const Capture& capture, std::size_t row, Buffers& buffers) const {
    const Parameters& parameters = capture.parameters;
    Kernels::CodedRow coded{.bitCount = axis_.bitCount,
                            .hasInverses = hasInverses_,
                            .periodPixels = periodPixels_,
                            .minModulation = static_cast<float>(parameters.minModulation),
                            .minDifferenceHalves =
                                static_cast<std::uint16_t>(std::ceil(2.0 * parameters.minBitDifference)),
                            .saturationLevel = capture.tone.saturationLevel(),
                            .rejectSaturated = parameters.rejectSaturated};
    // The next row follows in memory.
    constexpr std::size_t farEnough = 1024;
    if (capture.tone.isLinear() && row + 1 < capture.images.height())
        coded.ahead = std::min(buffers.width_, farEnough);
    std::uint8_t* buffer = buffers.linear_.data();
    const auto levels = [&](std::size_t image) {
        const std::uint8_t* const linear = capture.tone.apply(capture.images.row(image, row), buffer);
        buffer += buffers.width_;
        return linear;
    };
    std::size_t image = axis_.firstPhase;
    for (const std::uint8_t*& phase : coded.phase)
        phase = levels(image++);
    image = axis_.firstBit;
    for (std::size_t bit = 0; bit < axis_.bitCount; ++bit) {
        coded.bits[bit] = levels(image++);
        if (hasInverses_)
            coded.inverses[bit] = levels(image++);
    }
    return coded;
}

/// Half periods and acceptance, as the kernel `resolveGray` finds them for the other code: at an edge its undecided
/// bits, read the other way round, must lead to the neighbour, and elsewhere, being few, to the same half period.
void AxisDecoder::repair(bool rejectSaturated, Buffers& buffers) const {
    for (std::size_t i = 0; i < buffers.width_; ++i) {
        const std::uint32_t set = wordAt(buffers.set_, i);
        const std::uint32_t undecided = wordAt(buffers.undecided_, i);
        const RepairingCode::Reading reading = code_->read(set);
        bool accepted = reading.isRepairable && !(buffers.saturated_[i] != 0 && rejectSaturated);
        if (accepted && undecided != 0) {
            const RepairingCode::Reading other = code_->read(set ^ undecided);
            accepted = other.isRepairable &&
                       std::max(reading.number, other.number) - std::min(reading.number, other.number) <= 1;
        }
        buffers.halfPeriod_[i] = static_cast<std::uint16_t>(reading.number);
        buffers.accepted_[i] = accepted ? 255 : 0;
    }
}

void AxisDecoder::rejectReflections(const Kernels::CodedRow& coded, Buffers& buffers) const {
    // The undecided bits have served by now.
    kernels_.findAmbiguous(coded, buffers.modulation_.data(), buffers.read().undecided, 0, buffers.width_);
    for (std::size_t i = 0; i < buffers.width_; ++i) {
        const std::uint32_t ambiguous = wordAt(buffers.undecided_, i);
        if (std::popcount(ambiguous) <= 1)
            continue;
        int unexplained = std::popcount(ambiguous);
        if (code_) {
            const std::size_t half = buffers.halfPeriod_[i];
            const std::uint32_t lower = half > 0 ? code_->edgeAfter(half - 1) : 0;
            const std::uint32_t upper = code_->edgeAfter(half);
            unexplained = std::min(std::popcount(ambiguous & ~lower), std::popcount(ambiguous & ~upper));
        }
        if (unexplained > 1)
            buffers.accepted_[i] = 0;
    }
}

} // namespace Vorta::Reconstruction
