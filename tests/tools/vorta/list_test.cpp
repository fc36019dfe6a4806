#include "tools/vorta/runvorta.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Vorta::Testing {
namespace {

using ::testing::HasSubstr;

TEST(List, SaysThatThereIsNoCamera) {
    const VirtualHeads heads;
    const Result text = vorta({"list"});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out, "No camera was found.\n");
    EXPECT_EQ(text.err, "");
    const Result json = vorta({"list", "--json"});
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(json.out, "[]\n");
}

TEST(List, NamesEveryCamera) {
    VirtualHeads heads;
    heads.plug({.serialNumber = "T-2", .model = "VORTA Two", .firmware = "VORTA 0.8.1"});
    heads.plug({.serialNumber = "T-1", .model = "VORTA One"});
    const Result result = vorta({"list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "T-1                  VORTA One                      VORTA 0.9.21\n"
                          "T-2                  VORTA Two                      VORTA 0.8.1\n");
}

TEST(List, SaysWhyAPluggedInHeadCannotBeUsed) {
    VirtualHeads heads({.serialNumber = "T-1"});
    const std::string broken = heads.plugText("broken", "serialNumber: [\n").string();
    const Result result = vorta({"list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("T-1"));
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
    EXPECT_THAT(result.err, HasSubstr(broken));
}

TEST(List, EscapesJson) {
    VirtualHeads heads;
    heads.plug({.serialNumber = "T-1", .model = "'VORTA \"Ünø\" \\'"});
    const Result result = vorta({"list", "--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "[\n"
                          "  {\n"
                          "    \"model\": \"VORTA \\\"Ünø\\\" \\\\\",\n"
                          "    \"serialNumber\": \"T-1\",\n"
                          "    \"firmware\": \"VORTA 0.9.21\"\n"
                          "  }\n"
                          "]\n");
}

TEST(List, FindsDriversInTheFolderBinToo) {
    const VirtualHeads heads({.serialNumber = "T-1"});
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "bin");
    for (const auto& entry : std::filesystem::directory_iterator(VORTA_BIN_DIR)) {
        const std::string name = entry.path().filename().string();
        if (name == "vorta" || name.starts_with("libVorta"))
            std::filesystem::copy(entry.path(), folder.path() / name);
    }
    const Result missing = runProgram(folder.file("vorta"), {"list"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "vorta: Camera driver 'VortaCameraToshibaTeli.dll' was not found, neither in '" +
                               folder.path().string() + "' nor in '" + folder.file("bin") + "'.\n");
    std::filesystem::copy(driverPath(), folder.path() / "bin");
    const Result found = runProgram(folder.file("vorta"), {"list"});
    EXPECT_EQ(found.status, 0) << found.err;
    EXPECT_THAT(found.out, HasSubstr("T-1"));
}

} // namespace
} // namespace Vorta::Testing
