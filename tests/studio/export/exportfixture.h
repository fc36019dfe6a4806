#pragma once

#include "vorta/common/pointcloud.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

/// A temporary folder per test, removed afterwards, and the means to compare files byte by byte.
class ExportTest : public testing::Test {
public:
    ExportTest();
    ExportTest(const ExportTest&) = delete;
    ExportTest& operator=(const ExportTest&) = delete;
    ~ExportTest() override;

protected:
    [[nodiscard]] std::string path(const std::string& name) const { return (folder_ / name).string(); }

    /// The whole file; fails the test when it cannot be read.
    [[nodiscard]] static std::string read(const std::string& path);

    /// The same with "\n" for each of the system's line ends.
    [[nodiscard]] static std::string readText(const std::string& path);

    /// A device that accepts no byte, or an empty text where the system has none.
    [[nodiscard]] static std::string fullDevice();

    /// The 2 x 2 grid (1, 2, 3) (-1, 0, 0.5) / (4, 5, NaN) (8, 16, 32) with colours (red, green, blue) (1, 2, 3)
    /// (255, 128, 0) / (10, 20, 30) (0, 0, 255).
    [[nodiscard]] static Vorta::PointCloud twoByTwo();

    [[nodiscard]] static Vorta::Point point(float x, float y, float z, std::uint8_t red = 0, std::uint8_t green = 0,
                                            std::uint8_t blue = 0);

private:
    std::filesystem::path folder_;
};

/// The bytes as text, zeros included.
template <class... Bytes>
std::string bytes(Bytes... values) {
    return {static_cast<char>(values)...};
}

/// Fails with a short excerpt instead of printing two large files.
testing::AssertionResult sameBytes(const std::string& actual, const std::string& expected);
