#include "export/pointcloudwriters.h"
#include "studio/export/exportfixture.h"

using namespace Vorta;

namespace {

std::string header(const std::string& count) {
    return "ply\nformat binary_little_endian 1.0\ncomment Vorta Point Cloud\nelement vertex " + count +
           "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\nproperty uchar green\n"
           "property uchar blue\nend_header\n";
}

const std::string first = bytes(0, 0, 0x80, 0x3F, 0, 0, 0, 0x40, 0, 0, 0x40, 0x40, 1, 2, 3);
const std::string second = bytes(0, 0, 0x80, 0xBF, 0, 0, 0, 0, 0, 0, 0, 0x3F, 255, 128, 0);
const std::string thirdZeroed = bytes(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 20, 30);
const std::string fourth = bytes(0, 0, 0, 0x41, 0, 0, 0x80, 0x41, 0, 0, 0, 0x42, 0, 0, 255);

class WritePly : public ExportTest {};

TEST_F(WritePly, orderedKeepsInvalidPointsAtTheOriginWithTheirColour) {
    ASSERT_TRUE(Export::writePly(path("a.ply"), twoByTwo(), false));
    EXPECT_TRUE(sameBytes(read(path("a.ply")), header("4") + first + second + thirdZeroed + fourth));
}

TEST_F(WritePly, unorderedLeavesInvalidPointsOut) {
    ASSERT_TRUE(Export::writePly(path("a.ply"), twoByTwo(), true));
    EXPECT_TRUE(sameBytes(read(path("a.ply")), header("3") + first + second + fourth));
}

TEST_F(WritePly, bothVariantsAgreeWithoutInvalidPoints) {
    PointCloud cloud = twoByTwo();
    cloud(1, 0).z = -7.25F;
    ASSERT_TRUE(Export::writePly(path("ordered.ply"), cloud, false));
    ASSERT_TRUE(Export::writePly(path("unordered.ply"), cloud, true));
    EXPECT_TRUE(sameBytes(read(path("ordered.ply")), read(path("unordered.ply"))));
    EXPECT_EQ(read(path("ordered.ply")).size(), header("4").size() + std::size_t{60});
}

TEST_F(WritePly, allInvalid) {
    const PointCloud cloud{3, 2};
    ASSERT_TRUE(Export::writePly(path("ordered.ply"), cloud, false));
    EXPECT_TRUE(sameBytes(read(path("ordered.ply")), header("6") + std::string(90, '\0')));
    ASSERT_TRUE(Export::writePly(path("unordered.ply"), cloud, true));
    EXPECT_TRUE(sameBytes(read(path("unordered.ply")), header("0")));
}

TEST_F(WritePly, onlyZDecidesValidity) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    PointCloud cloud{1, 4};
    cloud[0] = point(nan, nan, 1, 1, 1, 1);
    cloud[1] = point(0, 0, infinity, 2, 2, 2);
    cloud[2] = point(5, 5, -nan, 3, 3, 3);
    cloud[3] = point(0, 0, -infinity, 4, 4, 4);
    ASSERT_TRUE(Export::writePly(path("a.ply"), cloud, true));
    EXPECT_TRUE(sameBytes(read(path("a.ply")),
                          header("3") + bytes(0, 0, 0xC0, 0x7F, 0, 0, 0xC0, 0x7F, 0, 0, 0x80, 0x3F, 1, 1, 1) +
                              bytes(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80, 0x7F, 2, 2, 2) +
                              bytes(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80, 0xFF, 4, 4, 4)));
}

TEST_F(WritePly, emptyCloudGivesTheHeaderOnly) {
    for (const bool unordered : {false, true}) {
        ASSERT_TRUE(Export::writePly(path("a.ply"), PointCloud{}, unordered));
        EXPECT_EQ(read(path("a.ply")), header("0"));
    }
}

TEST_F(WritePly, keepsTheOrderAcrossBlocks) {
    PointCloud cloud{100, 331};
    std::string ordered = header("33100");
    std::string unordered = header("22066"); // 33100 less the 11034 multiples of 3
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        const std::string colour = bytes(i % 256, i / 256 % 256, 9);
        cloud[i] = point(-1, 2, 3, static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i / 256), 9);
        const std::string record = bytes(0, 0, 0x80, 0xBF, 0, 0, 0, 0x40, 0, 0, 0x40, 0x40) + colour;
        if (i % 3 == 0)
            cloud[i].z = std::numeric_limits<float>::quiet_NaN();
        ordered += i % 3 == 0 ? std::string(12, '\0') + colour : record;
        unordered += i % 3 == 0 ? std::string{} : record;
    }
    ASSERT_TRUE(Export::writePly(path("a.ply"), cloud, false));
    EXPECT_TRUE(sameBytes(read(path("a.ply")), ordered));
    ASSERT_TRUE(Export::writePly(path("a.ply"), cloud, true));
    EXPECT_TRUE(sameBytes(read(path("a.ply")), unordered));
}

TEST_F(WritePly, reportsAFileThatCannotBeOpened) {
    EXPECT_FALSE(Export::writePly(path("missing/a.ply"), twoByTwo(), false));
    EXPECT_FALSE(Export::writePly(path(""), twoByTwo(), true));
}

TEST_F(WritePly, reportsAFullDisk) {
    const std::string device = fullDevice();
    if (device.empty())
        GTEST_SKIP() << "no full device on this system";
    EXPECT_FALSE(Export::writePly(device, PointCloud{}, false)) << "the header alone";
    EXPECT_FALSE(Export::writePly(device, twoByTwo(), true)) << "less than one buffer";
    EXPECT_FALSE(Export::writePly(device, PointCloud(300, 400), false)) << "many blocks";
}

} // namespace
