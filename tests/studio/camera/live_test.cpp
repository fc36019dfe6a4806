#include "studio/camera/controllerfixture.h"
#include "support/processusage.h"

#include "vorta/common/exceptions.h"

#include <future>
#include <mutex>

namespace {

using namespace Vorta;
using Vorta::Testing::LoggedTexts;
using Vorta::Testing::waitFor;

class Live : public Vorta::Testing::ControllerTest {
protected:
    void startLive() {
        controller_->measure(liveSpec());
        ASSERT_TRUE(controller_->status().live);
    }

    bool delivers(int more) {
        const int before = clouds_;
        return waitFor([&] { return clouds_ >= before + more; }, 120'000);
    }

    /// What the poll timer does, without waiting for it.
    void poll() { controller_->slotHandleCameraPollTimer(); }
};

TEST_F(Live, FirstStartMakesOneSingleCapture) {
    startConnected();
    LoggedTexts log(application_);
    startLive();
    EXPECT_EQ(records_->count(), 1);
    EXPECT_EQ(log.count("Starting live acquisition"), 1);
    EXPECT_TRUE(statuses_->last().at(0).value<CameraStatus>().live);
    EXPECT_EQ(camera().settings().getString("Brightness"), "0.75");

    controller_->stopLive();
    EXPECT_EQ(log.count("Stopping live acquisition"), 1);
    EXPECT_FALSE(controller_->status().live);
    EXPECT_TRUE(controller_->status().connected);
    EXPECT_FALSE(statuses_->last().at(0).value<CameraStatus>().live);
    const int records = records_->count();
    startLive();
    EXPECT_EQ(records_->count(), records) << "only the first start captures by itself";
}

TEST_F(Live, ARawCaptureBeforeIsNoSingleOne) {
    startConnected();
    FrameSpec raw = spec();
    raw.raw = true;
    controller_->measure(raw);
    ASSERT_EQ(records_->count(), 1);
    controller_->measure(liveSpec());
    EXPECT_EQ(records_->count(), 2);
}

TEST_F(Live, StartAfterAMeasurementCapturesNothing) {
    startConnected();
    controller_->measure(spec());
    ASSERT_EQ(records_->count(), 1);
    startLive();
    EXPECT_EQ(records_->count(), 1);
}

TEST_F(Live, FramesReachTheViewAndBecomeNoRecords) {
    startConnected();
    startLive();
    const auto record = controller_->record();
    EXPECT_TRUE(delivers(5));
    EXPECT_EQ(records_->count(), 1);
    EXPECT_EQ(controller_->record(), record);
    const auto cloud = lastCloud_.copyToCPU();
    EXPECT_NEAR(cloud(75, 121).z, 700.0F, 1.0F);
}

TEST_F(Live, LastFrameIsTheMeasurementAfterTheStop) {
    startConnected();
    startLive();
    const auto before = controller_->record();
    EXPECT_TRUE(delivers(2));
    controller_->stopLive();
    const auto record = controller_->record();
    EXPECT_NE(record, before);
    const auto shown = lastCloud_.copyToCPU();
    controller_->saveDataFile(path("a.vdf"));
    const PointCloud saved = Frame(path("a.vdf").toStdString(), ComputeDevice{}).getPointCloud();
    ASSERT_EQ(saved.size(), shown.size());
    for (std::size_t i = 0; i < saved.size(); i += 97)
        if (saved[i].isValid()) {
            EXPECT_EQ(record->pointCloud()[i].z, saved[i].z) << i;
            EXPECT_EQ(shown[i].z, saved[i].z) << i;
        }
}

TEST_F(Live, LastFrameIsTheMeasurementAlsoWhenTheHeadEndsIt) {
    startConnected();
    startLive();
    const auto before = controller_->record();
    ASSERT_TRUE(delivers(1));
    heads_.unplug("T-1");
    poll();
    EXPECT_NE(controller_->record(), before);
}

TEST_F(Live, SingleCaptureMeanwhileIsRefused) {
    startConnected();
    startLive();
    EXPECT_THROW(controller_->measure(spec()), LogicException);
    EXPECT_TRUE(delivers(2)) << "live goes on";
}

TEST_F(Live, NothingArrivesAfterTheStop) {
    startConnected();
    startLive();
    ASSERT_TRUE(delivers(2));
    controller_->stopLive();
    controller_->measure(spec());
    const auto record = controller_->record();
    const int clouds = clouds_;
    EXPECT_FALSE(waitFor([&] { return clouds_ != clouds || controller_->record() != record; }, 300))
        << "a late frame replaces the newer capture";
}

TEST_F(Live, ControllerMayGoWhileFramesWaitForIt) {
    for (int round = 0; round < 10; ++round) {
        startConnected();
        if (round % 2 == 0) {
            startLive();
            EXPECT_TRUE(delivers(1));
        } else {
            controller_->measure(spec()); // so that the first cloud below is a frame
            // Nobody takes the frame that comes here, so it waits in the library's thread.
            std::promise<void> offered;
            std::once_flag once;
            const auto connection = QObject::connect(
                controller_.get(), &VortaInterface::deviceCloudUpdated, controller_.get(),
                [&] { std::call_once(once, [&] { offered.set_value(); }); }, Qt::DirectConnection);
            startLive();
            ASSERT_EQ(offered.get_future().wait_for(std::chrono::seconds(60)), std::future_status::ready);
            QObject::disconnect(connection);
        }
        LoggedTexts log(application_);
        controller_.reset();
        EXPECT_EQ(log.count("Stopping live acquisition"), 1);
    }
}

TEST_F(Live, UnpluggingIsNoticedAndThePluggedInHeadConnectsAgain) {
    startConnected();
    startLive();
    ASSERT_TRUE(delivers(1));
    heads_.unplug("T-1");
    poll();
    EXPECT_FALSE(controller_->status().connected);
    EXPECT_FALSE(controller_->status().live);
    EXPECT_EQ(infos_->count(), 0);
    poll();
    EXPECT_EQ(infos_->count(), 1);
    heads_.plug({.serialNumber = "T-1"});
    ASSERT_TRUE(becomesConnected());
    startLive();
    EXPECT_TRUE(delivers(2));
}

TEST_F(Live, FailingHeadEndsItAndStaysConnected) {
    heads_.plug({.serialNumber = "T-1", .faults = "capture: too hot, afterCaptures: 4"});
    startConnected();
    startLive();
    ASSERT_TRUE(waitFor(
        [this] {
            poll();
            return !controller_->status().live;
        },
        60'000));
    EXPECT_TRUE(controller_->status().connected);
    heads_.plug({.serialNumber = "T-1"});
    controller_->measure(spec());
    EXPECT_NEAR(controller_->record()->minZ(), 700.0, 5.0);
}

// Sanitizers keep freed memory for a while; what is lost they find themselves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST_F(Live, TwoThousandFramesDoNotGrowTheMemory) {
    heads_.plug({.serialNumber = "T-1", .width = 81, .height = 50, .noise = false});
    Settings fast;
    fast.set("Camera/FrameRate", "1000");
    preferences_.saveCameraSettings(fast);
    startConnected();
    startLive();
    ASSERT_TRUE(delivers(200));
    const std::size_t before = Vorta::Testing::processUsage().residentBytes;
    ASSERT_TRUE(delivers(2000));
    const std::size_t after = Vorta::Testing::processUsage().residentBytes;
    // A lost cloud a frame would be 160 MB, a lost kilobyte 2 MB.
    EXPECT_LT(after, before + 4'000'000U);
}

#endif

} // namespace
