// main() of the tests that open windows: a QApplication on a real X server whose looks, language and preferences do
// not depend on who runs it.

#include <QApplication>
#include <QLocale>
#include <QSettings>
#include <QStyleFactory>
#include <QSurfaceFormat>
#include <QSysInfo>
#include <QTemporaryDir>
#include <clocale>
#include <cstdio>
#include <gmock/gmock.h>

namespace {

/// Whether the arguments only ask for the names of the tests, which needs no screen.
bool onlyListsTests() {
    return GTEST_FLAG_GET(list_tests);
}

bool hasScreen() {
    return QSysInfo::kernelType() == QLatin1String("winnt") || !qEnvironmentVariableIsEmpty("DISPLAY");
}

/// Directs everything that this process or a program it starts would read or write as the user's preferences into
/// `folder`, and removes what the caller's desktop would change in the looks of a window. How many physical pixels a
/// pixel of a widget has is VORTA_TEST_SCALE's, 1 without it.
void isolateEnvironment(const QString& folder) {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder);
    qputenv("XDG_CONFIG_HOME", folder.toLocal8Bit());
    qputenv("LC_ALL", "C.UTF-8");
    for (const char* name : {"QT_STYLE_OVERRIDE", "QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS",
                             "QT_FONT_DPI", "XDG_CURRENT_DESKTOP", "VORTA_VIRTUAL_HEADS"})
        qunsetenv(name);
    if (const QByteArray scale = qgetenv("VORTA_TEST_SCALE"); !scale.isEmpty())
        qputenv("QT_SCALE_FACTOR", scale);
}

/// The attributes that must stand before the application object; the same as the studio's own.
void prepareApplication() {
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    format.setSwapInterval(0);
    QSurfaceFormat::setDefaultFormat(format);
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setAttribute(Qt::AA_DontUseNativeMenuBar);
    QApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    QApplication::setDesktopSettingsAware(false);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setOrganizationName(QStringLiteral("Vorta Tests"));
    QApplication::setOrganizationDomain(QStringLiteral("tests.vorta.invalid"));
    QApplication::setApplicationName(QStringLiteral("VortaTest"));
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    if (onlyListsTests())
        return RUN_ALL_TESTS();
    if (!hasScreen()) {
        std::fputs("This test opens windows and DISPLAY names no X server. Run it through ./test, or under "
                   "xvfb-run -a -s \"-screen 0 1600x1000x24\".\n",
                   stderr);
        return 1;
    }
    const QTemporaryDir preferences;
    if (!preferences.isValid()) {
        std::fprintf(stderr, "No temporary folder for the test's preferences: %s\n",
                     qPrintable(preferences.errorString()));
        return 1;
    }
    isolateEnvironment(preferences.path());
    prepareApplication();
    const QApplication application(argc, argv);
    // The application object takes the locale over from the environment; fix it after that, before any thread starts.
    std::setlocale(LC_ALL, "C.UTF-8"); // NOLINT(concurrency-mt-unsafe)
    std::setlocale(LC_NUMERIC, "C");   // NOLINT(concurrency-mt-unsafe)
    QLocale::setDefault(QLocale::c());
    return RUN_ALL_TESTS();
}
