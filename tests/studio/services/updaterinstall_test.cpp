// Downloading the installer, checking and running it.

#include "services/platform/platform.h"
#include "services/updaterwidget.h"
#include "studio/services/updaterfixture.h"
#include "support/modaldriver.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

namespace {

using namespace Vorta::Testing;

const std::string mismatch = "The checksum of the downloaded installer does not match the expected one.";

class UpdaterInstall : public UpdaterFixture {
protected:
    /// Learns of version 1.0.2, whose installer and digest may be anything.
    void offer(const QByteArray& digest) {
        updater_.handleLatestVersion(QByteArray("1.0.2"));
        updater_.handleLatestChecksum(digest);
        ASSERT_EQ(updater_.state(), updateAvailable);
    }

    /// A program that leaves a mark where the test looks for it.
    [[nodiscard]] QByteArray installer() const {
        return "#!/bin/sh\necho run with $# arguments >> '" + QFile::encodeName(mark()) + "'\n";
    }
    [[nodiscard]] QString mark() const { return folder_.filePath(QStringLiteral("mark")); }

    static constexpr const char* abcDigest = "a9993e364706816aba3e25717850c26c9cd0d89d"; // of "abc", by sha1sum

    Updater updater_;
};

void expectQuestion(const ModalDriver::Box& box) {
    EXPECT_EQ(box.title, QString());
    EXPECT_EQ(box.text, QStringLiteral("The application needs to close to proceed. Continue?"));
    EXPECT_THAT(box.buttons, testing::UnorderedElementsAre(QStringLiteral("Yes"), QStringLiteral("No")));
}

TEST_F(UpdaterInstall, FailedDownloadIsReported) {
    offer(abcDigest);
    updater_.slotDownloadUpdate();
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(std::nullopt); }), "Failed to download new installer");
    EXPECT_EQ(updater_.state(), updateAvailable) << "it can be tried again";
    EXPECT_FALSE(QFile::exists(path("1.0.2")));
}

TEST_F(UpdaterInstall, MismatchingDigestLeavesAnEmptyFile) {
    offer("a9993e364706816aba3e25717850c26c9cd0d89c"); // the last digit
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }), mismatch);
    EXPECT_EQ(contents(path("1.0.2")), QByteArray());
    EXPECT_EQ(updater_.state(), updateAvailable);
}

TEST_F(UpdaterInstall, MismatchingDigestEmptiesAnEarlierFile) {
    QFile earlier(path("1.0.2"));
    ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
    earlier.write("an earlier installer");
    earlier.close();
    offer("b9993e364706816aba3e25717850c26c9cd0d89d"); // the first digit
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }), mismatch);
    EXPECT_EQ(contents(path("1.0.2")), QByteArray());
}

TEST_F(UpdaterInstall, WithoutAChecksumNoInstallerPasses) {
    const ModalDriver boxes; // nothing is asked
    offer("");
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }), mismatch);
    updater_.handleLatestChecksum(QByteArray(abcDigest));
    updater_.handleLatestChecksum(std::nullopt);
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }), mismatch)
        << "the digest of an earlier reply does not count";
    updater_.handleLatestChecksum(QByteArray(abcDigest));
    EXPECT_NE(thrownBy([this] { updater_.handleLatestChecksum(QByteArray("zz")); }), "nothing was thrown");
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }), mismatch);
    EXPECT_EQ(contents(path("1.0.2")), QByteArray());
}

TEST_F(UpdaterInstall, ChecksumReplyOfMoreThanAFewKilobytesIsNone) {
    publish("1.0.2", QByteArray(abcDigest) + QByteArray(4096 - 40, ' '));
    check(updater_);
    EXPECT_EQ(thrownBy([this] {
                  ModalDriver boxes;
                  boxes.thenClick(QStringLiteral("No"));
                  updater_.handleInstaller(QByteArray("abc"));
              }),
              "nothing was thrown");
    publish("1.0.2", QByteArray(abcDigest) + QByteArray(4097 - 40, ' '));
    check(updater_);
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }), mismatch);
}

TEST_F(UpdaterInstall, DigestIsThatOfTheWholeInstaller) {
    offer("a9993e36"); // its first bytes only
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }), mismatch);
}

TEST_F(UpdaterInstall, FileThatCannotBeOpenedIsReported) {
    offer(abcDigest);
    ASSERT_TRUE(QDir().mkdir(path("1.0.2")));
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }),
              "Failed to open file '" + path("1.0.2").toStdString() + "' for writing");
    EXPECT_EQ(updater_.state(), updateAvailable);
}

TEST_F(UpdaterInstall, FullDiskIsReported) {
    if (!QFile::exists(QStringLiteral("/dev/full")))
        GTEST_SKIP() << "no device here that is always full";
    offer(abcDigest);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), path("1.0.2")));
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }),
              "Failed to write data to file '" + path("1.0.2").toStdString() + "'");
}

TEST_F(UpdaterInstall, NoLeavesTheDialogOnTheInstallPage) {
    offer(abcDigest);
    {
        ModalDriver boxes;
        boxes.thenClick(QStringLiteral("No"));
        updater_.handleInstaller(QByteArray("abc"));
        ASSERT_EQ(boxes.seen().size(), 1U);
        expectQuestion(boxes.seen()[0]);
    }
    EXPECT_EQ(updater_.stack().currentIndex(), 3);
    EXPECT_EQ(contents(path("1.0.2")), "abc");
    EXPECT_FALSE(QFileInfo(path("1.0.2")).isExecutable()) << "nothing was done with it";
    {
        ModalDriver boxes;
        boxes.thenCancel();
        updater_.install().click();
        ASSERT_EQ(boxes.seen().size(), 1U);
        expectQuestion(boxes.seen()[0]);
    }
    EXPECT_EQ(updater_.stack().currentIndex(), 3);
}

TEST_F(UpdaterInstall, QuestionHasNoDefaultAnswerAndTakesOkForYes) {
    offer(abcDigest);
    ModalDriver boxes;
    boxes.then([](QWidget& widget) {
        auto& box = dynamic_cast<QMessageBox&>(widget);
        EXPECT_EQ(box.icon(), QMessageBox::Question);
        EXPECT_EQ(box.defaultButton(), nullptr);
        box.done(QMessageBox::Ok);
    });
    EXPECT_THAT(thrownBy([this] { updater_.slotInstallUpdate(); }), testing::StartsWith("failed to run"))
        << "there is no installer";
}

TEST_F(UpdaterInstall, InstallerThatCannotBeRunIsReported) {
    offer(abcDigest);
    bool quit = false;
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &updater_, [&quit] { quit = true; });
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("Yes"));
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }),
              "failed to run" + path("1.0.2").toStdString() + ":\nExec format error");
    EXPECT_EQ(updater_.stack().currentIndex(), 3);
    QCoreApplication::processEvents();
    EXPECT_FALSE(quit);
}

TEST_F(UpdaterInstall, InstallerThatIsGoneIsReported) {
    offer(abcDigest);
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("Yes"));
    EXPECT_EQ(thrownBy([this] { updater_.slotInstallUpdate(); }),
              "failed to run" + path("1.0.2").toStdString() + ":\nNo such file or directory");
}

TEST_F(UpdaterInstall, TemporaryFolderMayHaveAnyLetters) {
    const QString folder = folder_.filePath(QStringLiteral("J\u00f6rg's files"));
    ASSERT_TRUE(QDir().mkdir(folder));
    qputenv("TMPDIR", QFile::encodeName(folder));
    offer(abcDigest);
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("Yes"));
    const QString path = folder + QStringLiteral("/VortaSetup_1.0.2.exe");
    EXPECT_EQ(thrownBy([this] { updater_.handleInstaller(QByteArray("abc")); }),
              "failed to run" + path.toStdString() + ":\nExec format error");
    EXPECT_EQ(contents(path), "abc");
}

TEST_F(UpdaterInstall, YesRunsTheInstallerAndQuits) {
    publishInstaller("1.0.2", installer());
    check(updater_);
    ASSERT_EQ(updater_.state(), updateAvailable);

    int quits = 0;
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &updater_, [&quits] { ++quits; });
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("Yes"));
    QTimer::singleShot(0, &updater_.update(), &QPushButton::click);
    QTimer patience;
    patience.setSingleShot(true);
    QObject::connect(&patience, &QTimer::timeout, [] { QCoreApplication::exit(99); });
    patience.start(30'000);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(quits, 1);
    ASSERT_EQ(boxes.seen().size(), 1U);
    expectQuestion(boxes.seen()[0]);
    EXPECT_EQ(contents(path("1.0.2")), installer());
    EXPECT_TRUE(waitFor([this] { return contents(mark()) == "run with 0 arguments\n"; }, 20'000));
    EXPECT_TRUE(server_.requests().constLast().startsWith("GET /software/VortaSetup_1.0.2.exe HTTP/1.1\r\n"));
}

TEST_F(UpdaterInstall, NothingRunsBeforeTheAnswer) {
    offer(QCryptographicHash::hash(installer(), QCryptographicHash::Sha1).toHex());
    ModalDriver boxes;
    boxes.then([this](QWidget& box) {
        EXPECT_FALSE(waitFor([this] { return QFile::exists(mark()); }, 200));
        dynamic_cast<QMessageBox&>(box).button(QMessageBox::No)->click();
    });
    updater_.handleInstaller(installer());
    EXPECT_FALSE(QFile::exists(mark()));
}

TEST_F(UpdaterInstall, DownloadFollowsTheProgressOfTheReply) {
    offer(abcDigest);
    server_.serve(
        QStringLiteral("VortaSetup_1.0.2.exe"),
        HttpServer::paused("HTTP/1.1 200 OK\r\nContent-Length: 300\r\n\r\n" + QByteArray(100, 'x'), {"x", "x"}));
    std::vector<int> values;
    QObject::connect(&updater_.indicator(), &QProgressBar::valueChanged,
                     [&values](int value) { values.push_back(value); });
    updater_.update().click();
    EXPECT_EQ(updater_.stack().currentIndex(), 1);
    EXPECT_EQ(updater_.indicator().minimum(), 0);
    EXPECT_EQ(updater_.indicator().maximum(), 0) << "nothing is known yet";
    EXPECT_TRUE(waitFor([this] { return updater_.indicator().value() == 34; }));
    EXPECT_THAT(values, testing::ElementsAre(33, 34)) << "of 101 and 102 in 300 bytes";
    EXPECT_EQ(updater_.indicator().minimum(), 0);
    EXPECT_EQ(updater_.indicator().maximum(), 100);
}

TEST_F(UpdaterInstall, DownloadOfUnknownSizeShowsABusyBar) {
    offer(abcDigest);
    server_.serve(QStringLiteral("VortaSetup_1.0.2.exe"),
                  HttpServer::paused("HTTP/1.1 200 OK\r\n\r\n" + QByteArray(100, 'x'), {"x", "x", "x"}));
    updater_.slotDownloadUpdate();
    updater_.indicator().setRange(0, 100);
    updater_.indicator().setValue(50);
    EXPECT_TRUE(waitFor([this] { return updater_.indicator().maximum() == 0; })) << "by the reply's progress";
    EXPECT_EQ(updater_.indicator().minimum(), 0);
    EXPECT_EQ(updater_.indicator().value(), 0);
}

TEST_F(UpdaterInstall, ClosingGivesUpTheDownload) {
    offer(abcDigest);
    server_.serve(QStringLiteral("VortaSetup_1.0.2.exe"),
                  HttpServer::endless("HTTP/1.1 200 OK\r\n\r\n", QByteArray(1000, 'x')));
    updater_.show();
    updater_.slotDownloadUpdate();
    ASSERT_TRUE(waitFor([this] { return server_.connections() == 1; }));
    updater_.close();
    const ModalDriver boxes;
    EXPECT_TRUE(waitFor([this] { return server_.connections() == 0; }));
    EXPECT_EQ(updater_.state(), updateAvailable) << "it can be tried again";
    EXPECT_FALSE(QFile::exists(path("1.0.2")));
    EXPECT_TRUE(boxes.seen().empty());
}

TEST_F(UpdaterInstall, MayBeDestroyedInMidDownload) {
    server_.serve(QStringLiteral("VortaSetup_1.0.2.exe"),
                  HttpServer::endless("HTTP/1.1 200 OK\r\n\r\n", QByteArray(1000, 'x')));
    auto updater = std::make_unique<Updater>();
    updater->handleLatestVersion(QByteArray("1.0.2"));
    updater->slotDownloadUpdate();
    ASSERT_TRUE(waitFor([this] { return server_.connections() == 1; }));
    updater.reset();
    EXPECT_TRUE(waitFor([this] { return server_.connections() == 0; }));
}

TEST_F(UpdaterInstall, MayBeDestroyedWhileItAsks) {
    publishInstaller("1.0.2", installer());
    auto updater = std::make_unique<Updater>();
    check(*updater);
    ModalDriver boxes;
    boxes.then([&updater](QWidget&) { updater.reset(); });
    updater->slotDownloadUpdate();
    EXPECT_TRUE(waitFor([&] { return !updater; }));
    EXPECT_FALSE(waitFor([this] { return QFile::exists(mark()); }, 100)) << "nobody said yes";
}

TEST(OpenWithShell, TellsWhyItFails) {
    const QTemporaryDir folder;
    EXPECT_EQ(VortaQt::Platform::openWithShell(folder.filePath(QStringLiteral("none"))),
              QStringLiteral("No such file or directory"));
    EXPECT_EQ(VortaQt::Platform::openWithShell(folder.path()), QStringLiteral("Permission denied"));
}

TEST(OpenWithShell, RunsAProgramInASessionOfItsOwn) {
    const QTemporaryDir folder;
    const QString program = folder.filePath(QStringLiteral("a program with blanks.exe"));
    const QString mark = folder.filePath(QStringLiteral("mark"));
    QFile file(program);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    // The fourth field after the name is the session, which bears the number of its first process.
    file.write("#!/bin/sh\necho $$ $(sed 's/.*) //' /proc/$$/stat | cut -d' ' -f4) > '" + QFile::encodeName(mark) +
               "'\n");
    file.close();
    EXPECT_EQ(VortaQt::Platform::openWithShell(program), std::nullopt);
    const auto told = [&mark] {
        QFile read(mark);
        return read.open(QIODevice::ReadOnly) ? read.readAll().trimmed().split(' ') : QByteArrayList();
    };
    ASSERT_TRUE(waitFor([&] { return told().size() == 2; }, 20'000));
    EXPECT_EQ(told()[0], told()[1]);
}

} // namespace
