#include "vorta/api/hdr.h"

#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace Vorta {
namespace {

using Testing::driverPath;
using Testing::VirtualHeads;

/// A frame of 2 x 2 points at this depth and modulation.
Frame frameOf(float z, float contrast, const std::string& iris, const std::string& brightness = "1") {
    PointCloud cloud(2, 2);
    for (Point& point : cloud.points())
        point = {.x = 1.0F, .y = 2.0F, .z = z, .contrast = contrast, .blue = 10, .green = 20, .red = 30, .alpha = 255};
    Settings settings;
    settings.set("Iris", iris);
    settings.set("Brightness", brightness);
    settings.set("Lens/MaxIris", "40");
    FrameInfo info;
    info.head.serialNumber = "T-" + iris;
    return Frame(std::make_shared<FrameImpl>(cloud, settings, info, ComputeDevice{}));
}

std::string refusal(const std::vector<std::reference_wrapper<const Frame>>& frames) {
    try {
        static_cast<void>(HDR::Detail::combineFrames(frames));
    } catch (const ArgumentInvalidException& error) {
        return error.what();
    }
    return "";
}

TEST(Hdr, WeightsByModulation) {
    // Inverse variances are as 30^2 to 10^2: (900 * 700.0 + 100 * 700.1) / 1000.
    const Frame good = frameOf(700.0F, 30.0F, "20");
    const Frame poor = frameOf(700.1F, 10.0F, "10");
    const Frame combined = HDR::Detail::combineFrames({good, poor});
    const PointCloud cloud = combined.getPointCloud();
    ASSERT_EQ(cloud.size(), 4U);
    EXPECT_NEAR(cloud[0].z, 700.01, 1e-3);
    EXPECT_EQ(cloud[0].contrast, 30.0F);
    EXPECT_EQ(combined.settings().getString("Iris"), "20");
    EXPECT_EQ(combined.getImpl().info().head.serialNumber, "T-20");
}

TEST(Hdr, CombinesCapturesInTheRoomsLightAlone) {
    const Frame good = frameOf(700.0F, 30.0F, "20", "0");
    const Frame poor = frameOf(700.1F, 10.0F, "10", "0");
    const PointCloud dark = HDR::Detail::combineFrames({good, poor}).getPointCloud();
    EXPECT_NEAR(dark[0].z, 700.01, 1e-3);
    // The irises weigh as they do in the projector's light.
    const Frame litGood = frameOf(700.0F, 30.0F, "20");
    const Frame litPoor = frameOf(700.1F, 10.0F, "10");
    const PointCloud lit = HDR::Detail::combineFrames({litGood, litPoor}).getPointCloud();
    EXPECT_EQ(dark[0].red, lit[0].red);
}

TEST(Hdr, WeighsTheIrisThatTheLensCanOpen) {
    const auto redOf = [](const std::string& wideIris) {
        const Frame narrow = frameOf(700.0F, 30.0F, "40");
        const Frame wide = frameOf(700.0F, 30.0F, wideIris);
        return HDR::Detail::combineFrames({narrow, wide}).getPointCloud()[0].red;
    };
    EXPECT_EQ(redOf("60"), redOf("40"));
    EXPECT_NE(redOf("20"), redOf("40"));
}

TEST(Hdr, RefusesWhatCannotBeCombined) {
    const Frame frame = frameOf(700.0F, 30.0F, "20");
    const Frame empty;
    const Frame other(std::make_shared<FrameImpl>(PointCloud(3, 2), Settings{}, FrameInfo{}, ComputeDevice{}));
    EXPECT_NE(refusal({}), "");
    EXPECT_NE(refusal({frame}), "");
    EXPECT_THAT(refusal({frame, empty}), ::testing::HasSubstr("A frame is empty."));
    EXPECT_NE(refusal({frame, other}), "");
}

TEST(Hdr, SeesMoreThanEachOfItsCaptures) {
    // A checkerboard of nearly black and white that no single exposure does justice.
    const VirtualHeads heads({.serialNumber = "T-1",
                              .scene =
                                  "objects:\n  - plane: {}\n    position: [0, 0, 700]\n    material: {albedo: 0.95, "
                                  "texture: {kind: checker, size: 40, albedo: 0.03}}\n"});
    Application application;
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    Camera camera = application.cameras().at(0);
    camera.connect();
    const auto validAt = [&](const std::string& iris, std::vector<Frame>& frames) {
        Settings settings;
        settings.set("Iris", iris);
        camera.setSettings(settings);
        frames.push_back(camera.capture());
        return std::ranges::count_if(frames.back().getPointCloud().points(), &Point::isValid);
    };
    std::vector<Frame> frames;
    const auto dark = validAt("20", frames);
    const auto bright = validAt("63", frames);
    const Frame combined = HDR::Detail::combineFrames({frames.begin(), frames.end()});
    const auto both = std::ranges::count_if(combined.getPointCloud().points(), &Point::isValid);
    EXPECT_GT(static_cast<double>(both), 1.3 * static_cast<double>(std::max(dark, bright)));
}

} // namespace
} // namespace Vorta
