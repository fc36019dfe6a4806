#include "export/packrecords.h"
#include "export/pointcloudwriters.h"

#include <fstream>

namespace Vorta::Export {

namespace {

/// Declares one row although the points keep the grid's order, and has the viewpoint's 1 in the last place: readers of
/// these files expect both.
std::string headerText(std::size_t size) {
    const std::string count = std::to_string(size);
    return "# .PCD v0.7 - Point Cloud Data file format\n"
           "VERSION 0.7\n"
           "FIELDS x y z rgb\n"
           "SIZE 4 4 4 4\n"
           "TYPE F F F F\n"
           "COUNT 1 1 1 1\n"
           "WIDTH " +
           count +
           "\nHEIGHT 1\n"
           "VIEWPOINT 0 0 0 0 0 0 1\n"
           "POINTS " +
           count + "\nDATA binary\n";
}

} // namespace

bool writePcd(const std::string& path, const PointCloud& cloud) {
    std::ofstream file{path, std::ios::binary};
    // A stream that fails is left alone: the work for what it would not take is all that is spared.
    writeRecords(headerText(cloud.size()), cloud.points(), pcd, [&](const char* bytes, std::size_t size) {
        return static_cast<bool>(file.write(bytes, static_cast<std::streamsize>(size)));
    });
    file.close();
    return static_cast<bool>(file);
}

} // namespace Vorta::Export
