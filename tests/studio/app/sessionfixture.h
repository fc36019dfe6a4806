#pragma once

#include "studio/app/studioprocess.h"
#include "support/virtualhead.h"

#include <QFile>
#include <QString>

#include <gtest/gtest.h>

namespace Vorta::Testing {

/// Sessions with the real program, which has one head and a home of its own. `folder_` is for what the user saves.
class SessionTest : public testing::Test {
protected:
    /// Starts to save under a name in the folder or an absolute one. The answer to what is asked then is up to the
    /// test.
    void save(StudioProcess& studio, const QString& name) const { saveBy(studio, "actionSave", name); }
    void saveSettings(StudioProcess& studio, const QString& name) const { saveBy(studio, "actionSaveSettings", name); }

    /// Waits until the program has done all that it was told before.
    static void awaitDone(StudioProcess& studio) {
        studio.command("locale");
        ASSERT_FALSE(studio.waitForLine("locale").isEmpty());
    }

    static void connect(StudioProcess& studio) { ASSERT_EQ(studio.waitForLine("connected"), "connected"); }

    static void startLive(StudioProcess& studio) {
        studio.command("trigger actionLive");
        ASSERT_EQ(studio.waitForLine("live"), "live");
    }

    /// Captures and saves what nothing may damage later.
    void grabAndSave(StudioProcess& studio, const QString& name) const {
        studio.command("trigger actionGrab");
        save(studio, name);
        awaitDone(studio);
        ASSERT_TRUE(QFile::exists(path(name)));
    }

    /// The program closes its window when it is told to, and has refused no command.
    static void close(StudioProcess& studio) {
        studio.command("close");
        EXPECT_EQ(studio.exitCode(), 0);
        EXPECT_EQ(studio.count("refused"), 0);
    }

    /// What the program tells of a control.
    static std::string shown(StudioProcess& studio, const QByteArray& control) {
        studio.command("show " + control);
        return studio.waitForLine(control + ":").mid(control.size() + 2).toStdString();
    }

    /// Opens the data file in a new session: it is whole, and the program starts as ever.
    void expectOpens(const QString& name) {
        StudioProcess studio(home_.path(), {path(name)});
        EXPECT_EQ(studio.waitForLine("connected"), "connected");
        close(studio);
        EXPECT_EQ(studio.count("box"), 0);
    }

    QString path(const QString& name) const { return QDir(folder_.path()).absoluteFilePath(name); }

    QByteArray read(const QString& name) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
        return file.readAll();
    }

    QString preferencesFile() const { return home_.filePath(QStringLiteral("Vorta Labs/Vorta Studio.conf")); }

    void storePreference(const QByteArray& group, const QByteArray& line) const {
        QDir(home_.path()).mkpath(QStringLiteral("Vorta Labs"));
        QFile file(preferencesFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[" + group + "]\n" + line + "\n");
    }

    void saveBy(StudioProcess& studio, const QByteArray& action, const QString& name) const {
        studio.command("trigger " + action);
        studio.command("set fileNameEdit " + path(name).toLocal8Bit());
        studio.command("press QFileDialog Save");
    }

    Testing::VirtualHeads heads_{{.serialNumber = "T-0001"}};
    QTemporaryDir home_;
    QTemporaryDir folder_;
};

} // namespace Vorta::Testing
