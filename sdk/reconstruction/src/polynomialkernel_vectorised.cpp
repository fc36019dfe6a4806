// Compiled once for each instruction set; see polynomialkernel_reference.cpp, whose operations stand here in the same
// order. Contraction to fused operations is off for both files.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "polynomialkernel_vectorised.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "polynomialkernel.h"

HWY_BEFORE_NAMESPACE();
namespace Vorta::Reconstruction::PolynomialKernel::HWY_NAMESPACE {

namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Ints = hn::RebindToSigned<Floats>;
using Vector = hn::Vec<Floats>;

HWY_INLINE Vector broadcast(float value) {
    return hn::Set(Floats(), value);
}

HWY_INLINE Vector rotate(const float* row, Vector a, Vector b) {
    return hn::Add(hn::Add(hn::Mul(broadcast(row[0]), a), hn::Mul(broadcast(row[1]), b)), broadcast(row[2]));
}

HWY_INLINE Vector inverseDepth(const Row& in, Vector position, std::size_t i) {
    const Floats d;
    const auto t = hn::Sub(hn::Mul(position, broadcast(in.scale)), broadcast(1.0F));
    auto sum = hn::LoadU(d, in.coefficients[in.terms - 1] + i);
    for (std::size_t k = in.terms - 1; k-- > 0;)
        sum = hn::Add(hn::Mul(sum, t), hn::LoadU(d, in.coefficients[k] + i));
    return sum;
}

HWY_INLINE void evaluateVector(const ColumnGeometry<float>& g, const Row& in, const Kernels::RayRow& ray,
                               const Kernels::DecodedRow& decoded, const Kernels::CoordinateRow& out, std::size_t i) {
    const Floats d;
    const Ints di;
    const auto zero = hn::Zero(d);
    const auto one = broadcast(1.0F);
    const auto two = broadcast(2.0F);
    const auto a = hn::LoadU(d, ray.x + i);
    const auto b = hn::LoadU(d, ray.y + i);
    const auto position = hn::LoadU(d, decoded.position + i);
    const auto depth = hn::Div(one, inverseDepth(in, position, i));

    const auto d1 = rotate(g.r, a, b);
    const auto d2 = rotate(g.r + 3, a, b);
    const auto d3 = rotate(g.r + 6, a, b);
    const auto projectorDepth = hn::Add(hn::Mul(d3, depth), broadcast(g.t[2]));
    const auto x = hn::Div(hn::Add(hn::Mul(d1, depth), broadcast(g.t[0])), projectorDepth);
    const auto y = hn::Div(hn::Add(hn::Mul(d2, depth), broadcast(g.t[1])), projectorDepth);
    const auto xx = hn::Mul(x, x);
    const auto yy = hn::Mul(y, y);
    const auto xy = hn::Mul(x, y);
    const auto r2 = hn::Add(xx, yy);
    auto radial = hn::Add(hn::Mul(broadcast(g.k3), r2), broadcast(g.k2));
    radial = hn::Add(hn::Mul(radial, r2), broadcast(g.k1));
    radial = hn::Add(hn::Mul(radial, r2), one);
    const auto tangentialX =
        hn::Add(hn::Mul(broadcast(2.0F * g.p1), xy), hn::Mul(broadcast(g.p2), hn::Add(r2, hn::Mul(two, xx))));
    const auto tangentialY =
        hn::Add(hn::Mul(broadcast(g.p1), hn::Add(r2, hn::Mul(two, yy))), hn::Mul(broadcast(2.0F * g.p2), xy));
    const auto distortedX = hn::Add(hn::Mul(x, radial), tangentialX);
    const auto distortedY = hn::Add(hn::Mul(y, radial), tangentialY);
    const auto target = hn::Add(hn::Mul(position, broadcast(g.scale)), broadcast(g.offset));
    const auto error = hn::Abs(hn::Sub(distortedX, target));
    const auto row = hn::Add(hn::Mul(distortedY, broadcast(g.rowScale)), broadcast(g.rowOffset));
    const auto opening = hn::Sub(hn::Mul(x, d3), d1);
    const auto rayLength2 = hn::Add(hn::Add(hn::Mul(a, a), hn::Mul(b, b)), one);
    const auto lengths2 = hn::Mul(rayLength2, hn::Add(xx, one));
    const auto steepness = hn::Sub(hn::Mul(opening, opening), hn::Mul(lengths2, broadcast(g.minMeetingSine2)));

    const auto accepted = hn::PromoteTo(di, hn::LoadU(hn::Rebind<std::uint8_t, Floats>(), decoded.accepted + i));
    auto valid = hn::RebindMask(d, hn::Gt(accepted, hn::Zero(di)));
    valid = hn::And(valid,
                    hn::And(hn::Ge(position, broadcast(g.firstPosition)), hn::Le(position, broadcast(g.lastPosition))));
    valid = hn::And(valid, hn::And(hn::Ge(depth, broadcast(in.nearMm)), hn::Le(depth, broadcast(in.farMm))));
    valid = hn::And(valid, hn::And(hn::Gt(projectorDepth, zero), hn::Le(error, broadcast(in.residual))));
    valid = hn::And(valid, hn::And(hn::Ge(row, broadcast(g.rowMinimum)), hn::Le(row, broadcast(g.rowMaximum))));
    valid = hn::And(valid, hn::Ge(steepness, zero));
    const auto invalid = hn::BitCast(d, hn::Set(hn::RebindToUnsigned<Floats>(), 0x7FC00000U));
    hn::StoreU(hn::IfThenElse(valid, hn::Mul(a, depth), invalid), d, out.x + i);
    hn::StoreU(hn::IfThenElse(valid, hn::Mul(b, depth), invalid), d, out.y + i);
    hn::StoreU(hn::IfThenElse(valid, depth, invalid), d, out.z + i);
}

void evaluate(const ColumnGeometry<float>& g, const Row& in, const Kernels::RayRow& ray,
              const Kernels::DecodedRow& decoded, const Kernels::CoordinateRow& out, std::size_t begin,
              std::size_t end) {
    const std::size_t lanes = hn::Lanes(Floats());
    std::size_t i = begin;
    for (; i + lanes <= end; i += lanes)
        evaluateVector(g, in, ray, decoded, out, i);
    reference()(g, in, ray, decoded, out, i, end);
}

Loop loop() {
    return evaluate;
}

} // namespace

} // namespace Vorta::Reconstruction::PolynomialKernel::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vorta::Reconstruction::PolynomialKernel {

HWY_EXPORT(loop);

Loop vectorised() noexcept {
    return HWY_DYNAMIC_DISPATCH(loop)();
}

} // namespace Vorta::Reconstruction::PolynomialKernel
#endif
