// An update while another program, here the test itself, has the head open.
#include "support/virtualhead.h"
#include "tools/firmwareupdater/runupdater.h"
#include "vorta/api/application.h"

#include <gtest/gtest.h>

namespace Vorta::Testing {
namespace {

TEST(OpenHead, GoesOnMeasuringAndTellsItsNewFirmware) {
    VirtualHeads heads({.serialNumber = "T-1", .firmware = "VORTA 0.9.20"});
    Application application;
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    Camera camera = application.cameras().at(0);
    camera.connect();
    EXPECT_GT(camera.capture().getPointCloud().size(), 0U);
    ASSERT_EQ(camera.firmwareVersion(), "VORTA 0.9.20");

    ASSERT_EQ(update().status, 0);
    EXPECT_TRUE(camera.state().connected);
    EXPECT_GT(camera.capture().getPointCloud().size(), 0U);
    ASSERT_EQ(application.cameras().size(), 1U);
    EXPECT_EQ(application.cameras().at(0).firmwareVersion(), "VORTA 0.9.21");
}

TEST(OpenHead, KeepsItsFaultsThroughTheUpdate) {
    VirtualHeads heads(
        {.serialNumber = "T-1", .firmware = "VORTA 0.9.20", .faults = "capture: too hot, afterCaptures: 1"});
    Application application;
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    Camera camera = application.cameras().at(0);
    camera.connect();
    EXPECT_NO_THROW((void)camera.capture());
    ASSERT_EQ(update().status, 0);
    EXPECT_ANY_THROW((void)camera.capture());
}

} // namespace
} // namespace Vorta::Testing
