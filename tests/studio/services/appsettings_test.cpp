#include "services/appsettings.h"

#include "studio/services/services.h"
#include "vorta/common/exceptions.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <limits>
#include <memory>

using namespace Vorta::Testing;
using Vorta::Log::Severity;
using VortaQt::AppSettings;

namespace {

/// Preferences in a folder of this test alone.
class AppSettingsTest : public testing::Test {
protected:
    AppSettingsTest() {
        QCoreApplication::setOrganizationName(QStringLiteral("Vorta Tests"));
        QCoreApplication::setApplicationName(QStringLiteral("AppSettingsTest"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
        settings = std::make_unique<AppSettings>(nullptr);
    }

    /// What the store holds under the key, read without the class under test.
    [[nodiscard]] static QVariant stored(const char* key) { return QSettings().value(QLatin1String(key)); }
    static void store(const char* key, const QVariant& value) { QSettings().setValue(QLatin1String(key), value); }

    QString existingFile(const QString& name) const {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return file.fileName();
    }

    QTemporaryDir folder;
    std::unique_ptr<AppSettings> settings;
};

TEST_F(AppSettingsTest, isReachableWhileItLives) {
    EXPECT_EQ(&AppSettings::instance(), settings.get());
    settings.reset();
    EXPECT_THROW(static_cast<void>(AppSettings::instance()), Vorta::RuntimeException);
}

TEST_F(AppSettingsTest, takesItsScopeFromTheApplication) {
    EXPECT_EQ(settings->organizationName(), QStringLiteral("Vorta Tests"));
    EXPECT_EQ(settings->applicationName(), QStringLiteral("AppSettingsTest"));
    EXPECT_EQ(settings->format(), QSettings::NativeFormat);
}

TEST_F(AppSettingsTest, outlivesTheObject) {
    settings->setString("GUI/LogThreshold", QStringLiteral("Debug"));
    settings = nullptr;
    settings = std::make_unique<AppSettings>(nullptr);
    EXPECT_EQ(settings->getString("GUI/LogThreshold", QString()), QStringLiteral("Debug"));
}

TEST_F(AppSettingsTest, storesBooleansAsNumbers) {
    settings->setBool("GUI/MaxLEDForSingle", true);
    EXPECT_EQ(stored("GUI/MaxLEDForSingle"), QVariant(1));
    EXPECT_TRUE(settings->getBool("GUI/MaxLEDForSingle", false));
    settings->setBool("GUI/MaxLEDForSingle", false);
    EXPECT_EQ(stored("GUI/MaxLEDForSingle"), QVariant(0));
    EXPECT_FALSE(settings->getBool("GUI/MaxLEDForSingle", true));
}

TEST_F(AppSettingsTest, readsEveryNumberButZeroAsTrue) {
    for (const int value : {2, -1, 1000}) {
        store("GUI/MaxLEDForSingle", value);
        EXPECT_TRUE(settings->getBool("GUI/MaxLEDForSingle", false)) << value;
    }
    for (const char* text : {"0", "on", "true", ""}) {
        store("GUI/MaxLEDForSingle", QString::fromLatin1(text));
        EXPECT_FALSE(settings->getBool("GUI/MaxLEDForSingle", true)) << text;
    }
}

TEST_F(AppSettingsTest, absentKeysHaveTheCallersDefault) {
    EXPECT_TRUE(settings->getBool("none", true));
    EXPECT_FALSE(settings->getBool("none", false));
    EXPECT_EQ(settings->getByteArray("none", "abc"), QByteArray("abc"));
    EXPECT_EQ(settings->getByteArray("none", {}), QByteArray());
    EXPECT_EQ(settings->getString("none", QStringLiteral("abc")), QStringLiteral("abc"));
    EXPECT_TRUE(settings->getUnsignedList("none").empty());
    EXPECT_TRUE(settings->recentFiles().isEmpty());
}

TEST_F(AppSettingsTest, keepsByteArraysWhole) {
    QByteArray bytes;
    for (int value = 0; value < 256; ++value)
        bytes += static_cast<char>(value);
    settings->setByteArray("GUI/Geometry", bytes);
    EXPECT_EQ(settings->getByteArray("GUI/Geometry", {}), bytes);
    // Also through the file.
    settings->sync();
    settings = nullptr;
    EXPECT_EQ(AppSettings(nullptr).getByteArray("GUI/Geometry", {}), bytes);
}

TEST_F(AppSettingsTest, keepsTextsWhole) {
    const QString text = QStringLiteral("/home/Jörg/Messungen, neu; 100 % = \"alles\"\\");
    settings->setString("GUI/LastFileOpenFolder", text);
    EXPECT_EQ(settings->getString("GUI/LastFileOpenFolder", QString()), text);
    EXPECT_EQ(stored("GUI/LastFileOpenFolder"), QVariant(text));
}

TEST_F(AppSettingsTest, writesListsWithBlanksBetween) {
    settings->setUnsignedList("GUI/HDRIris", {15, 31, 45});
    EXPECT_EQ(stored("GUI/HDRIris"), QVariant(QStringLiteral("15 31 45")));
    EXPECT_EQ(settings->getUnsignedList("GUI/HDRIris"), (std::vector<std::uint64_t>{15, 31, 45}));
    settings->setUnsignedList("GUI/HDRIris", {7});
    EXPECT_EQ(stored("GUI/HDRIris"), QVariant(QStringLiteral("7")));
    settings->setUnsignedList("GUI/HDRIris", {});
    EXPECT_EQ(stored("GUI/HDRIris"), QVariant(QString()));
    EXPECT_TRUE(settings->getUnsignedList("GUI/HDRIris").empty());
}

TEST_F(AppSettingsTest, leavesOutWhatIsNoNumber) {
    store("GUI/HDRIris", QStringLiteral("  15  x 31 "));
    EXPECT_EQ(settings->getUnsignedList("GUI/HDRIris"), (std::vector<std::uint64_t>{15, 31}));
    store("GUI/HDRIris", QStringLiteral("-1 18446744073709551615 18446744073709551616 3.5 0x10 7a 010 2,3"));
    EXPECT_EQ(settings->getUnsignedList("GUI/HDRIris"),
              (std::vector<std::uint64_t>{std::numeric_limits<std::uint64_t>::max(), 10}));
}

TEST_F(AppSettingsTest, numbersTheRecentFilesFromZero) {
    const QStringList files{existingFile(QStringLiteral("b.vdf")), existingFile(QStringLiteral("a.vdf"))};
    settings->setRecentFiles(files);
    EXPECT_EQ(stored("GUI/RecentFiles/RecentFile0"), QVariant(files[0]));
    EXPECT_EQ(stored("GUI/RecentFiles/RecentFile1"), QVariant(files[1]));
    EXPECT_EQ(settings->recentFiles(), files);
}

TEST_F(AppSettingsTest, replacesTheWholeRecentList) {
    const QString first = existingFile(QStringLiteral("a.vdf"));
    const QString second = existingFile(QStringLiteral("b.vdf"));
    settings->setRecentFiles({first, second, first});
    settings->setRecentFiles({second});
    EXPECT_EQ(settings->recentFiles(), QStringList{second});
    EXPECT_FALSE(QSettings().contains(QStringLiteral("GUI/RecentFiles/RecentFile1")));
    settings->setRecentFiles({});
    EXPECT_TRUE(settings->recentFiles().isEmpty());
}

TEST_F(AppSettingsTest, dropsRecentFilesThatAreGone) {
    const QString kept = existingFile(QStringLiteral("kept.vdf"));
    const QString gone = existingFile(QStringLiteral("gone.vdf"));
    settings->setRecentFiles({gone, kept});
    ASSERT_TRUE(QFile::remove(gone));
    EXPECT_EQ(settings->recentFiles(), QStringList{kept});
    settings->setRecentFiles(settings->recentFiles());
    EXPECT_EQ(stored("GUI/RecentFiles/RecentFile0"), QVariant(kept));
    EXPECT_FALSE(QSettings().contains(QStringLiteral("GUI/RecentFiles/RecentFile1")));
}

TEST_F(AppSettingsTest, readsElevenRecentFilesInTheOrderOfTheirKeysAsTexts) {
    QStringList files;
    for (int i = 0; i < 11; ++i)
        files += existingFile(QStringLiteral("%1.vdf").arg(i));
    settings->setRecentFiles(files);
    const QStringList expected{files[0], files[1], files[10], files[2], files[3], files[4],
                               files[5], files[6], files[7],  files[8], files[9]};
    EXPECT_EQ(settings->recentFiles(), expected);
}

TEST_F(AppSettingsTest, readsOnlyKeysThatNameARecentFile) {
    const QString file = existingFile(QStringLiteral("a.vdf"));
    store("GUI/RecentFiles/recentfile0", file);
    store("GUI/RecentFiles/Other", file);
    EXPECT_TRUE(settings->recentFiles().isEmpty());
    store("GUI/RecentFiles/MyRecentFile", file);
    EXPECT_EQ(settings->recentFiles(), QStringList{file});
}

TEST_F(AppSettingsTest, doesNotCareInWhichGroupTheObjectStands) {
    const QString file = existingFile(QStringLiteral("a.vdf"));
    settings->beginGroup(QStringLiteral("Elsewhere"));
    settings->setRecentFiles({file});
    settings->saveCameraSettings(Vorta::Settings{});
    EXPECT_EQ(stored("GUI/RecentFiles/RecentFile0"), QVariant(file));
    EXPECT_EQ(stored("Settings/Iris"), QVariant(QStringLiteral("31")));
    EXPECT_EQ(settings->recentFiles(), QStringList{file});
    store("Settings/Iris", QStringLiteral("7"));
    store("Internal/Lens/MaxIris", QStringLiteral("40"));
    Vorta::Settings camera;
    settings->loadCameraSettings(camera);
    EXPECT_EQ(camera.getString("Iris"), "7");
    EXPECT_EQ(camera.getString("Lens/MaxIris"), "40");
}

class CameraSettingsTest : public AppSettingsTest {
protected:
    CameraSettingsTest() { recorder.start(); }

    LogRecorder recorder;
};

/// The words of the library when it refuses a text.
QString refusal(const char* path, const char* text) {
    try {
        Vorta::Settings{}.set(path, text);
    } catch (const Vorta::ArgumentException& exception) {
        return QString::fromLocal8Bit(exception.what());
    }
    return {};
}

TEST_F(CameraSettingsTest, storesEveryPublicSettingAsText) {
    Vorta::Settings camera;
    camera.set("ExposureTime", "20000");
    camera.set("Filters/Contrast/Threshold", "3.5");
    settings->saveCameraSettings(camera);
    QSettings store;
    store.beginGroup(QStringLiteral("Settings"));
    QStringList expected{QStringLiteral("BlueBalance"),
                         QStringLiteral("RedBalance"),
                         QStringLiteral("ExposureTime"),
                         QStringLiteral("Iris"),
                         QStringLiteral("Brightness"),
                         QStringLiteral("Bidirectional"),
                         QStringLiteral("Filters/Contrast/Threshold"),
                         QStringLiteral("Filters/Outlier/Enabled"),
                         QStringLiteral("Filters/Outlier/Threshold"),
                         QStringLiteral("Filters/Saturated/Enabled"),
                         QStringLiteral("Filters/Reflection/Enabled")};
    QStringList keys = store.allKeys();
    keys.sort();
    expected.sort();
    EXPECT_EQ(keys, expected);
    EXPECT_EQ(store.value(QStringLiteral("ExposureTime")), QVariant(QStringLiteral("20000")));
    EXPECT_EQ(store.value(QStringLiteral("Filters/Contrast/Threshold")), QVariant(QStringLiteral("3.5")));
    EXPECT_EQ(store.value(QStringLiteral("Bidirectional")), QVariant(QStringLiteral("false")));
}

TEST_F(CameraSettingsTest, storesInternalSettingsThatDifferFromTheirDefaults) {
    Vorta::Settings camera;
    settings->saveCameraSettings(camera);
    EXPECT_FALSE(QSettings().childGroups().contains(QStringLiteral("Internal")));
    camera.set("Projector/MaxLEDCurrents", "90 80 70");
    camera.set("Camera/Driver", "NetCDF");
    settings->saveCameraSettings(camera);
    QSettings store;
    store.beginGroup(QStringLiteral("Internal"));
    EXPECT_EQ(store.allKeys(),
              (QStringList{QStringLiteral("Camera/Driver"), QStringLiteral("Projector/MaxLEDCurrents")}));
    EXPECT_EQ(store.value(QStringLiteral("Projector/MaxLEDCurrents")), QVariant(QStringLiteral("90 80 70")));
}

TEST_F(CameraSettingsTest, forgetsAnInternalSettingThatIsBackAtItsDefault) {
    Vorta::Settings camera;
    camera.set("Camera/Gain", "2");
    camera.set("Lens/MaxIris", "40");
    settings->saveCameraSettings(camera);
    camera.set("Camera/Gain", "1");
    settings->saveCameraSettings(camera);
    Vorta::Settings loaded;
    settings->loadCameraSettings(loaded);
    EXPECT_EQ(loaded.getString("Camera/Gain"), "1");
    EXPECT_EQ(loaded.getString("Lens/MaxIris"), "40");
}

TEST_F(CameraSettingsTest, loadsWhatWasSaved) {
    Vorta::Settings camera;
    camera.set("BlueBalance", "1.25");
    camera.set("Iris", "7");
    camera.set("Bidirectional", "true");
    camera.set("Filters/Outlier/Enabled", "false");
    camera.set("Calibration/Method", "Polynomial");
    camera.set("Lens/MaxIris", "40");
    camera.set("Measurement/CalibrationFile", "/a b, c/calib.yml");
    settings->saveCameraSettings(camera);
    settings->sync();
    settings = nullptr;

    Vorta::Settings loaded;
    AppSettings(nullptr).loadCameraSettings(loaded);
    EXPECT_EQ(loaded, camera);
    EXPECT_TRUE(recorder.events.isEmpty());
}

TEST_F(CameraSettingsTest, keepsWhatIsNotStored) {
    Vorta::Settings camera;
    camera.set("Iris", "7");
    const Vorta::Settings before = camera;
    settings->loadCameraSettings(camera);
    EXPECT_EQ(camera, before);
    store("Settings/Brightness", QStringLiteral("0.5"));
    settings->loadCameraSettings(camera);
    EXPECT_EQ(camera.getString("Iris"), "7");
    EXPECT_EQ(camera.getString("Brightness"), "0.5");
}

TEST_F(CameraSettingsTest, reportsARefusedSettingAndGoesOn) {
    store("Settings/Bidirectional", QStringLiteral("maybe"));
    store("Settings/Iris", QStringLiteral("64"));
    store("Settings/RedBalance", QStringLiteral("1.5"));
    Vorta::Settings camera;
    camera.set("Iris", "7");
    settings->loadCameraSettings(camera);
    EXPECT_EQ(camera.getString("Iris"), "7");
    EXPECT_EQ(camera.getString("Bidirectional"), "false");
    EXPECT_EQ(camera.getString("RedBalance"), "1.5") << "comes after the refused ones";
    EXPECT_EQ(recorder.messages(),
              (QStringList{refusal("Bidirectional", "maybe") + QStringLiteral(" - defaulting to false"),
                           refusal("Iris", "64") + QStringLiteral(" - defaulting to 7")}));
    for (const VortaQt::LogEvent& event : recorder.events)
        EXPECT_EQ(event.severity, Severity::Warning);
}

TEST_F(CameraSettingsTest, aPercentSignInARefusedTextIsNoPlaceholder) {
    store("Settings/Iris", QStringLiteral("%2"));
    Vorta::Settings camera;
    settings->loadCameraSettings(camera);
    EXPECT_EQ(recorder.messages(), QStringList{refusal("Iris", "%2") + QStringLiteral(" - defaulting to 31")});
}

TEST_F(CameraSettingsTest, reportsAPublicKeyThatNamesNoSetting) {
    store("Settings/Filters/Contrast/Enabled", QStringLiteral("true"));
    store("Settings/Iris", QStringLiteral("7"));
    Vorta::Settings camera;
    settings->loadCameraSettings(camera);
    EXPECT_EQ(camera.getString("Iris"), "7");
    EXPECT_EQ(recorder.messages(),
              QStringList{refusal("Filters/Contrast/Enabled", "true") + QStringLiteral(" - defaulting to ")});
}

TEST_F(CameraSettingsTest, reportsARefusedInternalSettingAndGoesOn) {
    store("Internal/Camera/Driver", QStringLiteral("Unheard"));
    store("Internal/Camera/Nonexistent", QStringLiteral("1"));
    store("Internal/Lens/MaxIris", QStringLiteral("40"));
    Vorta::Settings camera;
    settings->loadCameraSettings(camera);
    EXPECT_EQ(camera.getString("Camera/Driver"), "ToshibaTeli");
    EXPECT_EQ(camera.getString("Lens/MaxIris"), "40");
    EXPECT_EQ(recorder.messages(),
              QStringList{refusal("Camera/Driver", "Unheard") + QStringLiteral(" - defaulting to ToshibaTeli")})
        << "an unknown internal setting is passed over without a word";
}

} // namespace
