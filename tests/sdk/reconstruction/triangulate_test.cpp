#include "simulatedhead.h"

#include "geometry.h"
#include "kernels.h"
#include "rays.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace Vorta;
namespace Kernels = Reconstruction::Kernels;

/// One ray against one column, through both implementations, which must agree.
std::array<float, 3> meet(const Driver::Calibration& head, double rayX, double rayY, double position) {
    constexpr std::size_t count = 64; // enough for the widest vector
    const Reconstruction::ColumnGeometry<float> geometry = Reconstruction::columnGeometry(head);
    const std::vector<float> x(count, static_cast<float>(rayX));
    const std::vector<float> y(count, static_cast<float>(rayY));
    std::vector<float> positions(count, static_cast<float>(position));
    std::vector<std::uint8_t> accepted(count, 255);
    std::array<std::vector<float>, 3> out;
    out.fill(std::vector<float>(count));
    std::array<float, 3> first{};
    for (const Kernels::Set* set : {&Kernels::reference(), &Kernels::vectorised()}) {
        set->triangulate(geometry, {.x = x.data(), .y = y.data()},
                         {.position = positions.data(), .accepted = accepted.data()},
                         {.x = out[0].data(), .y = out[1].data(), .z = out[2].data()}, 0, count);
        if (set == &Kernels::reference())
            first = {out[0][0], out[1][0], out[2][0]};
        else
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_TRUE(out[i][0] == first[i] || (std::isnan(out[i][0]) && std::isnan(first[i])));
    }
    return first;
}

/// Both cameras look along z; the projector is 100 mm to the right.
Driver::Calibration parallelHead() {
    Driver::Calibration head;
    head.camera = {.width = 100, .height = 100, .fx = 1000.0, .fy = 1000.0, .cx = 49.5, .cy = 49.5};
    head.projector = {.width = 200, .height = 150, .fx = 1000.0, .fy = 1000.0, .cx = 99.5, .cy = 74.5};
    head.translationMm = {-100.0, 0.0, 0.0};
    return head;
}

// A point at (10, 5, 1000): ray (0.01, 0.005); projector x = (10 - 100) / 1000 = -0.09, column 99.5 - 90 = 9.5, counted
// from the edge 10.
TEST(Triangulate, ParallelHeadByHand) {
    const std::array<float, 3> p = meet(parallelHead(), 0.01, 0.005, 10.0);
    EXPECT_NEAR(p[0], 10.0F, 1e-3F);
    EXPECT_NEAR(p[1], 5.0F, 1e-3F);
    EXPECT_NEAR(p[2], 1000.0F, 2e-3F);
}

// The outermost of the 200 columns give no points either.
TEST(Triangulate, ColumnsOutsideTheProjectorAreInvalid) {
    const Driver::Calibration head = parallelHead();
    EXPECT_FALSE(std::isnan(meet(head, 0.0, 0.0, 1.0)[2]));
    EXPECT_TRUE(std::isnan(meet(head, 0.0, 0.0, 0.99)[2]));
    EXPECT_FALSE(std::isnan(meet(head, 0.2, 0.0, 199.0)[2]));
    EXPECT_TRUE(std::isnan(meet(head, 0.2, 0.0, 199.01)[2]));
}

// The projector's rows cover y from -0.075 to 0.075 (150 rows); one row more is granted on each side.
TEST(Triangulate, RowsOutsideTheProjectorAreInvalid) {
    const Driver::Calibration head = parallelHead();
    EXPECT_FALSE(std::isnan(meet(head, 0.01, 0.0755, 10.0)[2]));
    EXPECT_TRUE(std::isnan(meet(head, 0.01, 0.0765, 10.0)[2]));
    EXPECT_FALSE(std::isnan(meet(head, 0.01, -0.0755, 10.0)[2]));
    EXPECT_TRUE(std::isnan(meet(head, 0.01, -0.0765, 10.0)[2]));
}

TEST(Triangulate, CrossingsBehindOrAtInfinityAreInvalid) {
    const Driver::Calibration head = parallelHead();
    // Ray x 0.0 and column x 0.05: they part, and meet at z = -2000.
    EXPECT_TRUE(std::isnan(meet(head, 0.0, 0.0, 150.0)[2]));
    // Parallel: column 100 looks along z.
    EXPECT_TRUE(std::isnan(meet(head, 0.0, 0.0, 100.0)[2]));
    // In front of the camera and behind the projector, which stands 500 mm ahead: at z = 250 its z is -250 and its x
    // (2.5 - 100) / -250 = 0.39, so it takes a wider projector to cover that column.
    Driver::Calibration ahead = head;
    ahead.projector.width = 1000;
    ahead.projector.cx = 99.5;
    ahead.translationMm = {-100.0, 0.0, -500.0};
    EXPECT_TRUE(std::isnan(meet(ahead, 0.01, 0.0, 100.0 + 390.0)[2]));
    // In front of both at z = 1000, ray x 0.3: (300 - 100) / 500 = 0.4.
    EXPECT_NEAR(meet(ahead, 0.3, 0.0, 100.0 + 400.0)[2], 1000.0F, 2e-3F);
}

// Both look along z, so ray (a, b, 1) and the plane through column x, with the normal (1, 0, -x), meet at the angle
// asin((a - x) / sqrt((1 + a^2 + b^2) (1 + x^2))). For x = 0.02 and b = 0 that is atan(a) - atan(0.02), which is 1
// degree at a = 0.037467; with b = 0.07 it takes a = 0.037511.
TEST(Triangulate, RaysThatGrazeTheColumnsPlaneAreInvalid) {
    Driver::Calibration head = parallelHead();
    EXPECT_TRUE(std::isnan(meet(head, 0.03745, 0.0, 120.0)[2]));
    EXPECT_NEAR(meet(head, 0.03749, 0.0, 120.0)[2], 100.0F / 0.01749F, 0.5F);
    EXPECT_TRUE(std::isnan(meet(head, 0.03749, 0.07, 120.0)[2]));
    EXPECT_FALSE(std::isnan(meet(head, 0.03753, 0.07, 120.0)[2]));
    // A projector on the other side: the same angle the other way round.
    head.translationMm = {100.0, 0.0, 0.0};
    EXPECT_TRUE(std::isnan(meet(head, 0.02 - 0.01740, 0.0, 120.0)[2]));
    EXPECT_NEAR(meet(head, 0.02 - 0.01752, 0.0, 120.0)[2], 100.0F / 0.01752F, 0.5F);
}

TEST(Triangulate, NotAcceptedPixelsAreInvalid) {
    const Driver::Calibration head = parallelHead();
    const Reconstruction::ColumnGeometry<float> geometry = Reconstruction::columnGeometry(head);
    float ray = 0.0F, position = 10.0F, x = 0.0F, y = 0.0F, z = 0.0F;
    std::uint8_t accepted = 0;
    Kernels::vectorised().triangulate(geometry, {.x = &ray, .y = &ray}, {.position = &position, .accepted = &accepted},
                                      {.x = &x, .y = &y, .z = &z}, 0, 1);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y) && std::isnan(z));
}

// Projecting a plane's points with the head's own lens model and meeting them again: with both lenses distorting,
// within 1e-3 columns, which is 2 micrometres here; single precision is given the same.
TEST(Triangulate, DistortedLensesGiveThePlaneBack) {
    for (const bool distorted : {false, true}) {
        const Driver::Calibration head = Simulation::smallHead(distorted);
        const Simulation::Plane plane{.normal = {0.2, -0.1, 0.97}, .distance = 680.0};
        std::size_t checked = 0;
        for (std::size_t row = 0; row < 150; row += 7) {
            for (std::size_t column = 0; column < 243; column += 5) {
                const auto sight = Simulation::see(head, plane, row, column);
                ASSERT_TRUE(sight);
                if (sight->projectorColumn < 0.0 || sight->projectorColumn > 1023.0 || sight->projectorRow < 0.0 ||
                    sight->projectorRow > 767.0)
                    continue;
                const std::array<double, 3> direction =
                    Simulation::ray(head.camera, static_cast<double>(column), static_cast<double>(row));
                const std::array<float, 3> p = meet(head, direction[0], direction[1], sight->projectorColumn + 0.5);
                EXPECT_NEAR(p[0], sight->point[0], 0.002);
                EXPECT_NEAR(p[1], sight->point[1], 0.002);
                EXPECT_NEAR(p[2], sight->point[2], 0.004);
                ++checked;
            }
        }
        EXPECT_GT(checked, 900U);
    }
}

TEST(Triangulate, StrongerLensesTakeMoreRefinements) {
    Driver::Calibration head = Simulation::smallHead(false);
    EXPECT_EQ(Reconstruction::columnGeometry(head).refinements, 0);
    head.projector.k1 = -0.15;
    const int moderate = Reconstruction::columnGeometry(head).refinements;
    EXPECT_GE(moderate, 1);
    head.projector.k1 = -0.4;
    EXPECT_GT(Reconstruction::columnGeometry(head).refinements, moderate);
}

TEST(Triangulate, RayRowsHoldThePixelDirections) {
    const Driver::PinholeModel camera = Simulation::smallHead(true).camera;
    std::vector<float> x(243), y(243);
    Reconstruction::CameraRays(camera).row(149, x.data(), y.data());
    for (const std::size_t column : {0U, 121U, 242U}) {
        const std::array<double, 3> expected = Simulation::ray(camera, static_cast<double>(column), 149.0);
        EXPECT_NEAR(x[column], expected[0], 1e-7);
        EXPECT_NEAR(y[column], expected[1], 1e-7);
    }
}

TEST(Triangulate, RefusesImpossibleCalibrations) {
    const auto refused = [](auto change) {
        Driver::Calibration head = parallelHead();
        change(head);
        EXPECT_THROW((void)Reconstruction::columnGeometry(head), ArgumentInvalidException);
    };
    refused([](auto& head) { head.camera.width = 0; });
    refused([](auto& head) { head.camera.height = 0; });
    refused([](auto& head) { head.projector.height = 0; });
    refused([](auto& head) { head.camera.fx = 0.0; });
    refused([](auto& head) { head.projector.fy = -1.0; });
    refused([](auto& head) { head.projector.k1 = std::numeric_limits<double>::quiet_NaN(); });
    refused([](auto& head) { head.camera.cx = std::numeric_limits<double>::infinity(); });
    refused([](auto& head) { head.translationMm = {0.0, 100.0, 0.0}; });
    refused([](auto& head) { head.translationMm[2] = std::numeric_limits<double>::infinity(); });
    refused([](auto& head) { head.rotation[4] = std::numeric_limits<double>::quiet_NaN(); });
    // x (1 - 60 x^2) turns back at x = 0.07, inside the projector's 0.1.
    refused([](auto& head) { head.projector.k1 = -60.0; });
}

} // namespace
