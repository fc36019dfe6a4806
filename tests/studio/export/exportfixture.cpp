#include "studio/export/exportfixture.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <random>

using Vorta::Point;
using Vorta::PointCloud;

ExportTest::ExportTest()
    : folder_(std::filesystem::temp_directory_path() / ("vorta-export-" + std::to_string(std::random_device{}()))) {
    std::filesystem::create_directories(folder_);
}

ExportTest::~ExportTest() {
    std::error_code ignored; // a left-over folder is no reason to fail
    std::filesystem::remove_all(folder_, ignored);
}

std::string ExportTest::read(const std::string& path) {
    std::ifstream file{path, std::ios::binary};
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>{file}, {}};
}

std::string ExportTest::readText(const std::string& path) {
    std::ifstream file{path};
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>{file}, {}};
}

std::string ExportTest::fullDevice() {
    const std::string device = "/dev/full";
    return std::filesystem::exists(device) ? device : std::string{};
}

Point ExportTest::point(float x, float y, float z, std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
    return {.x = x, .y = y, .z = z, .contrast = 77.0F, .blue = blue, .green = green, .red = red, .alpha = 99};
}

PointCloud ExportTest::twoByTwo() {
    PointCloud cloud{2, 2};
    cloud(0, 0) = point(1, 2, 3, 1, 2, 3);
    cloud(0, 1) = point(-1, 0, 0.5F, 255, 128, 0);
    cloud(1, 0) = point(4, 5, std::nanf(""), 10, 20, 30);
    cloud(1, 1) = point(8, 16, 32, 0, 0, 255);
    return cloud;
}

testing::AssertionResult sameBytes(const std::string& actual, const std::string& expected) {
    if (actual == expected)
        return testing::AssertionSuccess();
    const auto difference = std::ranges::mismatch(actual, expected);
    const auto position = static_cast<std::size_t>(difference.in1 - actual.begin());
    const std::size_t from = position < 60 ? 0 : position - 60;
    return testing::AssertionFailure() << "sizes " << actual.size() << " and " << expected.size()
                                       << ", first difference at byte " << position << ": ..."
                                       << testing::PrintToString(actual.substr(from, 120)) << " instead of ..."
                                       << testing::PrintToString(expected.substr(from, 120));
}
