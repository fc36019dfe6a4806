#include "export/pointcloudwriters.h"
#include "studio/export/exportfixture.h"

using namespace Vorta;

namespace {

std::string header(const std::string& size) {
    return "# .PCD v0.7 - Point Cloud Data file format\nVERSION 0.7\nFIELDS x y z rgb\nSIZE 4 4 4 4\nTYPE F F F F\n"
           "COUNT 1 1 1 1\nWIDTH " +
           size + "\nHEIGHT 1\nVIEWPOINT 0 0 0 0 0 0 1\nPOINTS " + size + "\nDATA binary\n";
}

class WritePcd : public ExportTest {};

TEST_F(WritePcd, writesAllPointsInGridOrderAsOneRow) {
    Export::writePcd(path("a.pcd"), twoByTwo());
    EXPECT_TRUE(
        sameBytes(read(path("a.pcd")), header("4") +
                                           // (1, 2, 3), blue 3, green 2, red 1, 1
                                           bytes(0, 0, 0x80, 0x3F, 0, 0, 0, 0x40, 0, 0, 0x40, 0x40, 3, 2, 1, 1) +
                                           // (-1, 0, 0.5)
                                           bytes(0, 0, 0x80, 0xBF, 0, 0, 0, 0, 0, 0, 0, 0x3F, 0, 128, 255, 1) +
                                           // (4, 5, NaN)
                                           bytes(0, 0, 0x80, 0x40, 0, 0, 0xA0, 0x40, 0, 0, 0xC0, 0x7F, 30, 20, 10, 1) +
                                           // (8, 16, 32)
                                           bytes(0, 0, 0, 0x41, 0, 0, 0x80, 0x41, 0, 0, 0, 0x42, 255, 0, 0, 1)));
}

TEST_F(WritePcd, colourReadAsLittleEndianWordIs01RRGGBB) {
    PointCloud cloud{1, 1};
    cloud[0] = point(0, 0, 0, 0xAA, 0xBB, 0xCC);
    Export::writePcd(path("a.pcd"), cloud);
    EXPECT_TRUE(read(path("a.pcd")).ends_with(bytes(0xCC, 0xBB, 0xAA, 0x01)));
}

TEST_F(WritePcd, emptyCloudGivesTheHeaderOnly) {
    Export::writePcd(path("a.pcd"), PointCloud{});
    EXPECT_EQ(read(path("a.pcd")), header("0"));
}

TEST_F(WritePcd, fullSensorHasItsSizeInTheHeaderAndSixteenBytesPerPoint) {
    PointCloud cloud{1200, 1944};
    cloud(1199, 1943) = point(1, 2, 3, 1, 2, 3);
    Export::writePcd(path("a.pcd"), cloud);
    const std::string file = read(path("a.pcd"));
    ASSERT_EQ(file.size(), header("2332800").size() + 37'324'800);
    EXPECT_TRUE(file.starts_with(header("2332800")));
    EXPECT_TRUE(file.ends_with(bytes(0, 0, 0x80, 0x3F, 0, 0, 0, 0x40, 0, 0, 0x40, 0x40, 3, 2, 1, 1)));
}

TEST_F(WritePcd, keepsTheOrderAcrossBlocks) {
    // 100 x 331 points: several blocks and a shorter last one. 16777216 = 2^24 bounds exact floats.
    PointCloud cloud{100, 331};
    for (std::size_t i = 0; i < cloud.size(); ++i)
        cloud[i] =
            point(static_cast<float>(i), -1, 2, static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i / 256), 7);
    Export::writePcd(path("a.pcd"), cloud);
    const std::string file = read(path("a.pcd"));
    const std::string head = header("33100");
    ASSERT_EQ(file.size(), head.size() + std::size_t{33100} * 16);
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        // Red and green are the low 16 bits of the index.
        ASSERT_EQ(file.substr(head.size() + i * 16 + 4, 12),
                  bytes(0, 0, 0x80, 0xBF, 0, 0, 0, 0x40, 7, i / 256 % 256, i % 256, 1))
            << i;
    }
}

TEST_F(WritePcd, replacesAnExistingFile) {
    Export::writePcd(path("a.pcd"), twoByTwo());
    Export::writePcd(path("a.pcd"), PointCloud{});
    EXPECT_EQ(read(path("a.pcd")), header("0"));
}

TEST_F(WritePcd, returnsFalseWhenTheFileCannotBeCreated) {
    EXPECT_FALSE(Export::writePcd(path("missing/a.pcd"), twoByTwo()));
    EXPECT_FALSE(std::filesystem::exists(path("missing/a.pcd")));
}

TEST_F(WritePcd, returnsFalseWhenTheDiskIsFull) {
    const std::string device = fullDevice();
    if (device.empty())
        GTEST_SKIP() << "no full device on this system";
    EXPECT_FALSE(Export::writePcd(device, PointCloud(1200, 1944)));
    EXPECT_FALSE(Export::writePcd(device, PointCloud{})) << "the header alone";
}

} // namespace
