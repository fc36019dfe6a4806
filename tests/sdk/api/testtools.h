#pragma once

#include "vorta/api/application.h"
#include "vorta/api/frameimpl.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

/// Helpers of the tests of the library and of its command line.
namespace Vorta::Testing {

/// A folder of its own that goes with this object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::random_device random;
        do
            path_ = std::filesystem::temp_directory_path() / ("vorta-test-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_));
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored; // a folder that cannot be removed is the temporary directory's to clean
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    /// Names of what is in the folder now.
    [[nodiscard]] std::vector<std::string> entries() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            names.push_back(entry.path().filename().string());
        std::ranges::sort(names);
        return names;
    }

private:
    std::filesystem::path path_;
};

inline std::string readFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw std::runtime_error("Cannot read " + path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void writeFile(const std::string& path, const std::string& content) {
    std::ofstream stream(path, std::ios::binary);
    stream << content;
    stream.close();
    if (!stream)
        throw std::runtime_error("Cannot write " + path);
}

/// The driver that lists the virtual heads of the tests.
inline std::string driverPath() {
    return VORTA_BIN_DIR "/VortaCameraToshibaTeli.dll";
}

/// Two rows, three columns; every value differs from every other, one point is invalid.
inline PointCloud smallCloud() {
    PointCloud cloud(2, 3);
    float value = 1.5F;
    std::uint8_t colour = 10;
    for (Point& point : cloud.points()) {
        point = {.x = value,
                 .y = value + 100.0F,
                 .z = value + 700.0F,
                 .contrast = value + 20.0F,
                 .blue = colour,
                 .green = static_cast<std::uint8_t>(colour + 1),
                 .red = static_cast<std::uint8_t>(colour + 2),
                 .alpha = 255};
        value += 1.0F;
        colour = static_cast<std::uint8_t>(colour + 10);
    }
    Point& invalid = cloud(1, 1);
    invalid.x = invalid.y = invalid.z = std::numeric_limits<float>::quiet_NaN();
    return cloud;
}

/// A frame of `smallCloud`, captured at 2026-03-04T05:06:07.000008Z.
inline Frame smallFrame() {
    Settings settings;
    settings.set("Iris", "17");
    settings.set("Filters/Contrast/Threshold", "3.25");
    settings.set("Camera/MeasurementFile", R"(C:\data\"a".vdf)");
    FrameInfo info{.head = {.modelName = "VORTA Test",
                            .serialNumber = "T-0001",
                            .firmwareVersion = "VORTA 0.9.21",
                            .productRevision = "Rev3"},
                   .time = {},
                   .temperatures = {.head = 31.5, .lens = 30.25, .led = {}, .pcb = {}, .dmd = 40.125}};
    info.time = std::chrono::sys_days(std::chrono::year(2026) / 3 / 4) + std::chrono::hours(5) +
                std::chrono::minutes(6) + std::chrono::seconds(7) + std::chrono::microseconds(8);
    return Frame(std::make_shared<FrameImpl>(smallCloud(), settings, info, ComputeDevice{}));
}

} // namespace Vorta::Testing
