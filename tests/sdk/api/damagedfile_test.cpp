#include "sdk/api/completeframe.h"
#include "sdk/api/testtools.h"
#include "support/runprogram.h"

#include "vorta/api/frame.h"
#include "vorta/common/exceptions.h"

#include <boost/config.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <ostream>

// netCDF and HDF5 lose memory of their own when they give up on a damaged file; the leak checker is to look at ours.
// NOLINTNEXTLINE: the name is the sanitizer's
extern "C" BOOST_SYMBOL_EXPORT const char* __lsan_default_suppressions();
// NOLINTNEXTLINE
const char* __lsan_default_suppressions() {
    return "leak:libnetcdf.so\nleak:libhdf5\n";
}

namespace Vorta {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using Testing::readFile;
using Testing::runProgram;
using Testing::smallFrame;
using Testing::TemporaryFolder;
using Testing::writeFile;

/// What loading says of a file; "loaded" when it says nothing.
std::string complaint(const std::string& path) {
    try {
        const Frame frame(path, ComputeDevice{});
        return "loaded";
    } catch (const IOException& error) {
        return error.what();
    }
}

/// What every refusal of that file holds before its reason.
std::string refusalOf(const std::string& path) {
    return std::string("'").append(path).append("' cannot be read: ");
}

/// A change to the text form of a good file and the words that it must lead to.
struct Damage {
    const char* name;
    std::string before;
    std::string after;
    std::string words;
    bool withPoints = true; ///< otherwise the generator leaves the grids empty

    friend std::ostream& operator<<(std::ostream& stream, const Damage& damage) { return stream << damage.name; }
};

std::string replaced(std::string text, const std::string& before, const std::string& after) {
    std::size_t count = 0;
    for (auto at = text.find(before); at != std::string::npos; at = text.find(before, at + after.size())) {
        text.replace(at, before.size(), after);
        ++count;
    }
    if (count == 0)
        throw std::runtime_error("Not in the file: " + before);
    return text;
}

/// Makes "damaged.vdf" of "good.vdf" by netCDF's own generator, from the text that its own dump gives of the good one.
void makeDamaged(const TemporaryFolder& folder, const Damage& damage) {
    const Testing::Result dump = runProgram("ncdump", {damage.withPoints ? "-p9" : "-h", folder.file("good.vdf")});
    ASSERT_EQ(dump.status, 0) << dump.err;
    std::string text = replaced(dump.out, damage.before, damage.after);
    if (!damage.withPoints)
        text =
            replaced(text, "\ngroup: settings {", "data:\n time = 0 ;\n head_temperature = 30 ;\n\ngroup: settings {");
    writeFile(folder.file("a.cdl"), text);
    const Testing::Result made =
        runProgram("ncgen", {"-k", "nc4", "-o", folder.file("damaged.vdf"), folder.file("a.cdl")});
    ASSERT_EQ(made.status, 0) << made.err;
}

class DamagedFile : public ::testing::TestWithParam<Damage> {};

TEST_P(DamagedFile, IsRefusedWithItsNameAndTheReason) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("good.vdf"));
    ASSERT_NO_FATAL_FAILURE(makeDamaged(folder, GetParam()));
    EXPECT_THAT(complaint(folder.file("damaged.vdf")),
                AllOf(HasSubstr(refusalOf(folder.file("damaged.vdf"))), HasSubstr(GetParam().words)));
}

INSTANTIATE_TEST_SUITE_P(
    Header, DamagedFile,
    ::testing::Values(
        Damage{"NoVersion", "\t\t:vorta_format_version = 1 ;\n", "",
               "it is not a Vorta data file: attribute 'vorta_format_version' is missing."},
        Damage{"VersionIsText", ":vorta_format_version = 1 ;", ":vorta_format_version = \"1\" ;",
               "attribute 'vorta_format_version' is not one whole number."},
        Damage{"VersionIsList", ":vorta_format_version = 1 ;", ":vorta_format_version = 1, 1 ;",
               "attribute 'vorta_format_version' is not one whole number."},
        Damage{"NewerVersion", ":vorta_format_version = 1 ;", ":vorta_format_version = 2 ;",
               "its format version is 2, and this program knows versions up to 1."},
        Damage{"VersionZero", ":vorta_format_version = 1 ;", ":vorta_format_version = 0 ;",
               "its format version 0 does not exist."},
        Damage{"NoSerialNumber", "\t\t:camera_serial_number = \"T-0001\" ;\n", "",
               "attribute 'camera_serial_number' is missing."},
        Damage{"SerialNumberIsNumber", ":camera_serial_number = \"T-0001\" ;", ":camera_serial_number = 7 ;",
               "attribute 'camera_serial_number' is not a text."},
        Damage{"EndlessModel", ":camera_model = \"VORTA Test\" ;",
               std::string(":camera_model = \"").append(70'000, 'm').append("\" ;"),
               "attribute 'camera_model' is 70000 characters long, more than the 65536 that are allowed."},
        Damage{"NoTime", "time", "tide", "variable 'time' is missing."},
        Damage{"TimeIsDouble", "int64 time ;", "double time ;",
               "variable 'time' is not a single value of the right type."},
        Damage{"TimeBefore1970", "time = 1772600767000008", "time = -1", "its time, -1 microseconds after 1970"},
        Damage{"TimeAfter9999", "time = 1772600767000008", "time = 9223372036854775807", "is out of range."},
        Damage{"NoTemperature", "head_temperature", "hat_temperature", "variable 'head_temperature' is missing."},
        Damage{"TemperatureIsRow", "double lens_temperature ;", "double lens_temperature(column) ;",
               "variable 'lens_temperature' is not a single value of the right type."},
        Damage{"NoSettings", "group: settings {", "group: sittings {", "group '/settings' is missing."},
        Damage{"SettingOutOfRange", ":Iris = \"17\" ;", ":Iris = \"99\" ;",
               "setting 'Iris': The value is out of range; expected a whole number from 1 to 63 steps."},
        Damage{"SettingIsNumber", ":Iris = \"17\" ;", ":Iris = 17 ;", "attribute 'Iris' is not a text."},
        Damage{"NoContrast", "contrast", "kontrast", "variable 'contrast' is missing."},
        Damage{"ZIsDouble", "float z(row, column) ;\n\t\tz:_FillValue = NaNf ;", "double z(row, column) ;",
               "variable 'z' has the wrong type."},
        Damage{"ContrastIsRow", "float contrast(row, column) ;", "float contrast(column) ;",
               "variable 'contrast' has the wrong dimensions."},
        Damage{"XIsDeep", "float x(row, column) ;", "float x(row, column, channel) ;",
               "variable 'x' has the wrong dimensions."},
        Damage{"YIsTransposed", "float y(row, column) ;", "float y(column, row) ;",
               "variable 'y' has another size than 'x'."},
        Damage{"FourColours", "channel = 3 ;", "channel = 4 ;", "variable 'colour' has the wrong dimensions."},
        Damage{"ColourIsSigned", "ubyte colour(", "byte colour(", "variable 'colour' has the wrong type."},
        Damage{"NoRows", "row = 2 ;", "row = UNLIMITED ;", "it holds no points.", false},
        Damage{"TooManyRows", "row = 2 ;", "row = 20000 ;",
               "its grid of 20000 x 3 points is larger than this program accepts.", false},
        Damage{"TooManyPoints", "row = 2 ;\n\tcolumn = 3 ;", "row = 16384 ;\n\tcolumn = 16384 ;",
               "its grid of 16384 x 16384 points is larger than this program accepts.", false},
        Damage{"MorePointsThanBytes", "row = 2 ;\n\tcolumn = 3 ;", "row = 8000 ;\n\tcolumn = 8000 ;",
               "it is too short to hold its 8000 x 8000 points.", false}),
    [](const auto& test) { return std::string(test.param.name); });

/// The same with images, calibration and children, which other files do without.
class DamagedCompleteFile : public DamagedFile {};

TEST_P(DamagedCompleteFile, IsRefusedWithItsNameAndTheReason) {
    const TemporaryFolder folder;
    Testing::completeFrame().save(folder.file("good.vdf"));
    ASSERT_NO_FATAL_FAILURE(makeDamaged(folder, GetParam()));
    EXPECT_THAT(complaint(folder.file("damaged.vdf")),
                AllOf(HasSubstr(refusalOf(folder.file("damaged.vdf"))), HasSubstr(GetParam().words)));
}

INSTANTIATE_TEST_SUITE_P(
    Header, DamagedCompleteFile,
    ::testing::Values(Damage{"ImageIsSigned", "ubyte image(", "byte image(", "variable 'image' has the wrong type."},
                      Damage{"ImageIsFlat", "image(exposure, row, column)", "image(exposure, row)",
                             "variable 'image' has the wrong dimensions."},
                      Damage{"ImageIsTransposed", "image(exposure, row, column)", "image(exposure, column, row)",
                             "variable 'image' has another size than 'x'."},
                      Damage{"NoImages", "exposure = 4 ;", "exposure = UNLIMITED ;",
                             "variable 'image' is stored in blocks that are larger than itself.", false},
                      Damage{"TooManyImages", "exposure = 4 ;", "exposure = 1025 ;",
                             "its 1025 raw images are more than the 1024 that are allowed.", false},
                      Damage{"NoBayerLayout", "image:bayer_layout", "image:buyer_layout",
                             "variable 'image' has no valid attribute 'bayer_layout'."},
                      Damage{"OddBayerLayout", "bayer_layout = \"GRBG\"", "bayer_layout = \"RGBW\"",
                             "variable 'image' has no valid attribute 'bayer_layout'."},
                      Damage{"NegativeSensor", "sensor_width = 3", "sensor_width = -3",
                             "variable 'image' has no valid attribute 'sensor_width'."},
                      Damage{"HugeProjector", "projector_height = 1140", "projector_height = 16385",
                             "variable 'image' has no valid attribute 'projector_height'."},
                      Damage{"CalibrationIsNumber", ":yaml = \"cameras",
                             ":kind = 1 ;\n\t\t:yaml = 3 ;\n\t\t:text = \"cameras", "attribute 'yaml' is not a text."},
                      Damage{"ChildWithoutSerialNumber", ":camera_serial_number = \"C-0\" ;", ":serial = \"C-0\" ;",
                             "group '/children/0': attribute 'camera_serial_number' is missing."},
                      Damage{"ChildSerialNumberIsNumber", ":camera_serial_number = \"C-1\" ;",
                             ":camera_serial_number = 5 ;", "attribute 'camera_serial_number' is not a text."}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ForeignFile, IsRefusedWithItsNameAndTheReason) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "folder.vdf");
    writeFile(folder.file("empty.vdf"), "");
    writeFile(folder.file("short.vdf"), "\x89HD");
    writeFile(folder.file("text.vdf"), "ply\nformat binary_little_endian 1.0\n");
    writeFile(folder.file("classic.vdf"), std::string("CDF\x01\0\0\0\0\0\0\0\0", 12));
    writeFile(folder.file("signature.vdf"), "\x89HDF\r\n\x1a\n");
    const auto expected = [&](const std::string& name, const std::string& reason) {
        return "Data file '" + folder.file(name) + "' cannot be read: " + reason;
    };
    EXPECT_EQ(complaint(folder.file("none.vdf")), expected("none.vdf", "No such file or directory."));
    EXPECT_EQ(complaint(folder.file("folder.vdf")), expected("folder.vdf", "it is a folder."));
    EXPECT_EQ(complaint(folder.file("empty.vdf")), expected("empty.vdf", "it is empty."));
    EXPECT_EQ(complaint(folder.file("short.vdf")), expected("short.vdf", "it is not a Vorta data file."));
    EXPECT_EQ(complaint(folder.file("text.vdf")), expected("text.vdf", "it is not a Vorta data file."));
    EXPECT_EQ(complaint(folder.file("classic.vdf")), expected("classic.vdf", "it is not a Vorta data file."));
    EXPECT_EQ(complaint(folder.file("signature.vdf")),
              expected("signature.vdf", "it is damaged: its header is no header of HDF5."));
}

TEST(TruncatedFile, IsRefusedWhereverItEnds) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("good.vdf"));
    const std::string content = readFile(folder.file("good.vdf"));
    for (std::size_t length = 0; length < content.size(); length += 97) {
        writeFile(folder.file("a.vdf"), content.substr(0, length));
        EXPECT_THAT(complaint(folder.file("a.vdf")), HasSubstr(refusalOf(folder.file("a.vdf"))))
            << "cut to " << length << " of " << content.size() << " bytes";
    }
}

TEST(TruncatedFile, IsToldFromADamagedOne) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("good.vdf"));
    const std::string content = readFile(folder.file("good.vdf"));
    const std::size_t sealed = content.size();
    const std::string stated = std::to_string(sealed - 20); // the seal is 20 bytes long
    const auto reason = [&](const std::string& damaged) {
        writeFile(folder.file("a.vdf"), damaged);
        const std::string text = complaint(folder.file("a.vdf"));
        const std::string prefix = "Data " + std::string("file ") + refusalOf(folder.file("a.vdf"));
        return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
    };
    EXPECT_EQ(reason(content.substr(0, 1000)), "it is cut short: it has 1000 of its " + stated + " bytes.");
    EXPECT_EQ(reason(content.substr(0, sealed - 1)), "it is damaged: its checksum is wrong.");
    EXPECT_EQ(reason(content + '\0'), "it is damaged: its checksum is wrong.");
    std::string changed = content;
    changed[sealed / 2] = static_cast<char>(changed[sealed / 2] ^ 1);
    EXPECT_EQ(reason(changed), "it is damaged: its checksum is wrong.");
    EXPECT_EQ(reason(content.substr(0, sealed - 20)), "loaded"); // as other programs write it
}

TEST(CorruptFile, NeverCrashesAndNeverGivesOtherPoints) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("good.vdf"));
    const std::string content = readFile(folder.file("good.vdf"));
    const PointCloud good = smallFrame().getPointCloud();
    std::size_t refused = 0;
    for (std::size_t at = 0; at < content.size(); at += 61) {
        std::string damaged = content;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x55);
        writeFile(folder.file("a.vdf"), damaged);
        try {
            const PointCloud cloud = Frame(folder.file("a.vdf"), ComputeDevice{}).getPointCloud();
            ASSERT_EQ(cloud.size(), good.size()) << "byte " << at;
            EXPECT_EQ(std::memcmp(cloud.data(), good.data(), good.size() * sizeof(Point)), 0) << "byte " << at;
        } catch (const IOException& error) {
            EXPECT_THAT(error.what(), HasSubstr("a.vdf"));
            ++refused;
        }
    }
    EXPECT_GT(refused, 20U) << "hardly any damage was noticed";
}

} // namespace
} // namespace Vorta
