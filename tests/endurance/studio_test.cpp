// A long day of the studio's controller and main window, in one process.

#include "app/metatypes.h"
#include "endurance/endure.h"
#include "studio/mainwindow/windowfixture.h"

#include <QCoreApplication>
#include <QFile>

#include <gtest/gtest.h>

namespace {

using Vorta::Testing::endure;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::waitFor;

// Two kilobytes for each live frame, 20 for a capture, 40 for an unplug and 80 for a file, where the virtual head's
// cloud, of 243 x 150 points, has 729. The log keeps some lines of each round, and the toolkit something of each box.
constexpr std::size_t allowedBytes = 4'000'000;

class StudioEndurance : public Vorta::Testing::Window {
protected:
    static void SetUpTestSuite() { Vorta::registerMetaTypes(); }

    void live() {
        int shown = 0;
        int awaited = 0;
        // On this thread, like the window's own connection: counted when the window has shown it.
        QObject::connect(&controller_, &Vorta::VortaInterface::deviceCloudUpdated, &window_, [&shown] { ++shown; });
        action("actionLive").trigger();
        endure({.name = "live frames", .warmUp = 200, .rounds = 2000, .allowedBytes = allowedBytes, .round = [&] {
                    ++awaited;
                    ASSERT_TRUE(waitFor([&] { return shown >= awaited; }, 60'000));
                }});
        action("actionStop").trigger();
        QObject::disconnect(&controller_, &Vorta::VortaInterface::deviceCloudUpdated, &window_, nullptr);
        ASSERT_FALSE(controller_.status().live);
    }

    void captures() {
        endure({.name = "captures", .warmUp = 20, .rounds = 200, .allowedBytes = allowedBytes, .round = [&] {
                    grab();
                    ASSERT_NEAR(controller_.record()->pointCloud()(75, 121).z, 700.0F, 1.0F);
                    QCoreApplication::processEvents(); // what has changed is drawn
                }});
    }

    /// What the window does when its poll timer goes off, without waiting for that.
    void unplugs() {
        ModalDriver boxes;
        endure({.name = "unplugs", .warmUp = 10, .rounds = 100, .allowedBytes = allowedBytes, .round = [&] {
                    heads_.unplug("T-1");
                    controller_.slotHandleCameraPollTimer();
                    ASSERT_FALSE(action("actionGrab").isEnabled());
                    boxes.thenClick(QStringLiteral("OK"));
                    controller_.slotHandleCameraPollTimer();
                    heads_.plug({.serialNumber = "T-1"});
                    ASSERT_TRUE(waitFor([this] { return action("actionGrab").isEnabled(); }, 20'000));
                    grab();
                }});
    }

    void files() {
        const QString name = path("a.vdf");
        ModalDriver boxes;
        endure({.name = "saves and opens", .warmUp = 5, .rounds = 50, .allowedBytes = allowedBytes, .round = [&] {
                    QFile::remove(name);
                    boxes.then(saveAs(name, QStringLiteral("Data File (*.vdf)")));
                    window_.slotFileSave();
                    const auto saved = controller_.record();
                    window_.openFile(name);
                    ASSERT_NE(controller_.record(), saved);
                    ASSERT_EQ(controller_.record()->pointCloud()(75, 121).z, saved->pointCloud()(75, 121).z);
                    QCoreApplication::processEvents();
                }});
    }
};

TEST_F(StudioEndurance, ALongDayTakesNoMoreThanItsFirstHour) {
    show();
    Vorta::Settings fast = controller_.settings();
    fast.set("Camera/FrameRate", "1000"); // as fast as the head can
    controller_.setSettingsQuietly(fast);
    grab();
    live();
    captures();
    unplugs();
    files();
}

} // namespace
