#include "tools/vorta/runvorta.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace Vorta::Testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::size_t points = std::size_t{243} * 150;

/// The header of a data file as netCDF's own tool prints it.
std::string ncdumpHeader(const std::string& path) {
    const Result result = runProgram("ncdump", {"-h", path});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
}

std::size_t vertices(const std::string& ply) {
    std::smatch match;
    const std::string header = ply.substr(0, 400);
    return std::regex_search(header, match, std::regex("element vertex ([0-9]+)\n")) ? std::stoul(match[1]) : 0;
}

class Capture : public ::testing::Test {
protected:
    std::string file(const std::string& name) const { return folder.file(name); }

    VirtualHeads heads{{.serialNumber = "T-1"}};
    TemporaryFolder folder;
};

TEST_F(Capture, WritesEveryFormat) {
    const Result result = vorta({"capture", file("a.vdf"), file("a.xyz"), file("a.ply"), file("a.pcd"), file("a.png")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "") << "progress is for terminals";
    EXPECT_THAT(folder.entries(), ::testing::ElementsAre("a.pcd", "a.ply", "a.png", "a.vdf", "a.xyz"));

    const std::string header = ncdumpHeader(file("a.vdf"));
    EXPECT_THAT(header, HasSubstr("row = 150 ;"));
    EXPECT_THAT(header, HasSubstr("column = 243 ;"));
    EXPECT_THAT(header, HasSubstr(":camera_serial_number = \"T-1\" ;"));
    EXPECT_EQ(std::ranges::count(readFile(file("a.xyz")), '\n'), points);
    const std::string ply = readFile(file("a.ply"));
    EXPECT_EQ(vertices(ply), points);
    EXPECT_EQ(ply.size(), ply.find("end_header\n") + 11 + points * 15);
    const std::string pcd = readFile(file("a.pcd"));
    EXPECT_THAT(pcd, StartsWith("# .PCD v0.7"));
    EXPECT_EQ(pcd.size(), pcd.find("DATA binary\n") + 12 + points * 16);
    const Result image = runProgram("identify", {"-format", "%m %w %h", file("a.png")});
    EXPECT_EQ(image.out, "PNG 243 150");
}

TEST_F(Capture, PointCloudsOpenInOtherTools) {
    ASSERT_TRUE(vortaSucceeds({"capture", file("a.ply"), file("a.pcd")}));
    const Result toPly = runProgram("pcl_pcd2ply", {"-format", "0", file("a.pcd"), file("fromPcd.ply")});
    EXPECT_EQ(toPly.status, 0) << toPly.err;
    EXPECT_EQ(vertices(readFile(file("fromPcd.ply"))), points);
    const Result toPcd = runProgram("pcl_ply2pcd", {"-format", "0", file("a.ply"), file("fromPly.pcd")});
    EXPECT_EQ(toPcd.status, 0) << toPcd.err;
    EXPECT_THAT(readFile(file("fromPly.pcd")), HasSubstr("POINTS " + std::to_string(points) + "\n"));
    const Result toText = runProgram("pcl_convert_pcd_ascii_binary", {file("a.pcd"), file("text.pcd"), "0"});
    EXPECT_EQ(toText.status, 0) << toText.err;
    EXPECT_THAT(readFile(file("text.pcd")), HasSubstr("POINTS " + std::to_string(points) + "\nDATA ascii\n"));
}

TEST_F(Capture, TheColourImageHasTheCloudsColours) {
    ASSERT_TRUE(
        vortaSucceeds({"capture", file("a.png"), file("a.vdf"), "--set", "RedBalance=0.5", "--exposure", "3000"}));
    const Result pixel = runProgram("convert", {file("a.png"), "-crop", "1x1+121+75", "-depth", "8", "txt:-"});
    const PointCloud cloud = Frame(file("a.vdf"), ComputeDevice{}).getPointCloud();
    const Point& point = cloud(75, 121);
    ASSERT_NE(point.red, point.blue);
    EXPECT_THAT(pixel.out, HasSubstr("(" + std::to_string(point.red) + "," + std::to_string(point.green) + "," +
                                     std::to_string(point.blue) + ")"));
}

TEST_F(Capture, EndingsMayBeUpperCase) {
    EXPECT_TRUE(vortaSucceeds({"capture", file("A.PLY"), file("B.Vdf"), file("C.PNG")}));
    EXPECT_THAT(readFile(file("A.PLY")), StartsWith("ply\n"));
    EXPECT_THAT(ncdumpHeader(file("B.Vdf")), HasSubstr("row = 150 ;"));
    EXPECT_THAT(readFile(file("C.PNG")), StartsWith("\x89PNG"));
}

TEST_F(Capture, UnorderedPlyLeavesInvalidPointsOut) {
    // Half of the small scene is out of reach of the projector: behind the plane there is nothing.
    heads.plug(
        {.serialNumber = "T-1", .scene = "objects:\n  - box: {size: [200, 200, 50]}\n    position: [0, 0, 700]\n"});
    ASSERT_TRUE(vortaSucceeds({"capture", file("a.ply"), file("a.vdf"), "--unordered"}));
    const PointCloud cloud = Frame(file("a.vdf"), ComputeDevice{}).getPointCloud();
    const auto valid = static_cast<std::size_t>(std::ranges::count_if(cloud.points(), &Point::isValid));
    ASSERT_GT(valid, 100U);
    ASSERT_LT(valid, points);
    EXPECT_EQ(vertices(readFile(file("a.ply"))), valid);
}

TEST_F(Capture, WritesTheTruthOfTheSameScene) {
    ASSERT_TRUE(vortaSucceeds({"capture", file("a.vdf"), "--truth", file("truth.nc")}));
    const std::string header = ncdumpHeader(file("truth.nc"));
    for (const char* line : {"row = 150 ;", "column = 243 ;", "float z_true(row, column) ;", "z_true:units = \"mm\" ;",
                             "ubyte visible(row, column) ;"})
        EXPECT_THAT(header, HasSubstr(line));
    // A plane perpendicular to the camera has one depth.
    const Result values = runProgram("ncdump", {"-p", "5", "-v", "z_true", file("truth.nc")});
    const std::string list = values.out.substr(values.out.find("z_true =\n"));
    EXPECT_TRUE(list.starts_with("z_true =\n  700, 700, 700,")) << list.substr(0, 100);
    EXPECT_EQ(std::ranges::count(list, '_'), 1) << "a gap beside the one in the name: every ray meets the plane";
}

TEST_F(Capture, SettingsComeFromFileThenPathsThenOptions) {
    Settings settings;
    settings.set("Iris", "11");
    settings.set("ExposureTime", "4321");
    settings.set("Camera/Gain", "2");
    settings.set("Brightness", "0.25");
    settings.save(file("a.yml"));
    ASSERT_TRUE(vortaSucceeds({"capture", "--settings", file("a.yml"), "--set", "Camera/Gain=1.5", "--set",
                               "Brightness=0.5", "--brightness", "0.75", "--iris", "12", file("a.vdf")}));
    const std::string header = ncdumpHeader(file("a.vdf"));
    EXPECT_THAT(header, HasSubstr(":ExposureTime = \"4321\" ;"));
    EXPECT_THAT(header, HasSubstr(":Iris = \"12\" ;"));
    EXPECT_THAT(header, HasSubstr(":Brightness = \"0.75\" ;"));
    EXPECT_THAT(header, HasSubstr(":Gain = \"1.5\" ;"));
    ASSERT_TRUE(vortaSucceeds({"capture", file("b.vdf"), "--exposure", "2500"}));
    EXPECT_THAT(ncdumpHeader(file("b.vdf")), HasSubstr(":ExposureTime = \"2500\" ;"));
}

TEST_F(Capture, CombinesIrisesToOneMeasurement) {
    ASSERT_EQ(vorta({"capture", "--hdr", "10,25,60", file("a.vdf")}).status, 0);
    const Frame frame(file("a.vdf"), ComputeDevice{});
    EXPECT_EQ(frame.settings().getString("Iris"), "10");
    EXPECT_TRUE(frame.getImpl().childFrames().empty());
    EXPECT_EQ(ncdumpHeader(file("a.vdf")).find("group: children"), std::string::npos);
    EXPECT_GT(std::ranges::count_if(frame.getPointCloud().points(), &Point::isValid), 30'000);
}

TEST_F(Capture, KeepsTheCapturesOfAnHdrMeasurementOnRequest) {
    ASSERT_EQ(vorta({"capture", "--hdr", "10,25", file("a.vdf"), "--set", "Camera/SaveChildMeasurements=true"}).status,
              0);
    const Frame frame(file("a.vdf"), ComputeDevice{});
    const std::vector<Frame> children = frame.getImpl().childFrames();
    ASSERT_EQ(children.size(), 2U);
    EXPECT_EQ(children[0].settings().getString("Iris"), "10");
    EXPECT_EQ(children[1].settings().getString("Iris"), "25");
    EXPECT_EQ(ncdumpHeader(file("a.vdf")).find("image("), std::string::npos);
}

TEST_F(Capture, KeepsTheRawImagesOnRequest) {
    ASSERT_EQ(vorta({"capture", "--save-images", file("a.vdf")}).status, 0);
    // Four steps of the fringes and, for 1024 columns in periods of eight, eight bits.
    EXPECT_THAT(ncdumpHeader(file("a.vdf")), HasSubstr("exposure = 12 ;"));
    ASSERT_EQ(vorta({"capture", "--save-images", "--set", "Bidirectional=true", "--set",
                     "Measurement/InversePatterns=true", file("b.vdf")})
                  .status,
              0);
    EXPECT_THAT(ncdumpHeader(file("b.vdf")), HasSubstr("exposure = 40 ;")); // 768 rows take eight bits too
}

TEST_F(Capture, WritesTheCalibrationThatItCanUseInstead) {
    ASSERT_EQ(vorta({"calibration", file("calib_data.yml")}).status, 0);
    ASSERT_EQ(
        vorta({"capture", file("a.xyz"), "--set", "Measurement/CalibrationFile=" + file("calib_data.yml")}).status, 0);
    ASSERT_EQ(vorta({"capture", file("b.xyz")}).status, 0);
    EXPECT_EQ(readFile(file("a.xyz")), readFile(file("b.xyz")));
}

TEST_F(Capture, SpeaksOfItsStepsOnRequest) {
    const Result result = vorta({"capture", file("a.vdf"), "--set", "Global/DebugMessages=true"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr("vorta: Camera 'T-1': "));
    EXPECT_THAT(result.err, HasSubstr(" images in "));
}

TEST_F(Capture, ChoosesTheCamera) {
    heads.plug({.serialNumber = "T-0"});
    ASSERT_TRUE(vortaSucceeds({"capture", file("first.vdf")}));
    EXPECT_THAT(ncdumpHeader(file("first.vdf")), HasSubstr(":camera_serial_number = \"T-0\" ;"));
    ASSERT_TRUE(vortaSucceeds({"capture", file("chosen.vdf"), "--camera", "T-1"}));
    EXPECT_THAT(ncdumpHeader(file("chosen.vdf")), HasSubstr(":camera_serial_number = \"T-1\" ;"));
}

TEST_F(Capture, SpeaksOfItsProgressOnATerminal) {
    const std::string command = std::string(VORTA_BIN_DIR "/vorta capture ") + file("a.vdf");
    const Result result = runProgram("script", {"-qec", command, "/dev/null"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("Capturing with VORTA Test T-1"));
    EXPECT_THAT(result.out, HasSubstr("Writing " + file("a.vdf") + " (1 of 1)"));
}

} // namespace
} // namespace Vorta::Testing
