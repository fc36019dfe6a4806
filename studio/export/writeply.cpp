#include "export/file.h"
#include "export/packrecords.h"
#include "export/pointcloudwriters.h"

#include <cstdint>
#include <utility>

namespace Vorta::Export {

namespace {

std::string headerText(std::size_t vertexCount) {
    // Readers take the count as a signed 32-bit number.
    std::string text = "ply\nformat binary_little_endian 1.0\ncomment Vorta Point Cloud\nelement vertex " +
                       std::to_string(static_cast<std::int32_t>(vertexCount)) + "\n";
    for (const char* name : {"x", "y", "z"})
        text += std::string{"property float "} + name + "\n";
    for (const char* name : {"red", "green", "blue"})
        text += std::string{"property uchar "} + name + "\n";
    return text + "end_header\n";
}

/// By a sum, which costs half of what compilers make of std::ranges::count_if: a branch for every point.
std::size_t countValid(std::span<const Point> points) {
    std::size_t count = 0;
    for (const Point& point : points)
        count += point.isValid() ? 1U : 0U;
    return count;
}

} // namespace

bool writePly(const std::string& path, const PointCloud& cloud, bool unordered) {
    File file = openFile(path, "wb");
    if (!file)
        return false;
    const std::span<const Point> points = cloud.points();
    const std::string header = headerText(unordered ? countValid(points) : points.size());
    const auto sink = [&](const char* bytes, std::size_t size) {
        return std::fwrite(bytes, 1, size, file.get()) == size;
    };
    return writeRecords(header, points, unordered ? plyUnordered : plyOrdered, sink) && finish(std::move(file));
}

} // namespace Vorta::Export
