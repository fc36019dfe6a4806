#include "camera/cameraselection.h"
#include "support/virtualhead.h"
#include "vorta/api/application.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace {

using namespace Vorta;

void touch(const QString& path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
}

TEST(CameraSelection, TakesTheDriverBesideTheProgramFirst) {
    QTemporaryDir folder;
    QDir(folder.path()).mkdir(QStringLiteral("bin"));
    touch(folder.filePath(QStringLiteral("bin/VortaCameraToshibaTeli.dll")));
    EXPECT_EQ(CameraSelection::findDriver(folder.path(), Settings{}),
              folder.filePath(QStringLiteral("bin/VortaCameraToshibaTeli.dll")));
    touch(folder.filePath(QStringLiteral("VortaCameraToshibaTeli.dll")));
    EXPECT_EQ(CameraSelection::findDriver(folder.path(), Settings{}),
              folder.filePath(QStringLiteral("VortaCameraToshibaTeli.dll")));
}

TEST(CameraSelection, AFailedSearchIsToldAndHasFoundNothing) {
    Application application;
    application.getImpl().setCameraDriver(VORTA_BIN_DIR "/VortaTestDriverSearch.dll", Settings{});
    std::string told;
    application.getImpl().setLogCallback([&](const Log::Event& event) { told = event.getMessage(); });
    EXPECT_TRUE(CameraSelection::find(application).empty());
    application.getImpl().setLogCallback({});
    EXPECT_EQ(told, "Searching for cameras failed: the bus was reset");
}

TEST(CameraSelection, MissingDriverNamesTheSecondPlace) {
    QTemporaryDir folder;
    Settings settings;
    settings.set("Camera/Driver", "IDS");
    try {
        (void)CameraSelection::findDriver(folder.path(), settings);
        FAIL() << "no driver is there";
    } catch (const IOException& e) {
        EXPECT_EQ(std::string(e.what()), "Camera driver not found: " + folder.path().toStdString() +
                                             "/bin/VortaCameraIDS.dll - fallback to VortaCameraFile");
    }
}

TEST(CameraSelection, RevisionsZeroToTwoComeBeforeRevisionThree) {
    Settings settings;
    EXPECT_FALSE(CameraSelection::isBeforeRevision3(settings));
    for (const char* revision : {"Rev0", "Rev1", "Rev2"}) {
        settings.set("Global/ProductRevision", revision);
        EXPECT_TRUE(CameraSelection::isBeforeRevision3(settings)) << revision;
    }
}

TEST(CameraSelection, LabelsAreInStringOrder) {
    Testing::VirtualHeads heads;
    heads.plug({.serialNumber = "S-10", .model = "VORTA B"});
    heads.plug({.serialNumber = "S-2", .model = "VORTA B"});
    heads.plug({.serialNumber = "S-9", .model = "VORTA A"});
    Application application;
    application.getImpl().setCameraDriver(VORTA_BIN_DIR "/VortaCameraToshibaTeli.dll", Settings{});
    std::vector<std::string> labels;
    for (const auto& [label, camera] : CameraSelection::labelled(application.cameras()))
        labels.push_back(label);
    EXPECT_THAT(labels, testing::ElementsAre("VORTA A: S-9", "VORTA B: S-10", "VORTA B: S-2"));
}

} // namespace
