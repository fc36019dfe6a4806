// What becomes of the program, and of what was saved before, when the system does not give what it should.

#include "studio/app/sessionfixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <sys/resource.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Vorta::Testing::SessionTest;
using Vorta::Testing::StudioProcess;

/// How each format says that it could not be saved; %1 is the file.
struct FailedSave {
    const char* ending;
    const char* box;
};

void PrintTo(const FailedSave& save, std::ostream* stream) {
    *stream << save.ending;
}

class Faults : public SessionTest {
protected:
    // As where a disk is full: writing on fails, and is no reason to end.
    static void SetUpTestSuite() { std::signal(SIGXFSZ, SIG_IGN); }

    /// From now on the program can make no file longer than this.
    static void limitFiles(const StudioProcess& studio, rlim_t bytes) {
        rlimit limit{};
        ASSERT_EQ(prlimit(static_cast<pid_t>(studio.processId()), RLIMIT_FSIZE, nullptr, &limit), 0);
        limit.rlim_cur = bytes;
        ASSERT_EQ(prlimit(static_cast<pid_t>(studio.processId()), RLIMIT_FSIZE, &limit, nullptr), 0);
    }

    void expectNotSaved(StudioProcess& studio, const QString& name, const FailedSave& expected) const {
        const QString box = QString::fromLatin1(expected.box).arg(path(name));
        EXPECT_THAT(studio.waitForLine("box").toStdString(), StartsWith(box.toStdString()));
        studio.command("accept");
    }

    /// Replacing the file is refused in a box whose text begins so; it stays as it was, alone in its folder.
    void expectKept(StudioProcess& studio, const QString& name, const QByteArray& earlier,
                    const std::string& refusal) const {
        EXPECT_THAT(studio.waitForLine("box").toStdString(), HasSubstr(name.toStdString() + " already exists."));
        studio.command("answer Yes");
        EXPECT_THAT(studio.waitForLine("box").toStdString(), StartsWith("box An exception occurred|" + refusal));
        studio.command("accept");
        close(studio);
        EXPECT_EQ(read(name), earlier);
        EXPECT_EQ(QDir(folder_.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                  QStringList{name});
    }
};

class FailedSaves : public Faults, public testing::WithParamInterface<FailedSave> {};

TEST_P(FailedSaves, OnAFullDiskAreReportedAndTheProgramGoesOn) {
    const QString name = QLatin1String("full.") + QLatin1String(GetParam().ending);
    StudioProcess studio(home_.path());
    connect(studio);
    grabAndSave(studio, QStringLiteral("a.vdf"));
    const QByteArray earlier = read(QStringLiteral("a.vdf"));
    limitFiles(studio, 20'000);
    save(studio, name);
    expectNotSaved(studio, name, GetParam());
    limitFiles(studio, RLIM_INFINITY);
    grabAndSave(studio, QStringLiteral("b.vdf"));
    close(studio);
    EXPECT_EQ(read(QStringLiteral("a.vdf")), earlier);
    expectOpens(QStringLiteral("b.vdf"));
}

TEST_P(FailedSaves, InAFolderThatTakesNoFilesAreReported) {
    const QString name = QLatin1String("/proc/a.") + QLatin1String(GetParam().ending);
    StudioProcess studio(home_.path());
    connect(studio);
    studio.command("trigger actionGrab");
    save(studio, name);
    expectNotSaved(studio, name, GetParam());
    grabAndSave(studio, QStringLiteral("a.vdf"));
    close(studio);
}

INSTANTIATE_TEST_SUITE_P(Formats, FailedSaves,
                         testing::Values(FailedSave{"vdf", "box An exception occurred|File '%1' cannot be written: "},
                                         FailedSave{"xyz", "box Save ASCII|Error saving to ASCII file '%1'.|OK"},
                                         FailedSave{"ply", "box Save PLY|Error saving to PLY file '%1'.|OK"},
                                         FailedSave{"pcd", "box Save PCD|Error saving to PCD file '%1'.|OK"}),
                         [](const auto& test) { return std::string(test.param.ending); });

TEST_F(Faults, AFullDiskLeavesTheEarlierDataFileWhole) {
    const QString name = QStringLiteral("a.vdf");
    StudioProcess studio(home_.path());
    connect(studio);
    grabAndSave(studio, name);
    const QByteArray earlier = read(name);
    studio.command("trigger actionGrab");
    limitFiles(studio, 20'000);
    save(studio, name);
    expectKept(studio, name, earlier, "File '" + path(name).toStdString() + "' cannot be written: ");
}

TEST_F(Faults, AFullDiskLeavesTheEarlierSettingsFileWhole) {
    const QString name = QStringLiteral("camera.yml");
    StudioProcess studio(home_.path());
    connect(studio);
    saveSettings(studio, name);
    awaitDone(studio);
    const QByteArray earlier = read(name);
    EXPECT_THAT(earlier.toStdString(), HasSubstr("Iris:"));
    limitFiles(studio, 500);
    saveSettings(studio, name);
    expectKept(studio, name, earlier, "Cannot write the settings file '" + path(name).toStdString());
}

TEST_F(Faults, AFullDiskLeavesThePreferencesWhole) {
    storePreference("GUI", "LogThreshold=Debug");
    StudioProcess studio(home_.path());
    connect(studio);
    limitFiles(studio, 10);
    close(studio);
    QFile store(preferencesFile());
    ASSERT_TRUE(store.open(QIODevice::ReadOnly));
    EXPECT_EQ(store.readAll(), "[GUI]\nLogThreshold=Debug\n");
}

TEST_F(Faults, AHomeThatTakesNoFilesIsSaidAndTheProgramWorks) {
    QFile file(path(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    StudioProcess studio(path(QStringLiteral("file/home")));
    connect(studio);
    EXPECT_THAT(shown(studio, "tableWidget"),
                HasSubstr("Preferences are not kept: '" +
                          path(QStringLiteral("file/home/Vorta Labs/Vorta Studio.conf")).toStdString() +
                          "' cannot be written."));
    grabAndSave(studio, QStringLiteral("a.vdf"));
    close(studio);
    EXPECT_EQ(studio.count("box"), 0);
}

TEST_F(Faults, AMissingDriverIsReportedAndFilesCanStillBeOpened) {
    {
        StudioProcess studio(home_.path());
        connect(studio);
        grabAndSave(studio, QStringLiteral("a.vdf"));
        close(studio);
    }
    // All that the program was installed with, but for one driver.
    const QDir built(QStringLiteral(VORTA_BIN_DIR));
    const QDir installed(path(QStringLiteral("installed")));
    ASSERT_TRUE(installed.mkpath(QStringLiteral(".")));
    for (const QString& name :
         built.entryList({QStringLiteral("lib*.so"), QStringLiteral("VortaCameraToshibaTeli.dll")}))
        ASSERT_TRUE(QFile::link(built.filePath(name), installed.filePath(name)));
    const QString program = installed.filePath(QStringLiteral("VortaStudioObserved"));
    ASSERT_TRUE(QFile::copy(built.filePath(QStringLiteral("VortaStudioObserved")), program));
    storePreference("Internal", "Camera\\Driver=PtGrey");
    StudioProcess studio(home_.path(), {path(QStringLiteral("a.vdf"))}, {}, program);
    EXPECT_EQ(studio.waitForLine("box"),
              "box An exception occurred|Camera driver not found: " + installed.path().toLocal8Bit() +
                  "/bin/VortaCameraPtGrey.dll - fallback to VortaCameraFile|OK");
    studio.command("accept");
    save(studio, QStringLiteral("again.vdf"));
    awaitDone(studio);
    close(studio);
    EXPECT_TRUE(QFile::exists(path(QStringLiteral("again.vdf"))));
    EXPECT_EQ(studio.count("box"), 1);
}

TEST_F(Faults, WithoutOpenGlEverythingButThe3dViewWorks) {
    StudioProcess studio(home_.path(), {}, {{QStringLiteral("QT_XCB_GL_INTEGRATION"), QStringLiteral("none")}});
    connect(studio);
    EXPECT_THAT(shown(studio, "noticeLabel"), StartsWith("The 3D view cannot be shown. "));
    startLive(studio);
    studio.command("trigger actionStop");
    grabAndSave(studio, QStringLiteral("a.vdf"));
    const std::string log = shown(studio, "tableWidget");
    const std::string report = "The 3D view cannot draw";
    EXPECT_EQ(log.find(report), log.rfind(report)) << "once, not with every frame";
    EXPECT_NE(log.find(report), std::string::npos);
    close(studio);
    EXPECT_EQ(studio.count("box"), 0);
    expectOpens(QStringLiteral("a.vdf"));
}

/// What asks a program to end: the system that shuts down, Ctrl+C in its terminal, and the terminal that is closed.
class Ended : public Faults, public testing::WithParamInterface<int> {
protected:
    /// The system asks, and the program ends as when its window is closed.
    void expectEnds(StudioProcess& studio) const {
        ASSERT_EQ(::kill(static_cast<pid_t>(studio.processId()), GetParam()), 0);
        EXPECT_EQ(studio.exitCode(), 0);
        QFile store(preferencesFile());
        ASSERT_TRUE(store.open(QIODevice::ReadOnly));
        EXPECT_THAT(store.readAll().toStdString(), HasSubstr("Geometry=")) << "the layout is kept";
    }
};

TEST_P(Ended, WhileLive) {
    StudioProcess studio(home_.path());
    connect(studio);
    grabAndSave(studio, QStringLiteral("a.vdf"));
    startLive(studio);
    expectEnds(studio);
    expectOpens(QStringLiteral("a.vdf"));
}

TEST_P(Ended, InTheMiddleOfALiveCaptureThatTakesForEver) {
    StudioProcess studio(home_.path());
    connect(studio);
    startLive(studio);
    heads_.plug({.serialNumber = "T-0001", .faults = "delay: 100000"});
    expectEnds(studio);
}

TEST_P(Ended, WhileABoxWaitsForAnAnswer) {
    heads_.unplug("T-0001");
    StudioProcess studio(home_.path());
    ASSERT_FALSE(studio.waitForLine("box").isEmpty());
    expectEnds(studio);
}

TEST_P(Ended, WhileTheFileOfTheCommandLineIsReportedMissing) {
    StudioProcess studio(home_.path(), {home_.filePath(QStringLiteral("missing.vdf"))});
    ASSERT_FALSE(studio.waitForLine("box").isEmpty());
    expectEnds(studio);
}

TEST_P(Ended, WhileADialogIsOpenAboveTheWindow) {
    StudioProcess studio(home_.path());
    connect(studio);
    studio.command("trigger actionGrab");
    studio.command("trigger actionSave");
    awaitDone(studio);
    expectEnds(studio);
}

INSTANTIATE_TEST_SUITE_P(Signals, Ended, testing::Values(SIGTERM, SIGINT, SIGHUP), [](const auto& test) {
    return std::string(test.param == SIGTERM ? "SIGTERM" : test.param == SIGINT ? "SIGINT" : "SIGHUP");
});

TEST_F(Faults, ASecondRequestEndsItThoughItIsBusy) {
    heads_.plug({.serialNumber = "T-0001", .faults = "delay: 100000"});
    StudioProcess studio(home_.path());
    connect(studio);
    studio.command("trigger actionGrab");
    // Again and again: the system hands on one for several that it has not yet handed on.
    do
        ASSERT_EQ(::kill(static_cast<pid_t>(studio.processId()), SIGTERM), 0);
    while (!studio.endsWithin(100));
}

TEST_F(Faults, KillingItWhileItSavesLeavesTheEarlierFileWhole) {
    const QString name = QStringLiteral("a.vdf");
    // With its images a file takes long enough to be caught half-written.
    heads_.plug({.serialNumber = "T-0001", .width = 972, .height = 600});
    storePreference("Internal", "Camera\\SaveImages=true");
    {
        StudioProcess studio(home_.path());
        connect(studio);
        grabAndSave(studio, name);
        const QByteArray earlier = read(name);
        save(studio, name);
        ASSERT_FALSE(studio.waitForLine("box").isEmpty());
        studio.command("answer Yes");
        const auto hasBegun = [&] {
            const QFileInfoList files = QDir(folder_.path()).entryInfoList(QDir::Files | QDir::Hidden);
            return std::any_of(files.begin(), files.end(),
                               [&](const QFileInfo& file) { return file.fileName() != name && file.size() > 100'000; });
        };
        while (!hasBegun())
            ASSERT_TRUE(studio.running());
        studio.kill();
        EXPECT_TRUE(hasBegun()) << "it was killed after it had saved";
        EXPECT_TRUE(read(name) == earlier);
    }
    expectOpens(name);
}

} // namespace
