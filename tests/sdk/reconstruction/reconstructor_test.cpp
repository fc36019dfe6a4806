#include "vorta/reconstruction/reconstructor.h"

#include "simulatedhead.h"
#include "support/allocations.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

using namespace Vorta;
using Reconstruction::Parameters;
using Reconstruction::Reconstructor;
using Reconstruction::ReconstructorOptions;
using Simulation::Light;
using Simulation::Plane;
using Simulation::render;
using Simulation::sequenceFor;

/// Depth errors of a cloud against the plane that was rendered.
struct Errors {
    std::size_t valid = 0;
    std::size_t lit = 0; // pixels whose sight lies well inside the projector's area
    double rms = 0.0;
    double largest = 0.0;
};

Errors measure(const Driver::Calibration& head, const Plane& plane, const PointCloud& cloud) {
    Errors errors;
    double squares = 0.0;
    for (std::size_t row = 0; row < cloud.height(); ++row) {
        for (std::size_t column = 0; column < cloud.width(); ++column) {
            const auto sight = Simulation::see(head, plane, row, column);
            if (sight && sight->projectorColumn > 1.0 && sight->projectorColumn < 1022.0 && sight->projectorRow > 1.0 &&
                sight->projectorRow < 766.0)
                ++errors.lit;
            const Point& point = cloud(row, column);
            if (!point.isValid())
                continue;
            ++errors.valid;
            const double error = static_cast<double>(point.z) - sight->point[2];
            squares += error * error;
            errors.largest = std::max(errors.largest, std::abs(error));
            EXPECT_NEAR(point.x, sight->point[0], 0.05 + std::abs(error));
            EXPECT_NEAR(point.y, sight->point[1], 0.05 + std::abs(error));
        }
    }
    errors.rms = std::sqrt(squares / static_cast<double>(std::max<std::size_t>(errors.valid, 1)));
    return errors;
}

PointCloud reconstruct(const Driver::Calibration& head, const Driver::ImageStack& images,
                       const Parameters& parameters = {}, const ReconstructorOptions& options = {}) {
    PointCloud cloud;
    Reconstructor(head, sequenceFor(head), options).reconstruct(images, parameters, cloud);
    return cloud;
}

bool sameBytes(const PointCloud& a, const PointCloud& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Point)) == 0;
}

// Only whole grey levels keep this from being exact: 0.3 grey levels of 80 make about 0.005 columns, 0.01 mm.
TEST(Reconstructor, TiltedPlaneWithoutNoise) {
    for (const bool distorted : {false, true}) {
        const Driver::Calibration head = Simulation::smallHead(distorted);
        const Plane plane{.normal = {0.25, -0.15, 0.957}, .distance = 670.0};
        const PointCloud cloud = reconstruct(head, render(head, sequenceFor(head), plane, {}));
        ASSERT_EQ(cloud.width(), 243U);
        ASSERT_EQ(cloud.height(), 150U);
        const Errors errors = measure(head, plane, cloud);
        EXPECT_GE(errors.valid, errors.lit);
        EXPECT_GT(errors.lit, 20000U);
        EXPECT_LT(errors.rms, 0.015);
        EXPECT_LT(errors.largest, 0.06);
    }
}

// Patterns as projected, blurred by 0.6 columns, 1.5 grey levels of noise at 700 mm.
TEST(Reconstructor, DepthNoiseAtWorkingDistance) {
    const Driver::Calibration head = Simulation::smallHead(true);
    const Plane plane;
    const Light light{.noise = 1.5, .blurPixels = 0.6};
    const PointCloud cloud = reconstruct(head, render(head, sequenceFor(head), plane, light));
    const Errors errors = measure(head, plane, cloud);
    std::cout << "depth RMS " << errors.rms << " mm, largest error " << errors.largest << " mm, " << errors.valid
              << " of " << errors.lit << " points\n";
    RecordProperty("rmsMicrometres", static_cast<int>(errors.rms * 1000.0));
    EXPECT_LT(errors.rms, 0.08);
    EXPECT_LT(errors.largest, 0.5);
    EXPECT_GT(static_cast<double>(errors.valid), 0.999 * static_cast<double>(errors.lit));
}

// Little light: noise grows, but no point is off by a period, which would be 16 mm.
TEST(Reconstructor, WeakFringesLoseAccuracyButNoPeriod) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Plane plane;
    const Light light{.white = 20.0, .noise = 1.5, .blurPixels = 0.6};
    const PointCloud cloud = reconstruct(head, render(head, sequenceFor(head), plane, light));
    const Errors errors = measure(head, plane, cloud);
    EXPECT_LT(errors.rms, 0.6);
    EXPECT_LT(errors.largest, 4.0);
    EXPECT_GT(static_cast<double>(errors.valid), 0.95 * static_cast<double>(errors.lit));
}

TEST(Reconstructor, NoiseAloneIsRejected) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Light light{.white = 0.0, .noise = 1.5};
    const PointCloud cloud = reconstruct(head, render(head, sequenceFor(head), {}, light));
    const auto valid = std::ranges::count_if(cloud.points(), &Point::isValid);
    EXPECT_LT(valid, 4); // of 36450
}

TEST(Reconstructor, ContrastIsTheModulation) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Light light{.white = 160.0};
    const PointCloud cloud = reconstruct(head, render(head, sequenceFor(head), {}, light));
    EXPECT_NEAR(cloud(75, 121).contrast, 80.0F, 0.8F);
}

TEST(Reconstructor, RejectedPointsKeepContrastAndColour) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Driver::ImageStack images = render(head, sequenceFor(head), {}, {.black = 0.0, .ambient = 0.0});
    const PointCloud all = reconstruct(head, images);
    const PointCloud none = reconstruct(head, images, {.minModulation = 100.0});
    EXPECT_TRUE(all(75, 121).isValid());
    for (std::size_t i = 0; i < none.size(); ++i) {
        ASSERT_TRUE(std::isnan(none[i].x) && std::isnan(none[i].y) && std::isnan(none[i].z));
        ASSERT_EQ(none[i].contrast, all[i].contrast);
        ASSERT_EQ(none[i].green, all[i].green);
    }
    EXPECT_NEAR(none(75, 121).green, 160, 1);
    EXPECT_NEAR(none(75, 121).red, 160, 1);
    EXPECT_NEAR(none(75, 121).blue, 160, 1);
}

TEST(Reconstructor, SaturatedPointsAreRejectedUnlessAllowed) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Driver::ImageStack images = render(head, sequenceFor(head), {}, {.white = 330.0});
    const PointCloud strict = reconstruct(head, images);
    const PointCloud lenient = reconstruct(head, images, {.rejectSaturated = false});
    std::size_t white = 0;
    for (std::size_t i = 0; i < strict.size(); ++i) {
        const bool isWhite = strict[i].blue == 255 && strict[i].green == 255 && strict[i].red == 255;
        white += isWhite ? 1 : 0;
        ASSERT_FALSE(isWhite && strict[i].isValid());
        ASSERT_EQ(lenient[i].green, strict[i].green);
    }
    EXPECT_GT(white, 10000U);
    EXPECT_GT(std::ranges::count_if(lenient.points(), &Point::isValid), 20000);
}

/// Puts what another surface looks like into some pixels: height x width of them from (row, column) on.
void transplant(const Driver::ImageStack& from, Driver::ImageStack& to, std::size_t row, std::size_t column,
                std::size_t height, std::size_t width) {
    for (std::size_t image = 0; image < to.count(); ++image)
        for (std::size_t r = row; r < row + height; ++r)
            std::ranges::copy(from.row(image, r).subspan(column, width), to.row(image, r).subspan(column).begin());
}

// A plane at 700 mm with patches of 9 and 10 points at 600 mm and one of 9 points at 698 mm, all across the border of
// the rows that threads share out.
TEST(Reconstructor, SmallPatchesAwayFromTheirSurroundingsAreOutliers) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Reconstruction::SequenceLayout layout = sequenceFor(head);
    Driver::ImageStack images = render(head, layout, {}, {});
    const Driver::ImageStack closer = render(head, layout, {.distance = 600.0}, {});
    transplant(closer, images, 62, 100, 3, 3);
    transplant(closer, images, 63, 120, 2, 5);
    transplant(render(head, layout, {.distance = 698.0}, {}), images, 62, 140, 3, 3);
    const auto depth = [](const PointCloud& cloud, std::size_t row, std::size_t column) {
        return cloud(row, column).z;
    };
    for (const std::size_t threads : {1U, 3U}) {
        const ReconstructorOptions options{.threads = threads};
        const PointCloud all = reconstruct(head, images, {.rejectOutliers = false}, options);
        EXPECT_NEAR(depth(all, 63, 101), 600.0F, 0.1F);
        PointCloud expected = all.clone();
        for (std::size_t row = 62; row < 65; ++row)
            for (std::size_t column = 100; column < 103; ++column)
                expected(row, column).x = expected(row, column).y = expected(row, column).z = std::nanf("");
        const PointCloud filtered = reconstruct(head, images, {}, options);
        EXPECT_TRUE(sameBytes(filtered, expected));
        EXPECT_NEAR(depth(filtered, 63, 121), 600.0F, 0.1F);
        EXPECT_NEAR(depth(filtered, 63, 141), 698.0F, 0.1F);

        EXPECT_TRUE(sameBytes(reconstruct(head, images, {.outlierThresholdMm = 101.0}, options), all));
        const PointCloud strict = reconstruct(head, images, {.outlierThresholdMm = 1.5}, options);
        EXPECT_TRUE(std::isnan(depth(strict, 63, 141)));
        EXPECT_NEAR(depth(strict, 63, 121), 600.0F, 0.1F);
    }
}

TEST(Reconstructor, ThreadsAndArithmeticDoNotChangeAByte) {
    const Driver::Calibration head = Simulation::smallHead(true);
    const Driver::ImageStack images =
        render(head, sequenceFor(head), {}, {.white = 230.0, .noise = 4.0, .blurPixels = 0.7});
    const Parameters parameters{.redBalance = 1.31, .blueBalance = 1.77, .blackLevel = 4.0};
    const PointCloud plain = reconstruct(head, images, parameters,
                                         {.threads = 1, .arithmetic = ReconstructorOptions::Arithmetic::Reference});
    EXPECT_GT(std::ranges::count_if(plain.points(), &Point::isValid), 10000);
    for (const std::size_t threads : {1U, 2U, 3U, 4U, 7U, 0U})
        EXPECT_TRUE(sameBytes(plain, reconstruct(head, images, parameters, {.threads = threads}))) << threads;
}

TEST(Reconstructor, WorksInPlaceWithoutAllocating) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Driver::ImageStack images = render(head, sequenceFor(head), {}, {});
    Reconstructor reconstructor(head, sequenceFor(head), {.threads = 3});
    PointCloud cloud(10, 10);
    const PointCloud before = cloud;
    reconstructor.reconstruct(images, {}, cloud);
    EXPECT_FALSE(cloud.sharesDataWith(before));
    const PointCloud first = cloud.clone();
    const PointCloud shared = cloud;
    cloud[0].x = -1.0F;
    const std::size_t count = allocationCount();
    reconstructor.reconstruct(images, {}, cloud);
    EXPECT_EQ(allocationCount() - count, 0U);
    EXPECT_TRUE(cloud.sharesDataWith(shared));
    EXPECT_TRUE(sameBytes(cloud, first));
}

TEST(Reconstructor, TakesAnotherCalibration) {
    const Driver::Calibration straight = Simulation::smallHead(false);
    const Driver::Calibration distorted = Simulation::smallHead(true);
    const Driver::ImageStack images = render(distorted, sequenceFor(distorted), {}, {});
    Reconstructor reconstructor(straight, sequenceFor(straight));
    PointCloud cloud;
    reconstructor.reconstruct(images, {}, cloud);
    EXPECT_FALSE(sameBytes(cloud, reconstruct(distorted, images)));
    Driver::Calibration broken = distorted;
    broken.camera.fx = 0.0;
    EXPECT_THROW(reconstructor.setCalibration(broken), ArgumentInvalidException);
    reconstructor.setCalibration(distorted);
    reconstructor.reconstruct(images, {}, cloud);
    EXPECT_TRUE(sameBytes(cloud, reconstruct(distorted, images)));
}

TEST(Reconstructor, RefusesWhatDoesNotFit) {
    const Driver::Calibration head = Simulation::smallHead(false);
    const Reconstruction::SequenceLayout layout = sequenceFor(head);
    Reconstructor reconstructor(head, layout);
    EXPECT_EQ(reconstructor.layout(), layout);
    PointCloud cloud;
    Driver::ImageStack images;
    images.resize(19, 150, 243);
    EXPECT_THROW(reconstructor.reconstruct(images, {}, cloud), ArgumentInvalidException);
    images.resize(20, 150, 244);
    EXPECT_THROW(reconstructor.reconstruct(images, {}, cloud), ArgumentInvalidException);
    images.resize(20, 151, 243);
    EXPECT_THROW(reconstructor.reconstruct(images, {}, cloud), ArgumentInvalidException);
    images.resize(20, 150, 243);
    for (const Parameters& parameters :
         {Parameters{.minModulation = -0.1}, Parameters{.minModulation = std::nan("")},
          Parameters{.minBitDifference = 0.5}, Parameters{.minBitDifference = 256.0},
          Parameters{.outlierThresholdMm = -0.1}, Parameters{.outlierThresholdMm = 1.1e6},
          Parameters{.outlierThresholdMm = std::nan("")}, Parameters{.redBalance = 100.1},
          Parameters{.redBalance = -1.0}, Parameters{.blueBalance = 101.0}, Parameters{.blackLevel = -1.0},
          Parameters{.blackLevel = 256.0}, Parameters{.gamma = 0.09}, Parameters{.gamma = 10.1},
          Parameters{.gamma = std::nan("")}})
        EXPECT_THROW(reconstructor.reconstruct(images, parameters, cloud), ArgumentOutOfRangeException);
    EXPECT_TRUE(cloud.empty());
    reconstructor.reconstruct(images, {}, cloud);
    EXPECT_EQ(cloud.size(), 243U * 150U);

    const auto refused = [&](auto change) {
        Reconstruction::SequenceLayout other = layout;
        change(other);
        EXPECT_THROW(Reconstructor(head, other), ArgumentInvalidException);
    };
    refused([](auto& l) { l.axes.clear(); });
    refused([](auto& l) { l.axes.front().axis = Driver::Axis::Rows; });
    refused([](auto& l) { l.axes.push_back(l.axes.front()); });
    refused([](auto& l) { l.axes.front().lineCount = 1000; });
    refused([](auto& l) { l.axes.front().bitCount = 17; });
    refused([](auto& l) { l.axes.front().bitCount = 0; });
    refused([](auto& l) { l.axes.front().firstBit = 5; });
    refused([](auto& l) { l.axes.front().firstPhase = 17; });
    refused([](auto& l) { l.imageCount = 19; });
    refused([](auto& l) { l.options.rows = true; });
    refused([](auto& l) { l.options.inverse = false; });
    refused([](auto& l) { l.options.lattice = Driver::Lattice::Diamond; });
    refused([](auto& l) { l.options.code = Reconstruction::SequenceOptions::Code::ErrorCorrecting; });
    EXPECT_THROW(Reconstructor(head, Reconstruction::planSequence(1000, 768)), ArgumentInvalidException);
    EXPECT_THROW(Reconstructor(head, Reconstruction::planSequence(1024, 800)), ArgumentInvalidException);
}

} // namespace
