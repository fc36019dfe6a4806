#pragma once

#include "decodekernels.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// A row of pixels whose image values a test sets one by one, and what decoding makes of it.
class CodedPixels {
public:
    CodedPixels(std::size_t width, std::size_t bitCount) : width_(width), bitCount_(bitCount) {
        for (auto& image : phase_)
            image.assign(width, 0);
        bits_.assign(2 * bitCount, std::vector<std::uint8_t>(width, 0));
        for (auto& plane : set)
            plane.resize(width);
        for (auto& plane : undecided)
            plane.resize(width);
        halfPeriod.resize(width);
        modulation.resize(width);
        position.resize(width);
        accepted.resize(width);
        saturated.resize(width);
    }

    void setPhases(std::size_t pixel, std::array<int, 4> levels) {
        for (std::size_t k = 0; k < 4; ++k)
            phase_[k][pixel] = static_cast<std::uint8_t>(levels[k]);
    }
    /// Image `2 * bit` and its inverse, bit 0 being the most significant.
    void setBit(std::size_t pixel, std::size_t bit, int pattern, int inverse) {
        bits_[2 * bit][pixel] = static_cast<std::uint8_t>(pattern);
        bits_[2 * bit + 1][pixel] = static_cast<std::uint8_t>(inverse);
    }
    /// Clear bits, 40 grey levels apart, that spell the Gray code of a half period.
    void setCode(std::size_t pixel, std::size_t half) {
        const std::size_t gray = half ^ (half >> 1U);
        for (std::size_t bit = 0; bit < bitCount_; ++bit) {
            const bool lit = ((gray >> (bitCount_ - 1 - bit)) & 1U) != 0;
            setBit(pixel, bit, lit ? 60 : 20, lit ? 20 : 60);
        }
    }

    [[nodiscard]] Vorta::Reconstruction::Kernels::CodedRow in() const {
        Vorta::Reconstruction::Kernels::CodedRow row = parameters;
        row.bitCount = bitCount_;
        for (std::size_t k = 0; k < 4; ++k)
            row.phase[k] = phase_[k].data();
        for (std::size_t bit = 0; bit < bitCount_; ++bit) {
            row.bits[bit] = bits_[2 * bit].data();
            row.inverses[bit] = bits_[2 * bit + 1].data();
        }
        return row;
    }
    [[nodiscard]] Vorta::Reconstruction::Kernels::ReadRow read() {
        return {.set = {set[0].data(), set[1].data(), set[2].data()},
                .undecided = {undecided[0].data(), undecided[1].data(), undecided[2].data()},
                .saturated = saturated.data()};
    }
    [[nodiscard]] Vorta::Reconstruction::Kernels::DecodedRow out() {
        return {.halfPeriod = halfPeriod.data(),
                .modulation = modulation.data(),
                .position = position.data(),
                .accepted = accepted.data()};
    }
    /// As a Gray code.
    void decode(const Vorta::Reconstruction::Kernels::DecodeSet& kernels) {
        kernels.readBits(in(), read(), 0, width_);
        kernels.resolveGray(in(), read(), out(), 0, width_);
        kernels.locate(in(), out(), 0, width_);
    }

    std::vector<std::uint8_t>& phaseImage(std::size_t step) { return phase_[step]; }
    std::vector<std::uint8_t>& bitImage(std::size_t image) { return bits_[image]; }

    /// Everything but the images.
    Vorta::Reconstruction::Kernels::CodedRow parameters{
        .hasInverses = true, .periodPixels = 8.0F, .minModulation = 5.0F, .minDifferenceHalves = 6};

    std::array<std::vector<std::uint8_t>, 3> set;
    std::array<std::vector<std::uint8_t>, 3> undecided;

    std::vector<std::uint16_t> halfPeriod;
    std::vector<float> modulation;
    std::vector<float> position;
    std::vector<std::uint8_t> accepted;
    std::vector<std::uint8_t> saturated;

private:
    std::size_t width_;
    std::size_t bitCount_;
    std::array<std::vector<std::uint8_t>, 4> phase_;
    std::vector<std::vector<std::uint8_t>> bits_;
};
