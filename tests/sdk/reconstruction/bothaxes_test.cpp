// Columns and rows together: points from both, and points that only one of them believes in.

#include "geometry.h"
#include "kernels.h"
#include "simulatedhead.h"

#include "vorta/reconstruction/reconstructor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>

namespace {

using namespace Vorta;
using Driver::Lattice;
using Reconstruction::Parameters;
using Reconstruction::Reconstructor;
using Reconstruction::SequenceOptions;
using Simulation::Light;
using Simulation::Plane;
using enum Reconstruction::SequenceOptions::Code;
namespace Kernels = Reconstruction::Kernels;

/// Depth of one pixel from both positions, through both implementations, which must agree.
float meet(const Driver::Calibration& head, std::array<double, 2> ray, std::array<double, 2> position,
           std::array<double, 2> modulation, double tolerance, std::array<bool, 2> accepted = {true, true}) {
    constexpr std::size_t count = 64; // enough for the widest vector
    const auto fill = [](double value) { return std::vector<float>(count, static_cast<float>(value)); };
    const std::vector<float> rayX = fill(ray[0]);
    const std::vector<float> rayY = fill(ray[1]);
    std::vector<float> u = fill(position[0]), v = fill(position[1]), mu = fill(modulation[0]), mv = fill(modulation[1]);
    std::vector<std::uint8_t> columnsAccepted(count, accepted[0] ? 255 : 0), rowsAccepted(count, accepted[1] ? 255 : 0);
    const Kernels::DecodedRow columns{
        .modulation = mu.data(), .position = u.data(), .accepted = columnsAccepted.data()};
    const Kernels::CrossRow rows{
        .decoded = {.modulation = mv.data(), .position = v.data(), .accepted = rowsAccepted.data()},
        .tolerance2 = static_cast<float>(tolerance * tolerance)};
    const Reconstruction::ColumnGeometry<float> geometry = Reconstruction::columnGeometry(head);
    std::array<float, 2> depths{};
    for (std::size_t set = 0; set < 2; ++set) {
        std::vector<float> x(count), y(count), z(count);
        const Kernels::Set& kernels = set == 0 ? Kernels::reference() : Kernels::vectorised();
        kernels.triangulateBoth(geometry, {.x = rayX.data(), .y = rayY.data()}, columns, rows,
                                {.x = x.data(), .y = y.data(), .z = z.data()}, 0, count);
        depths[set] = z.front();
        if (std::isnan(z[0])) {
            EXPECT_TRUE(std::isnan(x[0]) && std::isnan(y[0]));
        } else {
            EXPECT_FLOAT_EQ(x[0], rayX[0] * z[0]);
            EXPECT_FLOAT_EQ(y[0], rayY[0] * z[0]);
        }
    }
    EXPECT_TRUE(depths[0] == depths[1] || (std::isnan(depths[0]) && std::isnan(depths[1])));
    return depths[0];
}

/// Both look along z; the projector is 100 mm to the right and 100 mm below.
Driver::Calibration diagonalParallelHead() {
    Driver::Calibration head;
    head.camera = {.width = 100, .height = 100, .fx = 1000.0, .fy = 1000.0, .cx = 49.5, .cy = 49.5};
    head.projector = {.width = 400, .height = 400, .fx = 1000.0, .fy = 1000.0, .cx = 199.5, .cy = 199.5};
    head.translationMm = {-100.0, -100.0, 0.0};
    return head;
}

// A point at (10, 5, 1000) is seen at ((10 - 100) / 1000, (5 - 100) / 1000) = (-0.09, -0.095): from the edges of column
// and row 0, 110 and 105. Its epipolar line climbs by one row per column.
TEST(BothAxes, PointByHand) {
    const Driver::Calibration head = diagonalParallelHead();
    EXPECT_NEAR(meet(head, {0.01, 0.005}, {110.0, 105.0}, {50.0, 50.0}, 1.0), 1000.0F, 2e-3F);
    // 0.2 rows too far: with equal weights half of that, 0.1 columns. Z = -100 / (x - 0.01) with x = -0.0899.
    EXPECT_NEAR(meet(head, {0.01, 0.005}, {110.0, 105.2}, {50.0, 50.0}, 1.0), 100.0F / 0.0999F, 2e-3F);
    // Weights 400 and 100: 0.2 / 5 = 0.04 columns.
    EXPECT_NEAR(meet(head, {0.01, 0.005}, {110.0, 105.2}, {20.0, 10.0}, 1.0), 100.0F / 0.09996F, 2e-3F);
    // And the other way round: 0.16 columns.
    EXPECT_NEAR(meet(head, {0.01, 0.005}, {110.0, 105.2}, {10.0, 20.0}, 1.0), 100.0F / 0.09984F, 2e-3F);
}

TEST(BothAxes, PointsBesideTheEpipolarLineAreInvalid) {
    const Driver::Calibration head = diagonalParallelHead();
    // The line is diagonal, so 1.4 rows are 0.99 pixels away from it.
    for (const double sign : {-1.0, 1.0}) {
        EXPECT_FALSE(std::isnan(meet(head, {0.01, 0.005}, {110.0, 105.0 + sign * 1.40}, {50.0, 50.0}, 1.0)));
        EXPECT_TRUE(std::isnan(meet(head, {0.01, 0.005}, {110.0, 105.0 + sign * 1.43}, {50.0, 50.0}, 1.0)));
    }
    Driver::Calibration level = head;
    level.translationMm = {-100.0, 0.0, 0.0};
    // Row 199.5 + 5 + 0.5 along a level line.
    EXPECT_FALSE(std::isnan(meet(level, {0.01, 0.005}, {110.0, 205.99}, {50.0, 50.0}, 1.0)));
    EXPECT_TRUE(std::isnan(meet(level, {0.01, 0.005}, {110.0, 206.01}, {50.0, 50.0}, 1.0)));
}

TEST(BothAxes, BothMustBeAccepted) {
    const Driver::Calibration head = diagonalParallelHead();
    EXPECT_TRUE(std::isnan(meet(head, {0.01, 0.005}, {110.0, 105.0}, {50.0, 50.0}, 1.0, {true, false})));
    EXPECT_TRUE(std::isnan(meet(head, {0.01, 0.005}, {110.0, 105.0}, {50.0, 50.0}, 1.0, {false, true})));
    // Two dark pixels, accepted by mistake, have no weights at all.
    EXPECT_TRUE(std::isnan(meet(head, {0.01, 0.005}, {110.0, 105.0}, {0.0, 0.0}, 1.0)));
}

TEST(BothAxes, ToleranceOfTheDefaultPeriod) {
    // 8 / (2 pi) * 1.5 / (5 sqrt 2) = 0.270; four times that and 0.4.
    EXPECT_NEAR(Reconstruction::epipolarTolerance(8.0), 1.48, 0.01);
}

struct Errors {
    std::size_t valid = 0;
    double rms = 0.0;
    double largest = 0.0;
};

Errors errorsOf(const Driver::Calibration& head, const Plane& plane, const PointCloud& cloud) {
    Errors errors;
    double squares = 0.0;
    for (std::size_t row = 0; row < cloud.height(); ++row)
        for (std::size_t column = 0; column < cloud.width(); ++column) {
            if (!cloud(row, column).isValid())
                continue;
            const double error =
                static_cast<double>(cloud(row, column).z) - Simulation::see(head, plane, row, column).value().point[2];
            ++errors.valid;
            squares += error * error;
            errors.largest = std::max(errors.largest, std::abs(error));
        }
    errors.rms = std::sqrt(squares / static_cast<double>(std::max<std::size_t>(errors.valid, 1)));
    return errors;
}

Errors measure(const Driver::Calibration& head, const SequenceOptions& options, const Plane& plane, const Light& light,
               const Parameters& parameters = {}) {
    const Reconstruction::SequenceLayout layout = Simulation::sequenceFor(head, options);
    PointCloud cloud;
    Reconstructor(head, layout).reconstruct(Simulation::render(head, layout, plane, light), parameters, cloud);
    return errorsOf(head, plane, cloud);
}

TEST(BothAxes, TiltedPlaneWithEveryCode) {
    const Plane plane{.normal = {0.2, -0.1, 0.97}, .distance = 680.0};
    for (const Driver::Calibration& head : {Simulation::smallHead(true), Simulation::diagonalHead()}) {
        for (const Lattice lattice : {Lattice::Plain, Lattice::Diamond}) {
            for (const auto code : {Gray, ErrorCorrecting}) {
                const SequenceOptions options{.lattice = lattice, .code = code, .rows = true};
                const Errors errors = measure(head, options, plane, {});
                EXPECT_GT(errors.valid, 18'000U);
                EXPECT_LT(errors.rms, 0.015);
                EXPECT_LT(errors.largest, 0.06);
            }
        }
    }
}

// A projector below and to the right measures depth with its rows as well as with its columns: half the variance.
TEST(BothAxes, DiagonalBaselineHalvesTheVariance) {
    const Driver::Calibration head = Simulation::diagonalHead();
    const Light light{.noise = 1.5, .blurPixels = 0.6};
    const Errors columns = measure(head, {}, {}, light);
    const Errors both = measure(head, {.rows = true}, {}, light);
    std::cout << "depth RMS " << columns.rms << " mm from columns, " << both.rms
              << " mm with rows: " << both.rms / columns.rms << '\n';
    EXPECT_GT(both.valid, columns.valid * 99 / 100);
    EXPECT_NEAR(both.rms / columns.rms, std::sqrt(0.5), 0.03);
}

// With a level baseline rows say next to nothing about depth, and must not spoil it.
TEST(BothAxes, LevelBaselineLosesNothing) {
    const Driver::Calibration head = Simulation::smallHead(true);
    const Light light{.noise = 1.5, .blurPixels = 0.6};
    const Errors columns = measure(head, {}, {}, light);
    const Errors both = measure(head, {.rows = true}, {}, light);
    EXPECT_GT(both.valid, columns.valid * 99 / 100);
    EXPECT_LT(both.rms, 1.01 * columns.rms);
}

// Little light: the rows' noise stays within the tolerance.
TEST(BothAxes, WeakFringesKeepTheirPoints) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Light light{.white = 20.0, .noise = 1.5, .blurPixels = 0.6};
    const Errors columns = measure(head, {.inverse = true}, {}, light);
    const Errors both = measure(head, {.inverse = true, .rows = true}, {}, light);
    EXPECT_GT(both.valid, columns.valid * 97 / 100);
}

// Light that reaches the surface by way of another, three times as strong as the direct one: the columns are those of
// the other place, and only the rows can tell.
TEST(BothAxes, InterreflectionsAreDropped) {
    const Driver::Calibration head = Simulation::smallHead(true);
    const Light light{
        .white = 50.0, .noise = 1.0, .blurPixels = 0.6, .echo = {.share = 3.0, .columns = 32.0, .rows = 40.0}};
    const Errors columns = measure(head, {.inverse = true}, {}, light);
    const Errors both = measure(head, {.inverse = true, .rows = true}, {}, light);
    std::cout << columns.valid << " points, " << columns.rms << " mm off, without rows, " << both.valid << " with\n";
    EXPECT_GT(columns.valid, 15'000U);
    EXPECT_GT(columns.rms, 10.0);
    EXPECT_LT(both.valid, columns.valid / 1000);
}

TEST(BothAxes, ThreadsAndArithmeticDoNotChangeAByte) {
    const Driver::Calibration head = Simulation::diagonalHead();
    for (const SequenceOptions& options : {SequenceOptions{.lattice = Lattice::Diamond, .rows = true},
                                           SequenceOptions{.code = ErrorCorrecting, .inverse = true, .rows = true}}) {
        const Reconstruction::SequenceLayout layout = Simulation::sequenceFor(head, options);
        const Driver::ImageStack images =
            Simulation::render(head, layout, {}, {.white = 230.0, .noise = 4.0, .blurPixels = 0.7});
        for (const double gamma : {1.0, 1.7}) {
            const Parameters parameters{.rejectReflections = true, .gamma = gamma};
            PointCloud plain;
            Reconstructor(head, layout,
                          {.threads = 1, .arithmetic = Reconstruction::ReconstructorOptions::Arithmetic::Reference})
                .reconstruct(images, parameters, plain);
            EXPECT_GT(std::ranges::count_if(plain.points(), &Point::isValid), 3000);
            for (const std::size_t threads : {1U, 3U}) {
                PointCloud ours;
                Reconstructor(head, layout, {.threads = threads}).reconstruct(images, parameters, ours);
                EXPECT_EQ(std::memcmp(ours.data(), plain.data(), plain.size() * sizeof(Point)), 0);
            }
        }
    }
}

} // namespace
