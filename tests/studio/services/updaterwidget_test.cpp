#include "services/updaterwidget.h"

#include "studio/services/updaterfixture.h"
#include "vorta/common/log.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QPointer>
#include <QTest>
#include <QTranslator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace Vorta::Testing;
using State = VortaQt::UpdaterWidget::UIState;

using UpdaterWidget = UpdaterFixture;

TEST_F(UpdaterWidget, ShowsItsForm) {
    Updater updater;
    EXPECT_EQ(updater.objectName(), QStringLiteral("UpdaterWidget"));
    EXPECT_EQ(updater.state(), noUpdate);
    EXPECT_FALSE(updater.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    EXPECT_EQ(find<QLabel>(updater, QStringLiteral("labelLastVersionString")).text(), QStringLiteral("Latest Version"));
    EXPECT_EQ(find<QLabel>(updater, QStringLiteral("labelCurVersionString")).text(),
              QStringLiteral("Installed Version"));
    EXPECT_EQ(updater.latest(), QStringLiteral("unknown"));
    EXPECT_EQ(updater.installed(), QStringLiteral("1.0.1+3607.8a7510c4"));
    EXPECT_EQ(updater.ignoreBox().text(), QStringLiteral("Ignore this update"));
    EXPECT_FALSE(updater.ignoreBox().isEnabled()) << "there is nothing to ignore yet";
    EXPECT_FALSE(updater.ignoreBox().isChecked());
    EXPECT_TRUE(server_.requests().isEmpty());
}

TEST_F(UpdaterWidget, HasAPageForEachState) {
    Updater updater;
    ASSERT_EQ(updater.stack().count(), 4);
    const char* pages[] = {"page", "page_2", "page_3", "page_4"};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(updater.stack().widget(i)->objectName(), QLatin1String(pages[i]));
    EXPECT_EQ(find<QPushButton>(updater, QStringLiteral("page/buttonCheck")).text(),
              QStringLiteral("Check for updates"));
    find<QProgressBar>(updater, QStringLiteral("page_2/indicatorChecking"));
    EXPECT_EQ(find<QPushButton>(updater, QStringLiteral("page_3/buttonUpdate")).text(),
              QStringLiteral("Download and Install"));
    EXPECT_EQ(find<QPushButton>(updater, QStringLiteral("page_4/buttonInstall")).text(), QStringLiteral("Install"));
}

TEST_F(UpdaterWidget, StatesShowTheirPages) {
    Updater updater;
    updater.slotUpdateState(State::UpdateAvailable);
    EXPECT_EQ(updater.state(), updateAvailable);
    updater.slotUpdateState(State::Busy);
    EXPECT_EQ(updater.stack().currentIndex(), 1);
    EXPECT_EQ(updater.indicator().maximum(), 0) << "busy until something is known";
    updater.slotUpdateState(State::Install);
    EXPECT_EQ(updater.stack().currentIndex(), 3);
    updater.slotUpdateState(State::NoUpdate);
    EXPECT_EQ(updater.state(), noUpdate);
    EXPECT_EQ(static_cast<int>(State::NoUpdate), 0);
    EXPECT_EQ(static_cast<int>(State::Busy), 1);
    EXPECT_EQ(static_cast<int>(State::UpdateAvailable), 2);
    EXPECT_EQ(static_cast<int>(State::Install), 3);
}

TEST_F(UpdaterWidget, TitlesAreTranslatedInTheFormsContext) {
    struct Translator : QTranslator {
        QString translate(const char* context, const char* text, const char* /*disambiguation*/,
                          int /*n*/) const override {
            return qstrcmp(context, "UpdaterWidget") == 0 ? QStringLiteral("<%1>").arg(QLatin1String(text)) : QString();
        }
        [[nodiscard]] bool isEmpty() const override { return false; }
    } translator;
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    Updater updater;
    EXPECT_EQ(updater.windowTitle(), QStringLiteral("<Updater>"));
    updater.slotUpdateState(State::UpdateAvailable);
    EXPECT_EQ(updater.windowTitle(), QStringLiteral("<New update available>"));
    QCoreApplication::removeTranslator(&translator);
}

TEST_F(UpdaterWidget, AsksForVersionAndChecksum) {
    publish("1.0.2\r\n", "");
    Updater updater;
    updater.slotCheckForUpdate();
    EXPECT_EQ(updater.stack().currentIndex(), 1);
    EXPECT_TRUE(waitFor([&] { return updater.stack().currentIndex() != 1 && server_.requests().size() == 2; }));
    QByteArrayList asked;
    for (const QByteArray& request : server_.requests())
        asked += request.left(request.indexOf('\r'));
    EXPECT_THAT(asked, testing::UnorderedElementsAre("GET /software/latest_version HTTP/1.1",
                                                     "GET /software/latest_checksum HTTP/1.1"));
    EXPECT_EQ(updater.latest(), QStringLiteral("1.0.2"));
    EXPECT_EQ(updater.state(), updateAvailable);
}

TEST_F(UpdaterWidget, ChecksAtOnceWhenToldTo) {
    publish("1.0.2", "");
    Updater updater(nullptr, true);
    EXPECT_EQ(updater.stack().currentIndex(), 1);
    EXPECT_TRUE(waitFor([&] { return updater.state() == updateAvailable; }));
}

TEST_F(UpdaterWidget, CheckButtonChecks) {
    publish("1.0.2", "");
    Updater updater;
    updater.check().click();
    EXPECT_EQ(updater.stack().currentIndex(), 1);
    EXPECT_TRUE(waitFor([&] { return updater.state() == updateAvailable; }));
}

TEST_F(UpdaterWidget, TheInstalledVersionIsNoUpdate) {
    for (const char* version : {"1.0.1+3607.8a7510c4", "1.0.1+3607.8a7510c4\n", "1.0.1", "1.0.1+other"}) {
        publish(version, "");
        Updater updater;
        check(updater);
        EXPECT_EQ(updater.state(), noUpdate) << version;
        EXPECT_EQ(updater.latest(), QString::fromLatin1(version).trimmed());
        EXPECT_TRUE(updater.ignoreBox().isEnabled()) << version;
    }
}

TEST_F(UpdaterWidget, EveryOtherVersionIsOffered) {
    for (const char* version : {"1.0.2", "1.1.0-rc.1", "2.0.0+1", "1.0.0", "0.9.0", "1.0.1-rc.1"}) {
        publish(version, "");
        Updater updater;
        check(updater);
        EXPECT_EQ(updater.state(), updateAvailable) << version;
        EXPECT_EQ(updater.latest(), QString::fromLatin1(version));
    }
}

TEST_F(UpdaterWidget, FailedVersionRequestOffersNothingAndSaysNothing) {
    Updater updater;
    check(updater);
    EXPECT_EQ(updater.state(), noUpdate);
    EXPECT_EQ(updater.latest(), QStringLiteral("unknown"));
    EXPECT_FALSE(updater.ignoreBox().isEnabled());
}

TEST_F(UpdaterWidget, FailedRequestsAreLogged) {
    std::vector<std::string> messages;
    Vorta::Log::setCallback([&messages](const Vorta::Log::Event& event) {
        EXPECT_EQ(event.getSeverity(), Vorta::Log::Severity::Warning);
        messages.push_back(event.getMessage());
    });
    server_.serve(QStringLiteral("latest_version"), "1.0.2");
    Updater updater;
    check(updater);
    Vorta::Log::setCallback({});
    EXPECT_THAT(messages,
                testing::ElementsAre("Looking for updates failed: Error transferring " + server_.base().toStdString() +
                                     "/latest_checksum - server replied: Not Found"));
}

TEST_F(UpdaterWidget, VersionReplyOfMoreThanAFewKilobytesIsAFailedRequest) {
    publish("1.0.2+" + QByteArray(4090, 'a'), "");
    Updater longest;
    check(longest);
    EXPECT_EQ(longest.state(), updateAvailable);
    EXPECT_LT(longest.sizeHint().width(), 600) << "a hostile text does not blow the dialog up";
    publish("1.0.2+" + QByteArray(4091, 'a'), "");
    Updater tooLong;
    check(tooLong);
    EXPECT_EQ(tooLong.state(), noUpdate);
}

TEST_F(UpdaterWidget, FailedRequestAfterAGoodOneOffersNothing) {
    publish("1.0.2", "");
    Updater updater;
    check(updater);
    server_.serve(QStringLiteral("latest_version"), HttpServer::raw("HTTP/1.1 500 Oh\r\n\r\n"));
    check(updater);
    EXPECT_EQ(updater.state(), noUpdate);
}

TEST_F(UpdaterWidget, TextThatIsNoVersionIsReported) {
    const auto refusal = [](const char* text) {
        return std::string("This is no semantic version: it does not begin with three numbers separated by dots. "
                           "Invalid parameter: version = '") +
               text + "'";
    };
    for (const char* text : {"../../x", "", "latest", "1.0", "<html>", "1.0.2.4", "1.0.2 "}) {
        Updater updater;
        updater.slotCheckForUpdate();
        EXPECT_EQ(thrownBy([&] { updater.handleLatestVersion(QByteArray(text)); }), refusal(text)) << text;
        EXPECT_EQ(updater.state(), noUpdate) << "nothing is offered and nobody kept waiting: " << text;
        EXPECT_EQ(updater.latest(), QStringLiteral("unknown"));
        EXPECT_FALSE(updater.ignoreBox().isEnabled());
    }
}

TEST_F(UpdaterWidget, IgnoreBoxStoresAndForgetsTheLatestVersion) {
    publish("1.0.2+77\n", "");
    Updater updater;
    check(updater);
    EXPECT_TRUE(updater.ignoreBox().isEnabled());
    EXPECT_FALSE(updater.ignoreBox().isChecked());
    EXPECT_FALSE(ignored().isValid());
    updater.ignoreBox().click();
    EXPECT_EQ(ignored(), QVariant(QStringLiteral("1.0.2+77")));
    updater.ignoreBox().click();
    EXPECT_FALSE(ignored().isValid());
    EXPECT_EQ(updater.state(), updateAvailable) << "ignoring does not forbid";
}

TEST_F(UpdaterWidget, IgnoredVersionComesUpChecked) {
    publish("1.0.2", "");
    Updater first;
    check(first);
    first.ignoreBox().click();
    Updater second;
    check(second);
    EXPECT_TRUE(second.ignoreBox().isChecked());
    check(second);
    EXPECT_TRUE(second.ignoreBox().isChecked()) << "also when it is checked for a second time";
    EXPECT_EQ(ignored(), QVariant(QStringLiteral("1.0.2")));
    second.ignoreBox().click();
    EXPECT_FALSE(ignored().isValid());
}

TEST_F(UpdaterWidget, IgnoredVersionCoversOlderOnes) {
    struct {
        const char* ignored;
        bool checked;
    } const cases[] = {{"1.0.2", true},  {"1.0.2+other", true}, {"1.0.3", true},
                       {"10.0.0", true}, {"1.0.1", false},      {"1.0.2-rc.1", false}};
    publish("1.0.2", "");
    for (const auto& [version, checked] : cases) {
        ignore(version);
        Updater updater;
        check(updater);
        EXPECT_EQ(updater.ignoreBox().isChecked(), checked) << version;
        EXPECT_TRUE(updater.ignoreBox().isEnabled()) << version;
    }
}

TEST_F(UpdaterWidget, NewerVersionIsNotIgnored) {
    publish("1.0.2", "");
    ignore("1.0.2");
    Updater updater;
    check(updater);
    ASSERT_TRUE(updater.ignoreBox().isChecked());
    publish("1.0.3", "");
    check(updater);
    EXPECT_FALSE(updater.ignoreBox().isChecked());
}

TEST_F(UpdaterWidget, IgnoredTextThatIsNoVersionIsReported) {
    ignore("never");
    Updater updater;
    EXPECT_EQ(thrownBy([&] { updater.handleLatestVersion(QByteArray("1.0.2")); }),
              "This is no semantic version: it does not begin with three numbers separated by dots. "
              "Invalid parameter: version = 'never'");
    EXPECT_EQ(updater.state(), updateAvailable);
    EXPECT_TRUE(updater.ignoreBox().isEnabled());
    updater.ignoreBox().click();
    EXPECT_EQ(ignored(), QVariant(QStringLiteral("1.0.2"))) << "a click mends it";
}

TEST_F(UpdaterWidget, ChecksumThatIsNoneIsReported) {
    Updater updater;
    const auto thrown = [&](const char* text) {
        return thrownBy([&] { updater.handleLatestChecksum(QByteArray(text)); });
    };
    EXPECT_EQ(thrown("abc"), "Could not convert hex string to binary. Invalid parameter: In");
    EXPECT_EQ(thrown("zz"), "Argument is not a valid hexadecimal character. Invalid parameter: byte");
    EXPECT_EQ(thrown("<html>"), "Argument is not a valid hexadecimal character. Invalid parameter: byte");
    EXPECT_EQ(thrown(""), "nothing was thrown");
    EXPECT_EQ(thrownBy([&] { updater.handleLatestChecksum(std::nullopt); }), "nothing was thrown");
}

TEST_F(UpdaterWidget, ClosingGivesUpTheCheck) {
    server_.serve(QStringLiteral("latest_version"), HttpServer::unfinished("HTTP/1.1 200 OK\r\n\r\n1.0."));
    server_.serve(QStringLiteral("latest_checksum"), HttpServer::unfinished(""));
    Updater updater(nullptr, true);
    showAndActivate(updater);
    ASSERT_TRUE(waitFor([this] { return server_.requests().size() == 2; }));
    QTest::keyClick(&updater, Qt::Key_Escape);
    EXPECT_FALSE(updater.isVisible());
    EXPECT_TRUE(waitFor([this] { return server_.connections() == 0; }));
    EXPECT_EQ(updater.state(), noUpdate);
    publish("1.0.2", "");
    check(updater);
    EXPECT_EQ(updater.state(), updateAvailable) << "it can be used again";
}

TEST_F(UpdaterWidget, MayBeDestroyedWhileItChecks) {
    server_.serve(QStringLiteral("latest_version"), HttpServer::unfinished("HTTP/1.1 200 OK\r\n\r\n1.0."));
    server_.serve(QStringLiteral("latest_checksum"), HttpServer::unfinished(""));
    auto updater = std::make_unique<Updater>(nullptr, true);
    ASSERT_TRUE(waitFor([this] { return server_.requests().size() == 2; }));
    updater.reset();
    EXPECT_TRUE(waitFor([this] { return server_.connections() == 0; }));
}

TEST_F(UpdaterWidget, ReturnGoesOnAndTabReachesEverything) {
    publish("1.0.2", "");
    server_.serve(QStringLiteral("VortaSetup_1.0.2.exe"), HttpServer::unfinished(""));
    Updater updater;
    showAndActivate(updater);
    auto* close = find<QDialogButtonBox>(updater, QStringLiteral("buttonBox")).button(QDialogButtonBox::Close);
    EXPECT_TRUE(close->isDefault());
    check(updater);
    EXPECT_TRUE(updater.update().hasFocus());
    QTest::keyClick(&updater, Qt::Key_Tab);
    EXPECT_TRUE(updater.ignoreBox().hasFocus());
    QTest::keyClick(&updater, Qt::Key_Tab);
    EXPECT_TRUE(close->hasFocus());
    QTest::keyClick(&updater, Qt::Key_Tab);
    EXPECT_TRUE(updater.update().hasFocus());
    QTest::keyClick(&updater.ignoreBox(), Qt::Key_Return);
    EXPECT_EQ(updater.stack().currentIndex(), 1);
    EXPECT_TRUE(waitFor([this] { return server_.requests().size() == 3; }));
}

TEST_F(UpdaterWidget, EveryTextHasRoom) {
    Updater updater;
    showAndActivate(updater);
    updater.handleLatestVersion(QByteArray("10.10.10+36070.8a7510c4"));
    for (const QString& name : {QStringLiteral("labelLastVersion"), QStringLiteral("labelCurVersion")}) {
        const auto& label = find<QLabel>(updater, name);
        EXPECT_GE(label.width(), label.fontMetrics().horizontalAdvance(label.text())) << qPrintable(name);
    }
}

} // namespace
