#include "decodekernels.h"
#include "graycode.h"

#include <algorithm>
#include <cmath>

namespace Vorta::Reconstruction::Kernels {

namespace {

std::uint8_t yes(bool value) {
    return value ? 255 : 0;
}

/// atan2(sine, cosine) in turns, 0 to 1; 0 when both are 0. Both are whole numbers.
float turns(float sine, float cosine) {
    const float along = std::abs(cosine);
    const float across = std::abs(sine);
    const float q = std::min(along, across) / std::max(std::max(along, across), 1.0F);
    const float qq = q * q;
    float sum = arcTangentTurns.back();
    for (std::size_t i = arcTangentTurns.size() - 1; i-- > 0;)
        sum = sum * qq + arcTangentTurns[i];
    float angle = sum * q;
    if (across > along)
        angle = 0.25F - angle;
    if (cosine < 0.0F)
        angle = 0.5F - angle;
    if (sine < 0.0F)
        angle = 1.0F - angle;
    return angle;
}

std::array<int, 4> phaseLevels(const CodedRow& in, std::size_t i) {
    return {in.phase[0][i], in.phase[1][i], in.phase[2][i], in.phase[3][i]};
}

/// A bit's difference in half grey levels.
int differenceHalves(const CodedRow& in, std::size_t bit, std::size_t i, int phaseSum) {
    return in.hasInverses ? 2 * (int{in.bits[bit][i]} - int{in.inverses[bit][i]}) : 4 * int{in.bits[bit][i]} - phaseSum;
}

void readBits(const CodedRow& in, const ReadRow& out, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        const std::array<int, 4> level = phaseLevels(in, i);
        const int sum = level[0] + level[1] + level[2] + level[3];
        out.saturated[i] = yes(*std::ranges::max_element(level) >= int{in.saturationLevel});
        std::uint32_t set = 0;
        std::uint32_t undecided = 0;
        for (std::size_t b = 0; b < in.bitCount; ++b) {
            const int difference = differenceHalves(in, b, i, sum);
            set = 2 * set + (difference > 0 ? 1U : 0U);
            undecided = 2 * undecided + (std::abs(difference) < int{in.minDifferenceHalves} ? 1U : 0U);
        }
        for (std::size_t plane = 0; 8 * plane < in.bitCount; ++plane) {
            out.set[plane][i] = static_cast<std::uint8_t>(set >> 8 * plane);
            out.undecided[plane][i] = static_cast<std::uint8_t>(undecided >> 8 * plane);
        }
    }
}

void resolveGray(const CodedRow& in, const ReadRow& read, const DecodedRow& out, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        unsigned set = read.set[0][i];
        unsigned undecided = read.undecided[0][i];
        if (in.bitCount > 8) {
            set |= unsigned{read.set[1][i]} << 8U;
            undecided |= unsigned{read.undecided[1][i]} << 8U;
        }
        // Neighbouring half periods differ in one bit, so the other reading of an undecided bit must be a neighbour.
        const unsigned half = binaryFromGray(set);
        const unsigned other = binaryFromGray(set ^ undecided);
        const bool decided = std::max(half, other) - std::min(half, other) <= 1;
        out.halfPeriod[i] = static_cast<std::uint16_t>(half);
        out.accepted[i] = yes(decided && !(read.saturated[i] != 0 && in.rejectSaturated));
    }
}

void locate(const CodedRow& in, const DecodedRow& out, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        const std::array<int, 4> level = phaseLevels(in, i);
        // With step k at a + A cos(phase + k pi / 2): I0 - I2 = 2 A cos(phase), I3 - I1 = 2 A sin(phase).
        const auto cosine = static_cast<float>(level[0] - level[2]);
        const auto sine = static_cast<float>(level[3] - level[1]);
        const float modulation = 0.5F * std::sqrt(cosine * cosine + sine * sine);
        const float phase = turns(sine, cosine);

        // The period that brings the phase nearest to the middle of the half period: an error of one half period at a
        // code edge is repaired.
        const float middle = static_cast<float>(out.halfPeriod[i]) * 0.5F + 0.25F;
        const float periods = std::floor(middle - phase + 0.5F) + phase;
        const bool agrees = std::abs(periods - middle) <= maxCodeDistance;
        out.modulation[i] = modulation;
        out.position[i] = periods * in.periodPixels;
        out.accepted[i] = yes(out.accepted[i] != 0 && modulation >= in.minModulation && agrees);
    }
}

void findAmbiguous(const CodedRow& in, const float* modulation, const BitPlanes& ambiguous, std::size_t begin,
                   std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        const std::array<int, 4> level = phaseLevels(in, i);
        const int sum = level[0] + level[1] + level[2] + level[3];
        const int least = 2 * static_cast<int>(modulation[i]); // half grey levels
        std::uint32_t found = 0;
        for (std::size_t b = 0; b < in.bitCount; ++b)
            found = 2 * found + (std::abs(differenceHalves(in, b, i, sum)) < least ? 1U : 0U);
        for (std::size_t plane = 0; 8 * plane < in.bitCount; ++plane)
            ambiguous[plane][i] = static_cast<std::uint8_t>(found >> 8 * plane);
    }
}

} // namespace

const DecodeSet& decodeReference() noexcept {
    static constexpr DecodeSet set{
        .readBits = readBits, .resolveGray = resolveGray, .locate = locate, .findAmbiguous = findAmbiguous};
    return set;
}

} // namespace Vorta::Reconstruction::Kernels
