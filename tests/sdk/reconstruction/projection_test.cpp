#include "vorta/reconstruction/projection.h"

#include <gtest/gtest.h>

namespace {

using namespace Vorta;
using Reconstruction::ImagePoint;
using Reconstruction::project;
using Reconstruction::unproject;

TEST(Projection, PinholeWithoutDistortion) {
    const Driver::PinholeModel model{.width = 100, .height = 80, .fx = 200.0, .fy = 210.0, .cx = 49.5, .cy = 39.5};
    const ImagePoint pixel = project(model, {.x = 0.25, .y = -0.1});
    EXPECT_DOUBLE_EQ(pixel.x, 99.5);
    EXPECT_DOUBLE_EQ(pixel.y, 18.5);
    const ImagePoint ray = unproject(model, {.x = 99.5, .y = 18.5});
    EXPECT_DOUBLE_EQ(ray.x, 0.25);
    EXPECT_DOUBLE_EQ(ray.y, -0.1);
}

// x = 0.2, y = 0.1: r2 = 0.05, radial = 1 - 0.1 * 0.05 + 0.2 * 0.0025 + 0.4 * 0.000125 = 0.99555.
// x' = 0.19911 + 2 * 0.01 * 0.02 - 0.02 * (0.05 + 0.08) = 0.19911 + 0.0004 - 0.0026 = 0.19691
// y' = 0.099555 + 0.01 * (0.05 + 0.02) + 2 * -0.02 * 0.02 = 0.099555 + 0.0007 - 0.0008 = 0.099455
TEST(Projection, BrownConradyByHand) {
    const Driver::PinholeModel model{.width = 100,
                                     .height = 80,
                                     .fx = 1000.0,
                                     .fy = 1000.0,
                                     .cx = 10.0,
                                     .cy = 20.0,
                                     .k1 = -0.1,
                                     .k2 = 0.2,
                                     .p1 = 0.01,
                                     .p2 = -0.02,
                                     .k3 = 0.4};
    const ImagePoint pixel = project(model, {.x = 0.2, .y = 0.1});
    EXPECT_NEAR(pixel.x, 206.91, 1e-9);
    EXPECT_NEAR(pixel.y, 119.455, 1e-9);
    const ImagePoint ray = unproject(model, {.x = 206.91, .y = 119.455});
    EXPECT_NEAR(ray.x, 0.2, 1e-9);
    EXPECT_NEAR(ray.y, 0.1, 1e-9);
}

TEST(Projection, UnprojectInvertsProjectOverTheImage) {
    const Driver::PinholeModel model{.width = 1944,
                                     .height = 1200,
                                     .fx = 2400.0,
                                     .fy = 2405.0,
                                     .cx = 980.0,
                                     .cy = 590.0,
                                     .k1 = -0.12,
                                     .k2 = 0.08,
                                     .p1 = 0.0007,
                                     .p2 = -0.0004,
                                     .k3 = -0.01};
    for (int v = 0; v < 1200; v += 109) {
        for (int u = 0; u < 1944; u += 177) {
            const ImagePoint pixel =
                project(model, unproject(model, {.x = static_cast<double>(u), .y = static_cast<double>(v)}));
            EXPECT_NEAR(pixel.x, u, 1e-6);
            EXPECT_NEAR(pixel.y, v, 1e-6);
        }
    }
}

} // namespace
