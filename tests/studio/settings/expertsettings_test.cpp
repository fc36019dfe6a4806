#include "settings/expertsettings.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

using namespace VortaQt;
using Internal = Vorta::SettingsInternal;
using ExpertSettings = QMap<QString, QString>;

namespace {

TEST(CollectExpertSettings, isEmptyForDefaults) {
    EXPECT_TRUE(collectExpertSettings(Vorta::Settings{}).isEmpty());
}

TEST(CollectExpertSettings, holdsWhatDiffersFromItsDefault) {
    Vorta::Settings settings;
    settings.set("Camera/Driver", "NetCDF");
    settings.set("Projector/MaxLEDCurrents", "90 80 90");
    settings.set("Measurement/CalibrationFile", "/a b/calib_data.yml");
    settings.set("Lens/MaxIris", "63"); // the default, set on purpose
    settings.set("Iris", "7");          // not an internal setting
    const ExpertSettings expected{
        {QStringLiteral("Camera/Driver"), QStringLiteral("NetCDF")},
        {QStringLiteral("Projector/MaxLEDCurrents"), QStringLiteral("90 80 90")},
        {QStringLiteral("Measurement/CalibrationFile"), QStringLiteral("/a b/calib_data.yml")},
    };
    EXPECT_EQ(collectExpertSettings(settings), expected);
}

TEST(ApplyExpertSettings, setsEveryEntry) {
    Vorta::Settings settings;
    applyExpertSettings(settings, {{QStringLiteral("Camera/BayerLayout"), QStringLiteral("GBRG")},
                                   {QStringLiteral("Lens/MaxIris"), QStringLiteral("40")},
                                   {QStringLiteral("Measurement/CalibrationFile"), QString()}});
    EXPECT_EQ(settings.getString("Camera/BayerLayout"), "GBRG");
    EXPECT_EQ(settings.getSettingsInternal().get<Internal::Lens::MaxIris>().value(), 40U);
    EXPECT_EQ(settings.getString("Measurement/CalibrationFile"), "");
}

TEST(ApplyExpertSettings, passesOverWhatIsNoInternalSetting) {
    Vorta::Settings settings;
    applyExpertSettings(settings, {{QStringLiteral("Camera/Nonexistent"), QStringLiteral("1")},
                                   {QStringLiteral("Iris"), QStringLiteral("7")},
                                   {QStringLiteral("lens/maxiris"), QStringLiteral("40")},
                                   {QStringLiteral("Lens/MaxIris/"), QStringLiteral("40")},
                                   {QStringLiteral("Lens"), QStringLiteral("40")},
                                   {QString(), QStringLiteral("40")}});
    EXPECT_EQ(settings, Vorta::Settings{});
}

TEST(ApplyExpertSettings, passesARefusalOnAndKeepsTheEntriesBeforeIt) {
    Vorta::Settings settings;
    // In the order of the paths: Camera/Driver, Lens/MaxIris, Measurement/MinZ.
    const ExpertSettings entries{{QStringLiteral("Measurement/MinZ"), QStringLiteral("100")},
                                 {QStringLiteral("Lens/MaxIris"), QStringLiteral("many")},
                                 {QStringLiteral("Camera/Driver"), QStringLiteral("IDS")}};
    EXPECT_THROW(applyExpertSettings(settings, entries), Vorta::ArgumentInvalidException);
    EXPECT_EQ(settings.getString("Camera/Driver"), "IDS");
    EXPECT_EQ(settings.getString("Lens/MaxIris"), "63");
    EXPECT_EQ(settings.getString("Measurement/MinZ"), "0");

    EXPECT_THROW(applyExpertSettings(settings, {{QStringLiteral("Lens/MaxIris"), QStringLiteral("64")}}),
                 Vorta::ArgumentOutOfRangeException);
}

TEST(ApplyExpertSettings, restoresWhatWasCollected) {
    Vorta::Settings original;
    original.set("Camera/Gamma", "2.2");
    original.set("Global/ProductRevision", "Rev1");
    original.set("Projector/ToggleRGB", "G");
    Vorta::Settings copy;
    applyExpertSettings(copy, collectExpertSettings(original));
    EXPECT_EQ(copy, original);
}

TEST(ResetToDefaults, resetsTheNamedSettingsOnly) {
    Vorta::Settings settings;
    settings.set("Camera/Driver", "NetCDF");
    settings.set("Camera/Gain", "3");
    settings.set("Measurement/CalibrationFile", "x.yml");
    settings.set("Iris", "7");
    resetToDefaults(settings, {QStringLiteral("Camera/Driver"), QStringLiteral("Measurement/CalibrationFile"),
                               QStringLiteral("Camera/Nonexistent"), QStringLiteral("Iris"),
                               QStringLiteral("camera/gain"), QString()});
    EXPECT_EQ(settings.getString("Camera/Driver"), "ToshibaTeli");
    EXPECT_EQ(settings.getString("Measurement/CalibrationFile"), "");
    EXPECT_EQ(settings.getString("Camera/Gain"), "3") << "not named";
    EXPECT_EQ(settings.getString("Iris"), "7") << "not internal";
}

TEST(ResetToDefaults, everyInternalSettingIsReachedByItsPath) {
    Vorta::Settings settings;
    QStringList paths;
    settings.getSettingsInternal().visit([&](const auto& setting) {
        paths += QLatin1String(setting.path.data(), static_cast<int>(setting.path.size()));
    });
    ASSERT_EQ(paths.size(), 34);
    settings.set("Measurement/InversePatterns", "true");
    settings.set("Lens/MaxIris", "1");
    settings.set("Projector/VirtualTemperature", "-3.5");
    ASSERT_EQ(collectExpertSettings(settings).size(), 3);
    resetToDefaults(settings, paths);
    EXPECT_EQ(settings, Vorta::Settings{});
}

} // namespace
