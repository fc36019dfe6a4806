#include "capture/settingtooltip.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/settings.h"

#include <gtest/gtest.h>

namespace {

using Vorta::Settings;

TEST(SettingToolTip, saysMeaningUnitAndLimitsOfANumber) {
    EXPECT_EQ(settingToolTip<Settings::ExposureTime>(),
              QStringLiteral("Exposure of each single image of a capture.\nA whole number from 100 to 200000 µs."));
    EXPECT_EQ(settingToolTip<Settings::Iris>(),
              QStringLiteral("Opening of the lens: more is brighter, but less deep in focus.\n"
                             "A whole number from 1 to 63 steps."));
    EXPECT_EQ(settingToolTip<Settings::Brightness>(),
              QStringLiteral("Brightness of the projector; 1 is full.\nA number from 0 to 1."));
}

TEST(SettingToolTip, saysTheMeaningAloneOfTheRest) {
    EXPECT_EQ(settingToolTip("Filters/Saturated/Enabled"),
              QStringLiteral("Remove points that were overexposed in a pattern image."));
    EXPECT_EQ(settingToolTip("Measurement/CalibrationFile"),
              QStringLiteral("Calibration file (YAML) that replaces the calibration stored in the head; empty for "
                             "none."));
    EXPECT_EQ(settingToolTip("Global/ProductRevision"),
              QStringLiteral("Product revision of the head; before Rev3 it stores no calibration of its own."));
}

TEST(SettingToolTip, refusesWhatIsNoSetting) {
    EXPECT_THROW((void)settingToolTip("Filters/Contrast/Enabled"), Vorta::ArgumentInvalidException);
}

} // namespace
