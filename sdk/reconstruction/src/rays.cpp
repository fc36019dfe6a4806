// Compiled once for each instruction set.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "rays.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "rays.h"

#include <algorithm>
#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace Vorta::Reconstruction::HWY_NAMESPACE {

namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::ScalableTag<double>;
using Floats = hn::Rebind<float, Doubles>;
using Vector = hn::Vec<Doubles>;

struct Position {
    Vector x, y;
};

/// One step of Newton's method for distort(p) = target.
HWY_INLINE Position step(const Driver::PinholeModel& m, Position p, Position target) {
    const Doubles d;
    const auto two = hn::Set(d, 2.0);
    const auto six = hn::Set(d, 6.0);
    const auto k1 = hn::Set(d, m.k1);
    const auto k2 = hn::Set(d, m.k2);
    const auto k3 = hn::Set(d, m.k3);
    const auto p1 = hn::Set(d, m.p1);
    const auto p2 = hn::Set(d, m.p2);
    const auto xx = hn::Mul(p.x, p.x);
    const auto yy = hn::Mul(p.y, p.y);
    const auto xy = hn::Mul(p.x, p.y);
    const auto r2 = hn::Add(xx, yy);
    auto radial = hn::Add(hn::Mul(k3, r2), k2);
    radial = hn::Add(hn::Mul(radial, r2), k1);
    radial = hn::Add(hn::Mul(radial, r2), hn::Set(d, 1.0));
    auto slope = hn::Add(hn::Mul(hn::Mul(hn::Set(d, 3.0), k3), r2), hn::Mul(two, k2));
    slope = hn::Mul(two, hn::Add(hn::Mul(slope, r2), k1)); // d radial / d r2, doubled
    const auto p1x = hn::Mul(p1, p.x);
    const auto p1y = hn::Mul(p1, p.y);
    const auto p2x = hn::Mul(p2, p.x);
    const auto p2y = hn::Mul(p2, p.y);
    const auto tangentialX = hn::Add(hn::Mul(two, hn::Mul(p1, xy)), hn::Mul(p2, hn::Add(r2, hn::Mul(two, xx))));
    const auto tangentialY = hn::Add(hn::Mul(p1, hn::Add(r2, hn::Mul(two, yy))), hn::Mul(two, hn::Mul(p2, xy)));
    const auto ex = hn::Sub(hn::Add(hn::Mul(p.x, radial), tangentialX), target.x);
    const auto ey = hn::Sub(hn::Add(hn::Mul(p.y, radial), tangentialY), target.y);
    const auto dxdx = hn::Add(hn::Add(radial, hn::Mul(xx, slope)), hn::Add(hn::Mul(two, p1y), hn::Mul(six, p2x)));
    const auto dxdy = hn::Add(hn::Mul(xy, slope), hn::Mul(two, hn::Add(p1x, p2y))); // and dydx
    const auto dydy = hn::Add(hn::Add(radial, hn::Mul(yy, slope)), hn::Add(hn::Mul(six, p1y), hn::Mul(two, p2x)));
    const auto scale = hn::Div(hn::Set(d, 1.0), hn::Sub(hn::Mul(dxdx, dydy), hn::Mul(dxdy, dxdy)));
    return {hn::Sub(p.x, hn::Mul(hn::Sub(hn::Mul(ex, dydy), hn::Mul(ey, dxdy)), scale)),
            hn::Sub(p.y, hn::Mul(hn::Sub(hn::Mul(ey, dxdx), hn::Mul(ex, dxdy)), scale))};
}

void rayRow(const Driver::PinholeModel& camera, int iterations, std::size_t row, float* x, float* y) {
    const Doubles d;
    const Floats df;
    const std::size_t lanes = hn::Lanes(d);
    HWY_ALIGN float rest[2][hn::MaxLanes(d)];
    const auto v = hn::Set(d, (static_cast<double>(row) - camera.cy) / camera.fy);
    for (std::size_t i = 0; i < camera.width; i += lanes) {
        const auto u = hn::Sub(hn::Iota(d, static_cast<double>(i)), hn::Set(d, camera.cx));
        const Position target{hn::Div(u, hn::Set(d, camera.fx)), v};
        Position p = target;
        for (int k = 0; k < iterations; ++k)
            p = step(camera, p, target);
        const bool whole = i + lanes <= camera.width;
        hn::StoreU(hn::DemoteTo(df, p.x), df, whole ? x + i : rest[0]);
        hn::StoreU(hn::DemoteTo(df, p.y), df, whole ? y + i : rest[1]);
        if (!whole) {
            std::copy_n(rest[0], camera.width - i, x + i);
            std::copy_n(rest[1], camera.width - i, y + i);
        }
    }
}

} // namespace

} // namespace Vorta::Reconstruction::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "vorta/reconstruction/projection.h"

namespace Vorta::Reconstruction {

HWY_EXPORT(rayRow);

namespace {

/// How many steps bring all pixels' rays to within the rounding of single precision, as seen on a grid over the image;
/// a step squares the error, and one more is taken than the grid asks for.
int iterationsFor(const Driver::PinholeModel& camera) {
    constexpr int most = 20;
    constexpr std::size_t samples = 16;
    constexpr double accepted = 1e-9;
    int iterations = 1;
    for (std::size_t i = 0; i <= samples; ++i) {
        for (std::size_t j = 0; j <= samples; ++j) {
            const std::size_t row = i * (camera.height - 1) / samples;
            Driver::PinholeModel pixel = camera;
            pixel.width = 1;
            const std::size_t column = j * (camera.width - 1) / samples;
            pixel.cx -= static_cast<double>(column);
            const auto error = [&] {
                float x = 0.0F;
                float y = 0.0F;
                HWY_DYNAMIC_DISPATCH(rayRow)(pixel, iterations, row, &x, &y);
                const ImagePoint exact = unproject(pixel, {.x = 0.0, .y = static_cast<double>(row)});
                const auto off = [](float value, double truth) {
                    return std::abs(static_cast<double>(value) - truth) - 1e-7 * std::abs(truth);
                };
                return std::max(off(x, exact.x), off(y, exact.y));
            };
            while (iterations < most && error() > accepted)
                ++iterations;
        }
    }
    return std::min(iterations + 1, most);
}

} // namespace

CameraRays::CameraRays(const Driver::PinholeModel& camera) : camera_(camera), iterations_(iterationsFor(camera)) {}

void CameraRays::row(std::size_t row, float* x, float* y) const {
    HWY_DYNAMIC_DISPATCH(rayRow)(camera_, iterations_, row, x, y);
}

} // namespace Vorta::Reconstruction
#endif
