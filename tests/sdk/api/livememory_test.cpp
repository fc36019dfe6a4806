// What live acquisition takes from the system once it runs.

#include "sdk/api/testtools.h"
#include "support/allocations.h"
#include "support/counter.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Vorta {
namespace {

using Testing::Counter;
using Testing::TemporaryFolder;
using Testing::VirtualHeads;

// Large enough that its clouds come from kept memory, and that every image is large.
const Testing::VirtualHead largeHead{.serialNumber = "T-1", .width = 486, .height = 300};

struct Window {
    Frame shown;
    Counter frames;
};

/// How often large memory was allocated during live acquisition.
struct LargeAllocations {
    std::size_t atFirst = 0;
    std::size_t later = 0;
};

class LiveMemoryTest : public ::testing::Test {
protected:
    LiveMemoryTest() {
        settings.set("Camera/FrameRate", "1000"); // as fast as the head can
        settings.set("Global/DebugMessages", "true");
    }

    ~LiveMemoryTest() override { application.getImpl().setLogCallback({}); }

    void open(const std::string& driver) {
        application.getImpl().setLogCallback([this](const Log::Event& event) {
            if (event.getMessage().find(" images in ") != std::string::npos)
                captures.add();
        });
        application.getImpl().setCameraDriver(driver, settings);
        camera = application.cameras().at(0);
        camera.connect();
    }

    /// Shows each frame, as a window does. With the second it takes so long that as many frames exist at once as ever
    /// can: the one shown, the one to be shown, the one that waits, and the one that is being made.
    LargeAllocations runLive() {
        const auto window = std::make_shared<Window>(); // a callback may end after acquisition has
        camera.setFrameCallback([this, window](const Frame& frame) {
            EXPECT_EQ(frame.getPointCloud().size(), 486U * 300U);
            if (window->frames.count() == 1) {
                EXPECT_TRUE(captures.waitFor(captures.count() + 4));
            }
            window->shown = frame;
            window->frames.add();
        });
        const std::size_t before = largeAllocationCount();
        camera.startLive();
        EXPECT_TRUE(window->frames.waitFor(4));
        const std::size_t running = largeAllocationCount();
        EXPECT_TRUE(window->frames.waitFor(24));
        const std::size_t end = largeAllocationCount();
        camera.stopLive();
        camera.setFrameCallback({});
        camera.disconnect();
        return {.atFirst = running - before, .later = end - running};
    }

    Settings settings;
    Counter captures;
    Application application;
    Camera camera;
};

TEST_F(LiveMemoryTest, SettlesWithTheFirstFrames) {
    const VirtualHeads heads(largeHead);
    open(Testing::driverPath());
    const LargeAllocations count = runLive();
    EXPECT_GE(count.atFirst, 4U); // the images, and clouds
    EXPECT_EQ(count.later, 0U);
}

TEST_F(LiveMemoryTest, SettlesWithColumnsAndRowsAndEveryFilter) {
    for (const char* path : {"Bidirectional", "Filters/Reflection/Enabled", "Filters/Saturated/Enabled"})
        settings.set(path, "true");
    const VirtualHeads heads(largeHead);
    open(Testing::driverPath());
    EXPECT_EQ(runLive().later, 0U);
}

TEST_F(LiveMemoryTest, SettlesThoughFramesTakeTheirImagesAlong) {
    settings.set("Camera/SaveImages", "true");
    const VirtualHeads heads(largeHead);
    open(Testing::driverPath());
    const LargeAllocations count = runLive();
    EXPECT_GE(count.atFirst, 8U); // four clouds with their images
    EXPECT_EQ(count.later, 0U);
}

TEST_F(LiveMemoryTest, SettlesWhenStoredImagesAreDecoded) {
    const TemporaryFolder folder;
    {
        const VirtualHeads heads(largeHead);
        Settings recording;
        recording.set("Camera/SaveImages", "true");
        Application recorder;
        recorder.getImpl().setCameraDriver(Testing::driverPath(), recording);
        Camera head = recorder.cameras().at(0);
        head.connect();
        head.capture().save(folder.file("a.vdf"));
    }
    settings.set("Camera/Driver", "NetCDF");
    settings.set("Camera/MeasurementFile", folder.file("a.vdf"));
    open(VORTA_BIN_DIR "/VortaCameraNetCDF.dll");
    EXPECT_EQ(runLive().later, 0U);
}

} // namespace
} // namespace Vorta
