#include "tools/vorta/runvorta.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Vorta::Testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(Info, SaysWhatAFileHolds) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a.vdf");
    smallFrame().save(path);
    const Result result = vorta({"info", path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, StartsWith("File:         " + path +
                                       "\n"
                                       "Camera:       VORTA Test T-0001, firmware VORTA 0.9.21, Rev3\n"
                                       "Time:         2026-03-04T05:06:07.000008Z\n"
                                       "Grid:         3 x 2 points, 5 valid\n"
                                       "Depth:        701.5 to 706.5 mm\n"
                                       "Temperatures: head 31.5 °C, lens 30.2 °C, dmd 40.1 °C\n"
                                       "Settings:\n"
                                       "  BlueBalance = 1\n"));
    EXPECT_THAT(result.out, HasSubstr("\n  Iris = 17\n"));
    EXPECT_THAT(result.out, HasSubstr("\n  Filters/Contrast/Threshold = 3.25\n"));
}

// Python reads the JSON, so that what is checked is what other programs get.
std::string query(const std::string& json, const std::string& expression) {
    const TemporaryFolder folder;
    writeFile(folder.file("a.json"), json);
    const Result result = runProgram(
        "python3",
        {"-c", "import json, sys; d = json.load(open(sys.argv[1], encoding='utf-8')); print(" + expression + ")",
         folder.file("a.json")});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
}

TEST(Info, SaysTheSameInJson) {
    const TemporaryFolder folder;
    const std::string path = folder.file("a \"b\".vdf");
    smallFrame().save(path);
    const Result result = vorta({"info", path, "--json"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(query(result.out, "d['file']"), path + "\n");
    EXPECT_EQ(query(result.out, "d['model'], d['serialNumber'], d['firmware'], d['productRevision']"),
              "VORTA Test T-0001 VORTA 0.9.21 Rev3\n");
    EXPECT_EQ(query(result.out, "d['time']"), "2026-03-04T05:06:07.000008Z\n");
    EXPECT_EQ(query(result.out, "d['width'], d['height'], d['validPoints'], d['minZ'], d['maxZ']"),
              "3 2 5 701.5 706.5\n");
    EXPECT_EQ(query(result.out, "d['temperatures']"), "{'head': 31.5, 'lens': 30.25, 'dmd': 40.125}\n");
    EXPECT_EQ(query(result.out, "d['settings']['Iris'], d['settings']['Camera/MeasurementFile']"),
              "17 C:\\data\\\"a\".vdf\n");
}

TEST(Info, KnowsNoDepthWithoutValidPoints) {
    const TemporaryFolder folder;
    Frame(std::make_shared<FrameImpl>(PointCloud(2, 2), Settings{}, FrameInfo{}, ComputeDevice{}))
        .save(folder.file("a.vdf"));
    const Result text = vorta({"info", folder.file("a.vdf")});
    EXPECT_THAT(text.out, HasSubstr("2 x 2 points, 0 valid\nTemperatures: head 0.0 °C\n"));
    EXPECT_EQ(query(vorta({"info", "--json", folder.file("a.vdf")}).out, "d['minZ'], d['maxZ']"), "None None\n");
}

} // namespace
} // namespace Vorta::Testing
