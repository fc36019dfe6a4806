// Depth by a polynomial per pixel, against points that are projected in the simulation's own arithmetic.

#include "depthpolynomials.h"
#include "rays.h"
#include "simulatedhead.h"
#include "triangulator.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>
#include <random>

namespace {

using namespace Vorta;
using Reconstruction::ReconstructorOptions;
using Reconstruction::Triangulator;
namespace PolynomialKernel = Reconstruction::PolynomialKernel;

constexpr ReconstructorOptions polynomial{.method = ReconstructorOptions::Method::Polynomial};

/// Rows of columns through one triangulator.
class Rows {
public:
    explicit Rows(const Driver::Calibration& head, const ReconstructorOptions& options = polynomial)
        : width_(head.camera.width),
          triangulator_(options),
          accepted_(width_, 255),
          x_(width_),
          y_(width_),
          z_(width_) {
        WorkerPool pool(2);
        triangulator_.setCalibration(head, pool);
    }
    const std::vector<float>& depths(std::size_t row, const std::vector<float>& positions) {
        std::vector<float> columns = positions;
        triangulator_.computeRow(row, {.position = columns.data(), .accepted = accepted_.data()},
                                 {.x = x_.data(), .y = y_.data(), .z = z_.data()});
        return z_;
    }
    std::vector<std::uint8_t>& accepted() { return accepted_; }
    [[nodiscard]] const std::vector<float>& x() const { return x_; }
    [[nodiscard]] const std::vector<float>& y() const { return y_; }

private:
    std::size_t width_;
    Triangulator triangulator_;
    std::vector<std::uint8_t> accepted_;
    std::vector<float> x_, y_, z_;
};

struct Deviation {
    double largestUm = 0.0; // by (700 mm / z)^2
    std::size_t points = 0;
    std::size_t missing = 0; // well inside the projector's area and yet invalid
    std::size_t surplus = 0; // well outside and yet valid
};

/// Planes across the camera's axis, at distances from 201 to 2990 mm.
Deviation measure(const Driver::Calibration& head, const ReconstructorOptions& options = polynomial) {
    Rows rows(head, options);
    Deviation deviation;
    const auto width = static_cast<double>(head.projector.width);
    const auto height = static_cast<double>(head.projector.height);
    for (const double distance : {201.0, 240.0, 310.0, 450.0, 600.0, 700.0, 850.0, 1200.0, 1900.0, 2990.0}) {
        for (std::size_t row = 0; row < head.camera.height; row += 3) {
            std::vector<Simulation::Sight> sights;
            std::vector<float> positions;
            for (std::size_t column = 0; column < head.camera.width; ++column) {
                sights.push_back(*Simulation::see(head, {.distance = distance}, row, column));
                positions.push_back(static_cast<float>(sights.back().projectorColumn + 0.5));
            }
            const std::vector<float>& z = rows.depths(row, positions);
            for (std::size_t i = 0; i < sights.size(); ++i) {
                const double u = sights[i].projectorColumn;
                const double v = sights[i].projectorRow;
                const bool inside = u > 0.51 && u < width - 1.51 && v > -1.49 && v < height + 0.49;
                const bool outside = u < 0.49 || u > width - 1.49 || v < -1.51 || v > height + 0.51;
                const bool valid = !std::isnan(z[i]);
                deviation.missing += inside && !valid ? 1U : 0U;
                deviation.surplus += outside && valid ? 1U : 0U;
                if (!inside || !valid)
                    continue;
                const double scale = 700.0 / distance;
                const double errorUm = 1000.0 * scale * scale * std::abs(static_cast<double>(z[i]) - distance);
                deviation.largestUm = std::max(deviation.largestUm, errorUm);
                EXPECT_NEAR(rows.x()[i], sights[i].point[0], 1e-3 * distance / 700.0);
                EXPECT_NEAR(rows.y()[i], sights[i].point[1], 1e-3 * distance / 700.0);
                ++deviation.points;
            }
        }
    }
    return deviation;
}

TEST(Polynomial, StaysWithinAMicrometreOfTheTruth) {
    Driver::Calibration strong = Simulation::smallHead(true);
    strong.projector.k1 = -0.22;
    strong.camera.k1 = -0.25;
    for (const Driver::Calibration& head : {Simulation::smallHead(false), Simulation::smallHead(true), strong}) {
        const Deviation deviation = measure(head);
        std::cout << "largest deviation " << deviation.largestUm << " um at 700 mm, " << deviation.points
                  << " points\n";
        EXPECT_LT(deviation.largestUm, 1.0);
        EXPECT_GT(deviation.points, 30'000U);
        EXPECT_EQ(deviation.missing, 0U);
        EXPECT_EQ(deviation.surplus, 0U);
    }
}

// The same truth for the method that it stands in for.
TEST(Polynomial, TriangulationAgrees) {
    const Deviation deviation = measure(Simulation::smallHead(true), {});
    EXPECT_LT(deviation.largestUm, 4.0);
    EXPECT_EQ(deviation.missing, 0U);
    EXPECT_EQ(deviation.surplus, 0U);
}

TEST(Polynomial, StrongerLensesTakeMoreTerms) {
    const auto degree = [](const Driver::Calibration& head) {
        std::vector<float> x(std::size_t{243} * 150), y(x.size());
        const Reconstruction::CameraRays rays(head.camera);
        for (std::size_t row = 0; row < 150; ++row)
            rays.row(row, &x[row * 243], &y[row * 243]);
        WorkerPool pool(1);
        return Reconstruction::DepthPolynomials(head, x, y, 200.0, 3000.0, pool).degree();
    };
    const std::size_t plain = degree(Simulation::smallHead(false));
    EXPECT_GE(plain, 3U);
    EXPECT_LE(plain, 6U);
    Driver::Calibration strong = Simulation::smallHead(true);
    strong.projector.k1 = -0.22;
    EXPECT_GT(degree(strong), plain);
    std::cout << "degree " << plain << " without distortion, " << degree(strong) << " for a strong lens\n";
}

/// Both look along z, the projector 100 mm to the right; every pixel of the camera's one row looks at x = 0.01 z.
Driver::Calibration parallelHead(double rayY) {
    Driver::Calibration head;
    head.camera = {.width = 1, .height = 1, .fx = 1000.0, .fy = 1000.0, .cx = -10.0, .cy = -1000.0 * rayY};
    head.projector = {.width = 200, .height = 150, .fx = 1000.0, .fy = 1000.0, .cx = 99.5, .cy = 74.5};
    head.translationMm = {-100.0, 0.0, 0.0};
    return head;
}

float depthAt(const Driver::Calibration& head, double position, const ReconstructorOptions& options = polynomial) {
    return Rows(head, options).depths(0, {static_cast<float>(position)})[0];
}

// The point (10, 0, 1000) is seen at projector x = (10 - 100) / 1000 = -0.09, column 9.5, counted from the edge 10.
// Column position p shows x = (p - 100) / 1000 and z = 100 / (0.01 - x), so z = 1000, 2000 and 917.431 are at the
// positions 10, 60 and 1, where the first column that gives points begins.
TEST(Polynomial, ParallelHeadByHand) {
    EXPECT_NEAR(depthAt(parallelHead(0.0), 10.0), 1000.0F, 2e-3F);
    EXPECT_NEAR(depthAt(parallelHead(0.0), 60.0), 2000.0F, 8e-3F);
    EXPECT_NEAR(depthAt(parallelHead(0.0), 1.0), 917.431F, 5e-3F);
    EXPECT_TRUE(std::isnan(depthAt(parallelHead(0.0), 0.99)));
}

TEST(Polynomial, PointsOutsideTheRangeOfDepthsAreInvalid) {
    ReconstructorOptions options = polynomial;
    options.nearMm = 1000.0;
    options.farMm = 2000.0;
    EXPECT_TRUE(std::isnan(depthAt(parallelHead(0.0), 9.9, options)));
    EXPECT_FALSE(std::isnan(depthAt(parallelHead(0.0), 10.1, options)));
    EXPECT_FALSE(std::isnan(depthAt(parallelHead(0.0), 59.9, options)));
    EXPECT_TRUE(std::isnan(depthAt(parallelHead(0.0), 60.1, options)));
    EXPECT_TRUE(std::isnan(depthAt(parallelHead(0.0), 150.0, options))); // behind the camera
}

// The projector's rows cover y from -0.075 to 0.075; one row more is granted on each side.
TEST(Polynomial, RowsOutsideTheProjectorAreInvalid) {
    EXPECT_FALSE(std::isnan(depthAt(parallelHead(0.0755), 10.0)));
    EXPECT_TRUE(std::isnan(depthAt(parallelHead(0.0765), 10.0)));
    EXPECT_FALSE(std::isnan(depthAt(parallelHead(-0.0755), 10.0)));
    EXPECT_TRUE(std::isnan(depthAt(parallelHead(-0.0765), 10.0)));
    EXPECT_TRUE(std::isnan(depthAt(parallelHead(0.5), 10.0)));
}

// Ray and plane meet at 1 degree where a - x = 0.01746: 100 / 0.01746 = 5730 mm.
TEST(Polynomial, RaysThatGrazeTheColumnsPlaneAreInvalid) {
    ReconstructorOptions options = polynomial;
    options.farMm = 50'000.0;
    EXPECT_NEAR(depthAt(parallelHead(0.0), 100.0 + 10.0 - 17.6, options), 100.0F / 0.0176F, 0.1F);
    EXPECT_TRUE(std::isnan(depthAt(parallelHead(0.0), 100.0 + 10.0 - 17.3, options)));
}

TEST(Polynomial, NotAcceptedPixelsAreInvalid) {
    Rows rows(parallelHead(0.0));
    EXPECT_FALSE(std::isnan(rows.depths(0, {10.0F})[0]));
    rows.accepted()[0] = 0;
    EXPECT_TRUE(std::isnan(rows.depths(0, {10.0F})[0]));
    EXPECT_TRUE(std::isnan(rows.x()[0]) && std::isnan(rows.y()[0]));
}

TEST(Polynomial, RefusesRangesThatAreNone) {
    const auto refused = [](double nearMm, double farMm) {
        ReconstructorOptions options = polynomial;
        options.nearMm = nearMm;
        options.farMm = farMm;
        EXPECT_THROW(Triangulator{options}, ArgumentOutOfRangeException) << nearMm << ' ' << farMm;
    };
    refused(0.0, 100.0);
    refused(-1.0, 100.0);
    refused(std::nan(""), 100.0);
    refused(200.0, 200.0);
    refused(200.0, std::nan(""));
    refused(200.0, 1.1e6);
    refused(2e6, 3e6);
}

// x (1 - 20 x^2) turns back at 0.129, close behind the projector's border 0.1.
TEST(Polynomial, RefusesLensesThatAreTooStrong) {
    Driver::Calibration head = parallelHead(0.0);
    head.projector.k1 = -20.0;
    ReconstructorOptions options = polynomial;
    options.nearMm = 400.0;
    WorkerPool pool(1);
    Triangulator triangulator(options);
    triangulator.setCalibration(parallelHead(0.0), pool);
    EXPECT_THROW(triangulator.setCalibration(head, pool), ArgumentInvalidException);
    EXPECT_TRUE(triangulator.isCalibrated());
    EXPECT_EQ(triangulator.geometry().k1, 0.0F);
}

class PolynomialTargets : public testing::TestWithParam<std::int64_t> {
protected:
    void SetUp() override { use(GetParam()); }
    void TearDown() override { use(0); }
    static void use(std::int64_t target) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }
    std::vector<float> floats(std::size_t count, float minimum, float maximum) {
        std::uniform_real_distribution<float> distribution(minimum, maximum);
        std::vector<float> values(count);
        std::ranges::generate(values, [&] { return distribution(random_); });
        return values;
    }
    std::mt19937 random_{54321};
};

INSTANTIATE_TEST_SUITE_P(Targets, PolynomialTargets, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& test) { return std::string(hwy::TargetName(test.param)); });

bool sameBytes(const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

TEST_P(PolynomialTargets, VectorCodeGivesTheBitsOfThePlainCode) {
    Reconstruction::ColumnGeometry<float> g = Reconstruction::columnGeometry(Simulation::smallHead(true));
    for (const std::size_t width : {1U, 3U, 7U, 16U, 31U, 33U, 65U, 243U, 1944U}) {
        const std::vector<float> rayX = floats(width, -0.4F, 0.4F), rayY = floats(width, -0.25F, 0.25F);
        std::vector<std::vector<float>> coefficients;
        PolynomialKernel::Row row{.terms = 3 + width % 4,
                                  .scale = 2.0F / 1024.0F,
                                  .nearMm = 200.0F,
                                  .farMm = 3000.0F,
                                  .residual = width % 2 == 0 ? 1e-5F : 1.0F};
        coefficients.push_back(floats(width, 0.001F, 0.002F));
        for (std::size_t k = 1; k < row.terms; ++k)
            coefficients.push_back(floats(width, -1e-3F, 1e-3F));
        for (std::size_t k = 0; k < row.terms; ++k)
            row.coefficients[k] = coefficients[k].data();
        std::vector<float> position = floats(width, -30.0F, 1060.0F);
        std::vector<std::uint8_t> accepted(width, 255);
        for (std::size_t i = 0; i < width; i += 9)
            accepted[i] = 0;
        std::vector<std::vector<float>> results;
        for (const PolynomialKernel::Loop loop : {PolynomialKernel::reference(), PolynomialKernel::vectorised()}) {
            std::vector<float> x(width), y(width), z(width);
            loop(g, row, {.x = rayX.data(), .y = rayY.data()},
                 {.position = position.data(), .accepted = accepted.data()},
                 {.x = x.data(), .y = y.data(), .z = z.data()}, 0, width);
            results.insert(results.end(), {x, y, z});
        }
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_TRUE(sameBytes(results[i], results[i + 3])) << width << " coordinate " << i;
        if (width == 243) {
            EXPECT_GT(std::ranges::count_if(results[2], [](float z) { return z == z; }), 10);
        }
    }
}

TEST_P(PolynomialTargets, RaysAreTheSameBitsOnEveryProcessor) {
    const Driver::PinholeModel camera = Simulation::smallHead(true).camera;
    const auto rays = [&] {
        std::vector<float> values(2 * camera.width);
        Reconstruction::CameraRays(camera).row(149, values.data(), &values[camera.width]);
        return values;
    };
    const std::vector<float> here = rays();
    use(0);
    EXPECT_TRUE(sameBytes(here, rays()));
    for (std::size_t column = 0; column < camera.width; ++column) {
        const std::array<double, 3> expected = Simulation::ray(camera, static_cast<double>(column), 149.0);
        EXPECT_NEAR(here[column], expected[0], 3e-8);
        EXPECT_NEAR(here[camera.width + column], expected[1], 3e-8);
    }
}

} // namespace
