#include "epipolar.h"
#include "kernels.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace Vorta::Reconstruction::Kernels {

namespace {

std::uint8_t yes(bool value) {
    return value ? 255 : 0;
}

unsigned binaryFromGray(unsigned gray) {
    for (unsigned shift = 1; shift < maxBits; shift *= 2)
        gray ^= gray >> shift;
    return gray;
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

struct Code {
    unsigned halfPeriod;
    bool decided; // no undecided bit, or one at whose edge the pixel lies
};

Code readCode(const CodedRow& in, std::size_t i) {
    unsigned gray = 0;
    unsigned undecided = 0;
    for (std::size_t b = 0; b < in.bitCount; ++b) {
        const int difference = int{in.bits[2 * b][i]} - int{in.bits[2 * b + 1][i]};
        gray = 2 * gray + (difference > 0 ? 1U : 0U);
        undecided = 2 * undecided + (std::abs(difference) < int{in.minBitDifference} ? 1U : 0U);
    }
    // Neighbouring half periods differ in one bit, so the other reading of that bit must be a neighbour.
    const unsigned read = binaryFromGray(gray);
    const unsigned other = binaryFromGray(gray ^ undecided);
    return {.halfPeriod = read, .decided = std::max(read, other) - std::min(read, other) <= 1};
}

void decode(const CodedRow& in, const DecodedRow& out, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        const std::array<int, 4> level{in.phase[0][i], in.phase[1][i], in.phase[2][i], in.phase[3][i]};
        // With step k at a + A cos(phase + k pi / 2): I0 - I2 = 2 A cos(phase), I3 - I1 = 2 A sin(phase).
        const auto cosine = static_cast<float>(level[0] - level[2]);
        const auto sine = static_cast<float>(level[3] - level[1]);
        const float modulation = 0.5F * std::sqrt(cosine * cosine + sine * sine);
        const float phase = turns(sine, cosine);

        // The period that brings the phase nearest to the middle of the half period: an error of one half period at a
        // code edge is repaired.
        const Code code = readCode(in, i);
        const float middle = static_cast<float>(code.halfPeriod) * 0.5F + 0.25F;
        const float periods = std::floor(middle - phase + 0.5F) + phase;
        const bool agrees = std::abs(periods - middle) <= maxCodeDistance;

        const bool saturated = *std::ranges::max_element(level) >= int{in.saturationLevel};
        out.halfPeriod[i] = static_cast<std::uint16_t>(code.halfPeriod);
        out.modulation[i] = modulation;
        out.position[i] = periods * in.periodLines;
        out.saturated[i] = yes(saturated);
        out.accepted[i] =
            yes(modulation >= in.minModulation && code.decided && agrees && !(saturated && in.rejectSaturated));
    }
}

void triangulate(const ColumnGeometry<float>& g, const RayRow& ray, const DecodedRow& decoded, const CoordinateRow& out,
                 std::size_t begin, std::size_t end) {
    constexpr float invalid = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t i = begin; i < end; ++i) {
        const float position = decoded.position[i];
        const Crossing<float> c = cross(g, ray.x[i], ray.y[i], position);
        const bool valid = decoded.accepted[i] != 0 && position >= 0.0F && position <= g.lineCount &&
                           c.row >= g.rowMinimum && c.row <= g.rowMaximum && c.error <= g.residual &&
                           c.steepness >= 0.0F && c.depthMm > 0.0F && c.depthMm < static_cast<float>(maxDepthMm) &&
                           c.projectorDepthMm > 0.0F;
        out.x[i] = valid ? ray.x[i] * c.depthMm : invalid;
        out.y[i] = valid ? ray.y[i] * c.depthMm : invalid;
        out.z[i] = valid ? c.depthMm : invalid;
    }
}

void mosaic(const MosaicRow& in, std::uint8_t* white, std::size_t begin, std::size_t end) {
    // Half the sum of the four steps is twice the mean, the reading under full light; 254 is the most that an
    // unsaturated pixel may show.
    constexpr unsigned unsaturatedSum = 2 * 254;
    for (std::size_t i = begin; i < end; ++i) {
        const std::array<unsigned, 4> level{in.phase[0][i], in.phase[1][i], in.phase[2][i], in.phase[3][i]};
        const unsigned sum = level[0] + level[1] + level[2] + level[3];
        const unsigned lit = std::min(sum - std::min(sum, unsigned{in.blackSum}), unsaturatedSum);
        const unsigned halves = (lit * 128U * in.gain[i % 2]) >> 16U; // of a grey level
        const bool saturated = *std::ranges::max_element(level) >= unsigned{in.saturationLevel};
        white[i] = saturated ? std::uint8_t{255} : static_cast<std::uint8_t>(std::min((halves + 1U) / 2U, 255U));
    }
}

void demosaic(const DemosaicRow& in, std::uint8_t* bgra, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        const auto at = [i](const std::uint8_t* row, std::ptrdiff_t dx) -> unsigned {
            return row[static_cast<std::ptrdiff_t>(i) + dx];
        };
        const unsigned here = at(in.current, 0);
        const unsigned sideSum = at(in.current, -1) + at(in.current, 1);
        const unsigned upDownSum = at(in.above, 0) + at(in.below, 0);
        const unsigned cornerSum = at(in.above, -1) + at(in.above, 1) + at(in.below, -1) + at(in.below, 1);
        const bool isGreen = (i % 2 == 0) == in.greenFirst;
        const unsigned green = isGreen ? here : (sideSum + upDownSum + 2U) / 4U;
        const unsigned own = isGreen ? (sideSum + 1U) / 2U : here;                      // the row's colour
        const unsigned other = isGreen ? (upDownSum + 1U) / 2U : (cornerSum + 2U) / 4U; // the colour of the rows around
        const unsigned white = in.saturated[i];
        bgra[4 * i] = static_cast<std::uint8_t>((in.red ? other : own) | white);
        bgra[4 * i + 1] = static_cast<std::uint8_t>(green | white);
        bgra[4 * i + 2] = static_cast<std::uint8_t>((in.red ? own : other) | white);
        bgra[4 * i + 3] = 255;
    }
}

void pack(const CoordinateRow& coordinates, const float* contrast, const std::uint8_t* bgra, Point* out,
          std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i)
        out[i] = {.x = coordinates.x[i],
                  .y = coordinates.y[i],
                  .z = coordinates.z[i],
                  .contrast = contrast[i],
                  .blue = bgra[4 * i],
                  .green = bgra[4 * i + 1],
                  .red = bgra[4 * i + 2],
                  .alpha = bgra[4 * i + 3]};
}

} // namespace

const Set& reference() noexcept {
    static constexpr Set set{
        .decode = decode, .triangulate = triangulate, .mosaic = mosaic, .demosaic = demosaic, .pack = pack};
    return set;
}

} // namespace Vorta::Reconstruction::Kernels
