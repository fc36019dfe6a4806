#include "sdk/api/testtools.h"

#include "vorta/api/application.h"
#include "vorta/api/cameraimpl.h"

#include <boost/process/environment.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>

namespace Vorta {
namespace {

/// How a measurement compares with what was really there.
struct Accuracy {
    double rmsMm = 0.0;            ///< of the depth error, over all valid points
    double validOfVisible = 0.0;   ///< share of the visible pixels that gave a point
    double grosslyWrong = 0.0;     ///< share of the valid points that are off by more than 1 mm
    double validOfInvisible = 0.0; ///< share of the other pixels that gave a point all the same
};

Accuracy compare(const PointCloud& cloud, const Driver::GroundTruth& truth) {
    std::size_t valid = 0;
    std::size_t visible = 0;
    std::size_t validVisible = 0;
    std::size_t wrong = 0;
    double squares = 0.0;
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        const bool isVisible = truth.visible[i] != 0;
        visible += isVisible ? 1 : 0;
        if (!cloud[i].isValid())
            continue;
        ++valid;
        validVisible += isVisible ? 1 : 0;
        const double error = double{cloud[i].z} - double{truth.depthMm[i]};
        if (!(std::abs(error) <= 1.0)) // also a point where there is nothing
            ++wrong;
        if (std::isfinite(error))
            squares += error * error;
    }
    const auto share = [](std::size_t part, std::size_t whole) {
        return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
    };
    return {.rmsMm = std::sqrt(squares / static_cast<double>(valid)),
            .validOfVisible = share(validVisible, visible),
            .grosslyWrong = share(wrong, valid),
            .validOfInvisible = share(valid - validVisible, cloud.size() - visible)};
}

TEST(Accuracy, OfAPlaneAt700MmWithDefaultSettings) {
    boost::this_process::environment().set("VORTA_VIRTUAL_HEADS", VORTA_SOURCE_DIR "/heads/plane");
    Application application;
    application.getImpl().setCameraDriver(Testing::driverPath(), Settings{});
    const std::vector<Camera> cameras = application.cameras();
    const auto found = std::ranges::find(cameras, SerialNumber("VP-0700"), &Camera::serialNumber);
    ASSERT_NE(found, cameras.end());
    Camera camera = *found;
    camera.connect();
    const PointCloud cloud = camera.capture().getPointCloud();
    const auto truth = camera.getImpl().groundTruth();
    ASSERT_TRUE(truth.has_value());
    ASSERT_EQ(cloud.width(), 1944U);
    ASSERT_EQ(cloud.height(), 1200U);
    ASSERT_EQ(truth->depthMm.size(), cloud.size());

    const Accuracy accuracy = compare(cloud, *truth);
    std::cout << "RMS of the depth error:        " << accuracy.rmsMm << " mm\n"
              << "Valid of the visible pixels:   " << 100.0 * accuracy.validOfVisible << " %\n"
              << "Valid points off by over 1 mm: " << 100.0 * accuracy.grosslyWrong << " %\n"
              << "Valid of the invisible pixels: " << 100.0 * accuracy.validOfInvisible << " %\n";
    EXPECT_LE(accuracy.rmsMm, 0.10);
    EXPECT_GE(accuracy.validOfVisible, 0.97);
    EXPECT_LE(accuracy.grosslyWrong, 0.001);
}

} // namespace
} // namespace Vorta
