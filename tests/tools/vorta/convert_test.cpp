#include "tools/vorta/runvorta.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Vorta::Testing {
namespace {

using ::testing::HasSubstr;

TEST(Convert, WritesWhatACaptureWouldHaveWritten) {
    const VirtualHeads heads({.serialNumber = "T-1"});
    const TemporaryFolder folder;
    const auto file = [&](const char* name) { return folder.file(name); };
    ASSERT_EQ(vorta({"capture", file("a.vdf"), file("a.xyz"), file("a.ply"), file("a.pcd"), file("a.png")}).status, 0);
    const Result result =
        vorta({"convert", file("a.vdf"), file("b.xyz"), file("b.ply"), file("b.pcd"), file("b.png"), file("b.vdf")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    for (const char* ending : {".xyz", ".ply", ".pcd", ".png"})
        EXPECT_EQ(readFile(file("a") + ending), readFile(file("b") + ending)) << ending;
    const Frame first(file("a.vdf"), ComputeDevice{});
    const Frame second(file("b.vdf"), ComputeDevice{});
    EXPECT_EQ(first.settings(), second.settings());
    EXPECT_EQ(first.getImpl().info().time, second.getImpl().info().time);
}

TEST(Convert, WritesTheBytesOfTheFormats) {
    const TemporaryFolder folder;
    smallFrame().save(folder.file("a.vdf"));
    ASSERT_EQ(vorta({"convert", folder.file("a.vdf"), folder.file("a.xyz"), folder.file("a.ply")}).status, 0);
    ASSERT_EQ(vorta({"convert", "--unordered", folder.file("a.vdf"), folder.file("unordered.ply")}).status, 0);
    EXPECT_EQ(readFile(folder.file("a.xyz")), "1.5 101.5 701.5 12 11 10\n"
                                              "2.5 102.5 702.5 22 21 20\n"
                                              "3.5 103.5 703.5 32 31 30\n"
                                              "4.5 104.5 704.5 42 41 40\n"
                                              "nan nan nan 52 51 50\n"
                                              "6.5 106.5 706.5 62 61 60\n");
    EXPECT_THAT(readFile(folder.file("a.ply")), HasSubstr("element vertex 6\n"));
    EXPECT_THAT(readFile(folder.file("unordered.ply")), HasSubstr("element vertex 5\n"));
}

} // namespace
} // namespace Vorta::Testing
