// X servers that lack something, or end before the program does.

#include "studio/app/sessionfixture.h"

namespace {

using Vorta::Testing::SessionTest;
using Vorta::Testing::StudioProcess;

/// An X server without a window manager, as long as this object or until it is ended.
class XServer {
public:
    explicit XServer(const QStringList& options = {}) {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(QStringLiteral("Xvfb"),
                       QStringList{QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                                   QStringLiteral("0"), QStringLiteral("1600x1000x24"), QStringLiteral("-nolisten"),
                                   QStringLiteral("tcp"), QStringLiteral("-noreset")} +
                           options);
        while (!process_.canReadLine() && process_.waitForReadyRead()) {
        }
        display_ = ':' + process_.readLine().trimmed();
    }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;
    ~XServer() { end(); }

    /// What directs a program to it.
    [[nodiscard]] QMap<QString, QString> variables() const {
        return {{QStringLiteral("DISPLAY"), QString::fromLatin1(display_)}, {QStringLiteral("XAUTHORITY"), {}}};
    }

    /// To its clients the same as a crash, but that no lock and no socket stay behind.
    void end() {
        process_.terminate();
        process_.waitForFinished(-1);
    }

private:
    QProcess process_;
    QByteArray display_;
};

class Screen : public SessionTest {
protected:
    /// The program ends by itself, with a status that tells of a failure, and leaves nothing that keeps it from
    /// starting again.
    void expectEndsWith(XServer& server, StudioProcess& studio) {
        server.end();
        EXPECT_EQ(studio.exitCode(), 1);
        expectOpens(QStringLiteral("a.vdf"));
    }

    void startAndSave(StudioProcess& studio) const {
        connect(studio);
        grabAndSave(studio, QStringLiteral("a.vdf"));
    }
};

TEST_F(Screen, ThatGoesEndsTheProgram) {
    XServer server;
    StudioProcess studio(home_.path(), {}, server.variables());
    startAndSave(studio);
    expectEndsWith(server, studio);
}

TEST_F(Screen, ThatGoesWhileABoxIsOpenEndsTheProgram) {
    XServer server;
    StudioProcess studio(home_.path(), {}, server.variables());
    startAndSave(studio);
    studio.command("throw");
    ASSERT_FALSE(studio.waitForLine("box").isEmpty());
    expectEndsWith(server, studio);
}

// More than once: the server may go at any moment of a frame.
TEST_F(Screen, ThatGoesWhileLiveEndsTheProgram) {
    for (int round = 0; round < 5 && !HasFailure(); ++round) {
        XServer server;
        StudioProcess studio(home_.path(), {}, server.variables());
        QFile::remove(path(QStringLiteral("a.vdf")));
        startAndSave(studio);
        startLive(studio);
        expectEndsWith(server, studio);
    }
}

TEST_F(Screen, WithoutGlxIsEnough) {
    XServer server({QStringLiteral("-extension"), QStringLiteral("GLX")});
    StudioProcess studio(home_.path(), {}, server.variables());
    startAndSave(studio);
    startLive(studio);
    studio.command("trigger actionStop");
    close(studio);
    EXPECT_EQ(studio.count("box"), 0);
}

} // namespace
