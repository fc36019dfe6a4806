// Heads without calibration, and the calibrations that come later.

#include "vorta/reconstruction/reconstructor.h"

#include "simulatedhead.h"
#include "support/allocations.h"

#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

using namespace Vorta;
using Reconstruction::Parameters;
using Reconstruction::planSequence;
using Reconstruction::Reconstructor;
using Reconstruction::ReconstructorOptions;
using ::testing::HasSubstr;

constexpr Driver::HeadDimensions dimensions{
    .sensorWidth = 243, .sensorHeight = 150, .projectorWidth = 1024, .projectorHeight = 768};
constexpr Parameters raw{.applyCalibration = false};

bool sameBytes(const PointCloud& a, const PointCloud& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Point)) == 0;
}

struct Capture {
    Driver::Calibration head = Simulation::smallHead(true);
    Reconstruction::SequenceLayout layout = planSequence(head.projector.width, head.projector.height);
    Driver::ImageStack images = Simulation::render(head, layout, {}, {});
};

PointCloud reconstruct(Reconstructor& reconstructor, const Capture& capture, const Parameters& parameters) {
    PointCloud cloud;
    reconstructor.reconstruct(capture.images, parameters, cloud);
    return cloud;
}

TEST(Uncalibrated, DeliversProjectorCoordinatesInPixels) {
    const Capture capture;
    Reconstructor reconstructor(dimensions, capture.layout);
    const PointCloud cloud = reconstruct(reconstructor, capture, raw);
    ASSERT_EQ(cloud.width(), 243U);
    ASSERT_EQ(cloud.height(), 150U);
    std::size_t valid = 0;
    for (std::size_t row = 0; row < 150; ++row) {
        for (std::size_t column = 0; column < 243; ++column) {
            const Point& point = cloud(row, column);
            if (!point.isValid()) {
                ASSERT_TRUE(std::isnan(point.x) && std::isnan(point.y));
                continue;
            }
            const auto sight = Simulation::see(capture.head, {}, row, column);
            ASSERT_NEAR(point.x, sight->projectorColumn, 0.03);
            ASSERT_EQ(point.y, 0.0F);
            ASSERT_EQ(point.z, 1.0F);
            ++valid;
        }
    }
    EXPECT_GT(valid, 20'000U);
}

TEST(Uncalibrated, ContrastAndColourAreThoseOfACalibratedHead) {
    const Capture capture;
    Reconstructor bare(dimensions, capture.layout);
    Reconstructor calibrated(capture.head, capture.layout);
    const PointCloud columns = reconstruct(bare, capture, raw);
    EXPECT_TRUE(sameBytes(columns, reconstruct(calibrated, capture, raw)));
    const PointCloud points = reconstruct(calibrated, capture, {});
    for (std::size_t i = 0; i < points.size(); ++i) {
        ASSERT_EQ(columns[i].contrast, points[i].contrast);
        ASSERT_EQ(std::memcmp(&columns[i].blue, &points[i].blue, 4), 0);
        ASSERT_TRUE(columns[i].isValid() || !points[i].isValid());
    }
}

// Four lit pixels alone are fewer than the outlier filter lets stand.
TEST(Uncalibrated, SmallPatchesStay) {
    Capture capture;
    for (std::size_t image = 0; image < capture.images.count(); ++image)
        for (std::size_t row = 0; row < 150; ++row)
            for (std::size_t column = 0; column < 243; ++column)
                if (row < 70 || row > 71 || column < 120 || column > 121)
                    capture.images.row(image, row)[column] = 5;
    Reconstructor reconstructor(capture.head, capture.layout);
    EXPECT_EQ(std::ranges::count_if(reconstruct(reconstructor, capture, {}).points(), &Point::isValid), 0);
    EXPECT_EQ(std::ranges::count_if(reconstruct(reconstructor, capture, raw).points(), &Point::isValid), 4);
}

TEST(Uncalibrated, SaysWhatToDoWhenPointsAreAskedFor) {
    const Capture capture;
    Reconstructor reconstructor(dimensions, capture.layout);
    PointCloud cloud;
    try {
        reconstructor.reconstruct(capture.images, {}, cloud);
        FAIL() << "points without a calibration";
    } catch (const LogicException& error) {
        EXPECT_THAT(error.what(), HasSubstr("The head has no calibration"));
        EXPECT_THAT(error.what(), HasSubstr("Measurement/CalibrationFile"));
        EXPECT_THAT(error.what(), HasSubstr("Measurement/ApplyCalibration"));
    }
    EXPECT_TRUE(cloud.empty());
    reconstructor.setCalibration(capture.head);
    Reconstructor calibrated(capture.head, capture.layout);
    EXPECT_TRUE(sameBytes(reconstruct(reconstructor, capture, {}), reconstruct(calibrated, capture, {})));
}

TEST(Uncalibrated, RefusesImpossibleSizes) {
    const Reconstruction::SequenceLayout layout = planSequence(dimensions.projectorWidth, dimensions.projectorHeight);
    const auto refused = [&](auto change) {
        Driver::HeadDimensions other = dimensions;
        change(other);
        EXPECT_THROW(Reconstructor(other, layout), ArgumentInvalidException);
    };
    refused([](auto& d) { d.sensorWidth = 0; });
    refused([](auto& d) { d.sensorHeight = 0; });
    refused([](auto& d) { d.sensorHeight = 65'536; });
    refused([](auto& d) { d.projectorHeight = 0; });
    refused([](auto& d) { d.projectorWidth = 1023; });
}

TEST(LaterCalibration, TheSameOneCostsNothing) {
    const Capture capture;
    Reconstructor reconstructor(capture.head, capture.layout, {.method = ReconstructorOptions::Method::Polynomial});
    const std::size_t count = allocationCount();
    reconstructor.setCalibration(capture.head);
    EXPECT_EQ(allocationCount(), count);
}

// Only the baseline, only the camera, and back: each time as if it had been the first.
TEST(LaterCalibration, IsTakenWholly) {
    const Capture capture;
    Driver::Calibration wider = capture.head;
    wider.translationMm[0] -= 1.0;
    Driver::Calibration zoomed = wider;
    zoomed.camera.fx += 1.0;
    for (const auto method : {ReconstructorOptions::Method::Triangulation, ReconstructorOptions::Method::Polynomial}) {
        Reconstructor reconstructor(capture.head, capture.layout, {.method = method});
        for (const Driver::Calibration& head : {wider, zoomed, capture.head}) {
            reconstructor.setCalibration(head);
            Reconstructor fresh(head, capture.layout, {.method = method});
            EXPECT_TRUE(sameBytes(reconstruct(reconstructor, capture, {}), reconstruct(fresh, capture, {})));
        }
    }
}

TEST(PolynomialMethod, FindsThePointsOfTriangulation) {
    const Capture capture;
    Reconstructor exact(capture.head, capture.layout);
    Reconstructor fitted(capture.head, capture.layout, {.method = ReconstructorOptions::Method::Polynomial});
    Reconstructor plain(capture.head, capture.layout,
                        {.threads = 1,
                         .arithmetic = ReconstructorOptions::Arithmetic::Reference,
                         .method = ReconstructorOptions::Method::Polynomial});
    const PointCloud expected = reconstruct(exact, capture, {});
    const PointCloud cloud = reconstruct(fitted, capture, {});
    EXPECT_TRUE(sameBytes(cloud, reconstruct(plain, capture, {})));
    std::size_t valid = 0;
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        ASSERT_EQ(cloud[i].isValid(), expected[i].isValid()) << i;
        if (!cloud[i].isValid())
            continue;
        ASSERT_NEAR(cloud[i].z, expected[i].z, 0.004);
        ++valid;
    }
    EXPECT_GT(valid, 20'000U);
    EXPECT_THROW(Reconstructor(capture.head, capture.layout, {.nearMm = 500.0, .farMm = 400.0}),
                 ArgumentOutOfRangeException);
}

} // namespace
