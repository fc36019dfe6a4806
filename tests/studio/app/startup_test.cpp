#include "app/startup.h"
#include "studio/app/studioprocess.h"
#include "support/virtualhead.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

using Vorta::Testing::StudioProcess;
using Vorta::Testing::VirtualHeads;

class Startup : public testing::Test {
protected:
    QString path(const char* name) const { return home_.filePath(QLatin1String(name)); }

    QString fileWithText(const char* name) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("not a measurement");
        return file.fileName();
    }

    void storePreference(const QByteArray& group, const QByteArray& line) const {
        QDir(home_.path()).mkpath(QStringLiteral("Vorta Labs"));
        QFile file(path("Vorta Labs/Vorta Studio.conf"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[" + group + "]\n" + line + "\n");
    }

    VirtualHeads heads_{{.serialNumber = "T-0001"}};
    QTemporaryDir home_;
};

TEST_F(Startup, ConnectsAndEndsWithTheWindow) {
    StudioProcess studio(home_.path());
    EXPECT_EQ(studio.waitForLine("window"), "window Vorta Studio");
    EXPECT_EQ(studio.waitForLine("connected"), "connected");
    studio.command("close");
    EXPECT_EQ(studio.exitCode(), 0);
}

TEST_F(Startup, ExitKeepsTheLayoutAsClosingTheWindowDoes) {
    StudioProcess studio(home_.path());
    ASSERT_FALSE(studio.waitForLine("connected").isEmpty());
    studio.command("trigger actionExit");
    EXPECT_EQ(studio.exitCode(), 0);
    QFile store(path("Vorta Labs/Vorta Studio.conf"));
    ASSERT_TRUE(store.open(QIODevice::ReadOnly));
    EXPECT_TRUE(store.readAll().contains("Geometry="));
}

TEST_F(Startup, EndsWithTheWindowWhileItConnects) {
    StudioProcess studio(home_.path());
    ASSERT_FALSE(studio.waitForLine("window").isEmpty());
    studio.command("close");
    EXPECT_EQ(studio.exitCode(), 0);
}

TEST_F(Startup, EndsWithTheWindowWhileItSearches) {
    heads_.unplug("T-0001");
    StudioProcess studio(home_.path());
    ASSERT_FALSE(studio.waitForLine("box").isEmpty());
    studio.command("accept");
    studio.command("close");
    EXPECT_EQ(studio.exitCode(), 0);
}

TEST_F(Startup, EndsWithTheWindowInTheMiddleOfALiveCaptureThatTakesForEver) {
    StudioProcess studio(home_.path());
    ASSERT_FALSE(studio.waitForLine("connected").isEmpty());
    studio.command("trigger actionLive");
    ASSERT_EQ(studio.waitForLine("live"), "live");
    heads_.plug({.serialNumber = "T-0001", .faults = "delay: 100000"});
    studio.command("close");
    EXPECT_EQ(studio.exitCode(), 0);
}

TEST_F(Startup, NumbersHaveADecimalPointWhateverTheUsersLocale) {
    qputenv("LC_ALL", "de_DE.UTF-8");
    StudioProcess studio(home_.path());
    qunsetenv("LC_ALL");
    ASSERT_FALSE(studio.waitForLine("window").isEmpty());
    studio.command("locale");
    EXPECT_EQ(studio.waitForLine("locale"), "locale 1.5 Vorta Labs/Vorta Studio");
}

TEST_F(Startup, SecondInstanceSaysSoAndLeaves) {
    StudioProcess first(home_.path());
    ASSERT_FALSE(first.waitForLine("connected").isEmpty());
    StudioProcess second(home_.path());
    EXPECT_EQ(second.waitForLine("box"),
              "box Vorta Studio|An instance of the application is running already. Only one instance is allowed.|OK");
    second.command("accept");
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_EQ(second.lines().size(), 1) << "nothing but the box was shown";
    EXPECT_TRUE(first.running());
}

TEST_F(Startup, StartsAgainRightAfterACrash) {
    {
        StudioProcess crashed(home_.path());
        ASSERT_FALSE(crashed.waitForLine("window").isEmpty());
        crashed.kill();
    }
    StudioProcess next(home_.path());
    EXPECT_EQ(next.waitForLine("window"), "window Vorta Studio");
}

TEST_F(Startup, MissingFileIsReportedAndTheProgramGoesOn) {
    StudioProcess studio(home_.path(), {path("&lt;missing.vdf")});
    EXPECT_EQ(studio.waitForLine("box"),
              "box File Open Error|File does not exist: " + path("&lt;missing.vdf").toUtf8() + "|OK");
    studio.command("accept");
    EXPECT_EQ(studio.waitForLine("connected"), "connected");
    studio.command("quit");
    EXPECT_EQ(studio.exitCode(), 0);
}

TEST_F(Startup, FileIsNamedFromTheWorkingFolderOn) {
    StudioProcess studio(home_.path(), {QStringLiteral("folder/../missing.vdf")});
    EXPECT_EQ(studio.waitForLine("box"), "box File Open Error|File does not exist: " +
                                             QDir::current().filePath(QStringLiteral("missing.vdf")).toUtf8() + "|OK");
}

TEST_F(Startup, DamagedFileIsReportedAndTheProgramGoesOn) {
    StudioProcess studio(home_.path(), {fileWithText("damaged.vdf")});
    const QByteArray box = studio.waitForLine("box");
    EXPECT_TRUE(box.startsWith("box An exception occurred|")) << box.toStdString();
    EXPECT_TRUE(box.contains(path("damaged.vdf").toUtf8())) << box.toStdString();
    studio.command("accept");
    EXPECT_EQ(studio.waitForLine("connected"), "connected");
    studio.command("quit");
    EXPECT_EQ(studio.exitCode(), 0);
}

TEST_F(Startup, FileOfAnotherKindEndsStartUpWithABox) {
    const QString file = fileWithText("&lt;notes.txt"); // to be shown letter by letter
    StudioProcess studio(home_.path(), {file});
    EXPECT_EQ(studio.waitForLine("box"),
              "box An exception occurred|Unsupported file type. Invalid parameter: fileName = '" + file.toUtf8() +
                  "'|OK");
    studio.command("accept");
    EXPECT_EQ(studio.exitCode(), 255) << "-1 as the shell sees it";
}

TEST_F(Startup, OpensTheFirstOfSeveralFilesOnly) {
    StudioProcess studio(home_.path(), {path("first.vdf"), path("second.vdf")});
    EXPECT_EQ(studio.waitForLine("box"),
              "box File Open Error|File does not exist: " + path("first.vdf").toUtf8() + "|OK");
    studio.command("accept");
    ASSERT_FALSE(studio.waitForLine("connected").isEmpty());
    studio.command("quit");
    EXPECT_EQ(studio.exitCode(), 0);
    EXPECT_EQ(studio.count("box"), 1);
}

TEST_F(Startup, UnknownOptionsAreIgnored) {
    StudioProcess studio(home_.path(), {QStringLiteral("--no-such-option"), QStringLiteral("-x")});
    EXPECT_EQ(studio.waitForLine("connected"), "connected");
    studio.command("quit");
    EXPECT_EQ(studio.exitCode(), 0);
    EXPECT_EQ(studio.count("box"), 0);
}

TEST_F(Startup, ExceptionInAHandlerIsShownOnceAndTheProgramGoesOn) {
    StudioProcess studio(home_.path());
    ASSERT_FALSE(studio.waitForLine("connected").isEmpty());
    studio.command("throw");
    EXPECT_EQ(studio.waitForLine("box"), "box An exception occurred|Thrown on <b>purpose</b>|OK");
    studio.command("accept");
    studio.command("throw-int");
    EXPECT_EQ(studio.waitForLine("box"), "box An exception occurred|Unknown exception|OK");
    studio.command("accept");
    studio.command("quit");
    EXPECT_EQ(studio.exitCode(), 0);
    EXPECT_EQ(studio.count("box"), 2);
}

TEST_F(Startup, StoredLogThresholdDecidesWhatIsLoggedFromTheBeginning) {
    struct Case {
        const char* line;
        bool logsInformation;
    };
    // Without a threshold the library's own level stays, which lets information through.
    for (const Case& stored : {Case{"Unrelated=1", true}, Case{"LogThreshold=", true}, Case{"LogThreshold=Debug", true},
                               Case{"LogThreshold=Warning", false}}) {
        storePreference("GUI", stored.line);
        StudioProcess studio(home_.path());
        ASSERT_EQ(studio.waitForLine("connected"), "connected");
        studio.command("show tableWidget");
        const QByteArray log = studio.waitForLine("tableWidget:"); // which ends there when nothing was logged
        ASSERT_FALSE(log.isEmpty());
        EXPECT_EQ(log.contains("Using camera driver: "), stored.logsInformation) << stored.line;
        studio.command("quit");
        EXPECT_EQ(studio.exitCode(), 0);
    }
}

TEST_F(Startup, UnknownLogThresholdDoesNotKeepTheProgramFromStarting) {
    storePreference("GUI", "LogThreshold=Chatty");
    StudioProcess studio(home_.path());
    EXPECT_EQ(studio.waitForLine("connected"), "connected");
}

TEST_F(Startup, WithoutAHeadItSaysSoAndConnectsOnceOneIsPluggedIn) {
    heads_.unplug("T-0001");
    StudioProcess studio(home_.path());
    EXPECT_EQ(studio.waitForLine("box"), "box No camera connected|You need to connect a camera to do measurements.|OK");
    studio.command("accept");
    heads_.plug({.serialNumber = "T-0002"});
    EXPECT_EQ(studio.waitForLine("connected"), "connected");
    EXPECT_EQ(studio.count("box"), 1);
}

TEST(FileToOpen, IsTheFirstPositionalArgument) {
    using Vorta::fileToOpen;
    const QString program = QStringLiteral("VortaStudio");
    EXPECT_EQ(fileToOpen({program}), QString());
    EXPECT_EQ(fileToOpen({program, QStringLiteral("a.vdf")}), QStringLiteral("a.vdf"));
    EXPECT_EQ(fileToOpen({program, QStringLiteral("a.vdf"), QStringLiteral("b.vdf")}), QStringLiteral("a.vdf"));
    EXPECT_EQ(fileToOpen({program, QStringLiteral("--unknown"), QStringLiteral("a.vdf")}), QStringLiteral("a.vdf"));
    EXPECT_EQ(fileToOpen({program, QStringLiteral("--help")}), QString());
    EXPECT_EQ(fileToOpen({program, QStringLiteral("--"), QStringLiteral("-odd.vdf")}), QStringLiteral("-odd.vdf"));
}

} // namespace
