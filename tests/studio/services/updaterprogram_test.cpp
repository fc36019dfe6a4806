// What a user of the whole program meets: boxes that tell what went wrong, and an end when the installer runs.

#include "studio/services/updaterfixture.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace Vorta::Testing;

class UpdaterProgram : public UpdaterFixture {
protected:
    /// Its exit status once it has ended by itself; nothing when it crashed or never ended.
    std::optional<int> run() {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder_.filePath(QStringLiteral("config")));
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(VORTA_BIN_DIR "/updaterhost"), {});
        const bool ended = waitFor([&] { return process.state() == QProcess::NotRunning; }, 60'000);
        output_ = process.readAllStandardOutput();
        if (!ended || process.exitStatus() != QProcess::NormalExit)
            return std::nullopt;
        return process.exitCode();
    }

    [[nodiscard]] QByteArray marking() const {
        return "#!/bin/sh\necho ran > '" + QFile::encodeName(folder_.filePath(QStringLiteral("mark"))) + "'\n";
    }
    [[nodiscard]] bool hasRun() const { return QFile::exists(folder_.filePath(QStringLiteral("mark"))); }

    static constexpr int exceptionShown = 3;
    static constexpr int nothingToDownload = 4;
    QByteArray output_;
};

TEST_F(UpdaterProgram, EndsWhenTheInstallerRuns) {
    publishInstaller("1.0.2", marking());
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(output_, "|The application needs to close to proceed. Continue?\n");
    EXPECT_TRUE(waitFor([this] { return hasRun(); }, 20'000)) << "it outlives the program";
}

TEST_F(UpdaterProgram, TellsOfAnInstallerThatIsNotThePublishedOne) {
    publishInstaller("1.0.2", marking());
    server_.serve(QStringLiteral("VortaSetup_1.0.2.exe"), marking() + "#");
    EXPECT_EQ(run(), exceptionShown);
    EXPECT_EQ(output_,
              "An exception occurred|The checksum of the downloaded installer does not match the expected one.\n");
    EXPECT_EQ(contents(path("1.0.2")), QByteArray());
    EXPECT_FALSE(hasRun());
}

TEST_F(UpdaterProgram, TellsOfAnInstallerThatIsCutShort) {
    publishInstaller("1.0.2", marking());
    server_.serve(QStringLiteral("VortaSetup_1.0.2.exe"),
                  HttpServer::raw("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + marking()));
    EXPECT_EQ(run(), exceptionShown);
    EXPECT_EQ(output_, "An exception occurred|Failed to download new installer\n");
    EXPECT_FALSE(QFile::exists(path("1.0.2")));
}

TEST_F(UpdaterProgram, TellsOfAnInstallerThatIsTooLarge) {
    publishInstaller("1.0.2", marking());
    server_.serve(QStringLiteral("VortaSetup_1.0.2.exe"),
                  HttpServer::unfinished("HTTP/1.1 200 OK\r\nContent-Length: 1073741825\r\n\r\n"));
    EXPECT_EQ(run(), exceptionShown);
    EXPECT_EQ(output_, "An exception occurred|Failed to download new installer\n");
}

TEST_F(UpdaterProgram, TellsOfAVersionThatIsAPath) {
    publish("../../x\n", "");
    EXPECT_EQ(run(), exceptionShown);
    EXPECT_EQ(output_, "An exception occurred|This is no semantic version: it does not begin with three numbers "
                       "separated by dots. Invalid parameter: version = '../../x'\n");
    for (const QByteArray& request : server_.requests())
        EXPECT_TRUE(request.startsWith("GET /software/latest_")) << request.constData();
}

TEST_F(UpdaterProgram, TellsOfAChecksumThatIsNone) {
    server_.serve(QStringLiteral("latest_version"), HttpServer::unfinished("")); // so that only this ends the program
    server_.serve(QStringLiteral("latest_checksum"), "zz");
    EXPECT_EQ(run(), exceptionShown);
    EXPECT_EQ(output_,
              "An exception occurred|Argument is not a valid hexadecimal character. Invalid parameter: byte\n");
}

TEST_F(UpdaterProgram, SaysNothingOfAServerThatIsNotThere) {
    server_.close();
    EXPECT_EQ(run(), nothingToDownload);
    EXPECT_EQ(output_, "");
}

} // namespace
