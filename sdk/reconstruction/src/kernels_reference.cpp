#include "epipolar.h"
#include "kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace Vorta::Reconstruction::Kernels {

namespace {

/// Writes a point, or none where `accepted` or the crossing deny it.
void store(const ColumnGeometry<float>& g, const RayRow& ray, const ColumnMeeting<float>& meeting,
           const Crossing<float>& crossing, bool accepted, const CoordinateRow& out, std::size_t i) {
    constexpr float invalid = std::numeric_limits<float>::quiet_NaN();
    const float depth = crossing.depthMm;
    const bool valid = accepted && meeting.row >= g.rowMinimum && meeting.row <= g.rowMaximum &&
                       meeting.error <= g.residual && crossing.steepness >= 0.0F && depth > 0.0F &&
                       depth < static_cast<float>(maxDepthMm) && crossing.projectorDepthMm > 0.0F;
    out.x[i] = valid ? ray.x[i] * depth : invalid;
    out.y[i] = valid ? ray.y[i] * depth : invalid;
    out.z[i] = valid ? depth : invalid;
}

void triangulate(const ColumnGeometry<float>& g, const RayRow& ray, const DecodedRow& columns, const CoordinateRow& out,
                 std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        const float position = columns.position[i];
        const EpipolarLine<float> line = epipolarLine(g, ray.x[i], ray.y[i]);
        const ColumnMeeting<float> meeting = meetColumn(g, line, position);
        const bool accepted = columns.accepted[i] != 0 && position >= g.firstPosition && position <= g.lastPosition;
        store(g, ray, meeting, crossAt(g, ray.x[i], ray.y[i], line, meeting.x), accepted, out, i);
    }
}

void triangulateBoth(const ColumnGeometry<float>& g, const RayRow& ray, const DecodedRow& columns, const CrossRow& rows,
                     const CoordinateRow& out, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        const float position = columns.position[i];
        const EpipolarLine<float> line = epipolarLine(g, ray.x[i], ray.y[i]);
        const ColumnMeeting<float> meeting = meetColumn(g, line, position);
        const RowCorrection<float> corrected =
            correctByRow(g, line, meeting, rows.decoded.position[i], columns.modulation[i], rows.decoded.modulation[i]);
        const bool accepted = columns.accepted[i] != 0 && rows.decoded.accepted[i] != 0 &&
                              position >= g.firstPosition && position <= g.lastPosition &&
                              corrected.distance2 <= rows.tolerance2;
        store(g, ray, meeting, crossAt(g, ray.x[i], ray.y[i], line, corrected.x), accepted, out, i);
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
    static constexpr Set set{.triangulate = triangulate,
                             .triangulateBoth = triangulateBoth,
                             .mosaic = mosaic,
                             .demosaic = demosaic,
                             .pack = pack};
    return set;
}

} // namespace Vorta::Reconstruction::Kernels
