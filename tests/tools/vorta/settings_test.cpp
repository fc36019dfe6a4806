#include "tools/vorta/runvorta.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Vorta::Testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(SettingsCommand, DescribesEverySetting) {
    const Result result = vorta({"settings"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, StartsWith("BlueBalance = 1\n"));
    EXPECT_THAT(result.out, HasSubstr("\nIris = 31\n"));
    EXPECT_THAT(result.out, HasSubstr("\n    Accepts a whole number from 1 to 63 steps.\n"));
    EXPECT_THAT(result.out, HasSubstr("\nProjector/MaxLEDCurrents = 90 90 90\n"));
    EXPECT_THAT(result.out, HasSubstr("\nLens/MaxIris = 63\n"));
    // 11 public and 34 internal settings, three lines each.
    EXPECT_EQ(std::ranges::count(result.out, '\n'), 3 * (11 + 34));
}

TEST(SettingsCommand, PrintsAFileOfDefaultsThatCanBeCheckedAndLoaded) {
    const TemporaryFolder folder;
    const Result defaults = vorta({"settings", "--defaults"});
    ASSERT_EQ(defaults.status, 0) << defaults.err;
    writeFile(folder.file("a.yml"), defaults.out);
    EXPECT_EQ(Settings(folder.file("a.yml")), Settings{});
    const Result check = vorta({"settings", "--check", folder.file("a.yml")});
    EXPECT_EQ(check.status, 0);
    EXPECT_EQ(check.out, folder.file("a.yml") + ": valid\n");
    EXPECT_EQ(check.err, "");
}

TEST(SettingsCommand, SaysWhatIsWrongWithAFile) {
    const TemporaryFolder folder;
    const auto complaint = [&](const std::string& content) {
        writeFile(folder.file("a.yml"), content);
        const Result result = vorta({"settings", "--check", folder.file("a.yml")});
        EXPECT_EQ(result.status, 1) << content;
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(isOneLine(result.err)) << result.err;
        EXPECT_THAT(result.err, HasSubstr(folder.file("a.yml")));
        return result.err;
    };
    EXPECT_THAT(complaint("Brightness: 1\nIris: 64\n"), HasSubstr("line 2: 'Iris'"));
    EXPECT_THAT(complaint("Iirs: 3\n"), HasSubstr("line 1: 'Iirs' is no setting"));
    EXPECT_THAT(complaint("Iris: [1\n"), HasSubstr("it is not YAML"));
    const Result missing = vorta({"settings", "--check", folder.file("none.yml")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.err, HasSubstr("No such file or directory"));
}

} // namespace
} // namespace Vorta::Testing
