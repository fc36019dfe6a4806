#include "settingspage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

TEST(SettingsPage, CommittedPageIsTheGeneratedOne) {
    const std::filesystem::path path = std::filesystem::path{VORTA_SOURCE_DIR} / "docs" / "settings.md";
    std::ifstream file(path);
    ASSERT_TRUE(file) << path;
    std::ostringstream committed;
    committed << file.rdbuf();
    std::ostringstream generated;
    Vorta::writeSettingsPage(generated);
    EXPECT_EQ(committed.str(), generated.str()) << "run: vorta_settings_reference > docs/settings.md";
}

TEST(SettingsPage, NamesPathsDefaultsAndLimits) {
    std::ostringstream page;
    Vorta::writeSettingsPage(page);
    EXPECT_NE(page.str().find("| `Iris` | whole number | `31` | a whole number from 1 to 63 steps |"),
              std::string::npos);
    EXPECT_NE(page.str().find("| `Camera/TriggerPolarity` | choice | `FallingEdge` | \"RisingEdge\" or "
                              "\"FallingEdge\" |"),
              std::string::npos);
    EXPECT_NE(page.str().find("| `Measurement/CalibrationFile` | text | empty | any text |"), std::string::npos);
}

} // namespace
