// Times the point cloud writers on a full sensor against the plainest code that writes the same bytes: one write of
// ready data for the binary formats, fprintf per point for the text format.

#include "export/pointcloudwriters.h"
#include "ratio.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <random>

using namespace Vorta;

namespace {

/// A waved surface at about 700 mm seen by a camera of 2400 pixels focal length, one point in ten invalid.
PointCloud makeCloud() {
    PointCloud cloud{1200, 1944};
    std::mt19937 random{1};
    for (std::size_t row = 0; row < cloud.height(); ++row) {
        for (std::size_t column = 0; column < cloud.width(); ++column) {
            Point& point = cloud(row, column);
            const float u = (static_cast<float>(column) - 971.5F) / 2400.0F;
            const float v = (static_cast<float>(row) - 599.5F) / 2400.0F;
            point.blue = static_cast<std::uint8_t>(row / 8);
            point.green = static_cast<std::uint8_t>(column / 8);
            point.red = static_cast<std::uint8_t>(random() % 256);
            if (random() % 10 == 0)
                continue;
            point.z =
                700.0F + 40.0F * std::sin(20.0F * u) * std::cos(15.0F * v) + 0.05F * static_cast<float>(random() % 3);
            point.x = u * point.z;
            point.y = v * point.z;
        }
    }
    return cloud;
}

void require(bool condition, const char* what) {
    if (!condition)
        throw std::runtime_error(what);
}

std::vector<char> read(const std::string& path) {
    std::ifstream file{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

/// Hands the bytes to the system in one piece, without a buffer between.
void writePlain(const std::string& path, const std::vector<char>& bytes) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    require(file != nullptr && std::setvbuf(file, nullptr, _IONBF, 0) == 0, "cannot open the reference file");
    require(std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size(), "cannot write the reference file");
    require(std::fclose(file) == 0, "cannot close the reference file");
}

/// The least that any writer of 16 of a point's 20 bytes has to do: read the points once, and hand as many bytes to the
/// system from a block that lies in the cache.
void readAndWriteHot(const std::string& path, const PointCloud& cloud, const std::vector<char>& bytes) {
    float sum = 0.0F;
    for (const Point& point : cloud.points())
        sum += point.z;
    benchmark::DoNotOptimize(sum);
    constexpr std::size_t block = std::size_t{1} << 21U;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    require(file != nullptr && std::setvbuf(file, nullptr, _IONBF, 0) == 0, "cannot open the floor's file");
    for (std::size_t done = 0; done < bytes.size(); done += block) {
        const std::size_t count = std::min(block, bytes.size() - done);
        require(std::fwrite(bytes.data(), 1, count, file) == count, "cannot write the floor's file");
    }
    require(std::fclose(file) == 0, "cannot close the floor's file");
}

void printPoints(const std::string& path, const PointCloud& cloud) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    require(file != nullptr, "cannot open the reference file");
    for (const Point& point : cloud.points())
        std::fprintf(file, "%.1f %.1f %.1f %i %i %i\n", static_cast<double>(point.x), static_cast<double>(point.y),
                     static_cast<double>(point.z), point.red, point.green, point.blue);
    require(std::fclose(file) == 0, "cannot close the reference file");
}

} // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("vorta-bench-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directories(folder);
    const std::string ours = (folder / "ours").string();
    const std::string reference = (folder / "reference").string();

    const PointCloud cloud = makeCloud();
    Export::writePcd(ours, cloud);
    const std::vector<char> pcd = read(ours);
    require(Export::writePly(ours, cloud, false), "writing PLY failed");
    const std::vector<char> ply = read(ours);
    require(Export::writeXyz(ours, cloud), "writing XYZ failed");
    printPoints(reference, cloud);
    require(read(ours) == read(reference), "the XYZ file differs from what fprintf writes");

    // Each writes a new file: giving back the pages of an old one takes the system as long as writing them.
    const auto removeFiles = [&] {
        std::filesystem::remove(ours);
        std::filesystem::remove(reference);
    };
    const auto compare = [&](const char* name, const std::function<void()>& write,
                             const std::function<void()>& writeReference, double cpuLimit, double wallLimit = 0) {
        return VortaBench::compare(name, write, writeReference, cpuLimit, wallLimit, removeFiles);
    };
    const auto plainPcd = [&] { writePlain(reference, pcd); };
    const auto plainPly = [&] { writePlain(reference, ply); };
    compare(
        "pcd", [&] { Export::writePcd(ours, cloud); }, plainPcd, 1.1)
        ->Iterations(25);
    compare(
        "pcd_floor", [&] { readAndWriteHot(ours, cloud, pcd); }, plainPcd, 0)
        ->Iterations(25);
    compare(
        "ply_ordered", [&] { require(Export::writePly(ours, cloud, false), "writing PLY failed"); }, plainPly, 1.6)
        ->Iterations(25);
    compare(
        "ply_unordered", [&] { require(Export::writePly(ours, cloud, true), "writing PLY failed"); }, plainPly, 1.6)
        ->Iterations(25);
    compare(
        "xyz", [&] { require(Export::writeXyz(ours, cloud), "writing XYZ failed"); },
        [&] { printPoints(reference, cloud); }, 0.065, 0.04)
        ->Iterations(5);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::filesystem::remove_all(folder);
    return 0;
}
