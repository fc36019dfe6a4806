#include "vorta/compute/devicecloud.h"

#include <gtest/gtest.h>

namespace Vorta {
namespace {

TEST(DeviceCloud, IsEmptyByDefault) {
    const DeviceCloud none;
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(none.width(), 0U);
    EXPECT_EQ(none.height(), 0U);
    EXPECT_TRUE(none.copyToCPU().empty());
    EXPECT_EQ(none.device(), ComputeDevice());
}

TEST(DeviceCloud, SharesThePointsItIsGiven) {
    PointCloud cloud(2, 3);
    cloud(1, 2).z = 700.25F;
    const DeviceCloud onDevice(ComputeDevice("Renderer"), cloud);
    EXPECT_FALSE(onDevice.empty());
    EXPECT_EQ(onDevice.height(), 2U);
    EXPECT_EQ(onDevice.width(), 3U);
    EXPECT_EQ(onDevice.device().name(), "Renderer");
    const PointCloud back = onDevice.copyToCPU();
    EXPECT_TRUE(back.sharesDataWith(cloud));
    EXPECT_EQ(back(1, 2).z, 700.25F);
    const DeviceCloud copy = onDevice; // NOLINT(performance-unnecessary-copy-initialization): the copy is the point
    EXPECT_TRUE(copy.copyToCPU().sharesDataWith(cloud));
}

} // namespace
} // namespace Vorta
