#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLocale>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSettings>
#include <clocale>
#include <gtest/gtest.h>

namespace {

TEST(ScreenMain, KeepsPreferencesInATemporaryFolder) {
    QSettings settings;
    settings.setValue(QStringLiteral("GUI/Probe"), 1);
    settings.sync();
    EXPECT_EQ(settings.status(), QSettings::NoError);
    EXPECT_TRUE(settings.fileName().startsWith(QDir::tempPath())) << qPrintable(settings.fileName());
    EXPECT_TRUE(QFileInfo::exists(settings.fileName()));
    const QSettings ini(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("a"), QStringLiteral("b"));
    EXPECT_TRUE(ini.fileName().startsWith(QDir::tempPath())) << qPrintable(ini.fileName());
}

TEST(ScreenMain, FixesTheLocale) {
    EXPECT_EQ(QLocale(), QLocale::c());
    EXPECT_STREQ(std::localeconv()->decimal_point, "."); // NOLINT(concurrency-mt-unsafe): no thread changes it
}

TEST(ScreenMain, UsesOurOwnDialogs) {
    EXPECT_TRUE(QApplication::testAttribute(Qt::AA_DontUseNativeDialogs));
}

TEST(ScreenMain, HasTheScaleOfItsOwnVariable) {
    const QByteArray asked = qgetenv("VORTA_TEST_SCALE");
    EXPECT_EQ(qApp->devicePixelRatio(), asked.isEmpty() ? 1.0 : asked.toDouble());
}

TEST(ScreenMain, TakesTheScaleFromNowhereElse) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QStringLiteral("3"));
    for (const QString& scale : {QString(), QStringLiteral("2")}) {
        environment.insert(QStringLiteral("VORTA_TEST_SCALE"), scale);
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--gtest_filter=ScreenMain.HasTheScaleOfItsOwnVariable")});
        ASSERT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardOutput().constData();
    }
}

QProcess& startMyself(QProcess& process, const QStringList& arguments) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), arguments);
    return process;
}

TEST(ScreenMain, SaysInWordsThatThereIsNoScreen) {
    QProcess process;
    ASSERT_TRUE(startMyself(process, {}).waitForFinished());
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().contains("DISPLAY names no X server. Run it through ./test"));
}

TEST(ScreenMain, ListsItsTestsWithoutAScreen) {
    QProcess process;
    ASSERT_TRUE(startMyself(process, {QStringLiteral("--gtest_list_tests")}).waitForFinished());
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(process.readAllStandardOutput().contains("ListsItsTestsWithoutAScreen"));
}

} // namespace
