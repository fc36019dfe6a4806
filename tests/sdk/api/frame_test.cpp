#include "sdk/api/testtools.h"
#include "support/runprogram.h"

#include "vorta/api/frame.h"
#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace Vorta {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Testing::readFile;
using Testing::runProgram;
using Testing::smallCloud;
using Testing::smallFrame;
using Testing::TemporaryFolder;

TEST(Frame, DefaultConstructedHoldsNothing) {
    const Frame none;
    EXPECT_TRUE(none.isNull());
    EXPECT_TRUE(none.getPointCloud().empty());
    EXPECT_TRUE(none.deviceCloud().empty());
    EXPECT_THROW(none.save("/nowhere/a.vdf"), LogicException);
    EXPECT_THROW(static_cast<void>(none.settings()), LogicException);
    EXPECT_THROW(static_cast<void>(none.getImpl()), LogicException);
}

TEST(Frame, NeedsPoints) {
    try {
        const FrameImpl impl(PointCloud{}, Settings{}, FrameInfo{}, ComputeDevice{});
        FAIL() << "an empty cloud was accepted";
    } catch (const ArgumentNullException& error) {
        EXPECT_EQ(error.parameter(), "cloud");
    }
}

TEST(Frame, CopiesShareTheMeasurement) {
    const Frame frame = smallFrame();
    const Frame copy = frame; // NOLINT(performance-unnecessary-copy-initialization): the copy is the point
    EXPECT_TRUE(copy.getPointCloud().sharesDataWith(frame.getPointCloud()));
    EXPECT_TRUE(frame.deviceCloud().copyToCPU().sharesDataWith(frame.getPointCloud()));
}

TEST(Frame, SurvivesSavingAndLoadingBitByBit) {
    const TemporaryFolder folder;
    const Frame saved = smallFrame();
    saved.save(folder.file("a.vdf"));
    EXPECT_THAT(folder.entries(), ElementsAre("a.vdf"));

    const ComputeDevice device("Renderer");
    const Frame loaded(folder.file("a.vdf"), device);
    EXPECT_EQ(loaded.deviceCloud().device(), device);
    const PointCloud cloud = loaded.getPointCloud();
    const PointCloud expected = smallCloud();
    ASSERT_EQ(cloud.height(), 2U);
    ASSERT_EQ(cloud.width(), 3U);
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(std::memcmp(&cloud[i], &expected[i], sizeof(Point)), 0);
    }
    EXPECT_EQ(loaded.settings(), saved.settings());
    const FrameInfo& info = loaded.getImpl().info();
    EXPECT_EQ(info.head.modelName, "VORTA Test");
    EXPECT_EQ(info.head.serialNumber, "T-0001");
    EXPECT_EQ(info.head.firmwareVersion, "VORTA 0.9.21");
    EXPECT_EQ(info.head.productRevision, "Rev3");
    EXPECT_EQ(info.time, saved.getImpl().info().time);
    EXPECT_EQ(info.temperatures.head, 31.5);
    EXPECT_EQ(info.temperatures.lens, 30.25);
    EXPECT_EQ(info.temperatures.led, std::nullopt);
    EXPECT_EQ(info.temperatures.pcb, std::nullopt);
    EXPECT_EQ(info.temperatures.dmd, 40.125);
}

TEST(Frame, SavesGridsOfManyBlocks) {
    // 700 x 300 points need several blocks, the last one shorter than the others.
    PointCloud cloud(700, 300);
    for (std::size_t i = 0; i < cloud.size(); ++i)
        cloud[i] = {.x = static_cast<float>(i),
                    .y = 1.0F,
                    .z = 2.0F,
                    .contrast = 3.0F,
                    .blue = static_cast<std::uint8_t>(i % 251),
                    .green = 5,
                    .red = 6,
                    .alpha = 255};
    const TemporaryFolder folder;
    Frame(std::make_shared<FrameImpl>(cloud, Settings{}, FrameInfo{}, ComputeDevice{})).save(folder.file("a.vdf"));
    const PointCloud loaded = Frame(folder.file("a.vdf"), ComputeDevice{}).getPointCloud();
    ASSERT_EQ(loaded.size(), cloud.size());
    EXPECT_EQ(std::memcmp(loaded.data(), cloud.data(), cloud.size() * sizeof(Point)), 0);
}

TEST(Frame, FilesCanBeReadByOtherTools) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("a.vdf"));
    const Testing::Result header = runProgram("ncdump", {"-h", folder.file("a.vdf")});
    ASSERT_EQ(header.status, 0) << header.err;
    for (const char* line : {"row = 2 ;",
                             "column = 3 ;",
                             "channel = 3 ;",
                             "float x(row, column) ;",
                             "float y(row, column) ;",
                             "float z(row, column) ;",
                             "float contrast(row, column) ;",
                             "ubyte colour(row, column, channel) ;",
                             "z:units = \"mm\" ;",
                             "z:_FillValue = NaNf ;",
                             "int64 time ;",
                             "time:units = \"microseconds since 1970-01-01T00:00:00Z\" ;",
                             "double head_temperature ;",
                             "lens_temperature:units = \"degree_Celsius\" ;",
                             ":Conventions = \"CF-1.8\" ;",
                             ":vorta_format_version = 1 ;",
                             ":camera_model = \"VORTA Test\" ;",
                             ":camera_serial_number = \"T-0001\" ;",
                             ":camera_firmware = \"VORTA 0.9.21\" ;",
                             "group: settings {",
                             ":Iris = \"17\" ;",
                             "group: Contrast {",
                             ":Threshold = \"3.25\" ;"})
        EXPECT_THAT(header.out, HasSubstr(line));
    EXPECT_THAT(header.out, ::testing::Not(HasSubstr("led_temperature")));

    const Testing::Result z = runProgram("ncdump", {"-v", "z,colour,time", folder.file("a.vdf")});
    ASSERT_EQ(z.status, 0) << z.err;
    EXPECT_THAT(z.out, HasSubstr("z =\n  701.5, 702.5, 703.5,\n  704.5, _, 706.5 ;"));
    EXPECT_THAT(z.out, HasSubstr("colour =\n  12, 11, 10,\n  22, 21, 20,\n  32, 31, 30,\n  42, 41, 40,\n"));
    // date -u -d 2026-03-04T05:06:07Z +%s
    EXPECT_THAT(z.out, HasSubstr("time = 1772600767000008 ;"));
}

TEST(Frame, FilesHoldTheSettingsFile) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("a.vdf"));
    smallFrame().settings().save(folder.file("a.yml"));
    std::string yaml = readFile(folder.file("a.yml"));
    const Testing::Result header = runProgram("ncdump", {"-h", folder.file("a.vdf")});
    EXPECT_THAT(header.out, HasSubstr(":yaml = \"# Camera settings"));
    EXPECT_THAT(header.out, HasSubstr("Threshold: 3.25"));
}

TEST(Frame, SavingReplacesTheEarlierFile) {
    const TemporaryFolder folder;
    Testing::writeFile(folder.file("a.vdf"), "earlier");
    smallFrame().save(folder.file("a.vdf"));
    EXPECT_EQ(Frame(folder.file("a.vdf"), ComputeDevice{}).getPointCloud().size(), 6U);
    EXPECT_THAT(folder.entries(), ElementsAre("a.vdf"));
}

TEST(Frame, SavingWritesThroughLinks) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "sub");
    Testing::writeFile(folder.file("sub/a.vdf"), "earlier");
    std::filesystem::create_symlink(folder.file("sub/a.vdf"), folder.file("link.vdf"));
    smallFrame().save(folder.file("link.vdf"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.vdf")));
    EXPECT_EQ(Frame(folder.file("sub/a.vdf"), ComputeDevice{}).getPointCloud().size(), 6U);
}

TEST(Frame, SavingSaysWhyItFails) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "folder.vdf");
    const auto reason = [](const std::string& path) {
        try {
            smallFrame().save(path);
        } catch (const IOException& error) {
            return std::string(error.what());
        }
        return std::string("no exception");
    };
    EXPECT_EQ(reason(folder.file("none/a.vdf")),
              "File '" + folder.file("none/a.vdf") + "' cannot be written: No such file or directory.");
    EXPECT_EQ(reason(folder.file("folder.vdf")),
              "File '" + folder.file("folder.vdf") + "' cannot be written: it is not a regular file.");
    EXPECT_EQ(reason("/dev/full"), "File '/dev/full' cannot be written: it is not a regular file.");
    EXPECT_THAT(folder.entries(), ElementsAre("folder.vdf"));
}

} // namespace
} // namespace Vorta
