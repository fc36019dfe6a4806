#include "tools/vorta/runvorta.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Vorta::Testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class Failures : public ::testing::Test {
protected:
    std::string file(const std::string& name) const { return folder.file(name); }

    void expect(int status, const std::vector<std::string>& arguments, const std::string& words) const {
        const Result result = vorta(arguments);
        SCOPED_TRACE(::testing::PrintToString(arguments));
        EXPECT_EQ(result.status, status);
        EXPECT_TRUE(isOneLine(result.err)) << result.err;
        EXPECT_THAT(result.err, StartsWith("vorta: "));
        EXPECT_THAT(result.err, HasSubstr(words));
    }

    VirtualHeads heads{{.serialNumber = "T-1"}};
    TemporaryFolder folder;
};

TEST_F(Failures, OfUseGiveStatus2AndDoNothing) {
    expect(2, {}, "A subcommand is required");
    expect(2, {"grab"}, "grab");
    expect(2, {"list", "--yaml"}, "--yaml");
    expect(2, {"capture"}, "OUTPUT is required");
    expect(2, {"convert", file("a.vdf")}, "OUTPUT is required");
    expect(2, {"info"}, "FILE is required");
    expect(2, {"settings", "--defaults", "--check", "a.yml"}, "excludes");
    expect(2, {"capture", file("a.vdf"), file("a.stl")},
           "File '" + file("a.stl") + "' has no ending that is known: .vdf, .xyz, .ply, .pcd or .png.");
    expect(2, {"capture", file("a.vdf"), file("vdf")}, "File '" + file("vdf") + "' has no ending");
    expect(2, {"convert", file("none.vdf"), file("a.txt")}, "File '" + file("a.txt") + "' has no ending");
    expect(2, {"capture", file("a.vdf"), "--iris", "64"}, "--iris: The value is out of range");
    expect(2, {"capture", file("a.vdf"), "--iris", "x"}, "--iris: ");
    expect(2, {"capture", file("a.vdf"), "--exposure", "99"}, "--exposure: The value is out of range");
    expect(2, {"capture", file("a.vdf"), "--brightness", "1.5"}, "--brightness: The value is out of range");
    expect(2, {"capture", file("a.vdf"), "--set", "Iris"}, "--set: 'Iris' has no '='; write PATH=VALUE.");
    expect(2, {"capture", file("a.vdf"), "--set", "Iirs=3"}, "--set: ");
    expect(2, {"capture", file("a.vdf"), "--set", "Camera/Gain="}, "--set: ");
    expect(2, {"capture", file("a.vdf"), "--hdr", "20"}, "--hdr: one iris makes no high dynamic range");
    expect(2, {"capture", file("a.vdf"), "--hdr", "20,64"}, "--hdr: The value is out of range");
    expect(2, {"capture", file("a.vdf"), "--hdr", "20,x"}, "--hdr: ");
    EXPECT_THAT(folder.entries(), IsEmpty());
}

TEST_F(Failures, OfCamerasGiveStatus1) {
    expect(1, {"capture", file("a.vdf"), "--camera", "T-9"},
           "No camera with the serial number 'T-9' was found. Camera 'T-1' was.");
    heads.unplug("T-1");
    expect(1, {"capture", file("a.vdf")}, "No camera was found");
    const std::string broken = heads.plugText("broken", "serialNumber: [\n").string();
    expect(1, {"capture", file("a.vdf")}, broken);
    EXPECT_THAT(folder.entries(), IsEmpty());
}

TEST_F(Failures, OfFilesGiveStatus1) {
    expect(1, {"capture", file("a.vdf"), "--settings", file("none.yml")}, file("none.yml"));
    writeFile(file("broken.yml"), "Iris: 99\n");
    expect(1, {"capture", file("a.vdf"), "--settings", file("broken.yml")}, "line 1: 'Iris'");
    expect(1, {"convert", file("none.vdf"), file("a.ply")},
           "Data file '" + file("none.vdf") + "' cannot be read: No such file or directory.");
    expect(1, {"info", file("broken.yml")}, "it is not a Vorta data file.");
    expect(1, {"capture", file("a.vdf"), "--set", "Measurement/CalibrationFile=" + file("none.yml")}, file("none.yml"));
    expect(1, {"calibration", file("none/calib_data.yml")}, file("none/calib_data.yml"));
    EXPECT_THAT(folder.entries(), ::testing::ElementsAre("broken.yml"));
}

TEST_F(Failures, OfWritingNameTheFileAndWhy) {
    smallFrame().save(file("good.vdf"));
    for (const char* ending : {".vdf", ".xyz", ".ply", ".pcd", ".png"}) {
        const std::string output = file("none/a") + ending;
        expect(1, {"convert", file("good.vdf"), output},
               "File '" + output + "' cannot be written: No such file or directory.");
    }
    expect(1, {"capture", file("a.ply"), "--truth", file("none/truth.nc")},
           "File '" + file("none/truth.nc") + "' cannot be written: No such file or directory.");
}

TEST_F(Failures, OfAFullDiskAreNoticed) {
    smallFrame().save(file("good.vdf"));
    for (const char* ending : {".xyz", ".ply", ".pcd", ".png"}) {
        const std::string output = file("full") + ending;
        std::filesystem::create_symlink("/dev/full", output);
        expect(1, {"convert", file("good.vdf"), output}, "File '" + output + "' cannot be written: ");
    }
}

TEST_F(Failures, OfTheOutputAreNoticed) {
    const Result result = runProgram("sh", {"-c", "exec " VORTA_BIN_DIR "/vorta settings > /dev/full"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "vorta: the output cannot be written.\n");
}

TEST(Help, IsPrintedWithStatus0) {
    const Result help = vorta({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const char* command : {"list", "capture", "live", "convert", "info", "settings", "calibration"})
        EXPECT_THAT(help.out, HasSubstr(command));
    const Result capture = vorta({"capture", "--help"});
    EXPECT_EQ(capture.status, 0);
    for (const char* option : {"--camera", "--exposure", "--iris", "--brightness", "--settings", "--set", "--unordered",
                               "--truth", "--hdr", "--save-images"})
        EXPECT_THAT(capture.out, HasSubstr(option));
    EXPECT_THAT(vorta({"--version"}).out, StartsWith("vorta 1."));
}

} // namespace
} // namespace Vorta::Testing
