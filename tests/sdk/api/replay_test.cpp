#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"
#include "vorta/api/cameraimpl.h"
#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <future>

namespace Vorta {
namespace {

using Testing::driverPath;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using Testing::TemporaryFolder;
using Testing::VirtualHeads;

std::string replayDriverPath() {
    return VORTA_BIN_DIR "/VortaCameraNetCDF.dll";
}

bool sameBytes(const PointCloud& a, const PointCloud& b) {
    return a.height() == b.height() && a.width() == b.width() &&
           std::memcmp(a.data(), b.data(), a.size() * sizeof(Point)) == 0;
}

std::size_t validPoints(const PointCloud& cloud) {
    return static_cast<std::size_t>(std::ranges::count_if(cloud.points(), &Point::isValid));
}

class ReplayTest : public ::testing::Test {
protected:
    /// Takes a measurement with a virtual head, saves it as a.vdf and returns it.
    Frame record(const Settings& settings) {
        const VirtualHeads heads({.serialNumber = "T-1"});
        Application recorder;
        recorder.getImpl().setCameraDriver(driverPath(), settings);
        Camera camera = recorder.cameras().at(0);
        camera.connect();
        Frame frame = camera.capture();
        frame.save(file());
        return frame;
    }

    static Settings keepingImages() {
        Settings settings;
        settings.set("Camera/SaveImages", "true");
        return settings;
    }

    /// Settings that replay a.vdf.
    Settings replaying() const {
        Settings settings;
        settings.set("Camera/Driver", "NetCDF");
        settings.set("Camera/MeasurementFile", file());
        return settings;
    }

    Camera open(const Settings& settings) {
        application.getImpl().setCameraDriver(replayDriverPath(), settings);
        Camera camera = application.cameras().at(0);
        camera.setSettings(settings);
        camera.connect();
        return camera;
    }

    std::string file() const { return folder.file("a.vdf"); }

    TemporaryFolder folder;
    Application application;
};

TEST_F(ReplayTest, ShowsTheHeadThatMeasured) {
    record(Settings{});
    application.getImpl().setCameraDriver(replayDriverPath(), replaying());
    const std::vector<Camera> cameras = application.cameras();
    ASSERT_THAT(cameras, SizeIs(1));
    EXPECT_EQ(cameras[0].serialNumber().toString(), "T-1");
    EXPECT_EQ(cameras[0].modelName(), "VORTA Test");
    EXPECT_EQ(cameras[0].firmwareVersion(), "VORTA 0.9.21");
}

TEST_F(ReplayTest, DeliversTheStoredPointsWithoutImages) {
    const Frame recorded = record(Settings{});
    Camera camera = open(replaying());
    const Frame frame = camera.capture();
    EXPECT_TRUE(sameBytes(frame.getPointCloud(), recorded.getPointCloud()));
    EXPECT_EQ(frame.getImpl().info().time, recorded.getImpl().info().time);
    EXPECT_EQ(frame.getImpl().info().temperatures.head, recorded.getImpl().info().temperatures.head);
}

TEST_F(ReplayTest, DecodesStoredImagesAsTheyWere) {
    // The patterns are the recording's, whatever the settings ask for.
    Settings settings = keepingImages();
    settings.set("Measurement/AdvancedPattern", "Inverse");
    const Frame recorded = record(settings);
    Camera camera = open(replaying());
    EXPECT_TRUE(sameBytes(camera.capture().getPointCloud(), recorded.getPointCloud()));
}

TEST_F(ReplayTest, DecodesStoredImagesAfreshUnderTheCurrentSettings) {
    const Frame recorded = record(keepingImages());
    Settings settings = replaying();
    settings.set("Measurement/InvalidateLeft", "43");
    settings.set("Filters/Outlier/Enabled", "false");
    Camera camera = open(settings);
    const PointCloud margin = camera.capture().getPointCloud();
    EXPECT_GT(validPoints(recorded.getPointCloud()), 36'000U);
    EXPECT_LE(validPoints(margin), 200U * 150U);
    EXPECT_GT(validPoints(margin), 29'000U);
    settings.set("Filters/Contrast/Threshold", "127");
    camera.setSettings(settings);
    EXPECT_EQ(validPoints(camera.capture().getPointCloud()), 0U);
}

TEST_F(ReplayTest, ReplaysLive) {
    record(keepingImages());
    Settings settings = replaying();
    settings.set("Camera/FrameRate", "1000");
    Camera camera = open(settings);
    std::promise<void> third;
    std::atomic<int> count = 0;
    camera.setFrameCallback([&](const Frame&) {
        if (++count == 3)
            third.set_value();
    });
    camera.startLive();
    EXPECT_EQ(third.get_future().wait_for(std::chrono::seconds(60)), std::future_status::ready);
    camera.stopLive();
    camera.setFrameCallback({});
    camera.disconnect();
}

TEST_F(ReplayTest, RemovingTheFileUnplugsTheHead) {
    record(keepingImages());
    Camera camera = open(replaying());
    EXPECT_TRUE(camera.state().connected);
    std::filesystem::remove(file());
    EXPECT_FALSE(camera.state().connected);
    try {
        static_cast<void>(camera.capture());
        ADD_FAILURE() << "captured from a file that is gone";
    } catch (const RuntimeException& error) {
        EXPECT_THAT(error.what(), HasSubstr("Camera 'T-1' has vanished: The data file '" + file() + "' is gone."));
    }
    EXPECT_THAT(application.cameras(), SizeIs(0));
}

TEST_F(ReplayTest, ListsNothingWithoutAFileAndSaysOnceWhyAFileCannotBeUsed) {
    application.getImpl().setCameraDriver(replayDriverPath(), Settings{});
    EXPECT_THAT(application.cameras(), SizeIs(0));

    Testing::writeFile(file(), "no measurement");
    std::vector<std::string> warnings;
    application.getImpl().setLogCallback([&](const Log::Event& event) {
        if (event.getSeverity() == Log::Severity::Warning)
            warnings.push_back(event.getMessage());
    });
    application.getImpl().setCameraDriver(replayDriverPath(), replaying());
    EXPECT_THAT(application.cameras(), SizeIs(0));
    EXPECT_THAT(application.cameras(), SizeIs(0));
    application.getImpl().setLogCallback({});
    ASSERT_THAT(warnings, SizeIs(1));
    EXPECT_THAT(warnings[0], HasSubstr("There is nothing to replay: "));
    EXPECT_THAT(warnings[0], HasSubstr(file()));

    record(Settings{}); // a file that is repaired is read
    EXPECT_THAT(application.cameras(), SizeIs(1));
}

} // namespace
} // namespace Vorta
