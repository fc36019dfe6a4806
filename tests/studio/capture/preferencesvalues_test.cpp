#include "capture/preferencesvalues.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

namespace {

using Vorta::Settings;
using Mode = PreferencesValues::Mode;

Settings settingsWith(std::initializer_list<std::pair<const char*, const char*>> texts) {
    Settings settings;
    for (const auto& [path, text] : texts)
        settings.set(path, text);
    return settings;
}

TEST(PreferencesValues, showTheSettings) {
    const PreferencesValues values = PreferencesValues::of(settingsWith({{"Measurement/CalibrationFile", "/a b/c.yml"},
                                                                         {"Filters/Contrast/Threshold", "0.5"},
                                                                         {"Filters/Outlier/Enabled", "false"},
                                                                         {"Filters/Outlier/Threshold", "0.5"},
                                                                         {"Filters/Saturated/Enabled", "false"},
                                                                         {"Filters/Reflection/Enabled", "true"},
                                                                         {"RedBalance", "1.25"},
                                                                         {"BlueBalance", "0.75"},
                                                                         {"Global/ProductRevision", "Rev1"}}));
    EXPECT_EQ(values.calibrationFile, QStringLiteral("/a b/c.yml"));
    EXPECT_EQ(values.contrastThreshold, QStringLiteral("0.50"));
    EXPECT_EQ(values.outlierThreshold, QStringLiteral("0.500"));
    EXPECT_FALSE(values.outlierEnabled);
    EXPECT_FALSE(values.saturatedEnabled);
    EXPECT_TRUE(values.reflectionEnabled);
    EXPECT_EQ(values.mode, Mode::Normal);
    EXPECT_EQ(values.redBalance, 1.25);
    EXPECT_EQ(values.blueBalance, 0.75);
    EXPECT_EQ(values.productRevision, QStringLiteral("Rev1"));
}

TEST(PreferencesValues, theModeIsThePatternFirstAndTheDirectionsThen) {
    const auto mode = [](const char* pattern, const char* bidirectional) {
        return PreferencesValues::of(
                   settingsWith({{"Measurement/AdvancedPattern", pattern}, {"Bidirectional", bidirectional}}))
            .mode;
    };
    EXPECT_EQ(mode("Diamond", "false"), Mode::Normal);
    EXPECT_EQ(mode("Plain", "false"), Mode::Normal);
    EXPECT_EQ(mode("Inverse", "true"), Mode::Bidirectional);
    EXPECT_EQ(mode("ErrorCorrecting", "false"), Mode::ErrorCorrecting);
    EXPECT_EQ(mode("ErrorCorrecting", "true"), Mode::ErrorCorrecting);
}

TEST(PreferencesValues, writeTheirSettingsAndNoOthers) {
    Settings settings = settingsWith({{"Iris", "7"}, {"Lens/MaxIris", "40"}, {"Measurement/AdvancedPattern", "Plain"}});
    Settings expected = settings;
    PreferencesValues values;
    values.calibrationFile = QStringLiteral("/tmp/x.yml");
    values.contrastThreshold = QStringLiteral("3.1");
    values.outlierEnabled = false;
    values.outlierThreshold = QStringLiteral("0.125");
    values.saturatedEnabled = false;
    values.reflectionEnabled = true;
    values.mode = Mode::Bidirectional;
    values.redBalance = 1.5;
    values.blueBalance = 0.5;
    values.productRevision = QStringLiteral("Rev2");
    values.writeTo(settings);
    for (const auto& [path, text] :
         std::initializer_list<std::pair<const char*, const char*>>{{"Measurement/CalibrationFile", "/tmp/x.yml"},
                                                                    {"Filters/Contrast/Threshold", "3.1"},
                                                                    {"Filters/Outlier/Enabled", "false"},
                                                                    {"Filters/Outlier/Threshold", "0.125"},
                                                                    {"Filters/Saturated/Enabled", "false"},
                                                                    {"Filters/Reflection/Enabled", "true"},
                                                                    {"Bidirectional", "true"},
                                                                    {"RedBalance", "1.5"},
                                                                    {"BlueBalance", "0.5"},
                                                                    {"Global/ProductRevision", "Rev2"}})
        expected.set(path, text);
    EXPECT_EQ(settings, expected);
}

TEST(PreferencesValues, whatIsReadIsWhatIsWritten) {
    for (const char* pattern : {"Diamond", "Plain", "ErrorCorrecting", "Inverse"}) {
        const Settings settings = settingsWith({{"Measurement/AdvancedPattern", pattern}, {"RedBalance", "0.125"}});
        Settings copy = settings;
        PreferencesValues::of(settings).writeTo(copy);
        EXPECT_EQ(copy, settings) << pattern;
    }
}

TEST(PreferencesValues, onlyTheModeOfThatNameCorrectsErrors) {
    const auto pattern = [](Mode mode, const char* current) {
        return patternOf(mode, settingsWith({{"Measurement/AdvancedPattern", current}})).toString();
    };
    EXPECT_EQ(pattern(Mode::ErrorCorrecting, "Plain"), "ErrorCorrecting");
    EXPECT_EQ(pattern(Mode::Normal, "Plain"), "Plain");
    EXPECT_EQ(pattern(Mode::Bidirectional, "Inverse"), "Inverse");
    EXPECT_EQ(pattern(Mode::Normal, "ErrorCorrecting"), "Diamond");
    EXPECT_EQ(pattern(Mode::Bidirectional, "ErrorCorrecting"), "Diamond");
}

TEST(PreferencesValues, refuseAThresholdOutOfRange) {
    Settings settings;
    PreferencesValues values = PreferencesValues::of(settings);
    values.contrastThreshold = QStringLiteral("128");
    EXPECT_THROW(values.writeTo(settings), Vorta::ArgumentOutOfRangeException);
    values = PreferencesValues::of(settings);
    values.outlierThreshold = QStringLiteral("1000.5");
    EXPECT_THROW(values.writeTo(settings), Vorta::ArgumentOutOfRangeException);
}

TEST(ThresholdFromText, isTheNumberOrZero) {
    EXPECT_EQ(thresholdFromText(QStringLiteral("0.1")), 0.1) << "not the next float";
    EXPECT_EQ(thresholdFromText(QStringLiteral("127.5")), 127.5);
    EXPECT_EQ(thresholdFromText(QStringLiteral("999.999")), 999.999);
    EXPECT_EQ(thresholdFromText(QStringLiteral(" 5. ")), 5.0);
    for (const char* text : {"", " ", ".", "five", "5,5", "5 mm"})
        EXPECT_EQ(thresholdFromText(QString::fromUtf8(text)), 0.0) << text;
}

TEST(NeedsCalibrationFile, beforeRevision3) {
    for (const char* revision : {"Rev0", "Rev1", "Rev2"})
        EXPECT_TRUE(needsCalibrationFile(settingsWith({{"Global/ProductRevision", revision}}))) << revision;
    EXPECT_FALSE(needsCalibrationFile(settingsWith({{"Global/ProductRevision", "Rev3"}})));
}

} // namespace
