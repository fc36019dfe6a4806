#include "polynomialkernel.h"

#include <cmath>
#include <limits>

namespace Vorta::Reconstruction::PolynomialKernel {

namespace {

void evaluate(const ColumnGeometry<float>& g, const Row& in, const Kernels::RayRow& ray,
              const Kernels::DecodedRow& decoded, const Kernels::CoordinateRow& out, std::size_t begin,
              std::size_t end) {
    constexpr float invalid = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t i = begin; i < end; ++i) {
        const float a = ray.x[i];
        const float b = ray.y[i];
        const float position = decoded.position[i];
        const float t = position * in.scale - 1.0F;
        float inverseDepth = in.coefficients[in.terms - 1][i];
        for (std::size_t k = in.terms - 1; k-- > 0;)
            inverseDepth = inverseDepth * t + in.coefficients[k][i];
        const float depth = 1.0F / inverseDepth;

        // Where the projector sees the point.
        const float d1 = g.r[0] * a + g.r[1] * b + g.r[2];
        const float d2 = g.r[3] * a + g.r[4] * b + g.r[5];
        const float d3 = g.r[6] * a + g.r[7] * b + g.r[8];
        const float projectorDepth = d3 * depth + g.t[2];
        const float x = (d1 * depth + g.t[0]) / projectorDepth;
        const float y = (d2 * depth + g.t[1]) / projectorDepth;
        const float xx = x * x;
        const float yy = y * y;
        const float xy = x * y;
        const float r2 = xx + yy;
        const float radial = ((g.k3 * r2 + g.k2) * r2 + g.k1) * r2 + 1.0F;
        const float distortedX = x * radial + (2.0F * g.p1 * xy + g.p2 * (r2 + 2.0F * xx));
        const float distortedY = y * radial + (g.p1 * (r2 + 2.0F * yy) + 2.0F * g.p2 * xy);
        const float error = std::abs(distortedX - (position * g.scale + g.offset));
        const float row = distortedY * g.rowScale + g.rowOffset;
        const float opening = x * d3 - d1;
        const float lengths2 = (a * a + b * b + 1.0F) * (xx + 1.0F);
        const float steepness = opening * opening - lengths2 * g.minMeetingSine2;

        const bool valid = decoded.accepted[i] != 0 && position >= g.firstPosition && position <= g.lastPosition &&
                           depth >= in.nearMm && depth <= in.farMm && projectorDepth > 0.0F && error <= in.residual &&
                           row >= g.rowMinimum && row <= g.rowMaximum && steepness >= 0.0F;
        out.x[i] = valid ? a * depth : invalid;
        out.y[i] = valid ? b * depth : invalid;
        out.z[i] = valid ? depth : invalid;
    }
}

} // namespace

Loop reference() noexcept {
    return evaluate;
}

} // namespace Vorta::Reconstruction::PolynomialKernel
