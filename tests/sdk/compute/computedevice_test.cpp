#include "vorta/compute/computedevice.h"

#include <gtest/gtest.h>

namespace Vorta {
namespace {

TEST(ComputeDevice, IsTheHostUnlessNamed) {
    EXPECT_EQ(ComputeDevice().name(), "Host memory");
    EXPECT_EQ(ComputeDevice("Software renderer").name(), "Software renderer");
}

TEST(ComputeDevice, EveryHostHandleIsTheSameDevice) {
    EXPECT_EQ(ComputeDevice(), ComputeDevice());
}

TEST(ComputeDevice, CopiesAreTheSameDeviceAndNamesakesAreNot) {
    const ComputeDevice device("Renderer");
    const ComputeDevice copy = device; // NOLINT(performance-unnecessary-copy-initialization): the copy is the point
    EXPECT_EQ(copy, device);
    EXPECT_FALSE(ComputeDevice("Renderer") == device);
    EXPECT_FALSE(ComputeDevice() == device);
}

} // namespace
} // namespace Vorta
