// A long day of an application of the camera library, in one process.

#include "endurance/endure.h"
#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace Vorta {
namespace {

using Testing::endure;
using Testing::TemporaryFolder;
using Testing::VirtualHeads;

// A kilobyte for each live frame, 10 for a capture, 20 for an unplug and 40 for a file, where the virtual head's cloud,
// of 243 x 150 points, has 729 and each raw image 36.
constexpr std::size_t allowedBytes = 2'000'000;

/// Frames as they come; its thread may outlive acquisition by the frame that it is just delivering.
class Frames {
public:
    void add(const Frame& frame) {
        const std::lock_guard lock(mutex_);
        newest_ = frame;
        ++count_;
        arrived_.notify_all();
    }

    /// Waits for one more than at the last call; whether it came.
    bool next() {
        std::unique_lock lock(mutex_);
        const bool came = arrived_.wait_for(lock, std::chrono::seconds(60), [this] { return count_ > taken_; });
        if (came)
            ++taken_;
        return came;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    Frame newest_;
    int count_ = 0;
    int taken_ = 0;
};

bool samePoints(const PointCloud& a, const PointCloud& b) {
    return a.width() == b.width() && a.height() == b.height() &&
           std::memcmp(a.points().data(), b.points().data(), a.points().size_bytes()) == 0;
}

class LibraryEndurance : public ::testing::Test {
protected:
    LibraryEndurance() {
        Settings settings;
        settings.set("Camera/FrameRate", "1000"); // as fast as the head can
        application.getImpl().setCameraDriver(Testing::driverPath(), settings);
        connect();
    }

    void connect() {
        camera = application.cameras().at(0);
        camera.connect();
    }

    void live() {
        const auto frames = std::make_shared<Frames>();
        camera.setFrameCallback([frames](const Frame& frame) { frames->add(frame); });
        camera.startLive();
        endure({.name = "live frames", .warmUp = 200, .rounds = 2000, .allowedBytes = allowedBytes, .round = [&] {
                    ASSERT_TRUE(frames->next());
                }});
        camera.stopLive();
        camera.setFrameCallback({});
    }

    void captures() {
        endure({.name = "captures", .warmUp = 20, .rounds = 200, .allowedBytes = allowedBytes, .round = [&] {
                    const Frame frame = camera.capture();
                    ASSERT_NEAR(frame.getPointCloud()(75, 121).z, 700.0F, 1.0F);
                }});
    }

    /// Unplugged while it is open, and while nobody looks for it; what is plugged in again measures.
    void unplugs() {
        const auto isMissed = [this] { return !camera.state().connected; };
        endure({.name = "unplugs", .warmUp = 10, .rounds = 100, .allowedBytes = allowedBytes, .round = [&] {
                    heads.unplug("T-1");
                    ASSERT_TRUE(isMissed());
                    ASSERT_TRUE(application.cameras().empty());
                    camera.disconnect();
                    heads.plug({.serialNumber = "T-1"});
                    connect();
                    ASSERT_FALSE(camera.capture().isNull());
                }});
    }

    void files() {
        const Frame frame = camera.capture();
        const PointCloud cloud = frame.getPointCloud();
        const TemporaryFolder folder;
        endure({.name = "saves and opens", .warmUp = 5, .rounds = 50, .allowedBytes = allowedBytes, .round = [&] {
                    frame.save(folder.file("a.vdf"));
                    ASSERT_TRUE(samePoints(Frame(folder.file("a.vdf"), ComputeDevice{}).getPointCloud(), cloud));
                }});
        EXPECT_EQ(folder.entries().size(), 1U);
    }

    VirtualHeads heads{{.serialNumber = "T-1"}};
    Application application;
    Camera camera;
};

TEST_F(LibraryEndurance, ALongDayTakesNoMoreThanItsFirstHour) {
    live();
    captures();
    unplugs();
    files();
    camera.disconnect();
}

} // namespace
} // namespace Vorta
