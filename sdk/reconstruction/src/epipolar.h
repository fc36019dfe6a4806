#pragma once

#include "geometry.h"

#include <cmath>

/// How a camera ray meets a projector column; see ColumnGeometry. Plain arithmetic, written for reading.
namespace Vorta::Reconstruction {

/// The image of a camera ray in the projector.
template <typename T>
struct EpipolarLine {
    T d1{}, d3{};           // the ray in the projector's axes
    T slope{}, intercept{}; // y = slope x + intercept
};

template <typename T>
EpipolarLine<T> epipolarLine(const ColumnGeometry<T>& g, T a, T b) {
    const T d1 = g.r[0] * a + g.r[1] * b + g.r[2];
    const T d2 = g.r[3] * a + g.r[4] * b + g.r[5];
    const T d3 = g.r[6] * a + g.r[7] * b + g.r[8];
    const T across = T(1) / (g.t[0] * d3 - g.t[2] * d1);
    return {.d1 = d1,
            .d3 = d3,
            .slope = (g.t[1] * d3 - g.t[2] * d2) * across,
            .intercept = (g.t[0] * d2 - g.t[1] * d1) * across};
}

/// A direction in the projector, with the lens model's terms.
template <typename T>
struct ProjectorPoint {
    ProjectorPoint(const ColumnGeometry<T>& g, const EpipolarLine<T>& line, T px)
        : x(px),
          y(line.slope * x + line.intercept),
          xx(x * x),
          xy(x * y),
          yy(y * y),
          r2(xx + yy),
          radial(((g.k3 * r2 + g.k2) * r2 + g.k1) * r2 + T(1)) {}

    [[nodiscard]] T distortedX(const ColumnGeometry<T>& g) const {
        return x * radial + (T(2) * g.p1 * xy + g.p2 * (r2 + T(2) * xx));
    }
    [[nodiscard]] T distortedY(const ColumnGeometry<T>& g) const {
        return y * radial + (g.p1 * (r2 + T(2) * yy) + T(2) * g.p2 * xy);
    }
    [[nodiscard]] T radialSlope(const ColumnGeometry<T>& g) const {
        return T(2) * ((T(3) * g.k3 * r2 + T(2) * g.k2) * r2 + g.k1);
    }
    /// From the top edge of the projector's row 0.
    [[nodiscard]] T row(const ColumnGeometry<T>& g) const { return distortedY(g) * g.rowScale + g.rowOffset; }

    /// By how much distortedX grows with x along the line.
    [[nodiscard]] T distortedXByX(const ColumnGeometry<T>& g, T slope) const {
        const T bend = radialSlope(g);
        const T byX = radial + xx * bend + (T(2) * g.p1 * y + T(6) * g.p2 * x);
        return slope * crossDerivative(g, bend) + byX;
    }
    /// By how much distortedY grows with x along the line.
    [[nodiscard]] T distortedYByX(const ColumnGeometry<T>& g, T slope) const {
        const T bend = radialSlope(g);
        const T byY = radial + yy * bend + (T(6) * g.p1 * y + T(2) * g.p2 * x);
        return slope * byY + crossDerivative(g, bend);
    }
    /// Of distortedX by y and of distortedY by x.
    [[nodiscard]] T crossDerivative(const ColumnGeometry<T>& g, T bend) const {
        return xy * bend + (T(2) * g.p1 * x + T(2) * g.p2 * y);
    }

    T x, y, xx, xy, yy, r2, radial;
};

/// Where an epipolar line meets a column.
template <typename T>
struct ColumnMeeting {
    T x{};
    T xByDistortedX{}; // close to there
    T error{};         // |distort(x, y).x - x'| before the last step
    T row{};           // before the last step, from the top edge of the projector's row 0
};

template <typename T>
ColumnMeeting<T> meetColumn(const ColumnGeometry<T>& g, const EpipolarLine<T>& line, T position) {
    const T target = position * g.scale + g.offset;
    ColumnMeeting<T> meeting{.x = target};
    for (int step = 0; step <= g.refinements; ++step) {
        const ProjectorPoint<T> p(g, line, meeting.x);
        if (step == 0)
            meeting.xByDistortedX = T(1) / p.distortedXByX(g, line.slope);
        const T error = p.distortedX(g) - target;
        meeting.x = meeting.x - error * meeting.xByDistortedX;
        meeting.error = std::abs(error);
        meeting.row = p.row(g);
    }
    return meeting;
}

/// How a column's meeting changes when the row is measured as well.
template <typename T>
struct RowCorrection {
    T x{};         // of the meeting, corrected
    T distance2{}; // of the measured point from the epipolar line in projector pixels, squared
};

/// The measured point (column, row) is off the line; both positions have noise in inverse proportion to their
/// modulations. One Gauss-Newton step along the line, whose pixel image climbs by `tilt` rows per column, minimises the
/// sum of both residuals' squares over their variances.
template <typename T>
RowCorrection<T> correctByRow(const ColumnGeometry<T>& g, const EpipolarLine<T>& line, const ColumnMeeting<T>& meeting,
                              T row, T columnModulation, T rowModulation) {
    const ProjectorPoint<T> p(g, line, meeting.x);
    const T xByColumn = g.scale * meeting.xByDistortedX;
    const T tilt = p.distortedYByX(g, line.slope) * g.rowScale * xByColumn;
    const T miss = row - p.row(g);
    const T columnWeight = columnModulation * columnModulation;
    const T pull = rowModulation * rowModulation * tilt;
    const T columns = pull * miss / (columnWeight + pull * tilt);
    return {.x = meeting.x + columns * xByColumn, .distance2 = miss * miss / (tilt * tilt + T(1))};
}

/// A ray's point that the projector sees at x.
template <typename T>
struct Crossing {
    T depthMm{};          // along the camera's axis
    T projectorDepthMm{}; // along the projector's axis
    T steepness{};        // negative where ray and plane meet at less than the least angle
};

template <typename T>
Crossing<T> crossAt(const ColumnGeometry<T>& g, T a, T b, const EpipolarLine<T>& line, T x) {
    const T opening = x * line.d3 - line.d1;
    const T depth = (g.t[0] - x * g.t[2]) / opening;
    const T lengths2 = (a * a + b * b + T(1)) * (x * x + T(1));
    return {.depthMm = depth,
            .projectorDepthMm = depth * line.d3 + g.t[2],
            .steepness = opening * opening - lengths2 * g.minMeetingSine2};
}

} // namespace Vorta::Reconstruction
