#include "settings/settingtooltip.h"

#include "settings/latin1.h"
#include "vorta/common/settings.h"

#include <gtest/gtest.h>

using VortaQt::latin1;
using VortaQt::settingToolTip;

namespace {

TEST(SettingToolTip, saysWhatTheSettingDoesItsUnitAndItsRange) {
    EXPECT_EQ(settingToolTip(QStringLiteral("Filters/Contrast/Threshold")),
              QStringLiteral("<b>Filters/Contrast/Threshold</b>"
                             "<br>Pattern modulation amplitude below which a point is removed."
                             "<br>Accepts a number from 0 to 127.5 grey levels. Default: 5."));
}

TEST(SettingToolTip, knowsInternalSettings) {
    EXPECT_EQ(settingToolTip(QStringLiteral("Camera/BayerLayout")),
              QStringLiteral("<b>Camera/BayerLayout</b>"
                             "<br>Colours of the sensor's 2 x 2 mosaic cell, row by row, for heads that do not tell."
                             "<br>Accepts &quot;GRBG&quot;, &quot;RGGB&quot;, &quot;BGGR&quot; or &quot;GBRG&quot;. "
                             "Default: BGGR."));
}

TEST(SettingToolTip, keepsTheSignsOfUnits) {
    EXPECT_TRUE(settingToolTip(QStringLiteral("ExposureTime")).contains(QStringLiteral("100 to 200000 µs.")));
    EXPECT_TRUE(settingToolTip(QStringLiteral("Projector/MaxTemperature")).contains(QStringLiteral("0 to 125 °C.")));
}

TEST(SettingToolTip, namesAnEmptyDefault) {
    EXPECT_TRUE(settingToolTip(QStringLiteral("Camera/MeasurementFile")).endsWith(QStringLiteral("Default: empty.")));
}

TEST(SettingToolTip, saysWhatAGroupIsAbout) {
    EXPECT_EQ(settingToolTip(QStringLiteral("Filters/Outlier")),
              QStringLiteral("<b>Filters/Outlier</b><br>Points that hang together with no surface."));
    EXPECT_EQ(settingToolTip(QStringLiteral("Lens")), QStringLiteral("<b>Lens</b><br>The head's lens."));
}

TEST(SettingToolTip, showsTheValueThatIsGivenAsItIs) {
    EXPECT_TRUE(settingToolTip(QStringLiteral("Measurement/CalibrationFile"), QStringLiteral("/a<b>&.yml"))
                    .startsWith(QStringLiteral("<b>Measurement/CalibrationFile</b>: /a&lt;b&gt;&amp;.yml<br>")));
}

TEST(SettingToolTip, isEmptyForAnyOtherPath) {
    for (const auto* path : {"", "Filters/Contrast/Enabled", "iris", "Iris/", "Camera/", "Nowhere"})
        EXPECT_TRUE(settingToolTip(QLatin1String(path), QStringLiteral("1")).isEmpty()) << path;
}

TEST(SettingToolTip, everySettingAndGroupHasOne) {
    int count = 0;
    const auto look = [&](const auto& descriptions) {
        for (const auto& description : descriptions) {
            EXPECT_TRUE(settingToolTip(latin1(description.path)).contains(QStringLiteral("<br>"))) << description.path;
            ++count;
        }
    };
    look(Vorta::Settings::catalogue());
    look(Vorta::Settings::groups());
    look(Vorta::SettingsInternal::catalogue());
    look(Vorta::SettingsInternal::groups());
    EXPECT_EQ(count, 11 + 5 + 34 + 6);
}

} // namespace
