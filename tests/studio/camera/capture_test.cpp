#include "studio/camera/controllerfixture.h"

#include "vorta/api/frameimpl.h"
#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace Vorta;
using Vorta::Testing::LoggedTexts;

class Capture : public Vorta::Testing::ControllerTest {
protected:
    static FrameSpec hdrSpec(std::vector<std::uint64_t> irises) {
        FrameSpec result = spec();
        result.irisHDRValues = std::move(irises);
        return result;
    }

    std::size_t savedChildren() {
        controller_->saveDataFile(path("hdr.vdf"));
        return Frame(path("hdr.vdf").toStdString(), ComputeDevice{}).getImpl().childFrames().size();
    }
};

double meanContrast(const PointCloud& cloud) {
    double sum = 0.0;
    for (const Point& point : cloud.points())
        sum += double{point.contrast};
    return sum / static_cast<double>(cloud.size());
}

TEST(CaptureRequest, AsksForNothingBeforeItIsFilled) {
    const FrameSpec request;
    EXPECT_FALSE(request.raw);
    EXPECT_FALSE(request.live);
    EXPECT_TRUE(request.alwaysUseMaxBrightness);
    EXPECT_EQ(request.brightness, 1.0F);
    EXPECT_EQ(request.exposureTime.count(), 0);
    EXPECT_EQ(request.iris, 0U);
    EXPECT_TRUE(request.irisHDRValues.empty());
}

TEST_F(Capture, HdrOfOneIrisIsRefusedBeforeAnythingIsDone) {
    startConnected();
    const std::string brightness = camera().settings().getString("Brightness");
    try {
        controller_->measureHdr(hdrSpec({10}));
        FAIL() << "one iris is too few";
    } catch (const ArgumentInvalidException& e) {
        EXPECT_THAT(e.what(), testing::HasSubstr("Not enough iris values for HDR measurement."));
        EXPECT_EQ(e.parameter(), "spec.irisHDRValues");
    }
    EXPECT_EQ(records_->count(), 0);
    EXPECT_EQ(camera().settings().getString("Brightness"), brightness);
    EXPECT_THROW(controller_->measureHdr(hdrSpec({})), ArgumentInvalidException);
}

TEST_F(Capture, HdrCapturesOnceWithEachIrisInOrder) {
    startConnected();
    LoggedTexts log(application_);
    QList<DeviceCloud> singles;
    PointCloud combined;
    int emissions = 0;
    QObject::connect(controller_.get(), &VortaInterface::deviceCloudsUpdatedHDR, controller_.get(),
                     [&](const QList<DeviceCloud>& clouds, const PointCloud& cloud) {
                         singles = clouds;
                         combined = cloud;
                         ++emissions;
                     });
    controller_->measure(hdrSpec({30, 8}));

    EXPECT_EQ(log.count("Initiating HDR measurement with 2 iris values"), 1);
    EXPECT_EQ(log.count("Performing measurement with minimum iris: 30"), 1);
    EXPECT_EQ(log.count("Performing measurement with minimum iris: 8"), 1);
    EXPECT_EQ(records_->count(), 2) << "the first measurement of all is a single one";
    ASSERT_EQ(emissions, 1);
    ASSERT_EQ(singles.size(), 2);
    EXPECT_GT(meanContrast(singles[0].copyToCPU()), meanContrast(singles[1].copyToCPU())) << "a wider iris is brighter";
    EXPECT_TRUE(controller_->record()->pointCloud().sharesDataWith(combined));
    EXPECT_EQ(camera().settings().getString("Iris"), "8");
    EXPECT_EQ(camera().settings().getString("Brightness"), "0.75");
    EXPECT_EQ(camera().settings().getString("ExposureTime"), "9000");

    const auto earlier = controller_->record();
    controller_->measure(hdrSpec({30, 8}));
    EXPECT_EQ(records_->count(), 3) << "later ones need no single capture before";
    EXPECT_NE(controller_->record(), earlier);
    EXPECT_TRUE(earlier->pointCloud().sharesDataWith(combined)) << "whoever still holds it sees the same points";
}

TEST_F(Capture, OneIrisInTheListMakesASingleCapture) {
    startConnected();
    LoggedTexts log(application_);
    controller_->measure(hdrSpec({10}));
    EXPECT_EQ(records_->count(), 1);
    EXPECT_EQ(camera().settings().getString("Iris"), "29") << "the single capture's own iris";
    EXPECT_THAT(log.all(), testing::Not(testing::Contains(testing::HasSubstr("HDR"))));
}

TEST_F(Capture, HdrKeepsItsSingleCapturesOnRequest) {
    startConnected();
    controller_->measure(hdrSpec({30, 8}));
    EXPECT_EQ(savedChildren(), 0U);
    for (const char* setting : {"Camera/SaveChildMeasurements", "Camera/SaveImages"}) {
        Settings settings;
        settings.set(setting, "true");
        controller_->setSettings(settings);
        controller_->measure(hdrSpec({30, 8, 20}));
        EXPECT_EQ(savedChildren(), 3U) << setting;
    }
}

TEST_F(Capture, RawDeliversWhatTheProjectorShowed) {
    startConnected();
    FrameSpec request = spec();
    request.raw = true;
    request.live = true; // raw comes first
    request.irisHDRValues = {8, 30};
    controller_->measure(request);
    EXPECT_FALSE(controller_->status().live);
    ASSERT_EQ(records_->count(), 1);
    EXPECT_EQ(clouds_, 1);
    // A plane seen by the middle pixel: the projector's column lies within its image and grows to the right.
    const PointCloud& cloud = controller_->record()->pointCloud();
    EXPECT_EQ(cloud(75, 121).z, 1.0F);
    EXPECT_GT(cloud(75, 121).x, 0.0F);
    EXPECT_GT(cloud(75, 160).x, cloud(75, 121).x + 39.0F) << "there are several projector columns to a pixel";
    EXPECT_EQ(camera().settings().getString("Measurement/ApplyCalibration"), "true");
    EXPECT_EQ(camera().settings().getString("Brightness"), "0.75");
}

TEST_F(Capture, FrameThatTheCameraDeliversByItselfBecomesTheRecord) {
    startConnected();
    controller_->slotHandleMeasurementUpdated(camera().capture());
    ASSERT_EQ(records_->count(), 1);
    EXPECT_EQ(clouds_, 1);
    EXPECT_NEAR(controller_->record()->minZ(), 700.0, 5.0);
    EXPECT_NO_THROW(controller_->saveDataFile(path("a.vdf"))) << "it is the present frame";
}

TEST_F(Capture, FailedRawCaptureLeavesTheCalibrationOn) {
    heads_.plug({.serialNumber = "T-1", .faults = "capture: the lamp is dead"});
    startConnected();
    FrameSpec request = spec();
    request.raw = true;
    try {
        controller_->measure(request);
        FAIL() << "the lamp is dead";
    } catch (const RuntimeException& e) {
        EXPECT_STREQ(e.what(), "Camera 'T-1' cannot capture: the lamp is dead");
    }
    EXPECT_EQ(camera().settings().getString("Measurement/ApplyCalibration"), "true");
    EXPECT_EQ(controller_->record(), nullptr);
}

TEST_F(Capture, ClassificationTakesTheControllersLimits) {
    Settings settings;
    settings.set("Measurement/MinZ", "701");
    preferences_.saveCameraSettings(settings);
    startConnected();
    controller_->measure(spec());
    // The plane at 700 mm lies before the depth range, so every measured point is marked, and none is hidden yet.
    const auto record = controller_->record();
    EXPECT_EQ(record->mask()(75, 121), 3);
    EXPECT_NEAR(record->pointCloud()(75, 121).z, 700.0F, 1.0F);
    EXPECT_NEAR(record->maskedPointCloud()(75, 121).z, 700.0F, 1.0F);
    controller_->saveDataFile(path("a.vdf"));
    controller_->loadDataFile(path("a.vdf"));
    EXPECT_TRUE(std::isnan(controller_->record()->maskedPointCloud()(75, 121).z))
        << "loading rebuilds the masked cloud";
}

} // namespace
