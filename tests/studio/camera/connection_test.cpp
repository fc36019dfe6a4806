#include "studio/camera/controllerfixture.h"
#include "support/modaldriver.h"
#include "vorta/common/exceptions.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QMessageBox>
#include <QTimer>

#include <gmock/gmock.h>

#include <chrono>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Vorta;
using Vorta::Testing::LoggedTexts;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::waitFor;

class Connection : public Vorta::Testing::ControllerTest {
protected:
    QTimer& pollTimer() { return *controller_->findChild<QTimer*>(); }
    void poll() { controller_->slotHandleCameraPollTimer(); }
    QString info(int index) { return infos_->at(index).at(1).toString(); }

    /// Settings that speak of a head without a calibration of its own.
    static Settings revision2(const QString& calibrationFile = {}) {
        Settings settings;
        settings.set("Global/ProductRevision", "Rev2");
        settings.set("Measurement/CalibrationFile", calibrationFile.toStdString());
        return settings;
    }

    static void touch(const QString& file) {
        QFile created(file);
        ASSERT_TRUE(created.open(QIODevice::WriteOnly));
    }
};

TEST_F(Connection, IsPolledEveryThreeSecondsWhileItStands) {
    start();
    EXPECT_EQ(pollTimer().interval(), 3000);
    EXPECT_FALSE(pollTimer().isActive());
    ASSERT_TRUE(becomesConnected());
    EXPECT_TRUE(pollTimer().isActive());
    heads_.unplug("T-1");
    poll();
    EXPECT_TRUE(pollTimer().isActive()) << "the next tick starts the search";
    poll();
    EXPECT_FALSE(pollTimer().isActive()) << "the search has its own rhythm";
}

TEST_F(Connection, EveryPollTellsTheStatus) {
    startConnected();
    int before = statuses_->count();
    poll();
    EXPECT_EQ(statuses_->count(), before + 1) << "though nothing has changed";
    heads_.unplug("T-1");
    before = statuses_->count();
    poll();
    ASSERT_EQ(statuses_->count(), before + 1);
    const auto status = statuses_->last().at(0).value<CameraStatus>();
    EXPECT_FALSE(status.connected);
    EXPECT_TRUE(status.stateFlag) << "the head was open when it was lost";
}

TEST_F(Connection, LossIsNoticedByThePollTimerItself) {
    startConnected();
    LoggedTexts log(application_);
    pollTimer().setInterval(1);
    heads_.unplug("T-1");
    EXPECT_TRUE(waitFor([this] { return infos_->count() == 1; }, 20'000));
    EXPECT_FALSE(controller_->status().connected);
    EXPECT_EQ(log.count("The camera does not answer any more"), 1);
    EXPECT_EQ(log.count("Disconnected from camera 'T-1'"), 1) << "it was open when it was lost";
    heads_.plug({.serialNumber = "T-1"});
    EXPECT_TRUE(becomesConnected());
}

TEST_F(Connection, FailureSaysWhyAndIsTriedAgain) {
    heads_.plug({.serialNumber = "T-1", .faults = "connect: the cable is loose"});
    start();
    ASSERT_TRUE(waitFor([this] { return infos_->count() >= 2; }, 20'000)) << "it is tried again";
    EXPECT_EQ(infos_->at(0).at(0).toString(), QStringLiteral("No camera connected"));
    EXPECT_EQ(info(0), QStringLiteral("Failed to initialize camera: \n"
                                      "Camera 'T-1' cannot be connected: the cable is loose\n"));
    heads_.plug({.serialNumber = "T-1"});
    EXPECT_TRUE(becomesConnected());
}

TEST_F(Connection, FailureWithoutAReasonIsStillOne) {
    start();
    controller_->slotHandleCameraInitializationFailed({});
    EXPECT_EQ(info(0), QStringLiteral("Failed to initialize camera"));
}

TEST_F(Connection, HeadThatGoesWhileItConnectsIsSearchedFor) {
    start();
    heads_.unplug("T-1");
    // Whether it went before or after it was open, it is missed.
    ASSERT_TRUE(waitFor(
        [this] {
            if (controller_->status().connected)
                poll();
            return infos_->count() > 0 || !controller_->status().connected;
        },
        20'000));
    heads_.plug({.serialNumber = "T-1"});
    EXPECT_TRUE(becomesConnected());
}

TEST_F(Connection, HeadThatGoesInACaptureIsAnErrorAndConnectsAgain) {
    heads_.plug({.serialNumber = "T-1", .faults = "delay: 100000"});
    startConnected();
    std::jthread unplug([this] { heads_.unplug("T-1"); });
    try {
        controller_->measure(spec());
        FAIL() << "the head has gone";
    } catch (const RuntimeException& e) {
        EXPECT_THAT(e.what(), testing::HasSubstr("Camera 'T-1' has vanished: "));
    }
    unplug.join();
    poll();
    poll();
    heads_.plug({.serialNumber = "T-1"});
    ASSERT_TRUE(becomesConnected());
    controller_->measure(spec());
    EXPECT_EQ(records_->count(), 1);
}

TEST_F(Connection, HeadsOfRevision2AreRefused) {
    const QString calibration = path("calibration.yml");
    touch(calibration);
    preferences_.saveCameraSettings(revision2(calibration));
    start();
    ASSERT_TRUE(waitFor([this] { return infos_->count() >= 1; }, 20'000));
    EXPECT_EQ(info(0), QStringLiteral("Failed to initialize camera: \n"
                                      "Pre Rev3 camera is not supported (rev. Rev2)\n"));
    EXPECT_EQ(warnings_->count(), 0) << "its calibration file is there";
    EXPECT_FALSE(camera().state().opened);
}

TEST_F(Connection, MissingCalibrationFileIsAskedFor) {
    const QString calibration = path("calibration.yml");
    touch(calibration);
    preferences_.saveCameraSettings(revision2(path("gone.yml")));
    controller_ = std::make_unique<VortaInterface>(application_, nullptr);
    QSignalSpy warnings(controller_.get(), &VortaInterface::warningMessage);
    QSignalSpy changes(controller_.get(), &VortaInterface::settingsChanged);
    ModalDriver boxes;
    boxes.thenChooseFile(calibration);
    controller_->connectCamera(ComputeDevice{});
    ASSERT_EQ(warnings.count(), 1);
    EXPECT_EQ(warnings.at(0).at(0).toString(), QStringLiteral("Calibration file"));
    EXPECT_EQ(warnings.at(0).at(1).toString(),
              QStringLiteral("No calibration file found. Please specify a calibration file in YML format now."));
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].title, QStringLiteral("Load calibration file:"));
    EXPECT_EQ(changes.count(), 1);
    Settings stored;
    preferences_.loadCameraSettings(stored);
    EXPECT_EQ(stored.getString("Measurement/CalibrationFile"), calibration.toStdString());
    EXPECT_EQ(controller_->settings().getString("Measurement/CalibrationFile"), calibration.toStdString());
}

TEST_F(Connection, CancelledCalibrationFileIsStoredAsItIs) {
    preferences_.saveCameraSettings(revision2(path("gone.yml")));
    controller_ = std::make_unique<VortaInterface>(application_, nullptr);
    ModalDriver boxes;
    boxes.thenCancel();
    controller_->connectCamera(ComputeDevice{});
    EXPECT_EQ(controller_->settings().getString("Measurement/CalibrationFile"), "");
}

TEST_F(Connection, CalibrationFileBesideTheProgramIsTakenWithoutAQuestion) {
    const QString beside = QApplication::applicationDirPath() + QStringLiteral("/calib_data.yml");
    touch(beside);
    preferences_.saveCameraSettings(revision2());
    start();
    QFile::remove(beside);
    EXPECT_EQ(warnings_->count(), 0);
    EXPECT_EQ(controller_->settings().getString("Measurement/CalibrationFile"), beside.toStdString());
}

TEST_F(Connection, HeadsOfRevision3NeverNeedACalibrationFile) {
    Settings settings;
    settings.set("Measurement/CalibrationFile", path("gone.yml").toStdString());
    preferences_.saveCameraSettings(settings);
    start();
    EXPECT_EQ(warnings_->count(), 0) << "nobody is asked";
    EXPECT_TRUE(becomesConnected());
}

TEST_F(Connection, HeadsAreOfferedInTheOrderOfTheirLabels) {
    heads_.plug({.serialNumber = "T-10"});
    heads_.plug({.serialNumber = "T-2"});
    QStringList labels;
    ModalDriver boxes;
    boxes.then([&](QWidget& box) {
        auto& choice = *box.findChild<QComboBox*>();
        for (int i = 0; i < choice.count(); ++i)
            labels += choice.itemText(i);
        EXPECT_EQ(choice.currentIndex(), 0);
        EXPECT_FALSE(choice.isEditable());
        choice.setCurrentIndex(1);
        dynamic_cast<QDialog&>(box).accept();
    });
    LoggedTexts log(application_);
    start();
    EXPECT_EQ(labels, (QStringList{QStringLiteral("VORTA Test: T-1"), QStringLiteral("VORTA Test: T-10"),
                                   QStringLiteral("VORTA Test: T-2")}));
    ASSERT_TRUE(becomesConnected());
    EXPECT_EQ(log.count("Connected to camera 'T-10'"), 1);
    EXPECT_EQ(boxes.seen().at(0).text, QStringLiteral("Select camera:"));
}

TEST_F(Connection, HeadWhoseNameIsNoTextCanBeChosen) {
    heads_.plug({.serialNumber = "T-2",
                 .model = "Pr\xfc"
                          "fstand"}); // Latin-1
    ModalDriver boxes;
    boxes.then([](QWidget& box) {
        auto& choice = *box.findChild<QComboBox*>();
        choice.setCurrentIndex(choice.findText(QStringLiteral("T-2"), Qt::MatchEndsWith));
        dynamic_cast<QDialog&>(box).accept();
    });
    LoggedTexts log(application_);
    start();
    ASSERT_TRUE(becomesConnected());
    EXPECT_EQ(log.count("Connected to camera 'T-2'"), 1);
}

TEST_F(Connection, ChosenHeadMayGoWhileTheChoiceIsOpen) {
    heads_.plug({.serialNumber = "T-2"});
    ModalDriver boxes;
    boxes.then([this](QWidget& box) {
        heads_.unplug("T-1");
        dynamic_cast<QDialog&>(box).accept();
    });
    start();
    // The choice fell on a head that is gone, which is said; the other one is alone then and needs no choice.
    ASSERT_TRUE(becomesConnected());
    ASSERT_EQ(infos_->count(), 1);
    EXPECT_THAT(info(0).toStdString(), testing::HasSubstr("Camera 'T-1' cannot be connected: "));
}

TEST_F(Connection, HeadMayComeWhileTheBoxSaysThatThereIsNone) {
    startConnected();
    // As in the window: the message is a box, in which the event loop goes on.
    QObject::connect(controller_.get(), &VortaInterface::infoMessage, controller_.get(),
                     [](const QString& title, const QString& text) { QMessageBox::information(nullptr, title, text); });
    ModalDriver boxes;
    boxes.then([this](QWidget& box) {
        heads_.plug({.serialNumber = "T-1"});
        poll();
        EXPECT_TRUE(becomesConnected());
        dynamic_cast<QDialog&>(box).accept();
    });
    heads_.unplug("T-1");
    poll();
    poll();
    EXPECT_TRUE(controller_->status().connected) << "what the box said is no longer so";
    EXPECT_TRUE(pollTimer().isActive());
    EXPECT_EQ(infos_->count(), 1);
}

TEST_F(Connection, SearchLooksTwiceASecondAndEndsWithTheController) {
    // Each look reads the file, which is a broken one and another one than before.
    std::mutex mutex;
    std::vector<std::chrono::steady_clock::time_point> looks;
    const auto count = [&] {
        const std::scoped_lock lock{mutex};
        return looks.size();
    };
    heads_.unplug("T-1");
    heads_.plugText("broken", "[");
    application_.getImpl().setLogCallback([&](const Log::Event& event) {
        if (event.getMessage().find("A virtual head is left out") == std::string::npos)
            return;
        const std::scoped_lock lock{mutex};
        looks.push_back(std::chrono::steady_clock::now());
        heads_.plugText("broken", std::string(looks.size() + 1, '['));
    });
    start(); // looks itself, and the search at once again
    EXPECT_TRUE(waitFor([&] { return count() >= 5; }, 20'000));
    controller_.reset();
    const std::size_t atTheEnd = count();
    application_.getImpl().setLogCallback({});
    EXPECT_EQ(count(), atTheEnd);
    for (std::size_t i = 2; i < looks.size(); ++i)
        EXPECT_GE(looks[i] - looks[i - 1], std::chrono::milliseconds(490)) << i;
}

/// A head that is plugged in and out, fails, and is used in every state, in an order that the seed decides.
TEST_F(Connection, SurvivesAHundredCyclesInAnyState) {
    std::minstd_rand random(7);
    const auto oneOf = [&](unsigned count) { return static_cast<unsigned>(random() % count); };
    const auto tolerate = [](auto action) {
        try {
            action();
        } catch (const Exception&) {
            // The head has just gone, or acquires live: what a person would be told, and go on.
        }
    };
    start();
    for (int cycle = 0; cycle < 100; ++cycle) {
        heads_.plug({.serialNumber = "T-1",
                     .width = 81,
                     .height = 50,
                     .faults = oneOf(8) == 0 ? "connect: the cable is loose" : ""});
        for (unsigned step = oneOf(6); step > 0; --step) {
            switch (oneOf(6)) {
            case 0:
                tolerate([this] { controller_->measure(liveSpec()); });
                break;
            case 1:
                tolerate([this] { controller_->stopLive(); });
                break;
            case 2:
                tolerate([this] { controller_->measure(spec()); });
                break;
            case 3:
                controller_->setSettings(Settings{});
                break;
            case 4:
                poll();
                break;
            default:
                waitFor([this] { return controller_->status().connected; }, 50);
                break;
            }
        }
        heads_.unplug("T-1");
        if (oneOf(2) == 0)
            poll();
        if (oneOf(2) == 0)
            poll();
    }
    heads_.plug({.serialNumber = "T-1"});
    ASSERT_TRUE(waitFor(
        [this] {
            // The head may have come back so quickly that nobody has missed it yet.
            if (pollTimer().isActive())
                poll();
            return controller_->status().connected && !controller_->status().live;
        },
        60'000));
    controller_->measure(spec());
    EXPECT_NEAR(controller_->record()->minZ(), 700.0, 5.0);
}

} // namespace
