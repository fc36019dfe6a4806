// Heads that are warmer than their calibration: what the drift does to the points, and what following it takes away.

#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"
#include "vorta/api/cameraimpl.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <string>

namespace Vorta {
namespace {

using Testing::VirtualHeads;

/// Depth errors in mm.
struct Errors {
    double centre = 0.0; ///< mean over 31 x 31 pixels about the image centre
    double rms = 0.0;    ///< over all points
};

Errors errorsOf(const PointCloud& cloud, const Driver::GroundTruth& truth) {
    double centre = 0.0;
    std::size_t inCentre = 0;
    double squares = 0.0;
    std::size_t valid = 0;
    for (std::size_t row = 0; row < cloud.height(); ++row)
        for (std::size_t column = 0; column < cloud.width(); ++column) {
            const Point& point = cloud(row, column);
            if (!point.isValid())
                continue;
            const double error = double{point.z} - double{truth.depthMm[row * cloud.width() + column]};
            squares += error * error;
            ++valid;
            if (row >= 60 && row <= 90 && column >= 106 && column <= 136) {
                centre += error;
                ++inCentre;
            }
        }
    EXPECT_EQ(inCentre, 31U * 31U);
    EXPECT_GE(valid, 30'000U);
    return {.centre = centre / static_cast<double>(inCentre), .rms = std::sqrt(squares / static_cast<double>(valid))};
}

Settings methodOf(const std::string& method) {
    Settings settings;
    settings.set("Calibration/Method", method);
    return settings;
}

const Settings following = methodOf("ProjectorCameraMultiTemp");
const Settings rigid = methodOf("ProjectorCamera");

/// A head before a plane at 700 mm, 20 K warmer than its calibration's reference. Its projector's principal point moves
/// by 0.02 columns per kelvin, so that everything is seen 0.4 columns farther to the right. On the optical axis the
/// column is 1130 (s z - a) / (c z + b) + 511.5 with s = 0.26724, a = 192.726, c = 0.96363 and b = 53.448, which grows
/// by 1130 (s b + c a) / (700 c + b)^2 = 1130 * 200.00 / 727.99^2 = 0.42645 columns per mm. 0.4 columns are 0.938 mm.
class DriftTest : public ::testing::Test {
protected:
    static constexpr double driftMm = 0.938;
    static constexpr double toleranceMm = 0.01;

    void open(const std::string& temperatures,
              const std::string& drift = "reference: 25, projector: {centre: [0.02, 0]}") {
        heads.plug({.serialNumber = "T-1",
                    .noise = false,
                    .more = "temperatures: {" + temperatures + "}\ndrift: {" + drift + "}\n"});
        application.getImpl().setCameraDriver(Testing::driverPath(), Settings{});
        camera = application.cameras().at(0);
        camera.connect();
    }

    Errors errorsWith(const Settings& settings) {
        camera.setSettings(settings);
        const PointCloud cloud = camera.capture().getPointCloud();
        return errorsOf(cloud, camera.getImpl().groundTruth().value());
    }

    VirtualHeads heads;
    Application application;
    Camera camera;
};

TEST_F(DriftTest, IsFollowedByTheLensSensor) {
    open("head: 35, lens: 45");
    EXPECT_NEAR(errorsWith(rigid).centre, driftMm, toleranceMm);
    EXPECT_NEAR(errorsWith(methodOf("Polynomial")).centre, driftMm, toleranceMm);
    EXPECT_NEAR(errorsWith(following).centre, 0.0, toleranceMm);
    Settings given = following;
    given.set("Projector/VirtualTemperature", "35");
    EXPECT_NEAR(errorsWith(given).centre, 0.0, toleranceMm) << "a sensor tells better";
}

TEST_F(DriftTest, IsFollowedByTheHeadWhenTheLensHasNoSensor) {
    open("head: 45");
    EXPECT_NEAR(errorsWith(rigid).centre, driftMm, toleranceMm);
    EXPECT_NEAR(errorsWith(following).centre, 0.0, toleranceMm);
}

TEST_F(DriftTest, IsFollowedByTheGivenTemperatureWhenTheLensHasNoSensor) {
    open("head: 45");
    Settings given = following;
    given.set("Projector/VirtualTemperature", "35"); // of 20 K only 10
    EXPECT_NEAR(errorsWith(given).centre, driftMm / 2.0, toleranceMm);
}

TEST_F(DriftTest, IsFollowedBelowTheReference) {
    open("head: 35, lens: 10");
    EXPECT_NEAR(errorsWith(rigid).centre, -0.75 * driftMm, toleranceMm);
    EXPECT_NEAR(errorsWith(following).centre, 0.0, toleranceMm);
}

TEST_F(DriftTest, OfAllOpticsIsFollowed) {
    open("head: 35, lens: 37", // between two of the temperatures that the head is calibrated at
         "reference: 25, camera: {focal: 8, centre: [0.01, -0.008]}, projector: {focal: 11, centre: [0.006, 0.004]}, "
         "translation: [0.0023, 0, 0.0005], rotation: [0.0001, 0.0006, 0]");
    const Errors uncompensated = errorsWith(rigid);
    const Errors compensated = errorsWith(following);
    std::cout << "12 K of drift: RMS " << uncompensated.rms << " mm uncompensated, " << compensated.rms
              << " mm compensated\n";
    EXPECT_GE(uncompensated.rms, 20.0 * compensated.rms);
}

TEST_F(DriftTest, IsFollowedInRecordedImages) {
    open("head: 35, lens: 45");
    Settings settings = rigid;
    settings.set("Camera/SaveImages", "true");
    camera.setSettings(settings);
    const Testing::TemporaryFolder folder;
    const std::string file = folder.file("a.vdf");
    camera.capture().save(file);
    const Driver::GroundTruth truth = camera.getImpl().groundTruth().value();

    settings = following;
    settings.set("Camera/MeasurementFile", file);
    Application replay;
    replay.getImpl().setCameraDriver(VORTA_BIN_DIR "/VortaCameraNetCDF.dll", settings);
    Camera recorded = replay.cameras().at(0);
    recorded.setSettings(settings);
    recorded.connect();
    EXPECT_NEAR(errorsOf(recorded.capture().getPointCloud(), truth).centre, 0.0, toleranceMm);
}

} // namespace
} // namespace Vorta
