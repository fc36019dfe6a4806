#include "export/file.h"
#include "export/packrecords.h"
#include "export/pointcloudwriters.h"

#include <algorithm>
#include <cstdint>
#include <vector>

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

std::size_t countValid(std::span<const Point> points) {
    return static_cast<std::size_t>(std::ranges::count_if(points, &Point::isValid));
}

} // namespace

bool writePly(const std::string& path, const PointCloud& cloud, bool unordered) {
    File file = openFile(path, "wb");
    if (!file)
        return false;
    const std::span<const Point> points = cloud.points();
    const std::string header = headerText(unordered ? countValid(points) : points.size());
    if (std::fwrite(header.data(), 1, header.size(), file.get()) != header.size())
        return false;

    const auto pack = unordered ? packPlyUnordered : packPlyOrdered;
    std::vector<char> buffer(std::min(points.size(), packedBlockSize) * plyRecordSize + packingSlack);
    for (std::size_t first = 0; first < points.size(); first += packedBlockSize) {
        const auto block = points.subspan(first, std::min(packedBlockSize, points.size() - first));
        const auto length = static_cast<std::size_t>(pack(block, buffer.data()) - buffer.data());
        if (std::fwrite(buffer.data(), 1, length, file.get()) != length)
            return false;
    }
    return finish(std::move(file));
}

} // namespace Vorta::Export
