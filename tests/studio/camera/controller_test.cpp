#include "studio/camera/controllerfixture.h"
#include "support/modaldriver.h"
#include "vorta/common/exceptions.h"

#include <QMetaMethod>

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

using namespace Vorta;

using Vorta::Testing::LoggedTexts;

class Controller : public Vorta::Testing::ControllerTest {};

TEST_F(Controller, SignalsAndSlotsStandInTheirOrder) {
    std::vector<std::string> signatures;
    const QMetaObject& meta = VortaInterface::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        signatures.push_back(meta.method(i).methodSignature().toStdString());
    EXPECT_THAT(signatures, testing::ElementsAre(
                                "statusChanged(Vorta::CameraStatus)", "settingsChanged(Settings)",
                                "deviceCloudUpdated(Vorta::DeviceCloud)", "measurementUpdated(Vorta::Frame)",
                                "deviceCloudsUpdatedHDR(QList<Vorta::DeviceCloud>,PointCloud)",
                                "pointCloudDataUpdated(std::shared_ptr<Vorta::CloudWithImagesAndMask>)",
                                "infoMessage(QString,QString)", "warningMessage(QString,QString)",
                                "temporaryStatusMessage(QString)", "settingsLoaded(Settings)",
                                "slotHandleMaskUpdate(cv::Mat_<uchar>&)", "slotHandleCameraInitialized()",
                                "slotHandleCameraInitializationFailed(QString)", "slotHandleFirstCameraConnected()",
                                "slotHandleCameraPollTimer()", "slotHandleMeasurementUpdated(Vorta::Frame)"));
}

TEST_F(Controller, ConnectsThePluggedInHeadWithoutAWord) {
    LoggedTexts log(application_);
    start();
    EXPECT_EQ(log.count("Using camera driver: '" VORTA_BIN_DIR "/VortaCameraToshibaTeli.dll'"), 1);
    EXPECT_FALSE(controller_->status().connected) << "connecting runs on a thread of its own";
    EXPECT_TRUE(becomesConnected());
    EXPECT_EQ(infos_->count(), 0);
    EXPECT_EQ(controller_->record(), nullptr);
}

TEST_F(Controller, WithoutAHeadItSaysSoOnceAndConnectsWhenOneComes) {
    heads_.unplug("T-1");
    start();
    ASSERT_EQ(infos_->count(), 1);
    EXPECT_EQ(infos_->at(0).at(0).toString(), QStringLiteral("No camera connected"));
    EXPECT_EQ(infos_->at(0).at(1).toString(), QStringLiteral("You need to connect a camera to do measurements."));
    heads_.plug({.serialNumber = "T-2"});
    EXPECT_TRUE(becomesConnected());
    EXPECT_EQ(infos_->count(), 1);
}

TEST_F(Controller, MayGoWhileItStillSearches) {
    heads_.unplug("T-1");
    start();
    controller_.reset();
    SUCCEED() << "the search ended with its owner";
}

TEST_F(Controller, MayGoWhileItConnects) {
    start();
    controller_.reset();
    SUCCEED() << "the connection attempt ended with its owner";
}

TEST_F(Controller, SingleCaptureBecomesTheRecord) {
    start();
    ASSERT_TRUE(becomesConnected());
    QSignalSpy clouds(controller_.get(), &VortaInterface::deviceCloudUpdated);
    controller_->measure(spec());
    ASSERT_EQ(records_->count(), 1);
    EXPECT_EQ(clouds.count(), 1);
    const auto record = controller_->record();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->pointCloud().width(), 243U);
    EXPECT_EQ(record->pointCloud().height(), 150U);
    // The head looks at a plane 700 mm away.
    EXPECT_NEAR(record->minZ(), 700.0, 5.0);
    EXPECT_NEAR(record->maxZ(), 700.0, 5.0);
    const float centre = record->depthImage()(75, 121);
    EXPECT_NEAR(centre, 700.0F, 1.0F);
    EXPECT_EQ(record->mask()(75, 121), 0);
    EXPECT_TRUE(record->maskedPointCloud().sharesDataWith(record->pointCloud()))
        << "the automatic mask takes effect with the next rebuild only";
}

TEST_F(Controller, CaptureAppliesItsRequestToTheCamera) {
    start();
    ASSERT_TRUE(becomesConnected());
    controller_->measure(spec());
    const Settings used = [&] {
        controller_->saveDataFile(folder_.filePath(QStringLiteral("a.vdf")));
        return Frame(folder_.filePath(QStringLiteral("a.vdf")).toStdString(), ComputeDevice{}).settings();
    }();
    EXPECT_EQ(used.getString("Iris"), "29");
    EXPECT_EQ(used.getString("ExposureTime"), "9000");
    EXPECT_EQ(used.getString("Brightness"), "0.75");
}

TEST_F(Controller, SavedDataFileComesBackAsRecordWithItsMaskApplied) {
    start();
    ASSERT_TRUE(becomesConnected());
    controller_->measure(spec());
    const auto captured = controller_->record();
    const QString file = folder_.filePath(QString::fromUtf8("Messung ä.vdf"));
    controller_->saveDataFile(file);

    QSignalSpy loaded(controller_.get(), &VortaInterface::settingsLoaded);
    controller_->loadDataFile(file);
    EXPECT_EQ(loaded.count(), 1);
    const auto record = controller_->record();
    ASSERT_NE(record, captured);
    const auto points = record->pointCloud().points();
    for (std::size_t i = 0; i < points.size(); ++i) {
        ASSERT_EQ(std::memcmp(&points[i].z, &captured->pointCloud()[i].z, sizeof(float)), 0) << i;
        if (record->mask().data[i] != 0)
            ASSERT_TRUE(std::isnan(record->maskedPointCloud()[i].z)) << i;
        else
            ASSERT_EQ(record->maskedPointCloud()[i].z, points[i].z) << i;
    }
}

TEST_F(Controller, UsersMaskReplacesTheAutomaticOne) {
    start();
    ASSERT_TRUE(becomesConnected());
    cv::Mat_<uchar> mask(150, 243, uchar{0});
    mask(75, 121) = 5;
    controller_->slotHandleMaskUpdate(mask);
    EXPECT_EQ(records_->count(), 0) << "there is nothing to mask yet";
    controller_->measure(spec());
    const auto record = controller_->record();
    controller_->slotHandleMaskUpdate(mask);
    EXPECT_EQ(records_->count(), 2);
    EXPECT_EQ(controller_->record(), record) << "it is the same one";
    EXPECT_TRUE(std::isnan(record->maskedPointCloud()(75, 121).z));
    EXPECT_EQ(record->maskedPointCloud()(75, 122).z, record->pointCloud()(75, 122).z);
    EXPECT_FALSE(std::isnan(record->pointCloud()(75, 121).z)) << "the measured cloud never changes";
}

TEST_F(Controller, UnplugIsNoticedAndReplugConnectsAgain) {
    start();
    ASSERT_TRUE(becomesConnected());
    heads_.unplug("T-1");
    // Asked twice, as the poll timer does: first the loss is noticed, then the search starts.
    controller_->slotHandleCameraPollTimer();
    EXPECT_FALSE(controller_->status().connected);
    EXPECT_EQ(infos_->count(), 0);
    controller_->slotHandleCameraPollTimer();
    EXPECT_EQ(infos_->count(), 1);
    heads_.plug({.serialNumber = "T-1"});
    EXPECT_TRUE(becomesConnected());
}

TEST_F(Controller, CaptureOfAVanishedHeadIsAnErrorAndKeepsTheRecord) {
    start();
    ASSERT_TRUE(becomesConnected());
    controller_->measure(spec());
    const auto before = controller_->record();
    heads_.unplug("T-1");
    EXPECT_THROW(controller_->measure(spec()), Exception);
    EXPECT_EQ(controller_->record(), before);
}

TEST_F(Controller, SeveralHeadsAreOfferedByLabel) {
    heads_.plug({.serialNumber = "T-2"});
    Vorta::Testing::ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    start();
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].title, QStringLiteral("Multiple Cameras Detected"));
    EXPECT_TRUE(becomesConnected());
    EXPECT_EQ(infos_->count(), 0);
}

TEST_F(Controller, CancelledChoiceTakesTheFirstHead) {
    heads_.plug({.serialNumber = "T-2"});
    Vorta::Testing::ModalDriver boxes;
    boxes.thenCancel();
    start();
    ASSERT_EQ(infos_->count(), 1);
    EXPECT_EQ(infos_->at(0).at(0).toString(), QStringLiteral("Camera selection"));
    EXPECT_EQ(infos_->at(0).at(1).toString(),
              QStringLiteral("No camera was explictly selected - using the first available camera."));
    EXPECT_TRUE(becomesConnected());
}

TEST_F(Controller, SettingsFileIsAppliedAndAnnounced) {
    start();
    ASSERT_TRUE(becomesConnected());
    Settings wanted;
    wanted.set("Iris", "12");
    const QString file = folder_.filePath(QStringLiteral("s.yml"));
    wanted.save(file.toStdString());
    QSignalSpy changed(controller_.get(), &VortaInterface::settingsChanged);
    controller_->loadSettingsFile(file);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(controller_->settings().getString("Iris"), "12");
    controller_->saveSettings(folder_.filePath(QStringLiteral("t.yml")));
    EXPECT_EQ(Settings(folder_.filePath(QStringLiteral("t.yml")).toStdString()).getString("Iris"), "12");
}

TEST_F(Controller, QuietSettingsAreStoredAndAppliedWithoutAWord) {
    startConnected();
    const QSignalSpy changed(controller_.get(), &VortaInterface::settingsChanged);
    Settings wanted;
    wanted.set("Iris", "12");
    controller_->setSettingsQuietly(wanted);
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(camera().settings().getString("Iris"), "12");
    Settings stored;
    preferences_.loadCameraSettings(stored);
    EXPECT_EQ(stored.getString("Iris"), "12");

    wanted.set("Iris", "13");
    controller_->setSettings(wanted);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(camera().settings().getString("Iris"), "13");
    preferences_.loadCameraSettings(stored);
    EXPECT_EQ(stored.getString("Iris"), "12") << "these last as long as the program";
}

TEST_F(Controller, StoredSettingsAreTheControllersAtStart) {
    Settings stored;
    stored.set("Iris", "17");
    preferences_.saveCameraSettings(stored);
    start();
    EXPECT_EQ(controller_->settings().getString("Iris"), "17");
}

} // namespace
