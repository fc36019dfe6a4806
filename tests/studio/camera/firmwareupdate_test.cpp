// A head with another firmware than the required one. This program stands where no updater stands beside it, so that
// the search path decides which one the controller runs: the real one, a stand-in, or none.

#include "camera/vortainterface.h"
#include "services/appsettings.h"
#include "support/modaldriver.h"
#include "support/virtualhead.h"
#include "support/widgets.h"
#include "vorta/api/application.h"
#include "vorta/common/exceptions.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace {

using namespace Vorta;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::waitFor;

const QString programName = QStringLiteral("VortaFirmwareUpdater.exe");

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class FirmwareUpdate : public testing::Test {
protected:
    void TearDown() override { qputenv("PATH", searchPath_); }

    void SetUp() override {
        ASSERT_FALSE(QFile::exists(besideApplication())) << "the search path would not decide";
        plug("VORTA 0.9.20");
    }

    void plug(const std::string& firmware) {
        headFile_ = QString::fromStdString(heads_.plug({.serialNumber = "T-1", .firmware = firmware}).string());
        headText_ = contents(headFile_);
        ASSERT_FALSE(headText_.isEmpty());
    }

    static QString besideApplication() { return QDir(QCoreApplication::applicationDirPath()).filePath(programName); }

    static void findRealUpdater() { qputenv("PATH", VORTA_BIN_DIR); }
    void findNoUpdater() { qputenv("PATH", QFile::encodeName(folder_.path())); }
    void findStandIn(const char* exit) {
        qputenv("PATH", STANDIN_DIR);
        useStandIn(exit);
    }
    void useStandIn(const char* exit) {
        qputenv("STANDIN_LOG", QFile::encodeName(standInLog()));
        qputenv("STANDIN_EXIT", exit);
    }
    [[nodiscard]] QString standInLog() const { return folder_.filePath(QStringLiteral("runs")); }

    /// What connecting throws, outside of the event loop.
    std::string refusal() {
        try {
            controller_.connectCamera(ComputeDevice{});
        } catch (const RuntimeException& e) {
            return e.what();
        }
        return "nothing was thrown";
    }

    /// Connects from the event loop, as the application does. Returns whether the application then ended by itself.
    bool connectingEndsTheApplication() {
        constexpr int tooLate = 99;
        QTimer::singleShot(0, &controller_, [this] { thrown_ = refusal(); });
        QTimer patience;
        patience.setSingleShot(true);
        QObject::connect(&patience, &QTimer::timeout, [] { QCoreApplication::exit(tooLate); });
        patience.start(60'000);
        return QCoreApplication::exec() == 0;
    }

    QByteArray searchPath_ = qgetenv("PATH");
    QTemporaryDir folder_;
    Testing::VirtualHeads heads_;
    QString headFile_;
    QByteArray headText_;
    VortaQt::AppSettings preferences_{nullptr};
    Application application_;
    VortaInterface controller_{application_, nullptr};
    std::string thrown_;
};

void expectQuestion(const ModalDriver::Box& box) {
    EXPECT_EQ(box.title, QStringLiteral("Firmware out of date"));
    EXPECT_EQ(box.text, QStringLiteral("The firmware needs to be updated. If you do not want to update the firmware "
                                       "you need to close the application."));
    EXPECT_THAT(box.buttons, testing::UnorderedElementsAre(QStringLiteral("OK"), QStringLiteral("Close")));
    EXPECT_EQ(box.defaultButton, QStringLiteral("OK"));
}

class OtherFirmware : public FirmwareUpdate, public testing::WithParamInterface<const char*> {};

TEST_P(OtherFirmware, IsUpdatedAndTheHeadConnectsAfterARestart) {
    plug(GetParam());
    findRealUpdater();
    {
        ModalDriver boxes;
        boxes.thenClick(QStringLiteral("OK")).thenClick(QStringLiteral("OK"));
        EXPECT_TRUE(connectingEndsTheApplication());
        ASSERT_EQ(boxes.seen().size(), 2U);
        expectQuestion(boxes.seen()[0]);
        EXPECT_EQ(boxes.seen()[1].title, QStringLiteral("Restart required"));
        EXPECT_EQ(boxes.seen()[1].text,
                  QStringLiteral("To reload cameras using the new firmware this application needs to be restarted"));
        EXPECT_EQ(boxes.seen()[1].buttons, QStringList{QStringLiteral("OK")});
    }
    EXPECT_EQ(thrown_, "nothing was thrown");
    EXPECT_FALSE(controller_.status().connected) << "a head with another firmware is never initialised";
    const QByteArray quote = *GetParam() == '\'' ? "'" : "";
    EXPECT_EQ(contents(headFile_),
              headText_.replace(QByteArray("firmware: ") + GetParam(), "firmware: " + quote + "VORTA 0.9.21" + quote));

    Application restarted;
    VortaInterface controller(restarted, nullptr);
    controller.connectCamera(ComputeDevice{});
    EXPECT_TRUE(waitFor([&] { return controller.status().connected; }, 20'000));
}

INSTANTIATE_TEST_SUITE_P(Firmware, OtherFirmware,
                         testing::Values("VORTA 0.9.20", "VORTA 0.9.22", "'VORTA 0.9.21 '", "vorta 0.9.21"));

TEST_F(FirmwareUpdate, RunsTheUpdaterOnceWithoutArgumentsUnderTheWaitCursor) {
    findStandIn("0");
    std::optional<Qt::CursorShape> cursor;
    application_.getImpl().setLogCallback([&](const Log::Event& event) {
        if (event.getMessage() == "Launching the firmware updater: VortaFirmwareUpdater.exe")
            cursor = QGuiApplication::overrideCursor() ? QGuiApplication::overrideCursor()->shape() : Qt::ArrowCursor;
    });
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK")).then([](QWidget& box) {
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr) << "the updater has ended";
        box.close();
    });
    EXPECT_TRUE(connectingEndsTheApplication());
    application_.getImpl().setLogCallback({});
    EXPECT_EQ(cursor, Qt::WaitCursor);
    EXPECT_EQ(contents(standInLog()), "run with 0 arguments\n");
}

TEST_F(FirmwareUpdate, CloseRunsTheUpdaterOnceAllTheSameAndEndsTheApplication) {
    findStandIn("0");
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("Close"));
    EXPECT_TRUE(connectingEndsTheApplication());
    EXPECT_EQ(thrown_, "nothing was thrown");
    ASSERT_EQ(boxes.seen().size(), 1U) << "an application that ends asks for no restart";
    expectQuestion(boxes.seen()[0]);
    EXPECT_EQ(contents(standInLog()), "run with 0 arguments\n");
}

TEST_F(FirmwareUpdate, EscapeIsClose) {
    findRealUpdater();
    ModalDriver boxes;
    boxes.thenCancel();
    EXPECT_TRUE(connectingEndsTheApplication());
    EXPECT_TRUE(contents(headFile_).contains("firmware: VORTA 0.9.21\n"));
}

TEST_F(FirmwareUpdate, CloseEndsTheApplicationWithoutAnUpdaterToo) {
    findNoUpdater();
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("Close"));
    EXPECT_TRUE(connectingEndsTheApplication());
    EXPECT_EQ(thrown_, "Firmware updater cannot be started");
}

TEST_F(FirmwareUpdate, SaysThatTheUpdaterIsMissing) {
    findNoUpdater();
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    EXPECT_EQ(refusal(), "Firmware updater cannot be started");
    ASSERT_EQ(boxes.seen().size(), 1U);
    expectQuestion(boxes.seen()[0]);
    EXPECT_EQ(contents(headFile_), headText_);
    EXPECT_FALSE(controller_.status().connected);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(FirmwareUpdate, SaysThatTheUpdaterCrashed) {
    findStandIn("crash");
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    EXPECT_EQ(refusal(), "Firmware updater crashed");
    EXPECT_EQ(contents(standInLog()), "run with 0 arguments\n");
    EXPECT_FALSE(controller_.status().connected);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(FirmwareUpdate, SaysHowTheUpdaterFailed) {
    findStandIn("3");
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    EXPECT_EQ(refusal(), "Firmware updater exited with exit code: 3");
    EXPECT_FALSE(controller_.status().connected);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(FirmwareUpdate, FailureOfTheRealUpdaterIsToldByItsExitCode) {
    heads_.plug({.serialNumber = "T-1", .firmware = "VORTA 0.9.20", .faults = "update: worn out"});
    findRealUpdater();
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    EXPECT_EQ(refusal(), "Firmware updater exited with exit code: 6");
}

TEST_F(FirmwareUpdate, UpdaterBesideTheApplicationComesBeforeTheSearchPath) {
    findRealUpdater();
    useStandIn("7");
    struct Beside {
        ~Beside() { QFile::remove(besideApplication()); }
    } const beside;
    ASSERT_TRUE(QFile::copy(QDir(QStringLiteral(STANDIN_DIR)).filePath(programName), besideApplication()));
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    EXPECT_EQ(refusal(), "Firmware updater exited with exit code: 7");
    EXPECT_EQ(contents(headFile_), headText_);
}

TEST_F(FirmwareUpdate, HeadWithTheRequiredFirmwareIsConnectedWithoutAWord) {
    plug("VORTA 0.9.21");
    findStandIn("0");
    const ModalDriver boxes;
    controller_.connectCamera(ComputeDevice{});
    EXPECT_TRUE(waitFor([this] { return controller_.status().connected; }, 20'000));
    EXPECT_TRUE(boxes.seen().empty());
    EXPECT_FALSE(QFile::exists(standInLog()));
}

} // namespace
