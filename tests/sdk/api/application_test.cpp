#include "sdk/api/testtools.h"
#include "support/virtualhead.h"

#include "vorta/api/application.h"
#include "vorta/api/cameraimpl.h"
#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

namespace Vorta {
namespace {

using ::testing::AllOf;
using Testing::driverPath;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Testing::TemporaryFolder;
using Testing::VirtualHeads;
using Testing::writeFile;

std::string complaint(Application& application, const std::string& path) {
    try {
        application.getImpl().setCameraDriver(path, Settings{});
        return "loaded";
    } catch (const IOException& error) {
        return error.what();
    }
}

TEST(Application, HasNoCamerasWithoutADriver) {
    Application application;
    EXPECT_TRUE(application.cameras().empty());
}

TEST(Application, HandsTheLogThrough) {
    Application application;
    const Log::Severity before = application.getImpl().logLevel();
    application.getImpl().setLogLevel(Log::Severity::Debug);
    EXPECT_EQ(application.getImpl().logLevel(), Log::Severity::Debug);
    EXPECT_EQ(Log::level(), Log::Severity::Debug);
    std::vector<std::string> messages;
    application.getImpl().setLogCallback([&](const Log::Event& event) { messages.push_back(event.getMessage()); });
    Log::debug("test", 1, "%d cameras", 3);
    application.getImpl().setLogCallback({});
    application.getImpl().setLogLevel(before);
    EXPECT_THAT(messages, ::testing::ElementsAre("3 cameras"));
}

TEST(Application, SaysWhyADriverIsRefused) {
    const TemporaryFolder folder;
    writeFile(folder.file("VortaCameraText.dll"), "not a library\n");
    std::filesystem::create_directory(folder.path() / "VortaCameraFolder.dll");
    Application application;
    const auto expected = [](const std::string& path, const std::string& reason) {
        return AllOf(StartsWith("Camera driver '" + path + "' cannot be loaded: "), HasSubstr(reason));
    };
    const std::string missing = folder.file("VortaCameraNone.dll");
    EXPECT_THAT(complaint(application, missing), expected(missing, "No such file or directory."));
    const std::string directory = folder.file("VortaCameraFolder.dll");
    EXPECT_THAT(complaint(application, directory), expected(directory, "it is not a file."));
    const std::string text = folder.file("VortaCameraText.dll");
    EXPECT_THAT(complaint(application, text), expected(text, "it is not a library that this system can load"));
    const std::string noEntry = VORTA_BIN_DIR "/VortaTestDriverNoEntry.dll";
    EXPECT_THAT(complaint(application, noEntry),
                expected(noEntry, "it is a library without the entry point 'vortaCreateDriver'."));
    const std::string version = VORTA_BIN_DIR "/VortaTestDriverVersion.dll";
    EXPECT_THAT(complaint(application, version),
                expected(version, "it was built for another version of the driver interface than " +
                                      std::to_string(Driver::interfaceVersion) + "."));
    const std::string throws = VORTA_BIN_DIR "/VortaTestDriverThrows.dll";
    EXPECT_THAT(complaint(application, throws), expected(throws, "it failed to start: the licence key is missing"));
    EXPECT_THAT(complaint(application, ""), HasSubstr("cannot be loaded"));
}

TEST(Application, KeepsItsDriverWhenAnotherIsRefused) {
    const VirtualHeads heads({.serialNumber = "T-1"});
    Application application;
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    EXPECT_THROW(application.getImpl().setCameraDriver("/nowhere/VortaCameraNone.dll", Settings{}), IOException);
    ASSERT_EQ(application.cameras().size(), 1U);
    EXPECT_EQ(application.cameras().front().serialNumber().toString(), "T-1");
}

TEST(Application, ListsWhatIsPluggedInNowBySerialNumber) {
    VirtualHeads heads;
    Application application;
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    EXPECT_TRUE(application.cameras().empty());
    heads.plug({.serialNumber = "T-2", .model = "VORTA Second"});
    heads.plug({.serialNumber = "T-1", .model = "VORTA First", .firmware = "VORTA 0.8.0"});
    heads.plug({.serialNumber = "T-3", .driver = "IDS"});
    const std::vector<Camera> cameras = application.cameras();
    ASSERT_EQ(cameras.size(), 2U);
    EXPECT_EQ(cameras[0].serialNumber(), SerialNumber("T-1"));
    EXPECT_EQ(cameras[0].modelName(), "VORTA First");
    EXPECT_EQ(cameras[0].firmwareVersion(), "VORTA 0.8.0");
    EXPECT_EQ(cameras[1].serialNumber(), SerialNumber("T-2"));
    heads.unplug("T-1");
    ASSERT_EQ(application.cameras().size(), 1U);
    EXPECT_EQ(application.cameras().front().serialNumber(), SerialNumber("T-2"));
}

TEST(Application, GivesTheSameCameraForTheSameHead) {
    VirtualHeads heads;
    heads.plug({.serialNumber = "T-1"});
    heads.plug({.serialNumber = "T-2"});
    Application application;
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    const std::vector<Camera> first = application.cameras();
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    const std::vector<Camera> second = application.cameras();
    ASSERT_EQ(first.size(), 2U);
    ASSERT_EQ(second.size(), 2U);
    EXPECT_EQ(&first[0].getImpl(), &second[0].getImpl());
    EXPECT_EQ(&first[1].getImpl(), &second[1].getImpl());
    EXPECT_NE(&first[0].getImpl(), &first[1].getImpl());
}

TEST(Application, NoticesNewFirmwareOfAKnownHead) {
    VirtualHeads heads;
    heads.plug({.serialNumber = "T-1", .firmware = "VORTA 0.8.0"});
    Application application;
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    const std::vector<Camera> before = application.cameras();
    ASSERT_EQ(before.size(), 1U);
    heads.plug({.serialNumber = "T-1", .firmware = "VORTA 0.9.21"});
    ASSERT_EQ(application.cameras().size(), 1U);
    EXPECT_EQ(before.front().firmwareVersion(), "VORTA 0.9.21");
}

TEST(Application, CamerasStartWithTheSettingsOfTheDriver) {
    const VirtualHeads heads({.serialNumber = "T-1"});
    Settings settings;
    settings.set(Settings::Iris(7));
    Application application;
    application.getImpl().setCameraDriver(driverPath(), settings);
    ASSERT_EQ(application.cameras().size(), 1U);
    EXPECT_EQ(application.cameras().front().settings(), settings);
}

TEST(Application, MayBeAskedFromManyThreads) {
    const VirtualHeads heads({.serialNumber = "T-1"});
    Application application;
    application.getImpl().setCameraDriver(driverPath(), Settings{});
    const Camera camera = application.cameras().front();
    std::vector<std::thread> threads;
    std::array<int, 4> same{};
    for (int& count : same)
        threads.emplace_back([&] {
            for (int i = 0; i < 25; ++i)
                for (const Camera& found : application.cameras())
                    count += &found.getImpl() == &camera.getImpl() ? 1 : 0;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(same, ::testing::Each(25));
}

TEST(Application, CamerasOutliveIt) {
    const VirtualHeads heads({.serialNumber = "T-1"});
    Camera camera;
    {
        Application application;
        application.getImpl().setCameraDriver(driverPath(), Settings{});
        camera = application.cameras().at(0);
        camera.connect();
    }
    EXPECT_EQ(camera.capture().getPointCloud().size(), 243U * 150U);
}

} // namespace
} // namespace Vorta
