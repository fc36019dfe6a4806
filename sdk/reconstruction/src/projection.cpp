#include "vorta/reconstruction/projection.h"

#include <cmath>

namespace Vorta::Reconstruction {

namespace {

struct Distorted {
    ImagePoint point;
    // Derivatives of the distorted position by the undistorted one.
    double dxdx = 1.0;
    double dxdy = 0.0;
    double dydx = 0.0;
    double dydy = 1.0;
};

Distorted distort(const Driver::PinholeModel& m, ImagePoint p) {
    const double xx = p.x * p.x;
    const double yy = p.y * p.y;
    const double xy = p.x * p.y;
    const double r2 = xx + yy;
    const double radial = 1.0 + r2 * (m.k1 + r2 * (m.k2 + r2 * m.k3));
    const double slope = 2.0 * (m.k1 + r2 * (2.0 * m.k2 + 3.0 * r2 * m.k3)); // d radial / d r2, doubled
    return {.point = {.x = p.x * radial + 2.0 * m.p1 * xy + m.p2 * (r2 + 2.0 * xx),
                      .y = p.y * radial + m.p1 * (r2 + 2.0 * yy) + 2.0 * m.p2 * xy},
            .dxdx = radial + xx * slope + 2.0 * m.p1 * p.y + 6.0 * m.p2 * p.x,
            .dxdy = xy * slope + 2.0 * m.p1 * p.x + 2.0 * m.p2 * p.y,
            .dydx = xy * slope + 2.0 * m.p1 * p.x + 2.0 * m.p2 * p.y,
            .dydy = radial + yy * slope + 6.0 * m.p1 * p.y + 2.0 * m.p2 * p.x};
}

} // namespace

ImagePoint project(const Driver::PinholeModel& model, ImagePoint normalised) noexcept {
    const ImagePoint d = distort(model, normalised).point;
    return {.x = model.fx * d.x + model.cx, .y = model.fy * d.y + model.cy};
}

ImagePoint unproject(const Driver::PinholeModel& model, ImagePoint pixel) noexcept {
    const ImagePoint target{.x = (pixel.x - model.cx) / model.fx, .y = (pixel.y - model.cy) / model.fy};
    ImagePoint p = target;
    for (int iteration = 0; iteration < 20; ++iteration) {
        const Distorted d = distort(model, p);
        const double ex = d.point.x - target.x;
        const double ey = d.point.y - target.y;
        const double determinant = d.dxdx * d.dydy - d.dxdy * d.dydx;
        if (std::abs(ex) + std::abs(ey) < 1e-13 || std::abs(determinant) < 1e-12)
            break;
        p.x -= (ex * d.dydy - ey * d.dxdy) / determinant;
        p.y -= (ey * d.dxdx - ex * d.dydx) / determinant;
    }
    return p;
}

} // namespace Vorta::Reconstruction
