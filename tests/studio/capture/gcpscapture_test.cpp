#include "studio/capture/gcpsfixture.h"

#include "camera/metatypes.h"
#include "services/logevent.h"
#include "vorta/common/log.h"

#include <QSignalSpy>

#include <atomic>

namespace {

using namespace Vorta;
using Vorta::Testing::GcpsTest;
using Vorta::Testing::waitFor;

class Capturing : public GcpsTest {
protected:
    static void SetUpTestSuite() {
        qRegisterMetaType<VortaQt::LogEvent>("VortaQt::LogEvent");
        qRegisterMetaType<Frame>("Vorta::Frame");
        qRegisterMetaType<DeviceCloud>("Vorta::DeviceCloud");
        qRegisterMetaType<std::shared_ptr<CloudWithImagesAndMask>>("std::shared_ptr<Vorta::CloudWithImagesAndMask>");
    }

    void openConnected() {
        open();
        QObject::connect(&dialog(), &GcpsDialog::measurementTriggered,
                         [this](const FrameSpec& spec) { request_ = spec; });
        connectCamera();
    }

    QPushButton& grab() { return part<QPushButton>("measureButton"); }
    QPushButton& hdr() { return part<QPushButton>("measureHDRButton"); }
    QPushButton& live() { return part<QPushButton>("measureLiveButton"); }
    QPushButton& stop() { return part<QPushButton>("measureStopButton"); }

    FrameSpec request_; ///< the last one
};

TEST_F(Capturing, ButtonsFollowTheCamera) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("5 20"));
    open();
    EXPECT_FALSE(grab().isEnabled());
    EXPECT_FALSE(hdr().isEnabled());
    connectCamera();
    EXPECT_TRUE(grab().isEnabled());
    EXPECT_TRUE(hdr().isEnabled());
    EXPECT_TRUE(live().isEnabled());
    EXPECT_FALSE(stop().isEnabled());
    list().setFocus();
    click(part<QPushButton>("irisDeleteButton"));
    EXPECT_FALSE(hdr().isEnabled()) << "one iris is too few";
    EXPECT_TRUE(grab().isEnabled());
    type(iris(), "7");
    click(part<QPushButton>("irisAddButton"));
    EXPECT_TRUE(hdr().isEnabled());
}

TEST_F(Capturing, ADialogThatComesLaterKnowsTheCamera) {
    connectCamera();
    open();
    EXPECT_TRUE(grab().isEnabled());
    EXPECT_TRUE(live().isEnabled());
}

TEST_F(Capturing, GrabCapturesWithWhatTheDialogShows) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("5 20"));
    openConnected();
    const QSignalSpy records(&controller(), &VortaInterface::pointCloudDataUpdated);
    type(iris(), "23");
    type(exposure(), "7000");
    type(led(), "0.625");
    click(grab());
    EXPECT_EQ(records.count(), 1);
    EXPECT_EQ(cameraText("Iris"), "23");
    EXPECT_EQ(cameraText("ExposureTime"), "7000");
    EXPECT_EQ(cameraText("Brightness"), "0.625");
    EXPECT_FALSE(request_.raw);
    EXPECT_FALSE(request_.live);
    EXPECT_FALSE(request_.alwaysUseMaxBrightness);
    EXPECT_TRUE(request_.irisHDRValues.empty()) << "one frame, whatever the list holds";
}

TEST_F(Capturing, GrabCanAlwaysUseTheGreatestBrightness) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("5 20"));
    openConnected();
    type(led(), "0.25");
    QTest::keyClick(&useMaximum(), Qt::Key_Space);
    click(grab());
    EXPECT_TRUE(request_.alwaysUseMaxBrightness);
    EXPECT_EQ(cameraText("Brightness"), "1");
    EXPECT_EQ(led().value(), 0.25) << "the control stays";
    click(hdr());
    EXPECT_EQ(cameraText("Brightness"), "0.25") << "single frames alone";
}

TEST_F(Capturing, HdrRunsOverTheIrisList) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("30 8 20"));
    openConnected();
    QStringList log;
    QObject::connect(&VortaQt::LogHandler::instance(), &VortaQt::LogHandler::logEvent, &dialog(),
                     [&log](const VortaQt::LogEvent& event) { log += event.message; });
    VortaQt::LogHandler::instance().log(Log::Severity::Info, "brings what has been waiting for a listener");
    log.clear();
    int clouds = 0;
    QObject::connect(&controller(), &VortaInterface::deviceCloudsUpdatedHDR, &dialog(),
                     [&clouds](const QList<DeviceCloud>& list) { clouds = list.size(); });
    click(hdr());
    EXPECT_EQ(clouds, 3);
    EXPECT_EQ(log.filter(QStringLiteral("minimum iris")).join(QLatin1Char('\n')),
              QStringLiteral("Performing measurement with minimum iris: 8\n"
                             "Performing measurement with minimum iris: 20\n"
                             "Performing measurement with minimum iris: 30"));
    EXPECT_EQ(request_.irisHDRValues, (std::vector<std::uint64_t>{8, 20, 30}));
    EXPECT_FALSE(request_.live);
    EXPECT_EQ(cameraText("Iris"), "30");
}

TEST_F(Capturing, LiveStartsAndStops) {
    openConnected();
    std::atomic<int> frames{0};
    QObject::connect(
        &controller(), &VortaInterface::measurementUpdated, &controller(), [&frames] { ++frames; },
        Qt::DirectConnection);
    type(exposure(), "5000");
    click(live());
    EXPECT_TRUE(request_.live);
    EXPECT_TRUE(controller().status().live);
    EXPECT_FALSE(grab().isEnabled());
    EXPECT_FALSE(hdr().isEnabled());
    EXPECT_FALSE(live().isEnabled());
    EXPECT_TRUE(stop().isEnabled());
    type(iris(), "9");
    click(part<QPushButton>("irisAddButton"));
    EXPECT_FALSE(hdr().isEnabled()) << "not during live, however long the list";
    EXPECT_TRUE(waitFor([&] { return frames > 1; }));
    EXPECT_EQ(cameraText("ExposureTime"), "5000");
    click(stop());
    EXPECT_FALSE(controller().status().live);
    EXPECT_TRUE(grab().isEnabled());
    EXPECT_TRUE(hdr().isEnabled());
    EXPECT_TRUE(live().isEnabled());
    EXPECT_FALSE(stop().isEnabled());
}

TEST_F(Capturing, LiveAsksForTheBrightnessThatIsShown) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("5 20"));
    preferences_.setBool("GUI/MaxLEDForSingle", true);
    openConnected();
    type(led(), "0.25");
    click(live());
    EXPECT_TRUE(request_.live);
    EXPECT_TRUE(request_.alwaysUseMaxBrightness);
    EXPECT_EQ(request_.brightness, 0.25F) << "the greatest one is for single frames";
    EXPECT_EQ(cameraText("Brightness"), "0.25");
    EXPECT_EQ(request_.irisHDRValues, (std::vector<std::uint64_t>{5, 20}));
    click(stop());
}

TEST_F(Capturing, ControlMakesTheCaptureRaw) {
    openConnected();
    QTest::keyPress(&grab(), Qt::Key_Control);
    click(grab());
    QTest::keyRelease(&grab(), Qt::Key_Control);
    EXPECT_TRUE(request_.raw);
    // Without calibration every point that saw the pattern has depth 1.
    EXPECT_EQ(controller().record()->maxZ(), 1.0);
    click(grab());
    EXPECT_FALSE(request_.raw);
    EXPECT_NEAR(controller().record()->maxZ(), 700.0, 35.0);
}

TEST_F(Capturing, WorksByKeysAlone) {
    preferences_.setString("GUI/HDRIris", QStringLiteral("5 20"));
    openConnected();
    const auto alt = [this](Qt::Key key) {
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &dialog(), key, Qt::AltModifier);
        QCoreApplication::processEvents();
    };
    alt(Qt::Key_T);
    ASSERT_EQ(QApplication::focusWidget(), &exposure());
    QTest::keyClick(&exposure(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&exposure(), QStringLiteral("6000"));
    QTest::keyClick(&exposure(), Qt::Key_Return);
    EXPECT_EQ(cameraText("ExposureTime"), "6000") << "Return grabs";
    alt(Qt::Key_I);
    ASSERT_EQ(QApplication::focusWidget(), &iris());
    QTest::keyClick(&iris(), Qt::Key_Up);
    const int active = iris().value();
    alt(Qt::Key_G);
    EXPECT_TRUE(waitFor([&] { return cameraText("Iris") == std::to_string(active); }));
    hdr().setFocus();
    QTest::keyClick(&hdr(), Qt::Key_Return);
    EXPECT_EQ(cameraText("Iris"), "20") << "Return on a button presses that one";
}

TEST_F(Capturing, AHalfTypedNumberIsPutRightBeforeItCounts) {
    openConnected();
    type(exposure(), "5"); // shorter than any exposure
    dialog().slotGrab();
    EXPECT_EQ(exposure().text(), QStringLiteral("10000"));
    EXPECT_EQ(cameraText("ExposureTime"), "10000") << "what the dialog shows";
}

TEST_F(Capturing, ALostCameraDisablesTheButtons) {
    openConnected();
    heads_.unplug("T-1");
    EXPECT_TRUE(waitFor([this] { return !grab().isEnabled(); }, 10'000));
    EXPECT_FALSE(live().isEnabled());
    EXPECT_FALSE(stop().isEnabled());
}

} // namespace
