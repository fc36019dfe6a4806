#include "export/packrecords.h"
#include "export/pointcloudwriters.h"

#include <algorithm>
#include <fstream>
#include <vector>

namespace Vorta::Export {

void writePcd(const std::string& path, const PointCloud& cloud) {
    std::ofstream file{path, std::ios::binary};
    // One row although the points keep the grid's order, and the viewpoint's 1 in the last place: readers of these
    // files expect both.
    const std::string size = std::to_string(cloud.size());
    file << "# .PCD v0.7 - Point Cloud Data file format\n"
            "VERSION 0.7\n"
            "FIELDS x y z rgb\n"
            "SIZE 4 4 4 4\n"
            "TYPE F F F F\n"
            "COUNT 1 1 1 1\n"
            "WIDTH "
         << size
         << "\nHEIGHT 1\n"
            "VIEWPOINT 0 0 0 0 0 0 1\n"
            "POINTS "
         << size << "\nDATA binary\n";

    const std::span<const Point> points = cloud.points();
    std::vector<char> buffer(std::min(points.size(), packedBlockSize) * pcdRecordSize);
    for (std::size_t first = 0; first < points.size() && file; first += packedBlockSize) {
        const auto block = points.subspan(first, std::min(packedBlockSize, points.size() - first));
        packPcd(block, buffer.data());
        file.write(buffer.data(), static_cast<std::streamsize>(block.size() * pcdRecordSize));
    }
}

} // namespace Vorta::Export
