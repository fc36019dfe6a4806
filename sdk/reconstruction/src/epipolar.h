#pragma once

#include "geometry.h"

#include <cmath>

namespace Vorta::Reconstruction {

/// Where a camera ray and a projector column meet; see ColumnGeometry. Plain arithmetic, written for reading.
template <typename T>
struct Crossing {
    T depthMm{};          // along the camera's axis
    T projectorDepthMm{}; // along the projector's axis
    T row{};              // from the top edge of the projector's row 0
    T error{};            // |distort(x, y).x - x'| that the search has left
    T steepness{};        // negative where ray and plane meet at less than the least angle
};

template <typename T>
Crossing<T> cross(const ColumnGeometry<T>& g, T a, T b, T position) {
    const T d1 = g.r[0] * a + g.r[1] * b + g.r[2];
    const T d2 = g.r[3] * a + g.r[4] * b + g.r[5];
    const T d3 = g.r[6] * a + g.r[7] * b + g.r[8];
    const T target = position * g.scale + g.offset;

    const T minusL2 = g.t[0] * d3 - g.t[2] * d1;
    const T slope = (g.t[1] * d3 - g.t[2] * d2) / minusL2;
    const T intercept = (g.t[0] * d2 - g.t[1] * d1) / minusL2;
    const T two = T(2);

    T x = target;
    T inverseDerivative{};
    for (int step = 0; step <= g.refinements; ++step) {
        const T y = slope * x + intercept;
        const T xx = x * x;
        const T xy = x * y;
        const T r2 = xx + y * y;
        const T radial = ((g.k3 * r2 + g.k2) * r2 + g.k1) * r2 + T(1);
        const T distorted = x * radial + (two * g.p1 * xy + g.p2 * (r2 + two * xx));
        if (step == 0) {
            const T radialSlope = two * ((T(3) * g.k3 * r2 + two * g.k2) * r2 + g.k1);
            const T byX = radial + xx * radialSlope + (two * g.p1 * y + T(6) * g.p2 * x);
            const T byY = xy * radialSlope + (two * g.p1 * x + two * g.p2 * y);
            inverseDerivative = T(1) / (slope * byY + byX);
        }
        x = x - (distorted - target) * inverseDerivative;
    }

    const T y = slope * x + intercept;
    const T xx = x * x;
    const T yy = y * y;
    const T xy = x * y;
    const T r2 = xx + yy;
    const T radial = ((g.k3 * r2 + g.k2) * r2 + g.k1) * r2 + T(1);
    const T distortedX = x * radial + (two * g.p1 * xy + g.p2 * (r2 + two * xx));
    const T distortedY = y * radial + (g.p1 * (r2 + two * yy) + two * g.p2 * xy);
    const T opening = x * d3 - d1;
    const T depth = (g.t[0] - x * g.t[2]) / opening;
    const T lengths2 = (a * a + b * b + T(1)) * (xx + T(1));
    return {.depthMm = depth,
            .projectorDepthMm = depth * d3 + g.t[2],
            .row = distortedY * g.rowScale + g.rowOffset,
            .error = std::abs(distortedX - target),
            .steepness = opening * opening - lengths2 * g.minMeetingSine2};
}

} // namespace Vorta::Reconstruction
